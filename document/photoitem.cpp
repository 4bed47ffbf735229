// Construction, layers and the plain operations of a photo document.
#include "photoitem.h"
#include "pathbytes.h"
#include "photoio.h"
#include "globals.h"

#include <QFileInfo>
#include <QListWidget>
#include <QUndoStack>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

// The pixels are those of the open (decodePhotoFile: 16 bits and alpha kept
// in the master, grey expanded, EXIF orientation applied); of a damaged
// file, what could be read.
PhotoItem::PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget,
                     LayerView *frontGreenWidget, const QString &path, QListWidget *listWidget,
                     int /*rowIndex*/, QObject *parent)
    : PhotoItem(backWidget, midWidget, frontWidget, frontGreenWidget, path,
                [&path] {
                    photoio::Decoded decoded = decodePhotoFile(path);
                    return keptPixels(decoded);
                }(),
                listWidget, parent)
{
}

PhotoItem::PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget,
                     LayerView *frontGreenWidget, const QString &path, cv::Mat pixels, QListWidget *listWidget,
                     QObject *parent, const QPixmap &canvasPixmap)
    : PhotoItem(backWidget, midWidget, frontWidget, frontGreenWidget, path, PhotoPixels{pixels, {}, {}},
                listWidget, parent, canvasPixmap)
{
}

PhotoItem::PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget,
                     LayerView *frontGreenWidget, const QString &path, PhotoPixels pixels, QListWidget *listWidget,
                     QObject *parent, const QPixmap &canvasPixmap)
    : QObject(parent)
    , m_backWidget(backWidget)
    , m_midWidget(midWidget)
    , m_frontWidget(frontWidget)
    , m_frontGreenWidget(frontGreenWidget)
    , m_listWidget(listWidget)
{
    m_image = pixels.image;
    m_master = pixels.master;
    setMetadata(std::move(pixels.metadata));
    m_imageCols = m_image.cols;
    m_imageRows = m_image.rows;
    setUpDocument(path);

    m_midWidget->showPixmap(canvasPixmap.isNull() ? m_display.pixmap(m_image) : canvasPixmap);
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
    m_backWidget->showImageSize(m_imageCols, m_imageRows);
}

PhotoItem::PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget,
                     LayerView *frontGreenWidget, const QString &path, const photoio::FileIdentity &identity,
                     cv::Size listedSize, QListWidget *listWidget, QObject *parent)
    : QObject(parent)
    , m_identity(identity)
    , m_sizeKnown(false)
    , m_backWidget(backWidget)
    , m_midWidget(midWidget)
    , m_frontWidget(frontWidget)
    , m_frontGreenWidget(frontGreenWidget)
    , m_listWidget(listWidget)
{
    // Not shown: the canvas keeps the photo it shows.
    m_imageCols = listedSize.width;
    m_imageRows = listedSize.height;
    setUpDocument(path);
}

void PhotoItem::setMetadata(photoio::Metadata metadata)
{
    m_display = PhotoDisplay(metadata.icc);
    m_metadata = std::move(metadata);
}

void PhotoItem::setUpDocument(const QString &path)
{
    m_output.m_filePath = path;
    m_undoStack = new QUndoStack(this);
    const QFileInfo info(path);
    m_output.m_fileName = info.fileName();
    m_output.m_folderPath = info.absolutePath();

    // The photo's entry in the list; the window sets its row widget.
    m_listItem = new QListWidgetItem;
    m_listWidget->addItem(m_listItem);

    initLayers();
    // A photo just opened has nothing to save (initLayers counts a fresh
    // start as a change).
    m_output.m_saved = 1;

    // The worker thread of this photo.
    hookUpEngine();
}

PhotoItem::~PhotoItem()
{
    releaseEngine();
    // The stack's clearing must not make a thumbnail for a row that may be
    // gone already.
    disconnect(m_undoStack, nullptr, this, nullptr);
    delete m_undoStack;
    m_undoStack = nullptr;
}

void PhotoItem::initLayers()
{
    m_pointer.m_pressPos = QPointF(-1, -1);
    m_selection.m_strokeMinX = m_regions.m_workMinX = m_imageCols;
    m_selection.m_strokeMinY = m_regions.m_workMinY = m_imageRows;
    m_selection.m_strokeMaxX = m_selection.m_strokeMaxY = m_regions.m_workMaxX = m_regions.m_workMaxY = -1.0;
    m_job.m_firstProgress = 1;
    m_selection.m_donorUsed = 0;
    m_output.m_saved = 0;
    releaseLayers();
}

void PhotoItem::ensureLayers()
{
    if (!m_selection.m_inpaintMask.empty() || m_image.empty() || m_imageCols < 1 || m_imageRows < 1)
        return;
    // All four or none: a failed allocation leaves the photo as it was.
    const cv::Size size(m_imageCols, m_imageRows);
    cv::Mat baseGreen = cv::Mat::zeros(size, CV_8UC4);
    cv::Mat baseRed = cv::Mat::zeros(size, CV_8UC4);
    cv::Mat red = cv::Mat::zeros(size, CV_8UC4);
    cv::Mat green = cv::Mat::zeros(size, CV_8UC4);
    m_selection.m_strokeBaseGreen = baseGreen;
    m_selection.m_strokeBaseRed = baseRed;
    m_selection.m_inpaintMask = red;
    m_selection.m_inpaintMaskBK = green;
    // The canvas wraps the layers it shows; from now on it paints these.
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
}

void PhotoItem::releaseLayers()
{
    if (!holdsLayers())
        return;
    // The canvas lets go of its wraps first: it must never paint freed memory.
    m_frontWidget->showEmptyLayer(m_imageCols, m_imageRows);
    m_frontGreenWidget->showEmptyLayer(m_imageCols, m_imageRows);
    m_selection.m_strokeBaseGreen.release();
    m_selection.m_strokeBaseRed.release();
    m_selection.m_inpaintMask.release();
    m_selection.m_inpaintMaskBK.release();
    m_selection.m_rubberBand.release();
    m_clone.m_cloneSource.release();
    m_clone.m_cloneMask.release();
    m_clone.m_cloneMaskScaled.release();
    m_clone.m_clonePreview.release();
}

bool PhotoItem::holdsLayers() const
{
    return !m_selection.m_inpaintMask.empty() || !m_selection.m_inpaintMaskBK.empty()
        || !m_selection.m_strokeBaseRed.empty() || !m_selection.m_strokeBaseGreen.empty()
        || !m_clone.m_cloneSource.empty() || !m_clone.m_cloneMask.empty() || !m_clone.m_cloneMaskScaled.empty()
        || !m_clone.m_clonePreview.empty();
}

void PhotoItem::clearCloneSource() { m_clone.m_cloneSource.setTo(cv::Scalar::all(0)); }
void PhotoItem::clearCloneMask() { m_clone.m_cloneMask.setTo(cv::Scalar::all(0)); }
void PhotoItem::clearCloneMaskScaled() { m_clone.m_cloneMaskScaled.setTo(cv::Scalar::all(0)); }
void PhotoItem::clearStrokeBaseRed() { m_selection.m_strokeBaseRed.setTo(cv::Scalar::all(0)); }
void PhotoItem::clearInpaintMask() { m_selection.m_inpaintMask.setTo(cv::Scalar::all(0)); }
void PhotoItem::clearInpaintMaskBK() { m_selection.m_inpaintMaskBK.setTo(cv::Scalar::all(0)); }

void PhotoItem::dropSelectionsForStamp()
{
    m_selection.m_polyCount = 0;
    m_stamp.m_stampRegionActive = 0;
    clearStrokeBaseRed();
    clearInpaintMask();
    clearInpaintMaskBK();
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
}

void PhotoItem::showOnCanvas()
{
    // A photo whose pixels are away is never painted as a grey one; the
    // window reads them back before it shows the photo.
    if (m_image.empty())
        return;
    m_midWidget->showPixmap(m_display.pixmap(m_image));
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
    m_backWidget->showImageSize(m_imageCols, m_imageRows);
}

void PhotoItem::setScale(double scale)
{
    m_pointer.m_scale = scale;
}

void PhotoItem::onCustomDeleteItem()
{
    // Make this row current first, so the window has bound this photo by the
    // time it hears the delete request.
    m_listWidget->setCurrentItem(m_listItem);
    emit sendDeleteItem();
}

// ---------------------------------------------------------------- pixels

photoio::Decoded readPhotoFile(const QString &path, photoio::FileIdentity &identity, int reduction)
{
    if (reduction <= 1)
        return decodePhotoFile(path, &identity);
    return photoio::decodeFileReduced(pathBytes(path), reduction, &identity);
}

cv::Mat rowThumbnail(const cv::Mat &pixels)
{
    if (pixels.empty())
        return cv::Mat();
    // Sampled first at twice the row's size (a read of a few hundred
    // thousand pixels, not of the photo), then averaged down.
    const int width = std::max(1, int(g_uiScale * 195));
    const int height = std::max(1, int(std::lround(double(width) * pixels.rows / std::max(1, pixels.cols))));
    cv::Mat sampled, thumb;
    cv::resize(pixels, sampled, cv::Size(std::min(pixels.cols, 2 * width), std::min(pixels.rows, 2 * height)), 0, 0,
               cv::INTER_NEAREST);
    cv::resize(sampled, thumb, cv::Size(width, height), 0, 0, cv::INTER_AREA);
    // A 16-bit or transparent photo's row shows its working copy's colours.
    return thumb.type() == CV_8UC3 ? thumb : workingCopyOf(thumb);
}

bool PhotoItem::canGivePixelsBack() const
{
    // Anything the user made (an edit, its history, a selection, a stamp or
    // polygon under way, a job) keeps the pixels it needs.
    return !m_image.empty() && m_identity.exists && isSaved() && m_undoStack->count() == 0 && !m_job.m_jobActive
        && !holdsLayers() && m_job.m_imageBeforeJob.empty() && m_stamp.m_stampStrokeIndex < 0
        && m_stamp.m_stampRegionActive == 0 && m_selection.m_polyCount == 0 && m_selection.m_lassoCount == 0;
}

bool PhotoItem::givePixelsBack()
{
    if (!canGivePixelsBack())
        return false;
    // Pixels whose file holds other bytes now could not be read again.
    if (photoio::checkFile(m_identity, pathBytes(m_output.m_filePath)) != photoio::FileState::Same)
        return false;
    m_image.release();
    m_master.release();
    m_clone.m_clonePreview.release();
    return true;
}

PhotoItem::PixelsBack PhotoItem::takePixelsBack()
{
    if (!m_image.empty())
        return PixelsBack::Held;
    const QString &path = m_output.m_filePath;
    switch (photoio::checkFile(m_identity, pathBytes(path))) {
    case photoio::FileState::Gone:
        return PixelsBack::Gone;
    case photoio::FileState::Changed:
        return PixelsBack::Changed;
    case photoio::FileState::Same:
        break;
    }
    photoio::FileIdentity read;
    photoio::Decoded decoded = readPhotoFile(path, read);
    return takePixelsBack(decoded, read);
}

PhotoItem::PixelsBack PhotoItem::takePixelsBack(photoio::Decoded &decoded, const photoio::FileIdentity &read)
{
    if (!m_image.empty())
        return PixelsBack::Held;
    // The file may have changed since the identity was taken, or between a
    // check and the read.
    if (!read.exists)
        return PixelsBack::Gone;
    if (read.size != m_identity.size || read.contentHash != m_identity.contentHash)
        return PixelsBack::Changed;
    const cv::Mat &pixels = decoded.pixels;
    if (pixels.empty() || pixels.cols > kMaxImageSide || pixels.rows > kMaxImageSide)
        return PixelsBack::Unreadable;
    if (m_sizeKnown && (pixels.cols != m_imageCols || pixels.rows != m_imageRows))
        return PixelsBack::Changed;
    // The same bytes: the same pixels and master as at the open. The
    // metadata and its display are the file's already, but for a row listed
    // before its first whole read.
    PhotoPixels kept = keptPixels(decoded); // the photo holds the only reference
    m_image = kept.image;
    m_master = kept.master;
    if (!m_sizeKnown)
        setMetadata(std::move(kept.metadata));
    m_identity = read;
    if (!m_sizeKnown) {
        // The listed size was the reduced read's; the boxes start afresh at
        // the photo's own.
        m_sizeKnown = true;
        m_imageCols = m_image.cols;
        m_imageRows = m_image.rows;
        const quint8 saved = m_output.m_saved;
        initLayers();
        m_output.m_saved = saved;
    }
    return PixelsBack::Read;
}
