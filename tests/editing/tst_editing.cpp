// Grow Selection and Shrink Selection through the real window: a real
// photograph, a selection drawn with pointer events on the canvas, the menu
// entries and their shortcuts, the geometry against an exact distance
// reference, the undo entries, and the greying.
#include <QAction>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

#include "customwidget.h"
#include "erasetest.h"
#include "commands.h"
#include "globals.h"
#include "jobdialog.h"
#include "processdialog.h"
#include "threadfromqthread.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "qmenubutton.h"
#include "ui_mainwindow.h"
#include "windowfixture.h"

namespace {

// 255 where a pixel lies within Euclidean distance `r` of a 0/255 mask.
cv::Mat withinDistance(const cv::Mat &mask, double r)
{
    cv::Mat distance;
    cv::distanceTransform(255 - mask, distance, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    return distance <= r + 1e-6;
}

// 255 where a selected pixel is farther than `r` from every unselected one.
cv::Mat fartherThan(const cv::Mat &mask, double r)
{
    cv::Mat distance;
    cv::distanceTransform(mask, distance, cv::DIST_L2, cv::DIST_MASK_PRECISE);
    return distance > r + 1e-6;
}

int differing(const cv::Mat &a, const cv::Mat &b) { return cv::countNonZero(a != b); }

const QString kTool = QStringLiteral(MERVANE_ERASE_PATH);

cv::Mat readUnchanged(const QString &path) { return cv::imread(path.toStdString(), cv::IMREAD_UNCHANGED); }

} // namespace

class TestEditing : public QObject
{
    Q_OBJECT

    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    PhotoItem *openPhoto(const QString &path)
    {
        ui->widget_back->setFixedSize(600, 400);
        m_w->openPhoto(path);
        if (m_w->photoItems().isEmpty())
            return nullptr;
        QCoreApplication::processEvents();
        return m_w->photoItems().last();
    }

    QPoint toCanvas(QPointF image) const
    {
        CustomWidget *top = ui->widget_front_green;
        return QPoint(int(std::lround(image.x() * top->scale() + top->offsetLeft() - top->scrollX())),
                      int(std::lround(image.y() * top->scale() + top->offsetTop() - top->scrollY())));
    }

    void mouse(QEvent::Type type, QPointF image, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        QWidget *top = ui->widget_front_green;
        const QPoint p = toCanvas(image);
        QMouseEvent e(type, p, top->mapToGlobal(p), button, buttons, Qt::NoModifier);
        QApplication::sendEvent(top, &e);
    }

    // A rectangle selection from one corner to the other, in image pixels.
    void dragRectangle(QPointF from, QPointF to)
    {
        QTest::mouseClick(ui->pushButton_rect, Qt::LeftButton);
        mouse(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        for (int k = 1; k <= 8; ++k)
            mouse(QEvent::MouseMove, from + (to - from) * (k / 8.0), Qt::NoButton, Qt::LeftButton);
        mouse(QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
    }

    QMenu *menu() const { return ui->pushButton_dropdown->getMenu(); }

    QAction *entry(const QString &text) const
    {
        for (QAction *a : menu()->actions())
            if (a->text() == text)
                return a;
        return nullptr;
    }

    static cv::Mat greenOf(const cv::Mat &layer)
    {
        cv::Mat green;
        cv::extractChannel(layer, green, 1);
        return green > 0;
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

    void entriesWithShortcutsGreyedWithoutPhotoOrSelection()
    {
        QAction *grow = entry(QStringLiteral("Grow Selection"));
        QAction *shrink = entry(QStringLiteral("Shrink Selection"));
        QVERIFY(grow);
        QVERIFY(shrink);
        QCOMPARE(grow, m_w->growAction());
        QCOMPARE(grow->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+G")));
        QCOMPARE(shrink->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+H")));
        // No photo.
        QVERIFY(!grow->isEnabled());
        QVERIFY(!shrink->isEnabled());
        // A photo, nothing selected.
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QVERIFY(!grow->isEnabled());
        QVERIFY(!shrink->isEnabled());
        // A red selection.
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        QVERIFY(grow->isEnabled());
        QVERIFY(shrink->isEnabled());
        // The green colour has nothing selected yet.
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        QVERIFY(!grow->isEnabled());
        QTest::mouseClick(ui->pushButton_red, Qt::LeftButton);
        QVERIFY(grow->isEnabled());
        // Undoing the selection greys them again.
        item->getUndoStack()->undo();
        QVERIFY(!grow->isEnabled());
    }

    void growAndShrinkByThreePixelsWithARoundElement()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        const cv::Mat drawn = redOf(state(item).selection.m_inpaintMask);
        QVERIFY(cv::countNonZero(drawn) > 2000);
        const cv::Mat photo = state(item).m_image.clone();
        QUndoStack *stack = item->getUndoStack();
        const int entries = stack->count();

        entry(QStringLiteral("Grow Selection"))->trigger();
        const cv::Mat grown = redOf(state(item).selection.m_inpaintMask);
        QCOMPARE(differing(grown, withinDistance(drawn, 3)), 0);
        // Round, not square: the corner pixel 3 out diagonally stays out.
        const cv::Rect box = cv::boundingRect(drawn);
        QCOMPARE(int(grown.at<uchar>(box.y - 3, box.x - 3)), 0);
        QCOMPARE(int(grown.at<uchar>(box.y + box.height / 2, box.x - 3)), 255);
        QCOMPARE(int(grown.at<uchar>(box.y + box.height / 2, box.x - 4)), 0);
        QCOMPARE(stack->count(), entries + 1);
        QCOMPARE(stack->text(stack->count() - 1), QStringLiteral("Grow Selection"));
        // The layer keeps its one tint; the photo is untouched.
        cv::Mat alpha;
        cv::extractChannel(state(item).selection.m_inpaintMask, alpha, 3);
        QCOMPARE(differing(alpha > 0, grown), 0);
        QVERIFY(samePixels(state(item).m_image, photo));

        // Repeatable: a second grow reaches 6 pixels.
        entry(QStringLiteral("Grow Selection"))->trigger();
        const cv::Mat twice = redOf(state(item).selection.m_inpaintMask);
        QCOMPARE(differing(twice, withinDistance(grown, 3)), 0);
        QCOMPARE(stack->count(), entries + 2);

        // Undo walks back through both, redo comes again.
        stack->undo();
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), grown), 0);
        stack->undo();
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), drawn), 0);
        stack->redo();
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), grown), 0);

        // Shrink by the shortcut.
        QTest::keyClick(m_w, Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(stack->count(), entries + 2);
        QTest::keyClick(m_w, Qt::Key_H, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(stack->count(), entries + 3);
        QCOMPARE(stack->text(stack->count() - 1), QStringLiteral("Shrink Selection"));
        const cv::Mat shrunk = redOf(state(item).selection.m_inpaintMask);
        QCOMPARE(differing(shrunk, fartherThan(twice, 3)), 0);
        QVERIFY(samePixels(state(item).m_image, photo));
    }

    // The box search reads eight pixels at a time: it must find what a
    // plain pixel-by-pixel search finds, at every width and at the edges.
    void selectionBoxAsAPlainSearchFindsIt()
    {
        cv::RNG rng(18);
        for (int round = 0; round < 400; ++round) {
            const int cols = 1 + rng.uniform(0, 40), rows = 1 + rng.uniform(0, 12);
            const int channel = rng.uniform(0, 2) ? 2 : 1;
            cv::Mat layer(rows, cols, CV_8UC4, cv::Scalar::all(0));
            // Other channels set too, which must not count.
            for (int k = rng.uniform(0, 6); k > 0; --k)
                layer.at<cv::Vec4b>(rng.uniform(0, rows), rng.uniform(0, cols))[channel == 2 ? 1 : 2] = 255;
            for (int k = rng.uniform(0, 4); k > 0; --k)
                layer.at<cv::Vec4b>(rng.uniform(0, rows), rng.uniform(0, cols))[channel] = uchar(rng.uniform(1, 256));
            int minX = cols, minY = rows, maxX = -1, maxY = -1;
            for (int y = 0; y < rows; ++y)
                for (int x = 0; x < cols; ++x)
                    if (layer.at<cv::Vec4b>(y, x)[channel] != 0) {
                        minX = std::min(minX, x);
                        maxX = std::max(maxX, x);
                        minY = std::min(minY, y);
                        maxY = std::max(maxY, y);
                    }
            const cv::Rect plain = maxY < 0 ? cv::Rect() : cv::Rect(minX, minY, maxX - minX + 1, maxY - minY + 1);
            QCOMPARE(layerBounds(layer, channel), plain);
        }
    }

    // The entry keeps masks, not layer bytes: undo and redo still give the
    // layer back byte for byte, red and green.
    void growAndShrinkUndoTheLayerBytesExactly()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        dragRectangle(QPointF(0, 0), QPointF(30, 399));
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        dragRectangle(QPointF(300, 200), QPointF(380, 260));
        QTest::mouseClick(ui->pushButton_red, Qt::LeftButton);
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        const cv::Mat green = state(item).selection.m_inpaintMaskBK.clone();
        QUndoStack *stack = item->getUndoStack();
        entry(QStringLiteral("Shrink Selection"))->trigger();
        entry(QStringLiteral("Grow Selection"))->trigger();
        const cv::Mat changedRed = state(item).selection.m_inpaintMask.clone();
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        entry(QStringLiteral("Grow Selection"))->trigger();
        const cv::Mat grownGreen = state(item).selection.m_inpaintMaskBK.clone();
        QVERIFY(!samePixels(grownGreen, green));
        QVERIFY(!samePixels(changedRed, red));
        stack->undo();
        QVERIFY(samePixels(state(item).selection.m_inpaintMaskBK, green));
        stack->undo();
        stack->undo();
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
        stack->redo();
        stack->redo();
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, changedRed));
        stack->redo();
        QVERIFY(samePixels(state(item).selection.m_inpaintMaskBK, grownGreen));
        // Only the layer's two values, as the tools paint them.
        for (const cv::Mat &layer : {state(item).selection.m_inpaintMask, state(item).selection.m_inpaintMaskBK}) {
            cv::Mat alpha;
            cv::extractChannel(layer, alpha, 3);
            QCOMPARE(cv::countNonZero(alpha != 0 & alpha != 128), 0);
        }
    }

    void shrinkAwayAThinSelectionThenNothingIsLeftToShrink()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(200, 200), QPointF(204, 260));
        QVERIFY(cv::countNonZero(redOf(state(item).selection.m_inpaintMask)) > 0);
        QAction *shrink = entry(QStringLiteral("Shrink Selection"));
        shrink->trigger();
        QCOMPARE(cv::countNonZero(redOf(state(item).selection.m_inpaintMask)), 0);
        QVERIFY(!shrink->isEnabled());
        item->getUndoStack()->undo();
        QVERIFY(cv::countNonZero(redOf(state(item).selection.m_inpaintMask)) > 0);
        QVERIFY(shrink->isEnabled());
    }

    void greenColourGrowsTheDonorOnly()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        const cv::Mat red = redOf(state(item).selection.m_inpaintMask);
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        dragRectangle(QPointF(300, 200), QPointF(380, 260));
        const cv::Mat green = greenOf(state(item).selection.m_inpaintMaskBK);
        QVERIFY(cv::countNonZero(green) > 2000);
        entry(QStringLiteral("Grow Selection"))->trigger();
        QCOMPARE(differing(greenOf(state(item).selection.m_inpaintMaskBK), withinDistance(green, 3)), 0);
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), red), 0);
        item->getUndoStack()->undo();
        QCOMPARE(differing(greenOf(state(item).selection.m_inpaintMaskBK), green), 0);
    }

    void grownSelectionIsErasedWhole()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(350, 265), QPointF(385, 300));
        const cv::Mat drawn = redOf(state(item).selection.m_inpaintMask);
        entry(QStringLiteral("Grow Selection"))->trigger();
        const cv::Mat selected = redOf(state(item).selection.m_inpaintMask);
        const cv::Mat rim = selected & ~drawn;
        QVERIFY(cv::countNonZero(rim) > 100);
        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(state(item).job.m_jobActive);
        // Greyed while the job runs.
        QVERIFY(!entry(QStringLiteral("Grow Selection"))->isEnabled());
        QVERIFY(finished.wait(kJobTimeoutMs));
        // The work box reached what the selection grew into.
        QVERIFY(changedShare(original, state(item).m_image, rim) > 0.8);
        QVERIFY(changedShare(original, state(item).m_image, selected) > 0.8);
    }

    // ------------------------------------------------------------ masks

    void maskRoundTripInTheToolsConvention()
    {
        QTemporaryDir dir;
        const QString photoPath = dir.filePath(QStringLiteral("coffee.png"));
        QVERIFY(QFile::copy(realPhoto("coffee.png"), photoPath));
        PhotoItem *item = openPhoto(photoPath);
        QVERIFY(item);
        QVERIFY(m_w->loadMaskAction()->isEnabled());
        QVERIFY(!m_w->saveMaskAction()->isEnabled());
        QCOMPARE(m_w->loadMaskAction()->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+O")));
        QCOMPARE(m_w->saveMaskAction()->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        QVERIFY(m_w->saveMaskAction()->isEnabled());
        const cv::Mat drawn = redOf(state(item).selection.m_inpaintMask);

        const QString maskPath = MainWindow::maskPathFor(photoPath);
        QCOMPARE(maskPath, dir.filePath(QStringLiteral("coffee.mask.png")));
        QCOMPARE(m_w->saveMaskTo(maskPath), QString());
        const cv::Mat saved = readUnchanged(maskPath);
        QCOMPARE(saved.type(), CV_8UC1);
        QCOMPARE(differing(saved, drawn), 0);
        QCOMPARE(cv::countNonZero(saved), cv::countNonZero(saved == 255));
        // No green selection: no donor file.
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("coffee.donor.png"))));

        // Loaded into an empty selection: the same pixels, one entry.
        QUndoStack *stack = item->getUndoStack();
        stack->undo();
        QCOMPARE(cv::countNonZero(redOf(state(item).selection.m_inpaintMask)), 0);
        // The undone stroke goes from the stack when the load is pushed.
        const int entries = stack->index();
        QCOMPARE(m_w->loadMaskFrom(maskPath), QString());
        QCOMPARE(stack->count(), entries + 1);
        QCOMPARE(stack->text(stack->count() - 1), QStringLiteral("Load Mask"));
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), drawn), 0);
        cv::Mat alpha;
        cv::extractChannel(state(item).selection.m_inpaintMask, alpha, 3);
        QCOMPARE(cv::countNonZero(alpha == 128), cv::countNonZero(drawn));

        // Saved again: identical.
        const QString again = dir.filePath(QStringLiteral("again.mask.png"));
        QCOMPARE(m_w->saveMaskTo(again), QString());
        QCOMPARE(differing(readUnchanged(again), saved), 0);

        // Added to what is there; Undo takes the load back alone.
        stack->undo();
        dragRectangle(QPointF(300, 200), QPointF(340, 240));
        const cv::Mat other = redOf(state(item).selection.m_inpaintMask);
        QCOMPARE(m_w->loadMaskFrom(maskPath), QString());
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), other | drawn), 0);
        stack->undo();
        QCOMPARE(differing(redOf(state(item).selection.m_inpaintMask), other), 0);
    }

    void donorSavedBesideTheMask()
    {
        QTemporaryDir dir;
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        dragRectangle(QPointF(300, 200), QPointF(380, 260));
        const QString maskPath = dir.filePath(QStringLiteral("shot.mask.png"));
        QCOMPARE(m_w->saveMaskTo(maskPath), QString());
        const cv::Mat donor = readUnchanged(dir.filePath(QStringLiteral("shot.donor.png")));
        QCOMPARE(donor.type(), CV_8UC1);
        QCOMPARE(differing(donor, greenOf(state(item).selection.m_inpaintMaskBK)), 0);
        QCOMPARE(differing(readUnchanged(maskPath), redOf(state(item).selection.m_inpaintMask)), 0);
        // Without green any more, the stale donor goes: the tool would use it.
        item->getUndoStack()->undo();
        QCOMPARE(m_w->saveMaskTo(maskPath), QString());
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("shot.donor.png"))));
    }

    void wrongSizeOrUnreadableMaskChangesNothing()
    {
        QTemporaryDir dir;
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        dragRectangle(QPointF(100, 100), QPointF(160, 150));
        const cv::Mat before = state(item).selection.m_inpaintMask.clone();
        const int entries = item->getUndoStack()->count();

        const QString small = dir.filePath(QStringLiteral("small.png"));
        QVERIFY(cv::imwrite(small.toStdString(), cv::Mat(10, 10, CV_8UC1, cv::Scalar(255))));
        const QString sizeMessage = m_w->loadMaskFrom(small);
        QVERIFY(sizeMessage.contains(QStringLiteral("10 x 10")));
        QVERIFY(sizeMessage.contains(QStringLiteral("must have the photo's size")));

        const QString junk = dir.filePath(QStringLiteral("junk.png"));
        QFile f(junk);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("not an image at all");
        f.close();
        QVERIFY(m_w->loadMaskFrom(junk).contains(QStringLiteral("could not be read")));
        QVERIFY(m_w->loadMaskFrom(dir.filePath(QStringLiteral("missing.png"))).contains(QStringLiteral("could not be read")));

        const QString black = dir.filePath(QStringLiteral("black.png"));
        QVERIFY(cv::imwrite(black.toStdString(), cv::Mat(item->imageRows(), item->imageCols(), CV_8UC1, cv::Scalar(0))));
        QVERIFY(m_w->loadMaskFrom(black).contains(QStringLiteral("selects nothing")));

        QVERIFY(samePixels(state(item).selection.m_inpaintMask, before));
        QCOMPARE(item->getUndoStack()->count(), entries);
        // Saving into a folder that does not exist is refused with a reason.
        QVERIFY(!m_w->saveMaskTo(dir.filePath(QStringLiteral("no/such/folder/x.mask.png"))).isEmpty());
    }

    void thumbnailFollowsEraseUndoAndRedo()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        auto *label = m_w->findChild<QListWidget *>()->itemWidget(item->listItem())->findChild<QLabel *>(
            QStringLiteral("label_img"));
        QVERIFY(label);
        auto thumb = [label] { return label->pixmap(Qt::ReturnByValue).toImage(); };
        dragRectangle(QPointF(150, 60), QPointF(330, 200));
        const QImage before = thumb();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(finished.wait(kJobTimeoutMs));
        const QImage erased = thumb();
        QCOMPARE(erased.size(), before.size());
        QVERIFY(erased != before);
        item->getUndoStack()->undo();
        QCOMPARE(thumb(), before);
        item->getUndoStack()->redo();
        QCOMPARE(thumb(), erased);
    }

    void maskSavedInTheWindowErasesTheSameAreaWithTheTool()
    {
        QTemporaryDir dir;
        const QString photoPath = dir.filePath(QStringLiteral("coffee.png"));
        QVERIFY(QFile::copy(realPhoto("coffee.png"), photoPath));
        PhotoItem *item = openPhoto(photoPath);
        QVERIFY(item);
        dragRectangle(QPointF(350, 265), QPointF(385, 300));
        const cv::Mat selected = redOf(state(item).selection.m_inpaintMask);
        const QString maskPath = MainWindow::maskPathFor(photoPath);
        QCOMPARE(m_w->saveMaskTo(maskPath), QString());

        const QString outPath = dir.filePath(QStringLiteral("out.png"));
        QProcess tool;
        tool.start(kTool, {photoPath, maskPath, outPath});
        QVERIFY(tool.waitForFinished(kJobTimeoutMs));
        QCOMPARE(tool.exitCode(), 0);
        const cv::Mat byTool = cv::imread(outPath.toStdString(), cv::IMREAD_COLOR);

        const cv::Mat original = state(item).m_image.clone();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(finished.wait(kJobTimeoutMs));
        const cv::Mat byWindow = state(item).m_image;
        const cv::Mat originalBgr = original;
        QCOMPARE(byWindow.type(), CV_8UC3);
        QCOMPARE(byTool.size(), byWindow.size());
        // Both filled the selection and changed nothing beyond the engine's
        // one-pixel stamp around it.
        const cv::Mat reach = withinDistance(selected, 1.5);
        QVERIFY(changedShare(originalBgr, byTool, selected) > 0.8);
        QVERIFY(changedShare(originalBgr, byWindow, selected) > 0.8);
        QCOMPARE(cv::countNonZero(changedPixels(originalBgr, byTool) & ~reach), 0);
        QCOMPARE(cv::countNonZero(changedPixels(originalBgr, byWindow) & ~reach), 0);
    }
    // ------------------------------------------------------- another fill

    // Erases a rectangle through the Erase button and waits for the entry.
    bool eraseRectangle(PhotoItem *item, QPointF from, QPointF to)
    {
        dragRectangle(from, to);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        return finished.wait(kJobTimeoutMs) && !state(item).job.m_jobActive;
    }

    // Runs Another Fill from the menu to its end.
    bool fillAgain(PhotoItem *item)
    {
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QAction *again = m_w->anotherFillAction();
        if (!again || !again->isEnabled())
            return false;
        again->trigger();
        if (!state(item).job.m_jobActive)
            return false;
        // Greyed while its own job runs.
        if (again->isEnabled())
            return false;
        return finished.wait(kJobTimeoutMs) && !state(item).job.m_jobActive;
    }

    static const FillCommand *fillEntry(QUndoStack *stack)
    {
        return stack->index() > 0 ? dynamic_cast<const FillCommand *>(stack->command(stack->index() - 1)) : nullptr;
    }

    void anotherFillGreyedUnlessTheLastEntryIsAFill()
    {
        QAction *again = entry(QStringLiteral("Another Fill"));
        QVERIFY(again);
        QCOMPARE(again, m_w->anotherFillAction());
        QCOMPARE(again->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+F")));
        QCOMPARE(again->font(), entry(QStringLiteral("Grow Selection"))->font());
        // No photo.
        QVERIFY(!again->isEnabled());
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QVERIFY(!again->isEnabled());
        // A stroke is no fill.
        dragRectangle(QPointF(150, 60), QPointF(230, 130));
        QVERIFY(!again->isEnabled());
        // During the erase, greyed; after it, offered.
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        QVERIFY(state(item).job.m_jobActive);
        QVERIFY(!again->isEnabled());
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(again->isEnabled());
        QUndoStack *stack = item->getUndoStack();
        QCOMPARE(stack->text(stack->index() - 1), QStringLiteral("Erase"));
        // A new stroke after it takes the offer away; undoing the stroke
        // gives it back.
        dragRectangle(QPointF(300, 200), QPointF(340, 240));
        QVERIFY(!again->isEnabled());
        stack->undo();
        QVERIFY(again->isEnabled());
        // Undoing the erase itself leaves the stroke last.
        stack->undo();
        QVERIFY(!again->isEnabled());
        stack->redo();
        QVERIFY(again->isEnabled());
        // Triggered while greyed (by its shortcut's slot), nothing happens.
        dragRectangle(QPointF(300, 200), QPointF(340, 240));
        const int entries = stack->count();
        m_w->anotherFill();
        QVERIFY(!state(item).job.m_jobActive);
        QCOMPARE(stack->count(), entries);
    }

    // Greyed means seen greyed: a disabled entry's text is drawn darker than
    // an enabled one's.
    void disabledEntriesAreDrawnGreyed()
    {
        QMenu *m = menu();
        m->popup(QPoint(0, 0));
        QVERIFY(QTest::qWaitForWindowExposed(m));
        const QImage shot = m->grab().toImage();
        m->hide();
        auto brightText = [&shot](const QRect &row) {
            int count = 0;
            for (int y = row.top(); y <= row.bottom(); ++y)
                for (int x = row.left(); x <= row.right(); ++x) {
                    const QColor c = shot.pixelColor(x, y);
                    count += c.red() > 200 && c.green() > 200 && c.blue() > 200;
                }
            return count;
        };
        QAction *website = m->actions().at(0);
        QAction *again = entry(QStringLiteral("Another Fill"));
        QVERIFY(website->isEnabled());
        QVERIFY(!again->isEnabled());
        QVERIFY(brightText(m->actionGeometry(website)) > 20);
        QCOMPARE(brightText(m->actionGeometry(again)), 0);
    }

    void anotherFillChangesTheHoleOnlyAndUndoesExactly()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        const cv::Mat original = state(item).m_image.clone();
        QVERIFY(eraseRectangle(item, QPointF(150, 60), QPointF(330, 200)));
        QUndoStack *stack = item->getUndoStack();
        const FillCommand *erase = fillEntry(stack);
        QVERIFY(erase);
        const cv::Rect box = erase->m_rect;
        const cv::Mat hole = erase->inputs().red;
        QVERIFY(cv::countNonZero(hole) > 20000);
        QVERIFY(!erase->inputs().useDonor);
        // The pixels before the fill are kept once, as the entry's "before".
        QCOMPARE(erase->inputs().original.data, erase->m_undoImage.data);
        QVERIFY(samePixels(erase->inputs().original, original(erase->inputs().crop)));
        const cv::Mat first = state(item).m_image.clone();
        const int entries = stack->count();

        QVERIFY(fillAgain(item));
        const cv::Mat second = state(item).m_image.clone();
        QCOMPARE(stack->count(), entries + 1);
        QCOMPARE(stack->text(stack->index() - 1), QStringLiteral("Another Fill"));
        // A different fill of the same hole, nothing else touched.
        const cv::Rect crop = erase->inputs().crop;
        const double differs = changedShare(first(crop), second(crop), hole);
        QVERIFY2(differs > 0.2, qPrintable(QString::number(differs)));
        QCOMPARE(changedOutside(first, second, box), 0);
        QCOMPARE(changedOutside(original, second, box), 0);
        QVERIFY(changedShare(original(crop), second(crop), hole) > 0.8);
        // No selection is left behind, as after an Erase.
        QVERIFY(!layerHasSelection(state(item).selection.m_inpaintMask, 2));
        QVERIFY(m_w->anotherFillAction()->isEnabled());

        // Undo gives the first fill back exactly, redo the second; the
        // offer stays through both.
        stack->undo();
        QVERIFY(samePixels(state(item).m_image, first));
        QVERIFY(m_w->anotherFillAction()->isEnabled());
        stack->redo();
        QVERIFY(samePixels(state(item).m_image, second));
        QVERIFY(m_w->anotherFillAction()->isEnabled());

        // Again after an Another Fill: a third, from the same start.
        QVERIFY(fillAgain(item));
        const cv::Mat third = state(item).m_image.clone();
        QVERIFY(changedShare(second(crop), third(crop), hole) > 0.2);
        QCOMPARE(changedOutside(original, third, box), 0);
        stack->undo();
        stack->undo();
        QVERIFY(samePixels(state(item).m_image, first));
        // Down to before the erase: the stroke is last, nothing to fill again.
        stack->undo();
        QVERIFY(samePixels(state(item).m_image, original));
        QVERIFY(!m_w->anotherFillAction()->isEnabled());
    }

    void cancelledAnotherFillKeepsThePreviousFill()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QVERIFY(eraseRectangle(item, QPointF(150, 60), QPointF(330, 200)));
        QUndoStack *stack = item->getUndoStack();
        const cv::Mat first = state(item).m_image.clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        const int entries = stack->count();
        const cv::Rect box = item->workBoxRect();

        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        m_w->anotherFillAction()->trigger();
        QVERIFY(state(item).job.m_jobActive);
        // The Cancel button of the same progress dialog as the Erase.
        QVERIFY(JobDialog::of(item));
        processDialog *dialog = JobDialog::of(item)->dialog();
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("pushButton")), Qt::LeftButton);
        QVERIFY(finished.wait(kJobTimeoutMs));
        QVERIFY(!dialog->isVisible());
        QVERIFY(samePixels(state(item).m_image, first));
        QVERIFY(samePixels(state(item).selection.m_inpaintMask, red));
        QCOMPARE(item->workBoxRect(), box);
        QCOMPARE(stack->count(), entries);
        QCOMPARE(stack->text(stack->index() - 1), QStringLiteral("Erase"));
        // Still offered, and a later one commits as usual.
        QVERIFY(m_w->anotherFillAction()->isEnabled());
        QVERIFY(fillAgain(item));
        QCOMPARE(stack->count(), entries + 1);
    }

    void anotherFillOfADonorEraseUsesTheDonorAgain()
    {
        PhotoItem *item = openPhoto(realPhoto("coffee.png"));
        QVERIFY(item);
        QTest::mouseClick(ui->pushButton_green, Qt::LeftButton);
        dragRectangle(QPointF(20, 250), QPointF(200, 380));
        const cv::Mat donor = greenOf(state(item).selection.m_inpaintMaskBK);
        QTest::mouseClick(ui->pushButton_red, Qt::LeftButton);
        const cv::Mat original = state(item).m_image.clone();
        QVERIFY(eraseRectangle(item, QPointF(250, 80), QPointF(330, 160)));
        QUndoStack *stack = item->getUndoStack();
        const FillCommand *erase = fillEntry(stack);
        QVERIFY(erase);
        QVERIFY(erase->inputs().useDonor);
        const cv::Rect crop = erase->inputs().crop;
        QCOMPARE(differing(erase->inputs().green, donor(crop)), 0);
        const cv::Mat first = state(item).m_image.clone();

        QVERIFY(fillAgain(item));
        // The job ran with the donor (the engine lets go of its layers when
        // a job ends; the new entry keeps the green it was given).
        QVERIFY(state(item).job.m_workerThread->m_useDonor);
        QVERIFY(fillEntry(stack) != erase);
        QVERIFY(fillEntry(stack)->inputs().useDonor);
        QCOMPARE(differing(fillEntry(stack)->inputs().green, donor(crop)), 0);
        QVERIFY(changedShare(first(crop), state(item).m_image(crop), erase->inputs().red) > 0.2);
        QCOMPARE(changedOutside(original, state(item).m_image, erase->m_rect), 0);
        QVERIFY(!layerHasSelection(state(item).selection.m_inpaintMaskBK, 1));
    }
};

QTEST_MAIN(TestEditing)
#include "tst_editing.moc"
