// Tool panel: three numbers (tool, size, colour), the buttons that set them,
// and the one signal that tells them to the bound photo and the canvases.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "globals.h"
#include "jobdialog.h"
#include "photoitem.h"
#include "keyboardgrabpause.h"

#include <QMessageBox>

void MainWindow::setSizeControlVisible(bool visible)
{
    ui->label->setVisible(visible);
    ui->label_2->setVisible(visible);
    ui->verticalSlider->setVisible(visible);
}

void MainWindow::setStampStripVisible(bool visible)
{
    for (QWidget *w : {static_cast<QWidget *>(ui->label_stamp_1), static_cast<QWidget *>(ui->label_stamp_2),
                       static_cast<QWidget *>(ui->label_stamp_3), static_cast<QWidget *>(ui->label_stamp_4),
                       static_cast<QWidget *>(ui->horizontalSlider), static_cast<QWidget *>(ui->horizontalSlider_2),
                       static_cast<QWidget *>(ui->pushButton_stamp_1), static_cast<QWidget *>(ui->pushButton_stamp_2)})
        w->setVisible(visible);
}

void MainWindow::resetToolStyles()
{
    for (QPushButton *b : {ui->pushButton_rect, ui->pushButton_noose, ui->pushButton_poly, ui->pushButton_penplus,
                           ui->pushButton_sub, ui->pushButton_clone, ui->pushButton_stamp, ui->pushButton_subline,
                           ui->pushButton_handle})
        setToolLook(b, false);
    setSizeControlVisible(false);
    ui->pushButton_red->show();
    ui->pushButton_green->show();
    // The stamp sub-mode buttons keep their look: only a finished region
    // clears it.
    setStampStripVisible(false);
}

void MainWindow::tellTool()
{
    emit sendSelectType(toolCode(m_toolType), m_brushSize, colourCode(m_colorType));
}

void MainWindow::selectTool(Tool tool, QPushButton *button)
{
    resetToolStyles();
    if (button)
        setToolLook(button, true);
    m_toolType = tool;
    tellTool();
}

void MainWindow::fallBackToBrush()
{
    resetToolStyles();
    setToolLook(ui->pushButton_penplus, true);
    m_colorType = Colour::Mask;
    m_toolType = Tool::Brush;
    tellTool();
}

void MainWindow::on_pushButton_rect_clicked() { selectTool(Tool::Rectangle, ui->pushButton_rect); }
void MainWindow::on_pushButton_noose_clicked() { selectTool(Tool::Lasso, ui->pushButton_noose); }
void MainWindow::on_pushButton_poly_clicked() { selectTool(Tool::Polygon, ui->pushButton_poly); }

void MainWindow::on_pushButton_penplus_clicked()
{
    selectTool(Tool::Brush, ui->pushButton_penplus);
    setSizeControlVisible(true);
}

void MainWindow::on_pushButton_sub_clicked()
{
    selectTool(Tool::FixSelection, ui->pushButton_sub);
    setSizeControlVisible(true);
}

void MainWindow::on_pushButton_clone_clicked()
{
    selectTool(Tool::SmartClone, ui->pushButton_clone);
    ui->pushButton_red->hide();
    ui->pushButton_green->hide();
}

void MainWindow::on_pushButton_subline_clicked()
{
    // Same tool as the smart clone button, without a selected look.
    selectTool(Tool::SmartClone, nullptr);
    ui->pushButton_red->hide();
    ui->pushButton_green->hide();
}

void MainWindow::on_pushButton_handle_clicked()
{
    if (m_photoItems.isEmpty())
        return;
    selectTool(Tool::MoveView, ui->pushButton_handle);
}

void MainWindow::on_pushButton_stamp_clicked()
{
    selectTool(Tool::Stamp, ui->pushButton_stamp);
    setSizeControlVisible(true);
    setStampStripVisible(true);
    ui->pushButton_red->hide();
    ui->pushButton_green->hide();
    // Entering the stamp throws away both selections of the photo; this is
    // not an undo step.
    if (PhotoItem *item = currentItem())
        item->dropSelectionsForStamp();
}

void MainWindow::on_pushButton_stamp_1_clicked()
{
    if (m_photoItems.isEmpty())
        return;
    setToolLook(ui->pushButton_stamp_1, true);
    m_toolType = Tool::StampRegionLasso;
    tellTool();
}

void MainWindow::on_pushButton_stamp_2_clicked()
{
    if (m_photoItems.isEmpty())
        return;
    setToolLook(ui->pushButton_stamp_2, true);
    m_toolType = Tool::StampRegionPolygon;
    tellTool();
}

void MainWindow::RecvOverStampSelect()
{
    resetToolStyles();
    setToolLook(ui->pushButton_stamp, true);
    setToolLook(ui->pushButton_stamp_1, false);
    setToolLook(ui->pushButton_stamp_2, false);
    m_toolType = Tool::Stamp;
    tellTool();
    setSizeControlVisible(true);
    setStampStripVisible(true);
}

void MainWindow::on_pushButton_red_clicked()
{
    setColorLooks(true, false);
    m_colorType = Colour::Mask;
    // Type first, layer second: the layer view repaints for the new colour.
    tellTool();
    emit getRedRoi();
}

void MainWindow::on_pushButton_green_clicked()
{
    setColorLooks(false, true);
    m_colorType = Colour::Donor;
    tellTool();
    emit getGreenRoi();
}

void MainWindow::placeJobDialog()
{
    // The progress dialog opens here; the welcome button's corner lies near
    // the middle of the window even while its page is hidden.
    if (JobDialog *jobs = JobDialog::of(currentItem()))
        jobs->setPlace(ui->pushButton_select_photo->mapToGlobal(QPoint(0, 0)));
}

void MainWindow::on_pushButton_eraser_clicked()
{
    placeJobDialog();
    emit sendEraseCommand();
}

void MainWindow::RecvThreadFinish()
{
    ui->pushButton_eraser->setEnabled(true);
}

// The reasons come from the engine's checks in English, one line; they are
// shown as given after a translated lead.
void MainWindow::RecvJobRefused(const QString &reason)
{
    KeyboardGrabPause pause(this);
    QMessageBox::warning(nullptr, tr("Warnning"), tr("Cannot erase the selection: %1.").arg(reason), QMessageBox::Ok);
}

void MainWindow::RecvJobFailed(const QString &reason)
{
    KeyboardGrabPause pause(this);
    QMessageBox::warning(nullptr, tr("Warnning"),
                         tr("The job failed: %1. The photo is as it was.").arg(reason), QMessageBox::Ok);
}

void MainWindow::on_verticalSlider_valueChanged(int value)
{
    m_brushSize = value;
    tellTool();
    ui->label->setText(QStringLiteral("%1").arg(value));
}

void MainWindow::on_horizontalSlider_valueChanged(int value)
{
    PhotoItem *item = currentItem();
    if (m_photoItems.isEmpty() || !item)
        return;
    ui->label_stamp_2->setText(QStringLiteral("%1%").arg(value));
    item->setStampHardness(float(value / 100.0));
}

void MainWindow::on_horizontalSlider_2_valueChanged(int value)
{
    PhotoItem *item = currentItem();
    if (m_photoItems.isEmpty() || !item)
        return;
    ui->label_stamp_4->setText(QStringLiteral("%1%").arg(value));
    item->setStampOpacity(float(value / 100.0));
}
