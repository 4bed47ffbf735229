// The operations the undo entries call back into.
#include "photoitem.h"

#include <cstring>

// Copies a snapshot back at its rectangle; a snapshot that does not fit the
// rectangle or the image is refused rather than written out of bounds.
static void pasteAt(const cv::Mat &snapshot, cv::Mat &target, const cv::Rect &rect)
{
    if (snapshot.empty() || rect.width <= 0 || rect.height <= 0)
        return;
    if (snapshot.size() != rect.size() || snapshot.type() != target.type())
        return;
    if ((rect & cv::Rect(0, 0, target.cols, target.rows)) != rect)
        return;
    snapshot.copyTo(target(rect));
}

void PhotoItem::setInpaintMask(cv::Mat tempMask, cv::Rect rect)
{
    ensureLayers();
    pasteAt(tempMask, m_selection.m_inpaintMask, rect);
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
}

void PhotoItem::setInpaintMaskBK(cv::Mat tempMask, cv::Rect rect)
{
    ensureLayers();
    pasteAt(tempMask, m_selection.m_inpaintMaskBK, rect);
    m_frontGreenWidget->showLayer(true);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
    // Set on undo too: undoing the only green stroke keeps the donor path on.
    m_selection.m_donorUsed = 1;
}

void PhotoItem::paintSelection(Colour colour, const cv::Mat &mask, cv::Rect rect)
{
    ensureLayers();
    const bool green = colour == Colour::Donor;
    cv::Mat &layer = green ? m_selection.m_inpaintMaskBK : m_selection.m_inpaintMask;
    if (layer.type() != CV_8UC4 || mask.type() != CV_8UC1 || mask.size() != rect.size() || rect.empty()
        || (rect & cv::Rect(0, 0, layer.cols, layer.rows)) != rect)
        return;
    const uchar tintBytes[4] = {0, uchar(green ? 255 : 0), uchar(green ? 0 : 255), 128};
    uint32_t tint;
    std::memcpy(&tint, tintBytes, 4);
    // One pass that writes each pixel once as a word (the layer's pixels
    // are four aligned bytes), split between the cores.
#pragma omp parallel for schedule(static)
    for (int y = 0; y < rect.height; ++y) {
        const uchar *in = mask.ptr<uchar>(y);
        auto *out = reinterpret_cast<uint32_t *>(layer.ptr<uchar>(rect.y + y) + 4 * rect.x);
        for (int x = 0; x < rect.width; ++x)
            out[x] = in[x] ? tint : 0u;
    }
    if (green) {
        m_frontGreenWidget->showLayer(true);
        showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
        m_selection.m_donorUsed = 1;
    } else {
        showLayer(m_selection.m_inpaintMask, m_frontWidget);
    }
}

void PhotoItem::setUndoPixmap(cv::Mat temp, QPointF min, QPointF max, cv::Rect rect)
{
    pasteAt(temp, m_image, rect);
    // The next Erase works on the same place again.
    m_regions.m_workMinX = min.x();
    m_regions.m_workMinY = min.y();
    m_regions.m_workMaxX = max.x();
    m_regions.m_workMaxY = max.y();
    showImageAndLayers();
}

void PhotoItem::startAfresh()
{
    m_job.m_firstProgress = 1;
    m_selection.m_donorUsed = 0;
    m_output.m_saved = 0;
    m_pointer.m_pressPos = QPointF(-1, -1);
    resetStrokeBox();
    m_regions.m_workMinX = m_imageCols;
    m_regions.m_workMinY = m_imageRows;
    m_regions.m_workMaxX = -1.0;
    m_regions.m_workMaxY = -1.0;
    // Nothing is selected any more: the layers go until a tool needs them.
    // The stamp keeps them (its region, its preview's scratch) from one
    // stroke to the next, cleared.
    const bool stamping = m_pointer.m_tool == Tool::Stamp || isStampRegionTool(m_pointer.m_tool);
    if (!stamping && !m_stamp.m_stampRegionActive && m_selection.m_polyCount == 0) {
        releaseLayers();
    } else {
        clearInpaintMask();
        clearInpaintMaskBK();
    }
}

void PhotoItem::setRedoPixmap(cv::Mat temp, cv::Rect rect)
{
    pasteAt(temp, m_image, rect);
    // A push runs this at once, so it is also the reset after a job or a
    // stamp stroke: selections and boxes start afresh.
    startAfresh();
    if (m_job.m_patchCanvas)
        showPhotoRect(rect);
    else
        m_midWidget->showPixmap(m_display.pixmap(m_image));
    // During stamp work the fence of the region stays on the screen.
    showLayer(m_stamp.m_stampRegionActive ? m_selection.m_strokeBaseRed : m_selection.m_inpaintMask, m_frontWidget);
    m_frontGreenWidget->showLayer(true);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
}
