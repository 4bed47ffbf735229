// The defaults of a pointer tool and the one table from tool to unit.
#include "pointertool.h"
#include "photoitem.h"

void PointerTool::chosen(PhotoItem &) const {}

void PointerTool::press(PhotoItem &doc, QPointF pos) const
{
    doc.extendWorkBox(pos);
    doc.extendStrokeBox(pos);
    doc.m_pointer.m_curPos = pos;
}

void PointerTool::drag(PhotoItem &doc, QPointF pos) const
{
    doc.m_pointer.m_prevPos = doc.m_pointer.m_curPos;
    doc.m_pointer.m_curPos = pos;
}

void PointerTool::hover(PhotoItem &, QPointF) const {}
void PointerTool::release(PhotoItem &, QPointF) const {}
void PointerTool::doubleClick(PhotoItem &) const {}
void PointerTool::resize(PhotoItem &, int, int, bool) const {}
void PointerTool::pickSource(PhotoItem &, QPointF) const {}

void PointerTool::cancel(PhotoItem &doc) const
{
    doc.m_selection.m_polyCount = 0;
    doc.m_stamp.m_stampRegionActive = 0;
    doc.clearStrokeBaseRed();
}

const PointerTool &pointerTool(Tool tool)
{
    static const PointerTool none;
    static const RectangleTool rectangle;
    static const LassoTool lasso;
    static const PolygonTool polygon;
    static const BrushTool brush;
    static const FixSelectionTool fixSelection;
    static const PieceDragTool pieceDrag;
    static const StampTool stamp;
    static const StampRegionLassoTool stampRegionLasso;
    static const StampRegionPolygonTool stampRegionPolygon;
    static const SmartCloneTool smartClone;
    switch (tool) {
    case Tool::Rectangle: return rectangle;
    case Tool::Lasso: return lasso;
    case Tool::Polygon: return polygon;
    case Tool::Brush: return brush;
    case Tool::FixSelection: return fixSelection;
    case Tool::PieceDrag: return pieceDrag;
    case Tool::Stamp: return stamp;
    case Tool::StampRegionLasso: return stampRegionLasso;
    case Tool::StampRegionPolygon: return stampRegionPolygon;
    case Tool::SmartClone: return smartClone;
    case Tool::None:
    case Tool::MoveView: // the canvas moves the view; the photo has nothing to do
        break;
    }
    return none;
}
