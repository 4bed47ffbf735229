// Sampling stamp: filled with the stamp work. Until then Alt-click and the
// stamp's presses leave the photo untouched.
#include "photoitem.h"

void PhotoItem::recvLeftALTPressPoint(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work.
}

bool PhotoItem::stampPress(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work: until then a press does nothing.
    return false;
}

void PhotoItem::stampMove(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work.
}

void PhotoItem::stampHover(QPointF pos)
{
    Q_UNUSED(pos); // Filled with the stamp work.
}

void PhotoItem::stampRelease()
{
    // Filled with the stamp work.
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
