// The erase pyramid: the hole-aware half-size filter, the mask count and the
// stop rules of the build.

#include "mypatchmatch.h"
#include "levelrules.h"

#include <algorithm>

int MyPatchMatch::countMasked(const cv::Mat &mask)
{
    int count = 0;
    for (int y = 0; y < mask.rows; ++y) {
        const uchar *m = mask.ptr<uchar>(y);
        const int cn = mask.channels();
        for (int x = 0; x < mask.cols; ++x)
            count += m[cn * x] > 254;
    }
    return count;
}

void MyPatchMatch::halveImageMasked(cv::Mat &image, const cv::Mat &mask, cv::Mat &halfMask)
{
    // Six-tap binomial weights over a 6 x 6 block; masked pixels give no
    // colour, so the hole never bleeds into the coarser level, and a coarse
    // pixel stays marked only when more than three quarters of the block
    // (inside the image) is marked: the hole erodes level by level.
    static const int w[6] = {1, 5, 10, 10, 5, 1};
    const int R = image.rows, C = image.cols;
    cv::Mat half(R / 2, C / 2, CV_8UC3, cv::Scalar::all(0));
    halfMask = cv::Mat(R / 2, C / 2, CV_8UC3, cv::Scalar::all(0));
    const int rows = half.rows, cols = half.cols;

#pragma omp parallel for schedule(static)
    for (int y = 0; y < rows; ++y) {
        uchar *out = half.ptr<uchar>(y);
        uchar *outMask = halfMask.ptr<uchar>(y);
        const int kLo = engine::halfBlockFirst(y) - (2 * y - 2);
        const int kHi = engine::halfBlockLast(y, R) - (2 * y - 2);
        for (int x = 0; x < cols; ++x) {
            const int jLo = engine::halfBlockFirst(x) - (2 * x - 2);
            const int jHi = engine::halfBlockLast(x, C) - (2 * x - 2);
            int total = 0, excluded = 0, weightSum = 0;
            int sum0 = 0, sum1 = 0, sum2 = 0;
            for (int k = kLo; k <= kHi; ++k) {
                const int sy = 2 * y - 2 + k;
                const uchar *p = image.ptr<uchar>(sy) + 3 * (2 * x - 2);
                const uchar *m = mask.ptr<uchar>(sy) + 3 * (2 * x - 2);
                for (int j = jLo; j <= jHi; ++j) {
                    ++total;
                    if (m[3 * j] == 255) {
                        ++excluded;
                        continue;
                    }
                    const int wt = w[k] * w[j];
                    sum0 += p[3 * j] * wt;
                    sum1 += p[3 * j + 1] * wt;
                    sum2 += p[3 * j + 2] * wt;
                    weightSum += wt;
                }
            }
            if (weightSum > 0) {
                out[3 * x] = uchar(int(sum0 / double(weightSum) + 0.5));
                out[3 * x + 1] = uchar(int(sum1 / double(weightSum) + 0.5));
                out[3 * x + 2] = uchar(int(sum2 / double(weightSum) + 0.5));
            }
            outMask[3 * x] = engine::halfSizeMarked(excluded, total) ? 255 : 0;
        }
    }
    image = half;
}

void MyPatchMatch::buildErasePyramid(cv::Mat &workingImage, cv::Mat *levelImages,
                                     cv::Mat *levelMasks, cv::Mat *levelDonors, int &levels)
{
    // The count test comes before each halving, so the stack ends one level
    // past the last level that still held a marked pixel.
    levels = 0;
    if (engine::pyramidSizeStop(workingImage.rows, workingImage.cols))
        return;
    for (int l = 0;; ++l) {
        if (countMasked(levelMasks[l]) == 0)
            return;
        if (levelDonors && countMasked(levelDonors[l]) == 0)
            return;
        ++levels;
        // halveImageMasked reads its picture and replaces it by a new one,
        // never writing into it, so the level pictures share buffers.
        cv::Mat scratch;
        if (levelDonors)
            scratch = workingImage;
        halveImageMasked(workingImage, levelMasks[l], levelMasks[l + 1]);
        if (levelDonors)
            halveImageMasked(scratch, levelDonors[l], levelDonors[l + 1]);
        levelImages[l + 1] = workingImage;
        if (engine::pyramidSizeStop(workingImage.rows, workingImage.cols))
            return;
        if (levels == kLevelSlots)
            return;
    }
}
