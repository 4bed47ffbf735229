// The canvas layer: mapping pointer positions to image coordinates, margins,
// the bound test, the move tool, the context menu and the paint modes.
#include <QAction>
#include <QSignalSpy>
#include <QtTest>

#include "custombackwidget.h"
#include "customwidget.h"
#include "testutil.h"

class TestCanvas : public QObject
{
    Q_OBJECT

private:
    static QImage solid(int w, int h, QColor c = QColor(200, 100, 50))
    {
        QImage img(w, h, QImage::Format_ARGB32);
        img.fill(c);
        return img;
    }

    static QPointF posOf(const QSignalSpy &spy, int i = 0) { return spy.at(i).at(0).toPointF(); }

private slots:
    void pressAtScale2WithScrollMapsToImage()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(400, 300), &w);
        w.recvSelectType(4, 30, 0);
        w.setScale(2.0);
        w.setScroll(40, 60);
        QSignalSpy press(&w, &CustomWidget::sendLeftPressPoint);
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QCOMPARE(w.offsetLeft(), 0);
        QCOMPARE(press.count(), 1);
        QCOMPARE(posOf(press), QPointF(70.0, 80.0));
    }

    void narrowImageIsCentredAndMarginPressIsDropped()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(100, 80), &w);
        w.recvSelectType(4, 30, 0);
        QSignalSpy press(&w, &CustomWidget::sendLeftPressPoint);
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(40, 100));
        QTest::mouseRelease(&w, Qt::LeftButton, Qt::NoModifier, QPoint(40, 100));
        QCOMPARE(w.offsetLeft(), 100);
        QCOMPARE(w.offsetTop(), 60);
        QCOMPARE(press.count(), 0);
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
        QCOMPARE(press.count(), 1);
        QCOMPARE(posOf(press), QPointF(50.0, 40.0));
    }

    void imageEdgeIsInsideTheBoundTest()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(100, 80), &w);
        w.recvSelectType(4, 30, 0);
        QSignalSpy press(&w, &CustomWidget::sendLeftPressPoint);
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(100 + 100, 60 + 80));
        QCOMPARE(press.count(), 1);
        QCOMPARE(posOf(press), QPointF(100.0, 80.0));
        QTest::mouseRelease(&w, Qt::LeftButton, Qt::NoModifier, QPoint(100 + 100, 60 + 80));
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(100 + 101, 60 + 80));
        QCOMPARE(press.count(), 1);
    }

    void rightButtonReleaseIsIgnored()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(300, 200), &w);
        w.recvSelectType(7, 30, 0);
        QSignalSpy release(&w, &CustomWidget::sendReleasePoint);
        QSignalSpy press(&w, &CustomWidget::sendLeftPressPoint);
        QTest::mousePress(&w, Qt::RightButton, Qt::NoModifier, QPoint(50, 50));
        // The tool cursor changed at the press although no point went out.
        QCOMPARE(w.cursor().shape(), Qt::ClosedHandCursor);
        QCOMPARE(press.count(), 0);
        QTest::mouseRelease(&w, Qt::RightButton, Qt::NoModifier, QPoint(50, 50));
        QCOMPARE(release.count(), 0);
        QCOMPARE(w.cursor().shape(), Qt::ClosedHandCursor);
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
        QTest::mouseRelease(&w, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
        QCOMPARE(release.count(), 1);
        QCOMPARE(w.cursor().shape(), Qt::OpenHandCursor);
    }

    void moveToolWorksOutsideTheImage()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(50, 40), &w); // small and centred: most of the widget is margin
        w.recvSelectType(9, 30, 0);
        QSignalSpy move(&w, &CustomWidget::sendMove);
        QSignalSpy press(&w, &CustomWidget::sendLeftPressPoint);
        QSignalSpy release(&w, &CustomWidget::sendReleasePoint);
        QTest::mousePress(&w, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QMouseEvent moveEvent(QEvent::MouseMove, QPointF(35, 25), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&w, &moveEvent);
        QTest::mouseRelease(&w, Qt::LeftButton, Qt::NoModifier, QPoint(35, 25));
        QCOMPARE(press.count(), 0);
        QCOMPARE(release.count(), 0);
        QCOMPARE(move.count(), 1);
        QCOMPARE(move.at(0).at(0).toInt(), 30);
        QCOMPARE(move.at(0).at(1).toInt(), 20);
    }

    void movesReportWithAndWithoutButton()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(300, 200), &w);
        w.recvSelectType(4, 30, 0);
        QSignalSpy withButton(&w, &CustomWidget::sendLeftMovePoint);
        QSignalSpy always(&w, &CustomWidget::sendLeftMoveNoPoint);
        QMouseEvent hover(QEvent::MouseMove, QPointF(20, 20), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&w, &hover);
        QMouseEvent drag(QEvent::MouseMove, QPointF(30, 30), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&w, &drag);
        QCOMPARE(withButton.count(), 1);
        QCOMPARE(always.count(), 2);
    }

    void wheelScrollsThroughSendMove()
    {
        CustomWidget w;
        w.resize(300, 200);
        QSignalSpy move(&w, &CustomWidget::sendMove);
        QWheelEvent wheel(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&w, &wheel);
        QCOMPARE(move.count(), 1);
        QCOMPARE(move.at(0).at(0).toInt(), 0);
        QCOMPARE(move.at(0).at(1).toInt(), -120);
    }

    void doubleClickIsPassedOn()
    {
        CustomWidget w;
        w.resize(100, 100);
        QSignalSpy dbl(&w, &CustomWidget::senddoublepress);
        QTest::mouseDClick(&w, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QCOMPARE(dbl.count(), 1);
    }

    void contextMenuSlotsEmitTheViewRequests()
    {
        CustomWidget w;
        QSignalSpy fit(&w, &CustomWidget::sendFit), s100(&w, &CustomWidget::send100),
            s200(&w, &CustomWidget::send200), in(&w, &CustomWidget::sendzoomin), out(&w, &CustomWidget::sendzoomout);
        w.openUrl_fit();
        w.openUrl_100();
        w.openUrl_200();
        w.openUrl_zoomin();
        w.openUrl_zoomout();
        QCOMPARE(fit.count() + s100.count() + s200.count() + in.count() + out.count(), 5);
        QCOMPARE(fit.count(), 1);
        QCOMPARE(out.count(), 1);
    }

    void contextMenuOffersTheFiveCommandsOnce()
    {
        CustomWidget w;
        w.resize(200, 200);
        w.show();
        for (int round = 0; round < 2; ++round) {
            QTimer::singleShot(0, [] {
                if (QWidget *popup = QApplication::activePopupWidget())
                    popup->close();
            });
            QContextMenuEvent e(QContextMenuEvent::Mouse, QPoint(10, 10), w.mapToGlobal(QPoint(10, 10)));
            QApplication::sendEvent(&w, &e);
        }
        const QList<QAction *> actions = w.findChildren<QAction *>();
        QStringList texts;
        for (QAction *a : actions)
            texts << a->text();
        QCOMPARE(actions.size(), 5);
        QVERIFY(texts.contains("Fit to screen       "));
        QVERIFY(texts.contains("100%"));
        QVERIFY(texts.contains("200%"));
        QVERIFY(texts.contains("Zoom In"));
        QVERIFY(texts.contains("Zoom Out"));
    }

    void scaledSizeTruncates()
    {
        CustomWidget w;
        w.setImage(solid(101, 51), &w);
        w.setScale(0.5);
        QCOMPARE(w.scaledWidth(), 50);
        QCOMPARE(w.scaledHeight(), 25);
        QPixmap pm(33, 33);
        w.setPixmap(pm, &w);
        QVERIFY(w.overlayImage().isNull());
        QCOMPARE(w.scaledWidth(), 16);
    }

    void mode0DrawsOnlyTheImageAreaCentred()
    {
        CustomWidget w;
        w.resize(300, 200);
        w.setImage(solid(100, 80, QColor(10, 200, 30)), &w);
        const QImage shot = w.grab().toImage();
        QCOMPARE(QColor(shot.pixel(150, 100)), QColor(10, 200, 30));
        QVERIFY(QColor(shot.pixel(20, 100)) != QColor(10, 200, 30));
    }

    void mode0HonoursScroll()
    {
        CustomWidget w;
        w.resize(100, 100);
        QImage img(400, 400, QImage::Format_ARGB32);
        img.fill(Qt::black);
        for (int y = 0; y < 400; ++y)
            for (int x = 200; x < 400; ++x)
                img.setPixel(x, y, qRgb(255, 255, 255));
        w.setImage(img, &w);
        w.setScroll(150, 0);
        const QImage shot = w.grab().toImage();
        QCOMPARE(QColor(shot.pixel(10, 50)), QColor(Qt::black));
        QCOMPARE(QColor(shot.pixel(90, 50)), QColor(Qt::white));
        w.setScroll(-30, -5); // negative offsets count as 0
        w.grab();
        QCOMPARE(w.scrollX(), 0);
    }

    void mode2DrawsPieceFrameAndTwoHandles()
    {
        CustomWidget w;
        w.resize(200, 200);
        w.setImage(solid(200, 200), &w);
        w.setPieceImage(20, 30, solid(40, 20, Qt::blue));
        QCOMPARE(w.paintMode, 2);
        const QImage shot = w.grab().toImage();
        QCOMPARE(w.pieceRect(), QRect(QPoint(20, 30), QPoint(59, 49)));
        QCOMPARE(w.handleRect(4), QRect(QPoint(59 - 6, 49 - 6), QPoint(59 + 5, 49 + 5)));
        QCOMPARE(w.handleRect(7), QRect(QPoint(59 - 6, (30 + 49) / 2 - 6), QPoint(59 + 5, (30 + 49) / 2 + 5)));
        QVERIFY(w.handleRect(1).isNull());
        QCOMPARE(w.handleAt(QPoint(59, 49)), 4);
        QCOMPARE(w.handleAt(QPoint(59, 39)), 7);
        QCOMPARE(w.handleAt(QPoint(21, 31)), 0);
        QCOMPARE(QColor(shot.pixel(59, 49)), QColor(0, 174, 255));
        QCOMPARE(QColor(shot.pixel(35, 40)), QColor(Qt::blue));
        w.setImage(solid(200, 200), &w);
        QCOMPARE(w.paintMode, 0);
    }

    void handleCursorsFollowTheTable()
    {
        CustomWidget w;
        w.setHandleCursor(4);
        QCOMPARE(w.cursor().shape(), Qt::SizeFDiagCursor);
        w.setHandleCursor(7);
        QCOMPARE(w.cursor().shape(), Qt::SizeHorCursor);
        w.setHandleCursor(6);
        QCOMPARE(w.cursor().shape(), Qt::SizeVerCursor);
        w.setHandleCursor(3);
        QCOMPARE(w.cursor().shape(), Qt::SizeBDiagCursor);
        w.setHandleCursor(0);
        QCOMPARE(w.cursor().shape(), Qt::SizeAllCursor);
    }

    void mode1PreviewSetsMode()
    {
        CustomWidget w;
        w.resize(100, 100);
        w.setImage(solid(100, 100), &w);
        w.setStampPreview(10, 10, 50, 50, solid(10, 10, Qt::red));
        QCOMPARE(w.paintMode, 1);
        const QImage shot = w.grab().toImage();
        QCOMPARE(QColor(shot.pixel(50, 50)), QColor(Qt::red));
    }

    void backdropSitsUnderTheImage()
    {
        CustomBackWidget back;
        back.resize(300, 200);
        back.show();
        QVERIFY(QTest::qWaitForWindowExposed(&back));
        back.setImageSize(100, 80, &back);
        QCOMPARE(back.backdropGeometry(), QRect(100, 60, 100, 80));
        back.setScale(5.0);
        QCOMPARE(back.backdropGeometry(), QRect(0, 0, 300, 200));
        back.setScale(2.0);
        QCOMPARE(back.backdropGeometry(), QRect(50, 20, 200, 160));
        back.resize(400, 200);
        QCOMPARE(back.backdropGeometry(), QRect(100, 20, 200, 160));
    }

    void shadowFallsBesideTheImageArea()
    {
        QWidget host;
        host.resize(300, 200);
        host.setStyleSheet("background:#302e34;");
        host.setAutoFillBackground(true);
        CustomBackWidget *back = new CustomBackWidget(&host);
        back->resize(300, 200);
        back->setImageSize(100, 80, back);
        back->setDropShadow(QPoint(8, 8), QColor(63, 63, 63, 180));
        const QImage shot = host.grab().toImage();
        const QColor plain(shot.pixel(5, 5));
        // Under the area, offset by (8, 8): darker grey over the background.
        QVERIFY(QColor(shot.pixel(100 + 100 + 4, 60 + 40)) != plain); // right of the image
        QVERIFY(QColor(shot.pixel(100 + 50, 60 + 80 + 4)) != plain);  // below it
        QCOMPARE(QColor(shot.pixel(100 - 4, 60 + 40)), plain);         // not on the left
        QCOMPARE(QColor(shot.pixel(100 + 50, 60 - 4)), plain);         // nor above
    }

    void missingFileShowsNothing()
    {
        CustomWidget w;
        w.resize(100, 100);
        w.setImageFile("/nonexistent/photo.png", &w);
        QVERIFY(w.overlayImage().isNull());
        QVERIFY(w.pixmap().isNull());
        w.grab(); // paints nothing, does not crash
    }
};

QTEST_MAIN(TestCanvas)
#include "tst_canvas.moc"
