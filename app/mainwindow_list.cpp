// Photo list: adding by dialog, folder and drop, switching rows, closing one
// photo, removing all. Row number and list index are always equal, and only
// the photo of the current row is wired to the canvases.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "keyboardgrabpause.h"
#include "customitem.h"
#include "folderloader.h"
#include "photoitem.h"
#include "photorow.h"
#include "removedialog.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QSignalBlocker>
#include <QTimer>
#include <QUndoGroup>
#include <QUrl>

#include <algorithm>

namespace {

// The suffixes a file name may end in, each with the number of trailing
// characters compared against it. "sr" is compared against three characters,
// so only a file named exactly "sr" passes it; capitals never pass. Both are
// long-standing behaviour that users of the folder command rely on.
struct AcceptedSuffix {
    const char *suffix;
    int cut;
};

constexpr AcceptedSuffix kAcceptedSuffixes[] = {
    {"bmp", 3}, {"dib", 3}, {"jpg", 3}, {"jpeg", 4}, {"jpe", 3}, {"png", 3}, {"pbm", 3}, {"pgm", 3},
    {"ppm", 3}, {"sr", 3},  {"ras", 3}, {"tiff", 4}, {"tif", 3}, {"exr", 3}, {"jp2", 3},
    // What phones write, in both cases: phones often name files in capitals (IMG_0001.HEIC).
    {"webp", 4}, {"heic", 4}, {"heif", 4}, {"avif", 4}, {"WEBP", 4}, {"HEIC", 4}, {"HEIF", 4}, {"AVIF", 4},
};

// The question box opens over the welcome button, up and to the left by a
// third of its own size.
void placeQuestion(RemoveDialog *dialog, const QWidget *anchor)
{
    const QPoint corner = anchor->mapToGlobal(QPoint(0, 0));
    dialog->move(corner.x() - dialog->width() / 3, corner.y() - dialog->height() / 3);
}

} // namespace

bool MainWindow::hasAcceptedSuffix(const QString &fileName)
{
    for (const AcceptedSuffix &s : kAcceptedSuffixes) {
        if (fileName.right(s.cut) == QLatin1String(s.suffix))
            return true;
    }
    return false;
}

const char *MainWindow::openFilter()
{
    return QT_TRANSLATE_NOOP("MainWindow",
                             "ALL Formats(*.*);;BMP(*.BMP *.DIB);;JPEG(*.JPG *.JPEG *.JPE);;PNG(*.PNG);;"
                             "Portable Bit Map(*.PBM *.PGM *.PPM);;SR(*.SR *.RAS);;TIFF(*.TIFF *.TIF);;"
                             "EXR(*.EXR);;JP2(*.JP2);;WebP(*.WEBP);;HEIC(*.HEIC *.HEIF);;AVIF(*.AVIF)");
}

void MainWindow::on_pushButton_add_clicked()
{
    if (!m_location.isEmpty() && m_openDir.isEmpty())
        m_openDir = m_location;
    const QString filter = tr(openFilter());
    QStringList paths;
    {
        KeyboardGrabPause pause(this);
        paths = QFileDialog::getOpenFileNames(this, tr("Open Image"), m_openDir, filter);
    }
    for (const QString &path : qAsConst(paths))
        openPhoto(path);
}

void MainWindow::on_pushButton_select_folder_clicked()
{
    if (!m_location.isEmpty() && m_openDir.isEmpty())
        m_openDir = m_location;
    QString folder;
    {
        KeyboardGrabPause pause(this);
        folder = QFileDialog::getExistingDirectory(this, tr("Open Flolder"), m_openDir, QFileDialog::ShowDirsOnly);
    }
    if (folder.isEmpty())
        return;
    // The smallest file first; sub-folders are not entered.
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::Files | QDir::NoSymLinks | QDir::Hidden, QDir::Size | QDir::Reversed);
    QStringList paths;
    for (const QFileInfo &entry : entries) {
        if (hasAcceptedSuffix(entry.fileName()))
            paths.append(entry.absoluteFilePath());
    }
    if (paths.isEmpty())
        return;
    // Every file is in the one folder: the directories move once.
    noteOpenedPath(paths.first());
    // The files are read on a worker, in order: the first readable one is
    // shown as an open shows it, the others are listed with a thumbnail
    // from a reduced read and read whole when first shown. The window
    // stays responsive meanwhile.
    loader()->add(paths, true);
}

FolderLoader *MainWindow::loader()
{
    if (!m_folderLoader) {
        m_folderLoader = new FolderLoader(this);
        connect(m_folderLoader, &FolderLoader::photoRead, this, &MainWindow::takeListedPhotos, Qt::QueuedConnection);
    }
    return m_folderLoader;
}

bool MainWindow::folderLoading() const
{
    return m_folderLoader && (m_folderLoader->busy() || m_takingListed);
}

void MainWindow::takeListedPhotos()
{
    // A message box of an earlier file is open (its own event loop runs):
    // the next file waits for it.
    if (m_takingListed || !m_folderLoader)
        return;
    m_takingListed = true;
    ListedPhoto photo;
    const bool taken = m_folderLoader->takeNext(photo);
    if (taken && photo.ahead)
        takeReadAhead(photo);
    else if (taken)
        listFolderPhoto(photo);
    m_takingListed = false;
    // One file per pass of the event loop; what a message box held back
    // follows now.
    if (taken && m_folderLoader)
        QTimer::singleShot(0, this, &MainWindow::takeListedPhotos);
}

void MainWindow::listFolderPhoto(ListedPhoto &photo)
{
    const QString &path = photo.path;
    if (photo.full) {
        openGuarded(path, [&] {
            openDecodedPhoto(path, photo.decoded, photo.identity, std::move(photo.canvasImage), photo.thumbnail);
        });
        return;
    }
    if (photo.thumbnail.empty()) {
        KeyboardGrabPause pause(this);
        QMessageBox::warning(nullptr, tr("Warnning"), tr("Cannot read file %1").arg(path), QMessageBox::Ok);
        return;
    }
    PhotoItem *item = new PhotoItem(ui->widget_back, ui->widget_mid, ui->widget_front, ui->widget_front_green, path,
                                    photo.identity, photo.size, ui->listWidget);
    // Kept while the pixels are away; the row is shown through its profile.
    item->setMetadata(std::move(photo.decoded.metadata));
    addPhotoRow(ui->listWidget, item, photo.thumbnail);
    adoptPhoto(item);
    // No photo shown (the shown one was closed meanwhile): this one is.
    if (!m_shownItem) {
        if (!readPixelsFor(item)) {
            setCurrentRowQuietly(-1);
            return;
        }
        showPhoto(item);
        ui->stackedWidget->setCurrentIndex(0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        setCurrentRowQuietly(ui->listWidget->row(item->listItem()));
        startFreshOnPhoto(true);
    }
    if (photo.decoded.report.damaged)
        warnDamaged(path);
}

void MainWindow::stopFolderLoading()
{
    if (m_folderLoader)
        m_folderLoader->cancel();
    m_readingAheadFor = nullptr;
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!urls.isEmpty() && hasAcceptedSuffix(urls.first().fileName()))
        event->acceptProposedAction();
    else
        event->ignore();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    // One photo per drop: only the first file of the drag counts.
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty())
        return;
    const QString path = urls.first().toLocalFile();
    if (!path.isEmpty())
        openPhoto(path);
}

void MainWindow::on_listWidget_itemClicked(QListWidgetItem *item)
{
    Q_UNUSED(item); // the row is read from the list itself
    on_listwidget_current_change();
}

void MainWindow::on_listWidget_currentRowChanged(int currentRow)
{
    if (currentRow < 0)
        return;
    on_listwidget_current_change();
}

void MainWindow::setCurrentRowQuietly(int row)
{
    m_rowSetQuietly = true;
    ui->listWidget->setCurrentRow(row);
    m_rowSetQuietly = false;
}

void MainWindow::on_listwidget_current_change()
{
    if (m_rowSetQuietly)
        return;
    // Every switch, even to the row already current, binds that photo anew,
    // drops the tool back to the red brush and fits the photo.
    if (m_photoItems.isEmpty())
        return;
    PhotoItem *item = currentItem();
    // The photo being read ahead: that read is waited for, not repeated.
    ListedPhoto ahead;
    if (item && item == m_readingAheadFor && m_folderLoader && m_folderLoader->takeAhead(ahead))
        takeReadAhead(ahead);
    // A photo whose pixels were given back reads them again first; if its
    // file changed or went, the user hears why and the shown photo stays.
    if (item && !readPixelsFor(item)) {
        returnToShownPhoto();
        return;
    }
    showPhoto(item);
    if (!item)
        return;
    ui->stackedWidget->setCurrentIndex(0);
    startFreshOnPhoto(false);
    readNextAhead();
}

void MainWindow::readNextAhead()
{
    const int row = ui->listWidget->currentRow();
    if (row < 0 || row + 1 >= m_photoItems.size() || m_readingAheadFor)
        return;
    PhotoItem *next = m_photoItems.at(row + 1);
    if (next->holdsPixels() || !next->fileIdentity().exists)
        return;
    // The shown photo and the next must fit in the budget (the shown
    // photo's size stands in for the next one's); the photos shown longest
    // ago give theirs back to make room.
    if (!m_shownItem || 2 * qint64(m_shownItem->pixelBytes()) > m_pixelBudget)
        return;
    m_readingAheadFor = next;
    loader()->readAhead(next->filePath());
}

void MainWindow::takeReadAhead(ListedPhoto &photo)
{
    PhotoItem *item = m_readingAheadFor;
    m_readingAheadFor = nullptr;
    // Gone, shown (and read) meanwhile, or another file: nothing to do.
    if (!item || !m_photoItems.contains(item) || item->holdsPixels() || item->filePath() != photo.path)
        return;
    try {
        if (item->takePixelsBack(photo.decoded, photo.identity) != PhotoItem::PixelsBack::Read)
            return; // told when the photo is shown, if it still cannot be read
    } catch (const std::exception &) {
        return;
    }
    // Next after the shown photo in the order of giving back.
    m_recentlyShown.removeAll(item);
    m_recentlyShown.insert(std::min(1, int(m_recentlyShown.size())), item);
    givePixelsBackBeyondBudget();
}

void MainWindow::returnToShownPhoto()
{
    const int row = m_photoItems.indexOf(m_shownItem);
    if (row >= 0 && m_shownItem->holdsPixels())
        setCurrentRowQuietly(row);
    else
        showNearestHoldingPixels(ui->listWidget->currentRow());
}

void MainWindow::showAfterRemoval()
{
    PhotoItem *item = currentItem();
    if (item && !item->holdsPixels() && m_closingAll) {
        // Saved and untouched, and about to be closed too: not read again.
        showPhoto(nullptr);
        return;
    }
    if (item && !readPixelsFor(item)) {
        showNearestHoldingPixels(ui->listWidget->currentRow());
        return;
    }
    showPhoto(item);
    if (!item)
        return;
    ui->stackedWidget->setCurrentIndex(0);
    startFreshOnPhoto(true);
}

void MainWindow::showNearestHoldingPixels(int row)
{
    PhotoItem *item = nullptr;
    for (int d = 1; !item && d < m_photoItems.size(); ++d) {
        for (int r : {row - d, row + d}) {
            if (!item && r >= 0 && r < m_photoItems.size() && m_photoItems.at(r)->holdsPixels())
                item = m_photoItems.at(r);
        }
    }
    setCurrentRowQuietly(item ? m_photoItems.indexOf(item) : -1);
    if (!item) {
        // Nothing can be shown: no photo is painted as if it were one.
        showPhoto(nullptr);
        m_undoGroup->setActiveStack(nullptr);
        ui->stackedWidget->setCurrentIndex(1);
        return;
    }
    showPhoto(item);
    ui->stackedWidget->setCurrentIndex(0);
    startFreshOnPhoto(true);
}

int MainWindow::RecvDeleteItem()
{
    if (m_photoItems.isEmpty())
        return 0;
    int r = ui->listWidget->currentRow();
    if (r < 0 || r >= m_photoItems.size()) {
        // No current row while photos exist would let a close skip the
        // question; the first photo stands in.
        ui->listWidget->setCurrentRow(0);
        r = 0;
    }
    PhotoItem *item = m_photoItems.at(r);

    if (!item->isSaved()) {
        m_removeDialog->setDialogText(tr("Save changes to \"%1\" before closing?").arg(item->fileName()));
        placeQuestion(m_removeDialog, ui->pushButton_select_photo);
        int answer;
        {
            KeyboardGrabPause pause(this);
            answer = m_removeDialog->exec();
        }
        if (answer == QDialog::Accepted) {
            if (on_pushButton_save_clicked() == 2)
                return 2;
        } else if (answer != QDialog::Rejected) {
            return 2;
        }
    }

    for (PhotoItem *p : qAsConst(m_photoItems))
        unbindPhoto(p);

    {
        // The row changes below would switch to a photo that is on its way
        // out; the binding is done once, after them.
        const QSignalBlocker blocker(ui->listWidget);
        QListWidgetItem *row = ui->listWidget->takeItem(r);
        ui->listWidget->removeItemWidget(row);
        delete row;
        m_photoItems.removeAt(r);
        forgetPhoto(item);
        item->deleteLater();

        if (r != 0) {
            ui->listWidget->setCurrentRow(r - 1);
        } else if (ui->listWidget->count() == 0) {
            // The history list empties now rather than when the stack dies.
            m_undoGroup->setActiveStack(nullptr);
            ui->stackedWidget->setCurrentIndex(1);
            return 0;
        } else {
            ui->listWidget->setCurrentRow(0);
        }
    }

    showAfterRemoval();
    return 0;
}

void MainWindow::on_pushButton_remove_clicked()
{
    int unsaved = 0;
    for (const PhotoItem *p : qAsConst(m_photoItems))
        unsaved += p->isSaved() ? 0 : 1;

    const QString text = unsaved != 0
                             ? tr("You have %1 unsaved files. \nDo you want to remove all the files?").arg(unsaved)
                             : tr("Do you want to remove all the files?");
    m_removeDialog->setDialogText(text);
    placeQuestion(m_removeDialog, ui->pushButton_select_photo);
    int answer;
    {
        KeyboardGrabPause pause(this);
        answer = m_removeDialog->exec();
    }
    if (answer != QDialog::Accepted)
        return;

    // No save is offered: the question named the unsaved count. The files
    // of a folder not listed yet go too.
    stopFolderLoading();
    const QList<PhotoItem *> photos = m_photoItems;
    for (PhotoItem *p : photos) {
        unbindPhoto(p);
        m_photoItems.removeOne(p);
        forgetPhoto(p);
        delete p;
    }
    {
        const QSignalBlocker blocker(ui->listWidget);
        ui->listWidget->clear();
    }
    m_undoGroup->setActiveStack(nullptr);
    ui->stackedWidget->setCurrentIndex(1);
}
