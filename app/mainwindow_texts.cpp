// The translatable texts and the keyboard shortcuts of the window.
#include "mainwindow.h"
#include "ui_mainwindow.h"

#include <QAction>

void MainWindow::retranslateTexts()
{
    ui->label_stamp_1->setText(tr("Hardness:"));
    ui->label_stamp_2->setText(tr("100%"));
    ui->label_stamp_3->setText(tr("Optacity:"));
    ui->label_stamp_4->setText(tr("100%"));
    ui->label_title->setText(tr("Mervane"));
    ui->label_3->setText(tr("Tools"));
    ui->pushButton_remove->setText(tr("   Remove All"));
    ui->label_selectfile->setText(tr("Select Photo"));
    ui->label_selectfolder->setText(tr("Select Folder"));

    struct Tip { QAbstractButton *button; const char *text; const char *shortcut; };
    const Tip tips[] = {
        {ui->pushButton_a, QT_TR_NOOP("Before and After"), nullptr},
        {ui->pushButton_plus, QT_TR_NOOP("Zoom In"), "Ctrl+="},
        {ui->pushButton_sub_2, QT_TR_NOOP("Zoom Out"), "Ctrl+-"},
        {ui->pushButton_1_1, QT_TR_NOOP("Actual Size"), "Ctrl+1"},
        {ui->pushButton_maxa, QT_TR_NOOP("Fit to Screen"), "Ctrl+0"},
        {ui->pushButton_handle, QT_TR_NOOP("Move Image"), nullptr},
        {ui->pushButton_undo, QT_TR_NOOP("Undo"), "Ctrl+Z"},
        {ui->pushButton_redo, QT_TR_NOOP("Redo"), "Ctrl+Y"},
        {ui->pushButton_his, QT_TR_NOOP("History"), nullptr},
        {ui->pushButton_save, QT_TR_NOOP("Save as..."), "Ctrl+S"},
        {ui->pushButton_print, QT_TR_NOOP("Print"), nullptr},
        {ui->pushButton_add, QT_TR_NOOP("Add Photos"), nullptr},
        {ui->pushButton_rect, QT_TR_NOOP("Rectangle"), nullptr},
        {ui->pushButton_noose, QT_TR_NOOP("Lasso Selection"), nullptr},
        {ui->pushButton_poly, QT_TR_NOOP("Polygon Selection"), nullptr},
        {ui->pushButton_penplus, QT_TR_NOOP("Selection Brush"), nullptr},
        {ui->pushButton_sub, QT_TR_NOOP("Fix the Selection"), nullptr},
        {ui->pushButton_clone, QT_TR_NOOP("Smart Clone Tool"), nullptr},
        {ui->pushButton_stamp, QT_TR_NOOP("Sampling Stamp Tool"), nullptr},
        {ui->pushButton_subline, QT_TR_NOOP("Guide Line"), nullptr},
        {ui->pushButton_red, QT_TR_NOOP("Mask"), nullptr},
        {ui->pushButton_green, QT_TR_NOOP("Donor"), nullptr},
        {ui->pushButton_stamp_1, QT_TR_NOOP("Marquee Tool"), nullptr},
        {ui->pushButton_stamp_2, QT_TR_NOOP("Polygon Marquee Tool"), nullptr},
    };
    for (const Tip &t : tips) {
        t.button->setToolTip(tr(t.text));
        if (t.shortcut)
            t.button->setShortcut(QKeySequence(QString::fromLatin1(t.shortcut)));
    }
    ui->verticalSlider->setToolTip(tr("Brush Size"));
    if (m_websiteAction)
        m_websiteAction->setText(tr("Website..."));
    if (m_supportAction)
        m_supportAction->setText(tr("Technical support..."));
    if (m_tutorialAction)
        m_tutorialAction->setText(tr("Tutorial..."));
    retranslateEditingCommands();
    retranslateSaveSettings();
}
