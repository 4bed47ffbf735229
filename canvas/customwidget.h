#ifndef CUSTOMWIDGET_H
#define CUSTOMWIDGET_H

#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QPointF>
#include <QRect>
#include <QWidget>

#include "layerview.h"
#include "tools.h"

// One layer of the canvas stack: draws an image or a pixmap at a zoom and a
// scroll offset, and turns pointer events into image coordinates.
class CustomWidget : public QWidget, public LayerView
{
    Q_OBJECT

public:
    explicit CustomWidget(QWidget *parent = nullptr);

    // Content; each setter returns to paint mode 0 (except the two previews)
    // and schedules a repaint.
    void setImage(QImage image, QWidget *source);
    void setPixmap(QPixmap pixmap, QWidget *source);
    void setImageFile(QString path, QWidget *source);
    void setStampPreview(int sourceX, int sourceY, int x, int y, QImage image);
    void setPieceImage(int x, int y, QImage image);
    void setScale(double scale);
    void setScroll(double x, double y);

    // The document's view of this layer.
    void showImage(const QImage &image) override { setImage(image, this); }
    void showPixmap(const QPixmap &pixmap) override { setPixmap(pixmap, this); }
    void showImageFile(const QString &path) override { setImageFile(path, this); }
    void showLayer(bool shown) override { setVisible(shown); }
    void showStampPreview(int sourceX, int sourceY, int x, int y, const QImage &image) override
    {
        setStampPreview(sourceX, sourceY, x, y, image);
    }
    void showPiece(int x, int y, const QImage &image) override { setPieceImage(x, y, image); }
    bool paintPhotoPatch(int x, int y, const QImage &patch, QSize photoSize) override;
    void showEmptyLayer(int cols, int rows) override;

    // Widget position (rounded) to image position; false if outside the image.
    bool mapToImage(const QPointF &widgetPos, QPointF *imagePos);
    int handleAt(const QPoint &widgetPos) const;
    void setHandleCursor(int handle);

    // Read access for the window and for tests.
    double scale() const { return m_scale; }
    int scrollX() const { return m_scrollX; }
    int scrollY() const { return m_scrollY; }
    int offsetLeft() const { return m_offsetLeft; }
    int offsetTop() const { return m_offsetTop; }
    int scaledWidth() const { return m_scaledWidth; }
    int scaledHeight() const { return m_scaledHeight; }
    Tool tool() const { return m_tool; }
    int brushSize() const { return m_brushSize; }
    Colour colorType() const { return m_colorType; }
    const QImage &overlayImage() const { return m_overlayImage; }
    const QPixmap &pixmap() const { return m_pixmap; }
    QRect pieceRect() const { return m_pieceRect; }
    QRect handleRect(int handle) const;
    // Resource path of the picture behind the present brush cursor (empty
    // for the shape cursors); the ring table lives in one function.
    QString cursorFile() const { return m_cursorFile; }
    static QString ringFileForDiameter(double d);

    int paintMode = 0; // 0 plain, 1 stamp preview, 2 moved piece

signals:
    void sendLeftPressPoint(QPointF pos);
    void sendLeftMovePoint(QPointF pos);
    void sendLeftMoveNoPoint(QPointF pos);
    void sendReleasePoint(QPointF pos);
    void sendLeftALTPressPoint(QPointF pos);
    void sendLeftMoveChangePoint(QPointF pos, int x, int y, int type);
    void senddoublepress();
    void sendMove(int width, int height);
    void sendFit();
    void send100();
    void send200();
    void sendzoomin();
    void sendzoomout();
    // Published with the canvas's signals (the scene view emits its getScale);
    // this widget never emits either.
    void getPosition(QString pos);
    void getScale(int value);

public slots:
    void recvSelectType(int type, int size, int colorType);
    void openUrl_fit();
    void openUrl_100();
    void openUrl_200();
    void openUrl_zoomin();
    void openUrl_zoomout();
    void recvaltPress();
    void recvaltRelease();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void updateScaledSize();
    void computeLayout();
    void applyToolCursor();
    void setPictureCursor(const QString &file, int size, const QColor &fallback);
    void setOwnSizeCursor(const QString &file);
    void setShapeCursor(Qt::CursorShape shape);
    void paintPiece();
    void paintStampPreview();

    QImage m_pieceImage;
    QImage m_stampImage;
    QPainter m_painter;
    QPixmap m_pixmap;
    QImage m_overlayImage;
    // The image size the pointer is mapped over: the overlay's, or that of
    // an empty layer (showEmptyLayer) that has no image.
    QSize m_layerSize;
    int m_scaledWidth = 0;
    int m_scaledHeight = 0;
    double m_scale = 1.0;
    int m_viewWidth = 0;
    int m_viewHeight = 0;
    int m_scrollX = 0;
    int m_scrollY = 0;
    int m_drawWidth = 0;
    int m_drawHeight = 0;
    int m_offsetLeft = 0;
    int m_offsetTop = 0;
    QWidget *m_geometrySource = nullptr;
    QPointF m_handPress;
    quint8 m_handDragging = 0;
    int m_sourceMark[2] = {0, 0};
    int m_pieceOrigin[2] = {0, 0};
    // No tool is in force until the window first tells one; 0 matches no code.
    Tool m_tool = Tool::None;
    Colour m_colorType = Colour::Mask;
    int m_brushSize = 30;
    QPointF m_handlePress;
    int m_handleActive = 0;
    QRect m_pieceRect;
    QRect m_handleRects[8];
    int m_handleHit = 0;
    // Context menu entries, made once on first use.
    QAction *m_fitAction = nullptr;
    QAction *m_100Action = nullptr;
    QAction *m_200Action = nullptr;
    QAction *m_zoomInAction = nullptr;
    QAction *m_zoomOutAction = nullptr;
    QString m_cursorFile;
};

#endif // CUSTOMWIDGET_H
