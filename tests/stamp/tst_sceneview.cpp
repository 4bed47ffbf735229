// The scene-based canvas beyond its own suite: points at a zoom, the cursors
// of the region tools, events passed on to the scene, and the canvas wired to
// a photo by the signal names it shares with the widget canvas, stamping.
#include <QApplication>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QListWidget>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>
#include <memory>
#include <opencv2/imgcodecs.hpp>

#include "custombackwidget.h"
#include "customwidget.h"
#include "globals.h"
#include "graphicsview.h"
#include "photohost.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "pixmapitem.h"
#include "skin.h"
#include "stampreference.h"

namespace {

void sendMouse(GraphicsView &view, QEvent::Type type, const QPoint &pos, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent event(type, pos, view.viewport()->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &event);
}

// Counts the mouse events that reach the scene behind the view.
class SceneEvents : public QObject
{
public:
    int presses = 0, moves = 0, releases = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        presses += event->type() == QEvent::GraphicsSceneMousePress;
        moves += event->type() == QEvent::GraphicsSceneMouseMove;
        releases += event->type() == QEvent::GraphicsSceneMouseRelease;
        return false;
    }
};

QPixmap filled(int w, int h)
{
    QPixmap pixmap(w, h);
    pixmap.fill(Qt::darkYellow);
    return pixmap;
}

} // namespace

class TestSceneView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Skin::init();
        g_uiScale = 1.0;
    }

    void pointsFollowTheZoomWithFractions()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(filled(100, 80));
        view.setScale(2.0);
        view.show();
        QSignalSpy press(&view, &GraphicsView::sendLeftPressPoint);
        QSignalSpy release(&view, &GraphicsView::sendReleasePoint);
        // At zoom 2 neighbouring view pixels are half an image pixel apart.
        const QPoint p = view.mapFromScene(QPointF(30.0, 20.0)) + QPoint(1, 1);
        sendMouse(view, QEvent::MouseButtonPress, p, Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(press.count(), 1);
        const QPointF pos = press.at(0).at(0).toPointF();
        QCOMPARE(pos, view.mapToScene(p));
        QCOMPARE(pos - view.mapToScene(p - QPoint(1, 1)), QPointF(0.5, 0.5));
        // Outside the pixmap at this zoom nothing is sent.
        const QPoint outside = view.mapFromScene(QPointF(120.0, 20.0));
        sendMouse(view, QEvent::MouseButtonRelease, outside, Qt::LeftButton, Qt::NoButton);
        QCOMPARE(release.count(), 0);
    }

    void regionToolsShowTheirPictures()
    {
        GraphicsView view;
        const QSize lasso = QPixmap(QStringLiteral(":/image/lasso3.png")).size();
        const QSize poly = QPixmap(QStringLiteral(":/image/floy.png")).size();
        QVERIFY(!lasso.isEmpty());
        QVERIFY(!poly.isEmpty());
        for (int tool : {2, 10}) {
            view.recvSelectType(tool, 150, 0); // own size, whatever the brush
            QCOMPARE(view.viewport()->cursor().pixmap().size(), lasso);
        }
        for (int tool : {3, 11}) {
            view.recvSelectType(tool, 150, 0);
            QCOMPARE(view.viewport()->cursor().pixmap().size(), poly);
        }
        for (int tool : {7, 12}) {
            view.recvSelectType(8, 30, 0);
            view.recvSelectType(tool, 30, 0);
            QCOMPARE(view.viewport()->cursor().shape(), Qt::OpenHandCursor);
        }
    }

    void eventsGoOnToTheScene()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(filled(100, 80));
        view.show();
        SceneEvents seen;
        view.scene()->installEventFilter(&seen);
        const QPoint inside = view.mapFromScene(QPointF(40, 40));
        const QPoint outside = view.mapFromScene(QPointF(150, 40));
        sendMouse(view, QEvent::MouseButtonPress, inside, Qt::LeftButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseMove, inside + QPoint(2, 0), Qt::NoButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseButtonRelease, outside, Qt::LeftButton, Qt::NoButton);
        // Points outside the image are dropped for the photo, not for the scene.
        QCOMPARE(seen.presses, 1);
        QVERIFY(seen.moves >= 1);
        QCOMPARE(seen.releases, 1);
    }

    void releaseOutsideStillRestoresTheStampCursor()
    {
        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(filled(100, 80));
        view.show();
        view.recvSelectType(8, 24, 0);
        view.setCursor(Qt::CrossCursor);
        QSignalSpy release(&view, &GraphicsView::sendReleasePoint);
        sendMouse(view, QEvent::MouseButtonRelease, view.mapFromScene(QPointF(180, 40)), Qt::LeftButton,
                  Qt::NoButton);
        QCOMPARE(release.count(), 0);
        QCOMPARE(view.viewport()->cursor().pixmap().size(), QSize(24, 24));
    }

    void stampsAPhotoThroughTheSharedSignalNames()
    {
        // The scene canvas speaks the widget canvas's signal names, so a photo
        // connects to it by name exactly as it does to the widget canvas.
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        cv::Mat photo(60, 80, CV_8UC3);
        cv::randu(photo, 0, 256);
        const QString path = dir.path() + QStringLiteral("/noise.png");
        QVERIFY(cv::imwrite(path.toStdString(), photo));

        PhotoHost host;
        const std::unique_ptr<PhotoItem> owned(host.load(path));
        PhotoItem &item = *owned;

        GraphicsView view;
        view.resize(300, 300);
        view.setPixmap(QPixmap::fromImage(QImage(80, 60, QImage::Format_RGB32)));
        view.show();
        for (const char *name : {"LeftPressPoint", "LeftMovePoint", "LeftMoveNoPoint", "ReleasePoint",
                                 "LeftALTPressPoint"}) {
            const QByteArray signal = QByteArray("2send") + name + "(QPointF)";
            const QByteArray slot = QByteArray("1recv") + name + "(QPointF)";
            QVERIFY2(QObject::connect(&view, signal.constData(), &item, slot.constData()), name);
        }
        item.recvSelectType(8, 16, 0);
        view.recvSelectType(8, 16, 0);

        // Alt-click at (20, 15) (the Alt key itself is not reported on every
        // headless platform, so the source is set through the photo's slot).
        item.recvLeftALTPressPoint(view.mapToScene(view.mapFromScene(QPointF(20.5, 15.5))));
        const QPoint press = view.mapFromScene(QPointF(50.5, 30.5));
        const QPointF pressAt = view.mapToScene(press);
        sendMouse(view, QEvent::MouseButtonPress, press, Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(state(item).stamp.m_stampOffsetX, int(pressAt.x() - state(item).stamp.m_stampSource.x()));
        QCOMPARE(state(item).stamp.m_stampOffsetY, int(pressAt.y() - state(item).stamp.m_stampSource.y()));
        const QPoint moveTo = press + QPoint(6, 3);
        sendMouse(view, QEvent::MouseMove, moveTo, Qt::NoButton, Qt::LeftButton);
        sendMouse(view, QEvent::MouseButtonRelease, moveTo, Qt::LeftButton, Qt::NoButton);

        StampSettings s;
        s.brushSize = 16;
        s.offsetX = state(item).stamp.m_stampOffsetX;
        s.offsetY = state(item).stamp.m_stampOffsetY;
        cv::Mat expected = photo.clone();
        referenceStampPaint(expected, state(item).selection.m_strokeBaseRed, pressAt, s);
        referenceStampPaint(expected, state(item).selection.m_strokeBaseRed, view.mapToScene(moveTo), s);
        QCOMPARE(cv::norm(state(item).m_image, expected, cv::NORM_INF), 0.0);
        QVERIFY(cv::norm(state(item).m_image, photo, cv::NORM_INF) > 0.0);
        QCOMPARE(item.getUndoStack()->count(), 1);
        item.getUndoStack()->undo();
        QCOMPARE(cv::norm(state(item).m_image, photo, cv::NORM_INF), 0.0);
    }
};

QTEST_MAIN(TestSceneView)
#include "tst_sceneview.moc"
