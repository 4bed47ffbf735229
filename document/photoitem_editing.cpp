// Commands on the whole selection: grow and shrink the active colour, a
// mask added to the red selection, the selections as masks. Each change is
// one undo entry of the layer it changes, holding only the rectangle the
// change can reach.
#include "photoitem.h"
#include "commands.h"
#include "globals.h"

#include <QUndoStack>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

const cv::Scalar kGrowTintRed(0, 0, 255, 128);

} // namespace

namespace {

// The pixels of a layer row are read eight at a time, as four 64-bit words
// of two pixels each; `bits` keeps the channel's byte of both.
constexpr int kBlock = 8;

uint64_t blockBits(const uchar *row, int x, uint64_t bits)
{
    uint64_t w[4];
    std::memcpy(w, row + 4 * x, sizeof w);
    return ((w[0] | w[1]) | (w[2] | w[3])) & bits;
}

// The first selected pixel of a row, or cols.
int firstSelected(const uchar *row, int cols, int channel, uint64_t bits)
{
    int x = 0;
    while (x + kBlock <= cols && blockBits(row, x, bits) == 0)
        x += kBlock;
    while (x < cols && row[4 * x + channel] == 0)
        ++x;
    return x;
}

// The last selected pixel of a row, knowing that `left` is one.
int lastSelected(const uchar *row, int left, int cols, int channel, uint64_t bits)
{
    int x = cols;
    while (x - kBlock > left && blockBits(row, x - kBlock, bits) == 0)
        x -= kBlock;
    --x;
    while (x > left && row[4 * x + channel] == 0)
        --x;
    return x;
}

} // namespace

cv::Rect layerBounds(const cv::Mat &layer, int channel)
{
    if (layer.empty() || layer.type() != CV_8UC4 || channel < 0 || channel > 3)
        return cv::Rect();
    // Split between the cores. A row is searched from the left up to its
    // first selected pixel (which is also its leftmost) and from the right
    // down to its rightmost, so a row through the selection costs its
    // margins, and only empty rows are read whole, eight pixels at a time.
    const int rows = layer.rows, cols = layer.cols;
    const uint64_t bits = (uint64_t(0xFF) << (8 * channel)) | (uint64_t(0xFF) << (8 * (channel + 4)));
    int minX = cols, maxX = -1, minY = rows, maxY = -1;
#pragma omp parallel for schedule(static) reduction(min : minX, minY) reduction(max : maxX, maxY)
    for (int y = 0; y < rows; ++y) {
        const uchar *row = layer.ptr<uchar>(y);
        const int left = firstSelected(row, cols, channel, bits);
        if (left == cols)
            continue;
        const int right = lastSelected(row, left, cols, channel, bits);
        minX = std::min(minX, left);
        maxX = std::max(maxX, right);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
    if (maxY < 0)
        return cv::Rect();
    return cv::Rect(minX, minY, maxX - minX + 1, maxY - minY + 1);
}

bool layerHasSelection(const cv::Mat &layer, int channel)
{
    if (layer.empty() || layer.type() != CV_8UC4)
        return false;
    // Row pointers and an early way out: a selection is usually found in the
    // first rows that hold one, and an empty layer costs one read of it. The
    // test is the one the engine stamps with (above 254); a selection layer
    // holds only 0 and 255 there, so it is also "set".
    for (int y = 0; y < layer.rows; ++y) {
        const uchar *p = layer.ptr<uchar>(y);
        for (int x = 0; x < layer.cols; ++x)
            if (p[4 * x + channel] > 254)
                return true;
    }
    return false;
}

// The disc of every offset within a Euclidean distance of r: grown by r,
// a selection takes in exactly the pixels at most r away from it. (OpenCV's
// ellipse element of the same size is wider on its diagonals.)
cv::Mat discElement(int r)
{
    cv::Mat element = cv::Mat::zeros(2 * r + 1, 2 * r + 1, CV_8U);
    for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx)
            if (dx * dx + dy * dy <= r * r)
                element.at<uchar>(dy + r, dx + r) = 1;
    return element;
}

cv::Mat morphSelection(const cv::Mat &selected, int pixels)
{
    // Outside the view the erosion sees selected pixels (OpenCV's default
    // border for it), so a selection that reaches the photo's edge keeps
    // reaching it when it shrinks.
    const cv::Mat element = discElement(std::abs(pixels));
    cv::Mat out;
    if (pixels > 0)
        cv::dilate(selected, out, element);
    else
        cv::erode(selected, out, element);
    return out;
}

bool PhotoItem::hasSelection(Colour colour) const
{
    return colour == Colour::Donor ? layerHasSelection(m_selection.m_inpaintMaskBK, 1)
                                   : layerHasSelection(m_selection.m_inpaintMask, 2);
}

bool PhotoItem::hasActiveSelection() const
{
    return hasSelection(m_pointer.m_colorType);
}

bool PhotoItem::changeSelectionBy(int pixels, const QString &text)
{
    if (m_job.m_jobActive || m_image.empty() || pixels == 0)
        return false;
    const bool green = m_pointer.m_colorType == Colour::Donor;
    cv::Mat &layer = green ? m_selection.m_inpaintMaskBK : m_selection.m_inpaintMask;
    if (layer.size() != m_image.size() || layer.type() != CV_8UC4)
        return false;
    const int channel = green ? 1 : 2;
    const cv::Rect bounds = layerBounds(layer, channel);
    if (bounds.width < 1 || bounds.height < 1)
        return false;
    const int r = std::abs(pixels);
    const cv::Rect rect = cv::Rect(bounds.x - r, bounds.y - r, bounds.width + 2 * r, bounds.height + 2 * r)
                          & cv::Rect(0, 0, layer.cols, layer.rows);
    // The view on its own: the element must see the photo's edge as the
    // edge, and the rest of the view's surroundings hold no selection.
    cv::Mat selected;
    cv::extractChannel(layer(rect), selected, channel);
    cv::Mat changed = morphSelection(selected, pixels);
    if (cv::norm(changed, selected, cv::NORM_INF) == 0)
        return false;

    // The next Erase must reach what the selection grew into.
    extendWorkBoxTo(rect);
    // The entry keeps the two masks (a layer holds nothing but its tint);
    // the push paints the new one.
    m_undoStack->push(new SelectionMaskCommand(green ? Colour::Donor : Colour::Mask, std::move(changed),
                                               std::move(selected), text, this, rect));
    return true;
}

bool PhotoItem::growSelection()
{
    return changeSelectionBy(kSelectionStep, tr("Grow Selection"));
}

bool PhotoItem::shrinkSelection()
{
    return changeSelectionBy(-kSelectionStep, tr("Shrink Selection"));
}

void PhotoItem::extendWorkBoxTo(const cv::Rect &rect)
{
    m_regions.m_workMinX = std::min(m_regions.m_workMinX, double(rect.x));
    m_regions.m_workMinY = std::min(m_regions.m_workMinY, double(rect.y));
    m_regions.m_workMaxX = std::max(m_regions.m_workMaxX, double(rect.x + rect.width - 1));
    m_regions.m_workMaxY = std::max(m_regions.m_workMaxY, double(rect.y + rect.height - 1));
}

cv::Mat PhotoItem::selectionMask(Colour colour) const
{
    const cv::Mat &layer = colour == Colour::Donor ? m_selection.m_inpaintMaskBK : m_selection.m_inpaintMask;
    if (layer.empty() && !m_image.empty())
        return cv::Mat::zeros(m_image.size(), CV_8UC1); // no layer made yet: nothing selected
    if (layer.empty() || layer.type() != CV_8UC4)
        return cv::Mat();
    cv::Mat channel;
    cv::extractChannel(layer, channel, colour == Colour::Donor ? 1 : 2);
    return channel > 0;
}

bool PhotoItem::addToRedSelection(const cv::Mat &mask)
{
    if (!m_job.m_jobActive && mask.type() == CV_8UC1 && mask.size() == m_image.size() && cv::countNonZero(mask) > 0)
        ensureLayers();
    if (m_job.m_jobActive || m_image.empty() || mask.type() != CV_8UC1 || mask.size() != m_image.size()
        || m_selection.m_inpaintMask.size() != m_image.size())
        return false;
    const cv::Rect rect = cv::boundingRect(mask);
    if (rect.width < 1 || rect.height < 1)
        return false;
    const cv::Mat before = m_selection.m_inpaintMask(rect).clone();
    cv::Mat view = m_selection.m_inpaintMask(rect);
    view.setTo(kGrowTintRed, mask(rect));
    extendWorkBoxTo(rect);
    m_undoStack->push(new AddRedCommand(view, before, tr("Load Mask"), this, rect));
    return true;
}

// ---------------------------------------------------------------- thumbnail

void PhotoItem::refreshThumbnail()
{
    if (m_image.empty() || m_job.m_jobActive)
        return;
    emit thumbnailChanged(m_display.pixmap(rowThumbnail(m_image)));
}
