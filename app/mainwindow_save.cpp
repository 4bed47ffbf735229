// Save as and print of the current photo. The window picks the target name;
// the photo encodes and writes the file itself.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "globals.h"
#include "keyboardgrabpause.h"
#include "photoitem.h"
#include "photoio.h"
#include "saveproposal.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QRegularExpression>
#include <QSpinBox>

namespace SaveProposal {

QString filter()
{
    return QStringLiteral("PNG(*.png);;JPEG(*.jpg *.jpeg *.jpe);;BMP(*.bmp *.dib);;"
                          "Portable Bit Map(*.pbm *.pgm *.ppm);;SR(*.sr *.ras);;TIFF(*.tiff *.tif);;"
                          "EXR(*.exr);;JP2(*.jp2);;WebP(*.webp);;HEIC(*.heic *.heif);;AVIF(*.avif)");
}

QString baseName(const QString &fileName)
{
    // left(-1) is the whole name.
    return fileName.left(fileName.lastIndexOf(QLatin1Char('.')));
}

QString proposedPath(const QString &saveDir, const QString &fileName)
{
    return saveDir + QLatin1Char('/') + baseName(fileName) + QStringLiteral("_Copy");
}

QString filterNameFor(const QString &suffix)
{
    static const struct {
        const char *suffix;
        const char *name;
    } table[] = {
        {"png", "PNG"},  {"jpg", "JPEG"},  {"jpeg", "JPEG"}, {"jpe", "JPEG"},
        {"bmp", "BMP"},  {"dib", "BMP"},   {"pbm", "Portable Bit Map"}, {"pgm", "Portable Bit Map"},
        {"ppm", "Portable Bit Map"},       {"sr", "SR"},     {"ras", "SR"},
        {"tiff", "TIFF"}, {"tif", "TIFF"}, {"exr", "EXR"},   {"jp2", "JP2"},
        {"webp", "WebP"}, {"heic", "HEIC"}, {"heif", "HEIC"}, {"avif", "AVIF"},
    };
    for (const auto &row : table) {
        if (suffix == QLatin1String(row.suffix))
            return QLatin1String(row.name);
    }
    return QStringLiteral("PNG");
}

QString defaultSuffixOf(const QString &selectedFilter)
{
    QString entry = selectedFilter;
    if (!entry.contains(QLatin1Char('('))) {
        entry.clear();
        for (const QString &e : filter().split(QStringLiteral(";;"))) {
            if (e.startsWith(selectedFilter + QLatin1Char('('))) {
                entry = e;
                break;
            }
        }
    }
    QStringList extensions;
    QRegularExpressionMatchIterator it = QRegularExpression(QStringLiteral("\\*\\.(\\w+)")).globalMatch(entry);
    while (it.hasNext())
        extensions << it.next().captured(1);
    if (extensions.contains(QStringLiteral("ppm")))
        return QStringLiteral("ppm");
    return extensions.value(0);
}

} // namespace SaveProposal


int MainWindow::on_pushButton_save_clicked()
{
    // The button is out of sight with no photo, but its shortcut is not.
    PhotoItem *item = currentItem();
    if (!item)
        return 2;

    if (m_saveDir.isEmpty())
        m_saveDir = item->folderPath();
    const QString proposed = SaveProposal::proposedPath(m_saveDir, item->fileName());
    const QString selectedFilter = SaveProposal::filterNameFor(QFileInfo(item->fileName()).suffix());

    // The dialog of the static call, plus a default suffix that follows the
    // filter in view: the proposed name carries no suffix, the encoder is
    // chosen by the suffix, and a name accepted as proposed would otherwise
    // be written nowhere while the photo counted as saved. With the suffix
    // added by the dialog, its overwrite question names the real file.
    QFileDialog dialog(this, tr("Save File"), proposed, SaveProposal::filter());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOptions(QFileDialog::Options(3));
    dialog.selectNameFilter(selectedFilter);
    dialog.setDefaultSuffix(SaveProposal::defaultSuffixOf(dialog.selectedNameFilter()));
    connect(&dialog, &QFileDialog::filterSelected, &dialog,
            [&dialog](const QString &f) { dialog.setDefaultSuffix(SaveProposal::defaultSuffixOf(f)); });
    int answer;
    {
        KeyboardGrabPause pause(this);
        answer = dialog.exec();
    }
    QString target = answer == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
    if (target.isEmpty())
        return 2;
    if (QFileInfo(target).suffix().isEmpty()) {
        // A dialog of the desktop may ignore the default suffix.
        const QString extension = SaveProposal::defaultSuffixOf(dialog.selectedNameFilter());
        if (!extension.isEmpty())
            target += QLatin1Char('.') + extension;
    }

    m_saveDir = QFileInfo(target).absolutePath();
    const SaveSettings settings = saveSettings();
    QString reason;
    try {
        reason = item->saveTo(target, settings);
    } catch (const std::exception &e) {
        reason = QString::fromLocal8Bit(e.what());
    }
    if (!reason.isEmpty()) {
        // Nothing was written and a file that was there is as it was.
        KeyboardGrabPause pause(this);
        QMessageBox::warning(nullptr, tr("Warnning"), tr("Cannot save file %1: %2").arg(target, reason),
                             QMessageBox::Ok);
        return 1;
    }
    noteMetadataLeftOut(*item, settings, target);
    // Saved, with less than the photo holds (8 bits of 16): said once.
    const QString note = item->takeSaveNote();
    if (!note.isEmpty()) {
        KeyboardGrabPause pause(this);
        QMessageBox::information(nullptr, tr("Save File"), note, QMessageBox::Ok);
    }
    return 0;
}

void MainWindow::noteMetadataLeftOut(const PhotoItem &item, const SaveSettings &settings, const QString &target)
{
    // Said once a session: after that the user knows which formats hold it.
    const QString suffix = QFileInfo(target).suffix();
    if (m_metadataNoteShown || !settings.keepMetadata || item.metadata().empty()
        || photoio::holdsMetadata(suffix.toStdString()))
        return;
    m_metadataNoteShown = true;
    KeyboardGrabPause pause(this);
    QMessageBox::information(nullptr, tr("Save File"),
                             tr("%1 is saved without the photo's metadata (camera, date, place, author) "
                                "and colour profile: %2 files hold none.")
                                 .arg(QFileInfo(target).fileName(), suffix.toUpper()),
                             QMessageBox::Ok);
}

void MainWindow::chooseSaveQuality()
{
    // One quality for every lossy format, as the command-line tool's
    // --quality; the lowest step of the box is each format's own default,
    // which looks the same as the original.
    QInputDialog dialog(this);
    dialog.setWindowTitle(tr("Quality of Saved Photos"));
    dialog.setLabelText(tr("Quality of JPEG, WebP, HEIC and AVIF files, 1 to 100.\n"
                           "Default: JPEG 95, WebP lossless, HEIC and AVIF 90, "
                           "which look the same as the original."));
    dialog.setInputMode(QInputDialog::IntInput);
    dialog.setIntRange(0, 100);
    dialog.setIntValue(saveQualitySetting());
    if (auto *box = dialog.findChild<QSpinBox *>())
        box->setSpecialValueText(tr("Default"));
    int answer;
    {
        KeyboardGrabPause pause(this);
        answer = dialog.exec();
    }
    if (answer == QDialog::Accepted)
        setSaveQualitySetting(dialog.intValue());
}

void MainWindow::on_pushButton_print_clicked()
{
    if (!currentItem())
        return;
    QPrinter printer(QPrinter::ScreenResolution);
    QPrintPreviewDialog preview(&printer, this);
    preview.setMinimumSize(int(1000 * g_uiScale), int(600 * g_uiScale));
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, &MainWindow::printPreviewSlot);
    KeyboardGrabPause pause(this);
    preview.exec();
}

void MainWindow::printPreviewSlot(QPrinter *printerPixmap)
{
    const PhotoItem *item = currentItem();
    if (!item || !printerPixmap)
        return;
    if (item->getImage().empty())
        return;
    const QPixmap pixmap = item->shownPixmap(); // through the photo's colour profile

    QPainter painter(printerPixmap);
    const QRect viewport = painter.viewport();
    const int vw = viewport.width(), vh = viewport.height();
    const int pw = pixmap.width(), ph = pixmap.height();
    if (pw <= 0 || ph <= 0 || vw <= 0 || vh <= 0)
        return;

    // Enlarged or reduced to fill the page, whatever the photo's size; the
    // two integers already hold the aspect ratio.
    const double s = std::min(double(vw) / pw, double(vh) / ph);
    const QPixmap scaled = pixmap.scaled(int(pw * s), int(ph * s), Qt::IgnoreAspectRatio, Qt::FastTransformation);
    painter.setViewport(viewport);
    painter.drawPixmap(std::abs(vw - scaled.width()) >> 1, std::abs(vh - scaled.height()) >> 1, scaled);
    painter.end();
}
