// The engine's one cost function, and its hot loop.

#include "mypatchmatch.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// A pixel pair that cannot be compared costs more than the largest possible
// weighted difference (10 * 255 * 255 = 650,250).
constexpr int64_t kMissingPenalty = 655350;

// The result scale: sum over the penalty of a fully missing patch, times
// 65535, truncated. Monotone in sum.
inline unsigned int scaled(int64_t sum, int side)
{
    const double total = double(side) * double(side) * double(kMissingPenalty);
    return static_cast<unsigned int>(double(sum) / total * 65535.0);
}

// Smallest sum whose scaled cost reaches `bound`: a running sum at or above
// it can no longer give a cost below the bound. Exact (found by stepping the
// scaled function itself), tabulated for the 5 x 5 patch the drivers use.
int64_t sumReaching(unsigned int bound, int side)
{
    const double total = double(side) * double(side) * double(kMissingPenalty);
    int64_t s = std::max<int64_t>(0, int64_t(double(bound) * total / 65535.0) - 2);
    while (scaled(s, side) >= bound && s > 0)
        --s;
    while (scaled(s, side) < bound)
        ++s;
    return s;
}

const std::vector<int64_t> &sumReachingTable()
{
    static const std::vector<int64_t> table = [] {
        std::vector<int64_t> t(65536);
        for (unsigned b = 0; b < 65536; ++b)
            t[b] = sumReaching(b, 5);
        return t;
    }();
    return table;
}

// Weighted squared difference 1 * dB^2 + 6 * dG^2 + 3 * dR^2 summed over a
// row of five whole pixels (15 bytes), none of them missing. Integer
// arithmetic throughout, so the sum is exactly that of the pixel loop.
inline int fivePixelRowSum(const uchar *t, const uchar *s)
{
#if defined(__SSE2__)
    // Bytes 0..7 and 7..14: two 8-byte loads that stay inside the 15 bytes;
    // byte 7 is read twice and weighted 0 the second time.
    const __m128i zero = _mm_setzero_si128();
    const __m128i t0 = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(t)), zero);
    const __m128i s0 = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(s)), zero);
    const __m128i t1 = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(t + 7)), zero);
    const __m128i s1 = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(s + 7)), zero);
    const __m128i w0 = _mm_setr_epi16(1, 6, 3, 1, 6, 3, 1, 6);
    const __m128i w1 = _mm_setr_epi16(0, 3, 1, 6, 3, 1, 6, 3);
    const __m128i d0 = _mm_sub_epi16(t0, s0); // -255 .. 255
    const __m128i d1 = _mm_sub_epi16(t1, s1);
    // d * (w * d): w * d fits 16 bits (at most 1530), the products and
    // their pairwise sums fit 32 bits.
    __m128i acc = _mm_add_epi32(_mm_madd_epi16(d0, _mm_mullo_epi16(d0, w0)),
                                _mm_madd_epi16(d1, _mm_mullo_epi16(d1, w1)));
    acc = _mm_add_epi32(acc, _mm_shuffle_epi32(acc, _MM_SHUFFLE(1, 0, 3, 2)));
    acc = _mm_add_epi32(acc, _mm_shuffle_epi32(acc, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(acc);
#else
    int sum = 0;
    for (int k = 0; k < 5; ++k, t += 3, s += 3) {
        const int d0 = t[0] - s[0], d1 = t[1] - s[1], d2 = t[2] - s[2];
        sum += d0 * d0 + 6 * d1 * d1 + 3 * d2 * d2;
    }
    return sum;
#endif
}

} // namespace

template <bool Bounded>
unsigned int MyPatchMatch::patchDistanceImpl(const cv::Mat &target, int targetRow, int targetCol,
                                             const cv::Mat &source, int sourceRow, int sourceCol,
                                             const cv::Mat &mask, unsigned int bound) const
{
    // Nothing beats a perfect match.
    if (Bounded && bound == 0)
        return 0;
    const int R = m_patchRadius;
    const int side = 2 * R + 1;
    // Every term is positive, so the result can only grow: once the running
    // sum reaches this the candidate has lost, whatever the rest adds.
    int64_t limit = 0;
    if (Bounded) {
        if (bound > 65535)
            limit = INT64_MAX;
        else
            limit = side == 5 ? sumReachingTable()[bound] : sumReaching(bound, side);
    }
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
            if (Bounded && sum >= limit)
                return bound;
            continue;
        }
        sum += (side - inside) * kMissingPenalty;

        const uchar *t = target.ptr<uchar>(ty) + 3 * (targetCol + dxLo);
        const uchar *s = source.ptr<uchar>(sy) + 3 * (sourceCol + dxLo);
        const uchar *m = mask.ptr<uchar>(sy) + 3 * (sourceCol + dxLo);
        if (!donorMode) {
            // The usual row: five pixels, no masked source among them.
            if (inside == 5
                && (m[0] != 255) & (m[3] != 255) & (m[6] != 255) & (m[9] != 255) & (m[12] != 255)) {
                sum += fivePixelRowSum(t, s);
                if (Bounded && sum >= limit)
                    return bound;
                continue;
            }
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
            if (inside == 5) {
                bool whole = true;
                for (int k = 0; k < 15; k += 3)
                    whole &= (m[k] != 255) & !((tm[k] == 255) & (dm[k] == 0));
                if (whole) {
                    sum += fivePixelRowSum(t, s);
                    if (Bounded && sum >= limit)
                        return bound;
                    continue;
                }
            }
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
        if (Bounded && sum >= limit)
            return bound;
    }

    return scaled(sum, side);
}

unsigned int MyPatchMatch::patchDistance(const cv::Mat &target, int targetRow, int targetCol,
                                         const cv::Mat &source, int sourceRow, int sourceCol,
                                         const cv::Mat &mask) const
{
    return patchDistanceImpl<false>(target, targetRow, targetCol, source, sourceRow, sourceCol,
                                    mask, 0);
}

unsigned int MyPatchMatch::patchDistanceBelow(const cv::Mat &target, int targetRow, int targetCol,
                                              const cv::Mat &source, int sourceRow, int sourceCol,
                                              const cv::Mat &mask, unsigned int bound) const
{
    return patchDistanceImpl<true>(target, targetRow, targetCol, source, sourceRow, sourceCol,
                                   mask, bound);
}
