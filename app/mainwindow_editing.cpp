// Editing commands of the drop-down menu: grow and shrink the selection.
// Each entry carries its shortcut, which works with the menu closed too, and
// is greyed whenever it cannot apply.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "photoitem.h"
#include "qmenubutton.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QUndoGroup>
#include <QUndoStack>

QAction *MainWindow::addEditingAction(const QFont &font, const char *shortcut, void (MainWindow::*slot)())
{
    auto *action = new QAction(this);
    action->setFont(font);
    action->setShortcut(QKeySequence(QString::fromLatin1(shortcut)));
    // Also on the window, so that the shortcut works while the menu is shut.
    action->setShortcutContext(Qt::WindowShortcut);
    addAction(action);
    m_topMenu->addAction(action);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

void MainWindow::addEditingCommands(const QFont &font)
{
    m_topMenu->addSeparator();
    m_growAction = addEditingAction(font, "Ctrl+Shift+G", &MainWindow::growSelection);
    m_shrinkAction = addEditingAction(font, "Ctrl+Shift+H", &MainWindow::shrinkSelection);
    retranslateEditingCommands();

    // Whatever can change what applies: a new entry or an undo (every
    // selection gesture is one), another photo, the colour, a job.
    connect(m_topMenu, &QMenu::aboutToShow, this, &MainWindow::updateEditingCommands);
    connect(m_undoGroup, &QUndoGroup::indexChanged, this, &MainWindow::updateEditingCommands);
    connect(m_undoGroup, &QUndoGroup::activeStackChanged, this, &MainWindow::updateEditingCommands);
    connect(ui->pushButton_red, &QPushButton::clicked, this, &MainWindow::updateEditingCommands);
    connect(ui->pushButton_green, &QPushButton::clicked, this, &MainWindow::updateEditingCommands);
    updateEditingCommands();
}

void MainWindow::retranslateEditingCommands()
{
    if (m_growAction)
        m_growAction->setText(tr("Grow Selection"));
    if (m_shrinkAction)
        m_shrinkAction->setText(tr("Shrink Selection"));
}

void MainWindow::updateEditingCommands()
{
    if (!m_growAction || !m_shrinkAction)
        return;
    PhotoItem *item = currentItem();
    const bool canChange = item && !item->m_jobActive && item->hasActiveSelection();
    m_growAction->setEnabled(canChange);
    m_shrinkAction->setEnabled(canChange);
}

void MainWindow::growSelection()
{
    if (PhotoItem *item = currentItem())
        item->growSelection();
    updateEditingCommands();
}

void MainWindow::shrinkSelection()
{
    if (PhotoItem *item = currentItem())
        item->shrinkSelection();
    updateEditingCommands();
}
