// Selection tools: pointer events, already in image coordinates, become
// changes of the selection layers. Every drawing call is one OpenCV
// primitive straight into the layer, never anti-aliased, so the layers keep
// the four values of their encoding. One finished gesture is one undo entry.
#include "commands.h"
#include "photoitem.h"

#include <QUndoStack>
#include <algorithm>
#include <vector>
#include <opencv2/imgproc.hpp>

namespace {

const cv::Scalar kTintRed(0, 0, 255, 128);
const cv::Scalar kTintGreen(0, 255, 0, 128);
const cv::Scalar kClear(0, 0, 0, 0);
const cv::Scalar kRegionFill(0, 0, 255, 0);
constexpr int kLine = cv::LINE_8;
constexpr int kPolyLine = 0; // fillPoly: plain 8-connected edges

cv::Point truncated(QPointF p)
{
    return cv::Point(int(p.x()), int(p.y()));
}

// Keeps a point as number count of a trail, growing the list as needed but
// never past limit (a point beyond it is not kept). The count is what says
// how many points hold: setting it to 0 starts a new trail.
void keepPoint(std::vector<cv::Point> &points, int &count, int limit, cv::Point p)
{
    if (count >= limit)
        return;
    if (points.size() <= size_t(count))
        points.resize(size_t(count) + 1);
    points[size_t(count++)] = p;
}

} // namespace

// Sizes in image pixels follow from screen sizes by the zoom, so that a
// stroke looks the same at every zoom.
static int brushThickness(int size, double scale) { return std::max(1, int(size / scale)); }
static int dabRadius(int size, double scale) { return std::max(1, int((size / 2) / scale)); }
static int outlineThickness(double scale) { return std::max(1, int(4.0 / scale)); }
static int stampLassoThickness(double scale) { return std::max(1, int(8.0 / scale)); }

cv::Mat &PhotoItem::activeLayer() { return m_colorType == Colour::Donor ? m_inpaintMaskBK : m_inpaintMask; }
cv::Mat &PhotoItem::activeBase() { return m_colorType == Colour::Donor ? m_strokeBaseGreen : m_strokeBaseRed; }
LayerView *PhotoItem::activeWidget() const { return m_colorType == Colour::Donor ? m_frontGreenWidget : m_frontWidget; }

void PhotoItem::showLayer(const cv::Mat &layer, LayerView *widget)
{
    // A wrap, not a copy: the widget paints straight from the layer.
    widget->showImage(matToQImage(layer));
}

QString PhotoItem::undoTextForTool() const
{
    const char *shape = nullptr;
    switch (m_tool) {
    case Tool::Rectangle: shape = "Rectangle Selection Brush"; break;
    case Tool::Lasso: shape = "Lasso Selection Brush"; break;
    case Tool::Polygon: shape = "Polygon Selection Brush"; break;
    case Tool::Brush: shape = "Selection Brush"; break;
    case Tool::FixSelection: shape = "Fix the Selection Brush"; break;
    default: return QString();
    }
    return QString::fromLatin1(m_colorType == Colour::Donor ? "Green " : "Red ") + QString::fromLatin1(shape);
}

void PhotoItem::pushSelectionEntry(const cv::Rect &rect, const QString &text)
{
    if (m_colorType == Colour::Donor)
        m_undoStack->push(new AddGreenCommand(m_inpaintMaskBK(rect), m_strokeBaseGreen(rect), text, this, rect));
    else
        m_undoStack->push(new AddRedCommand(m_inpaintMask(rect), m_strokeBaseRed(rect), text, this, rect));
}

// ---------------------------------------------------------------- tool

void PhotoItem::recvSelectType(int type, int size, int colorType)
{
    m_tool = toolFromCode(type);
    m_brushSize = size;
    m_colorType = colourFromCode(colorType);
    // Each new stamp region starts empty.
    if (type == 10 || type == 11) {
        clearStrokeBaseRed();
        m_stampRegionActive = 0;
    }
}

// ---------------------------------------------------------------- press

void PhotoItem::recvLeftPressPoint(QPointF pos)
{
    m_pressPos = pos;
    if (m_tool == Tool::Stamp && !stampPress(pos))
        return;
    extendWorkBox(pos);
    extendStrokeBox(pos);
    if (m_tool == Tool::PieceDrag || m_tool == Tool::SmartClone) {
        grabAt(pos);
        return;
    }
    m_curPos = pos;
    if (isSelectionTool(m_tool)) {
        // The whole layer as it was, for the undo entry of this gesture
        // (also at every polygon click). Same size and type: no reallocation.
        activeLayer().copyTo(activeBase());
    }
    if (m_tool == Tool::Brush && m_colorType == Colour::Mask) {
        // Only the red brush dabs at the press: a click of the green brush or
        // of the fix tool without a move leaves the layer as it was.
        cv::circle(m_inpaintMask, truncated(pos), dabRadius(m_brushSize, m_scale), kTintRed, cv::FILLED, kLine);
        showLayer(m_inpaintMask, m_frontWidget);
    }
    if (m_tool == Tool::Polygon || m_tool == Tool::StampRegionPolygon)
        polygonClick(pos);
}

// ---------------------------------------------------------------- move

void PhotoItem::recvLeftMovePoint(QPointF pos)
{
    extendWorkBox(pos);
    extendStrokeBox(pos);
    if (m_tool == Tool::Stamp) {
        stampMove(pos);
        return;
    }
    if (m_tool == Tool::PieceDrag || m_tool == Tool::SmartClone) {
        dragPiece(pos);
        return;
    }
    m_prevPos = m_curPos;
    m_curPos = pos;
    const cv::Scalar tint = m_colorType == Colour::Donor ? kTintGreen : kTintRed;
    switch (m_tool) {
    case Tool::Rectangle:
        // Earlier rectangles of the drag stay: the area only grows.
        cv::rectangle(activeLayer(), truncated(m_pressPos), truncated(pos), tint, cv::FILLED, kLine);
        break;
    case Tool::Lasso:
        // Points past the limit are not kept; the drawn trail still shows,
        // and the fill closes over the points kept.
        keepPoint(m_lassoPoints, m_lassoCount, kMaxLassoPoints, truncated(pos));
        cv::line(activeLayer(), truncated(m_prevPos), truncated(m_curPos), tint, outlineThickness(m_scale), kLine);
        break;
    case Tool::Brush:
        cv::line(activeLayer(), truncated(m_prevPos), truncated(m_curPos), tint,
                 brushThickness(m_brushSize, m_scale), kLine);
        break;
    case Tool::FixSelection:
        cv::line(activeLayer(), truncated(m_prevPos), truncated(m_curPos), kClear,
                 brushThickness(m_brushSize, m_scale), kLine);
        break;
    case Tool::StampRegionLasso:
        keepPoint(m_lassoPoints, m_lassoCount, kMaxLassoPoints, truncated(pos));
        cv::line(m_strokeBaseRed, truncated(m_prevPos), truncated(m_curPos), kTintRed,
                 stampLassoThickness(m_scale), kLine);
        showLayer(m_strokeBaseRed, m_frontWidget);
        return;
    default:
        return;
    }
    showLayer(activeLayer(), activeWidget());
    if (m_colorType == Colour::Donor && m_tool != Tool::FixSelection)
        m_donorUsed = 1;
}

void PhotoItem::recvLeftMoveNoPoint(QPointF pos)
{
    m_prevPos = m_curPos;
    m_curPos = pos;
    if (m_tool == Tool::Stamp) {
        stampHover(pos);
        return;
    }
    if (m_tool != Tool::Polygon && m_tool != Tool::StampRegionPolygon)
        return;
    // A vertex on the top or left edge suspends the rubber band.
    if (!(m_lastVertex.x() > 0 && m_lastVertex.y() > 0))
        return;
    const bool region = m_tool == Tool::StampRegionPolygon;
    (region ? m_strokeBaseRed : activeLayer()).copyTo(m_rubberBand);
    if (m_polyCount == 0)
        return;
    const cv::Scalar tint = (region || m_colorType == Colour::Mask) ? kTintRed : kTintGreen;
    const int l = outlineThickness(m_scale);
    // The ring that shows where to click to close.
    cv::circle(m_rubberBand, m_polyPoints[0], int(10.0 / m_scale), tint, l, kLine);
    for (int i = 1; i < m_polyCount; ++i)
        cv::line(m_rubberBand, m_polyPoints[i - 1], m_polyPoints[i], tint, l, kLine);
    cv::line(m_rubberBand, truncated(m_lastVertex), truncated(pos), tint, l, kLine);
    showLayer(m_rubberBand, region ? m_frontWidget : activeWidget());
    if (!region && m_colorType == Colour::Donor)
        m_donorUsed = 1;
}

// ---------------------------------------------------------------- release

void PhotoItem::recvReleasePoint(QPointF pos)
{
    m_cloneGrowBaseX = m_cloneGrowX;
    m_cloneGrowBaseY = m_cloneGrowY;
    extendStrokeBox(pos);
    const cv::Scalar tint = m_colorType == Colour::Donor ? kTintGreen : kTintRed;
    if (m_tool == Tool::Lasso && m_lassoCount > 0) {
        // The lasso closes by this fill alone: last point to first, no edge drawn.
        const cv::Point *pts = m_lassoPoints.data();
        const int n = m_lassoCount;
        cv::fillPoly(activeLayer(), &pts, &n, 1, tint, kPolyLine, 0, cv::Point(0, 0));
        showLayer(activeLayer(), activeWidget());
        if (m_colorType == Colour::Donor)
            m_donorUsed = 1;
    }
    if (m_tool == Tool::StampRegionLasso) {
        if (m_lassoCount > 0) {
            const cv::Point *pts = m_lassoPoints.data();
            const int n = m_lassoCount;
            cv::fillPoly(m_strokeBaseRed, &pts, &n, 1, kRegionFill, kPolyLine, 0, cv::Point(0, 0));
        }
        showLayer(m_strokeBaseRed, m_frontWidget);
        m_stampRegionActive = 1;
        m_lassoCount = 0;
        emit sendOverStampSelect();
    }
    m_lassoCount = 0;
    const cv::Rect rect = strokeBoxRect();
    if (isSelectionTool(m_tool) && m_tool != Tool::Polygon) {
        pushSelectionEntry(rect, undoTextForTool());
        resetStrokeBox();
    }
    if (m_tool == Tool::Stamp)
        stampRelease();
}

// ---------------------------------------------------------------- polygon

void PhotoItem::closeRedOrGreenPolygon(const cv::Rect &rect)
{
    const cv::Point *pts = m_polyPoints.data();
    const int n = m_polyCount;
    cv::fillPoly(activeLayer(), &pts, &n, 1, m_colorType == Colour::Donor ? kTintGreen : kTintRed, kPolyLine, 0,
                 cv::Point(0, 0));
    showLayer(activeLayer(), activeWidget());
    if (m_colorType == Colour::Donor)
        m_donorUsed = 1;
    m_polyCount = 0;
    m_lastVertex = QPointF(-1, -1);
    pushSelectionEntry(rect, undoTextForTool());
    resetStrokeBox();
}

void PhotoItem::polygonClick(QPointF pos)
{
    cv::Rect rect;
    if (m_tool == Tool::Polygon)
        rect = strokeBoxRect();
    m_lastVertex = pos;
    const cv::Point click = truncated(pos);
    keepPoint(m_polyPoints, m_polyCount, kMaxPolyPoints, click);
    if (m_polyCount < 3)
        return;
    const double c = 10.0 / m_scale;
    const cv::Point first = m_polyPoints[0];
    const bool nearFirst = first.x - c < click.x && click.x < first.x + c && first.y - c < click.y
                           && click.y < first.y + c;
    // A polygon never runs past its limit: the vertex that reaches it closes it.
    if (!nearFirst && m_polyCount < kMaxPolyPoints)
        return;
    if (m_tool == Tool::Polygon) {
        closeRedOrGreenPolygon(rect);
        return;
    }
    // Stamp region: filled invisibly, outlined in red along every edge.
    const cv::Point *pts = m_polyPoints.data();
    const int n = m_polyCount;
    cv::fillPoly(m_strokeBaseRed, &pts, &n, 1, kRegionFill, kPolyLine, 0, cv::Point(0, 0));
    const int l = outlineThickness(m_scale);
    for (int i = 0; i < n; ++i)
        cv::line(m_strokeBaseRed, m_polyPoints[i], m_polyPoints[(i + 1) % n], kTintRed, l, kLine);
    showLayer(m_strokeBaseRed, m_frontWidget);
    m_stampRegionActive = 1;
    m_polyCount = 0;
    m_lastVertex = QPointF(-1, -1);
    resetStrokeBox();
    emit sendOverStampSelect();
}

void PhotoItem::recvDoublePress()
{
    // Closes an open polygon without the tolerance test (the way out when
    // the zoom makes the tolerance smaller than a pixel).
    if (m_tool != Tool::Polygon || m_polyCount <= 2)
        return;
    closeRedOrGreenPolygon(strokeBoxRect());
}

// ---------------------------------------------------------------- piece

void PhotoItem::grabAt(QPointF pos)
{
    const cv::Rect r = selectionBounds();
    if (m_tool == Tool::SmartClone)
    if (r.width < 1 && r.height < 1)
        return;
    const cv::Point p = truncated(pos);
    if (m_tool == Tool::PieceDrag) {
        if (p.x >= r.x && p.x <= r.x + r.width - 1 && p.y >= r.y && p.y <= r.y + r.height - 1) {
            m_grabbed = 1;
            m_dragOriginX = r.x;
            m_dragOriginY = r.y;
            m_dragPressX = p.x;
            m_dragPressY = p.y;
        }
        return;
    }
    // The grow is counted twice in the far edge, as the piece was designed.
    const int x = r.x + m_cloneGrowX, y = r.y + m_cloneGrowY;
    if (p.x >= x && p.x <= x + m_cloneGrowX + r.width - 1 && p.y >= y && p.y <= y + m_cloneGrowY + r.height - 1) {
        m_grabbed = 1;
        m_dragOriginX = m_dragPressX = x;
        m_dragOriginY = m_dragPressY = y;
    }
}

void PhotoItem::showMovedPiece(const cv::Mat &piece)
{
    m_frontGreenWidget->showLayer(true);
    m_frontGreenWidget->showPiece(m_moveX, m_moveY, matToQImage(piece));
}

void PhotoItem::dragPiece(QPointF pos)
{
    if (!m_grabbed)
        return;
    const cv::Rect r = selectionBounds();
    if (r.width < 1 || r.height < 1)
        return;
    if (m_tool == Tool::SmartClone) {
        const int w = r.width + m_cloneGrowX, h = r.height + m_cloneGrowY;
        // The pointer holds the centre of the piece.
        m_moveX = std::max(0, int(pos.x() - w / 2));
        m_moveY = std::max(0, int(pos.y() - h / 2));
        m_moveX = std::min(m_moveX, m_imageCols - w);
        m_moveY = std::min(m_moveY, m_imageRows - h);
        const cv::Mat piece = buildMovedPiece(m_cloneGrowX, m_cloneGrowY);
        if (!piece.empty())
            showMovedPiece(piece);
        return;
    }
    // Tool 7: the selected pixels, pasted at the drag position on a copy.
    m_moveX = std::max(0, int(pos.x() + m_dragOriginX - m_dragPressX));
    m_moveY = std::max(0, int(pos.y() + m_dragOriginY - m_dragPressY));
    m_moveX = std::min(m_moveX, m_imageCols - (m_cloneGrowX + r.width));
    m_moveY = std::min(m_moveY, m_imageRows - (m_cloneGrowY + r.height));
    m_image.copyTo(m_clonePreview);
    for (int row = 0; row < r.height; ++row) {
        const int ty = m_moveY + row;
        if (ty < 0 || ty >= m_imageRows)
            continue;
        const cv::Vec4b *mask = m_inpaintMask.ptr<cv::Vec4b>(r.y + row);
        const cv::Vec3b *src = m_image.ptr<cv::Vec3b>(r.y + row);
        cv::Vec3b *dst = m_clonePreview.ptr<cv::Vec3b>(ty);
        for (int col = 0; col < r.width; ++col) {
            const int tx = m_moveX + col;
            if (mask[r.x + col][2] != 0 && tx >= 0 && tx < m_imageCols)
                dst[tx] = src[r.x + col];
        }
    }
    m_midWidget->showPixmap(matToQPixmap(m_clonePreview));
}

void PhotoItem::recvLeftMoveChangePoint(QPointF pos, int x, int y, int type)
{
    Q_UNUSED(pos);
    if (m_tool != Tool::SmartClone)
        return;
    const cv::Rect r = selectionBounds();
    // A selection one pixel thin has a side of 0 in this form: no handle
    // can scale it (and the proportion would divide by zero).
    if (r.width < 1 || r.height < 1)
        return;
    if (type != 0) {
        // Corner handle: proportional, the smaller travel decides.
        if (x >= y)
            x = y * r.width / r.height;
        else
            y = r.height * x / r.width;
    }
    const int w = x + m_cloneGrowBaseX, h = y + m_cloneGrowBaseY;
    // At least one pixel, never larger than the image; position not considered.
    if (!(-w < r.width && -h < r.height && r.width + w <= m_imageCols && r.height + h <= m_imageRows))
        return;
    m_cloneGrowX = w;
    m_cloneGrowY = h;
    const cv::Mat piece = buildMovedPiece(w, h, true);
    if (!piece.empty())
        showMovedPiece(piece);
}

cv::Mat PhotoItem::buildMovedPiece(int dw, int dh, bool fromHandle)
{
    const cv::Rect r = selectionBounds();
    if (r.width < 1 || r.height < 1)
        return cv::Mat();
    const cv::Size out(r.width + dw, r.height + dh);
    if (out.width < 1 || out.height < 1 || out.width > m_imageCols || out.height > m_imageRows)
        return cv::Mat();
    // Scratch of the selection's size at the layer's top left: BGR of the
    // photo, opaque where selected.
    cv::Mat scratch = (fromHandle ? m_strokeBaseRed : m_strokeBaseGreen)(cv::Rect(0, 0, r.width, r.height));
    for (int row = 0; row < r.height; ++row) {
        const cv::Vec3b *src = m_image.ptr<cv::Vec3b>(r.y + row) + r.x;
        const cv::Vec4b *mask = m_inpaintMask.ptr<cv::Vec4b>(r.y + row) + r.x;
        cv::Vec4b *dst = scratch.ptr<cv::Vec4b>(row);
        for (int col = 0; col < r.width; ++col)
            dst[col] = cv::Vec4b(src[col][0], src[col][1], src[col][2], mask[col][2] == 255 ? 255 : 0);
    }
    // The green layer is the working surface of the smart clone tool.
    cv::Mat result = m_inpaintMaskBK(cv::Rect(cv::Point(0, 0), out));
    cv::resize(scratch, result, out, 0, 0, cv::INTER_LINEAR);
    return result;
}
