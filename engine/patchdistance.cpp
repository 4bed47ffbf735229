// The engine's one cost function, and its hot loop.

#include "mypatchmatch.h"

#include <algorithm>
#include <cstdint>

namespace {

// A pixel pair that cannot be compared costs more than the largest possible
// weighted difference (10 * 255 * 255 = 650,250).
constexpr int64_t kMissingPenalty = 655350;

} // namespace

unsigned int MyPatchMatch::patchDistance(const cv::Mat &target, int targetRow, int targetCol,
                                         const cv::Mat &source, int sourceRow, int sourceCol,
                                         const cv::Mat &mask) const
{
    const int R = m_patchRadius;
    const int side = 2 * R + 1;
    const bool donorMode = (m_eraseMode == 2);
    const int tRows = target.rows, tCols = target.cols;
    const int sRows = source.rows, sCols = source.cols;

    // Columns where both patch pixels lie inside their images; every other
    // column of a row is a missing pair.
    const int dxLo = std::max({-R, -targetCol, -sourceCol});
    const int dxHi = std::min({R, tCols - 1 - targetCol, sCols - 1 - sourceCol});
    const int inside = dxHi >= dxLo ? dxHi - dxLo + 1 : 0;

    int64_t sum = 0;
    for (int dy = -R; dy <= R; ++dy) {
        const int ty = targetRow + dy;
        const int sy = sourceRow + dy;
        if (ty < 0 || ty >= tRows || sy < 0 || sy >= sRows || inside == 0) {
            sum += side * kMissingPenalty;
            continue;
        }
        sum += (side - inside) * kMissingPenalty;

        const uchar *t = target.ptr<uchar>(ty) + 3 * (targetCol + dxLo);
        const uchar *s = source.ptr<uchar>(sy) + 3 * (sourceCol + dxLo);
        const uchar *m = mask.ptr<uchar>(sy) + 3 * (sourceCol + dxLo);
        if (!donorMode) {
            int rowSum = 0;
            for (int k = 0; k < inside; ++k, t += 3, s += 3, m += 3) {
                if (m[0] == 255) {
                    sum += kMissingPenalty;
                    continue;
                }
                const int d0 = t[0] - s[0], d1 = t[1] - s[1], d2 = t[2] - s[2];
                rowSum += d0 * d0 + 6 * d1 * d1 + 3 * d2 * d2;
            }
            sum += rowSum;
        } else {
            // A target pixel in the hole may only take its evidence from
            // donor pixels.
            const uchar *tm = mask.ptr<uchar>(ty) + 3 * (targetCol + dxLo);
            const uchar *dm = m_donorLevelMask.ptr<uchar>(sy) + 3 * (sourceCol + dxLo);
            int rowSum = 0;
            for (int k = 0; k < inside; ++k, t += 3, s += 3, m += 3, tm += 3, dm += 3) {
                if (m[0] == 255 || (tm[0] == 255 && dm[0] == 0)) {
                    sum += kMissingPenalty;
                    continue;
                }
                const int d0 = t[0] - s[0], d1 = t[1] - s[1], d2 = t[2] - s[2];
                rowSum += d0 * d0 + 6 * d1 * d1 + 3 * d2 * d2;
            }
            sum += rowSum;
        }
    }

    const double total = double(side) * double(side) * double(kMissingPenalty);
    return static_cast<unsigned int>(double(sum) / total * 65535.0);
}
