// Save as and print of the current photo: filled with the save work.
#include "mainwindow.h"
#include "ui_mainwindow.h"

#include <QPrinter>

int MainWindow::on_pushButton_save_clicked()
{
    // Filled with the save work. Nothing is written yet: report a cancel.
    return 2;
}

void MainWindow::on_pushButton_print_clicked()
{
    // Filled with the save work.
}

void MainWindow::printPreviewSlot(QPrinter *printerPixmap)
{
    Q_UNUSED(printerPixmap); // Filled with the save work.
}
