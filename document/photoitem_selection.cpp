// Selection tools: pointer events, already in image coordinates, become
// changes of the selection layers. Every drawing call is one OpenCV
// primitive straight into the layer, never anti-aliased, so the layers keep
// the four values of their encoding. One finished gesture is one undo entry.
#include "commands.h"
#include "photoitem.h"
#include "pointertool.h"

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

// The tint the active colour paints with.
const cv::Scalar &activeTint(Colour colour)
{
    return colour == Colour::Donor ? kTintGreen : kTintRed;
}

} // namespace

// Sizes in image pixels follow from screen sizes by the zoom, so that a
// stroke looks the same at every zoom.
static int brushThickness(int size, double scale) { return std::max(1, int(size / scale)); }
static int dabRadius(int size, double scale) { return std::max(1, int((size / 2) / scale)); }
static int outlineThickness(double scale) { return std::max(1, int(4.0 / scale)); }
static int stampLassoThickness(double scale) { return std::max(1, int(8.0 / scale)); }

cv::Mat &PhotoItem::activeLayer() { return m_pointer.m_colorType == Colour::Donor ? m_selection.m_inpaintMaskBK : m_selection.m_inpaintMask; }
cv::Mat &PhotoItem::activeBase() { return m_pointer.m_colorType == Colour::Donor ? m_selection.m_strokeBaseGreen : m_selection.m_strokeBaseRed; }
LayerView *PhotoItem::activeWidget() const { return m_pointer.m_colorType == Colour::Donor ? m_frontGreenWidget : m_frontWidget; }

void PhotoItem::showLayer(const cv::Mat &layer, LayerView *widget)
{
    // A wrap, not a copy: the widget paints straight from the layer. A
    // layer not made yet shows as nothing, at the photo's size.
    if (layer.empty())
        widget->showEmptyLayer(m_imageCols, m_imageRows);
    else
        widget->showImage(matToQImage(layer));
}

// What the widget shows is the same as after a full conversion: the same
// colours, written with the source composition, pixel for pixel. When it is
// not showing this photo's pixmap (before-and-after shows the file), the
// whole photo is set, as a full conversion would.
void PhotoItem::showPhotoRect(const cv::Rect &rect)
{
    // The image's own rows, B G R bytes, are wrapped without a copy; a photo
    // with a colour profile has the rectangle converted, and no more.
    const cv::Mat region = rect.empty() ? cv::Mat() : m_image(rect);
    const QImage patch = region.empty() ? QImage()
        : !m_display.isIdentity()       ? m_display.image(region)
                                        : QImage(region.data, region.cols, region.rows, int(region.step), QImage::Format_BGR888);
    if (!m_midWidget->paintPhotoPatch(rect.x, rect.y, patch, QSize(m_imageCols, m_imageRows)))
        m_midWidget->showPixmap(m_display.pixmap(m_image));
}

void PhotoItem::pushSelectionEntry(const cv::Rect &rect, const QString &text)
{
    if (m_pointer.m_colorType == Colour::Donor)
        m_undoStack->push(new AddGreenCommand(m_selection.m_inpaintMaskBK(rect), m_selection.m_strokeBaseGreen(rect), text, this, rect));
    else
        m_undoStack->push(new AddRedCommand(m_selection.m_inpaintMask(rect), m_selection.m_strokeBaseRed(rect), text, this, rect));
}


// ---------------------------------------------------------------- polygon trail

bool PhotoItem::addPolygonVertex(QPointF pos)
{
    m_selection.m_lastVertex = pos;
    const cv::Point click = pixelAt(pos);
    keepPoint(m_selection.m_polyPoints, m_selection.m_polyCount, kMaxPolyPoints, click);
    if (m_selection.m_polyCount < 3)
        return false;
    const double c = 10.0 / m_pointer.m_scale;
    const cv::Point first = m_selection.m_polyPoints[0];
    const bool nearFirst = first.x - c < click.x && click.x < first.x + c && first.y - c < click.y
                           && click.y < first.y + c;
    // A polygon never runs past its limit: the vertex that reaches it closes it.
    return nearFirst || m_selection.m_polyCount >= kMaxPolyPoints;
}

void PhotoItem::endPolygon()
{
    m_selection.m_polyCount = 0;
    m_selection.m_lastVertex = QPointF(-1, -1);
}

bool PhotoItem::showRubberBand(QPointF pos, const cv::Mat &under, const cv::Scalar &tint, LayerView *widget)
{
    // A vertex on the top or left edge suspends the rubber band.
    if (!(m_selection.m_lastVertex.x() > 0 && m_selection.m_lastVertex.y() > 0))
        return false;
    under.copyTo(m_selection.m_rubberBand);
    if (m_selection.m_polyCount == 0)
        return false;
    const int l = outlineThickness(m_pointer.m_scale);
    // The ring that shows where to click to close.
    cv::circle(m_selection.m_rubberBand, m_selection.m_polyPoints[0], int(10.0 / m_pointer.m_scale), tint, l, kLine);
    for (int i = 1; i < m_selection.m_polyCount; ++i)
        cv::line(m_selection.m_rubberBand, m_selection.m_polyPoints[i - 1], m_selection.m_polyPoints[i], tint, l, kLine);
    cv::line(m_selection.m_rubberBand, pixelAt(m_selection.m_lastVertex), pixelAt(pos), tint, l, kLine);
    showLayer(m_selection.m_rubberBand, widget);
    return true;
}

// ---------------------------------------------------------------- selection tools

void SelectionTool::press(PhotoItem &doc, QPointF pos) const
{
    PointerTool::press(doc, pos);
    // The whole layer as it was, for the undo entry of this gesture (also
    // at every polygon click). Same size and type: no reallocation.
    doc.activeLayer().copyTo(doc.activeBase());
}

void SelectionTool::release(PhotoItem &doc, QPointF) const
{
    pushEntry(doc);
}

void SelectionTool::pushEntry(PhotoItem &doc) const
{
    const QString text = QString::fromLatin1(doc.m_pointer.m_colorType == Colour::Donor ? "Green " : "Red ")
                         + QString::fromLatin1(entryName());
    doc.pushSelectionEntry(doc.strokeBoxRect(), text);
    doc.resetStrokeBox();
}

void SelectionTool::showPainted(PhotoItem &doc, bool paintsDonor)
{
    doc.showLayer(doc.activeLayer(), doc.activeWidget());
    if (paintsDonor && doc.m_pointer.m_colorType == Colour::Donor)
        doc.m_selection.m_donorUsed = 1;
}

void RectangleTool::drag(PhotoItem &doc, QPointF pos) const
{
    PointerTool::drag(doc, pos);
    // Earlier rectangles of the drag stay: the area only grows.
    cv::rectangle(doc.activeLayer(), pixelAt(doc.m_pointer.m_pressPos), pixelAt(pos), activeTint(doc.m_pointer.m_colorType),
                  cv::FILLED, kLine);
    showPainted(doc, true);
}

void LassoTool::drag(PhotoItem &doc, QPointF pos) const
{
    PointerTool::drag(doc, pos);
    // Points past the limit are not kept; the drawn trail still shows, and
    // the fill closes over the points kept.
    keepPoint(doc.m_selection.m_lassoPoints, doc.m_selection.m_lassoCount, PhotoItem::kMaxLassoPoints, pixelAt(pos));
    cv::line(doc.activeLayer(), pixelAt(doc.m_pointer.m_prevPos), pixelAt(doc.m_pointer.m_curPos), activeTint(doc.m_pointer.m_colorType),
             outlineThickness(doc.m_pointer.m_scale), kLine);
    showPainted(doc, true);
}

void LassoTool::release(PhotoItem &doc, QPointF pos) const
{
    if (doc.m_selection.m_lassoCount > 0) {
        // The lasso closes by this fill alone: last point to first, no edge drawn.
        const cv::Point *pts = doc.m_selection.m_lassoPoints.data();
        const int n = doc.m_selection.m_lassoCount;
        cv::fillPoly(doc.activeLayer(), &pts, &n, 1, activeTint(doc.m_pointer.m_colorType), kPolyLine, 0, cv::Point(0, 0));
        showPainted(doc, true);
    }
    SelectionTool::release(doc, pos);
}

void PolygonTool::press(PhotoItem &doc, QPointF pos) const
{
    SelectionTool::press(doc, pos);
    if (doc.addPolygonVertex(pos))
        close(doc);
}

void PolygonTool::hover(PhotoItem &doc, QPointF pos) const
{
    if (doc.showRubberBand(pos, doc.activeLayer(), activeTint(doc.m_pointer.m_colorType), doc.activeWidget())
        && doc.m_pointer.m_colorType == Colour::Donor)
        doc.m_selection.m_donorUsed = 1;
}

void PolygonTool::doubleClick(PhotoItem &doc) const
{
    // Closes an open polygon without the tolerance test (the way out when
    // the zoom makes the tolerance smaller than a pixel).
    if (doc.m_selection.m_polyCount <= 2)
        return;
    close(doc);
}

void PolygonTool::close(PhotoItem &doc) const
{
    const cv::Point *pts = doc.m_selection.m_polyPoints.data();
    const int n = doc.m_selection.m_polyCount;
    cv::fillPoly(doc.activeLayer(), &pts, &n, 1, activeTint(doc.m_pointer.m_colorType), kPolyLine, 0, cv::Point(0, 0));
    showPainted(doc, true);
    doc.endPolygon();
    pushEntry(doc);
}

void BrushTool::press(PhotoItem &doc, QPointF pos) const
{
    SelectionTool::press(doc, pos);
    // Only the red brush dabs at the press: a click of the green brush or of
    // the fix tool without a move leaves the layer as it was.
    if (doc.m_pointer.m_colorType != Colour::Mask)
        return;
    cv::circle(doc.m_selection.m_inpaintMask, pixelAt(pos), dabRadius(doc.m_pointer.m_brushSize, doc.m_pointer.m_scale), kTintRed, cv::FILLED,
               kLine);
    doc.showLayer(doc.m_selection.m_inpaintMask, doc.m_frontWidget);
}

void BrushTool::drag(PhotoItem &doc, QPointF pos) const
{
    PointerTool::drag(doc, pos);
    cv::line(doc.activeLayer(), pixelAt(doc.m_pointer.m_prevPos), pixelAt(doc.m_pointer.m_curPos), activeTint(doc.m_pointer.m_colorType),
             brushThickness(doc.m_pointer.m_brushSize, doc.m_pointer.m_scale), kLine);
    showPainted(doc, true);
}

void FixSelectionTool::drag(PhotoItem &doc, QPointF pos) const
{
    PointerTool::drag(doc, pos);
    cv::line(doc.activeLayer(), pixelAt(doc.m_pointer.m_prevPos), pixelAt(doc.m_pointer.m_curPos), kClear,
             brushThickness(doc.m_pointer.m_brushSize, doc.m_pointer.m_scale), kLine);
    showPainted(doc, false);
}

// ---------------------------------------------------------------- stamp region

void StampRegionTool::chosen(PhotoItem &doc) const
{
    doc.clearStrokeBaseRed();
    doc.m_stamp.m_stampRegionActive = 0;
}

void StampRegionTool::finish(PhotoItem &doc)
{
    doc.showLayer(doc.m_selection.m_strokeBaseRed, doc.m_frontWidget);
    doc.m_stamp.m_stampRegionActive = 1;
    emit doc.sendOverStampSelect();
}

void StampRegionLassoTool::drag(PhotoItem &doc, QPointF pos) const
{
    PointerTool::drag(doc, pos);
    keepPoint(doc.m_selection.m_lassoPoints, doc.m_selection.m_lassoCount, PhotoItem::kMaxLassoPoints, pixelAt(pos));
    cv::line(doc.m_selection.m_strokeBaseRed, pixelAt(doc.m_pointer.m_prevPos), pixelAt(doc.m_pointer.m_curPos), kTintRed,
             stampLassoThickness(doc.m_pointer.m_scale), kLine);
    doc.showLayer(doc.m_selection.m_strokeBaseRed, doc.m_frontWidget);
}

void StampRegionLassoTool::release(PhotoItem &doc, QPointF) const
{
    // Filled invisibly; the trail drawn on the way is its outline.
    if (doc.m_selection.m_lassoCount > 0) {
        const cv::Point *pts = doc.m_selection.m_lassoPoints.data();
        const int n = doc.m_selection.m_lassoCount;
        cv::fillPoly(doc.m_selection.m_strokeBaseRed, &pts, &n, 1, kRegionFill, kPolyLine, 0, cv::Point(0, 0));
    }
    doc.m_selection.m_lassoCount = 0;
    finish(doc);
}

void StampRegionPolygonTool::press(PhotoItem &doc, QPointF pos) const
{
    PointerTool::press(doc, pos);
    if (!doc.addPolygonVertex(pos))
        return;
    // Filled invisibly, outlined in red along every edge.
    const cv::Point *pts = doc.m_selection.m_polyPoints.data();
    const int n = doc.m_selection.m_polyCount;
    cv::fillPoly(doc.m_selection.m_strokeBaseRed, &pts, &n, 1, kRegionFill, kPolyLine, 0, cv::Point(0, 0));
    const int l = outlineThickness(doc.m_pointer.m_scale);
    for (int i = 0; i < n; ++i)
        cv::line(doc.m_selection.m_strokeBaseRed, doc.m_selection.m_polyPoints[i], doc.m_selection.m_polyPoints[(i + 1) % n], kTintRed, l, kLine);
    doc.endPolygon();
    doc.resetStrokeBox();
    finish(doc);
}

void StampRegionPolygonTool::hover(PhotoItem &doc, QPointF pos) const
{
    doc.showRubberBand(pos, doc.m_selection.m_strokeBaseRed, kTintRed, doc.m_frontWidget);
}
