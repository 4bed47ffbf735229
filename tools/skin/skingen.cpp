// skingen: draws every picture of Mervane's skin from code and writes the PNG
// files into resources/. Each icon is vector drawing on a small design grid,
// so the sprite sheet comes out at 1x and 2x from the same code.
//
//   skingen <resources-dir>
//
// The cell coordinates below are the contract with the style sheets in
// dialogs/skin.cpp; moving a cell here means moving it there too.

#include <QDir>
#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QTextStream>
#include <QtMath>

#include "spritesheet.h"

#include <cstdio>
#include <functional>

namespace {

enum State { Plain, Hover, Pressed, Disabled };

// Palette of the skin.
const QColor kAccent(0xf0, 0x9c, 0x0b);
const QColor kAccentLight(0xf7, 0xb2, 0x3b);
const QColor kAccentDark(0xc9, 0x80, 0x05);
const QColor kGlyph(0xc4, 0xc2, 0xca);
const QColor kGlyphDim(0x63, 0x60, 0x69);
const QColor kHoverBack(0x52, 0x4e, 0x5a);
const QColor kInk(0x2b, 0x29, 0x2f);
const QColor kText(0xe8, 0xe8, 0xe8);

using Draw = std::function<void(QPainter &, const QColor &)>;

QPen pen(const QColor &c, qreal w = 2.0, Qt::PenStyle s = Qt::SolidLine)
{
    QPen p(c, w, s, Qt::RoundCap, Qt::RoundJoin);
    return p;
}

QPen dashPen(const QColor &c, qreal w = 1.8)
{
    QPen p(c, w, Qt::CustomDashLine, Qt::FlatCap, Qt::MiterJoin);
    p.setDashPattern({2.0, 1.2});
    return p;
}

// Runs f with the painter mapped so that a design box of `design` units fills `cell`.
void inCell(QPainter &p, const QRectF &cell, qreal design, const std::function<void()> &f)
{
    p.save();
    p.translate(cell.topLeft());
    p.scale(cell.width() / design, cell.height() / design);
    f();
    p.restore();
}

void fillPath(QPainter &p, const QPainterPath &path, const QColor &c)
{
    p.setPen(Qt::NoPen);
    p.setBrush(c);
    p.drawPath(path);
    p.setBrush(Qt::NoBrush);
}

// ---------------------------------------------------------------- glyphs
// Every glyph draws in a 32 x 32 box with the given colour.

void glyphRect(QPainter &p, const QColor &c)
{
    p.setPen(dashPen(c, 2.0));
    p.drawRect(QRectF(7.5, 9.5, 17, 13));
    p.setPen(Qt::NoPen);
    p.setBrush(c);
    for (QPointF pt : {QPointF(7.5, 9.5), QPointF(24.5, 9.5), QPointF(7.5, 22.5), QPointF(24.5, 22.5)})
        p.drawRect(QRectF(pt.x() - 1.8, pt.y() - 1.8, 3.6, 3.6));
    p.setBrush(Qt::NoBrush);
}

void glyphLasso(QPainter &p, const QColor &c)
{
    p.setPen(dashPen(c, 2.0));
    p.drawEllipse(QPointF(17.5, 12.5), 9.0, 6.0);
    QPainterPath tail;
    tail.moveTo(11.5, 17.0);
    tail.cubicTo(9.0, 20.5, 13.5, 22.5, 10.5, 26.5);
    p.setPen(pen(c, 1.8));
    p.drawPath(tail);
    p.setPen(Qt::NoPen);
    p.setBrush(c);
    p.drawEllipse(QPointF(11.5, 17.0), 2.0, 2.0);
    p.setBrush(Qt::NoBrush);
}

void glyphPoly(QPainter &p, const QColor &c)
{
    const QPolygonF poly({QPointF(7, 12), QPointF(17, 6.5), QPointF(25.5, 13),
                          QPointF(21.5, 25.5), QPointF(9, 22.5)});
    p.setPen(dashPen(c, 1.8));
    p.drawPolygon(poly);
    p.setPen(Qt::NoPen);
    p.setBrush(c);
    for (const QPointF &pt : poly)
        p.drawRect(QRectF(pt.x() - 2, pt.y() - 2, 4, 4));
    p.setBrush(Qt::NoBrush);
}

void glyphBrush(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 3.2));
    p.drawLine(QPointF(18.5, 13.5), QPointF(25.5, 6.5));
    QPen ferrule(c, 5.0, Qt::SolidLine, Qt::FlatCap);
    p.setPen(ferrule);
    p.drawLine(QPointF(15.0, 17.0), QPointF(18.2, 13.8));
    QPainterPath tip;
    tip.moveTo(12.8, 15.2);
    tip.cubicTo(9.0, 16.0, 7.5, 20.0, 6.5, 25.5);
    tip.cubicTo(12.0, 24.5, 16.0, 23.0, 16.8, 19.2);
    tip.closeSubpath();
    fillPath(p, tip, c);
    p.setPen(pen(c, 1.8));
    p.drawLine(QPointF(24, 19), QPointF(24, 27));
    p.drawLine(QPointF(20, 23), QPointF(28, 23));
}

void glyphFix(QPainter &p, const QColor &c)
{
    p.save();
    p.translate(16.5, 14.5);
    p.rotate(-40);
    QPainterPath body;
    body.addRoundedRect(QRectF(-10, -5.5, 20, 11), 2.2, 2.2);
    p.setPen(pen(c, 1.8));
    p.drawPath(body);
    QPainterPath half;
    half.addRoundedRect(QRectF(-10, -5.5, 8, 11), 2.2, 2.2);
    fillPath(p, half, c);
    p.restore();
    p.setPen(pen(c, 1.8));
    p.drawLine(QPointF(7, 25.5), QPointF(25.5, 25.5));
}

void glyphGuide(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.8));
    p.drawLine(QPointF(9.5, 22.5), QPointF(22.5, 9.5));
    p.drawEllipse(QPointF(8, 24), 2.6, 2.6);
    p.drawEllipse(QPointF(24, 8), 2.6, 2.6);
}

void glyphClone(QPainter &p, const QColor &c)
{
    p.setPen(dashPen(c, 1.6));
    p.drawRoundedRect(QRectF(5.5, 5.5, 11, 11), 1.5, 1.5);
    QPainterPath piece;
    piece.addRoundedRect(QRectF(15.5, 15.5, 11, 11), 2, 2);
    QColor soft = c;
    soft.setAlphaF(c.alphaF() * 0.35);
    fillPath(p, piece, soft);
    p.setPen(pen(c, 1.8));
    p.drawPath(piece);
    QPainterPath arrow;
    arrow.moveTo(19.0, 7.5);
    arrow.quadTo(24.5, 7.5, 24.5, 12.0);
    p.drawPath(arrow);
    p.drawLine(QPointF(24.5, 12.5), QPointF(22.0, 10.0));
    p.drawLine(QPointF(24.5, 12.5), QPointF(27.0, 10.0));
    p.drawLine(QPointF(7.5, 19.0), QPointF(7.5, 22.0));
    p.drawLine(QPointF(7.5, 24.5), QPointF(12.0, 24.5));
}

void glyphStamp(QPainter &p, const QColor &c)
{
    QPainterPath s;
    s.addEllipse(QPointF(16, 9), 4.2, 4.2);
    s.addRoundedRect(QRectF(14, 11.5, 4, 5.5), 1, 1);
    s.addRoundedRect(QRectF(7.5, 16.5, 17, 5.5), 1.8, 1.8);
    fillPath(p, s.simplified(), c);
    p.setPen(pen(c, 2.0));
    p.drawLine(QPointF(7.5, 25.5), QPointF(24.5, 25.5));
}

void glyphBeforeAfter(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.8));
    p.drawRoundedRect(QRectF(6, 8.5, 20, 15), 2.5, 2.5);
    QPainterPath left;
    left.addRoundedRect(QRectF(6, 8.5, 10, 15), 2.5, 2.5);
    left.addRect(QRectF(12, 8.5, 4, 15));
    fillPath(p, left.simplified(), c);
    p.setPen(pen(c, 1.8));
    p.drawLine(QPointF(16, 5.5), QPointF(16, 26.5));
}

void glyphMagnifier(QPainter &p, const QColor &c, bool plus)
{
    p.setPen(pen(c, 2.0));
    p.drawEllipse(QPointF(14, 14), 7.5, 7.5);
    p.setPen(pen(c, 3.4));
    p.drawLine(QPointF(19.8, 19.8), QPointF(25.5, 25.5));
    p.setPen(pen(c, 1.8));
    p.drawLine(QPointF(10.5, 14), QPointF(17.5, 14));
    if (plus)
        p.drawLine(QPointF(14, 10.5), QPointF(14, 17.5));
}

void glyphActual(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.6));
    p.drawRoundedRect(QRectF(5, 8.5, 22, 15), 2.5, 2.5);
    QFont f("DejaVu Sans");
    f.setPixelSize(10);
    f.setBold(true);
    p.setFont(f);
    p.setPen(c);
    p.drawText(QRectF(5, 8.5, 22, 15), Qt::AlignCenter, "1:1");
}

void glyphFit(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 2.0));
    const qreal a = 6, b = 26, l = 5.5;
    p.drawPolyline(QPolygonF({QPointF(a, a + l), QPointF(a, a), QPointF(a + l, a)}));
    p.drawPolyline(QPolygonF({QPointF(b - l, a), QPointF(b, a), QPointF(b, a + l)}));
    p.drawPolyline(QPolygonF({QPointF(a, b - l), QPointF(a, b), QPointF(a + l, b)}));
    p.drawPolyline(QPolygonF({QPointF(b - l, b), QPointF(b, b), QPointF(b, b - l)}));
    p.setPen(pen(c, 1.6));
    p.drawRoundedRect(QRectF(11, 11, 10, 10), 1.5, 1.5);
}

void glyphHand(QPainter &p, const QColor &c)
{
    QPainterPath h;
    h.setFillRule(Qt::WindingFill);
    h.addRoundedRect(QRectF(9.5, 13.5, 14, 13), 5, 5);
    h.addRoundedRect(QRectF(9.5, 8.0, 3.4, 12), 1.7, 1.7);
    h.addRoundedRect(QRectF(13.1, 5.5, 3.4, 14), 1.7, 1.7);
    h.addRoundedRect(QRectF(16.7, 6.5, 3.4, 13), 1.7, 1.7);
    h.addRoundedRect(QRectF(20.3, 9.0, 3.2, 11), 1.6, 1.6);
    QTransform t;
    t.translate(9.5, 19.5);
    t.rotate(-45);
    QPainterPath thumb;
    thumb.addRoundedRect(QRectF(-1.7, -1.5, 3.4, 9.5), 1.7, 1.7);
    h.addPath(t.map(thumb));
    fillPath(p, h.simplified(), c);
}

void glyphUndo(QPainter &p, const QColor &c)
{
    QPainterPath arc;
    arc.moveTo(11.0, 12.5);
    arc.lineTo(18.0, 12.5);
    arc.cubicTo(22.5, 12.5, 25.5, 15.5, 25.5, 19.0);
    arc.cubicTo(25.5, 22.5, 22.5, 25.0, 18.5, 25.0);
    arc.lineTo(14.0, 25.0);
    p.setPen(pen(c, 2.2));
    p.drawPath(arc);
    QPainterPath head;
    head.moveTo(6.0, 12.5);
    head.lineTo(12.5, 7.0);
    head.lineTo(12.5, 18.0);
    head.closeSubpath();
    fillPath(p, head, c);
}

void glyphRedo(QPainter &p, const QColor &c)
{
    p.save();
    p.translate(32, 0);
    p.scale(-1, 1);
    glyphUndo(p, c);
    p.restore();
}

void glyphHistory(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 2.0));
    QRectF r(6.5, 6.5, 19, 19);
    p.drawArc(r, 130 * 16, -320 * 16);
    QPainterPath head;
    const qreal ang = qDegreesToRadians(130.0);
    const QPointF tip(16 + 9.5 * qCos(ang), 16 - 9.5 * qSin(ang));
    head.moveTo(tip + QPointF(-3.6, -1.2));
    head.lineTo(tip + QPointF(2.6, -2.6));
    head.lineTo(tip + QPointF(-0.6, 3.6));
    head.closeSubpath();
    fillPath(p, head, c);
    p.setPen(pen(c, 2.0));
    p.drawLine(QPointF(16, 16), QPointF(16, 10.5));
    p.drawLine(QPointF(16, 16), QPointF(20, 18.5));
}

void glyphSave(QPainter &p, const QColor &c)
{
    QPainterPath body;
    body.moveTo(7, 9);
    body.quadTo(7, 7, 9, 7);
    body.lineTo(21.5, 7);
    body.lineTo(25, 10.5);
    body.lineTo(25, 23);
    body.quadTo(25, 25, 23, 25);
    body.lineTo(9, 25);
    body.quadTo(7, 25, 7, 23);
    body.closeSubpath();
    p.setPen(pen(c, 1.8));
    p.drawPath(body);
    QPainterPath label;
    label.addRect(QRectF(11, 7, 9, 5.5));
    fillPath(p, label, c);
    p.setPen(pen(c, 1.8));
    p.drawRoundedRect(QRectF(10.5, 16.5, 11, 8.5), 1, 1);
}

void glyphPrint(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.8));
    p.drawRect(QRectF(10.5, 6.5, 11, 6));
    QPainterPath body;
    body.addRoundedRect(QRectF(5.5, 12.5, 21, 10), 2.5, 2.5);
    QPainterPath paper;
    paper.addRect(QRectF(10.5, 18.5, 11, 8));
    // The sheet coming out covers the lower edge of the body.
    QPainterPath outside;
    outside.addRect(QRectF(0, 0, 32, 32));
    p.save();
    p.setClipPath(outside.subtracted(paper));
    p.drawPath(body);
    p.restore();
    p.setPen(pen(c, 1.8));
    p.drawPath(paper);
    p.drawLine(QPointF(13, 21.5), QPointF(19, 21.5));
    p.setPen(Qt::NoPen);
    p.setBrush(c);
    p.drawEllipse(QPointF(22.5, 15.8), 1.1, 1.1);
    p.setBrush(Qt::NoBrush);
}

// Header glyphs, 19 x 19.
void glyphMenu(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.5));
    for (qreal y : {6.0, 9.5, 13.0})
        p.drawLine(QPointF(5, y), QPointF(14, y));
}
void glyphMinimise(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.5));
    p.drawLine(QPointF(5, 13), QPointF(14, 13));
}
void glyphMaximise(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.5));
    p.drawRoundedRect(QRectF(5, 5, 9, 9), 1, 1);
}
void glyphCross(QPainter &p, const QColor &c)
{
    p.setPen(pen(c, 1.6));
    p.drawLine(QPointF(5.5, 5.5), QPointF(13.5, 13.5));
    p.drawLine(QPointF(13.5, 5.5), QPointF(5.5, 13.5));
}

// Fold chevrons, 18 x 18.
void glyphChevrons(QPainter &p, const QColor &c, bool right)
{
    p.save();
    if (!right) {
        p.translate(18, 0);
        p.scale(-1, 1);
    }
    p.setPen(pen(c, 1.5));
    p.drawPolyline(QPolygonF({QPointF(5, 5), QPointF(9, 9), QPointF(5, 13)}));
    p.drawPolyline(QPolygonF({QPointF(9.5, 5), QPointF(13.5, 9), QPointF(9.5, 13)}));
    p.restore();
}

// ------------------------------------------------------------ state looks

QColor glyphColour(State s)
{
    switch (s) {
    case Plain: return kGlyph;
    case Hover: return kAccent;
    case Pressed: return kInk;
    case Disabled: return kGlyphDim;
    }
    return kGlyph;
}

// A small square button: rounded plate for hover and pressed, glyph on top.
void squareButton(QPainter &p, const QRectF &cell, qreal design, State s, const Draw &glyph,
                  bool danger = false)
{
    inCell(p, cell, design, [&] {
        const qreal inset = design > 24 ? 1.5 : 0.5;
        const qreal radius = design > 24 ? 6 : 4;
        QRectF plate(inset, inset, design - 2 * inset, design - 2 * inset);
        QColor fg = glyphColour(s);
        if (s == Hover) {
            p.setPen(Qt::NoPen);
            p.setBrush(danger ? QColor(0xe5, 0x48, 0x4d) : kHoverBack);
            p.drawRoundedRect(plate, radius, radius);
            if (danger)
                fg = Qt::white;
        } else if (s == Pressed) {
            p.setPen(Qt::NoPen);
            p.setBrush(danger ? QColor(0xb8, 0x3a, 0x3e) : kAccent);
            p.drawRoundedRect(plate, radius, radius);
            if (danger)
                fg = Qt::white;
        }
        p.setBrush(Qt::NoBrush);
        p.save();
        if (design != 32 && design != 19 && design != 18) {
            p.scale(design / 32.0, design / 32.0);
        }
        glyph(p, fg);
        p.restore();
    });
}

void colourButton(QPainter &p, const QRectF &cell, const QColor &base, State s, bool selected)
{
    inCell(p, cell, 27, [&] {
        QColor fill = base;
        if (s == Hover)
            fill = base.lighter(118);
        else if (s == Pressed)
            fill = base.darker(125);
        else if (s == Disabled)
            fill = QColor(0x5a, 0x57, 0x60);
        if (selected || s == Hover) {
            p.setPen(QPen(selected ? kText : fill, 1.6));
            p.setBrush(Qt::NoBrush);
            p.drawRoundedRect(QRectF(1.8, 1.8, 23.4, 23.4), 6.5, 6.5);
        }
        p.setPen(QPen(fill.darker(140), 1.0));
        p.setBrush(fill);
        p.drawRoundedRect(QRectF(5, 5, 17, 17), 4.5, 4.5);
        if (selected) {
            p.setPen(pen(Qt::white, 2.0));
            p.drawPolyline(QPolygonF({QPointF(9.2, 13.8), QPointF(12.3, 16.8), QPointF(18, 10.4)}));
        }
        p.setBrush(Qt::NoBrush);
    });
}

// Large plate used by the welcome, add and remove buttons.
void plate(QPainter &p, const QRectF &r, qreal radius, State s, bool dashedBorder)
{
    QColor fill, border;
    switch (s) {
    case Plain: fill = QColor(0x38, 0x36, 0x3d); border = QColor(0x5a, 0x56, 0x61); break;
    case Hover: fill = QColor(0x44, 0x41, 0x4a); border = kAccent; break;
    case Pressed: fill = kAccent; border = kAccentDark; break;
    case Disabled: fill = QColor(0x34, 0x32, 0x38); border = QColor(0x46, 0x44, 0x4b); break;
    }
    QPen bp(border, 1.6);
    if (dashedBorder && s != Pressed) {
        bp.setStyle(Qt::CustomDashLine);
        bp.setDashPattern({4, 3});
    }
    p.setPen(bp);
    p.setBrush(fill);
    p.drawRoundedRect(r, radius, radius);
    p.setBrush(Qt::NoBrush);
}

QColor largeGlyph(State s)
{
    switch (s) {
    case Plain: return kGlyph;
    case Hover: return kAccent;
    case Pressed: return kInk;
    case Disabled: return kGlyphDim;
    }
    return kGlyph;
}

void plusBadge(QPainter &p, QPointF centre, qreal r, State s)
{
    p.setPen(Qt::NoPen);
    p.setBrush(s == Pressed ? kInk : (s == Disabled ? kGlyphDim : kAccent));
    p.drawEllipse(centre, r, r);
    p.setPen(pen(s == Pressed ? kAccent : QColor(0x2b, 0x29, 0x2f), r * 0.22));
    p.drawLine(centre + QPointF(-r * 0.45, 0), centre + QPointF(r * 0.45, 0));
    p.drawLine(centre + QPointF(0, -r * 0.45), centre + QPointF(0, r * 0.45));
    p.setBrush(Qt::NoBrush);
}

void welcomePhoto(QPainter &p, const QRectF &cell, State s)
{
    inCell(p, cell, 110, [&] {
        plate(p, QRectF(3, 3, 104, 104), 16, s, true);
        const QColor c = largeGlyph(s);
        p.setPen(pen(c, 3.0));
        p.drawRoundedRect(QRectF(25, 30, 52, 42), 5, 5);
        QPainterPath hills;
        hills.moveTo(28, 68);
        hills.lineTo(43, 50);
        hills.lineTo(53, 61);
        hills.lineTo(60, 54);
        hills.lineTo(74, 68);
        hills.closeSubpath();
        fillPath(p, hills, c);
        p.setPen(Qt::NoPen);
        p.setBrush(c);
        p.drawEllipse(QPointF(63, 41), 4.5, 4.5);
        plusBadge(p, QPointF(78, 74), 12, s);
    });
}

void welcomeFolder(QPainter &p, const QRectF &cell, State s)
{
    inCell(p, cell, 110, [&] {
        plate(p, QRectF(3, 3, 104, 104), 16, s, true);
        const QColor c = largeGlyph(s);
        QPainterPath back;
        back.moveTo(24, 36);
        back.quadTo(24, 31, 29, 31);
        back.lineTo(44, 31);
        back.lineTo(50, 37);
        back.lineTo(80, 37);
        back.quadTo(85, 37, 85, 42);
        back.lineTo(85, 72);
        back.quadTo(85, 77, 80, 77);
        back.lineTo(29, 77);
        back.quadTo(24, 77, 24, 72);
        back.closeSubpath();
        p.setPen(pen(c, 3.0));
        p.drawPath(back);
        p.drawLine(QPointF(25, 45), QPointF(84, 45));
        plusBadge(p, QPointF(80, 76), 12, s);
    });
}

void addButton(QPainter &p, const QRectF &cell, State s)
{
    inCell(p, cell, 62, [&] {
        p.save();
        p.scale(1.0, 60.0 / 62.0);
        plate(p, QRectF(3, 3, 56, 56), 11, s, true);
        const QColor c = largeGlyph(s);
        p.setPen(pen(c, 2.4));
        p.drawRoundedRect(QRectF(15, 19, 27, 22), 3, 3);
        QPainterPath hills;
        hills.moveTo(17, 38.5);
        hills.lineTo(25, 29);
        hills.lineTo(31, 35);
        hills.lineTo(35, 31);
        hills.lineTo(40, 38.5);
        hills.closeSubpath();
        fillPath(p, hills, c);
        plusBadge(p, QPointF(43, 41), 8, s);
        p.restore();
    });
}

void eraserGlyph(QPainter &p, QPointF centre, qreal size, const QColor &c)
{
    p.save();
    p.translate(centre);
    p.scale(size / 20.0, size / 20.0);
    p.rotate(-40);
    QPainterPath body;
    body.addRoundedRect(QRectF(-10, -5.5, 20, 11), 2.4, 2.4);
    p.setPen(pen(c, 1.8));
    p.drawPath(body);
    QPainterPath tip;
    tip.addRoundedRect(QRectF(-10, -5.5, 8.5, 11), 2.4, 2.4);
    fillPath(p, tip, c);
    p.restore();
}

void eraseButton(QPainter &p, const QRectF &cell, State s)
{
    // Drawn in its own pixels, 142 x 65, so the plate keeps its proportions.
    p.save();
    p.translate(cell.topLeft());
    p.scale(cell.width() / 142.0, cell.height() / 65.0);
    QRectF r(4, 8, 134, 49);
    QLinearGradient g(r.topLeft(), r.bottomLeft());
    switch (s) {
    case Plain: g.setColorAt(0, QColor(0xf5, 0xa6, 0x23)); g.setColorAt(1, QColor(0xe8, 0x92, 0x05)); break;
    case Hover: g.setColorAt(0, QColor(0xff, 0xbc, 0x45)); g.setColorAt(1, QColor(0xf2, 0x9f, 0x12)); break;
    case Pressed: g.setColorAt(0, QColor(0xc9, 0x7e, 0x04)); g.setColorAt(1, QColor(0xb0, 0x6e, 0x03)); break;
    case Disabled: g.setColorAt(0, QColor(0x58, 0x55, 0x5e)); g.setColorAt(1, QColor(0x4f, 0x4c, 0x55)); break;
    }
    if (s != Pressed && s != Disabled) {
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0, 0, 0, 60));
        p.drawRoundedRect(r.translated(0, 2), 10, 10);
    }
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    p.drawRoundedRect(s == Pressed ? r.translated(0, 1) : r, 10, 10);
    const QColor fg = s == Disabled ? QColor(0x88, 0x85, 0x8e) : QColor(0xff, 0xff, 0xff);
    eraserGlyph(p, QPointF(27, s == Pressed ? 33.5 : 32.5), 22, fg);
    // sparkles
    p.setPen(pen(fg, 1.4));
    const QPointF sp(39.5, 20.5);
    p.drawLine(sp + QPointF(-3, 0), sp + QPointF(3, 0));
    p.drawLine(sp + QPointF(0, -3), sp + QPointF(0, 3));
    p.restore();
}

void warningSign(QPainter &p, const QRectF &cell)
{
    inCell(p, cell, 40, [&] {
        QPainterPath tri;
        tri.moveTo(20, 4);
        tri.lineTo(37, 34);
        tri.lineTo(3, 34);
        tri.closeSubpath();
        QPainterPathStroker st;
        st.setWidth(5);
        st.setJoinStyle(Qt::RoundJoin);
        QPainterPath rounded = tri.united(st.createStroke(tri));
        fillPath(p, rounded, kAccent);
        p.setPen(pen(QColor(0x3e, 0x3b, 0x42), 3.6));
        p.drawLine(QPointF(20, 14), QPointF(20, 24));
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0x3e, 0x3b, 0x42));
        p.drawEllipse(QPointF(20, 30), 2.2, 2.2);
    });
}

void sliderHandle(QPainter &p, const QRectF &cell)
{
    inCell(p, cell, 14, [&] {
        p.setPen(QPen(QColor(0x43, 0x9c, 0xf4), 2.0));
        p.setBrush(QColor(0xf2, 0xf2, 0xf2));
        p.drawEllipse(QRectF(1.5, 1.5, 11, 11));
    });
}

// ------------------------------------------------------------- the sheet

const State kStates[4] = {Plain, Hover, Pressed, Disabled};

void drawSheet(QPainter &p)
{
    // Tool buttons: one row per tool, the four states across.
    using namespace Sprite;
    const std::pair<int, Draw> tools[] = {
        {kToolRectY, glyphRect}, {kToolLassoY, glyphLasso}, {kToolPolygonY, glyphPoly},
        {kToolBrushY, glyphBrush}, {kToolFixY, glyphFix}, {kToolGuideY, glyphGuide},
        {kToolCloneY, glyphClone}, {kToolStampY, glyphStamp}};
    for (const auto &t : tools)
        for (int i = 0; i < 4; ++i)
            squareButton(p, QRectF(kToolX[i], t.first, kToolSide, kToolSide), kToolSide, kStates[i], t.second);

    // Command row: one column per command, the four states downwards.
    const std::pair<int, Draw> commands[] = {
        {kBeforeAfterX, glyphBeforeAfter},
        {kZoomInX, [](QPainter &q, const QColor &c) { glyphMagnifier(q, c, true); }},
        {kZoomOutX, [](QPainter &q, const QColor &c) { glyphMagnifier(q, c, false); }},
        {kActualSizeX, glyphActual}, {kFitX, glyphFit}, {kMoveX, glyphHand}, {kUndoX, glyphUndo},
        {kRedoX, glyphRedo}, {kHistoryX, glyphHistory}, {kSaveX, glyphSave}, {kPrintX, glyphPrint}};
    for (const auto &c : commands)
        for (int i = 0; i < 4; ++i)
            squareButton(p, QRectF(c.first, kCommandY[i], kCommandSide, kCommandSide), kCommandSide,
                         kStates[i], c.second);

    // Header buttons.
    const std::tuple<int, Draw, bool> header[] = {
        {kMenuX, glyphMenu, false}, {kMinimiseX, glyphMinimise, false}, {kMaximiseX, glyphMaximise, false},
        {kDialogCloseX, glyphCross, false}, {kCloseX, glyphCross, true}};
    for (const auto &h : header)
        for (int i = 0; i < 4; ++i)
            squareButton(p, QRectF(std::get<0>(h), kHeaderY[i], kHeaderSide, kHeaderSide), kHeaderSide,
                         kStates[i], std::get<1>(h), std::get<2>(h));

    // Fold arrows.
    for (int i = 0; i < 4; ++i) {
        squareButton(p, QRectF(kFoldX, kFoldY[i], kFoldSide, kFoldSide), kFoldSide, kStates[i],
                     [](QPainter &q, const QColor &c) { glyphChevrons(q, c, true); });
        squareButton(p, QRectF(kUnfoldX, kFoldY[i], kFoldSide, kFoldSide), kFoldSide, kStates[i],
                     [](QPainter &q, const QColor &c) { glyphChevrons(q, c, false); });
    }

    // Colour buttons, with the selected row beneath each.
    const QColor red(0xe8, 0x45, 0x3c), green(0x3d, 0xbb, 0x5c);
    const qreal cs = kColourSide;
    for (int i = 0; i < 4; ++i) {
        colourButton(p, QRectF(kColourX[i], kRedY, cs, cs), red, kStates[i], false);
        colourButton(p, QRectF(kColourX[i], kRedSelectedY, cs, cs), red, kStates[i], true);
        colourButton(p, QRectF(kColourX[i], kGreenY, cs, cs), green, kStates[i], false);
        colourButton(p, QRectF(kColourX[i], kGreenSelectedY, cs, cs), green, kStates[i], true);
    }

    // Welcome, add and erase buttons.
    for (int i = 0; i < 4; ++i) {
        welcomePhoto(p, QRectF(kWelcomePhotoX, kWelcomeY[i], kWelcomeSide, kWelcomeSide), kStates[i]);
        welcomeFolder(p, QRectF(kWelcomeFolderX, kWelcomeY[i], kWelcomeSide, kWelcomeSide), kStates[i]);
        addButton(p, QRectF(kAddX, kAddY[i], kAddWidth, kAddHeight), kStates[i]);
        eraseButton(p, QRectF(kEraseX, kEraseY[i], kEraseWidth, kEraseHeight), kStates[i]);
    }

    warningSign(p, QRectF(kWarningX, kWarningY, kWarningSide, kWarningSide));
    sliderHandle(p, QRectF(kSliderHandleX, kSliderHandleY, kSliderHandleSide, kSliderHandleSide));
}

QImage newImage(int w, int h)
{
    QImage img(w, h, QImage::Format_ARGB32_Premultiplied);
    img.fill(Qt::transparent);
    return img;
}

bool save(const QImage &img, const QString &path)
{
    const bool ok = img.convertToFormat(QImage::Format_ARGB32).save(path, "PNG", 9);
    std::printf("%s %s (%d x %d)\n", ok ? "wrote" : "FAILED", qPrintable(path), img.width(), img.height());
    return ok;
}

QImage sheet(int factor)
{
    QImage img = newImage(Sprite::kSheetWidth * factor, Sprite::kSheetHeight * factor);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.scale(factor, factor);
    drawSheet(p);
    return img;
}

// ------------------------------------------------------------- cursors

// Brush outline: a tinted disc with a two-tone rim, drawn large and scaled down by the canvas.
QImage brushCursor(const QColor &rim, const QColor &fill)
{
    const int n = 128;
    QImage img = newImage(n, n);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawEllipse(QRectF(4, 4, n - 8, n - 8));
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(255, 255, 255, 220), 9));
    p.drawEllipse(QRectF(5, 5, n - 10, n - 10));
    p.setPen(QPen(rim, 5.5));
    p.drawEllipse(QRectF(5, 5, n - 10, n - 10));
    return img;
}

QImage stampRing(int n)
{
    QImage img = newImage(n, n);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal r = n / 2.0 - 1.6;
    p.setPen(QPen(QColor(0, 0, 0, 190), 2.6));
    p.drawEllipse(QPointF(n / 2.0, n / 2.0), r, r);
    p.setPen(QPen(QColor(255, 255, 255, 240), 1.1));
    p.drawEllipse(QPointF(n / 2.0, n / 2.0), r, r);
    return img;
}

// Crosshair with a white core and a dark halo, readable on any photo.
void crosshair(QPainter &p, QPointF c, qreal arm, qreal gap)
{
    for (int pass = 0; pass < 2; ++pass) {
        p.setPen(QPen(pass == 0 ? QColor(0, 0, 0, 170) : QColor(255, 255, 255), pass == 0 ? 3.0 : 1.2,
                      Qt::SolidLine, Qt::FlatCap));
        p.drawLine(c + QPointF(-arm, 0), c + QPointF(-gap, 0));
        p.drawLine(c + QPointF(gap, 0), c + QPointF(arm, 0));
        p.drawLine(c + QPointF(0, -arm), c + QPointF(0, -gap));
        p.drawLine(c + QPointF(0, gap), c + QPointF(0, arm));
    }
}

QImage crossCursor(int n, qreal arm, qreal gap, const std::function<void(QPainter &)> &badge = {})
{
    QImage img = newImage(n, n);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    crosshair(p, QPointF(n / 2.0, n / 2.0), arm, gap);
    if (badge)
        badge(p);
    return img;
}

QImage targetCursor()
{
    const int n = 33;
    QImage img = newImage(n, n);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    const QPointF c(n / 2.0, n / 2.0);
    for (int pass = 0; pass < 2; ++pass) {
        p.setPen(QPen(pass == 0 ? QColor(0, 0, 0, 170) : QColor(255, 255, 255), pass == 0 ? 3.0 : 1.2));
        p.drawEllipse(c, 9.0, 9.0);
    }
    crosshair(p, c, 15, 4);
    p.setPen(Qt::NoPen);
    p.setBrush(kAccent);
    p.drawEllipse(c, 1.6, 1.6);
    return img;
}

void lassoBadge(QPainter &p, const QColor &c)
{
    p.setPen(QPen(QColor(0, 0, 0, 170), 2.6));
    p.drawEllipse(QPointF(26, 24), 5.0, 3.4);
    p.setPen(QPen(c, 1.2));
    p.drawEllipse(QPointF(26, 24), 5.0, 3.4);
}

void polyBadge(QPainter &p, const QColor &c)
{
    const QPolygonF poly({QPointF(21, 23), QPointF(26, 19.5), QPointF(31, 23.5), QPointF(28, 30), QPointF(22, 29)});
    p.setPen(QPen(QColor(0, 0, 0, 170), 2.6));
    p.drawPolygon(poly);
    p.setPen(QPen(c, 1.2));
    p.drawPolygon(poly);
}

// ------------------------------------------------------------- the rest

QImage squareCell(const Draw &glyph)
{
    QImage img = newImage(32, 32);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    squareButton(p, QRectF(0, 0, 32, 32), 32, Plain, glyph);
    return img;
}

QImage removeSheet()
{
    QImage img = newImage(116, 79);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    const QColor fills[3] = {QColor(0x4e, 0x49, 0x56), QColor(0x5c, 0x57, 0x65), kAccent};
    for (int i = 0; i < 3; ++i) {
        const QRectF r(0.5, 22 * i + 0.5, 115, 21);
        p.setPen(Qt::NoPen);
        p.setBrush(fills[i]);
        p.drawRoundedRect(r, 4, 4);
        // A small bin at the left, where the label's leading blanks leave room.
        const QColor c = i == 2 ? kInk : kText;
        p.save();
        p.translate(9, 22 * i + 5);
        p.setPen(pen(c, 1.2));
        p.drawLine(QPointF(0, 2.5), QPointF(10, 2.5));
        p.drawLine(QPointF(3.5, 2.5), QPointF(3.5, 0.8));
        p.drawLine(QPointF(3.5, 0.8), QPointF(6.5, 0.8));
        p.drawLine(QPointF(6.5, 0.8), QPointF(6.5, 2.5));
        QPainterPath bin;
        bin.moveTo(1.5, 4);
        bin.lineTo(2.5, 12);
        bin.lineTo(7.5, 12);
        bin.lineTo(8.5, 4);
        p.drawPath(bin);
        p.restore();
    }
    return img;
}

QImage lineImage()
{
    QImage img = newImage(81, 5);
    QPainter p(&img);
    QLinearGradient g(0, 0, 81, 0);
    g.setColorAt(0, QColor(240, 156, 11, 0));
    g.setColorAt(0.5, QColor(240, 156, 11, 255));
    g.setColorAt(1, QColor(240, 156, 11, 0));
    p.fillRect(QRectF(0, 2, 81, 1), g);
    return img;
}

QImage stripTop()
{
    QImage img(400, 32, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&img);
    QLinearGradient g(0, 0, 0, 32);
    g.setColorAt(0, QColor(0x3d, 0x3b, 0x42));
    g.setColorAt(1, QColor(0x36, 0x34, 0x3a));
    p.fillRect(img.rect(), g);
    p.fillRect(QRect(0, 31, 400, 1), QColor(0x29, 0x27, 0x2c));
    return img;
}

QImage stripLeft()
{
    QImage img(34, 400, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&img);
    p.fillRect(img.rect(), QColor(0x3a, 0x38, 0x3f));
    p.fillRect(QRect(0, 0, 1, 400), QColor(0x29, 0x27, 0x2c));
    p.fillRect(QRect(33, 0, 1, 400), QColor(0x46, 0x44, 0x4c));
    return img;
}

// The program's icon on a 32 x 32 design grid: an amber tile with white
// hills and a dashed selection ring, the skin's accent and its selection
// look. appIcon paints it; appIconSvg writes the same figures as SVG for the
// desktop's scalable icon.
namespace icon {
const QColor kTop(0xf7, 0xb0, 0x2e);
const QColor kBottom(0xe0, 0x8a, 0x04);
const QRectF kTile(1, 1, 30, 30);
const qreal kTileRadius = 7;
const QPointF kHills[] = {{5, 25}, {12, 16}, {17, 21}, {20, 18}, {27, 25}};
const int kHillsAlpha = 235;
const QPointF kRingCentre(21.5, 10);
const qreal kRingRadius = 4.5;
const qreal kRingWidth = 1.5;
const qreal kDash = 1.6, kGap = 1.2; // in pen widths, as QPen counts them
} // namespace icon

QImage appIcon(int n)
{
    QImage img = newImage(n, n);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(n / 32.0, n / 32.0);
    QLinearGradient g(0, 0, 0, 32);
    g.setColorAt(0, icon::kTop);
    g.setColorAt(1, icon::kBottom);
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    p.drawRoundedRect(icon::kTile, icon::kTileRadius, icon::kTileRadius);
    QPainterPath hills;
    hills.moveTo(icon::kHills[0]);
    for (const QPointF &pt : icon::kHills)
        hills.lineTo(pt);
    hills.closeSubpath();
    fillPath(p, hills, QColor(255, 255, 255, icon::kHillsAlpha));
    QPen dp(Qt::white, icon::kRingWidth, Qt::CustomDashLine, Qt::FlatCap);
    dp.setDashPattern({icon::kDash, icon::kGap});
    p.setPen(dp);
    p.drawEllipse(icon::kRingCentre, icon::kRingRadius, icon::kRingRadius);
    return img;
}

QByteArray appIconSvg()
{
    using namespace icon;
    QString hills;
    for (const QPointF &pt : kHills)
        hills += QString("%1%2,%3").arg(hills.isEmpty() ? "M" : " L").arg(pt.x()).arg(pt.y());
    QString svg;
    svg += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"32\" height=\"32\" viewBox=\"0 0 32 32\">\n";
    svg += QString("  <defs><linearGradient id=\"tile\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"32\" "
                   "gradientUnits=\"userSpaceOnUse\"><stop offset=\"0\" stop-color=\"%1\"/>"
                   "<stop offset=\"1\" stop-color=\"%2\"/></linearGradient></defs>\n")
               .arg(kTop.name(), kBottom.name());
    svg += QString("  <rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" rx=\"%5\" fill=\"url(#tile)\"/>\n")
               .arg(kTile.x()).arg(kTile.y()).arg(kTile.width()).arg(kTile.height()).arg(kTileRadius);
    svg += QString("  <path d=\"%1 Z\" fill=\"#ffffff\" fill-opacity=\"%2\"/>\n")
               .arg(hills).arg(kHillsAlpha / 255.0, 0, 'f', 3);
    svg += QString("  <circle cx=\"%1\" cy=\"%2\" r=\"%3\" fill=\"none\" stroke=\"#ffffff\" stroke-width=\"%4\" "
                   "stroke-dasharray=\"%5 %6\"/>\n")
               .arg(kRingCentre.x()).arg(kRingCentre.y()).arg(kRingRadius).arg(kRingWidth)
               .arg(kDash * kRingWidth).arg(kGap * kRingWidth);
    svg += "</svg>\n";
    return svg.toUtf8();
}

// The desktop's icon theme folders: PNG sizes and the scalable SVG.
bool writeDesktopIcons(const QDir &root)
{
    const QString name = "app.mervane.Mervane";
    bool ok = true;
    for (int n : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const QString dir = QString("icons/hicolor/%1x%1/apps").arg(n);
        root.mkpath(dir);
        ok &= save(appIcon(n), root.filePath(dir + "/" + name + ".png"));
    }
    root.mkpath("icons/hicolor/scalable/apps");
    QFile svg(root.filePath("icons/hicolor/scalable/apps/" + name + ".svg"));
    ok &= svg.open(QIODevice::WriteOnly | QIODevice::Truncate) && svg.write(appIconSvg()) > 0;
    return ok;
}

QImage dot()
{
    QImage img = newImage(14, 14);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(0x2b, 0x29, 0x2f), 1.5));
    p.setBrush(kAccent);
    p.drawEllipse(QRectF(1.5, 1.5, 11, 11));
    return img;
}

QImage chequer(const QColor &a, const QColor &b, int cell)
{
    QImage img(2 * cell, 2 * cell, QImage::Format_RGB32);
    img.fill(a);
    QPainter p(&img);
    p.fillRect(QRect(cell, 0, cell, cell), b);
    p.fillRect(QRect(0, cell, cell, cell), b);
    return img;
}

QImage flat(int w, int h, const QColor &c)
{
    QImage img(w, h, QImage::Format_RGB32);
    img.fill(c);
    return img;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: skingen <resources-dir>\n");
        return 2;
    }
    QDir root(QString::fromLocal8Bit(argv[1]));
    root.mkpath("image");
    root.mkpath("rec");
    const QString im = root.filePath("image") + "/";
    const QString rec = root.filePath("rec") + "/";
    bool ok = true;

    ok &= save(sheet(1), im + "public.png");
    ok &= save(sheet(2), im + "public-200%.png");
    ok &= save(removeSheet(), im + "remove.png");
    ok &= save(squareCell(glyphRect), im + "rect.png");
    ok &= save(lineImage(), im + "line2.png");
    ok &= save(stripTop(), im + "top20181.png");
    ok &= save(stripLeft(), im + "left20183.png");
    ok &= save(appIcon(32), im + "32.png");
    ok &= writeDesktopIcons(root);
    ok &= save(dot(), im + "circle.png");
    ok &= save(chequer(QColor(0xff, 0xff, 0xff), QColor(0xcc, 0xcc, 0xcc), 8), im + "backg.png");

    // Cursors.
    ok &= save(brushCursor(QColor(0xe8, 0x2b, 0x22), QColor(232, 43, 34, 45)), im + "mousered.png");
    ok &= save(brushCursor(QColor(0x22, 0xb0, 0x4a), QColor(34, 176, 74, 45)), im + "mousegreen.png");
    ok &= save(brushCursor(QColor(0x1a, 0x1a, 0x1a), QColor(255, 255, 255, 40)), im + "mouseblack.png");
    ok &= save(stampRing(128), im + "mouseblack2.png");
    ok &= save(targetCursor(), im + "target.png");
    ok &= save(crossCursor(33, 9, 2.5), im + "shiji7.png");
    ok &= save(crossCursor(33, 9, 2.5, [](QPainter &p) { lassoBadge(p, Qt::white); }), im + "lasso3.png");
    ok &= save(crossCursor(33, 9, 2.5, [](QPainter &p) { polyBadge(p, Qt::white); }), im + "floy.png");

    // Stamp rings, named by their pixel size.
    for (int n : {26, 38, 50, 62, 74, 86, 98, 110, 122, 134, 146, 156, 168, 180, 192, 202, 214})
        ok &= save(stampRing(n), rec + QString("c%1.png").arg(n));

    // Spare pictures kept in the resource tree for variants of the cursors and backdrops.
    ok &= save(newImage(32, 32), im + "0.png");
    ok &= save(flat(64, 64, QColor(0x30, 0x2e, 0x34)), im + "backgroud1.png");
    ok &= save(flat(64, 64, QColor(0x36, 0x35, 0x38)), im + "backgroup.png");
    ok &= save(crossCursor(33, 9, 2.5, [](QPainter &p) { polyBadge(p, kAccent); }), im + "floy1.png");
    ok &= save(crossCursor(33, 9, 2.5, [](QPainter &p) { polyBadge(p, QColor(0x43, 0x9c, 0xf4)); }), im + "floy2.png");
    ok &= save(crossCursor(33, 9, 2.5, [](QPainter &p) { lassoBadge(p, kAccent); }), im + "lasso.png");
    ok &= save(crossCursor(33, 9, 2.5, [](QPainter &p) { lassoBadge(p, QColor(0x43, 0x9c, 0xf4)); }), im + "lasso1.png");
    ok &= save(crossCursor(25, 7, 2, [](QPainter &p) { lassoBadge(p, Qt::white); }), im + "lasso2.png");
    ok &= save(crossCursor(41, 12, 3, [](QPainter &p) { lassoBadge(p, Qt::white); }), im + "lasso4.png");
    const int shijiSizes[6] = {17, 21, 25, 29, 37, 45};
    for (int i = 0; i < 6; ++i) {
        const int n = shijiSizes[i];
        ok &= save(crossCursor(n, n / 2.0 - 2, 2), im + QString("shiji%1.png").arg(i + 1));
    }
    ok &= save(crossCursor(33, 14, 0), im + "shizi.png");

    return ok ? 0 : 1;
}
