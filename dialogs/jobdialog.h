#ifndef JOBDIALOG_H
#define JOBDIALOG_H

#include <QObject>
#include <QPoint>

class PhotoItem;
class processDialog;

// The progress dialog of one photo's jobs. The photo only signals that a
// job started, progressed and ended; this shows the modal dialog in
// between, turns its Cancel button, Escape and a window-manager close into
// a cancel request, and closes it when the job has ended. A child of the
// photo, so it goes with it; the dialog itself is a window with no parent.
class JobDialog : public QObject
{
    Q_OBJECT

public:
    explicit JobDialog(PhotoItem *item);
    ~JobDialog() override;

    // The one attached to a photo, or null.
    static JobDialog *of(const PhotoItem *item);

    processDialog *dialog() const { return m_dialog; }
    // Global position where the dialog opens for the next job.
    void setPlace(QPoint place) { m_place = place; }
    QPoint place() const { return m_place; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void open();
    void close();

    PhotoItem *m_item;
    processDialog *m_dialog;
    QPoint m_place;
};

#endif // JOBDIALOG_H
