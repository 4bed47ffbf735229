#ifndef MERVANE_ERASETEST_H
#define MERVANE_ERASETEST_H

// Helpers shared by the erase suites: real photographs, pixel comparisons,
// and waiting for a job on the real worker thread.
#include <QFile>
#include <QSignalSpy>
#include <QString>
#include <QtTest>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "testphotos.h"

// Generous for a loaded 2-core machine; a job on these photos takes well
// under a second when the machine is idle.
constexpr int kJobTimeoutMs = 60000;

inline bool samePixels(const cv::Mat &a, const cv::Mat &b)
{
    if (a.size() != b.size() || a.type() != b.type())
        return false;
    if (a.empty())
        return true;
    return cv::norm(a, b, cv::NORM_INF) == 0.0;
}

// 255 where any channel differs.
inline cv::Mat changedPixels(const cv::Mat &a, const cv::Mat &b)
{
    cv::Mat diff;
    cv::absdiff(a, b, diff);
    cv::Mat single;
    cv::transform(diff, single, cv::Matx13f(1, 1, 1));
    return single > 0;
}

// Number of changed pixels outside `keep` (a rectangle of the image).
inline int changedOutside(const cv::Mat &a, const cv::Mat &b, const cv::Rect &keep)
{
    cv::Mat changed = changedPixels(a, b);
    changed(keep & cv::Rect(0, 0, changed.cols, changed.rows)).setTo(0);
    return cv::countNonZero(changed);
}

// Share of the pixels under `mask` (CV_8UC1, 255 marked) that changed.
inline double changedShare(const cv::Mat &a, const cv::Mat &b, const cv::Mat &mask)
{
    const int marked = cv::countNonZero(mask);
    if (marked == 0)
        return 0.0;
    cv::Mat changed = changedPixels(a, b) & mask;
    return double(cv::countNonZero(changed)) / marked;
}

// Red channel of a selection layer as a CV_8UC1 mask.
inline cv::Mat redOf(const cv::Mat &layer)
{
    cv::Mat red;
    cv::extractChannel(layer, red, 2);
    return red > 0;
}

#endif // MERVANE_ERASETEST_H
