// The pointer, in image coordinates, reaches the photo here: what every tool
// shares is done once, the rest goes to the unit of the current tool
// (pointertool.h).
#include "photoitem.h"
#include "pointertool.h"

const PointerTool &PhotoItem::currentTool() const { return pointerTool(m_pointer.m_tool); }

// Every tool but the hand works on the selection layers or their scratch.
void PhotoItem::ensureLayersForTool()
{
    if (m_pointer.m_tool != Tool::MoveView && m_pointer.m_tool != Tool::None)
        ensureLayers();
}

void PhotoItem::recvSelectType(int type, int size, int colorType)
{
    m_pointer.m_tool = toolFromCode(type);
    m_pointer.m_brushSize = size;
    m_pointer.m_colorType = colourFromCode(colorType);
    currentTool().chosen(*this);
}

void PhotoItem::recvLeftPressPoint(QPointF pos)
{
    ensureLayersForTool();
    m_pointer.m_pressPos = pos;
    currentTool().press(*this, pos);
}

void PhotoItem::recvLeftMovePoint(QPointF pos)
{
    ensureLayersForTool();
    extendWorkBox(pos);
    extendStrokeBox(pos);
    currentTool().drag(*this, pos);
}

void PhotoItem::recvLeftMoveNoPoint(QPointF pos)
{
    // Hovering needs the layers only for a polygon under way or the
    // stamp's preview.
    if (m_selection.m_polyCount > 0 || !m_stamp.m_stampSourceMissing)
        ensureLayersForTool();
    m_pointer.m_prevPos = m_pointer.m_curPos;
    m_pointer.m_curPos = pos;
    currentTool().hover(*this, pos);
}

void PhotoItem::recvReleasePoint(QPointF pos)
{
    ensureLayersForTool();
    // The piece's size so far is where the next handle drag starts from.
    m_clone.m_cloneGrowBaseX = m_clone.m_cloneGrowX;
    m_clone.m_cloneGrowBaseY = m_clone.m_cloneGrowY;
    extendStrokeBox(pos);
    currentTool().release(*this, pos);
    m_selection.m_lassoCount = 0;
}

void PhotoItem::recvDoublePress()
{
    ensureLayersForTool();
    currentTool().doubleClick(*this);
}

void PhotoItem::recvLeftMoveChangePoint(QPointF pos, int x, int y, int type)
{
    Q_UNUSED(pos);
    ensureLayersForTool();
    currentTool().resize(*this, x, y, type != 0);
}

void PhotoItem::recvLeftALTPressPoint(QPointF pos)
{
    ensureLayersForTool();
    currentTool().pickSource(*this, pos);
}

void PhotoItem::dropSelectionUnderWay(bool smartClone)
{
    // The window knows whether the smart clone is the tool in the hand.
    (smartClone ? pointerTool(Tool::SmartClone) : currentTool()).cancel(*this);
    showOnCanvas();
}
