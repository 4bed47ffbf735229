// Editing commands of the drop-down menu: masks in and out, grow and shrink
// the selection, another fill of the last erase. Each entry carries its
// shortcut, which works with the menu closed too, and is greyed whenever it
// cannot apply.
//
// Masks follow the command-line eraser's convention (photoio/masknames.h):
// for photo NAME.EXT the mask is NAME.mask.png and the donor NAME.donor.png
// beside it, 8-bit grey, every non-black pixel selected.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "photoitem.h"
#include "qmenubutton.h"

#include "masknames.h"
#include "photoio.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QKeySequence>
#include <QListWidget>
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
    m_loadMaskAction = addEditingAction(font, "Ctrl+Shift+O", &MainWindow::loadMask);
    m_saveMaskAction = addEditingAction(font, "Ctrl+Shift+S", &MainWindow::saveMask);
    m_growAction = addEditingAction(font, "Ctrl+Shift+G", &MainWindow::growSelection);
    m_shrinkAction = addEditingAction(font, "Ctrl+Shift+H", &MainWindow::shrinkSelection);
    m_anotherFillAction = addEditingAction(font, "Ctrl+Shift+F", &MainWindow::anotherFill);
    retranslateEditingCommands();

    // Whatever can change what applies: a new entry or an undo (every
    // selection gesture is one), another photo, the colour, a job.
    connect(m_topMenu, &QMenu::aboutToShow, this, &MainWindow::updateEditingCommands);
    connect(m_undoGroup, &QUndoGroup::indexChanged, this, &MainWindow::updateEditingCommands);
    connect(m_undoGroup, &QUndoGroup::activeStackChanged, this, &MainWindow::updateEditingCommands);
    // Queued: the row switch binds the photo first.
    connect(ui->listWidget, &QListWidget::currentRowChanged, this, &MainWindow::updateEditingCommands,
            Qt::QueuedConnection);
    connect(ui->pushButton_red, &QPushButton::clicked, this, &MainWindow::updateEditingCommands);
    connect(ui->pushButton_green, &QPushButton::clicked, this, &MainWindow::updateEditingCommands);
    updateEditingCommands();
}

void MainWindow::retranslateEditingCommands()
{
    if (m_loadMaskAction)
        m_loadMaskAction->setText(tr("Load Mask..."));
    if (m_saveMaskAction)
        m_saveMaskAction->setText(tr("Save Mask..."));
    if (m_growAction)
        m_growAction->setText(tr("Grow Selection"));
    if (m_shrinkAction)
        m_shrinkAction->setText(tr("Shrink Selection"));
    if (m_anotherFillAction)
        m_anotherFillAction->setText(tr("Another Fill"));
}

void MainWindow::updateEditingCommands()
{
    if (!m_growAction || !m_shrinkAction || !m_loadMaskAction || !m_saveMaskAction || !m_anotherFillAction)
        return;
    PhotoItem *item = currentItem();
    const bool idle = item && !item->isJobActive();
    m_loadMaskAction->setEnabled(idle);
    m_saveMaskAction->setEnabled(idle && item->hasSelection(Colour::Mask));
    const bool canChange = idle && item->hasActiveSelection();
    m_growAction->setEnabled(canChange);
    m_shrinkAction->setEnabled(canChange);
    m_anotherFillAction->setEnabled(idle && item->canFillAgain());
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

void MainWindow::anotherFill()
{
    PhotoItem *item = currentItem();
    if (!item || !item->canFillAgain())
        return;
    // The same progress dialog as an Erase, in the same place.
    placeJobDialog();
    item->recvAnotherFillCommand();
    updateEditingCommands();
}

// ---------------------------------------------------------------- masks

QString MainWindow::maskPathFor(const QString &photoPath)
{
    const QFileInfo info(photoPath);
    return info.dir().filePath(QString::fromStdString(photoio::maskNameFor(photoPath.toStdString())));
}

QString MainWindow::donorPathBeside(const QString &maskPath)
{
    const QFileInfo info(maskPath);
    return info.dir().filePath(QString::fromStdString(photoio::donorNameBesideMask(maskPath.toStdString())));
}

namespace {

// A selection written as the eraser reads it: 8-bit grey PNG, 255 and 0.
QString writeMask(const cv::Mat &mask, const QString &path)
{
    const photoio::Encoded png = photoio::encode(mask, ".png");
    if (!png.ok())
        return QString::fromStdString(png.error);
    return QString::fromStdString(photoio::writeFileChecked(QFile::encodeName(path).toStdString(), png.bytes));
}

} // namespace

QString MainWindow::loadMaskFrom(const QString &path)
{
    PhotoItem *item = currentItem();
    if (!item || item->isJobActive())
        return tr("There is no photo to load a mask into.");
    const QString shown = QDir::toNativeSeparators(path);
    const photoio::Decoded mask = photoio::decodeFile(QFile::encodeName(path).toStdString());
    if (!mask.readable() || mask.report.damaged)
        return tr("The mask %1 could not be read.").arg(shown);
    if (mask.pixels.cols != item->imageCols() || mask.pixels.rows != item->imageRows())
        return tr("The mask %1 is %2 x %3 pixels, but the photo is %4 x %5. A mask must have the photo's size.")
            .arg(shown)
            .arg(mask.pixels.cols)
            .arg(mask.pixels.rows)
            .arg(item->imageCols())
            .arg(item->imageRows());
    // Every non-black pixel, as the command-line eraser reads a mask.
    cv::Mat channels[3];
    cv::split(mask.pixels, channels);
    const cv::Mat selected = (channels[0] | channels[1] | channels[2]) > 0;
    if (!item->addToRedSelection(selected))
        return tr("The mask %1 selects nothing.").arg(shown);
    updateEditingCommands();
    return QString();
}

QString MainWindow::saveMaskTo(const QString &path)
{
    PhotoItem *item = currentItem();
    if (!item || item->isJobActive())
        return tr("There is no photo whose mask could be saved.");
    const cv::Mat red = item->selectionMask(Colour::Mask);
    if (red.empty() || cv::countNonZero(red) == 0)
        return tr("Nothing is selected in red, so there is no mask to save.");
    const QString failed = writeMask(red, path);
    if (!failed.isEmpty())
        return tr("The mask could not be saved as %1: %2").arg(QDir::toNativeSeparators(path), failed);
    // The donor goes beside it; an older donor of the same name would make
    // the eraser use a green area this photo no longer has.
    const QString donorPath = donorPathBeside(path);
    const cv::Mat green = item->selectionMask(Colour::Donor);
    if (!green.empty() && cv::countNonZero(green) > 0) {
        const QString donorFailed = writeMask(green, donorPath);
        if (!donorFailed.isEmpty())
            return tr("The donor could not be saved as %1: %2").arg(QDir::toNativeSeparators(donorPath), donorFailed);
    } else if (QFileInfo::exists(donorPath) && !QFile::remove(donorPath)) {
        return tr("The mask was saved, but the older donor %1 beside it could not be removed.")
            .arg(QDir::toNativeSeparators(donorPath));
    }
    return QString();
}

void MainWindow::loadMask()
{
    PhotoItem *item = currentItem();
    if (!item || item->isJobActive())
        return;
    const QString path = QFileDialog::getOpenFileName(this, tr("Load Mask"), item->folderPath(),
                                                      QString::fromLatin1(openFilter()));
    if (path.isEmpty())
        return;
    const QString failed = loadMaskFrom(path);
    if (!failed.isEmpty())
        QMessageBox::warning(this, tr("Load Mask"), failed);
}

void MainWindow::saveMask()
{
    PhotoItem *item = currentItem();
    if (!item || item->isJobActive())
        return;
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Mask"), maskPathFor(item->filePath()),
                                                      tr("PNG mask (*.png)"));
    if (path.isEmpty())
        return;
    const QString failed = saveMaskTo(path);
    if (!failed.isEmpty())
        QMessageBox::warning(this, tr("Save Mask"), failed);
}
