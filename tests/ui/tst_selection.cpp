// Selection tools, region boxes and undo, driven by synthetic mouse events on
// the real canvas of the window. The canvas is given the photo's size, so
// that widget and image coordinates agree at fit (scale 1) unless a test
// chooses another zoom.
#include <QSignalSpy>
#include <QSlider>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

#include "commands.h"
#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "testutil.h"
#include "ui_mainwindow.h"

class TestSelection : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;
    PhotoItem *m_item = nullptr;

    PhotoItem *openPhoto(int cols, int rows, int canvasW = 200, int canvasH = 150)
    {
        ui->widget_back->setFixedSize(canvasW, canvasH);
        m_w->openPhoto(writeImage(m_dir.path(), QString("s%1x%2.png").arg(cols).arg(rows), patternPhoto(cols, rows)));
        return m_w->photoItems().last();
    }

    CustomWidget *top() const
    {
        return ui->widget_front_green->isVisible() ? ui->widget_front_green : ui->widget_front;
    }
    void press(int x, int y) { QTest::mousePress(top(), Qt::LeftButton, Qt::NoModifier, QPoint(x, y)); }
    void release(int x, int y) { QTest::mouseRelease(top(), Qt::LeftButton, Qt::NoModifier, QPoint(x, y)); }
    void move(int x, int y)
    {
        QMouseEvent e(QEvent::MouseMove, QPointF(x, y), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(top(), &e);
    }
    void hover(int x, int y)
    {
        QMouseEvent e(QEvent::MouseMove, QPointF(x, y), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(top(), &e);
    }
    void click(int x, int y)
    {
        press(x, y);
        release(x, y);
    }
    void stroke(std::initializer_list<QPoint> points)
    {
        auto it = points.begin();
        press(it->x(), it->y());
        QPoint last = *it;
        for (++it; it != points.end(); ++it) {
            move(it->x(), it->y());
            last = *it;
        }
        release(last.x(), last.y());
    }
    static bool selected(const cv::Mat &layer, int x, int y) { return layer.at<cv::Vec4b>(y, x)[3] == 128; }
    static int count(const cv::Mat &layer) { return cv::countNonZero(layer.reshape(1)); }
    static bool same(const cv::Mat &a, const cv::Mat &b)
    {
        if (a.size() != b.size() || a.type() != b.type())
            return false;
        const cv::Mat diff = a != b;
        return cv::countNonZero(diff.reshape(1)) == 0;
    }
    QString topText() const
    {
        QUndoStack *s = m_item->getUndoStack();
        return s->index() > 0 ? s->command(s->index() - 1)->text() : QString();
    }

private slots:
    void initTestCase()
    {
        isolateSettings();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        g_uiScale = 1.0;
        m_w = new MainWindow;
        ui = m_w->form();
        m_w->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_w));
        m_item = openPhoto(200, 150);
        QCOMPARE(m_w->displayScale(), 1.0);
    }

    void cleanup()
    {
        if (m_item) {
            QCOMPARE(foreignLayerValues(state(m_item).selection.m_inpaintMask), 0);
            QCOMPARE(state(m_item).selection.m_inpaintMask.size(), state(m_item).m_image.size());
        }
        delete m_w;
        m_w = nullptr;
        m_item = nullptr;
    }

    // ------------------------------------------------------------ brush

    void brushStrokeUndoRedoBitForBit()
    {
        const cv::Mat before = state(m_item).selection.m_inpaintMask.clone();
        stroke({QPoint(20, 20), QPoint(60, 30), QPoint(120, 90)});
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 60, 30));
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 20, 20)); // the red dab at the press
        const cv::Mat after = state(m_item).selection.m_inpaintMask.clone();
        QCOMPARE(m_item->getUndoStack()->count(), 1);
        QCOMPARE(topText(), QString("Red Selection Brush"));
        for (int round = 0; round < 2; ++round) {
            m_item->getUndoStack()->undo();
            QVERIFY(same(state(m_item).selection.m_inpaintMask, before));
            m_item->getUndoStack()->redo();
            QVERIFY(same(state(m_item).selection.m_inpaintMask, after));
        }
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(m_item).selection.m_inpaintMask.data);
        QCOMPARE(int(state(m_item).output.m_saved), 1); // selections do not make a photo unsaved
    }

    void greenBrushTouchesOnlyTheGreenLayer()
    {
        ui->pushButton_green->click();
        press(50, 50);
        QCOMPARE(count(state(m_item).selection.m_inpaintMaskBK), 0); // no dab at a green press
        move(90, 50);
        release(90, 50);
        QVERIFY(selected(state(m_item).selection.m_inpaintMaskBK, 70, 50));
        QCOMPARE(state(m_item).selection.m_inpaintMaskBK.at<cv::Vec4b>(50, 70), cv::Vec4b(0, 255, 0, 128));
        QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0);
        QCOMPARE(int(state(m_item).selection.m_donorUsed), 1);
        QCOMPARE(topText(), QString("Green Selection Brush"));
        QCOMPARE(foreignLayerValues(state(m_item).selection.m_inpaintMaskBK), 0);
        const cv::Mat after = state(m_item).selection.m_inpaintMaskBK.clone();
        m_item->getUndoStack()->undo();
        QCOMPARE(count(state(m_item).selection.m_inpaintMaskBK), 0);
        m_item->getUndoStack()->redo();
        QVERIFY(same(state(m_item).selection.m_inpaintMaskBK, after));
    }

    void tinyBrushStillDraws()
    {
        for (int size : {0, 1}) {
            ui->verticalSlider->setValue(size);
            QCOMPARE(state(m_item).pointer.m_brushSize, size);
            m_item->clearInpaintMask();
            press(10, 100);
            QVERIFY(selected(state(m_item).selection.m_inpaintMask, 10, 100)); // radius at least 1
            move(40, 100);
            release(40, 100);
            QVERIFY(selected(state(m_item).selection.m_inpaintMask, 25, 100)); // thickness at least 1
            QVERIFY(!selected(state(m_item).selection.m_inpaintMask, 25, 103));
        }
    }

    void brushThicknessFollowsTheZoom()
    {
        m_w->recv200(); // 2 screen pixels per image pixel: a 30 brush is 15 image pixels wide
        ui->verticalSlider->setValue(30);
        state(m_item).selection.m_inpaintMask.setTo(0);
        m_item->recvSelectType(4, 30, 0);
        state(m_item).pointer.m_scale = 2.0;
        m_item->recvLeftPressPoint(QPointF(100, 75));
        m_item->recvLeftMovePoint(QPointF(150, 75));
        m_item->recvReleasePoint(QPointF(150, 75));
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 125, 75 + 6));
        QVERIFY(!selected(state(m_item).selection.m_inpaintMask, 125, 75 + 9));
    }

    void fixToolClearsOnlyItsColour()
    {
        ui->pushButton_green->click();
        stroke({QPoint(20, 50), QPoint(180, 50)});
        ui->pushButton_red->click();
        stroke({QPoint(20, 52), QPoint(180, 52)});
        const cv::Mat green = state(m_item).selection.m_inpaintMaskBK.clone();
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 100, 52));
        ui->pushButton_sub->click();
        press(100, 10);
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 100, 52)); // no dab at the press
        move(100, 140);
        release(100, 140);
        QVERIFY(!selected(state(m_item).selection.m_inpaintMask, 100, 52));
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 30, 52));
        QVERIFY(same(state(m_item).selection.m_inpaintMaskBK, green));
        QCOMPARE(topText(), QString("Red Fix the Selection Brush"));
        // And the reverse.
        const cv::Mat red = state(m_item).selection.m_inpaintMask.clone();
        ui->pushButton_green->click();
        stroke({QPoint(60, 10), QPoint(60, 140)});
        QVERIFY(!selected(state(m_item).selection.m_inpaintMaskBK, 60, 50));
        QVERIFY(same(state(m_item).selection.m_inpaintMask, red));
        QCOMPARE(topText(), QString("Green Fix the Selection Brush"));
    }

    // ------------------------------------------------------------ shapes

    void rectangleKeepsItsLargestExtent()
    {
        ui->pushButton_rect->click();
        stroke({QPoint(10, 10), QPoint(100, 80), QPoint(30, 30)});
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 95, 75));
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 10, 10));
        QVERIFY(!selected(state(m_item).selection.m_inpaintMask, 105, 75));
        QCOMPARE(topText(), QString("Red Rectangle Selection Brush"));
        QCOMPARE(m_item->getUndoStack()->count(), 1);
    }

    void clickWithoutMoveStillMakesAnEntry()
    {
        ui->pushButton_rect->click();
        click(50, 50);
        QCOMPARE(m_item->getUndoStack()->count(), 1);
        const AddRedCommand *cmd = static_cast<const AddRedCommand *>(m_item->getUndoStack()->command(0));
        QVERIFY(same(cmd->m_redoImage, cmd->m_undoImage));
        QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0);
    }

    void lassoFillsWhatItEncloses()
    {
        ui->pushButton_noose->click();
        ui->pushButton_green->click();
        stroke({QPoint(20, 20), QPoint(100, 20), QPoint(100, 100), QPoint(20, 100)});
        QVERIFY(selected(state(m_item).selection.m_inpaintMaskBK, 60, 60));
        QVERIFY(!selected(state(m_item).selection.m_inpaintMaskBK, 150, 60));
        QCOMPARE(state(m_item).selection.m_lassoCount, 0);
        QCOMPARE(topText(), QString("Green Lasso Selection Brush"));
        QCOMPARE(foreignLayerValues(state(m_item).selection.m_inpaintMaskBK), 0);
    }

    void lassoKeepsAtMostItsArray()
    {
        m_item->recvSelectType(2, 30, 0);
        m_item->recvLeftPressPoint(QPointF(10, 10));
        for (int i = 0; i < PhotoItem::kMaxLassoPoints + 50; ++i)
            m_item->recvLeftMovePoint(QPointF(10 + (i % 100), 10 + (i / 1000) % 100));
        QCOMPARE(state(m_item).selection.m_lassoCount, PhotoItem::kMaxLassoPoints);
        m_item->recvReleasePoint(QPointF(20, 20));
        QCOMPARE(state(m_item).selection.m_lassoCount, 0);
        QCOMPARE(m_item->getUndoStack()->count(), 1);
    }

    void polygonDoesNotCloseAfterTwoVertices()
    {
        ui->pushButton_poly->click();
        click(20, 20);
        click(22, 21); // near the first vertex, but only the third click can close
        QCOMPARE(state(m_item).selection.m_polyCount, 2);
        QCOMPARE(m_item->getUndoStack()->count(), 0);
        QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0);
        click(100, 20);
        click(60, 120);
        QCOMPARE(state(m_item).selection.m_polyCount, 4);
        // The rubber band shows the open polygon on the layer's widget.
        hover(150, 140);
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(m_item).selection.m_rubberBand.data);
        QVERIFY(selected(state(m_item).selection.m_rubberBand, 80, 20));
        QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0);
        click(21, 19); // closes: within 10 screen pixels of the first vertex
        QCOMPARE(state(m_item).selection.m_polyCount, 0);
        QCOMPARE(state(m_item).selection.m_lastVertex, QPointF(-1, -1));
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 60, 60));
        QCOMPARE(m_item->getUndoStack()->count(), 1);
        QCOMPARE(topText(), QString("Red Polygon Selection Brush"));
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(m_item).selection.m_inpaintMask.data);
    }

    void polygonAtHighZoomClosesByExactPixelOrDoubleClick()
    {
        m_item = openPhoto(16, 12); // fit 12.5: tolerance 0.8 pixel, ring radius 0
        QCOMPARE(m_w->displayScale(), 12.5);
        ui->pushButton_poly->click();
        auto at = [](double ix, double iy) { return QPoint(int(ix * 12.5), int(iy * 12.5)); };
        for (QPoint p : {at(2.2, 2.2), at(12.2, 2.2), at(12.2, 9.2)}) {
            press(p.x(), p.y());
            release(p.x(), p.y());
        }
        hover(at(5, 8).x(), at(5, 8).y()); // the ring of radius 0 does not trip anything
        const QPoint next = at(3.2, 2.2); // one pixel off: does not close
        press(next.x(), next.y());
        release(next.x(), next.y());
        QCOMPARE(state(m_item).selection.m_polyCount, 4);
        QCOMPARE(m_item->getUndoStack()->count(), 0);
        QTest::mouseDClick(top(), Qt::LeftButton, Qt::NoModifier, next);
        QCOMPARE(state(m_item).selection.m_polyCount, 0);
        QCOMPARE(m_item->getUndoStack()->count(), 1);
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 10, 4));
    }

    void polygonClosesOnTheExactFirstPixel()
    {
        m_item->recvSelectType(3, 30, 0);
        state(m_item).pointer.m_scale = 12.5;
        for (QPointF p : {QPointF(2.2, 2.2), QPointF(12.2, 2.2), QPointF(12.2, 9.2), QPointF(2.7, 2.9)})
            m_item->recvLeftPressPoint(p);
        QCOMPARE(state(m_item).selection.m_polyCount, 0);
        QCOMPARE(m_item->getUndoStack()->count(), 1);
    }

    void doubleClickNeedsThreeVertices()
    {
        ui->pushButton_poly->click();
        click(20, 20);
        click(100, 20);
        m_item->recvDoublePress();
        QCOMPARE(state(m_item).selection.m_polyCount, 2);
        QCOMPARE(m_item->getUndoStack()->count(), 0);
    }

    void polygonNeverRunsPastItsArray()
    {
        m_item->recvSelectType(3, 30, 0);
        for (int i = 0; i < PhotoItem::kMaxPolyPoints - 1; ++i)
            m_item->recvLeftPressPoint(QPointF(30 + (i % 10) * 15, 30 + (i / 10) * 10));
        QCOMPARE(state(m_item).selection.m_polyCount, PhotoItem::kMaxPolyPoints - 1);
        m_item->recvLeftPressPoint(QPointF(190, 140));
        QCOMPARE(state(m_item).selection.m_polyCount, 0);
        QCOMPARE(m_item->getUndoStack()->count(), 1);
    }

    void vertexOnTheEdgeSuspendsTheRubberBand()
    {
        m_item->recvSelectType(3, 30, 0);
        m_item->recvLeftPressPoint(QPointF(0, 40));
        state(m_item).selection.m_rubberBand.release();
        m_item->recvLeftMoveNoPoint(QPointF(50, 50));
        QVERIFY(state(m_item).selection.m_rubberBand.empty());
    }

    // ------------------------------------------------------------ stamp region

    void stampPolygonRegionIsFencedAndInvisibleInside()
    {
        ui->pushButton_stamp->click();
        ui->pushButton_stamp_2->click();
        QSignalSpy over(m_item, &PhotoItem::sendOverStampSelect);
        for (QPoint p : {QPoint(20, 20), QPoint(120, 20), QPoint(120, 100), QPoint(21, 21)})
            click(p.x(), p.y());
        QCOMPARE(over.count(), 1);
        QCOMPARE(int(state(m_item).stamp.m_stampRegionActive), 1);
        QCOMPARE(state(m_item).selection.m_strokeBaseRed.at<cv::Vec4b>(40, 100), cv::Vec4b(0, 0, 255, 0));
        QCOMPARE(state(m_item).selection.m_strokeBaseRed.at<cv::Vec4b>(20, 70), cv::Vec4b(0, 0, 255, 128));
        QCOMPARE(state(m_item).selection.m_strokeBaseRed.at<cv::Vec4b>(140, 10), cv::Vec4b(0, 0, 0, 0));
        QCOMPARE(foreignLayerValues(state(m_item).selection.m_strokeBaseRed), 0);
        QCOMPARE(m_item->getUndoStack()->count(), 0);
        QCOMPARE(m_w->toolType(), Tool::Stamp);
        // A new region starts empty.
        ui->pushButton_stamp_1->click();
        QCOMPARE(count(state(m_item).selection.m_strokeBaseRed), 0);
        QCOMPARE(int(state(m_item).stamp.m_stampRegionActive), 0);
    }

    // ------------------------------------------------------------ boxes

    void strokeBoxGrowsWhenZoomedOut()
    {
        m_item->recvSelectType(4, 30, 0);
        state(m_item).pointer.m_scale = 0.5; // r = 60
        m_item->recvLeftPressPoint(QPointF(100, 70));
        QCOMPARE(state(m_item).selection.m_strokeMinX, 40.0);
        QCOMPARE(state(m_item).selection.m_strokeMinY, 10.0);
        QCOMPARE(state(m_item).selection.m_strokeMaxX, 160.0);
        QCOMPARE(state(m_item).selection.m_strokeMaxY, 130.0);
        m_item->recvReleasePoint(QPointF(100, 70));
        const AddRedCommand *cmd = static_cast<const AddRedCommand *>(m_item->getUndoStack()->command(0));
        QCOMPARE(cmd->m_rect, cv::Rect(40, 10, 120, 120));
        QCOMPARE(cmd->m_redoImage.size(), cv::Size(120, 120));
        QCOMPARE(state(m_item).selection.m_strokeMaxX, -1.0); // reset after the entry
    }

    void boxesAtTheImageCorner()
    {
        m_item->recvSelectType(4, 30, 0);
        m_item->recvLeftPressPoint(QPointF(195, 148));
        QCOMPARE(state(m_item).selection.m_strokeMaxX, 200.0); // clamped
        QCOMPARE(state(m_item).selection.m_strokeMaxY, 150.0);
        QCOMPARE(state(m_item).regions.m_workMaxX, 225.0);   // not clamped, brush margin on the right only
        QCOMPARE(state(m_item).regions.m_workMaxY, 148.0);
        QCOMPARE(state(m_item).regions.m_workMinX, 195.0);
        m_item->recvLeftPressPoint(QPointF(2, 3));
        QCOMPARE(state(m_item).selection.m_strokeMinX, 0.0);
        QCOMPARE(state(m_item).selection.m_strokeMinY, 0.0);
        QCOMPARE(state(m_item).regions.m_workMinX, 2.0);
    }

    void boxesCompareInSinglePrecision()
    {
        m_item->recvSelectType(4, 0, 0);
        m_item->extendStrokeBox(QPointF(100.3, 50.7));
        m_item->extendWorkBox(QPointF(100.3, 50.7));
        QCOMPARE(state(m_item).selection.m_strokeMinX, double(100.3f));
        QCOMPARE(state(m_item).selection.m_strokeMaxY, double(50.7f));
        QCOMPARE(state(m_item).regions.m_workMinX, double(100.3f));
        QVERIFY(state(m_item).selection.m_strokeMinX != 100.3);
        state(m_item).selection.m_strokeMinX = 10.7;
        state(m_item).selection.m_strokeMinY = 20.2;
        state(m_item).selection.m_strokeMaxX = 30.9;
        state(m_item).selection.m_strokeMaxY = 25.1;
        QCOMPARE(m_item->strokeBoxRect(), cv::Rect(10, 20, 20, 5));
        state(m_item).regions.m_workMinX = 50;
        state(m_item).regions.m_workMaxX = 40; // reversed corners give a positive size
        state(m_item).regions.m_workMinY = 5;
        state(m_item).regions.m_workMaxY = 9;
        QCOMPARE(m_item->workBoxRect(), cv::Rect(40, 5, 10, 4));
    }

    void selectionBoundsAreOneShort()
    {
        QCOMPARE(m_item->selectionBounds(), cv::Rect(200, 150, -200, -150));
        state(m_item).selection.m_inpaintMask.at<cv::Vec4b>(40, 30) = cv::Vec4b(0, 0, 255, 128);
        QCOMPARE(m_item->selectionBounds(), cv::Rect(30, 40, 0, 0));
        // A one-pixel selection is no selection for the piece tools.
        m_item->recvSelectType(12, 30, 0);
        m_item->recvLeftPressPoint(QPointF(30, 40));
        QCOMPARE(int(state(m_item).clone.m_grabbed), 0);
        state(m_item).selection.m_inpaintMask.at<cv::Vec4b>(45, 60) = cv::Vec4b(0, 0, 255, 128);
        QCOMPARE(m_item->selectionBounds(), cv::Rect(30, 40, 30, 5));
        m_item->clearInpaintMask();
    }

    void undoingEveryStrokeLeavesTheWorkBox()
    {
        stroke({QPoint(50, 50), QPoint(80, 60)});
        QVERIFY(m_item->selectionBounds().width > 0);
        m_item->getUndoStack()->undo();
        const cv::Rect r = m_item->selectionBounds();
        QVERIFY(r.width < 1 && r.height < 1);
        QVERIFY(state(m_item).regions.m_workMaxX >= 0.0);
    }

    void layerViewsChooseWhatShows()
    {
        m_w->on_pushButton_green_clicked();
        QVERIFY(ui->widget_front_green->isVisible());
        QVERIFY(ui->widget_front->isVisible()); // red shows through under the green
        m_item->recvSrcRoi();
        QVERIFY(ui->widget_front->isHidden());
        QVERIFY(ui->widget_front_green->isHidden());
        QCOMPARE(ui->widget_mid->overlayImage().size(), QSize(200, 150));
        m_item->recvRedRoi();
        QVERIFY(ui->widget_front->isVisible());
        QVERIFY(ui->widget_front_green->isHidden());
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(m_item).selection.m_inpaintMask.data);
        QVERIFY(ui->widget_mid->overlayImage().isNull());
        // A file that has gone shows nothing, and nothing breaks.
        state(m_item).output.m_filePath = m_dir.path() + "/gone.png";
        m_item->recvSrcRoi();
        QVERIFY(ui->widget_mid->overlayImage().isNull());
    }

    // ------------------------------------------------------------ undo

    void undoOfACommandDoesNotBringBackTheSelection()
    {
        stroke({QPoint(50, 50), QPoint(80, 60)});
        const cv::Mat selection = state(m_item).selection.m_inpaintMask.clone();
        const cv::Mat imageBefore = state(m_item).m_image.clone();
        // An image change over a region, as a job or a stamp stroke pushes it.
        const cv::Rect rect(40, 40, 50, 30);
        cv::Mat before = state(m_item).m_image(rect).clone();
        state(m_item).m_image(rect).setTo(cv::Scalar(1, 2, 3));
        state(m_item).output.m_saved = 1;
        m_item->getUndoStack()->push(new Command(state(m_item).m_image(rect), before, QPointF(40, 40), QPointF(90, 70),
                                                 "Erase", m_item, rect));
        QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0); // the push ran redo: selections cleared
        QCOMPARE(state(m_item).regions.m_workMaxX, -1.0);
        QCOMPARE(int(state(m_item).output.m_saved), 0);
        state(m_item).output.m_saved = 1;
        m_item->getUndoStack()->undo();
        QVERIFY(same(state(m_item).m_image, imageBefore));
        QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0);
        QCOMPARE(int(state(m_item).output.m_saved), 1); // undo does not make the photo unsaved
        QCOMPARE(state(m_item).regions.m_workMinX, 40.0);  // the work box comes back from the entry
        QCOMPARE(state(m_item).regions.m_workMaxY, 70.0);
        // The stroke below brings the selection back.
        m_item->getUndoStack()->undo();
        m_item->getUndoStack()->redo();
        QVERIFY(same(state(m_item).selection.m_inpaintMask, selection));
        m_item->getUndoStack()->redo();
        QVERIFY(same(state(m_item).m_image(rect).clone(), cv::Mat(rect.size(), CV_8UC3, cv::Scalar(1, 2, 3))));
        QCOMPARE(int(state(m_item).output.m_saved), 0); // redo does
    }

    void entriesHoldDeepCopies()
    {
        stroke({QPoint(50, 50), QPoint(80, 60)});
        const AddRedCommand *cmd = static_cast<const AddRedCommand *>(m_item->getUndoStack()->command(0));
        const cv::Mat redo = cmd->m_redoImage.clone();
        state(m_item).selection.m_inpaintMask.setTo(0);
        QVERIFY(same(cmd->m_redoImage, redo));
        QVERIFY(cmd->m_redoImage.data < state(m_item).selection.m_inpaintMask.data
                || cmd->m_redoImage.data >= state(m_item).selection.m_inpaintMask.dataend);
    }

    void indexIsClampedByTheStack()
    {
        stroke({QPoint(50, 50), QPoint(80, 60)});
        QUndoStack *s = m_item->getUndoStack();
        s->setIndex(-1);
        QCOMPARE(s->index(), 0);
        s->setIndex(5);
        QCOMPARE(s->index(), 1);
    }

    // ------------------------------------------------------------ pieces

    void smartCloneGrabDragAndResize()
    {
        ui->pushButton_rect->click();
        stroke({QPoint(40, 40), QPoint(60, 60)});
        QCOMPARE(m_item->selectionBounds(), cv::Rect(40, 40, 20, 20));
        ui->pushButton_clone->click();
        CustomWidget *c = top();
        QTest::mousePress(c, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
        QCOMPARE(int(state(m_item).clone.m_grabbed), 1);
        QCOMPARE(state(m_item).clone.m_dragOriginX, 40);
        QMouseEvent drag(QEvent::MouseMove, QPointF(120, 100), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(c, &drag);
        QTest::mouseRelease(c, Qt::LeftButton, Qt::NoModifier, QPoint(120, 100));
        QCOMPARE(state(m_item).clone.m_moveX, 110);
        QCOMPARE(state(m_item).clone.m_moveY, 90);
        QCOMPARE(ui->widget_front_green->paintMode, 2);
        QVERIFY(ui->widget_front_green->isVisible());
        // The piece: the photo's pixels, opaque where selected.
        const cv::Vec4b p = state(m_item).selection.m_inpaintMaskBK.at<cv::Vec4b>(5, 5);
        const cv::Vec3b src = state(m_item).m_image.at<cv::Vec3b>(45, 45);
        QCOMPARE(p, cv::Vec4b(src[0], src[1], src[2], 255));
        // Corner handle: proportional, the smaller travel decides.
        m_item->recvLeftMoveChangePoint(QPointF(0, 0), 10, 5, 1);
        QCOMPARE(state(m_item).clone.m_cloneGrowX, 5);
        QCOMPARE(state(m_item).clone.m_cloneGrowY, 5);
        const cv::Mat piece = m_item->buildMovedPiece(5, 5);
        QCOMPARE(piece.size(), cv::Size(25, 25));
        // Side handle, too large for the image: ignored.
        m_item->recvLeftMoveChangePoint(QPointF(0, 0), 500, 0, 0);
        QCOMPARE(state(m_item).clone.m_cloneGrowX, 5);
        // The piece keeps at least one pixel.
        m_item->recvLeftMoveChangePoint(QPointF(0, 0), -20, 0, 0);
        QCOMPARE(state(m_item).clone.m_cloneGrowX, 5);
        m_item->recvLeftMoveChangePoint(QPointF(0, 0), -19, 0, 0);
        QCOMPARE(state(m_item).clone.m_cloneGrowX, -19);
        m_item->recvReleasePoint(QPointF(120, 100));
        QCOMPARE(state(m_item).clone.m_cloneGrowBaseX, -19);
    }

    void handlesOfTheDrawnPieceDriveTheResize()
    {
        ui->pushButton_rect->click();
        stroke({QPoint(40, 40), QPoint(60, 60)});
        ui->pushButton_clone->click();
        CustomWidget *c = top();
        QTest::mousePress(c, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
        QMouseEvent drag(QEvent::MouseMove, QPointF(100, 75), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(c, &drag);
        QTest::mouseRelease(c, Qt::LeftButton, Qt::NoModifier, QPoint(100, 75));
        c->grab(); // paints the piece and places its handles
        const QPoint corner = c->handleRect(4).center();
        QVERIFY(!c->handleRect(4).isNull());
        QSignalSpy change(c, &CustomWidget::sendLeftMoveChangePoint);
        QTest::mousePress(c, Qt::LeftButton, Qt::NoModifier, corner);
        QMouseEvent pull(QEvent::MouseMove, QPointF(corner + QPoint(8, 8)), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(c, &pull);
        QCOMPARE(change.count(), 1);
        QCOMPARE(change.at(0).at(3).toInt(), 1);
        QTest::mouseRelease(c, Qt::LeftButton, Qt::NoModifier, corner + QPoint(8, 8));
        QCOMPARE(state(m_item).clone.m_cloneGrowX, 8);
        QCOMPARE(state(m_item).clone.m_cloneGrowY, 8);
    }

    void pieceDragOfTheCloneJob()
    {
        ui->pushButton_rect->click();
        stroke({QPoint(40, 40), QPoint(60, 60)});
        emit m_w->sendCloneCommand();
        QCOMPARE(state(m_item).pointer.m_tool, Tool::PieceDrag);
        m_item->recvLeftPressPoint(QPointF(50, 50));
        QCOMPARE(int(state(m_item).clone.m_grabbed), 1);
        QCOMPARE(state(m_item).clone.m_dragPressX, 50);
        m_item->recvLeftMovePoint(QPointF(130, 60));
        QCOMPARE(state(m_item).clone.m_moveX, 120);
        QCOMPARE(state(m_item).clone.m_moveY, 50);
        QCOMPARE(state(m_item).clone.m_clonePreview.at<cv::Vec3b>(50 + 5, 120 + 5), state(m_item).m_image.at<cv::Vec3b>(45, 45));
        QCOMPARE(state(m_item).clone.m_clonePreview.at<cv::Vec3b>(10, 10), state(m_item).m_image.at<cv::Vec3b>(10, 10));
        m_item->recvLeftMovePoint(QPointF(1000, -50)); // clamped inside the image
        QCOMPARE(state(m_item).clone.m_moveX, 200 - 20);
        QCOMPARE(state(m_item).clone.m_moveY, 0);
        QCOMPARE(ui->widget_mid->pixmap().size(), QSize(200, 150));
    }

    void pieceToolsWithoutSelectionDoNothing()
    {
        ui->pushButton_clone->click();
        stroke({QPoint(50, 50), QPoint(80, 60)});
        QCOMPARE(int(state(m_item).clone.m_grabbed), 0);
        QVERIFY(m_item->buildMovedPiece(0, 0).empty());
        m_item->recvLeftMoveChangePoint(QPointF(0, 0), 5, 5, 1);
        QCOMPARE(state(m_item).clone.m_cloneGrowX, 0);
        // A selection one pixel thin cannot be scaled by a handle.
        state(m_item).selection.m_inpaintMask(cv::Rect(30, 30, 1, 20)).setTo(cv::Scalar(0, 0, 255, 128));
        m_item->recvLeftMoveChangePoint(QPointF(0, 0), 5, 5, 1);
        QCOMPARE(state(m_item).clone.m_cloneGrowX, 0);
        QVERIFY(m_item->buildMovedPiece(0, 0).empty());
        m_item->clearInpaintMask();
    }

    // The hand, no tool yet, and numbers that name no tool: the photo only
    // keeps its boxes; no layer, pixel or history entry changes, whatever
    // the pointer does.
    void toolsWithoutPixelsLeaveThePhotoAlone()
    {
        const cv::Mat image = state(m_item).m_image.clone();
        for (const int code : {toolCode(Tool::None), toolCode(Tool::MoveView), 6, 99}) {
            m_item->recvSelectType(code, 30, colourCode(Colour::Mask));
            m_item->recvLeftPressPoint(QPointF(20, 20));
            m_item->recvLeftMovePoint(QPointF(60, 40));
            m_item->recvLeftMoveNoPoint(QPointF(60, 40));
            m_item->recvLeftMoveChangePoint(QPointF(60, 40), 5, 5, 1);
            m_item->recvReleasePoint(QPointF(60, 40));
            m_item->recvDoublePress();
            m_item->recvLeftALTPressPoint(QPointF(30, 30));
            QCOMPARE(count(state(m_item).selection.m_inpaintMask), 0);
            QCOMPARE(count(state(m_item).selection.m_inpaintMaskBK), 0);
            QCOMPARE(count(state(m_item).selection.m_strokeBaseRed), 0);
            QCOMPARE(m_item->getUndoStack()->count(), 0);
            QCOMPARE(state(m_item).clone.m_cloneGrowX, 0);
            QCOMPARE(int(state(m_item).clone.m_grabbed), 0);
            QCOMPARE(state(m_item).stamp.m_stampStrokeIndex, -1);
            QVERIFY(same(state(m_item).m_image, image));
            QCOMPARE(state(m_item).pointer.m_curPos, QPointF(60, 40));
        }
        const cv::Rect box = m_item->workBoxRect();
        QCOMPARE(box.tl(), cv::Point(20, 20));
        QVERIFY(box.br().x >= 60 && box.br().y >= 40);
    }

    // An event reaches only the tool in the hand: the polygon's double
    // click under the brush, the stamp's Alt-click under the lasso do nothing.
    void eventsOfOtherToolsAreIgnored()
    {
        ui->pushButton_poly->click();
        click(20, 20);
        click(80, 20);
        click(80, 80);
        QCOMPARE(state(m_item).selection.m_polyCount, 3);
        ui->pushButton_penplus->click();
        m_item->recvDoublePress();
        QCOMPARE(m_item->getUndoStack()->count(), 0);
        QCOMPARE(state(m_item).selection.m_polyCount, 3);
        ui->pushButton_noose->click();
        m_item->recvLeftALTPressPoint(QPointF(30, 30));
        QCOMPARE(int(state(m_item).stamp.m_stampSourceMissing), 1);
        QCOMPARE(state(m_item).stamp.m_stampStrokeIndex, -1);
        ui->pushButton_poly->click();
        m_item->recvDoublePress();
        QCOMPARE(m_item->getUndoStack()->count(), 1);
        QCOMPARE(topText(), QString("Red Polygon Selection Brush"));
        QVERIFY(selected(state(m_item).selection.m_inpaintMask, 60, 40));
    }
};

QTEST_MAIN(TestSelection)
#include "tst_selection.moc"
