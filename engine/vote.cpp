// Voting: rebuilds pixels from the nearest-neighbour field. Every patch that
// covers a pixel votes for a colour, weighted by its cost; the pixel takes
// the weighted mean of the middle 30 % .. 70 % of each channel's votes.

#include "mypatchmatch.h"
#include "enginecells.h"

#include <algorithm>
#include <vector>

using engine::loadCell;

namespace {

// Per-row scratch: one entry per voter, (2R + 1)^2 of them at most.
struct Voters
{
    explicit Voters(int capacity)
        : weight(capacity), value0(capacity), value1(capacity), value2(capacity),
          sortedValue(capacity), sortedWeight(capacity)
    {}
    int count = 0;
    std::vector<double> weight;
    std::vector<uchar> value0, value1, value2;
    std::vector<uchar> sortedValue;
    std::vector<double> sortedWeight;
};

// The trimmed weighted mean of one channel. Equivalent, bit for bit, to
// walking a 256-bin weighted histogram filled in voter order: the voters are
// sorted stably by value, equal values are summed in voter order (that is a
// bin), and the bins are walked in ascending order. Empty bins add 0.0,
// which changes nothing, so they can be left out.
int trimmedMean(const uchar *value, const double *weight, int n, double wsum, uchar *v, double *w)
{
    for (int i = 0; i < n; ++i) {
        int j = i;
        while (j > 0 && v[j - 1] > value[i]) {
            v[j] = v[j - 1];
            w[j] = w[j - 1];
            --j;
        }
        v[j] = value[i];
        w[j] = weight[i];
    }

    const double lower = 0.3 * wsum;
    const double upper = 0.7 * wsum;
    double running = 0.0, numerator = 0.0, denominator = 0.0;
    for (int i = 0; i < n;) {
        const int bin = v[i];
        double h = 0.0;
        while (i < n && v[i] == bin)
            h += w[i++];
        running += h;
        if (running < lower)
            continue;
        denominator += h;
        numerator += bin * h;
        if (running > upper)
            break;
    }
    // The tolerance keeps rounding error from truncating a whole value to the
    // one below it: a single bin of value v must vote v, and v * h / h may
    // come out a hair under v in floating point.
    return denominator > 0.0 ? int(numerator / denominator + 1e-9) : -1;
}

} // namespace

void MyPatchMatch::voteImage(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                             const cv::Mat &mask, bool upscale, const cv::Mat &cost)
{
    const int R = upscale ? 2 * m_patchRadius : m_patchRadius;
    const int rows = source.rows, cols = source.cols;
    const int fieldRows = field.rows, fieldCols = field.cols;
    const int reachRows = upscale ? 2 * fieldRows : fieldRows;
    const int reachCols = upscale ? 2 * fieldCols : fieldCols;
    const double *similarity = m_similarity;
    const bool voteAll = m_voteAll;

    // Each pixel reads the field, the cost map and source and writes only
    // its own pixel of out; the field is stable between sweeps, so the rows
    // can be voted in parallel with the same result as one pass. Rows
    // through the hole cost far more than the others: hand them out in
    // small chunks.
#pragma omp parallel for schedule(dynamic, 4)
    for (int y = 0; y < rows; ++y) {
        Voters voters((2 * R + 1) * (2 * R + 1));
        const uchar *ownMask = mask.ptr<uchar>(y);
        const uchar *src = source.ptr<uchar>(y);
        uchar *dst = out.ptr<uchar>(y);
        for (int x = 0; x < cols; ++x) {
            // Outside the mask without voteAll only the total weight decides
            // (the source pixel or nothing), and weights are never negative,
            // so the sum may stop as soon as it reaches 1.0.
            const bool totalOnly = !voteAll && ownMask[3 * x] != 255;
            double wsum = 0.0;
            voters.count = 0;
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
                    const uchar *p = source.ptr<uchar>(vy) + 3 * vx;
                    const int k = voters.count++;
                    voters.weight[k] = w;
                    voters.value0[k] = p[0];
                    voters.value1[k] = p[1];
                    voters.value2[k] = p[2];
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
            const uchar *channels[3] = {voters.value0.data(), voters.value1.data(),
                                        voters.value2.data()};
            for (int c = 0; c < 3; ++c) {
                // Unanimous voters (the usual case where the field is the
                // identity): one bin, whose trimmed mean is its value.
                const uchar *values = channels[c];
                int k = 1;
                while (k < voters.count && values[k] == values[0])
                    ++k;
                if (k == voters.count) {
                    dst[3 * x + c] = values[0];
                    continue;
                }
                const int v = trimmedMean(channels[c], voters.weight.data(), voters.count, wsum,
                                          voters.sortedValue.data(), voters.sortedWeight.data());
                if (v >= 0)
                    dst[3 * x + c] = uchar(v);
            }
        }
    }
}
