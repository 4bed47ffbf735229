// Selection tools: pointer events in image coordinates become changes of the
// selection layers, one undo entry per finished gesture.
#include "photoitem.h"

void PhotoItem::recvSelectType(int type, int size, int colorType)
{
    m_tool = type;
    m_brushSize = size;
    m_colorType = colorType;
}

// Until the selection tools are filled in, only the stamp's path and the
// box bookkeeping every tool shares run here.
void PhotoItem::recvLeftPressPoint(QPointF pos)
{
    m_pressPos = pos;
    if (m_tool == 8 && !stampPress(pos))
        return;
    extendWorkBox(pos);
    extendStrokeBox(pos);
    m_curPos = pos;
}

void PhotoItem::recvLeftMovePoint(QPointF pos)
{
    extendWorkBox(pos);
    extendStrokeBox(pos);
    if (m_tool == 8)
        stampMove(pos);
}

void PhotoItem::recvLeftMoveNoPoint(QPointF pos)
{
    m_prevPos = m_curPos;
    m_curPos = pos;
    if (m_tool == 8)
        stampHover(pos);
}

void PhotoItem::recvReleasePoint(QPointF pos)
{
    m_cloneGrowBaseX = m_cloneGrowX;
    m_cloneGrowBaseY = m_cloneGrowY;
    extendStrokeBox(pos);
    if (m_tool == 8)
        stampRelease();
}
void PhotoItem::recvDoublePress() {}
void PhotoItem::recvLeftMoveChangePoint(QPointF pos, int x, int y, int type)
{
    Q_UNUSED(pos); Q_UNUSED(x); Q_UNUSED(y); Q_UNUSED(type);
}
cv::Mat PhotoItem::buildMovedPiece(int dw, int dh, bool fromHandle)
{
    Q_UNUSED(dw); Q_UNUSED(dh); Q_UNUSED(fromHandle);
    return cv::Mat();
}
cv::Mat &PhotoItem::activeLayer() { return m_colorType == 1 ? m_inpaintMaskBK : m_inpaintMask; }
cv::Mat &PhotoItem::activeBase() { return m_colorType == 1 ? m_strokeBaseGreen : m_strokeBaseRed; }
CustomWidget *PhotoItem::activeWidget() const { return m_colorType == 1 ? m_frontGreenWidget : m_frontWidget; }
void PhotoItem::showLayer(const cv::Mat &, CustomWidget *) {}
void PhotoItem::pushSelectionEntry(const cv::Rect &, const QString &) {}
QString PhotoItem::undoTextForTool() const { return QString(); }
void PhotoItem::polygonClick(QPointF) {}
void PhotoItem::closeRedOrGreenPolygon(const cv::Rect &) {}
void PhotoItem::grabAt(QPointF) {}
void PhotoItem::dragPiece(QPointF) {}
void PhotoItem::showMovedPiece() {}
