#ifndef MERVANE_TESTS_REFERENCE_H
#define MERVANE_TESTS_REFERENCE_H

// Plain, single-threaded versions of the engine's kernels, written straight
// from their rules with at<>() and no shortcuts: each is a literal reading of
// its rule. The production kernels must give the same output; the one place
// where they may not, and why, is stated at voteImage.

#include <opencv2/core.hpp>

#include <cmath>
#include <cstdint>
#include <string>

namespace reference {

inline unsigned patchDistance(const cv::Mat &target, int ty0, int tx0, const cv::Mat &source,
                              int sy0, int sx0, const cv::Mat &mask, int R, int eraseMode,
                              const cv::Mat &donorLevelMask)
{
    const int64_t missing = 655350;
    const int weights[3] = {1, 6, 3};
    int64_t sum = 0;
    for (int dy = -R; dy <= R; ++dy) {
        for (int dx = -R; dx <= R; ++dx) {
            const int ty = ty0 + dy, tx = tx0 + dx, sy = sy0 + dy, sx = sx0 + dx;
            bool isMissing = ty < 0 || ty >= target.rows || tx < 0 || tx >= target.cols || sy < 0
                             || sy >= source.rows || sx < 0 || sx >= source.cols;
            if (!isMissing && mask.at<cv::Vec3b>(sy, sx)[0] == 255)
                isMissing = true;
            if (!isMissing && eraseMode == 2 && mask.at<cv::Vec3b>(ty, tx)[0] == 255
                && donorLevelMask.at<cv::Vec3b>(sy, sx)[0] == 0)
                isMissing = true;
            if (isMissing) {
                sum += missing;
                continue;
            }
            const cv::Vec3b t = target.at<cv::Vec3b>(ty, tx), s = source.at<cv::Vec3b>(sy, sx);
            for (int c = 0; c < 3; ++c) {
                const int d = int(t[c]) - int(s[c]);
                sum += weights[c] * d * d;
            }
        }
    }
    const double total = double(2 * R + 1) * double(2 * R + 1) * 655350.0;
    return unsigned(double(sum) / total * 65535.0);
}

// The trimmed-mean vote, read literally: the voted value is the numerator
// divided by the denominator, truncated. Taken at its word, that rule breaks
// its own edge case: when every voter of a pixel agrees on a value v, the
// quotient (v * h) / h can come out a hair under v in floating point and
// truncate to v - 1, while a field pointing every pixel at itself must give
// the source back. The engine keeps the edge case (it adds 1e-9 before
// truncating); this reference keeps the rule as written and, where given
// `lifted` (CV_8UC3, zeroed by the caller), marks each voted channel whose
// quotient lay within 1e-9 under a whole number: exactly there the engine
// may give the literal value plus one. Tests compare through
// expectVoteMatches and test the edge case on its own.
inline constexpr double kLiftTolerance = 1e-9;

inline void voteImage(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                      const cv::Mat &mask, bool upscale, const cv::Mat &cost, int patchRadius,
                      const double *similarity, bool voteAll, cv::Mat *lifted = nullptr)
{
    const int R = upscale ? 2 * patchRadius : patchRadius;
    for (int y = 0; y < source.rows; ++y) {
        for (int x = 0; x < source.cols; ++x) {
            double hist[3][256] = {};
            double wsum = 0.0;
            for (int dy = -R; dy <= R; ++dy) {
                for (int dx = -R; dx <= R; ++dx) {
                    const int yy = y + dy, xx = x + dx;
                    int px, py;
                    double w;
                    if (!upscale) {
                        if (yy < 0 || yy >= field.rows || xx < 0 || xx >= field.cols)
                            continue;
                        const cv::Vec3s f = field.at<cv::Vec3s>(yy, xx);
                        px = uint16_t(f[0]);
                        py = uint16_t(f[1]);
                        w = similarity[uint16_t(cost.at<short>(yy, xx))];
                    } else {
                        if (yy < 0 || yy >= 2 * field.rows || xx < 0 || xx >= 2 * field.cols)
                            continue;
                        const cv::Vec3s f = field.at<cv::Vec3s>(yy >> 1, xx >> 1);
                        px = 2 * int(uint16_t(f[0])) + (xx & 1);
                        py = 2 * int(uint16_t(f[1])) + (yy & 1);
                        w = similarity[uint16_t(cost.at<short>(yy >> 1, xx >> 1))];
                    }
                    const int vy = py - dy, vx = px - dx;
                    if (vy < 0 || vy >= source.rows || vx < 0 || vx >= source.cols)
                        continue;
                    if (mask.at<cv::Vec3b>(vy, vx)[0] == 255)
                        continue;
                    wsum += w;
                    const cv::Vec3b p = source.at<cv::Vec3b>(vy, vx);
                    for (int c = 0; c < 3; ++c)
                        hist[c][p[c]] += w;
                }
            }
            if (wsum < 1.0)
                continue;
            int voted[3];
            bool liftable[3];
            for (int c = 0; c < 3; ++c) {
                const double lower = 0.3 * wsum, upper = 0.7 * wsum;
                double running = 0, numerator = 0, denominator = 0;
                for (int v = 0; v < 256; ++v) {
                    const double h = hist[c][v];
                    running += h;
                    if (running < lower)
                        continue;
                    denominator += h;
                    numerator += v * h;
                    if (running > upper)
                        break;
                }
                const double quotient = numerator / denominator;
                voted[c] = int(quotient);
                liftable[c] = quotient < std::ceil(quotient) && std::ceil(quotient) - quotient < kLiftTolerance;
            }
            for (int c = 0; c < 3; ++c) {
                if (!voteAll && mask.at<cv::Vec3b>(y, x)[0] != 255) {
                    out.at<cv::Vec3b>(y, x)[c] = source.at<cv::Vec3b>(y, x)[c];
                } else {
                    out.at<cv::Vec3b>(y, x)[c] = uchar(voted[c]);
                    if (lifted && liftable[c])
                        lifted->at<cv::Vec3b>(y, x)[c] = 1;
                }
            }
        }
    }
}

// Whether an engine vote equals the literal reference: every channel the
// same, except that where the reference marked a channel as lifted the
// engine may give one more (see voteImage). Returns the first difference
// that breaks this as "y,x channel c: engine e, reference r", or nothing.
inline std::string voteMismatch(const cv::Mat &engine, const cv::Mat &expected, const cv::Mat &lifted)
{
    for (int y = 0; y < engine.rows; ++y)
        for (int x = 0; x < engine.cols; ++x)
            for (int c = 0; c < 3; ++c) {
                const int e = engine.at<cv::Vec3b>(y, x)[c], r = expected.at<cv::Vec3b>(y, x)[c];
                if (e == r || (lifted.at<cv::Vec3b>(y, x)[c] && e == r + 1))
                    continue;
                return std::to_string(y) + "," + std::to_string(x) + " channel " + std::to_string(c)
                       + ": engine " + std::to_string(e) + ", reference " + std::to_string(r);
            }
    return {};
}

inline void halveImageMasked(cv::Mat &image, const cv::Mat &mask, cv::Mat &halfMask)
{
    const int w[6] = {1, 5, 10, 10, 5, 1};
    cv::Mat half(image.rows / 2, image.cols / 2, CV_8UC3, cv::Scalar::all(0));
    halfMask = cv::Mat(image.rows / 2, image.cols / 2, CV_8UC3, cv::Scalar::all(0));
    for (int y = 0; y < half.rows; ++y) {
        for (int x = 0; x < half.cols; ++x) {
            int total = 0, excluded = 0, weightSum = 0;
            int sums[3] = {0, 0, 0};
            for (int k = 0; k < 6; ++k) {
                for (int j = 0; j < 6; ++j) {
                    const int sy = 2 * y - 2 + k, sx = 2 * x - 2 + j;
                    if (sy < 0 || sy >= image.rows || sx < 0 || sx >= image.cols)
                        continue;
                    ++total;
                    if (mask.at<cv::Vec3b>(sy, sx)[0] == 255) {
                        ++excluded;
                        continue;
                    }
                    const cv::Vec3b p = image.at<cv::Vec3b>(sy, sx);
                    for (int c = 0; c < 3; ++c)
                        sums[c] += p[c] * w[k] * w[j];
                    weightSum += w[k] * w[j];
                }
            }
            if (weightSum > 0)
                for (int c = 0; c < 3; ++c)
                    half.at<cv::Vec3b>(y, x)[c] = uchar(int(sums[c] / double(weightSum) + 0.5));
            halfMask.at<cv::Vec3b>(y, x)[0] = double(excluded) > 0.75 * total ? 255 : 0;
        }
    }
    image = half.clone();
}

} // namespace reference

#endif // MERVANE_TESTS_REFERENCE_H
