// Photo list: adding by dialog, folder and drop, switching rows, closing.
// Filled with the photo list work; until then only the single open of the
// welcome page (openPhoto) brings photos in, and none leaves.
#include "mainwindow.h"
#include "ui_mainwindow.h"

#include <QDragEnterEvent>
#include <QDropEvent>

bool MainWindow::hasAcceptedSuffix(const QString &fileName)
{
    Q_UNUSED(fileName); // Filled with the photo list work; nothing passes yet.
    return false;
}

void MainWindow::on_pushButton_add_clicked()
{
    // Filled with the photo list work.
}

void MainWindow::on_pushButton_select_folder_clicked()
{
    // Filled with the photo list work.
}

void MainWindow::on_listWidget_itemClicked(QListWidgetItem *item)
{
    Q_UNUSED(item); // Filled with the photo list work.
}

void MainWindow::on_listWidget_currentRowChanged(int currentRow)
{
    Q_UNUSED(currentRow); // Filled with the photo list work.
}

void MainWindow::on_listwidget_current_change()
{
    // Filled with the photo list work.
}

int MainWindow::RecvDeleteItem()
{
    // Filled with the photo list work. Until then nothing is closed, which
    // the callers read as a cancel.
    return 2;
}

void MainWindow::on_pushButton_remove_clicked()
{
    // Filled with the photo list work.
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    event->ignore(); // Filled with the photo list work.
}

void MainWindow::dropEvent(QDropEvent *event)
{
    event->ignore(); // Filled with the photo list work.
}
