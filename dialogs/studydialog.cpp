#include "studydialog.h"
#include "ui_studydialog.h"

#include "dialogdrag.h"
#include "globals.h"
#include "skin.h"

#include <QLabel>
#include <QMovie>

StudyDialog::StudyDialog(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::StudyDialog)
{
    Skin::init();
    ui->setupUi(this);
    setModal(true);
    Skin::scaleChildGeometry(this);
    setFixedSize(Skin::scaled(824), Skin::scaled(600));
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setWindowTitle(QStringLiteral("Mervane"));

    ui->frame->setStyleSheet(Skin::frameSheet(Skin::kAccent));
    ui->frame->setFixedHeight(Skin::scaled(3));
    ui->frame_2->setStyleSheet(Skin::frameSheet(Skin::kDialogBody));
    ui->frame_line->setStyleSheet(QStringLiteral("QFrame{background:#4d4a51;}"));
    ui->label_2->setStyleSheet(Skin::labelSheet(QStringLiteral("Lato123")));
    ui->label_2->setFont(Skin::pixelFont(16));
    ui->label_2->setFixedSize(Skin::scaled(160), Skin::scaled(28));
    ui->pushButton_close->setFixedSize(Skin::scaled(19), Skin::scaled(19));
    ui->pushButton_close->setStyleSheet(Skin::headerButtonSheet(Skin::Header::DialogClose));

    ui->tabWidget->setStyleSheet(
        QStringLiteral("QTabWidget::pane{border:none;background:transparent;}"
                       "QTabWidget::tab-bar{alignment:center;}"
                       "QTabBar{background:transparent;border:none;}"
                       "QTabBar::tab{background:transparent;border:none;color:white;padding:%1px %2px;"
                       "font-size:%3px;}"
                       "QTabBar::tab:selected{color:rgb(36,197,219);}"
                       "QTabBar::tab:hover{color:rgb(36,197,219);}")
            .arg(Skin::scaled(4))
            .arg(Skin::scaled(14))
            .arg(Skin::scaled(16)));

    // All five movies start now and keep running whether shown or not.
    const QSize movieSize(Skin::scaled(800), Skin::scaled(464));
    QLabel *const pictures[5] = {ui->label, ui->label_3, ui->label_4, ui->label_5, ui->label_6};
    for (int i = 0; i < 5; ++i) {
        auto *movie = new QMovie(QStringLiteral("./rec/1%1.gif").arg(i + 1), QByteArray(), this);
        movie->setScaledSize(movieSize);
        pictures[i]->setMovie(movie);
        movie->start();
    }

    ui->label_7->setFont(Skin::pixelFont(14));
    ui->label_7->setStyleSheet(Skin::labelSheet(QStringLiteral("Lato")));
    ui->label_7->setOpenExternalLinks(true);
    ui->label_7->setText(QStringLiteral("<a  style='color: #f09c0b;' href=\"") + userGuideLink()
                         + QStringLiteral("\">  Visit text tutorial here"));
}

StudyDialog::~StudyDialog()
{
    delete ui;
}

QString StudyDialog::userGuideLink()
{
    int index = g_linkKeys.indexOf(g_language + QStringLiteral("UserGuide"));
    if (index < 0)
        index = g_linkKeys.indexOf(QStringLiteral("ENUserGuide"));
    if (index < 0 || index >= g_linkValues.size())
        return QString();
    return g_linkValues.at(index);
}

void StudyDialog::on_pushButton_close_clicked()
{
    close();
}

void StudyDialog::mousePressEvent(QMouseEvent *event)
{
    DialogDrag::press(event, m_pressX, m_pressY, m_pressed);
}

void StudyDialog::mouseReleaseEvent(QMouseEvent *)
{
    DialogDrag::release(m_pressed);
}

void StudyDialog::mouseMoveEvent(QMouseEvent *event)
{
    DialogDrag::move(this, event, m_pressX, m_pressY, m_pressed);
}
