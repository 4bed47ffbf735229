// Checks a screenshot of the running program: the given photo must stand on
// the canvas whole, fitted to it and centred in it.
//
//   e2e_canvas_check <screenshot.png> <photo.png>
//
// The photo is found by template matching over a range of scales (coarse,
// then refined at full size); the canvas is measured from the runs of the
// work-area colour around the photo on its middle row and column.
#include "screenmatch.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

const cv::Vec3b kWorkArea(0x34, 0x2e, 0x30); // BGR of the canvas background

bool isWorkArea(const cv::Vec3b &p)
{
    for (int c = 0; c < 3; ++c)
        if (std::abs(int(p[c]) - int(kWorkArea[c])) > 3)
            return false;
    return true;
}

// The canvas casts a drop shadow to the right and below: there the free
// area is the work-area colour blended with the shadow's grey (63, 63, 63).
bool isShadowedWorkArea(const cv::Vec3b &p)
{
    for (int c = 0; c < 3; ++c) {
        const int lo = std::min(int(kWorkArea[c]), 63) - 3, hi = std::max(int(kWorkArea[c]), 63) + 3;
        if (int(p[c]) < lo || int(p[c]) > hi)
            return false;
    }
    return true;
}

int run(const cv::Mat &shot, cv::Point p, cv::Point step, bool shadowSide)
{
    int n = 0;
    for (p += step; p.x >= 0 && p.y >= 0 && p.x < shot.cols && p.y < shot.rows; p += step, ++n) {
        const cv::Vec3b v = shot.at<cv::Vec3b>(p);
        if (!(shadowSide ? isShadowedWorkArea(v) : isWorkArea(v)))
            break;
    }
    return n;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: e2e_canvas_check screenshot.png photo.png\n");
        return 2;
    }
    const cv::Mat shot = cv::imread(argv[1], cv::IMREAD_COLOR);
    const cv::Mat photo = cv::imread(argv[2], cv::IMREAD_COLOR);
    if (shot.empty() || photo.empty()) {
        std::fprintf(stderr, "cannot read the images\n");
        return 2;
    }

    // Coarse search at 1/8 size over display scales 0.3 to 3.0.
    const PhotoOnScreen match = findPhotoOnScreen(shot, photo, {1.0 / 8.0, 0.3, 3.0, 8, 0.02, 0.002});
    const cv::Rect found = match.box;
    const double score = match.match;
    std::printf("photo found at %d,%d size %dx%d (scale %.3f, match %.3f)\n", found.x, found.y, found.width,
                found.height, double(found.width) / photo.cols, score);
    if (score < 0.9) {
        std::fprintf(stderr, "FAIL: the photo is not on the screen\n");
        return 1;
    }
    const cv::Point mid(found.x + found.width / 2, found.y + found.height / 2);
    const int left = run(shot, cv::Point(found.x, mid.y), cv::Point(-1, 0), false);
    const int right = run(shot, cv::Point(found.br().x - 1, mid.y), cv::Point(1, 0), true);
    const int top = run(shot, cv::Point(mid.x, found.y), cv::Point(0, -1), false);
    const int bottom = run(shot, cv::Point(mid.x, found.br().y - 1), cv::Point(0, 1), true);
    std::printf("free canvas around the photo: left %d right %d top %d bottom %d\n", left, right, top, bottom);
    // Fitted: one axis fills the canvas (rounding leaves at most a pixel or two).
    const bool fitted = std::min(left + right, top + bottom) <= 3;
    // Centred: equal margins on both axes, up to the pixel of an odd split
    // and of the scaled size.
    const bool centred = std::abs(left - right) <= 2 && std::abs(top - bottom) <= 2;
    if (!fitted || !centred) {
        std::fprintf(stderr, "FAIL: fitted %d centred %d\n", fitted, centred);
        return 1;
    }
    std::printf("PASS: photo fitted and centred\n");
    return 0;
}
