// View commands: zoom, fit, scrolling, before and after, folding the panel.
// They change how the photo is seen and nothing of the photo.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "photoitem.h"

#include <QEvent>
#include <QLayout>

const double kZoomLadder[17] = {4.0,   3.0,  2.0,   1.0,  0.667, 0.5,  0.333, 0.25, 0.167,
                                0.125, 0.083, 0.0625, 0.05, 0.04,  0.03, 0.02,  0.01};

void MainWindow::recvzoomin()
{
    if (m_photoItems.isEmpty())
        return;
    for (int i = 0; i < 17; ++i) {
        if (m_scale >= kZoomLadder[i]) {
            if (i != 0)
                m_scale = kZoomLadder[i - 1];
            break;
        }
    }
    updateZoomViews();
}

void MainWindow::recvzoomout()
{
    // From between two rungs this skips one: from 0.4 the first rung at or
    // below is 0.333, and the step goes to the one after it.
    if (m_photoItems.isEmpty())
        return;
    for (int i = 0; i < 17; ++i) {
        if (m_scale >= kZoomLadder[i]) {
            if (i != 16)
                m_scale = kZoomLadder[i + 1];
            break;
        }
    }
    updateZoomViews();
}

void MainWindow::recv100()
{
    if (m_photoItems.isEmpty())
        return;
    m_scale = 1.0;
    updateZoomViews();
}

void MainWindow::recv200()
{
    if (m_photoItems.isEmpty())
        return;
    m_scale = 2.0;
    updateZoomViews();
}

void MainWindow::on_pushButton_plus_clicked() { recvzoomin(); }
void MainWindow::on_pushButton_sub_2_clicked() { recvzoomout(); }
void MainWindow::on_pushButton_1_1_clicked() { recv100(); }

void MainWindow::setScaleOnViews()
{
    ui->widget_front_green->setScale(m_scale);
    ui->widget_front->setScale(m_scale);
    ui->widget_mid->setScale(m_scale);
    ui->widget_back->setScale(m_scale);
    if (PhotoItem *item = currentItem())
        item->setScale(m_scale);
}

void MainWindow::updateScaleLabel()
{
    const PhotoItem *item = currentItem();
    if (!item)
        return;
    ui->label_display_scale->setText(QStringLiteral("%1% %2*%3")
                                         .arg(m_scale * 100.0, 0, 'f', 2)
                                         .arg(item->imageCols())
                                         .arg(item->imageRows()));
    // The brush size limit follows the zoom; the slider clamps its value
    // and reports the clamp through its value change.
    ui->verticalSlider->setMaximum(int(255 * m_scale));
}

void MainWindow::updateZoomViews()
{
    const PhotoItem *item = currentItem();
    if (!item)
        return;
    m_fitted = false;
    const double W = item->imageCols(), H = item->imageRows();
    const int w = ui->widget_front->width(), h = ui->widget_front->height();
    setScaleOnViews();
    ui->verticalScrollBar->setMinimum(0);
    ui->horizontalScrollBar->setMinimum(0);
    // A photo smaller than the canvas gives a negative maximum; the canvases
    // clamp negative offsets and centre the image by their own margins.
    ui->verticalScrollBar->setMaximum(int(m_scale * H - h));
    ui->horizontalScrollBar->setMaximum(int(m_scale * W - w));
    // The view re-centres on the image, not on the point that was in view.
    ui->verticalScrollBar->setValue(int((m_scale * H - h) * 0.5));
    ui->horizontalScrollBar->setValue(int((m_scale * W - w) * 0.5));
    updateScaleLabel();
}

void MainWindow::on_pushButton_maxa_clicked()
{
    const PhotoItem *item = currentItem();
    if (m_photoItems.isEmpty() || !item || item->imageCols() <= 0 || item->imageRows() <= 0)
        return;
    const int W = item->imageCols(), H = item->imageRows();
    // Measure the canvas as the layout leaves it: a layout request still
    // pending (a page just shown, a control just made visible) would give
    // the size it had before, and the photo a pixel or more too big.
    if (QLayout *layout = ui->centralWidget->layout())
        layout->activate();
    const int w = ui->widget_front->width(), h = ui->widget_front->height();
    ui->verticalScrollBar->setMinimum(0);
    ui->horizontalScrollBar->setMinimum(0);
    ui->verticalScrollBar->setMaximum(H - h);
    ui->horizontalScrollBar->setMaximum(W - w);
    ui->horizontalScrollBar->setValue(0);
    ui->verticalScrollBar->setValue(0);
    // No limit: a small photo is enlarged, a huge one may go below 1%.
    m_scale = std::min(double(h) / H, double(w) / W);
    setScaleOnViews();
    ui->verticalScrollBar->setMaximum(0);
    ui->horizontalScrollBar->setMaximum(0);
    ui->verticalScrollBar->setValue(0);
    ui->horizontalScrollBar->setValue(0);
    updateScaleLabel();
    m_fitted = true;
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    // Should the canvas still change size after a fit (the layout settling
    // late under load, the window resized), the photo is fitted again, so
    // that it never ends up larger than the canvas.
    if (watched == ui->widget_front && event->type() == QEvent::Resize && m_fitted
        && ui->stackedWidget->currentIndex() == 0)
        recvFit();
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::recvFit()
{
    PhotoItem *item = currentItem();
    if (m_photoItems.isEmpty() || !item)
        return;
    on_pushButton_maxa_clicked();
    item->showOnCanvas();
}

void MainWindow::recvWheelSetScale(int value)
{
    // Stays connected on purpose and does nothing: the wheel scrolls.
    Q_UNUSED(value);
}

void MainWindow::recvWidgetMove(int width, int height)
{
    // A tenth of the reported travel; integer division truncates toward zero.
    QScrollBar *hbar = ui->horizontalScrollBar;
    QScrollBar *vbar = ui->verticalScrollBar;
    int x = hbar->value() - width / 10;
    int y = vbar->value() - height / 10;
    x = std::max(std::min(x, hbar->maximum()), hbar->minimum());
    y = std::max(std::min(y, vbar->maximum()), vbar->minimum());
    hbar->setValue(x);
    vbar->setValue(y);
}

void MainWindow::on_horizontalScrollBar_valueChanged(int value)
{
    const int y = ui->verticalScrollBar->value();
    ui->widget_mid->setScroll(value, y);
    ui->widget_front->setScroll(value, y);
    ui->widget_front_green->setScroll(value, y);
}

void MainWindow::on_verticalScrollBar_valueChanged(int value)
{
    const int x = ui->horizontalScrollBar->value();
    ui->widget_mid->setScroll(x, value);
    ui->widget_front->setScroll(x, value);
    ui->widget_front_green->setScroll(x, value);
}

void MainWindow::on_pushButton_a_pressed()
{
    emit getSrcRoi();
}

void MainWindow::on_pushButton_a_released()
{
    emit getRedRoi();
}

void MainWindow::on_pushButton_fangxiang_clicked()
{
    m_rightPanelOpen = !m_rightPanelOpen;
    ui->frame_right->setVisible(m_rightPanelOpen);
    setFoldArrowLook();
}
