// Stroke box, work box, selection bounds, and which layers the canvas shows.
#include "photoitem.h"
#include "pathbytes.h"
#include "photoio.h"

#include <algorithm>

// Both boxes compare in single precision and store the float result back:
// the stored values are the ones later truncated to pixel rectangles.
static double fmin2(double a, double b) { return double(std::min(float(a), float(b))); }
static double fmax2(double a, double b) { return double(std::max(float(a), float(b))); }

void PhotoItem::resetStrokeBox()
{
    m_selection.m_strokeMinX = m_imageCols;
    m_selection.m_strokeMinY = m_imageRows;
    m_selection.m_strokeMaxX = -1.0;
    m_selection.m_strokeMaxY = -1.0;
}

void PhotoItem::extendStrokeBox(QPointF pos)
{
    // The full brush width on each side: twice what a stroke needs, so the
    // box holds the stroke of every tool.
    const double r = m_pointer.m_scale > 0.0 ? m_pointer.m_brushSize / m_pointer.m_scale : 0.0;
    const double x = pos.x(), y = pos.y();
    m_selection.m_strokeMinX = fmin2(m_selection.m_strokeMinX, fmin2(x - r, x));
    if (float(m_selection.m_strokeMinX) < 0.0f)
        m_selection.m_strokeMinX = 0.0;
    m_selection.m_strokeMinY = fmin2(m_selection.m_strokeMinY, fmin2(y - r, y));
    if (float(m_selection.m_strokeMinY) < 0.0f)
        m_selection.m_strokeMinY = 0.0;
    m_selection.m_strokeMaxX = fmax2(m_selection.m_strokeMaxX, fmax2(x + r, x));
    if (float(m_selection.m_strokeMaxX) > float(m_imageCols))
        m_selection.m_strokeMaxX = m_imageCols;
    m_selection.m_strokeMaxY = fmax2(m_selection.m_strokeMaxY, fmax2(y + r, y));
    if (float(m_selection.m_strokeMaxY) > float(m_imageRows))
        m_selection.m_strokeMaxY = m_imageRows;
}

void PhotoItem::extendWorkBox(QPointF pos)
{
    // Lopsided on purpose (brush margin on the right only, no clamps): the
    // engine's margin comes from the enlargement at Erase.
    const double r = m_pointer.m_scale > 0.0 ? m_pointer.m_brushSize / m_pointer.m_scale : 0.0;
    const double x = pos.x(), y = pos.y();
    m_regions.m_workMinX = fmin2(m_regions.m_workMinX, x);
    m_regions.m_workMinY = fmin2(m_regions.m_workMinY, y);
    m_regions.m_workMaxX = fmax2(m_regions.m_workMaxX, fmax2(x + r, x));
    m_regions.m_workMaxY = fmax2(m_regions.m_workMaxY, y);
}

static cv::Rect boxRect(double minX, double minY, double maxX, double maxY)
{
    const int x0 = int(minX), y0 = int(minY), x1 = int(maxX), y1 = int(maxY);
    return cv::Rect(std::min(x0, x1), std::min(y0, y1), std::abs(x1 - x0), std::abs(y1 - y0));
}

cv::Rect PhotoItem::strokeBoxRect() const
{
    return boxRect(m_selection.m_strokeMinX, m_selection.m_strokeMinY, m_selection.m_strokeMaxX, m_selection.m_strokeMaxY);
}

cv::Rect PhotoItem::workBoxRect() const
{
    return boxRect(m_regions.m_workMinX, m_regions.m_workMinY, m_regions.m_workMaxX, m_regions.m_workMaxY);
}

cv::Rect PhotoItem::selectionBounds() const
{
    if (m_imageCols == 0 || m_imageRows == 0)
        return cv::Rect(0, 0, 0, 0);
    if (m_selection.m_inpaintMask.empty())
        return cv::Rect(m_imageCols, m_imageRows, -m_imageCols, -m_imageRows);
    int minX = m_imageCols, minY = m_imageRows, maxX = -1, maxY = -1;
    for (int row = 0; row < m_imageRows; ++row) {
        const uchar *p = m_selection.m_inpaintMask.ptr<uchar>(row);
        for (int col = 0; col < m_imageCols; ++col) {
            if (p[4 * col + 2] != 0) {
                minX = std::min(minX, col);
                maxX = std::max(maxX, col);
                minY = std::min(minY, row);
                maxY = row;
            }
        }
    }
    if (maxX < 0)
        return cv::Rect(m_imageCols, m_imageRows, -m_imageCols, -m_imageRows);
    // One short of the inclusive size: every user of the rectangle relies on it.
    return cv::Rect(minX, minY, maxX - minX, maxY - minY);
}

void PhotoItem::recvRedRoi()
{
    m_frontWidget->showLayer(true);
    m_frontGreenWidget->showLayer(false);
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    m_midWidget->showPixmap(m_display.pixmap(m_image));
}

void PhotoItem::recvGreenRoi()
{
    m_frontGreenWidget->showLayer(true);
    m_midWidget->showPixmap(m_display.pixmap(m_image));
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
}

void PhotoItem::recvSrcRoi()
{
    // The "before" picture is the file as it lies on disk; a file that has
    // gone shows nothing. A photo with a colour profile is shown through the
    // profile the file carries now, as the canvas shows the photo.
    if (m_display.isIdentity()) {
        m_midWidget->showImageFile(m_output.m_filePath);
    } else {
        const photoio::Decoded before = photoio::decodeFile(pathBytes(m_output.m_filePath));
        m_midWidget->showImage(PhotoDisplay(before.metadata.icc).image(before.pixels));
    }
    m_frontWidget->showLayer(false);
    m_frontGreenWidget->showLayer(false);
}
