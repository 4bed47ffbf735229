#include "removedialog.h"
#include "ui_removedialog.h"

#include "dialogdrag.h"
#include "skin.h"

#include <QCloseEvent>
#include <QKeyEvent>

RemoveDialog::RemoveDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::RemoveDialog)
{
    Skin::init();
    ui->setupUi(this);
    setModal(true);
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setWindowTitle(QStringLiteral("Mervane"));

    // The form holds design geometry; the dialog and its parts grow with the display scale.
    const QSize design = size();
    Skin::scaleChildGeometry(this);
    setGeometry(0, 0, Skin::scaled(design.width()), Skin::scaled(design.height()));
    setFixedSize(size());

    setUI();

    connect(ui->pushButton_yes, &QPushButton::clicked, this, &QDialog::accept);
    connect(ui->pushButton_no, &QPushButton::clicked, this, &QDialog::reject);

    ui->label->setFixedSize(Skin::scaled(123), Skin::scaled(17));
    ui->pushButton_close->setFixedSize(Skin::scaled(19), Skin::scaled(19));
    ui->label_2->setFixedSize(Skin::scaled(319), Skin::scaled(36));
    ui->pushButton_warnning->setFixedSize(Skin::scaled(40), Skin::scaled(40));
    for (QPushButton *answer : {ui->pushButton_yes, ui->pushButton_no, ui->pushButton_cancel})
        answer->setFixedSize(Skin::scaled(103), Skin::scaled(36));
    ui->frame_top->setFixedHeight(Skin::scaled(3));
}

RemoveDialog::~RemoveDialog()
{
    delete ui;
}

void RemoveDialog::setDialogText(QString text)
{
    m_message = text;
    ui->label_2->setText(m_message);
}

void RemoveDialog::setUI()
{
    ui->label_2->setWordWrap(true);
    ui->label_2->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    ui->frame_top->setStyleSheet(Skin::frameSheet(Skin::kAccent));
    ui->frame_top_1->setStyleSheet(Skin::frameSheet(Skin::kDialogBody));

    ui->label->setStyleSheet(Skin::labelSheet(QStringLiteral("Lato123")));
    ui->label_2->setStyleSheet(Skin::labelSheet(QStringLiteral("Lato")));
    ui->label->setFont(Skin::pixelFont(16));
    ui->label_2->setFont(Skin::pixelFont(14));

    ui->pushButton_close->setStyleSheet(Skin::headerButtonSheet(Skin::Header::DialogClose));
    ui->pushButton_warnning->setStyleSheet(Skin::warningSignSheet());

    for (QPushButton *answer : {ui->pushButton_yes, ui->pushButton_no, ui->pushButton_cancel})
        answer->setFont(Skin::pixelFont(16));
    ui->pushButton_yes->setStyleSheet(Skin::dialogButtonSheet(Skin::kAccent));
    ui->pushButton_no->setStyleSheet(Skin::dialogButtonSheet(Skin::kDialogButton));
    ui->pushButton_cancel->setStyleSheet(Skin::dialogButtonSheet(Skin::kDialogButton));

    ui->frame_line_2->setStyleSheet(QStringLiteral("QFrame{background:#4d4a51}"));
}

void RemoveDialog::on_pushButton_cancel_clicked()
{
    done(Cancelled);
}

void RemoveDialog::on_pushButton_close_clicked()
{
    done(Cancelled);
}

void RemoveDialog::mousePressEvent(QMouseEvent *event)
{
    DialogDrag::press(event, m_pressX, m_pressY, m_pressed);
}

void RemoveDialog::mouseReleaseEvent(QMouseEvent *)
{
    DialogDrag::release(m_pressed);
}

void RemoveDialog::mouseMoveEvent(QMouseEvent *event)
{
    DialogDrag::move(this, event, m_pressX, m_pressY, m_pressed);
}

void RemoveDialog::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        done(Cancelled);
        return;
    }
    QDialog::keyPressEvent(event);
}

void RemoveDialog::closeEvent(QCloseEvent *event)
{
    if (isVisible())
        done(Cancelled);
    event->accept();
}
