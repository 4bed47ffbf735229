// Brush cursors: the pointer shows the tool and, for brushes, the true size
// of the stroke on the screen at any zoom.
#include "customwidget.h"
#include "globals.h"

#include <QBitmap>
#include <QCursor>
#include <QPainter>
#include <QPixmap>

QString CustomWidget::ringFileForDiameter(double d)
{
    // Uneven steps on purpose; there is no 38 ring, so everything below 38
    // takes the 26 one.
    struct Step { double from; const char *file; };
    static const Step steps[] = {
        {202, ":/rec/c214.png"}, {192, ":/rec/c202.png"}, {180, ":/rec/c192.png"},
        {168, ":/rec/c180.png"}, {156, ":/rec/c168.png"}, {146, ":/rec/c156.png"},
        {134, ":/rec/c146.png"}, {122, ":/rec/c134.png"}, {110, ":/rec/c122.png"},
        {98, ":/rec/c110.png"},  {86, ":/rec/c98.png"},   {74, ":/rec/c86.png"},
        {62, ":/rec/c74.png"},   {50, ":/rec/c62.png"},   {38, ":/rec/c50.png"},
    };
    for (const Step &s : steps) {
        if (d >= s.from)
            return QString::fromLatin1(s.file);
    }
    return QStringLiteral(":/rec/c26.png");
}

void CustomWidget::setPictureCursor(const QString &file, int size, const QColor &fallback)
{
    m_cursorFile = file;
    const int s = qMax(1, size);
    QPixmap picture(file);
    if (picture.isNull()) {
        // The picture is not among the compiled resources: draw a ring of the
        // same size, so the brush size still shows.
        picture = QPixmap(s, s);
        picture.fill(Qt::transparent);
        QPainter p(&picture);
        p.setPen(QPen(fallback, 1));
        p.drawEllipse(QRect(0, 0, s - 1, s - 1));
    } else {
        picture = picture.scaled(s, s, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    setCursor(QCursor(picture, -1, -1));
}

void CustomWidget::setOwnSizeCursor(const QString &file)
{
    m_cursorFile = file;
    QPixmap picture(file);
    if (picture.isNull()) {
        setCursor(Qt::CrossCursor);
        return;
    }
    setCursor(QCursor(picture, -1, -1));
}

void CustomWidget::setShapeCursor(Qt::CursorShape shape)
{
    m_cursorFile.clear();
    setCursor(shape);
}

void CustomWidget::applyToolCursor()
{
    const double d = m_brushSize * g_uiScale;
    const int s = int(d);
    switch (m_tool) {
    case Tool::Brush:
        if (m_colorType == Colour::Mask)
            setPictureCursor(QStringLiteral(":/image/mousered.png"), s, Qt::red);
        else if (m_colorType == Colour::Donor)
            setPictureCursor(QStringLiteral(":/image/mousegreen.png"), s, Qt::green);
        else
            setShapeCursor(Qt::ArrowCursor); // no picture for another colour
        break;
    case Tool::FixSelection:
        setPictureCursor(QStringLiteral(":/image/mouseblack.png"), s, Qt::black);
        break;
    case Tool::Stamp:
        setPictureCursor(ringFileForDiameter(d), s, Qt::white);
        break;
    case Tool::Rectangle:
        setOwnSizeCursor(QStringLiteral(":/image/shiji7.png"));
        break;
    case Tool::Lasso:
    case Tool::StampRegionLasso:
        setOwnSizeCursor(QStringLiteral(":/image/lasso3.png"));
        break;
    case Tool::Polygon:
    case Tool::StampRegionPolygon:
        setOwnSizeCursor(QStringLiteral(":/image/floy.png"));
        break;
    case Tool::PieceDrag:
    case Tool::MoveView:
    case Tool::SmartClone:
        setShapeCursor(Qt::OpenHandCursor);
        break;
    default:
        // Before the first tool arrives: the red brush at the start size.
        setPictureCursor(QStringLiteral(":/image/mousered.png"), int(30 * g_uiScale), Qt::red);
        break;
    }
}
