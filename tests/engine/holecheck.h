#ifndef MERVANE_TESTS_HOLECHECK_H
#define MERVANE_TESTS_HOLECHECK_H

// Whether an erase filled its hole, for tests that build their photos with
// no dark pixel: every channel at least kFloor. Colours the engine builds
// from such pixels (half-size means, votes, bilinear steps) stay at or above
// kFloor, so a hole pixel with a channel under it after the job carries the
// engine's black placeholder, whole or blended.

#include "levelrules.h"

#include <opencv2/core.hpp>

namespace holecheck {

constexpr int kFloor = 20;

// The pixels the engine is asked to fill: the red selection as the job
// driver stamps it (CV_8UC1, 1 = hole).
inline cv::Mat holeOf(const cv::Mat &red)
{
    cv::Mat hole(red.size(), CV_8UC1, cv::Scalar(0));
    engine::stampSelectionMap(red, 2, engine::kStampRadius, hole.data);
    return hole;
}

// Hole pixels of `image` with any channel under kFloor.
inline int darkPixels(const cv::Mat &image, const cv::Mat &hole)
{
    int dark = 0;
    for (int y = 0; y < image.rows; ++y)
        for (int x = 0; x < image.cols; ++x) {
            if (!hole.at<uchar>(y, x))
                continue;
            const cv::Vec3b p = image.at<cv::Vec3b>(y, x);
            dark += p[0] < kFloor || p[1] < kFloor || p[2] < kFloor;
        }
    return dark;
}

} // namespace holecheck

#endif // MERVANE_TESTS_HOLECHECK_H
