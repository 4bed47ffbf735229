// Engine jobs of one photo, on the real worker thread under a real event
// loop: the crop an erase works on, the result and its undo entry, cancel,
// progress, and the guards that keep a photo unchanged. The selections are
// written straight into the layers here, as the selection tools would leave
// them; tst_erasewindow paints them with the pointer.
#include <QKeyEvent>
#include <QMouseEvent>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>
#include <memory>
#include <cstdio>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <new>

#include "commands.h"
#include "custombackwidget.h"
#include "customwidget.h"
#include "erasetest.h"
#include "globals.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "photohost.h"
#include "jobdialog.h"
#include "processdialog.h"
#include "threadfromqthread.h"
#include "mypatchmatch.h"

#include "sanitized.h"

namespace {

const cv::Scalar kRed(0, 0, 255, 128);
const cv::Scalar kGreen(0, 255, 0, 128);

} // namespace

class TestEraseJobs : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<PhotoHost> m_host; // built by initTestCase
    PhotoItem *m_item = nullptr;
    QString m_largePhoto;
    QString m_smallPhoto;

    PhotoItem *load(const QString &path)
    {
        delete m_item;
        m_item = m_host->load(path);
        return m_item;
    }

    // A press-and-move over these points, as the brush reports it: every
    // point extends the work box by the brush width to its right.
    static void extendBox(PhotoItem *item, std::initializer_list<QPointF> points)
    {
        for (const QPointF &p : points)
            item->extendWorkBox(p);
    }

    // A red (or green) brush stroke of the given thickness through points.
    static void paint(PhotoItem *item, std::initializer_list<QPointF> points, int thickness, bool green = false)
    {
        cv::Mat &layer = green ? state(item).selection.m_inpaintMaskBK : state(item).selection.m_inpaintMask;
        const cv::Scalar tint = green ? kGreen : kRed;
        QPointF prev = *points.begin();
        for (const QPointF &p : points) {
            cv::line(layer, cv::Point(int(prev.x()), int(prev.y())), cv::Point(int(p.x()), int(p.y())), tint,
                     thickness);
            prev = p;
            item->extendWorkBox(p);
        }
        if (green)
            state(item).selection.m_donorUsed = 1;
    }

    static processDialog *dialogOf(PhotoItem *item) { return JobDialog::of(item)->dialog(); }
    static QProgressBar *barOf(PhotoItem *item)
    {
        return dialogOf(item)->findChild<QProgressBar *>("progressBar");
    }

    static cv::Rect cropOf(PhotoItem *item)
    {
        return cv::Rect(cv::Point(int(state(item).regions.m_workMinX), int(state(item).regions.m_workMinY)),
                        cv::Point(int(state(item).regions.m_workMaxX), int(state(item).regions.m_workMaxY)));
    }

    static const Command *topCommand(PhotoItem *item)
    {
        QUndoStack *stack = item->getUndoStack();
        return stack->count() ? static_cast<const Command *>(stack->command(stack->count() - 1)) : nullptr;
    }

    // Erase, and wait until the first progress report shows the engine at work.
    // The outcome of an erase the engine may not be able to do: either
    // refused (the photo as it was, no undo entry) or committed as one undo
    // entry with every pixel of the hole filled (none left black) and every
    // other pixel unchanged; undo then gives the photo back.
    static void expectRefusedOrFilled(PhotoItem *item, const cv::Mat &original, const cv::Rect &hole)
    {
        const int entries = item->getUndoStack()->count();
        QVERIFY2(entries <= 1, "one erase made more than one undo entry");
        if (entries == 0) {
            QVERIFY2(samePixels(state(item).m_image, original), "refused, but the photo changed");
            return;
        }
        int black = 0, changedOutside = 0;
        for (int y = 0; y < original.rows; ++y)
            for (int x = 0; x < original.cols; ++x) {
                const cv::Vec3b p = state(item).m_image.at<cv::Vec3b>(y, x);
                if (hole.contains(cv::Point(x, y)))
                    black += p == cv::Vec3b(0, 0, 0) && original.at<cv::Vec3b>(y, x) != cv::Vec3b(0, 0, 0);
                else
                    changedOutside += p != original.at<cv::Vec3b>(y, x);
            }
        QVERIFY2(black == 0, qPrintable(QString("%1 pixels of the hole committed black").arg(black)));
        QCOMPARE(changedOutside, 0);
        item->getUndoStack()->undo();
        QVERIFY(samePixels(state(item).m_image, original));
    }

    static bool startAndWaitForProgress(PhotoItem *item)
    {
        QSignalSpy progress(state(item).job.m_workerThread, &ThreadFromQThread::progressSum);
        item->recvEraseCommand();
        return progress.count() > 0 || progress.wait(kJobTimeoutMs);
    }

    // Pixels of the red selection grown by the engine's stamp (a disc of
    // radius 2) and a pixel more.
    static cv::Mat holeArea(const cv::Mat &redLayer)
    {
        cv::Mat grown;
        cv::dilate(redOf(redLayer), grown, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(7, 7)));
        return grown;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY2(QFile::exists(realPhoto("chelsea.png")), "python3-skimage photographs are missing");
        m_host = std::make_unique<PhotoHost>();

        // A large real photograph: the astronaut, enlarged to 2000 x 1600.
        cv::Mat astronaut = cv::imread(realPhoto("astronaut.png").toStdString(), cv::IMREAD_COLOR);
        QVERIFY(!astronaut.empty());
        cv::Mat large;
        cv::resize(astronaut, large, cv::Size(2000, 1600), 0, 0, cv::INTER_LINEAR);
        m_largePhoto = m_dir.path() + "/large.bmp";
        QVERIFY(cv::imwrite(m_largePhoto.toStdString(), large));
        // And a small one: the cat's face, 240 x 160.
        cv::Mat chelsea = cv::imread(realPhoto("chelsea.png").toStdString(), cv::IMREAD_COLOR);
        QVERIFY(!chelsea.empty());
        m_smallPhoto = m_dir.path() + "/small.png";
        QVERIFY(cv::imwrite(m_smallPhoto.toStdString(), chelsea(cv::Rect(100, 60, 240, 160))));
    }

    void init() { g_uiScale = 1.0; }

    void cleanup()
    {
        // Never leave a job behind for the next test.
        if (m_item && state(m_item).job.m_jobActive) {
            QSignalSpy done(m_item, &PhotoItem::sendThreadFinish);
            done.wait(kJobTimeoutMs);
        }
        delete m_item;
        m_item = nullptr;
        g_uiScale = 1.0;
    }

    // ---------------------------------------------------------------- erase

    // An opened photo holds its pixels alone; the first stroke makes the
    // selection layers (the canvas paints them without a copy), the Erase
    // that uses them lets them go, and undo and redo across both are exact.
    void layersAreMadeByAStrokeAndLetGoByTheErase()
    {
        PhotoItem *item = load(m_smallPhoto);
        QVERIFY(!item->holdsLayers());
        QVERIFY(m_host->front->overlayImage().isNull());
        const cv::Mat original = stateAsIs(item).m_image.clone();

        item->recvSelectType(4, 12, 0);
        item->recvLeftPressPoint(QPointF(100, 80));
        item->recvLeftMovePoint(QPointF(115, 85));
        item->recvLeftMovePoint(QPointF(130, 90));
        item->recvReleasePoint(QPointF(130, 90));
        QVERIFY(item->holdsLayers());
        const cv::Mat red = stateAsIs(item).selection.m_inpaintMask;
        QCOMPARE(red.size(), original.size());
        QVERIFY(layerHasSelection(red, 2));
        QCOMPARE(m_host->front->overlayImage().constBits(), red.data);
        const cv::Mat stroked = red.clone();
        QUndoStack *stack = item->getUndoStack();
        QCOMPARE(stack->count(), 1);
        stack->undo();
        QCOMPARE(cv::countNonZero(stateAsIs(item).selection.m_inpaintMask.reshape(1)), 0);
        stack->redo();
        QVERIFY(samePixels(stateAsIs(item).selection.m_inpaintMask, stroked));

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(stack->count(), 2);
        QVERIFY(!item->holdsLayers());
        QVERIFY(m_host->front->overlayImage().isNull());
        QVERIFY(m_host->green->overlayImage().isNull());
        const cv::Mat erased = stateAsIs(item).m_image.clone();
        QVERIFY(!samePixels(erased, original));

        stack->undo(); // the Erase
        QVERIFY(samePixels(stateAsIs(item).m_image, original));
        stack->undo(); // the stroke: its layer is made again to take it back
        QVERIFY(samePixels(stateAsIs(item).m_image, original));
        QCOMPARE(cv::countNonZero(stateAsIs(item).selection.m_inpaintMask.reshape(1)), 0);
        stack->redo();
        QVERIFY(samePixels(stateAsIs(item).selection.m_inpaintMask, stroked));
        QCOMPARE(m_host->front->overlayImage().constBits(), stateAsIs(item).selection.m_inpaintMask.data);
        stack->redo(); // the Erase again: the same pixels, the layers let go
        QVERIFY(samePixels(stateAsIs(item).m_image, erased));
        QVERIFY(!item->holdsLayers());
    }

    void eraseFillsTheHoleAsOneUndoEntry()
    {
        PhotoItem *item = load(realPhoto("coffee.png"));
        QCOMPARE(state(item).m_imageCols, 600);
        item->recvSelectType(4, 24, 0);
        // A stroke over the bowl of the spoon.
        paint(item, {QPointF(350, 265), QPointF(366, 285), QPointF(385, 300)}, 24);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat hole = holeArea(state(item).selection.m_inpaintMask);
        const cv::Mat selected = redOf(state(item).selection.m_inpaintMask);

        JobDialog::of(item)->setPlace(QPoint(123, 77));
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        // The job runs on the worker; the dialog is up and the call came back.
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(dialogOf(item)->isVisible());
        QCOMPARE(dialogOf(item)->pos(), QPoint(123, 77));
        QCOMPARE(barOf(item)->value(), 0);
        // The box 350..409 x 265..300 grown: x from int(350 - 59 x 1.1) = 285
        // to int(409 + 124 x 1.1) = 545, then to 700 wide from 65 on, cut
        // at the right edge; y reaches both edges.
        const cv::Rect crop(65, 0, 535, 400);
        QCOMPARE(cropOf(item), crop);
        QCOMPARE(state(item).job.m_workerThread->m_workImage.size(), crop.size());
        QCOMPARE(state(item).job.m_workerThread->m_workImage.data, state(item).m_image(crop).data);
        // What the job may write, and no more, is kept as it was.
        QCOMPARE(state(item).job.m_imageBeforeJob.size(), crop.size());
        QVERIFY(samePixels(state(item).job.m_imageBeforeJob, original(crop)));

        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(finished.count(), 1);
        // Once the undo entry holds it, the copy goes, and so do the result's
        // views of the photo.
        QVERIFY(state(item).job.m_imageBeforeJob.empty());
        QVERIFY(state(item).job.m_workerThread->m_workImage.empty());
        QVERIFY(state(item).job.m_workerThread->m_resultImage.empty());
        QVERIFY(!dialogOf(item)->isVisible());
        QVERIFY(!state(item).job.m_jobActive);

        // Only the hole changed, and most of it did.
        QCOMPARE(changedOutside(original, state(item).m_image, crop), 0);
        // Only the hole changed, even on this odd-width crop.
        cv::Mat outsideHole = changedPixels(original, state(item).m_image) & ~hole;
        QCOMPARE(crop.width % 2, 1);
        QCOMPARE(cv::countNonZero(outsideHole), 0);
        QVERIFY2(changedShare(original, state(item).m_image, selected) > 0.8,
                 qPrintable(QString::number(changedShare(original, state(item).m_image, selected))));

        // One entry, the selection gone, the boxes empty.
        QUndoStack *stack = item->getUndoStack();
        QCOMPARE(stack->count(), 1);
        QCOMPARE(stack->text(0), QString("Erase"));
        QCOMPARE(topCommand(item)->m_rect, crop);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMask.reshape(1)), 0);
        QCOMPARE(state(item).regions.m_workMaxX, -1.0);
        QCOMPARE(state(item).selection.m_strokeMaxX, -1.0);
        QCOMPARE(int(state(item).output.m_saved), 0);
        QCOMPARE(int(state(item).job.m_firstProgress), 1);
        QCOMPARE(state(item).pointer.m_pressPos, QPointF(-1, -1));
        // The canvas shows the result, brought up to date over the crop
        // alone: the same pixels as a conversion of the whole photo.
        QCOMPARE(m_host->mid->pixmap().size(), QSize(600, 400));
        QCOMPARE(m_host->mid->pixmap().toImage().convertToFormat(QImage::Format_RGB32),
                 matToQImage(state(item).m_image).convertToFormat(QImage::Format_RGB32));

        const cv::Mat erased = state(item).m_image.clone();
        stack->undo();
        QVERIFY(samePixels(state(item).m_image, original));
        stack->redo();
        QVERIFY(samePixels(state(item).m_image, erased));
    }

    void donorEraseTakesItsFillFromTheGreen()
    {
        // The coffee photo: a red hole on the white rim of the cup, and green
        // on the wooden table only. The fill must come from the wood.
        PhotoItem *item = load(realPhoto("coffee.png"));
        QCOMPARE(state(item).m_imageCols, 600);
        item->recvSelectType(4, 6, 0);
        paint(item, {QPointF(183, 80), QPointF(183, 130)}, 16);
        item->recvSelectType(4, 10, 1);
        paint(item, {QPointF(560, 300), QPointF(595, 300), QPointF(595, 390), QPointF(560, 390)}, 20, true);
        cv::rectangle(state(item).selection.m_inpaintMaskBK, cv::Rect(480, 280, 115, 110), kGreen, -1);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat selected = redOf(state(item).selection.m_inpaintMask);
        cv::Mat donor;
        cv::extractChannel(state(item).selection.m_inpaintMaskBK, donor, 1);
        donor = donor > 0;

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(state(item).job.m_workerThread->m_useDonor);
        const cv::Rect crop = cropOf(item);
        QVERIFY(finished.wait(kJobTimeoutMs));

        QCOMPARE(changedOutside(original, state(item).m_image, crop), 0);
        QVERIFY(changedShare(original, state(item).m_image, selected) > 0.8);
        // The hole now looks like the donor, not like the porcelain it was.
        const cv::Scalar donorMean = cv::mean(original, donor);
        const cv::Scalar before = cv::mean(original, selected);
        const cv::Scalar after = cv::mean(state(item).m_image, selected);
        QVERIFY2(cv::norm(after - donorMean) < cv::norm(before - donorMean) / 2,
                 qPrintable(QString("hole %1 -> %2, donor %3")
                                .arg(cv::norm(before)).arg(cv::norm(after)).arg(cv::norm(donorMean))));

        QCOMPARE(item->getUndoStack()->count(), 1);
        QCOMPARE(item->getUndoStack()->text(0), QString("Erase"));
        QCOMPARE(int(state(item).selection.m_donorUsed), 0);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)), 0);
        item->getUndoStack()->undo();
        QVERIFY(samePixels(state(item).m_image, original));
    }

    void donorFlagWithoutGreenInTheCropErasesPlainly()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 8, 0);
        paint(item, {QPointF(60, 60), QPointF(70, 62)}, 8);
        // Left over from an undone green stroke.
        state(item).selection.m_donorUsed = 1;
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(!state(item).job.m_workerThread->m_useDonor);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(item->getUndoStack()->count(), 1);
    }

    // ---------------------------------------------------------------- crop

    void photoSmallerThan700IsCroppedWhole()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        item->recvSelectType(4, 12, 0);
        paint(item, {QPointF(140, 150), QPointF(175, 160)}, 12);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(cropOf(item), cv::Rect(0, 0, 451, 300));
        QCOMPARE(state(item).job.m_workerThread->m_workImage.size(), cv::Size(451, 300));
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(topCommand(item)->m_rect, cv::Rect(0, 0, 451, 300));
    }

    void fewPixelsInALargePhotoGiveAbout530()
    {
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 1, 0);
        paint(item, {QPointF(1000, 800), QPointF(1003, 803)}, 1);
        QCOMPARE(item->workBoxRect(), cv::Rect(1000, 800, 4, 3));
        const cv::Mat original = state(item).m_image.clone();

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        const cv::Rect crop = cropOf(item);
        QVERIFY2(crop.width >= 525 && crop.width <= 540, qPrintable(QString::number(crop.width)));
        QVERIFY2(crop.height >= 525 && crop.height <= 540, qPrintable(QString::number(crop.height)));
        // Left and top grow twice as much as right and bottom.
        QCOMPARE(crop, cv::Rect(654, 451, 529, 536));
        QCOMPARE(state(item).job.m_workerThread->m_workImage.size(), crop.size());
        QCOMPARE(state(item).job.m_workerThread->m_workImage.data, state(item).m_image(crop).data);

        // The outcome of a whole job is told elsewhere; stop this one early.
        QSignalSpy progress(state(item).job.m_workerThread, &ThreadFromQThread::progressSum);
        QVERIFY(progress.count() > 0 || progress.wait(kJobTimeoutMs));
        item->recvCancelStatus();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(samePixels(state(item).m_image, original));
    }

    void selectionOnTheLeftEdgeGrowsOnlyToTheRight()
    {
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 1, 0);
        paint(item, {QPointF(0, 800), QPointF(3, 803)}, 1);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        const cv::Rect crop = cropOf(item);
        // Margin: int(4 + 4 x 1.1) = 8; then half of the shortfall to 700 on
        // the right, int((700 - 8) x 0.5 + 8) = 354, and nothing on the left.
        QCOMPARE(crop.x, 0);
        QCOMPARE(crop.x + crop.width, 354);
        QSignalSpy progress(state(item).job.m_workerThread, &ThreadFromQThread::progressSum);
        QVERIFY(progress.count() > 0 || progress.wait(kJobTimeoutMs));
        item->recvCancelStatus();
        QVERIFY(finished.wait(kJobTimeoutMs));
    }

    void eraseTwiceWithoutAStrokeOnlyReports()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 8, 0);
        paint(item, {QPointF(200, 100), QPointF(210, 104)}, 8);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(finished.wait(kJobTimeoutMs));
        const cv::Mat after = state(item).m_image.clone();
        QCOMPARE(state(item).regions.m_workMaxX, -1.0);

        QSignalSpy progress(state(item).job.m_workerThread, &ThreadFromQThread::progressSum);
        item->recvEraseCommand();
        // Reported at once, nothing started, nothing shown.
        QCOMPARE(finished.count(), 2);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(!state(item).job.m_workerThread->isRunning());
        QVERIFY(!dialogOf(item)->isVisible());
        QCoreApplication::processEvents();
        QCOMPARE(progress.count(), 0);
        QCOMPARE(finished.count(), 2);
        QCOMPARE(item->getUndoStack()->count(), 1);
        QVERIFY(samePixels(state(item).m_image, after));
    }

    // ---------------------------------------------------------------- cancel

    void cancelRestoresThePhotoThenEraseCropsLarger()
    {
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 6, 0);
        paint(item, {QPointF(900, 700), QPointF(960, 720)}, 6);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat redBefore = state(item).selection.m_inpaintMask.clone();

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QVERIFY(startAndWaitForProgress(item));
        const cv::Rect first = cropOf(item);
        QVERIFY(first.width < 2000 && first.height < 1600);
        // The Cancel button of the dialog, while the engine works.
        QTest::mouseClick(dialogOf(item)->findChild<QPushButton *>("pushButton"), Qt::LeftButton);
        QCOMPARE(int(state(item).job.m_canceled), 1);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(finished.count(), 1);
        QVERIFY(!dialogOf(item)->isVisible());

        // Exactly the photo of before, the selection kept, no entry; the
        // box keeps its enlarged values.
        QVERIFY(samePixels(state(item).m_image, original));
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, redBefore));
        QCOMPARE(item->getUndoStack()->count(), 0);
        QCOMPARE(cropOf(item), first);
        QCOMPARE(m_host->front->overlayImage().constBits(), state(item).selection.m_inpaintMask.data);
        // The crop put back let its copy go; the canvas shows the photo of
        // before, brought back over the crop alone.
        QVERIFY(state(item).job.m_imageBeforeJob.empty());
        QCOMPARE(m_host->mid->pixmap().toImage().convertToFormat(QImage::Format_RGB32),
                 matToQImage(original).convertToFormat(QImage::Format_RGB32));

        // Erase again: the box is enlarged once more.
        QVERIFY(startAndWaitForProgress(item));
        const cv::Rect second = cropOf(item);
        QVERIFY2(second.width > first.width && second.height > first.height,
                 qPrintable(QString("%1x%2 then %3x%4").arg(first.width).arg(first.height)
                                .arg(second.width).arg(second.height)));
        QVERIFY((second & first) == first);
        item->recvCancelStatus();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void cancelTheMomentTheJobStarts()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 12, 0);
        paint(item, {QPointF(100, 70), QPointF(140, 90)}, 12);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        // Before the worker has looked at its cancel flag, or while it
        // blacks out the hole: either way the photo comes back whole.
        item->recvCancelStatus();
        item->recvCancelStatus();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(finished.count(), 1);
        QVERIFY(samePixels(state(item).m_image, original));
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
        QCOMPARE(item->getUndoStack()->count(), 0);
        // Cancel with no job does nothing.
        item->recvCancelStatus();
        QCoreApplication::processEvents();
        QCOMPARE(finished.count(), 1);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(samePixels(state(item).m_image, original));
    }

    void escapeOnTheDialogCancelsAndTheDialogStaysUntilTheEnd()
    {
        PhotoItem *item = load(m_largePhoto);
        // A stroke large enough for a job of a second or more, so that it
        // is still running when the first progress report has arrived.
        item->recvSelectType(4, 20, 0);
        paint(item, {QPointF(400, 500), QPointF(600, 560)}, 20);
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QVERIFY(startAndWaitForProgress(item));
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(dialogOf(item)->isVisible());
        // No event is handled between here and the check below, so the
        // job's end, however early the worker gets there, is still queued:
        // the dialog must stay because of how Escape is handled, not because
        // of timing.
        QTest::keyClick(dialogOf(item), Qt::Key_Escape);
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(dialogOf(item)->isVisible());
        QCOMPARE(int(state(item).job.m_canceled), 1);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(!dialogOf(item)->isVisible());
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void secondFinishedSignalDoesNothing()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 8, 0);
        paint(item, {QPointF(150, 100), QPointF(160, 105)}, 8);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(finished.wait(kJobTimeoutMs));
        const cv::Mat after = state(item).m_image.clone();

        // The same signal once more, and the slot called directly.
        emit state(item).job.m_workerThread->finished_thread();
        QCoreApplication::processEvents();
        item->onQThreadFinished();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(item->getUndoStack()->count(), 1);
        QVERIFY(samePixels(state(item).m_image, after));

        // And after a cancelled job, whose box stays set.
        paint(item, {QPointF(60, 50), QPointF(80, 54)}, 8);
        const cv::Mat beforeCancel = state(item).m_image.clone();
        QVERIFY(startAndWaitForProgress(item));
        item->recvCancelStatus();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(finished.count(), 2);
        QVERIFY(samePixels(state(item).m_image, beforeCancel));
        QVERIFY(state(item).regions.m_workMaxX > 0.0);
        state(item).m_image.setTo(cv::Scalar(1, 2, 3)); // would be overwritten by a second restore
        const cv::Mat marked = state(item).m_image.clone();
        item->onQThreadFinished();
        QCOMPARE(finished.count(), 2);
        QVERIFY(samePixels(state(item).m_image, marked));
    }

    // ---------------------------------------------------------------- progress

    void firstProgressOfZeroLeavesTheBarAtZero()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        QProgressBar *bar = barOf(item);
        bar->setValue(55);
        state(item).job.m_firstProgress = 1;
        item->setProcessSum(0);
        QCOMPARE(bar->value(), 0);
        QCOMPARE(state(item).job.m_progressBase, 0);
        QCOMPARE(int(state(item).job.m_firstProgress), 0);
        // Later reports against a base of 0 show 0 too; nothing divides.
        item->setProcessSum(3);
        QCOMPARE(bar->value(), 0);
        item->setProcessSum(-4);
        QCOMPARE(bar->value(), 0);
    }

    void progressFallsWithTheLevel()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        QProgressBar *bar = barOf(item);
        state(item).job.m_firstProgress = 1;
        item->setProcessSum(5);
        QCOMPARE(state(item).job.m_progressBase, 5);
        QCOMPARE(bar->value(), 0);
        item->setProcessSum(4);
        QCOMPARE(bar->value(), 20);
        item->setProcessSum(2);
        QCOMPARE(bar->value(), 60);
        item->setProcessSum(1);
        QCOMPARE(bar->value(), 80);
        item->setProcessSum(0);
        QCOMPARE(bar->value(), 0);
    }

    void realJobProgressStartsAtZeroAndRises()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 20, 0);
        paint(item, {QPointF(80, 60), QPointF(160, 100)}, 20);
        QProgressBar *bar = barOf(item);
        bar->setValue(70); // left over from an earlier job
        QList<int> shown;
        connect(bar, &QProgressBar::valueChanged, this, [&shown](int v) { shown << v; });
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(bar->value(), 0);
        QVERIFY(finished.wait(kJobTimeoutMs));
        // 0 at the start, then rising with each finer level, never to 100:
        // the last report is level 1.
        QVERIFY(shown.size() >= 2);
        QCOMPARE(shown.first(), 0);
        for (int i = 1; i < shown.size(); ++i)
            QVERIFY(shown.at(i) >= shown.at(i - 1));
        QVERIFY(shown.last() > 0);
        QVERIFY(shown.last() < 100);
    }

    // The last column of a photo of odd width gets less than full weight in
    // the full-size vote; it must still come back exactly as it was.
    void oddWidthPhotoKeepsItsLastColumn()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        QCOMPARE(state(item).m_imageCols, 451);
        item->recvSelectType(4, 12, 0);
        paint(item, {QPointF(140, 150), QPointF(160, 158), QPointF(175, 160)}, 12);
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(samePixels(original.col(450), state(item).m_image.col(450)));
    }

    // ---------------------------------------------------------------- dialog

    void dialogAtOneAndAHalf()
    {
        g_uiScale = 1.5;
        PhotoItem *item = load(realPhoto("chelsea.png"));
        QCOMPARE(dialogOf(item)->size(), QSize(450, 165));
        QVERIFY(dialogOf(item)->isModal());
        QVERIFY(dialogOf(item)->windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(!dialogOf(item)->isVisible());
        QCOMPARE(dialogOf(item)->parent(), nullptr);
    }

    void pressOnCancelDragsNothingAndTheClickCancels()
    {
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 6, 0);
        paint(item, {QPointF(700, 600), QPointF(740, 620)}, 6);
        const cv::Mat original = state(item).m_image.clone();
        JobDialog::of(item)->setPlace(QPoint(200, 150));
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QVERIFY(startAndWaitForProgress(item));
        processDialog *dialog = dialogOf(item);
        QCOMPARE(dialog->pos(), QPoint(200, 150));
        auto *button = dialog->findChild<QPushButton *>("pushButton");
        QTest::mousePress(button, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        const QPoint far = dialog->mapToGlobal(QPoint(250, 250));
        QMouseEvent move(QEvent::MouseMove, dialog->mapFromGlobal(far), far, Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(dialog, &move);
        // The button took the press: the dialog stays where it is.
        QCOMPARE(dialog->pos(), QPoint(200, 150));
        QTest::mouseRelease(button, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QCOMPARE(int(state(item).job.m_canceled), 1);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(samePixels(state(item).m_image, original));
    }

    // ---------------------------------------------------------------- guards

    void emptySelectionLeavesThePhoto()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        // A click that painted nothing (the green brush puts no dab), or
        // every stroke undone: the box says there is work, the layer is empty.
        extendBox(item, {QPointF(200, 150), QPointF(230, 160)});
        const cv::Mat original = state(item).m_image.clone();
        const double boxMinX = state(item).regions.m_workMinX, boxMaxX = state(item).regions.m_workMaxX;
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QSignalSpy progress(state(item).job.m_workerThread, &ThreadFromQThread::progressSum);
        item->recvEraseCommand();
        QCOMPARE(finished.count(), 1);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(!state(item).job.m_workerThread->isRunning());
        QVERIFY(!dialogOf(item)->isVisible());
        QCoreApplication::processEvents();
        QCOMPARE(progress.count(), 0);
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
        QCOMPARE(state(item).regions.m_workMinX, boxMinX);
        QCOMPARE(state(item).regions.m_workMaxX, boxMaxX);
    }

    void smartCloneWithAnEmptyRedLayerLeavesThePhoto()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        item->recvSelectType(12, 30, 0);
        // The press alone makes the work box valid.
        extendBox(item, {QPointF(100, 100)});
        QVERIFY(state(item).regions.m_workMaxX >= 0.0);
        const cv::Rect bounds = item->selectionBounds();
        QVERIFY(bounds.width < 1 && bounds.height < 1);
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(finished.count(), 1);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(!dialogOf(item)->isVisible());
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void smartCloneOfAOnePixelSelectionLeavesThePhoto()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        item->recvSelectType(12, 30, 0);
        state(item).selection.m_inpaintMask.at<cv::Vec4b>(50, 50) = cv::Vec4b(0, 0, 255, 128);
        extendBox(item, {QPointF(50, 50)});
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(finished.count(), 1);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void pieceDragWithoutAPreviewLeavesThePhoto()
    {
        PhotoItem *item = load(realPhoto("chelsea.png"));
        item->recvCloneCommand();
        QCOMPARE(state(item).pointer.m_tool, Tool::PieceDrag);
        paint(item, {QPointF(100, 100), QPointF(140, 120)}, 10);
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(finished.count(), 1);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(samePixels(state(item).m_image, original));
    }

    void pieceDragIsSettledByTheCloneSynthesis()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 10, 0);
        paint(item, {QPointF(40, 40), QPointF(70, 50)}, 10);
        const cv::Rect bounds = item->selectionBounds();
        item->recvCloneCommand();
        // Grab the piece and drag it 100 pixels to the right.
        const QPointF grab(bounds.x + bounds.width / 2, bounds.y + bounds.height / 2);
        item->recvLeftPressPoint(grab);
        item->recvLeftMovePoint(grab + QPointF(50, 0));
        item->recvLeftMovePoint(grab + QPointF(100, 0));
        item->recvReleasePoint(grab + QPointF(100, 0));
        QCOMPARE(state(item).clone.m_moveX, bounds.x + 100);
        QCOMPARE(state(item).clone.m_clonePreview.size(), state(item).m_image.size());
        const cv::Mat original = state(item).m_image.clone();
        const int entries = item->getUndoStack()->count();

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(state(item).job.m_workerThread->m_jobType, JobType::Clone);
        // A clone job writes anywhere: the whole photo is kept as it was.
        QCOMPARE(state(item).job.m_imageBeforeJob.size(), original.size());
        QVERIFY(finished.wait(kJobTimeoutMs));
        // Committed: the copy, the layers and the moved picture all go.
        QVERIFY(stateAsIs(item).job.m_imageBeforeJob.empty());
        QVERIFY(stateAsIs(item).clone.m_clonePreview.empty());
        QVERIFY(!item->holdsLayers());
        const cv::Rect moved(state(item).clone.m_moveX, state(item).clone.m_moveY, bounds.width, bounds.height);
        QCOMPARE(item->getUndoStack()->count(), entries + 1);
        QCOMPARE(item->getUndoStack()->text(entries), QString("Smart Clone"));
        QVERIFY(!samePixels(original(moved), state(item).m_image(moved)));
        // The synthesis settles pixels around the piece too; the entry
        // holds the moved rectangle and all of those.
        const cv::Rect entry = topCommand(item)->m_rect;
        QVERIFY((entry & moved) == moved);
        QCOMPARE(changedOutside(original, state(item).m_image, entry), 0);
        const cv::Mat cloned = state(item).m_image.clone();
        item->getUndoStack()->undo();
        QVERIFY(samePixels(state(item).m_image, original));
        item->getUndoStack()->redo();
        QVERIFY(samePixels(state(item).m_image, cloned));
    }

    void smartClonePieceGrownOverTheEdgeIsPastedOnThePhoto()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 10, 0);
        paint(item, {QPointF(40, 40), QPointF(60, 55)}, 10);
        const cv::Rect bounds = item->selectionBounds();
        item->recvSelectType(12, 10, 0);
        // Drag the piece against the right edge, then grow it by a handle,
        // which does not look at the position: it now hangs over the edge.
        const QPointF grab(bounds.x + bounds.width / 2, bounds.y + bounds.height / 2);
        item->recvLeftPressPoint(grab);
        item->recvLeftMovePoint(QPointF(235, 80));
        item->recvReleasePoint(QPointF(235, 80));
        QCOMPARE(state(item).clone.m_moveX, 240 - bounds.width);
        item->recvLeftMoveChangePoint(QPointF(0, 0), 20, 10, 0);
        item->recvReleasePoint(QPointF(0, 0));
        QCOMPARE(state(item).clone.m_cloneGrowX, 20);
        QVERIFY(state(item).clone.m_moveX + bounds.width + state(item).clone.m_cloneGrowX > 240);
        const cv::Mat original = state(item).m_image.clone();

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(finished.wait(kJobTimeoutMs));
        // Pasted whole, flush with the right edge.
        const cv::Rect moved(240 - (bounds.width + 20), state(item).clone.m_moveY, bounds.width + 20, bounds.height + 10);
        QCOMPARE(state(item).clone.m_moveX, moved.x);
        QCOMPARE(item->getUndoStack()->text(item->getUndoStack()->count() - 1), QString("Smart Clone"));
        QCOMPARE(topCommand(item)->m_rect, moved);
        QCOMPARE(changedOutside(original, state(item).m_image, moved), 0);
        QVERIFY(!samePixels(original(moved), state(item).m_image(moved)));
        item->getUndoStack()->undo();
        QVERIFY(samePixels(state(item).m_image, original));
    }

    void smartCloneCancelledGivesThePhotoBack()
    {
        PhotoItem *item = load(m_smallPhoto);
        item->recvSelectType(4, 10, 0);
        paint(item, {QPointF(40, 40), QPointF(60, 55)}, 10);
        item->recvSelectType(12, 10, 0);
        const cv::Rect bounds = item->selectionBounds();
        const QPointF grab(bounds.x + bounds.width / 2, bounds.y + bounds.height / 2);
        item->recvLeftPressPoint(grab);
        item->recvLeftMovePoint(QPointF(150, 100));
        item->recvReleasePoint(QPointF(150, 100));
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        const int entries = item->getUndoStack()->count();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        // The paste has no point to stop at: it runs out and is undone.
        item->recvCancelStatus();
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(samePixels(state(item).m_image, original));
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
        QCOMPARE(item->getUndoStack()->count(), entries);
        // The piece's scratch in the green layer is not left on the screen.
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)), 0);
    }

    void photoSideAbove16BitsNeverReachesTheEngine()
    {
        const QString path = m_dir.path() + "/wide.png";
        QVERIFY(cv::imwrite(path.toStdString(), cv::Mat(2, 65536, CV_8UC3, cv::Scalar(40, 90, 140))));
        PhotoItem *item = load(path);
        QCOMPARE(state(item).m_imageCols, 65536);
        item->recvSelectType(4, 1, 0);
        paint(item, {QPointF(30000, 0), QPointF(30010, 1)}, 1);
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QCOMPARE(finished.count(), 1);
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(!state(item).job.m_workerThread->isRunning());
        QVERIFY(state(item).job.m_workerThread->m_workImage.empty());
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void selectionCoveringTheWholePhotoEnds()
    {
        cv::Mat photo = cv::imread(realPhoto("chelsea.png").toStdString(), cv::IMREAD_COLOR);
        const QString path = m_dir.path() + "/tiny.png";
        QVERIFY(cv::imwrite(path.toStdString(), photo(cv::Rect(100, 80, 64, 48))));
        PhotoItem *item = load(path);
        state(item).selection.m_inpaintMask.setTo(kRed);
        extendBox(item, {QPointF(0, 0), QPointF(63, 47)});
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QSignalSpy refused(item, &PhotoItem::jobRefused);
        QSignalSpy started(item, &PhotoItem::jobStarted);
        const cv::Rect box = cropOf(item);
        item->recvEraseCommand();
        // Refused on the crop, the whole photo (much smaller than 700): the
        // box is left as the strokes made it, as after any refusal.
        QCOMPARE(cropOf(item), box);
        QVERIFY(finished.count() == 1 || finished.wait(kJobTimeoutMs));
        QVERIFY(!state(item).job.m_jobActive);
        QCOMPARE(state(item).m_image.size(), cv::Size(64, 48));
        // Nothing outside the selection to fill from: refused before any
        // job, with the reason, and never committed black.
        expectRefusedOrFilled(item, photo(cv::Rect(100, 80, 64, 48)), cv::Rect(0, 0, 64, 48));
        QCOMPARE(started.count(), 0);
        QCOMPARE(refused.count(), 1);
        QCOMPARE(refused.at(0).at(0).toString(),
                 QString("nothing around the selection to fill from: the mask covers the whole photo"));
        QCOMPARE(item->getUndoStack()->count(), 0);
        // The selection stays for the user to change.
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
    }

    void onePixelWidePhoto()
    {
        cv::Mat photo = cv::imread(realPhoto("chelsea.png").toStdString(), cv::IMREAD_COLOR);
        const QString path = m_dir.path() + "/column.png";
        const cv::Mat column = photo(cv::Rect(200, 0, 1, 300)).clone();
        QVERIFY(cv::imwrite(path.toStdString(), column));
        PhotoItem *item = load(path);
        QCOMPARE(state(item).m_imageCols, 1);
        item->recvSelectType(4, 1, 0);
        state(item).selection.m_inpaintMask(cv::Rect(0, 140, 1, 10)).setTo(kRed);
        extendBox(item, {QPointF(0, 140), QPointF(0, 149)});
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QSignalSpy refused(item, &PhotoItem::jobRefused);
        const cv::Rect box = cropOf(item);
        item->recvEraseCommand();
        QCOMPARE(cropOf(item), box);
        QVERIFY(finished.count() == 1 || finished.wait(kJobTimeoutMs));
        QVERIFY(!state(item).job.m_jobActive);
        QCOMPARE(state(item).m_image.size(), cv::Size(1, 300));
        // No patch fits a column one pixel wide: refused, the marked pixels
        // never committed black.
        expectRefusedOrFilled(item, column, cv::Rect(0, 137, 1, 16)); // grown by the stamp
        QCOMPARE(refused.count(), 1);
        QVERIFY2(refused.at(0).at(0).toString().startsWith("the photo is too small to erase from: 1 x 300"),
                 qPrintable(refused.at(0).at(0).toString()));
        QCOMPARE(item->getUndoStack()->count(), 0);
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
    }

    void donorCoveredByTheMaskIsRefused()
    {
        PhotoItem *item = load(realPhoto("coffee.png"));
        item->recvSelectType(4, 24, 0);
        paint(item, {QPointF(300, 200), QPointF(340, 220)}, 24);
        // A green area that lies wholly under the red one.
        paint(item, {QPointF(310, 205), QPointF(330, 215)}, 6, true);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QSignalSpy refused(item, &PhotoItem::jobRefused);
        item->recvEraseCommand();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(refused.count(), 1);
        QCOMPARE(refused.at(0).at(0).toString(),
                 QString("nothing to fill from: the mask covers the whole donor area"));
        QVERIFY(!state(item).job.m_jobActive);
        QVERIFY(samePixels(state(item).m_image, original));
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

#ifndef MERVANE_SANITIZED // address-space limits mean nothing under the sanitizers
    void notEnoughMemoryIsRefusedBeforeTheJob()
    {
        // Two dots far apart in the 2000 x 1600 photo: the crop is nearly the
        // whole photo, whose job needs some 70 MB besides the 9.6 MB the
        // window keeps for undo.
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 6, 0);
        paint(item, {QPointF(60, 60), QPointF(64, 62)}, 6);
        paint(item, {QPointF(1900, 1500), QPointF(1904, 1502)}, 6);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        // In a child, under an address-space limit that leaves 40 MB.
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            std::ifstream statm("/proc/self/statm");
            unsigned long long pages = 0;
            statm >> pages;
            const rlimit limit{rlim_t(pages) * rlim_t(sysconf(_SC_PAGESIZE)) + (40ull << 20), RLIM_INFINITY};
            if (setrlimit(RLIMIT_AS, &limit) != 0)
                _exit(3);
            QSignalSpy refused(item, &PhotoItem::jobRefused);
            QSignalSpy started(item, &PhotoItem::jobStarted);
            item->recvEraseCommand();
            const QString reason = refused.count() == 1 ? refused.at(0).at(0).toString() : QString();
            std::fprintf(stderr, "refused: %s\n", qPrintable(reason));
            const bool ok = started.count() == 0 && !state(item).job.m_jobActive
                            && reason.startsWith("not enough memory to erase an area of 2000 x ")
                            && samePixels(state(item).m_image, original) && samePixels(state(item).selection.m_inpaintMask, red)
                            && item->getUndoStack()->count() == 0;
            _exit(ok ? 0 : 1);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 0);
        // Here, with the memory there, the same erase runs.
        QVERIFY(startAndWaitForProgress(item));
        item->recvCancelStatus();
    }
#endif

    void aFailedJobLeavesThePhotoAndTellsWhy()
    {
        PhotoItem *item = load(realPhoto("coffee.png"));
        item->recvSelectType(4, 24, 0);
        paint(item, {QPointF(350, 265), QPointF(385, 300)}, 24);
        const cv::Mat original = state(item).m_image.clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        // A receiver of the engine's progress that throws, connected
        // directly, runs on the worker inside the job: any failure there.
        connect(&state(item).job.m_workerThread->m_patchMatch, &MyPatchMatch::sendWorkProcess, state(item).job.m_workerThread,
                [](long) { throw std::bad_alloc(); }, Qt::DirectConnection);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QSignalSpy failed(item, &PhotoItem::jobFailed);
        QSignalSpy ended(item, &PhotoItem::jobEnded);
        item->recvEraseCommand();
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.at(0).at(0).toString(), QString("out of memory"));
        QCOMPARE(ended.count(), 1);
        QVERIFY(!dialogOf(item)->isVisible());
        // The photo exactly as it was, no entry, the selection kept.
        QVERIFY(samePixels(state(item).m_image, original));
        QCOMPARE(item->getUndoStack()->count(), 0);
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
    }

    void aCancelledJobIsNoFailure()
    {
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 6, 0);
        paint(item, {QPointF(800, 800), QPointF(840, 820)}, 6);
        QSignalSpy failed(item, &PhotoItem::jobFailed);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QVERIFY(startAndWaitForProgress(item));
        item->recvCancelStatus();
        QVERIFY(finished.count() == 1 || finished.wait(kJobTimeoutMs));
        QCOMPARE(failed.count(), 0);
    }

    void closingAPhotoDuringAJobStopsTheWorker()
    {
        PhotoItem *item = load(m_largePhoto);
        item->recvSelectType(4, 6, 0);
        paint(item, {QPointF(800, 800), QPointF(840, 820)}, 6);
        QVERIFY(startAndWaitForProgress(item));
        QPointer<processDialog> dialog = dialogOf(item);
        delete m_item;
        m_item = nullptr;
        QVERIFY(dialog.isNull());
    }
};

QTEST_MAIN(TestEraseJobs)
#include "tst_erasejobs.moc"
