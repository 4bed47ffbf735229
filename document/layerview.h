#ifndef LAYERVIEW_H
#define LAYERVIEW_H

#include <QImage>
#include <QPixmap>
#include <QSize>
#include <QString>

// What a photo document draws into: one layer of the canvas stack. The
// canvas implements it, so the document shows its pixels without knowing
// any widget. Every call has a do-nothing default: the back of the stack
// only hears the image size, the layers everything else.
class LayerView
{
public:
    virtual ~LayerView() = default;

    virtual void showImage(const QImage &image) { Q_UNUSED(image); }
    virtual void showPixmap(const QPixmap &pixmap) { Q_UNUSED(pixmap); }
    // The photo as read from its file (the original of "before").
    virtual void showImageFile(const QString &path) { Q_UNUSED(path); }
    virtual void showLayer(bool shown) { Q_UNUSED(shown); }
    // The stamp's preview under the pointer, with the source mark.
    virtual void showStampPreview(int sourceX, int sourceY, int x, int y, const QImage &image)
    {
        Q_UNUSED(sourceX); Q_UNUSED(sourceY); Q_UNUSED(x); Q_UNUSED(y); Q_UNUSED(image);
    }
    // The smart clone's moved piece at its top left corner.
    virtual void showPiece(int x, int y, const QImage &image)
    {
        Q_UNUSED(x); Q_UNUSED(y); Q_UNUSED(image);
    }
    // Paints a patch of the photo into the pixmap shown, in place. False
    // when the layer does not show a pixmap of this photo's size (then the
    // caller sets the whole photo). An empty patch changes nothing.
    virtual bool paintPhotoPatch(int x, int y, const QImage &patch, QSize photoSize)
    {
        Q_UNUSED(x); Q_UNUSED(y); Q_UNUSED(patch); Q_UNUSED(photoSize);
        return false;
    }
    virtual void showImageSize(int cols, int rows) { Q_UNUSED(cols); Q_UNUSED(rows); }
    // A selection layer that holds nothing and has no pixels yet: the layer
    // lets go of any image it wrapped, paints nothing, and still maps the
    // pointer over a photo of this size.
    virtual void showEmptyLayer(int cols, int rows) { Q_UNUSED(cols); Q_UNUSED(rows); }
};

#endif // LAYERVIEW_H
