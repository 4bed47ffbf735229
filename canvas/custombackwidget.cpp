#include "custombackwidget.h"

#include <QPainter>
#include <QPixmap>
#include <QResizeEvent>

CustomBackWidget::CustomBackWidget(QWidget *parent)
    : QWidget(parent)
    , m_backdropLabel(new QLabel(this))
{
    m_backdropLabel->setGeometry(0, 0, 0, 0);
    // The chequer is a resource; without it the area under the image stays plain.
    if (!QPixmap(QStringLiteral(":/image/backg.png")).isNull()) {
        m_backdropLabel->setStyleSheet(QStringLiteral(
            "background-color:black;background-image:url(:/image/backg.png);"
            "background-position:top left;background-repeat:repeat-xy;"));
    }
    m_backdropLabel->lower();
}

void CustomBackWidget::setImageSize(int cols, int rows, QWidget *source)
{
    m_cols = cols;
    m_rows = rows;
    m_geometrySource = source;
    layoutBackdrop();
}

void CustomBackWidget::setScale(double scale)
{
    m_scale = scale;
    layoutBackdrop();
}

void CustomBackWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutBackdrop();
}

void CustomBackWidget::layoutBackdrop()
{
    const QWidget *view = m_geometrySource ? m_geometrySource : this;
    const int viewW = view->width();
    const int viewH = view->height();
    const int w = int(m_cols * m_scale);
    const int h = int(m_rows * m_scale);
    int x = 0, y = 0, drawW = viewW, drawH = viewH;
    if (w < viewW) {
        drawW = w;
        x = (viewW - w) >> 1;
    }
    if (h < viewH) {
        drawH = h;
        y = (viewH - h) >> 1;
    }
    m_backdropLabel->setGeometry(x, y, drawW, drawH);
    update(); // the shadow follows the image area
}

void CustomBackWidget::setDropShadow(QPoint offset, QColor colour)
{
    m_shadowOffset = offset;
    m_shadowColour = colour;
    update();
}

void CustomBackWidget::paintEvent(QPaintEvent *)
{
    if (!m_shadowColour.isValid() || m_cols <= 0 || m_rows <= 0)
        return;
    // Only the part beside the image shows; the photo covers the rest.
    QPainter p(this);
    p.fillRect(m_backdropLabel->geometry().translated(m_shadowOffset), m_shadowColour);
}
