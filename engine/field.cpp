// Nearest-neighbour field set-up: random and upscaled starts, costs, the
// clone seed, halving and doubling between pyramid levels, the donor box.

#include "mypatchmatch.h"
#include "enginecells.h"

#include <QDebug>

#include <algorithm>

using engine::loadCell;
using engine::randomBelow;
using engine::storeCell;

namespace {

// Redraws allowed for a pixel whose match compares nothing.
constexpr int kMaxRedraws = 20;

} // namespace

void MyPatchMatch::initFieldRandom(const cv::Mat &source, const cv::Mat &target,
                                   const cv::Mat &mask, cv::Mat &field, cv::Mat &cost)
{
    field = cv::Mat(source.size(), CV_16SC3);
    cost = cv::Mat(source.size(), CV_16SC1);
    const int rows = source.rows, cols = source.cols;

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        short *f = field.ptr<short>(y);
        short *c = cost.ptr<short>(y);
        for (int x = 0; x < cols; ++x) {
            const int mx = randomBelow(cols);
            const int my = randomBelow(rows);
            storeCell(f + 3 * x, mx);
            storeCell(f + 3 * x + 1, my);
            storeCell(f + 3 * x + 2, 0);
            storeCell(c + x, 0);
        }
    }

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        short *f = field.ptr<short>(y);
        short *c = cost.ptr<short>(y);
        for (int x = 0; x < cols; ++x) {
            int mx = loadCell(f + 3 * x), my = loadCell(f + 3 * x + 1);
            unsigned d = patchDistance(target, y, x, source, my, mx, mask);
            for (int redraw = 0; d > 65534 && redraw < kMaxRedraws; ++redraw) {
                mx = randomBelow(cols);
                my = randomBelow(rows);
                d = patchDistance(target, y, x, source, my, mx, mask);
            }
            storeCell(f + 3 * x, mx);
            storeCell(f + 3 * x + 1, my);
            storeCell(c + x, int(d));
        }
    }
}

void MyPatchMatch::initFieldUpscaled(const cv::Mat &source, const cv::Mat &target,
                                     const cv::Mat &mask, const cv::Mat &oldField,
                                     cv::Mat &newField, cv::Mat &cost)
{
    cost = cv::Mat(source.size(), CV_16SC1);
    const int rows = newField.rows, cols = newField.cols;
    const int oldRows = oldField.rows, oldCols = oldField.cols;
    if (oldRows <= 0 || oldCols <= 0)
        return;

    // Every 2 x 2 block of fine pixels starts at the doubled coarse match;
    // the parity is not added.
#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        const short *o = oldField.ptr<short>(std::min(y / 2, oldRows - 1));
        short *f = newField.ptr<short>(y);
        short *c = cost.ptr<short>(y);
        for (int x = 0; x < cols; ++x) {
            const short *oc = o + 3 * std::min(x / 2, oldCols - 1);
            storeCell(f + 3 * x, 2 * loadCell(oc));
            storeCell(f + 3 * x + 1, 2 * loadCell(oc + 1));
            storeCell(f + 3 * x + 2, 0);
            storeCell(c + x, 0);
        }
    }

    const int mode = m_eraseMode;
    const int boxColMin = m_donorBoxColMin, boxColSpan = m_donorBoxColMax - m_donorBoxColMin;
    const int boxRowMin = m_donorBoxRowMin, boxRowSpan = m_donorBoxRowMax - m_donorBoxRowMin;
    const int srcRows = source.rows, srcCols = source.cols;

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        short *f = newField.ptr<short>(y);
        short *c = cost.ptr<short>(y);
        const uchar *m = mask.ptr<uchar>(std::min(y, mask.rows - 1));
        for (int x = 0; x < cols; ++x) {
            int mx = loadCell(f + 3 * x), my = loadCell(f + 3 * x + 1);
            unsigned d = patchDistance(target, y, x, source, my, mx, mask);
            if (mode == 1 || mode == 2) {
                // A masked pixel in a donor erase looks inside the donor
                // box only (a box one column wide draws its left edge).
                const bool inDonorBox = (mode == 2 && m[3 * std::min(x, mask.cols - 1)] >= 255);
                for (int redraw = 0; d > 65534 && redraw < kMaxRedraws; ++redraw) {
                    if (inDonorBox) {
                        mx = boxColMin + randomBelow(boxColSpan);
                        my = boxRowMin + randomBelow(boxRowSpan);
                    } else {
                        mx = randomBelow(srcCols);
                        my = randomBelow(srcRows);
                    }
                    d = patchDistance(target, y, x, source, my, mx, mask);
                }
            }
            storeCell(f + 3 * x, mx);
            storeCell(f + 3 * x + 1, my);
            storeCell(c + x, int(d));
        }
    }
}

void MyPatchMatch::recomputeCost(const cv::Mat &source, const cv::Mat &target,
                                 const cv::Mat &mask, const cv::Mat &field, cv::Mat &cost)
{
    cost = cv::Mat(source.size(), CV_16SC1);
    const int rows = std::min(source.rows, field.rows), cols = std::min(source.cols, field.cols);
    if (rows < source.rows || cols < source.cols)
        cost.setTo(cv::Scalar(-1)); // no match known: 65535

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        const short *f = field.ptr<short>(y);
        short *c = cost.ptr<short>(y);
        for (int x = 0; x < cols; ++x) {
            const unsigned d = patchDistance(target, y, x, source, loadCell(f + 3 * x + 1),
                                             loadCell(f + 3 * x), mask);
            storeCell(c + x, int(d));
        }
    }
}

void MyPatchMatch::recomputeCost(const cv::Mat &source, const cv::Mat &target,
                                 const cv::Mat &mask, const cv::Mat & /*unused*/,
                                 const cv::Mat &field, cv::Mat &cost)
{
    recomputeCost(source, target, mask, field, cost);
}

cv::Rect MyPatchMatch::cloneMapBox()
{
    if (m_rows == 0 || m_cols == 0 || !m_cloneMap)
        return cv::Rect(0, 0, 0, 0);
    int xMin = m_cols, xMax = -1, yMin = m_rows, yMax = -1;
    for (int y = 0; y < m_rows; ++y) {
        const unsigned char *row = m_cloneMap + size_t(y) * m_cols;
        for (int x = 0; x < m_cols; ++x) {
            if (row[x] > 0) {
                xMin = std::min(xMin, x);
                xMax = std::max(xMax, x);
                yMin = std::min(yMin, y);
                yMax = std::max(yMax, y);
            }
        }
    }
    if (xMax < 0)
        return cv::Rect(0, 0, 0, 0);
    // Differences, one short of the pixel extent; the clone seed relies on it.
    const cv::Rect box(xMin, yMin, xMax - xMin, yMax - yMin);
    qDebug() << "xmin==" << box.x << box.y << box.width << box.height;
    return box;
}

void MyPatchMatch::initFieldClone(cv::Mat &field, cv::Mat &flags)
{
    const cv::Rect b = cloneMapBox();
    const int rows = field.rows, cols = field.cols;
    // The drop lands 5 pixels below the requested place unless that passes
    // the bottom of the image.
    if (b.height + m_cloneOffsetY + 5 < rows)
        m_cloneOffsetY += 5;
    const int ox = m_cloneOffsetX, oy = m_cloneOffsetY;
    const unsigned char *map = m_cloneMap;
    const size_t mapSize = size_t(m_rows) * m_cols;

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        short *f = field.ptr<short>(y);
        uchar *fl = flags.ptr<uchar>(y);
        for (int x = 0; x < cols; ++x) {
            bool seeded = false;
            if (map && x >= ox && x < ox + b.width && y >= oy && y < oy + b.height) {
                const size_t at = size_t(y + b.y - oy) * cols + (x + b.x - ox);
                seeded = at < mapSize && map[at] > 0;
            }
            if (seeded) {
                storeCell(f + 3 * x, x + b.x - ox);
                storeCell(f + 3 * x + 1, y + b.y - oy);
                fl[3 * x] = 255;
            } else {
                // A field one pixel wide or high has nothing to draw from:
                // randomBelow(0) gives 0 instead of dividing by zero.
                storeCell(f + 3 * x, randomBelow(cols - 1));
                storeCell(f + 3 * x + 1, randomBelow(rows - 1));
                fl[3 * x] = 0;
            }
            storeCell(f + 3 * x + 2, 0);
            fl[3 * x + 1] = 0;
            fl[3 * x + 2] = 0;
        }
    }
}

void MyPatchMatch::halveField(cv::Mat &out, const cv::Mat &old)
{
    const int oldRows = old.rows, oldCols = old.cols;
    out = cv::Mat((oldRows + 1) / 2, (oldCols + 1) / 2, CV_16SC3);
    if (oldRows <= 0 || oldCols <= 0)
        return;
    const int rows = out.rows, cols = out.cols;

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        const short *o = old.ptr<short>(std::min(2 * y, oldRows - 1));
        short *f = out.ptr<short>(y);
        for (int x = 0; x < cols; ++x) {
            const short *oc = o + 3 * std::min(2 * x, oldCols - 1);
            storeCell(f + 3 * x, loadCell(oc) >> 1);
            storeCell(f + 3 * x + 1, loadCell(oc + 1) >> 1);
            storeCell(f + 3 * x + 2, 0);
        }
    }
}

void MyPatchMatch::halveFieldMasked(cv::Mat &out, const cv::Mat &old, const cv::Mat &oldMask,
                                    cv::Mat &outMask)
{
    const int oldRows = old.rows, oldCols = old.cols;
    out = cv::Mat((oldRows + 1) / 2, (oldCols + 1) / 2, CV_16SC3);
    outMask = cv::Mat((oldMask.rows + 1) / 2, (oldMask.cols + 1) / 2, CV_8UC3, cv::Scalar::all(0));
    if (oldRows <= 0 || oldCols <= 0)
        return;
    const int rows = out.rows, cols = out.cols;
    const int maskRows = std::min(oldMask.rows, oldRows), maskCols = std::min(oldMask.cols, oldCols);

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        // The last row of an odd-sized field uses the pair just above it.
        const int y0 = std::max(0, 2 * y < oldRows - 1 ? 2 * y : oldRows - 2);
        short *f = out.ptr<short>(y);
        uchar *om = y < outMask.rows ? outMask.ptr<uchar>(y) : nullptr;
        for (int x = 0; x < cols; ++x) {
            const int x0 = std::max(0, 2 * x < oldCols - 1 ? 2 * x : oldCols - 2);
            // Tie-break: below, right, diagonal, own.
            const int candY[4] = {y0 + 1, y0, y0 + 1, y0};
            const int candX[4] = {x0, x0 + 1, x0 + 1, x0};
            int found = -1;
            for (int k = 0; k < 4 && found < 0; ++k) {
                if (candY[k] < maskRows && candX[k] < maskCols
                    && oldMask.ptr<uchar>(candY[k])[3 * candX[k]] == 255)
                    found = k;
            }
            const int py = found >= 0 && found < 3 ? candY[found] : y0;
            const int px = found >= 0 && found < 3 ? candX[found] : x0;
            const short *oc = old.ptr<short>(py) + 3 * px;
            storeCell(f + 3 * x, loadCell(oc) >> 1);
            storeCell(f + 3 * x + 1, loadCell(oc + 1) >> 1);
            storeCell(f + 3 * x + 2, 0);
            if (om && x < outMask.cols)
                om[3 * x] = found >= 0 ? 255 : 0;
        }
    }
}

void MyPatchMatch::doubleFieldOffsets(const cv::Mat &old, cv::Mat &newField)
{
    const int rows = newField.rows, cols = newField.cols;
    const int oldRows = old.rows, oldCols = old.cols;
    if (oldRows <= 0 || oldCols <= 0)
        return;

    // Each fine pixel keeps its parity: the offset doubles, not the position.
#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        const int oy = std::min(y / 2, oldRows - 1);
        const short *o = old.ptr<short>(oy);
        short *f = newField.ptr<short>(y);
        for (int x = 0; x < cols; ++x) {
            const int ox = std::min(x / 2, oldCols - 1);
            const short *oc = o + 3 * ox;
            storeCell(f + 3 * x, x + 2 * (loadCell(oc) - x / 2));
            storeCell(f + 3 * x + 1, y + 2 * (loadCell(oc + 1) - y / 2));
            storeCell(f + 3 * x + 2, loadCell(oc + 2));
        }
    }
}

void MyPatchMatch::updateDonorBox()
{
    // The row bounds start from the wrong ends and so never move: the box
    // spans all rows, only the columns narrow. The map is scanned at full
    // resolution with the level's stride. Both are intended.
    const int R = m_donorLevelMask.rows, C = m_donorLevelMask.cols;
    m_donorBoxRowMax = R;
    m_donorBoxRowMin = 0;
    m_donorBoxColMin = C;
    m_donorBoxColMax = 0;
    if (!m_donorMap)
        return;
    for (int y = 0; y < R; ++y) {
        const unsigned char *row = m_donorMap + size_t(y) * C;
        for (int x = 0; x < C; ++x) {
            if (row[x] > 0) {
                if (x > m_donorBoxColMax)
                    m_donorBoxColMax = x;
                if (x < m_donorBoxColMin)
                    m_donorBoxColMin = x;
                if (y > m_donorBoxRowMax)
                    m_donorBoxRowMax = y;
                if (y < m_donorBoxRowMin)
                    m_donorBoxRowMin = y;
            }
        }
    }
}
