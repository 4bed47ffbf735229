// Propagation and random search: improveMatch for one pixel, and the sweeps
// that run it over the field.

#include "mypatchmatch.h"
#include "enginecells.h"


#include <algorithm>

using engine::loadCell;
using engine::randomBelow;
using engine::storeCell;

namespace {

// The radii of one random search, r, r / 2, ... 1, and the divisors 2 r of
// their draws. A level has one or two starting radii (the whole field, and
// in a donor erase the donor box for hole pixels), so each thread keeps the
// last two tables.
struct SearchRadii
{
    int start = 0;
    int count = 0;
    bool valid = false;
    int radius[32];
    engine::Divisor divisor[32];
};

const SearchRadii &searchRadii(int start)
{
    thread_local SearchRadii tables[2];
    thread_local int next = 0;
    for (const SearchRadii &s : tables)
        if (s.valid && s.start == start)
            return s;
    SearchRadii &s = tables[next];
    next ^= 1;
    s.start = start;
    s.count = 0;
    for (int r = start; r >= 1; r >>= 1) {
        s.radius[s.count] = r;
        s.divisor[s.count] = engine::Divisor(uint32_t(2 * r));
        ++s.count;
    }
    s.valid = true;
    return s;
}

} // namespace

void MyPatchMatch::improveMatch(const cv::Mat &source, const cv::Mat &target, cv::Mat &field,
                                const cv::Mat &mask, int y, int x, bool forward, cv::Mat &cost)
{
    const int s = forward ? 1 : -1;
    const int rows = field.rows, cols = field.cols;
    short *cell = field.ptr<short>(y) + 3 * x;
    short *costCell = cost.ptr<short>(y) + x;

    // Equal cost keeps the old match. Position and cost are two separate
    // stores; another sweep may see one without the other, which only makes
    // a later candidate win or lose wrongly once.
    auto tryMatch = [&](int cx, int cy) {
        const unsigned current = unsigned(loadCell(costCell));
        // Nothing beats a perfect match.
        if (current == 0)
            return;
        const unsigned d = patchDistanceBelow(target, y, x, source, cy, cx, mask, current);
        if (d < current) {
            storeCell(cell, cx);
            storeCell(cell + 1, cy);
            storeCell(costCell, int(d));
        }
    };

    // Column 0 and row 0 never serve as neighbours (the bound is 1).
    const int nx = x - s;
    if (nx >= 1 && nx < cols) {
        const short *p = field.ptr<short>(y) + 3 * nx;
        tryMatch(loadCell(p) + s, loadCell(p + 1));
    }
    const int ny = y - s;
    if (ny >= 1 && ny < rows) {
        const short *p = field.ptr<short>(ny) + 3 * x;
        tryMatch(loadCell(p), loadCell(p + 1) + s);
    }

    // Random search around the match as it stands now; the centre stays
    // fixed even when a draw improves the match.
    const int cx = loadCell(cell), cy = loadCell(cell + 1);
    int r = std::max(rows, cols);
    if (m_eraseMode == 2 && mask.ptr<uchar>(y)[3 * x] >= 255)
        r = std::max(m_donorBoxRowMax - m_donorBoxRowMin, m_donorBoxColMax - m_donorBoxColMin);
    const SearchRadii &radii = searchRadii(r);
    for (int k = 0; k < radii.count; ++k) {
        const int rk = radii.radius[k];
        const int tx = std::clamp(cx + randomBelow(radii.divisor[k]) - rk, 0, cols - 1);
        const int ty = std::clamp(cy + randomBelow(radii.divisor[k]) - rk, 0, rows - 1);
        tryMatch(tx, ty);
    }
}

void MyPatchMatch::sweepField(cv::Mat &field, const cv::Mat &source, const cv::Mat &target,
                              const cv::Mat &mask, cv::Mat &cost, int sweepCount)
{
    const int rows = target.rows, cols = target.cols;
    // Whole double sweeps side by side, all on the one shared field: the
    // raster order of propagation stays intact inside each sweep.
#pragma omp parallel for schedule(static)
    for (int sweep = 0; sweep < sweepCount; ++sweep) {
        for (int y = 0; y < rows; ++y) {
            const short *c = cost.ptr<short>(y);
            for (int x = 0; x < cols; ++x)
                if (loadCell(c + x) != 0)
                    improveMatch(source, target, field, mask, y, x, true, cost);
        }
        for (int y = rows - 1; y >= 0; --y) {
            const short *c = cost.ptr<short>(y);
            for (int x = cols - 1; x >= 0; --x)
                if (loadCell(c + x) != 0)
                    improveMatch(source, target, field, mask, y, x, false, cost);
        }
    }
}

void MyPatchMatch::sweepRowsForward(cv::Mat &field, const cv::Mat &source, const cv::Mat &target,
                                    const cv::Mat &mask, cv::Mat &cost, const cv::Mat &frozenMask)
{
    const int rows = field.rows, cols = field.cols;
#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        const uchar *frozen = frozenMask.ptr<uchar>(y);
        for (int x = 0; x < cols; ++x)
            if (frozen[3 * x] == 0)
                improveMatch(source, target, field, mask, y, x, true, cost);
    }
}

void MyPatchMatch::sweepRowsBackward(cv::Mat &field, const cv::Mat &source, const cv::Mat &target,
                                     const cv::Mat &mask, cv::Mat &cost, const cv::Mat &frozenMask)
{
    const int rows = field.rows, cols = field.cols;
    // Thread t's static block [start, end) is walked as rows rows-1-start
    // down to rows-end: iteration i serves row rows-1-i.
#pragma omp parallel for schedule(static)
    for (int i = 0; i < rows; ++i) {
        const int y = rows - 1 - i;
        const uchar *frozen = frozenMask.ptr<uchar>(y);
        for (int x = cols - 1; x >= 0; --x)
            if (frozen[3 * x] == 0)
                improveMatch(source, target, field, mask, y, x, false, cost);
    }
}
