#ifndef PIXMAPITEM_H
#define PIXMAPITEM_H

#include <QGraphicsPixmapItem>
#include <QObject>

// The photo as an item of the scene-based canvas: a pixmap item that can take
// part in signals and slots.
class PixmapItem : public QObject, public QGraphicsPixmapItem
{
    Q_OBJECT

public:
    explicit PixmapItem(const QPixmap &pixmap = QPixmap(), QGraphicsItem *parent = nullptr);
};

#endif // PIXMAPITEM_H
