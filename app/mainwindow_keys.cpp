// Window behaviour and keyboard: the header drag, the size toggle,
// minimising, closing, and the keys that modify the tools.
#include "mainwindow.h"
#include "skin.h"
#include "ui_mainwindow.h"
#include "customwidget.h"
#include "custombackwidget.h"
#include "globals.h"
#include "photoitem.h"

#include <QCursor>
#include <QKeyEvent>
#include <QMouseEvent>

namespace {

// The header's rectangle in the window's coordinates.
QRect headerRect(const QWidget *window, const QWidget *header)
{
    return QRect(header->mapTo(window, QPoint(0, 0)), header->size());
}

} // namespace

// ---------------------------------------------------------------- header

void MainWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        const QPoint cursor = mapFromGlobal(QCursor::pos());
        if (headerRect(this, ui->frame_header).contains(cursor)) {
            m_dragging = true;
            m_dragX = qRound(event->localPos().x());
            m_dragY = qRound(event->localPos().y());
        }
    }
    QMainWindow::mousePressEvent(event);
}

void MainWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragging) {
        // Dragging a filled window by its header returns it to design size.
        m_isNormalSize = true;
        resize(Skin::scaled(1256), Skin::scaled(740));
        move(event->globalPos() - QPoint(m_dragX, m_dragY));
    }
    QMainWindow::mouseMoveEvent(event);
}

void MainWindow::mouseReleaseEvent(QMouseEvent *event)
{
    m_dragging = false;
    QMainWindow::mouseReleaseEvent(event);
}

void MainWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (headerRect(this, ui->frame_header).contains(event->pos()))
        on_pushButton_max_clicked();
    QMainWindow::mouseDoubleClickEvent(event);
}

void MainWindow::on_pushButton_min_clicked()
{
    showMinimized();
}

void MainWindow::on_pushButton_max_clicked()
{
    // The origin of the available area plays no part: the window fills from
    // (0, 0) and centres by the available size alone.
    if (m_isNormalSize) {
        resize(m_availableGeometry.size());
        move(0, 0);
        m_isNormalSize = false;
    } else {
        resize(Skin::scaled(1256), Skin::scaled(740));
        move((m_availableGeometry.width() - width()) / 2, (m_availableGeometry.height() - height()) / 2);
        m_isNormalSize = true;
    }
    on_pushButton_maxa_clicked();
}

void MainWindow::on_pushButton_close_clicked()
{
    // Every photo is closed in turn, asking for unsaved ones; a Cancel stops
    // here and leaves the window open, with the photos closed so far gone.
    // A folder's files not listed yet are not listed any more.
    stopFolderLoading();
    const int n = m_photoItems.size();
    m_closingAll = true;
    for (int i = 0; i < n; ++i) {
        if (RecvDeleteItem() == 2) {
            m_closingAll = false;
            // The photo the question was about stays shown.
            return;
        }
    }
    m_closingAll = false;
    close();
}

// ---------------------------------------------------------------- keys

void MainWindow::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Space:
        if (!m_photoItems.isEmpty() && !event->isAutoRepeat() && !m_spaceHeld) {
            m_spaceHeld = true;
            m_prevTool = m_toolType;
            on_pushButton_handle_clicked();
        }
        break;
    case Qt::Key_BracketLeft:
        // The slider clamps the value and reports it through its change.
        ui->verticalSlider->setValue(m_brushSize - 5);
        break;
    case Qt::Key_BracketRight:
        ui->verticalSlider->setValue(m_brushSize + 5);
        break;
    case Qt::Key_Escape:
        if (!m_photoItems.isEmpty())
            cancelSelectionUnderWay();
        break;
    case Qt::Key_Alt:
        if (!event->isAutoRepeat() && !m_spaceHeld) {
            ui->widget_front_green->hide();
            emit sendaltkeyPress();
        }
        break;
    default:
        QMainWindow::keyPressEvent(event);
        return;
    }
}

void MainWindow::keyReleaseEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Space:
        if (m_spaceHeld && !event->isAutoRepeat()) {
            m_spaceHeld = false;
            if (m_photoItems.isEmpty())
                break;
            m_toolType = m_prevTool;
            restoreToolAfterSpace();
        }
        break;
    case Qt::Key_Alt:
        // Releasing Alt also ends a Space hold: the later release of Space
        // then no longer restores the tool. Users have long had it so.
        m_spaceHeld = false;
        ui->widget_front_green->show();
        emit sendaltkeyRelease();
        break;
    default:
        QMainWindow::keyReleaseEvent(event);
        return;
    }
}

void MainWindow::restoreToolAfterSpace()
{
    // As the tool's button would, except that the size control shows for
    // the smart clone, the colour buttons stay visible, and entering the
    // stamp keeps the photo's selections. The stamp sub-modes (10, 11) are
    // not restored: the photo stays on the move tool.
    QPushButton *button = nullptr;
    switch (m_toolType) {
    case Tool::Rectangle: button = ui->pushButton_rect; break;
    case Tool::Lasso: button = ui->pushButton_noose; break;
    case Tool::Polygon: button = ui->pushButton_poly; break;
    case Tool::Brush: button = ui->pushButton_penplus; break;
    case Tool::FixSelection: button = ui->pushButton_sub; break;
    case Tool::Stamp: button = ui->pushButton_stamp; break;
    case Tool::MoveView: button = ui->pushButton_handle; break;
    case Tool::SmartClone: button = ui->pushButton_clone; break;
    default: return;
    }
    resetToolStyles();
    setToolLook(button, true);
    tellTool();
    if (m_toolType == Tool::Brush || m_toolType == Tool::FixSelection || m_toolType == Tool::Stamp || m_toolType == Tool::SmartClone)
        setSizeControlVisible(true);
    if (m_toolType == Tool::Stamp)
        setStampStripVisible(true);
}

void MainWindow::cancelSelectionUnderWay()
{
    PhotoItem *item = currentItem();
    if (!item)
        return;
    item->dropSelectionUnderWay(m_toolType == Tool::SmartClone);
}
