#include "customitem.h"
#include "ui_customitem.h"
#include "globals.h"

#include <QFont>

CustomItem::CustomItem(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::CustomItem)
{
    ui->setupUi(this);
    QFont font = ui->label_name->font();
    font.setPixelSize(int(14 * g_uiScale));
    ui->label_name->setFont(font);
    ui->label_name->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;font-family:\"Lato123\";}"));
    ui->label_name->setAlignment(Qt::AlignCenter);
    // The row's delete cell of the sprite sheet: header family, x 332.
    ui->pushButton->setStyleSheet(QStringLiteral(
        "QPushButton{border-image: url(:/image/public.png) 27 980 736 332;}"
        "QPushButton:hover{border-image: url(:/image/public.png) 46 980 717 332;}"
        "QPushButton:pressed{border-image: url(:/image/public.png) 65 980 698 332;}"
        "QPushButton:disabled{border-image: url(:/image/public.png) 84 980 679 332;}"
        "QPushButton:focus{outline: none;}"));
    ui->pushButton->hide();
    ui->label_aa->setPixmap(QPixmap(QStringLiteral(":/image/circle.png")));
    ui->label_aa->raise();
    ui->label_aa->hide();
}

CustomItem::~CustomItem()
{
    delete ui;
}

void CustomItem::setInfo(QPixmap pixmap, QString name)
{
    ui->label_img->setPixmap(pixmap);
    ui->label_name->setText(name);
}

void CustomItem::layoutRow(int width, int height)
{
    ui->label_img->setGeometry(QRect(QPoint(1, 1), QPoint(width, height)));
    const int side = int(19 * g_uiScale);
    ui->pushButton->setGeometry(int(this->width() - 20 * g_uiScale), 1, side, side);
    const QRect img = ui->label_img->geometry();
    ui->label_name->setGeometry(1, img.bottom() + 1, img.width(), int(26 * g_uiScale));
    ui->label_aa->setGeometry(QRect(QPoint(1, 1), QPoint(17, 17)));
}

void CustomItem::showCircle() { ui->label_aa->show(); }
void CustomItem::hideCircle() { ui->label_aa->hide(); }

void CustomItem::on_pushButton_clicked()
{
    emit sendDelete();
}

void CustomItem::mousePressEvent(QMouseEvent *event)
{
    ui->pushButton->show();
    QWidget::mousePressEvent(event);
}

void CustomItem::enterEvent(QEvent *event)
{
    ui->pushButton->show();
    QWidget::enterEvent(event);
}

void CustomItem::leaveEvent(QEvent *event)
{
    ui->pushButton->hide();
    QWidget::leaveEvent(event);
}
