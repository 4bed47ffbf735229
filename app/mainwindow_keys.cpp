// Window behaviour and keyboard: the header drag, the size toggle,
// minimising, closing, and the keys that modify the tools.
#include "mainwindow.h"
#include "ui_mainwindow.h"

#include <QKeyEvent>
#include <QMouseEvent>

void MainWindow::mousePressEvent(QMouseEvent *event)
{
    QMainWindow::mousePressEvent(event); // Filled with the window work.
}

void MainWindow::mouseReleaseEvent(QMouseEvent *event)
{
    QMainWindow::mouseReleaseEvent(event); // Filled with the window work.
}

void MainWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    QMainWindow::mouseDoubleClickEvent(event); // Filled with the window work.
}

void MainWindow::mouseMoveEvent(QMouseEvent *event)
{
    QMainWindow::mouseMoveEvent(event); // Filled with the window work.
}

void MainWindow::keyPressEvent(QKeyEvent *event)
{
    // The bracket keys step the brush size by 5 through the slider, which
    // clamps to its range and reports the new size. Space, Alt and Escape
    // are filled with the keyboard work.
    switch (event->key()) {
    case Qt::Key_BracketLeft:
        ui->verticalSlider->setValue(m_brushSize - 5);
        return;
    case Qt::Key_BracketRight:
        ui->verticalSlider->setValue(m_brushSize + 5);
        return;
    default:
        QMainWindow::keyPressEvent(event);
    }
}

void MainWindow::keyReleaseEvent(QKeyEvent *event)
{
    QMainWindow::keyReleaseEvent(event); // Filled with the keyboard work.
}

void MainWindow::on_pushButton_min_clicked()
{
    showMinimized();
}

void MainWindow::on_pushButton_max_clicked()
{
    // Filled with the window work.
}

void MainWindow::on_pushButton_close_clicked()
{
    // Every photo is closed in turn, asking for unsaved ones; a Cancel stops
    // here and leaves the window open, with the photos closed so far gone.
    const int n = m_photoItems.size();
    for (int i = 0; i < n; ++i) {
        if (RecvDeleteItem() == 2)
            return;
    }
    close();
}
