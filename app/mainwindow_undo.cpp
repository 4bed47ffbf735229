// Undo and redo buttons: by index on the active stack, which bounds it.
#include "mainwindow.h"

#include <QUndoGroup>
#include <QUndoStack>

void MainWindow::on_pushButton_undo_clicked()
{
    // The buttons are out of sight with no photo, but their shortcuts are not.
    QUndoStack *stack = m_undoGroup ? m_undoGroup->activeStack() : nullptr;
    if (!stack)
        return;
    stack->setIndex(stack->index() - 1);
}

void MainWindow::on_pushButton_redo_clicked()
{
    QUndoStack *stack = m_undoGroup ? m_undoGroup->activeStack() : nullptr;
    if (!stack)
        return;
    stack->setIndex(stack->index() + 1);
}
