// Voting: rebuilds pixels from the nearest-neighbour field. Every patch that
// covers a pixel votes for a colour, weighted by its cost; the pixel takes
// the weighted mean of the middle 30 % .. 70 % of each channel's votes.

#include "mypatchmatch.h"
#include "enginecells.h"

#include <algorithm>
#include <cstdint>
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

void MyPatchMatch::voteRows(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                            const cv::Mat &mask, bool upscale, const cv::Mat &cost,
                            bool holeOnly)
{
    const int R = upscale ? 2 * m_patchRadius : m_patchRadius;
    const int rows = source.rows, cols = source.cols;
    const int fieldRows = field.rows, fieldCols = field.cols;
    const int reachRows = upscale ? 2 * fieldRows : fieldRows;
    const int reachCols = upscale ? 2 * fieldCols : fieldCols;
    const double *similarity = m_similarity;
    const bool voteAll = m_voteAll;
    const int side = 2 * R + 1;

    // Each pixel reads the field, the cost map, source and its own pixel of
    // out, and writes only that pixel; the field is stable between sweeps,
    // so the rows can be voted in parallel with the same result as one
    // pass. Rows through the hole cost far more than the others: hand them
    // out in small chunks.
#pragma omp parallel
    {
        VoteHistograms histograms;
        // The voters of the current pixel, in the order a histogram would
        // receive them; allocated once per thread.
        std::vector<Voter> voters(size_t(side) * side);
#pragma omp for schedule(dynamic, 4)
        for (int y = 0; y < rows; ++y) {
            const uchar *ownMask = mask.ptr<uchar>(y);
            const uchar *src = source.ptr<uchar>(y);
            uchar *dst = out.ptr<uchar>(y);
            for (int x = 0; x < cols; ++x) {
                const bool masked = ownMask[3 * x] == 255;
                if (holeOnly && !masked)
                    continue;
                // Outside the mask without voteAll only the total weight
                // decides: the pixel gets its source colour or keeps its own.
                // When the two are the same, the votes cannot change it.
                const bool totalOnly = !voteAll && !masked;
                if (totalOnly && dst[3 * x] == src[3 * x] && dst[3 * x + 1] == src[3 * x + 1]
                    && dst[3 * x + 2] == src[3 * x + 2])
                    continue;
                // Weights are never negative, so a total-only sum may stop
                // as soon as it reaches 1.0.
                double wsum = 0.0;
                int count = 0;
                bool unanimous = true;
                for (int dy = -R; dy <= R && !(totalOnly && wsum >= 1.0); ++dy) {
                    const int yy = y + dy;
                    if (yy < 0 || yy >= reachRows)
                        continue;
                    const short *frow = field.ptr<short>(upscale ? yy >> 1 : yy);
                    const short *crow = cost.ptr<short>(upscale ? yy >> 1 : yy);
                    for (int dx = -R; dx <= R; ++dx) {
                        const int xx = x + dx;
                        if (xx < 0 || xx >= reachCols)
                            continue;
                        const int fx = upscale ? xx >> 1 : xx;
                        int px = loadCell(frow + 3 * fx);
                        int py = loadCell(frow + 3 * fx + 1);
                        if (upscale) {
                            px = 2 * px + (xx & 1);
                            py = 2 * py + (yy & 1);
                        }
                        const int vy = py - dy, vx = px - dx;
                        if (vy < 0 || vy >= rows || vx < 0 || vx >= cols)
                            continue;
                        if (mask.ptr<uchar>(vy)[3 * vx] == 255)
                            continue;
                        const double w = similarity[loadCell(crow + fx)];
                        wsum += w;
                        if (totalOnly)
                            continue;
                        const uint32_t colour = packColour(source.ptr<uchar>(vy) + 3 * vx);
                        unanimous = unanimous && (count == 0 || colour == voters[0].colour);
                        voters[count++] = {colour, w};
                    }
                }
                if (wsum < 1.0)
                    continue;
                if (totalOnly) {
                    dst[3 * x] = src[3 * x];
                    dst[3 * x + 1] = src[3 * x + 1];
                    dst[3 * x + 2] = src[3 * x + 2];
                    continue;
                }
                // All voters agree (the usual case away from the hole's
                // seams): every channel holds one value, and its trimmed
                // mean v * h / h is v.
                if (unanimous) {
                    const uint32_t colour = voters[0].colour;
                    dst[3 * x] = uchar(colour);
                    dst[3 * x + 1] = uchar(colour >> 8);
                    dst[3 * x + 2] = uchar(colour >> 16);
                    continue;
                }
                for (int k = 0; k < count; ++k) {
                    const uint32_t colour = voters[k].colour;
                    const double w = voters[k].weight;
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
        }
    }
}
