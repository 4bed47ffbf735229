#include "pixmapitem.h"

PixmapItem::PixmapItem(const QPixmap &pixmap, QGraphicsItem *parent)
    : QObject(nullptr)
    , QGraphicsPixmapItem(pixmap, parent)
{
    setTransformationMode(Qt::SmoothTransformation);
}
