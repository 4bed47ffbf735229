#ifndef MATCONVERT_H
#define MATCONVERT_H

#include <QImage>
#include <QPixmap>
#include <opencv2/core.hpp>

// Four channels are wrapped without a copy (BGRA memory is ARGB32 on a
// little-endian machine), so the Mat must outlive the image and must not be
// reallocated while a widget shows it. Three channels are converted to RGB.
QImage matToQImage(const cv::Mat &mat);
QPixmap matToQPixmap(const cv::Mat &mat);

#endif // MATCONVERT_H
