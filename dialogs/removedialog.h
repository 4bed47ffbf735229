#ifndef REMOVEDIALOG_H
#define REMOVEDIALOG_H

#include <QDialog>
#include <QString>

namespace Ui {
class RemoveDialog;
}

// The one question box: Yes, No, Cancel beside a warning sign. One instance
// is reused with a new message per question; the caller reads the exit code
// of the modal run: 1 Yes (accept), 0 No (reject), 3 Cancel or close.
class RemoveDialog : public QDialog
{
    Q_OBJECT

public:
    // Exit code of Cancel and of the close button.
    static constexpr int Cancelled = 3;

    explicit RemoveDialog(QWidget *parent = nullptr);
    ~RemoveDialog() override;

    void setDialogText(QString text);
    void setUI();

private slots:
    void on_pushButton_cancel_clicked();
    void on_pushButton_close_clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    // Escape and a close from outside mean Cancel, never "do not save".
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    Ui::RemoveDialog *ui;
    int m_pressX = 0;
    int m_pressY = 0;
    bool m_pressed = false;
    QString m_message;
};

#endif // REMOVEDIALOG_H
