// Construction, layers and the plain operations of a photo document.
#include "photoitem.h"

#include <QFileInfo>
#include <QListWidget>
#include <QUndoStack>

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
                     QObject *parent)
    : PhotoItem(backWidget, midWidget, frontWidget, frontGreenWidget, path, PhotoPixels{pixels, {}, {}},
                listWidget, parent)
{
}

PhotoItem::PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget,
                     LayerView *frontGreenWidget, const QString &path, PhotoPixels pixels, QListWidget *listWidget,
                     QObject *parent)
    : QObject(parent)
    , m_backWidget(backWidget)
    , m_midWidget(midWidget)
    , m_frontWidget(frontWidget)
    , m_frontGreenWidget(frontGreenWidget)
    , m_listWidget(listWidget)
{
    m_output.m_filePath = path;
    m_undoStack = new QUndoStack(this);

    m_image = pixels.image;
    m_master = pixels.master;
    m_display = PhotoDisplay(pixels.metadata.icc);
    m_metadata = std::move(pixels.metadata);
    m_imageCols = m_image.cols;
    m_imageRows = m_image.rows;
    m_selection.m_strokeMinX = m_regions.m_workMinX = m_imageCols;
    m_selection.m_strokeMinY = m_regions.m_workMinY = m_imageRows;

    const QFileInfo info(path);
    m_output.m_fileName = info.fileName();
    m_output.m_folderPath = info.absolutePath();

    // The photo's entry in the list; the window sets its row widget.
    m_listItem = new QListWidgetItem;
    m_listWidget->addItem(m_listItem);

    initLayers();

    m_midWidget->showPixmap(m_display.pixmap(m_image));
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
    m_backWidget->showImageSize(m_imageCols, m_imageRows);

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
    if (!m_selection.m_inpaintMask.empty() || m_imageCols < 1 || m_imageRows < 1)
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
