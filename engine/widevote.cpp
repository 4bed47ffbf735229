// The full-size vote again, at 16 bits a sample. The rules are those of
// vote.cpp's step-up vote; a 16-bit histogram would be 65,536 bins a
// channel, so each pixel sorts its (at most 81) votes instead and walks
// them in ascending order, equal values merged as one bin.

#include "widevote.h"

#include <algorithm>
#include <vector>

namespace engine {
namespace {

struct WideVoter
{
    int value;
    double weight;
};

// The histogram walk of the 8-bit vote over sorted voters: bins below 30 %
// of the weight are skipped, the bin that crosses 70 % is the last.
int trimmedMean(std::vector<WideVoter> &voters, double wsum)
{
    std::sort(voters.begin(), voters.end(), [](const WideVoter &a, const WideVoter &b) { return a.value < b.value; });
    const double lower = 0.3 * wsum, upper = 0.7 * wsum;
    double running = 0.0, numerator = 0.0, denominator = 0.0;
    for (size_t i = 0; i < voters.size();) {
        const int v = voters[i].value;
        double h = 0.0;
        for (; i < voters.size() && voters[i].value == v; ++i)
            h += voters[i].weight;
        running += h;
        if (running < lower)
            continue;
        denominator += h;
        numerator += double(v) * h;
        if (running > upper)
            break;
    }
    return denominator > 0.0 ? int(numerator / denominator + 1e-9) : -1;
}

} // namespace

FinalVote keepFinalVote(const cv::Mat &field, const cv::Mat &cost, const cv::Mat &mask,
                        const double *similarity, int patchRadius)
{
    FinalVote vote;
    vote.field = field.clone();
    vote.weights.create(cost.size(), CV_64FC1);
    for (int y = 0; y < cost.rows; ++y) {
        const ushort *c = cost.ptr<ushort>(y); // costs are read unsigned
        double *w = vote.weights.ptr<double>(y);
        for (int x = 0; x < cost.cols; ++x)
            w[x] = similarity[c[x]];
    }
    vote.mask = mask;
    vote.patchRadius = patchRadius;
    return vote;
}

void voteHoleWide(const cv::Mat &source, cv::Mat &out, const FinalVote &vote)
{
    CV_Assert(source.type() == CV_16UC3 && out.type() == CV_16UC3 && source.size() == out.size());
    CV_Assert(vote.mask.size() == source.size() && vote.weights.size() == vote.field.size());
    const int R = 2 * vote.patchRadius; // the step up doubles the patch
    const int rows = source.rows, cols = source.cols;
    const int reachRows = 2 * vote.field.rows, reachCols = 2 * vote.field.cols;
    const cv::Mat &mask = vote.mask;
#pragma omp parallel
    {
        std::vector<WideVoter> channel[3];
        for (auto &c : channel)
            c.reserve(size_t(2 * R + 1) * (2 * R + 1));
#pragma omp for schedule(dynamic, 4)
        for (int y = 0; y < rows; ++y) {
            const uchar *ownMask = mask.ptr<uchar>(y);
            ushort *dst = out.ptr<ushort>(y);
            for (int x = 0; x < cols; ++x) {
                if (ownMask[3 * x] != 255)
                    continue;
                for (auto &c : channel)
                    c.clear();
                double wsum = 0.0;
                for (int yy = std::max(y - R, 0); yy <= std::min(y + R, reachRows - 1); ++yy) {
                    const ushort *frow = vote.field.ptr<ushort>(yy >> 1); // positions read unsigned
                    const double *wrow = vote.weights.ptr<double>(yy >> 1);
                    for (int xx = std::max(x - R, 0); xx <= std::min(x + R, reachCols - 1); ++xx) {
                        const int fx = xx >> 1, fy = yy >> 1;
                        // The voter's parity cancels against the doubled
                        // match's: the shift is twice the cell's.
                        const int vx = x + 2 * (frow[3 * fx] - fx), vy = y + 2 * (frow[3 * fx + 1] - fy);
                        if (unsigned(vy) >= unsigned(rows) || unsigned(vx) >= unsigned(cols))
                            continue;
                        if (mask.ptr<uchar>(vy)[3 * vx] == 255)
                            continue;
                        const double w = wrow[fx];
                        const ushort *s = source.ptr<ushort>(vy) + 3 * vx;
                        wsum += w;
                        for (int c = 0; c < 3; ++c)
                            channel[c].push_back({s[c], w});
                    }
                }
                if (wsum < 1.0)
                    continue;
                for (int c = 0; c < 3; ++c) {
                    const int v = trimmedMean(channel[c], wsum);
                    if (v >= 0)
                        dst[3 * x + c] = ushort(v);
                }
            }
        }
    }
}

} // namespace engine
