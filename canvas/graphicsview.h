#ifndef GRAPHICSVIEW_H
#define GRAPHICSVIEW_H

#include <QGraphicsView>
#include <QPointF>

#include "tools.h"

class PixmapItem;
class QGraphicsScene;

// A second canvas on the toolkit's scene classes. It speaks the same pointer
// signals as the widget canvas (points in image coordinates, only inside the
// pixmap) and takes the same tool state through recvSelectType.
class GraphicsView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit GraphicsView(QWidget *parent = nullptr);

    // Shows `pixmap` as the one item of the scene.
    void setPixmap(const QPixmap &pixmap);
    PixmapItem *pixmapItem() const { return m_pixmapItem; }
    void setScale(double scale);
    double scale() const { return m_scale; }
    Tool tool() const { return m_tool; }
    int brushSize() const { return m_brushSize; }
    Colour colorType() const { return m_colorType; }

signals:
    void sendLeftPressPoint(QPointF pos);
    void sendLeftMovePoint(QPointF pos);
    void sendLeftMoveNoPoint(QPointF pos);
    void sendReleasePoint(QPointF pos);
    void sendLeftALTPressPoint(QPointF pos);
    void getScale(int value);

public slots:
    void recvSelectType(int type, int size, int colorType);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    // The scene point under a view position, or false if it lies outside the pixmap.
    bool imagePoint(const QPointF &viewPos, QPointF *point) const;
    void setBrushCursor(const QString &file, int size);

    QGraphicsScene *m_scene = nullptr;
    PixmapItem *m_pixmapItem = nullptr;
    int m_pixmapWidth = 0;
    int m_pixmapHeight = 0;
    Tool m_tool = Tool::None;
    Colour m_colorType = Colour::Mask;
    int m_brushSize = 27;
    double m_scale = 1.0;
};

#endif // GRAPHICSVIEW_H
