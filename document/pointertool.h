#ifndef POINTERTOOL_H
#define POINTERTOOL_H

#include <QPointF>
#include <opencv2/core/types.hpp>

#include "tools.h"

class PhotoItem;

// What a tool does with the pointer on a photo. PhotoItem receives every
// pointer event (already in image coordinates), does the bookkeeping all
// tools share, and hands the event once to the unit of its current tool
// (pointerTool). A unit keeps no state: the gesture under way (points,
// boxes, the grabbed piece, the stamp's snapshot) belongs to the photo, so
// one instance of each unit serves every photo.
//
// The defaults are what a tool without pixels of its own does (no tool yet,
// the hand that moves the view, a number that names no tool).
class PointerTool
{
public:
    virtual ~PointerTool() = default;

    // The window told this tool, or told it again.
    virtual void chosen(PhotoItem &doc) const;
    // Left button down: grows the work and stroke boxes by the point and
    // takes it as the pointer's place.
    virtual void press(PhotoItem &doc, QPointF pos) const;
    // Moved with the button down, after the boxes grew by the point:
    // follows the pointer.
    virtual void drag(PhotoItem &doc, QPointF pos) const;
    // Moved, with the button up or down, after the photo followed the pointer.
    virtual void hover(PhotoItem &doc, QPointF pos) const;
    // Left button up, after the stroke box grew by the point; the photo
    // ends the lasso's trail afterwards.
    virtual void release(PhotoItem &doc, QPointF pos) const;
    virtual void doubleClick(PhotoItem &doc) const;
    // A handle of the piece held by (x, y) image pixels from where it was
    // pressed; a corner handle keeps the proportion.
    virtual void resize(PhotoItem &doc, int x, int y, bool corner) const;
    // Alt-click: picks where a tool copies from.
    virtual void pickSource(PhotoItem &doc, QPointF pos) const;
    // Escape: the polygon and the stamp region under way go. Not an undo step.
    virtual void cancel(PhotoItem &doc) const;
};

// The unit of each tool. Each one's code is in the file of its concern:
// photoitem_selection.cpp (the selection and stamp region tools),
// photoitem_stamp.cpp, photoitem_piece.cpp.

// What the selection tools share: the press keeps the layer as it was for
// the gesture's undo entry, the release makes that entry.
class SelectionTool : public PointerTool
{
public:
    void press(PhotoItem &doc, QPointF pos) const override;
    void release(PhotoItem &doc, QPointF pos) const override;

protected:
    // The tool's name in its undo entry, after the colour ("Red ", "Green ").
    virtual const char *entryName() const = 0;
    void pushEntry(PhotoItem &doc) const;
    // The active layer back on the screen; painting green marks the photo
    // as having a donor area.
    static void showPainted(PhotoItem &doc, bool paintsDonor);
};

class RectangleTool : public SelectionTool
{
public:
    void drag(PhotoItem &doc, QPointF pos) const override;

protected:
    const char *entryName() const override { return "Rectangle Selection Brush"; }
};

class LassoTool : public SelectionTool
{
public:
    void drag(PhotoItem &doc, QPointF pos) const override;
    void release(PhotoItem &doc, QPointF pos) const override;

protected:
    const char *entryName() const override { return "Lasso Selection Brush"; }
};

class PolygonTool : public SelectionTool
{
public:
    void press(PhotoItem &doc, QPointF pos) const override;
    void hover(PhotoItem &doc, QPointF pos) const override;
    // A polygon's entry comes when it closes, not at a release.
    void release(PhotoItem &, QPointF) const override {}
    void doubleClick(PhotoItem &doc) const override;

protected:
    const char *entryName() const override { return "Polygon Selection Brush"; }

private:
    void close(PhotoItem &doc) const;
};

class BrushTool : public SelectionTool
{
public:
    void press(PhotoItem &doc, QPointF pos) const override;
    void drag(PhotoItem &doc, QPointF pos) const override;

protected:
    const char *entryName() const override { return "Selection Brush"; }
};

class FixSelectionTool : public SelectionTool
{
public:
    void drag(PhotoItem &doc, QPointF pos) const override;

protected:
    const char *entryName() const override { return "Fix the Selection Brush"; }
};

// The stamp region (m_strokeBaseRed) that fences where the stamp paints.
class StampRegionTool : public PointerTool
{
public:
    // Each new region starts empty.
    void chosen(PhotoItem &doc) const override;

protected:
    static void finish(PhotoItem &doc);
};

class StampRegionLassoTool : public StampRegionTool
{
public:
    void drag(PhotoItem &doc, QPointF pos) const override;
    void release(PhotoItem &doc, QPointF pos) const override;
};

class StampRegionPolygonTool : public StampRegionTool
{
public:
    void press(PhotoItem &doc, QPointF pos) const override;
    void hover(PhotoItem &doc, QPointF pos) const override;
};

class StampTool : public PointerTool
{
public:
    void press(PhotoItem &doc, QPointF pos) const override;
    void drag(PhotoItem &doc, QPointF pos) const override;
    void hover(PhotoItem &doc, QPointF pos) const override;
    void release(PhotoItem &doc, QPointF pos) const override;
    void pickSource(PhotoItem &doc, QPointF pos) const override;

private:
    // False when the press must go no further (no source yet).
    static bool startStroke(PhotoItem &doc, QPointF pos);
    // The undo entry of the gesture under way, if there is one.
    static void endStroke(PhotoItem &doc);
    // The image pixels a dab at pos may touch.
    static cv::Rect dabRect(const PhotoItem &item, QPointF pos);
    // The photo before the gesture, for its undo entry.
    static void snapshotImage(PhotoItem &item);
    // The canvas's photo brought in step with the image inside rect.
    static void refreshPhotoRect(PhotoItem &item, const cv::Rect &rect);
    // What a dab at pos would copy, under the pointer.
    static void showStampPreview(PhotoItem &item, QPointF pos);
};

// The two tools that move a selected piece of the photo: the press grabs it
// when it falls on the piece, a drag moves what was grabbed.
class PieceTool : public PointerTool
{
public:
    void press(PhotoItem &doc, QPointF pos) const override;
    void drag(PhotoItem &doc, QPointF pos) const override;

protected:
    virtual void grab(PhotoItem &doc, QPointF pos) const = 0;
    // Called with the selection's box, never empty.
    virtual void moveTo(PhotoItem &doc, QPointF pos, const cv::Rect &box) const = 0;
};

// Drags the selected pixels themselves over a copy of the photo.
class PieceDragTool : public PieceTool
{
protected:
    void grab(PhotoItem &doc, QPointF pos) const override;
    void moveTo(PhotoItem &doc, QPointF pos, const cv::Rect &box) const override;
};

// Moves and resizes a copy of the selected piece on the green layer.
class SmartCloneTool : public PieceTool
{
public:
    void resize(PhotoItem &doc, int x, int y, bool corner) const override;
    // Also the piece and its resize go.
    void cancel(PhotoItem &doc) const override;

protected:
    void grab(PhotoItem &doc, QPointF pos) const override;
    void moveTo(PhotoItem &doc, QPointF pos, const cv::Rect &box) const override;

private:
    static void showPiece(PhotoItem &doc, int dw, int dh, bool fromHandle);
};

// The pixel a point of the pointer falls in (coordinates truncated, as the
// drawing calls take them).
inline cv::Point pixelAt(QPointF p)
{
    return cv::Point(int(p.x()), int(p.y()));
}

// The unit of a tool; the defaults for a tool with no pixels of its own.
const PointerTool &pointerTool(Tool tool);

#endif // POINTERTOOL_H
