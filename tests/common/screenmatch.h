#ifndef MERVANE_SCREENMATCH_H
#define MERVANE_SCREENMATCH_H

// Finds a photo on a screenshot of the running program, for the end-to-end
// checkers: template matching over a range of display scales on a shrunken
// shot first, then refined at full size around the best scale.

#include <opencv2/imgproc.hpp>

#include <cmath>

struct PhotoSearch
{
    double shrink;    // size of the coarse pass's shot
    double minScale;  // display scales tried by the coarse pass, step 0.01
    double maxScale;
    int minSide;      // smallest template side worth matching
    double radius;    // the fine pass tries the best scale +- radius ...
    double fineStep;  // ... in these steps
};

struct PhotoOnScreen
{
    cv::Rect box;        // the photo as shown, in screen pixels
    double scale = 0.0;  // its display scale
    double match = -2.0; // normalised correlation of the best fit
};

namespace screenmatch_detail {
// Best normalised correlation of the photo shrunk to the given size.
inline double bestMatch(const cv::Mat &shot, const cv::Mat &photo, cv::Size size, cv::Point *at)
{
    cv::Mat t, r;
    cv::resize(photo, t, size, 0, 0, cv::INTER_AREA);
    cv::matchTemplate(shot, t, r, cv::TM_CCOEFF_NORMED);
    double mx;
    cv::minMaxLoc(r, nullptr, &mx, nullptr, at);
    return mx;
}
} // namespace screenmatch_detail

inline PhotoOnScreen findPhotoOnScreen(const cv::Mat &shot, const cv::Mat &photo, const PhotoSearch &p)
{
    using screenmatch_detail::bestMatch;
    cv::Mat small;
    cv::resize(shot, small, cv::Size(), p.shrink, p.shrink, cv::INTER_AREA);
    double best = -2, bestScale = 0;
    cv::Point at;
    for (double s = p.minScale; s <= p.maxScale; s += 0.01) {
        const int w = int(photo.cols * s * p.shrink), h = int(photo.rows * s * p.shrink);
        if (w < p.minSide || h < p.minSide || w > small.cols || h > small.rows)
            continue;
        const double m = bestMatch(small, photo, cv::Size(w, h), &at);
        if (m > best) {
            best = m;
            bestScale = s;
        }
    }
    PhotoOnScreen found;
    for (double s = bestScale - p.radius; s <= bestScale + p.radius; s += p.fineStep) {
        const int w = int(std::lround(photo.cols * s)), h = int(std::lround(photo.rows * s));
        if (w < p.minSide || h < p.minSide || w > shot.cols || h > shot.rows)
            continue;
        const double m = bestMatch(shot, photo, cv::Size(w, h), &at);
        if (m > found.match) {
            found.match = m;
            found.scale = s;
            found.box = cv::Rect(at, cv::Size(w, h));
        }
    }
    return found;
}

#endif // MERVANE_SCREENMATCH_H
