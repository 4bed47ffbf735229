// Sampling stamp: filled with the stamp work. Until then Alt-click and the
// stamp dabs leave the photo untouched.
#include "photoitem.h"

void PhotoItem::recvLeftALTPressPoint(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work.
}

void PhotoItem::stampPaint(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work.
}

cv::Mat PhotoItem::stampPreview(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work.
    return cv::Mat();
}
