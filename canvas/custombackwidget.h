#ifndef CUSTOMBACKWIDGET_H
#define CUSTOMBACKWIDGET_H

#include <QColor>
#include <QLabel>
#include <QWidget>

#include "layerview.h"

// Bottom of the canvas stack: a chequer exactly under the image area.
class CustomBackWidget : public QWidget, public LayerView
{
    Q_OBJECT

public:
    explicit CustomBackWidget(QWidget *parent = nullptr);

    void setImageSize(int cols, int rows, QWidget *source);
    void showImageSize(int cols, int rows) override { setImageSize(cols, rows, this); }
    void setScale(double scale);
    double scale() const { return m_scale; }
    // A shadow of the image area, painted under it at the given offset.
    void setDropShadow(QPoint offset, QColor colour);
    QRect backdropGeometry() const { return m_backdropLabel->geometry(); }

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void layoutBackdrop();

    QLabel *m_backdropLabel;
    QWidget *m_geometrySource = nullptr;
    int m_cols = 0;
    int m_rows = 0;
    double m_scale = 1.0;
    QPoint m_shadowOffset;
    QColor m_shadowColour;
};

#endif // CUSTOMBACKWIDGET_H
