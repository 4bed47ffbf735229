// tutorialgen: draws the frames of the five tutorial movies (open a photo,
// paint the mask, erase, sampling stamp, smart clone) on a drawn seaside
// photo, using the program's own sprite sheet for its buttons. rebuild.sh
// turns each frame folder into ./rec/1N.gif with ImageMagick.
//
//   tutorialgen <resources-dir> <frames-dir>

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QtMath>

#include <cstdio>
#include <functional>

namespace {

const int W = 800, H = 464;
const QRectF kPhoto(90, 40, 620, 360);
const QColor kBack(0x30, 0x2e, 0x34);
const QColor kAccent(0xf0, 0x9c, 0x0b);
const QColor kText(0xe8, 0xe8, 0xe8);

QImage g_sheet;

void cell(QPainter &p, const QRect &src, const QRectF &dst)
{
    p.drawImage(dst, g_sheet, src);
}

// The seaside photo; `object` is the post with its buoy that the user takes out.
void drawPhoto(QPainter &p, bool object, QPointF objectAt = QPointF(470, 245))
{
    p.save();
    p.setClipRect(kPhoto, p.hasClipping() ? Qt::IntersectClip : Qt::ReplaceClip);
    QLinearGradient sky(kPhoto.topLeft(), QPointF(kPhoto.left(), 230));
    sky.setColorAt(0, QColor(0x7d, 0xb4, 0xe6));
    sky.setColorAt(1, QColor(0xd6, 0xe9, 0xf6));
    p.fillRect(QRectF(kPhoto.left(), kPhoto.top(), kPhoto.width(), 200), sky);
    QLinearGradient sea(QPointF(0, 230), QPointF(0, 300));
    sea.setColorAt(0, QColor(0x3a, 0x82, 0xb0));
    sea.setColorAt(1, QColor(0x5f, 0xa8, 0xc4));
    p.fillRect(QRectF(kPhoto.left(), 230, kPhoto.width(), 70), sea);
    QLinearGradient sand(QPointF(0, 290), QPointF(0, 400));
    sand.setColorAt(0, QColor(0xe9, 0xd3, 0xa4));
    sand.setColorAt(1, QColor(0xd4, 0xb4, 0x7c));
    QPainterPath beach;
    beach.moveTo(kPhoto.left(), 300);
    beach.cubicTo(300, 285, 500, 310, kPhoto.right(), 292);
    beach.lineTo(kPhoto.bottomRight());
    beach.lineTo(kPhoto.bottomLeft());
    beach.closeSubpath();
    p.setRenderHint(QPainter::Antialiasing);
    p.fillPath(beach, sand);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xfb, 0xf0, 0xc8));
    p.drawEllipse(QPointF(610, 95), 26, 26);
    p.setBrush(QColor(255, 255, 255, 200));
    p.drawEllipse(QRectF(180, 80, 90, 22));
    p.drawEllipse(QRectF(215, 68, 60, 26));
    if (object) {
        const QPointF o = objectAt;
        p.setBrush(QColor(0x5b, 0x46, 0x36));
        p.drawRect(QRectF(o.x() - 5, o.y() - 60, 10, 120));
        p.setBrush(QColor(0xe2, 0x3d, 0x2f));
        p.drawEllipse(o + QPointF(0, -62), 19, 19);
        p.setBrush(Qt::white);
        p.drawRect(QRectF(o.x() - 19, o.y() - 66, 38, 7));
        p.setBrush(QColor(0, 0, 0, 50));
        p.drawEllipse(QRectF(o.x() - 22, o.y() + 52, 44, 10));
    }
    p.restore();
}

void pointer(QPainter &p, QPointF at)
{
    QPainterPath arrow;
    arrow.moveTo(at);
    arrow.lineTo(at + QPointF(0, 19));
    arrow.lineTo(at + QPointF(5, 14.5));
    arrow.lineTo(at + QPointF(9, 22));
    arrow.lineTo(at + QPointF(12, 20.5));
    arrow.lineTo(at + QPointF(8.5, 13.5));
    arrow.lineTo(at + QPointF(14, 13.5));
    arrow.closeSubpath();
    p.setPen(QPen(Qt::black, 1.2));
    p.setBrush(Qt::white);
    p.drawPath(arrow);
}

void caption(QPainter &p, const QString &text)
{
    QFont f(QStringLiteral("Lato"));
    f.setPixelSize(18);
    f.setBold(true);
    p.setFont(f);
    p.setPen(kText);
    p.drawText(QRectF(0, 412, W, 40), Qt::AlignCenter, text);
}

void ring(QPainter &p, QPointF c, qreal r, const QColor &colour)
{
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(Qt::white, 3));
    p.drawEllipse(c, r, r);
    p.setPen(QPen(colour, 1.6));
    p.drawEllipse(c, r, r);
}

using Frame = std::function<void(QPainter &, int)>;

int writeMovie(const QString &dir, int frames, const Frame &draw)
{
    QDir().mkpath(dir);
    for (int i = 0; i < frames; ++i) {
        QImage img(W, H, QImage::Format_RGB32);
        img.fill(kBack);
        QPainter p(&img);
        p.setRenderHint(QPainter::Antialiasing);
        draw(p, i);
        p.end();
        if (!img.save(QStringLiteral("%1/f%2.png").arg(dir).arg(i, 3, 10, QLatin1Char('0'))))
            return 1;
    }
    std::printf("frames: %s (%d)\n", qPrintable(dir), frames);
    return 0;
}

// The red strokes painted over the object, up to progress t in [0, 1].
QPainterPath maskStroke(qreal t)
{
    QPainterPath path;
    const int steps = 40;
    const QPointF o(470, 245);
    path.moveTo(o + QPointF(-8, -90));
    for (int i = 1; i <= int(steps * t); ++i) {
        const qreal s = qreal(i) / steps;
        const qreal y = -90 + s * 170;
        const qreal x = qSin(s * M_PI * 6) * 16;
        path.lineTo(o + QPointF(x, y));
    }
    return path;
}

void drawMask(QPainter &p, qreal t)
{
    QPen pen(QColor(255, 0, 0, 128), 34, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.save();
    p.setClipRect(kPhoto);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawPath(maskStroke(t));
    p.restore();
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: tutorialgen <resources-dir> <frames-dir>\n");
        return 2;
    }
    g_sheet = QImage(QDir(QString::fromLocal8Bit(argv[1])).filePath("image/public.png"));
    if (g_sheet.isNull()) {
        std::fprintf(stderr, "no sprite sheet\n");
        return 1;
    }
    const QString out = QString::fromLocal8Bit(argv[2]);
    int failed = 0;

    // 1: open a photo from the welcome page.
    failed |= writeMovie(out + "/11", 14, [](QPainter &p, int i) {
        if (i < 8) {
            const bool hover = i >= 4;
            const bool pressed = i >= 6;
            cell(p, QRect(178, pressed ? 359 : (hover ? 249 : 139), 110, 110), QRectF(240, 130, 110, 110));
            cell(p, QRect(310, 139, 110, 110), QRectF(450, 130, 110, 110));
            QFont f(QStringLiteral("Lato"));
            f.setPixelSize(16);
            p.setFont(f);
            p.setPen(kText);
            p.drawText(QRectF(215, 250, 160, 24), Qt::AlignCenter, QStringLiteral("Select Photo"));
            p.drawText(QRectF(425, 250, 160, 24), Qt::AlignCenter, QStringLiteral("Select Folder"));
            pointer(p, QPointF(420 - i * 16, 330 - i * 18));
        } else {
            drawPhoto(p, true);
        }
        caption(p, QStringLiteral("1  Open a photo"));
    });

    // 2: paint the red mask over the unwanted object.
    failed |= writeMovie(out + "/12", 16, [](QPainter &p, int i) {
        drawPhoto(p, true);
        const qreal t = qMin(1.0, i / 12.0);
        drawMask(p, t);
        const QPainterPath path = maskStroke(t);
        ring(p, path.currentPosition(), 17, QColor(0xe8, 0x2b, 0x22));
        caption(p, QStringLiteral("2  Paint over what must go"));
    });

    // 3: erase, with the progress dialog.
    failed |= writeMovie(out + "/13", 16, [](QPainter &p, int i) {
        const bool done = i >= 12;
        drawPhoto(p, !done);
        if (!done)
            drawMask(p, 1.0);
        if (i < 3) {
            cell(p, QRect(436, i == 2 ? 269 : 204, 142, 65), QRectF(600, 330, 142, 65));
            pointer(p, QPointF(640, 365));
        } else if (!done) {
            const QRectF box(250, 170, 300, 110);
            p.fillRect(box, QColor(0x3e, 0x3b, 0x42));
            p.fillRect(QRectF(box.left(), box.top(), box.width(), 3), kAccent);
            QFont f(QStringLiteral("Lato"));
            f.setPixelSize(16);
            p.setFont(f);
            p.setPen(kText);
            p.drawText(QRectF(box.left(), box.top() + 3, box.width(), 31), Qt::AlignCenter,
                       QStringLiteral("Erase  processing ..."));
            const QRectF bar(box.left() + 10, box.top() + 46, 281, 23);
            p.setPen(QPen(Qt::gray, 1));
            p.setBrush(QColor(0x30, 0x2e, 0x34));
            p.drawRoundedRect(bar, 4, 4);
            p.setPen(Qt::NoPen);
            p.setBrush(kAccent);
            p.drawRoundedRect(QRectF(bar.left(), bar.top(), bar.width() * (i - 2) / 9.0, bar.height()), 4, 4);
        }
        caption(p, done ? QStringLiteral("3  Gone") : QStringLiteral("3  Press Erase"));
    });

    // 4: sampling stamp: Alt-click a source, then paint.
    failed |= writeMovie(out + "/14", 16, [](QPainter &p, int i) {
        drawPhoto(p, true);
        const QPointF source(300, 245), target(470, 245);
        if (i >= 4) {
            // Dabs copied from the source cover the post from the top down.
            const int dabs = qMin(i - 3, 10);
            p.save();
            for (int d = 0; d < dabs; ++d) {
                const QPointF at = target + QPointF(0, -85 + d * 16);
                QPainterPath clip;
                clip.addEllipse(at, 24, 24);
                p.setClipPath(clip);
                p.translate(at - (source + QPointF(0, -85 + d * 16)));
                drawPhoto(p, false);
                p.resetTransform();
            }
            p.restore();
            const QPointF now = target + QPointF(0, -85 + (dabs - 1) * 16);
            ring(p, now, 24, QColor(0x20, 0x20, 0x20));
            const QPointF src = source + QPointF(0, -85 + (dabs - 1) * 16);
            p.setPen(QPen(Qt::white, 1.5));
            p.drawLine(src - QPointF(8, 0), src + QPointF(8, 0));
            p.drawLine(src - QPointF(0, 8), src + QPointF(0, 8));
        } else {
            p.setPen(QPen(Qt::white, 1.5));
            p.setBrush(Qt::NoBrush);
            p.drawEllipse(source, 9, 9);
            p.drawLine(source - QPointF(14, 0), source + QPointF(14, 0));
            p.drawLine(source - QPointF(0, 14), source + QPointF(0, 14));
        }
        caption(p, i < 4 ? QStringLiteral("4  Alt-click a source") : QStringLiteral("4  Stamp over the object"));
    });

    // 5: smart clone: frame a piece, drag it, let it blend in.
    failed |= writeMovie(out + "/15", 16, [](QPainter &p, int i) {
        const qreal t = qBound(0.0, (i - 3) / 8.0, 1.0);
        const QPointF from(470, 245), to(300, 255);
        const QPointF at = from + (to - from) * t;
        drawPhoto(p, false);
        drawPhoto(p, true, at);
        if (i < 13) {
            const QRectF frame(at.x() - 30, at.y() - 90, 60, 160);
            p.setBrush(Qt::NoBrush);
            p.setPen(QPen(Qt::black, 2));
            p.drawRect(frame);
            p.setPen(QPen(Qt::black, 1));
            p.setBrush(QColor(0, 174, 255));
            p.drawRect(QRectF(frame.right() - 6, frame.bottom() - 6, 12, 12));
            p.drawRect(QRectF(frame.right() - 6, frame.center().y() - 6, 12, 12));
        }
        caption(p, i < 13 ? QStringLiteral("5  Smart clone: move a piece") : QStringLiteral("5  Erase blends it in"));
    });

    return failed;
}
