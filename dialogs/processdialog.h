#ifndef PROCESSDIALOG_H
#define PROCESSDIALOG_H

#include <QDialog>

namespace Ui {
class processDialog;
}

// The small modal box in front of the window while an erase job runs: a
// progress bar and one Cancel button. Being modal, it is also what keeps the
// rest of the interface away from the photo during the job.
class processDialog : public QDialog
{
    Q_OBJECT

public:
    explicit processDialog(QWidget *parent = nullptr);
    ~processDialog() override;

signals:
    // The user asked to stop the job; the job's owner closes the dialog when the job has ended.
    void sendCancelStatus();

public slots:
    // Progress in percent, 0 to 100.
    void recvProcessNum(int num);

private slots:
    void on_pushButton_clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;

private:
    Ui::processDialog *ui;
    int m_pressX = 0;
    int m_pressY = 0;
    bool m_pressed = false;
};

#endif // PROCESSDIALOG_H
