// The window's look. The sheet's coordinates, the palette and the style
// sheets live in the skin (dialogs/skin.*); this file only says which widget
// wears which look and when it changes.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "skin.h"

#include <QGraphicsEffect>

namespace {

// The buttons whose look says which tool is in force, with their sprite rows.
struct ToolButton {
    QPushButton *Ui::MainWindow::*button;
    Skin::Tool tool;
};

const ToolButton kToolButtons[] = {
    {&Ui::MainWindow::pushButton_rect, Skin::Tool::Rect},
    {&Ui::MainWindow::pushButton_noose, Skin::Tool::Noose},
    {&Ui::MainWindow::pushButton_poly, Skin::Tool::Poly},
    {&Ui::MainWindow::pushButton_penplus, Skin::Tool::PenPlus},
    {&Ui::MainWindow::pushButton_sub, Skin::Tool::Sub},
    {&Ui::MainWindow::pushButton_subline, Skin::Tool::Subline},
    {&Ui::MainWindow::pushButton_clone, Skin::Tool::Clone},
    {&Ui::MainWindow::pushButton_stamp, Skin::Tool::Stamp},
    {&Ui::MainWindow::pushButton_stamp_1, Skin::Tool::Stamp1},
    {&Ui::MainWindow::pushButton_stamp_2, Skin::Tool::Stamp2},
};

} // namespace

void MainWindow::setToolLook(QPushButton *button, bool selected)
{
    if (!button)
        return;
    if (button == ui->pushButton_handle) {
        // The move tool sits in the command row but behaves as a tool.
        button->setStyleSheet(Skin::commandButtonSheet(Skin::Command::Handle, selected));
        button->setProperty("selectedLook", selected);
        return;
    }
    for (const ToolButton &t : kToolButtons) {
        if (ui->*t.button != button)
            continue;
        button->setStyleSheet(Skin::toolButtonSheet(t.tool, selected));
        button->setProperty("selectedLook", selected);
        return;
    }
}

void MainWindow::setColorLooks(bool redSelected, bool greenSelected)
{
    ui->pushButton_red->setStyleSheet(Skin::colourButtonSheet(0, redSelected));
    ui->pushButton_red->setProperty("selectedLook", redSelected);
    ui->pushButton_green->setStyleSheet(Skin::colourButtonSheet(1, greenSelected));
    ui->pushButton_green->setProperty("selectedLook", greenSelected);
}

void MainWindow::setFoldArrowLook()
{
    ui->pushButton_fangxiang->setStyleSheet(Skin::foldButtonSheet(m_rightPanelOpen));
}

void MainWindow::applySkin()
{
    // The pictures live in a static library: make sure they are registered.
    Skin::init();
    // Header, left panel, frames and labels, drop shadow, welcome page and view
    // widgets, right panel, list, command row: all by object name.
    Skin::applyWindowSkin(this);

    // The window's own record of the start-up looks: the brush and the red
    // layer are chosen, and the brush shows its size control.
    for (const ToolButton &t : kToolButtons)
        (ui->*t.button)->setProperty("selectedLook", t.tool == Skin::Tool::PenPlus);
    setToolLook(ui->pushButton_handle, false);
    setColorLooks(true, false);
    setFoldArrowLook();
    setSizeControlVisible(true);

    // The canvas back paints its shadow itself, at the skin's offset: a
    // graphics effect would re-render the whole canvas stack on every brush
    // step, which costs a large photo its fluid strokes.
    ui->widget_back->setGraphicsEffect(nullptr);
    ui->widget_back->setDropShadow(QPoint(Skin::kShadowOffset, Skin::kShadowOffset), QColor(63, 63, 63, 180));

    // The two pages show the main background between their frames.
    const QString pageBack = QStringLiteral("QWidget#%1{background:%2;}");
    ui->page->setStyleSheet(pageBack.arg(QStringLiteral("page"), QLatin1String(Skin::kMainBack)));
    ui->page_2->setStyleSheet(pageBack.arg(QStringLiteral("page_2"), QLatin1String(Skin::kMainBack)));
}
