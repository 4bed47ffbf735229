// The whole road of an erase inside the program: a real photograph opened
// in the main window, a selection painted with synthetic pointer events on
// the canvas, the Erase button, the progress dialog, the job on the real
// worker thread, and the undo entry it leaves. Also the smart clone: grab a
// piece, drag it, resize it by a handle, and paste it with Erase.
#include <QListWidget>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QStandardPaths>
#include <QUndoStack>
#include <QtTest>

#include "commands.h"
#include "custombackwidget.h"
#include "customwidget.h"
#include "erasetest.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "jobdialog.h"
#include "processdialog.h"
#include "threadfromqthread.h"
#include "ui_mainwindow.h"
#include "windowfixture.h"

class TestEraseWindow : public QObject
{
    Q_OBJECT

    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    PhotoItem *openPhoto(const QString &path)
    {
        // A canvas of the photo's size: fitted at 100%. toCanvas holds at
        // any zoom all the same.
        ui->widget_back->setFixedSize(600, 400);
        m_w->openPhoto(path);
        if (m_w->photoItems().isEmpty())
            return nullptr;
        PhotoItem *item = m_w->photoItems().last();
        QCoreApplication::processEvents();
        return item;
    }

    // The top canvas takes the pointer: image position to widget position.
    QPoint toCanvas(QPointF image) const
    {
        CustomWidget *top = ui->widget_front_green;
        return QPoint(int(std::lround(image.x() * top->scale() + top->offsetLeft() - top->scrollX())),
                      int(std::lround(image.y() * top->scale() + top->offsetTop() - top->scrollY())));
    }

    static void press(QWidget *w, QPoint p)
    {
        QMouseEvent e(QEvent::MouseButtonPress, p, w->mapToGlobal(p), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(w, &e);
    }
    static void drag(QWidget *w, QPoint p)
    {
        QMouseEvent e(QEvent::MouseMove, p, w->mapToGlobal(p), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(w, &e);
    }
    static void release(QWidget *w, QPoint p)
    {
        QMouseEvent e(QEvent::MouseButtonRelease, p, w->mapToGlobal(p), Qt::LeftButton, Qt::NoButton,
                      Qt::NoModifier);
        QApplication::sendEvent(w, &e);
    }

    // A press, moves in small steps through the points, and a release, all
    // in image coordinates.
    void stroke(std::initializer_list<QPointF> points)
    {
        CustomWidget *top = ui->widget_front_green;
        QPointF prev = *points.begin();
        press(top, toCanvas(prev));
        for (const QPointF &p : points) {
            for (int k = 1; k <= 8; ++k)
                drag(top, toCanvas(prev + (p - prev) * (k / 8.0)));
            prev = p;
        }
        release(top, toCanvas(prev));
    }

    processDialog *dialogOf(PhotoItem *item) const { return JobDialog::of(item)->dialog(); }

    // The brush stroke reached the red layer.
    bool brushPaints(PhotoItem *item) const { return cv::countNonZero(redOf(state(item).selection.m_inpaintMask)) > 0; }

    static cv::Rect lastEntryRect(PhotoItem *item)
    {
        QUndoStack *stack = item->getUndoStack();
        return static_cast<const Command *>(stack->command(stack->count() - 1))->m_rect;
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY2(QFile::exists(realPhoto("coffee.png")), "python3-skimage photographs are missing");
    }

    void init()
    {
        m_w = openTestWindow();
        ui = m_w->form();
        QVERIFY(QTest::qWaitForWindowExposed(m_w));
    }

    void cleanup() { deleteAfterJobs(m_w, kJobTimeoutMs); }

    void eraseAPaintedObject()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QCOMPARE(m_w->displayScale(), 1.0);
        QTest::mouseClick(ui->pushButton_penplus, Qt::LeftButton);
        ui->verticalSlider->setValue(24);
        QCOMPARE(state(item).pointer.m_tool, Tool::Brush);
        // Over the bowl of the spoon.
        stroke({QPointF(350, 265), QPointF(366, 285), QPointF(385, 300)});
        QVERIFY(brushPaints(item));
        QUndoStack *stack = item->getUndoStack();
        const int strokes = stack->count();
        QCOMPARE(strokes, 1);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat selected = redOf(state(item).selection.m_inpaintMask);

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        // The interface came back at once: the job runs under the dialog.
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(dialogOf(item)->isVisible());
        QCOMPARE(JobDialog::of(item)->place(), ui->pushButton_select_photo->mapToGlobal(QPoint(0, 0)));
        QCOMPARE(dialogOf(item)->pos(), JobDialog::of(item)->place());
        const cv::Rect crop = cv::Rect(cv::Point(int(state(item).regions.m_workMinX), int(state(item).regions.m_workMinY)),
                                       cv::Point(int(state(item).regions.m_workMaxX), int(state(item).regions.m_workMaxY)));
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(!dialogOf(item)->isVisible());
        QVERIFY(ui->pushButton_eraser->isEnabled());

        QCOMPARE(stack->count(), strokes + 1);
        QCOMPARE(stack->text(stack->count() - 1), QString("Erase"));
        QCOMPARE(lastEntryRect(item), crop);
        QCOMPARE(changedOutside(original, state(item).m_image, crop), 0);
        QVERIFY(changedShare(original, state(item).m_image, selected) > 0.8);
        QCOMPARE(cv::countNonZero(redOf(state(item).selection.m_inpaintMask)), 0);

        const cv::Mat erased = state(item).m_image.clone();
        stack->undo();
        QVERIFY(samePixels(state(item).m_image, original));
        stack->redo();
        QVERIFY(samePixels(state(item).m_image, erased));
    }

    void eraseWithAGreenDonor()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QTest::mouseClick(ui->pushButton_penplus, Qt::LeftButton);
        ui->verticalSlider->setValue(16);
        // Red over the white rim of the cup.
        stroke({QPointF(183, 80), QPointF(183, 130)});
        QVERIFY(brushPaints(item));
        // Green over the wooden table.
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        ui->verticalSlider->setValue(40);
        stroke({QPointF(500, 290), QPointF(580, 290), QPointF(580, 330), QPointF(500, 330), QPointF(500, 370),
                QPointF(580, 370)});
        QVERIFY(state(item).selection.m_donorUsed);
        cv::Mat donor;
        cv::extractChannel(state(item).selection.m_inpaintMaskBK, donor, 1);
        donor = donor > 0;
        QVERIFY(cv::countNonZero(donor) > 1000);
        QUndoStack *stack = item->getUndoStack();
        const int strokes = stack->count();
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat selected = redOf(state(item).selection.m_inpaintMask);

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(state(item).job.m_workerThread->m_useDonor);
        const cv::Rect crop = cv::Rect(cv::Point(int(state(item).regions.m_workMinX), int(state(item).regions.m_workMinY)),
                                       cv::Point(int(state(item).regions.m_workMaxX), int(state(item).regions.m_workMaxY)));
        QVERIFY(finished.wait(kJobTimeoutMs));

        QCOMPARE(stack->count(), strokes + 1);
        QCOMPARE(stack->text(stack->count() - 1), QString("Erase"));
        QCOMPARE(changedOutside(original, state(item).m_image, crop), 0);
        QVERIFY(changedShare(original, state(item).m_image, selected) > 0.8);
        // Filled from the wood, not from the porcelain around the hole.
        const cv::Scalar donorMean = cv::mean(original, donor);
        QVERIFY(cv::norm(cv::mean(state(item).m_image, selected) - donorMean)
                < cv::norm(cv::mean(original, selected) - donorMean) / 2);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)), 0);

        stack->undo();
        QVERIFY(samePixels(state(item).m_image, original));
    }

    void cancelMidJobRestoresThePhotoExactly()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QTest::mouseClick(ui->pushButton_penplus, Qt::LeftButton);
        ui->verticalSlider->setValue(30);
        stroke({QPointF(200, 230), QPointF(240, 280), QPointF(300, 300)});
        QVERIFY(brushPaints(item));
        QUndoStack *stack = item->getUndoStack();
        const int entries = stack->count();
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat selection = state(item).selection.m_inpaintMask.clone();

        QSignalSpy progress(state(item).job.m_workerThread, &ThreadFromQThread::progressSum);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(progress.wait(kJobTimeoutMs));
        // Mid-job: the engine is at work on the crop it was given.
        QVERIFY(state(item).job.m_jobActive);
        QTest::mouseClick(dialogOf(item)->findChild<QPushButton *>("pushButton"), Qt::LeftButton);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(!dialogOf(item)->isVisible());

        QVERIFY(samePixels(state(item).m_image, original));
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, selection));
        QCOMPARE(stack->count(), entries);
        // The canvas shows the photo as it was, with the selection over it.
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(item).selection.m_inpaintMask.data);
        const QImage shown = ui->widget_mid->pixmap().toImage().convertToFormat(QImage::Format_RGB888);
        const cv::Vec3b px = original.at<cv::Vec3b>(260, 230);
        QCOMPARE(QColor(shown.pixel(230, 260)), QColor(px[2], px[1], px[0]));

        // And the user can erase it after all.
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(stack->count(), entries + 1);
        QCOMPARE(stack->text(stack->count() - 1), QString("Erase"));
    }

    void smartCloneMovesAndResizesAPiece()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QTest::mouseClick(ui->pushButton_penplus, Qt::LeftButton);
        ui->verticalSlider->setValue(30);
        // Select the bowl of the spoon.
        stroke({QPointF(350, 265), QPointF(366, 285), QPointF(380, 298)});
        QVERIFY(brushPaints(item));
        const cv::Rect bounds = item->selectionBounds();
        QVERIFY(bounds.width > 10 && bounds.height > 10);

        QTest::mouseClick(ui->pushButton_clone, Qt::LeftButton);
        QCOMPARE(state(item).pointer.m_tool, Tool::SmartClone);
        CustomWidget *top = ui->widget_front_green;
        // Grab the piece in its middle and drag it onto the table at the left.
        const QPointF grab(bounds.x + bounds.width / 2.0, bounds.y + bounds.height / 2.0);
        const QPointF target(90, 300);
        press(top, toCanvas(grab));
        for (int k = 1; k <= 10; ++k)
            drag(top, toCanvas(grab + (target - grab) * (k / 10.0)));
        release(top, toCanvas(target));
        QVERIFY(state(item).clone.m_grabbed);
        const int movedX = state(item).clone.m_moveX, movedY = state(item).clone.m_moveY;
        QVERIFY(movedX < bounds.x - 100);

        // Enlarge it by the corner handle.
        top->repaint();
        const QRect corner = top->handleRect(4);
        QVERIFY(!corner.isNull());
        press(top, corner.center());
        for (int k = 1; k <= 5; ++k)
            drag(top, corner.center() + QPoint(4 * k, 4 * k));
        release(top, corner.center() + QPoint(20, 20));
        QVERIFY(state(item).clone.m_cloneGrowX > 0);
        QVERIFY(state(item).clone.m_cloneGrowY > 0);
        const cv::Rect moved(state(item).clone.m_moveX, state(item).clone.m_moveY, bounds.width + state(item).clone.m_cloneGrowX,
                             bounds.height + state(item).clone.m_cloneGrowY);
        QCOMPARE(moved.x, movedX);
        QCOMPARE(moved.y, movedY);

        QUndoStack *stack = item->getUndoStack();
        const int entries = stack->count();
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(finished.wait(kJobTimeoutMs));

        // The paste lands inside the moved rectangle, and changes it.
        QCOMPARE(changedOutside(original, state(item).m_image, moved), 0);
        QVERIFY(cv::countNonZero(changedPixels(original(moved), state(item).m_image(moved))) > moved.area() / 4);
        QCOMPARE(stack->count(), entries + 1);
        QCOMPARE(stack->text(stack->count() - 1), QString("Smart Clone"));
        QCOMPARE(lastEntryRect(item), moved);
        QCOMPARE(state(item).clone.m_cloneGrowX, 0);
        QCOMPARE(state(item).clone.m_cloneGrowBaseX, 0);
        // The spoon's own place is untouched: the piece was copied, not cut.
        QVERIFY(samePixels(original(bounds), state(item).m_image(bounds)));

        stack->undo();
        QVERIFY(samePixels(state(item).m_image, original));
        stack->redo();
        QVERIFY(!samePixels(state(item).m_image, original));
    }
};

QTEST_MAIN(TestEraseWindow)
#include "tst_erasewindow.moc"
