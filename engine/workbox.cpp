#include "workbox.h"

#include <algorithm>

namespace {

// Truncation toward zero, as a C cast does, kept in range so that a wild
// double never overflows the int conversion.
int truncated(double v)
{
    if (!(v > -2.0e9))
        return -2000000000;
    if (v > 2.0e9)
        return 2000000000;
    return static_cast<int>(v);
}

// The minimum-size rule for one axis. The right (bottom) edge is computed
// from the already moved left (top) edge: keep this order.
void growToMinimum(double &lo, double &hi, int limit)
{
    const double kMinimumCrop = 700.0;
    if (hi - lo < kMinimumCrop) {
        lo = std::max(0, truncated(lo - (kMinimumCrop - (hi - lo)) * 0.5));
        hi = std::min(limit, truncated((kMinimumCrop - (hi - lo)) * 0.5 + hi));
    }
}

} // namespace

WorkBox enlargeWorkBox(const WorkBox &box, int cols, int rows)
{
    cols = std::max(cols, 0);
    rows = std::max(rows, 0);
    WorkBox out;

    // Proportional margin in x (the right edge uses the new left edge),
    // a flat 20 pixels in y.
    out.minX = std::max(0, truncated(box.minX - (box.maxX - box.minX) * 1.1));
    out.minY = std::max(0, truncated(box.minY - 20.0));
    out.maxX = std::min(cols, truncated(box.maxX + (box.maxX - out.minX) * 1.1));
    out.maxY = std::min(rows, truncated(box.maxY + 20.0));

    growToMinimum(out.minX, out.maxX, cols);
    growToMinimum(out.minY, out.maxY, rows);

    out.minX = std::clamp(out.minX, 0.0, double(cols));
    out.minY = std::clamp(out.minY, 0.0, double(rows));
    out.maxX = std::clamp(out.maxX, 0.0, double(cols));
    out.maxY = std::clamp(out.maxY, 0.0, double(rows));
    return out;
}

cv::Rect enlargedCrop(const cv::Rect &painted, cv::Size size)
{
    WorkBox box;
    box.minX = painted.x;
    box.minY = painted.y;
    box.maxX = painted.x + painted.width;
    box.maxY = painted.y + painted.height;
    box = enlargeWorkBox(box, size.width, size.height);
    return cv::Rect(cv::Point(int(box.minX), int(box.minY)), cv::Point(int(box.maxX), int(box.maxY)));
}
