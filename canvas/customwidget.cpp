#include "customwidget.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

CustomWidget::CustomWidget(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_MouseTracking);
    setMouseTracking(true);
    applyToolCursor(); // no tool yet: the red brush at the start size
}

// ---------------------------------------------------------------- content

void CustomWidget::setImage(QImage image, QWidget *source)
{
    paintMode = 0;
    m_geometrySource = source;
    m_overlayImage = image;
    m_layerSize = image.size();
    updateScaledSize();
    update();
}

void CustomWidget::showEmptyLayer(int cols, int rows)
{
    paintMode = 0;
    m_geometrySource = this;
    m_overlayImage = QImage();
    m_pixmap = QPixmap();
    m_layerSize = QSize(std::max(cols, 0), std::max(rows, 0));
    updateScaledSize();
    update();
}

void CustomWidget::setPixmap(QPixmap pixmap, QWidget *source)
{
    paintMode = 0;
    m_geometrySource = source;
    m_overlayImage = QImage();
    m_layerSize = QSize();
    m_pixmap = pixmap;
    updateScaledSize();
    update();
}

void CustomWidget::setImageFile(QString path, QWidget *source)
{
    paintMode = 0;
    m_geometrySource = source;
    m_pixmap = QPixmap();
    // A file that has gone loads as a null image: the widget then shows nothing.
    m_overlayImage = QImage(path);
    m_layerSize = m_overlayImage.size();
    updateScaledSize();
    update();
}

// Brings the pixmap in step with the photo inside one rectangle, instead of
// converting the whole photo on every dab. What the widget shows is the same
// as after a full conversion: the same colours, written with the source
// composition, pixel for pixel. When the widget does not show this photo's
// pixmap (before-and-after shows the file), it asks for the whole photo.
bool CustomWidget::paintPhotoPatch(int x, int y, const QImage &patch, QSize photoSize)
{
    if (!m_overlayImage.isNull() || m_pixmap.size() != photoSize)
        return false;
    if (patch.isNull())
        return true;
    // Let go of the widget's reference for the moment, so that painting into
    // the pixmap does not detach a full copy of it.
    QPixmap pixmap = m_pixmap;
    setPixmap(QPixmap(), this);
    {
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(x, y, patch);
    }
    setPixmap(pixmap, this);
    return true;
}

void CustomWidget::setStampPreview(int sourceX, int sourceY, int x, int y, QImage image)
{
    paintMode = 1;
    m_sourceMark[0] = sourceX;
    m_sourceMark[1] = sourceY;
    m_pieceOrigin[0] = x;
    m_pieceOrigin[1] = y;
    m_stampImage = image;
    update();
}

void CustomWidget::setPieceImage(int x, int y, QImage image)
{
    paintMode = 2;
    m_pieceOrigin[0] = x;
    m_pieceOrigin[1] = y;
    m_pieceImage = image;
    update();
}

void CustomWidget::setScale(double scale)
{
    m_scale = scale;
    updateScaledSize();
    update();
}

void CustomWidget::setScroll(double x, double y)
{
    m_scrollX = int(x);
    m_scrollY = int(y);
    update();
}

void CustomWidget::updateScaledSize()
{
    if (!m_overlayImage.isNull()) {
        m_scaledWidth = int(m_overlayImage.width() * m_scale);
        m_scaledHeight = int(m_overlayImage.height() * m_scale);
    } else if (!m_pixmap.isNull()) {
        m_scaledWidth = int(m_pixmap.width() * m_scale);
        m_scaledHeight = int(m_pixmap.height() * m_scale);
    } else if (!m_layerSize.isEmpty()) {
        m_scaledWidth = int(m_layerSize.width() * m_scale);
        m_scaledHeight = int(m_layerSize.height() * m_scale);
    }
}

// ---------------------------------------------------------------- layout

void CustomWidget::computeLayout()
{
    const QWidget *source = m_geometrySource ? m_geometrySource : this;
    m_viewWidth = source->width();
    m_viewHeight = source->height();
    if (m_scrollX < 0)
        m_scrollX = 0;
    if (m_scrollY < 0)
        m_scrollY = 0;
    if (m_scaledWidth < m_viewWidth) {
        m_drawWidth = m_scaledWidth;
        m_offsetLeft = (m_viewWidth - m_scaledWidth) >> 1;
    } else {
        m_drawWidth = m_viewWidth;
        m_offsetLeft = 0;
    }
    if (m_scaledHeight < m_viewHeight) {
        m_drawHeight = m_scaledHeight;
        m_offsetTop = (m_viewHeight - m_scaledHeight) >> 1;
    } else {
        m_drawHeight = m_viewHeight;
        m_offsetTop = 0;
    }
}

bool CustomWidget::mapToImage(const QPointF &widgetPos, QPointF *imagePos)
{
    // The margins follow the widget's present size and scroll, as the next
    // paint will draw them.
    computeLayout();
    if (m_scale <= 0.0)
        return false;
    const QPoint p = widgetPos.toPoint();
    const double x = (p.x() - m_offsetLeft + m_scrollX) / m_scale;
    const double y = (p.y() - m_offsetTop + m_scrollY) / m_scale;
    // Both ends included: a point on the far edge still counts.
    if (int(x) < 0 || int(x) > m_layerSize.width() || int(y) < 0 || int(y) > m_layerSize.height())
        return false;
    *imagePos = QPointF(x, y);
    return true;
}

// ---------------------------------------------------------------- painting

void CustomWidget::paintEvent(QPaintEvent *)
{
    computeLayout();
    if (m_overlayImage.isNull() && m_pixmap.isNull())
        return;
    m_painter.begin(this);
    if (paintMode == 1) {
        paintStampPreview();
    } else if (paintMode == 2) {
        paintPiece();
    } else {
        const QRectF target(m_offsetLeft, m_offsetTop, m_drawWidth, m_drawHeight);
        const QRectF source(m_scrollX / m_scale, m_scrollY / m_scale,
                            m_drawWidth / m_scale, m_drawHeight / m_scale);
        if (!m_overlayImage.isNull())
            m_painter.drawImage(target, m_overlayImage, source);
        else
            m_painter.drawPixmap(target, m_pixmap, source);
    }
    m_painter.end();
}

void CustomWidget::paintStampPreview()
{
    if (m_stampImage.isNull())
        return;
    const int w = int(m_stampImage.width() * m_scale);
    const int h = int(m_stampImage.height() * m_scale);
    if (w > 0 && h > 0) {
        const QImage scaled = m_stampImage.scaled(w, h, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        const int x = int(m_pieceOrigin[0] * m_scale + m_offsetLeft - w * 0.5 - m_scrollX);
        const int y = int(m_pieceOrigin[1] * m_scale + m_offsetTop - h * 0.5 - m_scrollY);
        m_painter.drawImage(x, y, scaled);
    }
    const QPixmap mark(QStringLiteral(":/image/shiji7.png"));
    if (!mark.isNull()) {
        const int x = int(m_sourceMark[0] * m_scale + m_offsetLeft - mark.width() / 2 - m_scrollX);
        const int y = int(m_sourceMark[1] * m_scale + m_offsetTop - mark.height() / 2 - m_scrollY);
        m_painter.drawPixmap(x, y, mark);
    }
}

void CustomWidget::paintPiece()
{
    if (m_pieceImage.isNull())
        return;
    const int w = int(m_pieceImage.width() * m_scale);
    const int h = int(m_pieceImage.height() * m_scale);
    const int x = int(m_pieceOrigin[0] * m_scale + m_offsetLeft - m_scrollX);
    const int y = int(m_pieceOrigin[1] * m_scale + m_offsetTop - m_scrollY);
    if (w > 0 && h > 0)
        m_painter.drawImage(x, y, m_pieceImage.scaled(w, h, Qt::IgnoreAspectRatio, Qt::FastTransformation));
    m_pieceRect = QRect(QPoint(x, y), QPoint(x + w - 1, y + h - 1));
    m_painter.setPen(QPen(Qt::black, 2.0, Qt::SolidLine, Qt::FlatCap, Qt::BevelJoin));
    m_painter.setBrush(Qt::NoBrush);
    m_painter.drawRect(m_pieceRect);

    // Only the bottom-right corner (4) and the middle of the right edge (7)
    // carry handles; the other six stay null and match nothing.
    const int right = m_pieceRect.right();
    const int bottom = m_pieceRect.bottom();
    const int middle = (m_pieceRect.top() + m_pieceRect.bottom()) / 2;
    m_handleRects[3] = QRect(QPoint(right - 6, bottom - 6), QPoint(right + 5, bottom + 5));
    m_handleRects[6] = QRect(QPoint(right - 6, middle - 6), QPoint(right + 5, middle + 5));
    m_painter.setPen(QPen(Qt::black, 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    m_painter.setBrush(QColor(0, 174, 255));
    m_painter.drawRect(m_handleRects[3]);
    m_painter.drawRect(m_handleRects[6]);
}

QRect CustomWidget::handleRect(int handle) const
{
    if (handle < 1 || handle > 8)
        return QRect();
    return m_handleRects[handle - 1];
}

int CustomWidget::handleAt(const QPoint &widgetPos) const
{
    static const int order[8] = {1, 6, 2, 7, 4, 8, 3, 5};
    for (int h : order) {
        if (m_handleRects[h - 1].contains(widgetPos))
            return h;
    }
    return 0;
}

void CustomWidget::setHandleCursor(int handle)
{
    switch (handle) {
    case 1: case 4: setCursor(Qt::SizeFDiagCursor); break;
    case 2: case 3: setCursor(Qt::SizeBDiagCursor); break;
    case 5: case 7: setCursor(Qt::SizeHorCursor); break;
    case 6: case 8: setCursor(Qt::SizeVerCursor); break;
    default: setCursor(Qt::SizeAllCursor); break;
    }
}

// ---------------------------------------------------------------- pointer

void CustomWidget::mousePressEvent(QMouseEvent *event)
{
    if (m_tool == Tool::PieceDrag)
        setShapeCursor(Qt::ClosedHandCursor);
    if (m_tool == Tool::MoveView) {
        m_handPress = event->localPos();
        m_handDragging = 1;
        return;
    }
    QPointF pos;
    if (!(event->buttons() & Qt::LeftButton) || !mapToImage(event->localPos(), &pos))
        return;
    if (QGuiApplication::keyboardModifiers() == Qt::AltModifier && m_tool == Tool::Stamp) {
        setOwnSizeCursor(QStringLiteral(":/image/target.png"));
        emit sendLeftALTPressPoint(pos);
        return;
    }
    if (m_tool == Tool::SmartClone) {
        setShapeCursor(Qt::ClosedHandCursor);
        const int handle = handleAt(event->localPos().toPoint());
        if (handle) {
            setHandleCursor(handle);
            m_handleHit = handle;
            m_handleActive = 1;
            m_handlePress = pos;
            return;
        }
        setHandleCursor(0);
    }
    emit sendLeftPressPoint(pos);
}

void CustomWidget::mouseMoveEvent(QMouseEvent *event)
{
    const bool left = event->buttons() & Qt::LeftButton;
    if (m_tool == Tool::PieceDrag && left)
        setShapeCursor(Qt::ClosedHandCursor);
    if (m_tool == Tool::MoveView && m_handDragging) {
        if (left) {
            const QPoint p = event->localPos().toPoint();
            emit sendMove(int(p.x() - m_handPress.x()), int(p.y() - m_handPress.y()));
        }
        return;
    }
    QPointF pos;
    if (!mapToImage(event->localPos(), &pos))
        return;
    if (m_tool == Tool::SmartClone) {
        setHandleCursor(handleAt(event->localPos().toPoint()));
        if (m_handleActive && left) {
            const int x = int(pos.x() - m_handlePress.x());
            const int y = int(pos.y() - m_handlePress.y());
            setHandleCursor(m_handleHit);
            emit sendLeftMoveChangePoint(pos, x, y, m_handleHit == 4 ? 1 : 0);
        } else if (!m_handleActive && left) {
            emit sendLeftMovePoint(pos);
        }
        return;
    }
    if (left)
        emit sendLeftMovePoint(pos);
    emit sendLeftMoveNoPoint(pos);
}

void CustomWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    if (m_tool == Tool::PieceDrag || m_tool == Tool::SmartClone)
        setShapeCursor(Qt::OpenHandCursor);
    if (m_tool == Tool::SmartClone)
        m_handleActive = 0;
    if (m_tool == Tool::Stamp)
        applyToolCursor();
    if (m_tool == Tool::MoveView)
        return;
    QPointF pos;
    if (!mapToImage(event->localPos(), &pos))
        return;
    emit sendReleasePoint(pos);
}

void CustomWidget::mouseDoubleClickEvent(QMouseEvent *)
{
    emit senddoublepress();
}

void CustomWidget::wheelEvent(QWheelEvent *event)
{
    // The wheel scrolls the view; zooming is on the buttons and the menu.
    emit sendMove(0, event->angleDelta().y());
}

void CustomWidget::contextMenuEvent(QContextMenuEvent *event)
{
    if (!m_fitAction) {
        m_fitAction = new QAction(tr("Fit to screen       "), this);
        m_100Action = new QAction(tr("100%"), this);
        m_200Action = new QAction(tr("200%"), this);
        m_zoomInAction = new QAction(tr("Zoom In"), this);
        m_zoomOutAction = new QAction(tr("Zoom Out"), this);
        connect(m_fitAction, &QAction::triggered, this, &CustomWidget::openUrl_fit);
        connect(m_100Action, &QAction::triggered, this, &CustomWidget::openUrl_100);
        connect(m_200Action, &QAction::triggered, this, &CustomWidget::openUrl_200);
        connect(m_zoomInAction, &QAction::triggered, this, &CustomWidget::openUrl_zoomin);
        connect(m_zoomOutAction, &QAction::triggered, this, &CustomWidget::openUrl_zoomout);
    }
    QMenu *menu = new QMenu(this);
    menu->addAction(m_fitAction);
    menu->addAction(m_100Action);
    menu->addAction(m_200Action);
    menu->addSeparator();
    menu->addAction(m_zoomInAction);
    menu->addAction(m_zoomOutAction);
    menu->exec(event->globalPos());
    delete menu;
}

// ---------------------------------------------------------------- slots

void CustomWidget::recvSelectType(int type, int size, int colorType)
{
    m_tool = toolFromCode(type);
    m_brushSize = size;
    m_colorType = colourFromCode(colorType);
    applyToolCursor();
}

void CustomWidget::openUrl_fit() { emit sendFit(); }
void CustomWidget::openUrl_100() { emit send100(); }
void CustomWidget::openUrl_200() { emit send200(); }
void CustomWidget::openUrl_zoomin() { emit sendzoomin(); }
void CustomWidget::openUrl_zoomout() { emit sendzoomout(); }

void CustomWidget::recvaltPress()
{
    if (m_tool == Tool::Stamp)
        setOwnSizeCursor(QStringLiteral(":/image/target.png"));
}

void CustomWidget::recvaltRelease()
{
    if (m_tool == Tool::Stamp)
        applyToolCursor();
}
