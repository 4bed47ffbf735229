#include "processdialog.h"
#include "ui_processdialog.h"

#include "dialogdrag.h"
#include "skin.h"

processDialog::processDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::processDialog)
{
    Skin::init();
    ui->setupUi(this);
    m_pressed = false;

    // Frameless; the Dialog type keeps it a window of its own even when given a parent.
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setWindowTitle(QStringLiteral("Mervane"));
    setModal(true);

    ui->frame->setStyleSheet(Skin::frameSheet(Skin::kAccent));
    ui->frame_2->setStyleSheet(Skin::frameSheet(Skin::kDialogBody));
    ui->frame_line->setStyleSheet(QStringLiteral("QFrame{background:#4d4a51;}"));

    ui->label->setFont(Skin::pixelFont(16));
    ui->label->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;font-family:\"Lato123\";}"));

    ui->progressBar->setValue(0);
    ui->progressBar->setTextVisible(true);
    ui->progressBar->setAlignment(Qt::AlignCenter);
    ui->progressBar->setStyleSheet(Skin::progressBarSheet());

    // Design geometry from the form, multiplied once by the display scale.
    Skin::scaleChildGeometry(this);
    setFixedSize(Skin::scaled(300), Skin::scaled(110));
    ui->frame->setFixedHeight(Skin::scaled(3));
    ui->label->setFixedSize(Skin::scaled(151), Skin::scaled(31));
    ui->progressBar->setFixedSize(Skin::scaled(281), Skin::scaled(23));
    ui->pushButton->setFixedSize(Skin::scaled(75), Skin::scaled(23));

    ui->pushButton->setFont(Skin::pixelFont(12));
    ui->pushButton->setStyleSheet(Skin::dialogButtonSheet(Skin::kDialogButton));
    ui->pushButton->setText(tr("Cancel"));
}

processDialog::~processDialog()
{
    delete ui;
}

void processDialog::recvProcessNum(int num)
{
    ui->progressBar->setValue(num);
}

void processDialog::on_pushButton_clicked()
{
    emit sendCancelStatus();
}

void processDialog::mousePressEvent(QMouseEvent *event)
{
    DialogDrag::press(event, m_pressX, m_pressY, m_pressed);
}

void processDialog::mouseReleaseEvent(QMouseEvent *)
{
    DialogDrag::release(m_pressed);
}

void processDialog::mouseMoveEvent(QMouseEvent *event)
{
    DialogDrag::move(this, event, m_pressX, m_pressY, m_pressed);
}
