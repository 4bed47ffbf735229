// Voting: rebuilds pixels from the nearest-neighbour field. Every patch that
// covers a pixel votes for a colour, weighted by its cost; the pixel takes
// the weighted mean of the middle 30 % .. 70 % of each channel's votes.

#include "mypatchmatch.h"
#include "enginecells.h"

#include <omp.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

using engine::loadCell;

namespace {

// Weighted histograms of one pixel's voters, one per channel, with a bitmap
// of the bins in use so that neither clearing nor walking them touches the
// empty ones. Bins are filled in voter order, as a full histogram would be,
// and walked in ascending order; empty bins would add 0.0 and change
// nothing, so the trimmed mean is bit for bit that of the full walk.
//
// Neighbouring voters usually agree, so the bin of the current run of equal
// values is kept in a register: the additions happen in the same order on
// the same bin, only without a store and reload between them.
struct VoteHistograms
{
    double bin[3][256] = {};
    uint64_t used[3][4] = {};
    int runValue[3] = {-1, -1, -1};
    double runSum[3] = {0.0, 0.0, 0.0};

    void add(int c, int v, double w)
    {
        if (v == runValue[c]) {
            runSum[c] += w;
            return;
        }
        if (runValue[c] >= 0)
            bin[c][runValue[c]] = runSum[c];
        runValue[c] = v;
        runSum[c] = bin[c][v] + w;
        used[c][v >> 6] |= uint64_t(1) << (v & 63);
    }

    void flush(int c)
    {
        if (runValue[c] >= 0)
            bin[c][runValue[c]] = runSum[c];
        runValue[c] = -1;
    }

    // Channel c has a single value in use: its trimmed mean is that value.
    int only(int c) const
    {
        int found = -1;
        for (int word = 0; word < 4; ++word) {
            const uint64_t m = used[c][word];
            if (!m)
                continue;
            if (found >= 0 || (m & (m - 1)))
                return -1;
            found = word * 64 + __builtin_ctzll(m);
        }
        return found;
    }

    void clear(int c)
    {
        flush(c);
        for (int word = 0; word < 4; ++word) {
            for (uint64_t m = used[c][word]; m; m &= m - 1)
                bin[c][word * 64 + __builtin_ctzll(m)] = 0.0;
            used[c][word] = 0;
        }
    }

    // Trimmed weighted mean of channel c between 30 % and 70 % of wsum;
    // clears the channel for the next pixel.
    int trimmedMean(int c, double wsum)
    {
        flush(c);
        const double lower = 0.3 * wsum;
        const double upper = 0.7 * wsum;
        double running = 0.0, numerator = 0.0, denominator = 0.0;
        bool done = false;
        for (int word = 0; word < 4 && !done; ++word) {
            for (uint64_t m = used[c][word]; m; m &= m - 1) {
                const int v = word * 64 + __builtin_ctzll(m);
                const double h = bin[c][v];
                running += h;
                if (running < lower)
                    continue;
                denominator += h;
                numerator += v * h;
                if (running > upper) {
                    done = true;
                    break;
                }
            }
        }
        clear(c);
        // The tolerance keeps rounding error from truncating a whole value to
        // the one below it: a single bin of value v must vote v, and
        // v * h / h may come out a hair under v in floating point.
        return denominator > 0.0 ? int(numerator / denominator + 1e-9) : -1;
    }
};

} // namespace

namespace {

// One voter of a pixel: its colour packed as B | G << 8 | R << 16, and its
// weight.
struct Voter
{
    uint32_t colour;
    double weight;
};

// What a field cell tells every pixel it votes for: the shift from the
// pixel to the source colour it votes, and the vote's weight.
struct VoteCell
{
    int ox;
    int oy;
    double weight;
};

inline uint32_t packColour(const uchar *p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
}

} // namespace

void MyPatchMatch::voteImage(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                             const cv::Mat &mask, bool upscale, const cv::Mat &cost)
{
    voteRows(source, out, field, mask, upscale, cost, false);
}

void MyPatchMatch::voteHole(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                            const cv::Mat &mask, bool upscale, const cv::Mat &cost)
{
    voteRows(source, out, field, mask, upscale, cost, true);
}

namespace {

// One vote pass: its inputs and the sizes every phase reads.
struct VotePass
{
    const cv::Mat &source;
    cv::Mat &out;
    const cv::Mat &field;
    const cv::Mat &mask;
    const cv::Mat &cost;
    const double *similarity;
    bool upscale;
    bool holeOnly;
    bool voteAll;
    int R;         // patch radius, doubled at the step up
    int rows, cols;
    int fieldRows, fieldCols;
    int reachRows, reachCols; // the area the field's voters cover
};

// Which pixels take votes at all: the hole only, or outside the hole
// without voteAll only those whose own colour differs from the source (the
// rest keep their colour whatever the votes say), or all of them. The test
// reads only the pixel itself, which the vote writes after testing it
// again, so testing first gives the same decisions.
inline bool takesVotes(const VotePass &pass, const uchar *ownMask, const uchar *src, const uchar *dst, int x)
{
    if (ownMask[3 * x] == 255)
        return true;
    if (pass.holeOnly)
        return false;
    return pass.voteAll || dst[3 * x] != src[3 * x] || dst[3 * x + 1] != src[3 * x + 1]
           || dst[3 * x + 2] != src[3 * x + 2];
}

// Phase 1: per row, the first and last column that takes votes (last <
// first: none).
void findVotingSpans(const VotePass &pass, std::vector<int> &firstCol, std::vector<int> &lastCol)
{
    firstCol.assign(pass.rows, pass.cols);
    lastCol.assign(pass.rows, -1);
#pragma omp parallel for schedule(static)
    for (int y = 0; y < pass.rows; ++y) {
        const uchar *ownMask = pass.mask.ptr<uchar>(y);
        const uchar *src = pass.source.ptr<uchar>(y);
        const uchar *dst = pass.out.ptr<uchar>(y);
        int lo = pass.cols, hi = -1;
        if (pass.voteAll && !pass.holeOnly) {
            lo = 0;
            hi = pass.cols - 1;
        } else {
            for (int x = 0; x < pass.cols; ++x) {
                if (takesVotes(pass, ownMask, src, dst, x)) {
                    lo = std::min(lo, x);
                    hi = x;
                }
            }
        }
        firstCol[y] = lo;
        lastCol[y] = hi;
    }
}

// Phase 2: every field cell serves many pixels (25, or 81 at the step up),
// always with the same weight and the same shift from the voter to its
// vote: the voter at (yy, xx) votes for pixel (y, x) with the source colour
// at (y + oy, x + ox). At the step up the parity the voter adds to the
// doubled match cancels against its own, so the shift is the cell's.
// Decodes once each cell that some voting pixel reaches.
std::unique_ptr<VoteCell[]> decodeVoteCells(const VotePass &pass, const std::vector<int> &firstCol,
                                            const std::vector<int> &lastCol)
{
    const int R = pass.R, fieldRows = pass.fieldRows, fieldCols = pass.fieldCols;
    const bool upscale = pass.upscale;
    const size_t fieldCells = size_t(std::max(fieldRows, 0)) * std::max(fieldCols, 0);
    std::unique_ptr<VoteCell[]> cells(new VoteCell[fieldCells > 0 ? fieldCells : 1]);
    std::vector<int> cellLo(std::max(fieldRows, 0), fieldCols), cellHi(std::max(fieldRows, 0), -1);
    for (int y = 0; y < pass.rows; ++y) {
        if (lastCol[y] < firstCol[y])
            continue;
        const int xxLo = std::max(firstCol[y] - R, 0);
        const int xxHi = std::min(lastCol[y] + R, pass.reachCols - 1);
        if (xxHi < xxLo)
            continue;
        const int lo = upscale ? xxLo >> 1 : xxLo, hi = upscale ? xxHi >> 1 : xxHi;
        for (int yy = std::max(y - R, 0); yy <= std::min(y + R, pass.reachRows - 1); ++yy) {
            const int fy = upscale ? yy >> 1 : yy;
            cellLo[fy] = std::min(cellLo[fy], lo);
            cellHi[fy] = std::max(cellHi[fy], hi);
        }
    }
#pragma omp parallel for schedule(static)
    for (int fy = 0; fy < fieldRows; ++fy) {
        const short *frow = pass.field.ptr<short>(fy);
        const short *crow = pass.cost.ptr<short>(fy);
        VoteCell *cellRow = cells.get() + size_t(fy) * fieldCols;
        for (int fx = cellLo[fy]; fx <= cellHi[fy]; ++fx) {
            const int px = loadCell(frow + 3 * fx);
            const int py = loadCell(frow + 3 * fx + 1);
            VoteCell &cell = cellRow[fx];
            cell.ox = upscale ? 2 * (px - fx) : px - fx;
            cell.oy = upscale ? 2 * (py - fy) : py - fy;
            cell.weight = pass.similarity[loadCell(crow + fx)];
        }
    }
    return cells;
}

// Phase 3, one pixel: gathers its voters and writes its colour.
inline void votePixel(const VotePass &pass, const VoteCell *cells, VoteHistograms &histograms,
                      Voter *voterList, int y, int x, const uchar *ownMask, const uchar *src, uchar *dst)
{
    const int R = pass.R, rows = pass.rows, cols = pass.cols, fieldCols = pass.fieldCols;
    const bool upscale = pass.upscale;
    const cv::Mat &mask = pass.mask;
    // Outside the mask without voteAll only the total weight decides: the
    // pixel gets its source colour or keeps its own.
    const bool totalOnly = !pass.voteAll && ownMask[3 * x] != 255;
    const int yyLo = std::max(y - R, 0), yyHi = std::min(y + R, pass.reachRows - 1);
    const int xxLo = std::max(x - R, 0), xxHi = std::min(x + R, pass.reachCols - 1);
    // Weights are never negative, so a total-only sum may stop as soon as it
    // reaches 1.0.
    double wsum = 0.0;
    int count = 0;
    uint32_t firstColour = 0;
    bool unanimous = true;
    for (int yy = yyLo; yy <= yyHi && !(totalOnly && wsum >= 1.0); ++yy) {
        const VoteCell *cellRow = cells + size_t(upscale ? yy >> 1 : yy) * fieldCols;
        for (int xx = xxLo; xx <= xxHi; ++xx) {
            const VoteCell &cell = cellRow[upscale ? xx >> 1 : xx];
            const int vy = y + cell.oy, vx = x + cell.ox;
            if (unsigned(vy) >= unsigned(rows) || unsigned(vx) >= unsigned(cols))
                continue;
            if (mask.ptr<uchar>(vy)[3 * vx] == 255)
                continue;
            const double w = cell.weight;
            wsum += w;
            if (totalOnly)
                continue;
            const uint32_t colour = packColour(pass.source.ptr<uchar>(vy) + 3 * vx);
            if (count == 0)
                firstColour = colour;
            unanimous &= colour == firstColour;
            voterList[count].colour = colour;
            voterList[count].weight = w;
            ++count;
        }
    }
    if (wsum < 1.0)
        return;
    if (totalOnly) {
        dst[3 * x] = src[3 * x];
        dst[3 * x + 1] = src[3 * x + 1];
        dst[3 * x + 2] = src[3 * x + 2];
        return;
    }
    // All voters agree (the usual case away from the hole's seams): every
    // channel holds one value, and its trimmed mean v * h / h is v.
    if (unanimous) {
        dst[3 * x] = uchar(firstColour);
        dst[3 * x + 1] = uchar(firstColour >> 8);
        dst[3 * x + 2] = uchar(firstColour >> 16);
        return;
    }
    for (int k = 0; k < count; ++k) {
        const uint32_t colour = voterList[k].colour;
        const double w = voterList[k].weight;
        histograms.add(0, int(colour & 255), w);
        histograms.add(1, int((colour >> 8) & 255), w);
        histograms.add(2, int(colour >> 16), w);
    }
    for (int c = 0; c < 3; ++c) {
        // One value only: v * h / h is v.
        const int single = histograms.only(c);
        if (single >= 0) {
            dst[3 * x + c] = uchar(single);
            histograms.clear(c);
            continue;
        }
        const int v = histograms.trimmedMean(c, wsum);
        if (v >= 0)
            dst[3 * x + c] = uchar(v);
    }
}

// Phase 3: each pixel reads the field, the cost map, source and its own
// pixel of out, and writes only that pixel; the field is stable between
// sweeps, so the rows can be voted in parallel with the same result as one
// pass. Rows through the hole cost far more than the others: hand them out
// in small chunks.
void votePixels(const VotePass &pass, const VoteCell *cells, const std::vector<int> &firstCol,
                const std::vector<int> &lastCol)
{
    const int side = 2 * pass.R + 1;
    // The voters of the current pixel, in the order a histogram would
    // receive them: one list per thread, allocated here, because an
    // allocation that fails inside a parallel region cannot be caught.
    const size_t listSize = size_t(side) * side;
    std::vector<Voter> voters(listSize * size_t(std::max(omp_get_max_threads(), 1)));
#pragma omp parallel
    {
        VoteHistograms histograms;
        Voter *voterList = voters.data() + listSize * size_t(omp_get_thread_num());
#pragma omp for schedule(dynamic, 4)
        for (int y = 0; y < pass.rows; ++y) {
            const uchar *ownMask = pass.mask.ptr<uchar>(y);
            const uchar *src = pass.source.ptr<uchar>(y);
            uchar *dst = pass.out.ptr<uchar>(y);
            for (int x = firstCol[y]; x <= lastCol[y]; ++x) {
                if (takesVotes(pass, ownMask, src, dst, x))
                    votePixel(pass, cells, histograms, voterList, y, x, ownMask, src, dst);
            }
        }
    }
}

} // namespace

// In three phases: which pixels of each row vote, the field cells they
// reach decoded once, then the votes themselves.
void MyPatchMatch::voteRows(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                            const cv::Mat &mask, bool upscale, const cv::Mat &cost,
                            bool holeOnly)
{
    const int R = upscale ? 2 * m_patchRadius : m_patchRadius;
    const VotePass pass{source, out, field, mask, cost, m_similarity, upscale, holeOnly, m_voteAll, R,
                        source.rows, source.cols, field.rows, field.cols,
                        upscale ? 2 * field.rows : field.rows, upscale ? 2 * field.cols : field.cols};
    if (pass.rows <= 0 || pass.cols <= 0)
        return;
    std::vector<int> firstCol, lastCol;
    findVotingSpans(pass, firstCol, lastCol);
    const std::unique_ptr<VoteCell[]> cells = decodeVoteCells(pass, firstCol, lastCol);
    votePixels(pass, cells.get(), firstCol, lastCol);
}
