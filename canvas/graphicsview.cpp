#include "graphicsview.h"

#include "globals.h"
#include "pixmapitem.h"
#include "resourceinit.h"

#include <QGraphicsScene>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QWheelEvent>

namespace {

// Pixmap cursors have their hot spot at the centre.
QCursor pixmapCursor(const QPixmap &pixmap)
{
    return QCursor(pixmap, -1, -1);
}

QPixmap scaledTo(const QString &file, int size)
{
    QPixmap pixmap(file);
    if (pixmap.isNull() || size <= 0)
        return pixmap;
    return pixmap.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

GraphicsView::GraphicsView(QWidget *parent)
    : QGraphicsView(parent)
    , m_scene(new QGraphicsScene(this))
{
    initResources();
    setScene(m_scene);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
}

void GraphicsView::setPixmap(const QPixmap &pixmap)
{
    if (!m_pixmapItem) {
        m_pixmapItem = new PixmapItem(pixmap);
        m_scene->addItem(m_pixmapItem);
    } else {
        m_pixmapItem->setPixmap(pixmap);
    }
    m_pixmapWidth = pixmap.width();
    m_pixmapHeight = pixmap.height();
    m_scene->setSceneRect(0, 0, m_pixmapWidth, m_pixmapHeight);
}

void GraphicsView::setScale(double scale)
{
    if (scale <= 0.0)
        return;
    m_scale = scale;
    setTransform(QTransform::fromScale(scale, scale));
}

bool GraphicsView::imagePoint(const QPointF &viewPos, QPointF *point) const
{
    if (!m_pixmapItem)
        return false;
    const QPointF scenePos = mapToScene(viewPos.toPoint());
    // Both ends count: a point on the right or bottom edge is still the image's.
    const int x = int(scenePos.x());
    const int y = int(scenePos.y());
    if (x < 0 || y < 0 || x > m_pixmapWidth || y > m_pixmapHeight)
        return false;
    *point = scenePos;
    return true;
}

void GraphicsView::setBrushCursor(const QString &file, int size)
{
    setCursor(pixmapCursor(scaledTo(file, size)));
}

void GraphicsView::mousePressEvent(QMouseEvent *event)
{
    QGraphicsView::mousePressEvent(event);
    if (dragMode() == QGraphicsView::ScrollHandDrag)
        return;
    if (m_tool == Tool::PieceDrag)
        setCursor(Qt::ClosedHandCursor);
    QPointF pos;
    if (!imagePoint(event->localPos(), &pos))
        return;
    if (m_tool == Tool::Stamp && QGuiApplication::keyboardModifiers() == Qt::AltModifier) {
        setCursor(pixmapCursor(QPixmap(QStringLiteral(":/image/target.png"))));
        emit sendLeftALTPressPoint(pos);
        return;
    }
    emit sendLeftPressPoint(pos);
}

void GraphicsView::mouseMoveEvent(QMouseEvent *event)
{
    QGraphicsView::mouseMoveEvent(event);
    if (dragMode() == QGraphicsView::ScrollHandDrag)
        return;
    QPointF pos;
    if (!imagePoint(event->localPos(), &pos))
        return;
    if (event->buttons() & Qt::LeftButton)
        emit sendLeftMovePoint(pos);
    emit sendLeftMoveNoPoint(pos);
}

void GraphicsView::mouseReleaseEvent(QMouseEvent *event)
{
    QGraphicsView::mouseReleaseEvent(event);
    if (dragMode() == QGraphicsView::ScrollHandDrag)
        return;
    if (m_tool == Tool::PieceDrag)
        setCursor(Qt::OpenHandCursor);
    else if (m_tool == Tool::Stamp)
        setBrushCursor(QStringLiteral(":/image/mouseblack2.png"), int(m_brushSize * m_scale * g_uiScale));
    QPointF pos;
    if (!imagePoint(event->localPos(), &pos))
        return;
    emit sendReleasePoint(pos);
}

void GraphicsView::wheelEvent(QWheelEvent *event)
{
    const int delta = event->angleDelta().y();
    if (int(delta / 8) != 0)
        emit getScale(int(delta / 120) * 20);
    if (event->modifiers() & Qt::ControlModifier) {
        event->accept();
        return;
    }
    QGraphicsView::wheelEvent(event);
}

void GraphicsView::recvSelectType(int type, int size, int colorType)
{
    m_tool = toolFromCode(type);
    m_brushSize = size;
    m_colorType = colourFromCode(colorType);
    const int pixels = int(size * g_uiScale);
    switch (m_tool) {
    case Tool::Brush:
        if (m_colorType == Colour::Mask)
            setBrushCursor(QStringLiteral(":/image/mousered.png"), pixels);
        else if (m_colorType == Colour::Donor)
            setBrushCursor(QStringLiteral(":/image/mousegreen.png"), pixels);
        break;
    case Tool::FixSelection:
        setBrushCursor(QStringLiteral(":/image/mouseblack.png"), pixels);
        break;
    case Tool::Stamp:
        setBrushCursor(QStringLiteral(":/image/mouseblack2.png"), pixels);
        break;
    case Tool::Rectangle:
        setCursor(pixmapCursor(QPixmap(QStringLiteral(":/image/shiji7.png"))));
        break;
    case Tool::Lasso:
    case Tool::StampRegionLasso:
        setCursor(pixmapCursor(QPixmap(QStringLiteral(":/image/lasso3.png"))));
        break;
    case Tool::Polygon:
    case Tool::StampRegionPolygon:
        setCursor(pixmapCursor(QPixmap(QStringLiteral(":/image/floy.png"))));
        break;
    case Tool::PieceDrag:
    case Tool::MoveView:
    case Tool::SmartClone:
        setCursor(Qt::OpenHandCursor);
        break;
    default:
        break;
    }
}
