#ifndef MERVANE_TESTS_REFERENCE_H
#define MERVANE_TESTS_REFERENCE_H

// Plain, single-threaded versions of the engine's kernels, written straight
// from their rules with at<>() and no shortcuts. The production kernels must
// give exactly the same output.

#include <opencv2/core.hpp>

#include <cmath>
#include <cstdint>

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

inline void voteImage(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                      const cv::Mat &mask, bool upscale, const cv::Mat &cost, int patchRadius,
                      const double *similarity, bool voteAll)
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
                voted[c] = int(numerator / denominator + 1e-9);
            }
            for (int c = 0; c < 3; ++c) {
                if (!voteAll && mask.at<cv::Vec3b>(y, x)[0] != 255)
                    out.at<cv::Vec3b>(y, x)[c] = source.at<cv::Vec3b>(y, x)[c];
                else
                    out.at<cv::Vec3b>(y, x)[c] = uchar(voted[c]);
            }
        }
    }
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
