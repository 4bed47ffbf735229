#ifndef CUSTOMITEM_H
#define CUSTOMITEM_H

#include <QPixmap>
#include <QString>
#include <QWidget>

namespace Ui { class CustomItem; }

// Row widget of the photo list: thumbnail, file name and a delete button
// that shows while the pointer is over the row.
class CustomItem : public QWidget
{
    Q_OBJECT

public:
    explicit CustomItem(QWidget *parent = nullptr);
    ~CustomItem() override;

    void setInfo(QPixmap pixmap, QString name);
    void layoutRow(int width, int height);
    void showCircle();
    void hideCircle();
    Ui::CustomItem *form() const { return ui; }

signals:
    void sendDelete();

private slots:
    void on_pushButton_clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void enterEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    Ui::CustomItem *ui;
    QPixmap m_pixmap;
    QString m_name;
};

#endif // CUSTOMITEM_H
