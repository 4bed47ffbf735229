// The scene-based canvas: pointer mapping, tools, cursors and the wheel.

#include "globals.h"
#include "graphicsview.h"
#include "pixmapitem.h"

#include <QApplication>
#include <QScrollBar>
#include <QSignalSpy>
#include <QWheelEvent>
#include <QtTest>

namespace {

QPixmap photo(int w, int h)
{
    QPixmap pixmap(w, h);
    pixmap.fill(Qt::darkCyan);
    return pixmap;
}

void sendMouse(GraphicsView &view, QEvent::Type type, const QPoint &pos, Qt::MouseButton button,
               Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QMouseEvent event(type, pos, view.viewport()->mapToGlobal(pos), button, buttons, modifiers);
    QApplication::sendEvent(view.viewport(), &event);
}

void sendWheel(GraphicsView &view, int delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    const QPoint pos(10, 10);
    QWheelEvent event(pos, view.viewport()->mapToGlobal(pos), QPoint(), QPoint(0, delta), Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(view.viewport(), &event);
}

QPoint viewPointOf(GraphicsView &view, const QPointF &scenePoint)
{
    return view.mapFromScene(scenePoint);
}

} // namespace

class TestGraphicsView : public QObject
{
    Q_OBJECT

private slots:
    void init() { g_uiScale = 1.0; }
    void cleanup() { g_uiScale = 1.0; }

    void startsWithItsOwnDefaults()
    {
        GraphicsView view;
        QCOMPARE(view.brushSize(), 27);
        QCOMPARE(view.scale(), 1.0);
        QVERIFY(view.pixmapItem() == nullptr);
        view.setPixmap(photo(40, 30));
        QVERIFY(view.pixmapItem());
        QCOMPARE(view.pixmapItem()->pixmap().size(), QSize(40, 30));
    }

    void pointsCountOnlyInsideThePixmap()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(photo(100, 80));
        view.show();
        QSignalSpy press(&view, &GraphicsView::sendLeftPressPoint);
        QSignalSpy release(&view, &GraphicsView::sendReleasePoint);

        const QPoint inside = viewPointOf(view, QPointF(10, 20));
        sendMouse(view, QEvent::MouseButtonPress, inside, Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(press.count(), 1);
        QCOMPARE(press.at(0).at(0).toPointF(), view.mapToScene(inside));
        sendMouse(view, QEvent::MouseButtonRelease, inside, Qt::LeftButton, Qt::NoButton);
        QCOMPARE(release.count(), 1);

        // The right edge itself belongs to the image.
        const QPoint edge = viewPointOf(view, QPointF(100, 40));
        QCOMPARE(int(view.mapToScene(edge).x()), 100);
        sendMouse(view, QEvent::MouseButtonPress, edge, Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(press.count(), 2);

        // Beyond it, nothing is sent.
        const QPoint outside = viewPointOf(view, QPointF(140, 40));
        sendMouse(view, QEvent::MouseButtonPress, outside, Qt::LeftButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseButtonRelease, outside, Qt::LeftButton, Qt::NoButton);
        QCOMPARE(press.count(), 2);
        QCOMPARE(release.count(), 1);
    }

    void movesReportWithAndWithoutTheButton()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(photo(100, 80));
        view.show();
        QSignalSpy drawn(&view, &GraphicsView::sendLeftMovePoint);
        QSignalSpy hover(&view, &GraphicsView::sendLeftMoveNoPoint);
        const QPoint p = viewPointOf(view, QPointF(30, 30));
        sendMouse(view, QEvent::MouseMove, p, Qt::NoButton, Qt::NoButton);
        QCOMPARE(drawn.count(), 0);
        QCOMPARE(hover.count(), 1);
        sendMouse(view, QEvent::MouseMove, p, Qt::NoButton, Qt::LeftButton);
        QCOMPARE(drawn.count(), 1);
        QCOMPARE(hover.count(), 2);
    }

    void altPressUnderTheStampPicksTheSource()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(photo(100, 80));
        view.show();
        view.recvSelectType(8, 30, 0);
        QSignalSpy press(&view, &GraphicsView::sendLeftPressPoint);
        QSignalSpy source(&view, &GraphicsView::sendLeftALTPressPoint);
        const QPoint p = viewPointOf(view, QPointF(50, 50));
        QTest::keyPress(&view, Qt::Key_Alt, Qt::AltModifier);
        sendMouse(view, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton, Qt::AltModifier);
        QTest::keyRelease(&view, Qt::Key_Alt, Qt::NoModifier);
        // The key events of QTest are delivered as the window system's, so
        // the application's modifier state saw Alt down at the press.
        QCOMPARE(source.count(), 1);
        QCOMPARE(press.count(), 0);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(33, 33));
    }

    void scrollHandDragSendsNothing()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(photo(100, 80));
        view.show();
        view.setDragMode(QGraphicsView::ScrollHandDrag);
        QSignalSpy press(&view, &GraphicsView::sendLeftPressPoint);
        QSignalSpy move(&view, &GraphicsView::sendLeftMoveNoPoint);
        QSignalSpy release(&view, &GraphicsView::sendReleasePoint);
        const QPoint p = viewPointOf(view, QPointF(50, 50));
        sendMouse(view, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseMove, p + QPoint(3, 3), Qt::NoButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton);
        QCOMPARE(press.count() + move.count() + release.count(), 0);
    }

    void cursorsFollowTheTool()
    {
        g_uiScale = 1.5;
        GraphicsView view;
        view.recvSelectType(4, 30, 0);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(45, 45));
        view.recvSelectType(5, 20, 0);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(30, 30));
        view.recvSelectType(8, 30, 0);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(45, 45));
        view.recvSelectType(1, 30, 0);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(33, 33));
        view.recvSelectType(9, 30, 0);
        QCOMPARE(view.viewport()->cursor().shape(), Qt::OpenHandCursor);
        // A colour other than red or green leaves the brush without a picture of its own.
        view.recvSelectType(4, 30, 2);
        QCOMPARE(view.viewport()->cursor().shape(), Qt::OpenHandCursor);
        QCOMPARE(view.tool(), Tool::Brush);
        QCOMPARE(colourCode(view.colorType()), 2);
    }

    void releaseUnderTheStampSizesTheRingByZoom()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(photo(100, 80));
        view.show();
        view.recvSelectType(8, 20, 0);
        view.setScale(2.0);
        const QPoint p = viewPointOf(view, QPointF(20, 20));
        sendMouse(view, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(40, 40));
    }

    void pieceDragShowsTheHand()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(photo(100, 80));
        view.show();
        view.recvSelectType(7, 20, 0);
        const QPoint p = viewPointOf(view, QPointF(20, 20));
        sendMouse(view, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(view.viewport()->cursor().shape(), Qt::ClosedHandCursor);
        sendMouse(view, QEvent::MouseButtonRelease, p, Qt::LeftButton, Qt::NoButton);
        QCOMPARE(view.viewport()->cursor().shape(), Qt::OpenHandCursor);
    }

    void wheelAsksForAZoomStep()
    {
        GraphicsView view;
        view.resize(200, 200);
        view.setPixmap(photo(100, 2000));
        view.show();
        QSignalSpy zoom(&view, &GraphicsView::getScale);
        sendWheel(view, 120);
        sendWheel(view, -240);
        sendWheel(view, 60);   // a small step still counts, but rounds to no zoom
        sendWheel(view, 7);    // below one eighth of a notch: nothing
        QCOMPARE(zoom.count(), 3);
        QCOMPARE(zoom.at(0).at(0).toInt(), 20);
        QCOMPARE(zoom.at(1).at(0).toInt(), -40);
        QCOMPARE(zoom.at(2).at(0).toInt(), 0);

        // Without Ctrl the wheel also scrolls; with Ctrl it stops at the zoom request.
        QScrollBar *bar = view.verticalScrollBar();
        bar->setValue(500);
        sendWheel(view, -120, Qt::ControlModifier);
        QCOMPARE(bar->value(), 500);
        sendWheel(view, -120);
        QVERIFY(bar->value() > 500);
    }
};

QTEST_MAIN(TestGraphicsView)
#include "tst_graphicsview.moc"
