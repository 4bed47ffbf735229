// Drop-down menu, languages, the link table and the first-run tutorial:
// filled with the menu work.
#include "mainwindow.h"
#include "ui_mainwindow.h"

#include <QAction>

void MainWindow::setTopRightUI()
{
    // Filled with the menu work.
}

void MainWindow::loadLinks()
{
    // Filled with the menu work; the link lists stay empty until then.
}

void MainWindow::loadLanguages()
{
    // Filled with the menu work; no languages until then.
}

void MainWindow::onMenu_1_Triggered(QAction *action)
{
    Q_UNUSED(action); // Filled with the menu work.
}

bool MainWindow::isAllowedLinkHost(const QString &url)
{
    Q_UNUSED(url); // Filled with the menu work; no link is opened until then.
    return false;
}

void MainWindow::open_web() {}      // Filled with the menu work.
void MainWindow::open_tech() {}     // Filled with the menu work.
void MainWindow::open_tutorial() {} // Filled with the menu work.
void MainWindow::open_update() {}   // Filled with the menu work.
void MainWindow::open_about() {}    // Filled with the menu work.

void MainWindow::displayTutorial()
{
    // Filled with the menu and tutorial work.
}
