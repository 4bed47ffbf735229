#ifndef STUDYDIALOG_H
#define STUDYDIALOG_H

#include <QDialog>

namespace Ui {
class StudyDialog;
}

// The moving-picture tutorial: five numbered tabs, each playing one GIF from
// ./rec/ beside the program, and a link to the text tutorial. Made once at
// start; closing only hides it, and the movies keep running.
class StudyDialog : public QDialog
{
    Q_OBJECT

public:
    explicit StudyDialog(QWidget *parent = nullptr);
    ~StudyDialog() override;

    // The text tutorial's address by the link table: the current language's
    // "UserGuide", else the English one, else empty.
    static QString userGuideLink();

private slots:
    void on_pushButton_close_clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;

private:
    Ui::StudyDialog *ui;
    int m_pressX = 0;
    int m_pressY = 0;
    bool m_pressed = false;
};

#endif // STUDYDIALOG_H
