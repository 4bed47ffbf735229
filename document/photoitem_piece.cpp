// The tools that move a selected piece of the photo: the piece drag
// (the selected pixels pasted over a copy of the photo) and the smart clone
// (a copy of the piece on the green layer, moved and resized by its handles,
// which the clone job then blends in).
#include "photoitem.h"
#include "pointertool.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

void PieceTool::press(PhotoItem &doc, QPointF pos) const
{
    doc.extendWorkBox(pos);
    doc.extendStrokeBox(pos);
    grab(doc, pos);
}

void PieceTool::drag(PhotoItem &doc, QPointF pos) const
{
    if (!doc.m_clone.m_grabbed)
        return;
    const cv::Rect r = doc.selectionBounds();
    if (r.width < 1 || r.height < 1)
        return;
    moveTo(doc, pos, r);
}

// ---------------------------------------------------------------- piece drag

void PieceDragTool::grab(PhotoItem &doc, QPointF pos) const
{
    const cv::Rect r = doc.selectionBounds();
    const cv::Point p = pixelAt(pos);
    if (p.x >= r.x && p.x <= r.x + r.width - 1 && p.y >= r.y && p.y <= r.y + r.height - 1) {
        doc.m_clone.m_grabbed = 1;
        doc.m_clone.m_dragOriginX = r.x;
        doc.m_clone.m_dragOriginY = r.y;
        doc.m_clone.m_dragPressX = p.x;
        doc.m_clone.m_dragPressY = p.y;
    }
}

void PieceDragTool::moveTo(PhotoItem &doc, QPointF pos, const cv::Rect &r) const
{
    // The selected pixels, pasted at the drag position on a copy.
    doc.m_clone.m_moveX = std::max(0, int(pos.x() + doc.m_clone.m_dragOriginX - doc.m_clone.m_dragPressX));
    doc.m_clone.m_moveY = std::max(0, int(pos.y() + doc.m_clone.m_dragOriginY - doc.m_clone.m_dragPressY));
    doc.m_clone.m_moveX = std::min(doc.m_clone.m_moveX, doc.m_imageCols - (doc.m_clone.m_cloneGrowX + r.width));
    doc.m_clone.m_moveY = std::min(doc.m_clone.m_moveY, doc.m_imageRows - (doc.m_clone.m_cloneGrowY + r.height));
    doc.m_image.copyTo(doc.m_clone.m_clonePreview);
    for (int row = 0; row < r.height; ++row) {
        const int ty = doc.m_clone.m_moveY + row;
        if (ty < 0 || ty >= doc.m_imageRows)
            continue;
        const cv::Vec4b *mask = doc.m_selection.m_inpaintMask.ptr<cv::Vec4b>(r.y + row);
        const cv::Vec3b *src = doc.m_image.ptr<cv::Vec3b>(r.y + row);
        cv::Vec3b *dst = doc.m_clone.m_clonePreview.ptr<cv::Vec3b>(ty);
        for (int col = 0; col < r.width; ++col) {
            const int tx = doc.m_clone.m_moveX + col;
            if (mask[r.x + col][2] != 0 && tx >= 0 && tx < doc.m_imageCols)
                dst[tx] = src[r.x + col];
        }
    }
    doc.m_midWidget->showPixmap(doc.m_display.pixmap(doc.m_clone.m_clonePreview));
}

// ---------------------------------------------------------------- smart clone

void SmartCloneTool::grab(PhotoItem &doc, QPointF pos) const
{
    const cv::Rect r = doc.selectionBounds();
    if (r.width < 1 && r.height < 1)
        return;
    const cv::Point p = pixelAt(pos);
    // The grow is counted twice in the far edge, as the piece was designed.
    const int x = r.x + doc.m_clone.m_cloneGrowX, y = r.y + doc.m_clone.m_cloneGrowY;
    if (p.x >= x && p.x <= x + doc.m_clone.m_cloneGrowX + r.width - 1 && p.y >= y
        && p.y <= y + doc.m_clone.m_cloneGrowY + r.height - 1) {
        doc.m_clone.m_grabbed = 1;
        doc.m_clone.m_dragOriginX = doc.m_clone.m_dragPressX = x;
        doc.m_clone.m_dragOriginY = doc.m_clone.m_dragPressY = y;
    }
}

void SmartCloneTool::moveTo(PhotoItem &doc, QPointF pos, const cv::Rect &r) const
{
    const int w = r.width + doc.m_clone.m_cloneGrowX, h = r.height + doc.m_clone.m_cloneGrowY;
    // The pointer holds the centre of the piece.
    doc.m_clone.m_moveX = std::max(0, int(pos.x() - w / 2));
    doc.m_clone.m_moveY = std::max(0, int(pos.y() - h / 2));
    doc.m_clone.m_moveX = std::min(doc.m_clone.m_moveX, doc.m_imageCols - w);
    doc.m_clone.m_moveY = std::min(doc.m_clone.m_moveY, doc.m_imageRows - h);
    showPiece(doc, doc.m_clone.m_cloneGrowX, doc.m_clone.m_cloneGrowY, false);
}

void SmartCloneTool::resize(PhotoItem &doc, int x, int y, bool corner) const
{
    const cv::Rect r = doc.selectionBounds();
    // A selection one pixel thin has a side of 0 in this form: no handle
    // can scale it (and the proportion would divide by zero).
    if (r.width < 1 || r.height < 1)
        return;
    if (corner) {
        // Proportional: the smaller travel decides.
        if (x >= y)
            x = y * r.width / r.height;
        else
            y = r.height * x / r.width;
    }
    const int w = x + doc.m_clone.m_cloneGrowBaseX, h = y + doc.m_clone.m_cloneGrowBaseY;
    // At least one pixel, never larger than the image; position not considered.
    if (!(-w < r.width && -h < r.height && r.width + w <= doc.m_imageCols && r.height + h <= doc.m_imageRows))
        return;
    doc.m_clone.m_cloneGrowX = w;
    doc.m_clone.m_cloneGrowY = h;
    showPiece(doc, w, h, true);
}

void SmartCloneTool::cancel(PhotoItem &doc) const
{
    PointerTool::cancel(doc);
    doc.clearInpaintMaskBK();
    doc.m_clone.m_cloneGrowX = doc.m_clone.m_cloneGrowY = 0;
    doc.m_clone.m_cloneGrowBaseX = doc.m_clone.m_cloneGrowBaseY = 0;
}

void SmartCloneTool::showPiece(PhotoItem &doc, int dw, int dh, bool fromHandle)
{
    const cv::Mat piece = doc.buildMovedPiece(dw, dh, fromHandle);
    if (piece.empty())
        return;
    doc.m_frontGreenWidget->showLayer(true);
    doc.m_frontGreenWidget->showPiece(doc.m_clone.m_moveX, doc.m_clone.m_moveY, doc.m_display.image(piece));
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
    cv::Mat scratch = (fromHandle ? m_selection.m_strokeBaseRed : m_selection.m_strokeBaseGreen)(cv::Rect(0, 0, r.width, r.height));
    for (int row = 0; row < r.height; ++row) {
        const cv::Vec3b *src = m_image.ptr<cv::Vec3b>(r.y + row) + r.x;
        const cv::Vec4b *mask = m_selection.m_inpaintMask.ptr<cv::Vec4b>(r.y + row) + r.x;
        cv::Vec4b *dst = scratch.ptr<cv::Vec4b>(row);
        for (int col = 0; col < r.width; ++col)
            dst[col] = cv::Vec4b(src[col][0], src[col][1], src[col][2], mask[col][2] == 255 ? 255 : 0);
    }
    // The green layer is the working surface of the smart clone tool.
    cv::Mat result = m_selection.m_inpaintMaskBK(cv::Rect(cv::Point(0, 0), out));
    cv::resize(scratch, result, out, 0, 0, cv::INTER_LINEAR);
    return result;
}
