// Helper of the end-to-end erase test: finds things on screenshots of the
// running program, and judges the file it saved against the original.
//
//   e2e_erase_check locate <shot.png> <photo>
//       Prints "x y scale" of the photo as shown on the screen (top-left
//       corner in screen pixels, display scale). Exit 1 if not found.
//   e2e_erase_check button <shot.png>
//       Prints "x y w h": centre and size of the largest accent-coloured
//       area, the Erase button. Exit 1 if none.
//   e2e_erase_check painted <before.png> <after.png> <x> <y> <radius>
//       Exit 0 if the screen around the point took the red selection tint.
//   e2e_erase_check compare <original> <saved> <x0> <y0> <x1> <y1> <brush> <scale> <core>
//       The stroke went from (x0, y0) to (x1, y1) in image pixels with a
//       brush of <brush> screen pixels at display scale <scale>. Checks that
//       the saved photo has the original's size, that no pixel outside the
//       largest work box the stroke can give differs from the original, that
//       nothing beyond the brush's reach from the stroke changed, and that
//       inside the stroke's core (within <core> image pixels of the stroke)
//       the photo changed and the object is gone (much darker).
#include "screenmatch.h"
#include "workbox.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int locate(const char *shotPath, const char *photoPath)
{
    const cv::Mat shot = cv::imread(shotPath, cv::IMREAD_COLOR);
    const cv::Mat photo = cv::imread(photoPath, cv::IMREAD_COLOR);
    if (shot.empty() || photo.empty())
        return 2;
    // Coarse search at a quarter size over display scales 0.2 to 2.0.
    const PhotoOnScreen found = findPhotoOnScreen(shot, photo, {0.25, 0.2, 2.0, 16, 0.015, 0.001});
    const double fine = found.match, fineScale = found.scale;
    const cv::Point at = found.box.tl();
    if (fine < 0.8) {
        std::fprintf(stderr, "photo not found on the screen (best match %.3f)\n", fine);
        return 1;
    }
    std::printf("%d %d %.5f\n", at.x, at.y, fineScale);
    return 0;
}

int button(const char *shotPath)
{
    const cv::Mat shot = cv::imread(shotPath, cv::IMREAD_COLOR);
    if (shot.empty())
        return 2;
    // The accent colour, #f09c0b, and the lighter top of the button's face.
    cv::Mat accent;
    cv::inRange(shot, cv::Scalar(0, 120, 200), cv::Scalar(80, 200, 255), accent);
    cv::Mat labels, stats, centroids;
    const int n = cv::connectedComponentsWithStats(accent, labels, stats, centroids);
    // A solid face of button proportions: the selected row of the photo list
    // also wears the accent, as a thin frame around its thumbnail.
    int bestLabel = -1, bestArea = 2000;
    for (int i = 1; i < n; ++i) {
        const int area = stats.at<int>(i, cv::CC_STAT_AREA);
        const int w = stats.at<int>(i, cv::CC_STAT_WIDTH), h = stats.at<int>(i, cv::CC_STAT_HEIGHT);
        const bool buttonLike = w >= 90 && w <= 400 && h >= 40 && h <= 150 && area > 0.6 * w * h;
        if (buttonLike && area > bestArea) {
            bestArea = area;
            bestLabel = i;
        }
    }
    if (bestLabel < 0) {
        std::fprintf(stderr, "no accent-coloured button on the screen\n");
        return 1;
    }
    const int x = stats.at<int>(bestLabel, cv::CC_STAT_LEFT) + stats.at<int>(bestLabel, cv::CC_STAT_WIDTH) / 2;
    const int y = stats.at<int>(bestLabel, cv::CC_STAT_TOP) + stats.at<int>(bestLabel, cv::CC_STAT_HEIGHT) / 2;
    std::printf("%d %d %d %d\n", x, y, stats.at<int>(bestLabel, cv::CC_STAT_WIDTH),
                stats.at<int>(bestLabel, cv::CC_STAT_HEIGHT));
    return 0;
}

int painted(const char *beforePath, const char *afterPath, int x, int y, int radius)
{
    const cv::Mat before = cv::imread(beforePath, cv::IMREAD_COLOR);
    const cv::Mat after = cv::imread(afterPath, cv::IMREAD_COLOR);
    if (before.empty() || after.size() != before.size())
        return 2;
    // The half-transparent red tint raises the red channel where it lies.
    int inDisk = 0, tinted = 0;
    for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
            const int px = x + dx, py = y + dy;
            if (dx * dx + dy * dy > radius * radius || px < 0 || py < 0 || px >= before.cols || py >= before.rows)
                continue;
            ++inDisk;
            const cv::Vec3b b = before.at<cv::Vec3b>(py, px), a = after.at<cv::Vec3b>(py, px);
            tinted += (int(a[2]) - int(b[2]) > 30 && int(a[0]) <= int(b[0]) + 5) ? 1 : 0;
        }
    }
    std::printf("red tint on %d of %d screen pixels around %d,%d\n", tinted, inDisk, x, y);
    return inDisk > 0 && tinted >= inDisk / 3 ? 0 : 1;
}

// The work box of a stroke through the given points, as the photo keeps it
// (at the points, with one brush of margin on the right only), grown for the
// engine.
WorkBox workBoxOf(double x0, double y0, double x1, double y1, double r, int cols, int rows)
{
    WorkBox box;
    box.minX = std::min(x0, x1);
    box.minY = std::min(y0, y1);
    box.maxX = std::max(x0, x1) + r;
    box.maxY = std::max(y0, y1);
    return enlargeWorkBox(box, cols, rows);
}

int compare(char **argv)
{
    const cv::Mat original = cv::imread(argv[0], cv::IMREAD_COLOR);
    const cv::Mat saved = cv::imread(argv[1], cv::IMREAD_COLOR);
    if (original.empty() || saved.empty()) {
        std::fprintf(stderr, "cannot read %s or %s\n", argv[0], argv[1]);
        return 2;
    }
    if (original.size() != saved.size()) {
        std::fprintf(stderr, "saved size %dx%d differs from %dx%d\n", saved.cols, saved.rows, original.cols,
                     original.rows);
        return 1;
    }
    const double x0 = std::atof(argv[2]), y0 = std::atof(argv[3]);
    const double x1 = std::atof(argv[4]), y1 = std::atof(argv[5]);
    const double brush = std::atof(argv[6]), scale = std::atof(argv[7]), core = std::atof(argv[8]);
    const double r = brush / scale;

    // The points the program received may lie a screen pixel or two off the
    // intended ones: take the union of the work boxes of every such stroke.
    const double t = 2.0 / scale + 1.0;
    cv::Rect outer;
    bool first = true;
    for (int i = 0; i < 16; ++i) {
        const double dx0 = (i & 1) ? t : -t, dy0 = (i & 2) ? t : -t;
        const double dx1 = (i & 4) ? t : -t, dy1 = (i & 8) ? t : -t;
        const WorkBox b = workBoxOf(x0 + dx0, y0 + dy0, x1 + dx1, y1 + dy1, r, original.cols, original.rows);
        const cv::Rect rect(cv::Point(int(std::floor(b.minX)), int(std::floor(b.minY))),
                            cv::Point(int(std::ceil(b.maxX)), int(std::ceil(b.maxY))));
        outer = first ? rect : (outer | rect);
        first = false;
    }
    outer &= cv::Rect(0, 0, original.cols, original.rows);

    cv::Mat diff;
    cv::absdiff(original, saved, diff);
    cv::Mat changed;
    cv::cvtColor(diff, changed, cv::COLOR_BGR2GRAY);
    cv::Mat any = cv::Mat::zeros(original.size(), CV_8UC1);
    for (int y = 0; y < diff.rows; ++y) {
        const cv::Vec3b *d = diff.ptr<cv::Vec3b>(y);
        uchar *a = any.ptr<uchar>(y);
        for (int x = 0; x < diff.cols; ++x)
            a[x] = (d[x][0] | d[x][1] | d[x][2]) ? 255 : 0;
    }
    cv::Mat outside = any.clone();
    outside(outer).setTo(0);
    const int changedOutside = cv::countNonZero(outside);
    const int changedInside = cv::countNonZero(any(outer));
    std::printf("work box bound %d,%d %dx%d; changed pixels inside %d, outside %d\n", outer.x, outer.y,
                outer.width, outer.height, changedInside, changedOutside);
    int failures = 0;
    if (changedOutside != 0) {
        const cv::Rect where = cv::boundingRect(outside);
        std::fprintf(stderr, "FAIL: %d pixels changed outside the work box, within %d,%d %dx%d\n", changedOutside,
                     where.x, where.y, where.width, where.height);
        ++failures;
    }
    if (cv::countNonZero(any) > 0 && (outer.width >= original.cols && outer.height >= original.rows))
        std::fprintf(stderr, "note: the work box covers the whole photo\n");

    // Only what was painted may change: nothing farther from the stroke than
    // the brush's reach (half its thickness, or the radius of its dab) plus
    // the pointer tolerance.
    const double halfThickness = std::floor(brush / scale) / 2.0;
    const double dabRadius = std::floor(std::floor(brush / 2) / scale);
    const double reach = std::max(halfThickness, dabRadius) + t + 1.0;
    cv::Mat band = cv::Mat::zeros(original.size(), CV_8UC1);
    cv::line(band, cv::Point(int(x0), int(y0)), cv::Point(int(x1), int(y1)), cv::Scalar(255),
             std::max(1, int(2 * reach)));
    cv::circle(band, cv::Point(int(x0), int(y0)), int(reach), cv::Scalar(255), -1);
    cv::circle(band, cv::Point(int(x1), int(y1)), int(reach), cv::Scalar(255), -1);
    const int changedUnpainted = cv::countNonZero(any & ~band);
    if (changedUnpainted != 0) {
        const cv::Rect where = cv::boundingRect(any & ~band);
        std::fprintf(stderr, "FAIL: %d pixels changed beyond the painted stroke, within %d,%d %dx%d\n",
                     changedUnpainted, where.x, where.y, where.width, where.height);
        ++failures;
    }

    // The core of the stroke: within `core` image pixels of the segment.
    cv::Mat coreMask = cv::Mat::zeros(original.size(), CV_8UC1);
    cv::line(coreMask, cv::Point(int(x0), int(y0)), cv::Point(int(x1), int(y1)), cv::Scalar(255),
             std::max(1, int(2 * core)));
    const int corePixels = cv::countNonZero(coreMask);
    const int coreChanged = cv::countNonZero(any & coreMask);
    const double meanDiff = cv::mean(changed, coreMask)[0];
    cv::Mat greyBefore, greyAfter;
    cv::cvtColor(original, greyBefore, cv::COLOR_BGR2GRAY);
    cv::cvtColor(saved, greyAfter, cv::COLOR_BGR2GRAY);
    const double before = cv::mean(greyBefore, coreMask)[0], after = cv::mean(greyAfter, coreMask)[0];
    std::printf("stroke core: %d of %d pixels changed, mean difference %.1f, brightness %.1f -> %.1f\n",
                coreChanged, corePixels, meanDiff, before, after);
    if (corePixels == 0 || coreChanged < 0.6 * corePixels) {
        std::fprintf(stderr, "FAIL: the painted object did not change\n");
        ++failures;
    }
    if (meanDiff < 20.0) {
        std::fprintf(stderr, "FAIL: the change in the painted area is too small to be an erase\n");
        ++failures;
    }
    if (!(after < 0.6 * before)) {
        std::fprintf(stderr, "FAIL: the bright object is still there\n");
        ++failures;
    }
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && !std::strcmp(argv[1], "locate"))
        return locate(argv[2], argv[3]);
    if (argc == 3 && !std::strcmp(argv[1], "button"))
        return button(argv[2]);
    if (argc == 7 && !std::strcmp(argv[1], "painted"))
        return painted(argv[2], argv[3], std::atoi(argv[4]), std::atoi(argv[5]), std::atoi(argv[6]));
    if (argc == 11 && !std::strcmp(argv[1], "compare"))
        return compare(argv + 2);
    std::fprintf(stderr, "usage: see the head of e2e_erase_check.cpp\n");
    return 2;
}
