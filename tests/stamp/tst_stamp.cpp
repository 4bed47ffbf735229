// The sampling stamp: source and offset, the dab against a plain reference of
// its rule, the preview, the region fence, the warning, undo and redo, and the
// photo on the canvas kept in step with the image.
#include <QApplication>
#include <QListWidget>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QUndoStack>
#include <QtTest>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "custombackwidget.h"
#include "customwidget.h"
#include "globals.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "photohost.h"
#include "skin.h"
#include "stampreference.h"
#include "testphotos.h"

namespace {

// Answers every message box that opens with Ok, recording title and text,
// so that a warning does not block the test.
class BoxAnswerer : public QObject
{
public:
    QStringList titles;
    QStringList texts;
    BoxAnswerer()
    {
        m_timer.setInterval(5);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                titles << box->windowTitle();
                texts << box->text();
                box->done(QMessageBox::Ok);
            }
        });
        m_timer.start();
    }

private:
    QTimer m_timer;
};

// A crop of a real photograph (skimage's astronaut), so the dabs move real
// texture around; a synthetic gradient if the picture is not installed.
cv::Mat testPhoto(int cols, int rows)
{
    const cv::Mat full = cv::imread(realPhoto("astronaut.png").toStdString(), cv::IMREAD_COLOR);
    if (!full.empty() && full.cols >= 200 + cols && full.rows >= 100 + rows)
        return full(cv::Rect(200, 100, cols, rows)).clone();
    cv::Mat m(rows, cols, CV_8UC3);
    cv::randu(m, 0, 256);
    return m;
}

bool sameBytes(const cv::Mat &a, const cv::Mat &b)
{
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
}

QImage asRgb32(const QPixmap &pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_RGB32);
}

// The stamp region of tools 10 and 11: R 255 with alpha 0 inside, the
// outline R 255 with alpha 128, the rest 0.
void drawRegion(cv::Mat &layer, const cv::Rect &box)
{
    layer.setTo(cv::Scalar::all(0));
    cv::rectangle(layer, box, cv::Scalar(0, 0, 255, 0), cv::FILLED, 8);
    cv::rectangle(layer, box, cv::Scalar(0, 0, 255, 128), 1, 8);
}

} // namespace

class TestStamp : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<PhotoHost> m_host; // built by initTestCase
    PhotoItem *m_item = nullptr;
    cv::Mat m_original;

    PhotoItem *load(const cv::Mat &photo)
    {
        const QString path = m_dir.path() + QStringLiteral("/photo%1.png").arg(m_host->list->count());
        cv::imwrite(path.toStdString(), photo);
        return m_host->load(path);
    }

    void useStamp(PhotoItem *item, int size = 20)
    {
        item->recvSelectType(8, size, 0);
        m_host->front->recvSelectType(8, size, 0);
        m_host->green->recvSelectType(8, size, 0);
    }

    bool boxesEmpty(const PhotoItem *item) const
    {
        return state(item).selection.m_strokeMaxX == -1.0 && state(item).selection.m_strokeMaxY == -1.0 && state(item).regions.m_workMaxX == -1.0
               && state(item).regions.m_workMaxY == -1.0;
    }

    // A hard dab at (48, 36) with its source at (15, 15) must copy exactly
    // where the region layer has R 255, and leave every other pixel alone.
    void checkFencedDab(const cv::Mat &before)
    {
        const cv::Mat &img = state(m_item).m_image;
        const cv::Mat &region = state(m_item).selection.m_strokeBaseRed;
        int inside = 0, kept = 0, outline = 0;
        for (int r = 26; r <= 45; ++r) {
            for (int c = 38; c <= 57; ++c) {
                const bool inDisc = (r - 36) * (r - 36) + (c - 48) * (c - 48) < 100;
                const cv::Vec4b fence = region.at<cv::Vec4b>(r, c);
                if (inDisc && fence[2] == 255) {
                    QCOMPARE(img.at<cv::Vec3b>(r, c), before.at<cv::Vec3b>(r - 21, c - 33));
                    ++inside;
                    outline += fence[3] == 128 ? 1 : 0;
                } else {
                    QCOMPARE(img.at<cv::Vec3b>(r, c), before.at<cv::Vec3b>(r, c));
                    kept += inDisc ? 1 : 0;
                }
            }
        }
        QVERIFY(inside > 30);
        QVERIFY(kept > 30);
        QVERIFY(outline > 5);
    }

private slots:
    void initTestCase()
    {
        Skin::init();
        QVERIFY(m_dir.isValid());
        m_host = std::make_unique<PhotoHost>();
        m_host->back->resize(300, 300);
        m_original = testPhoto(96, 72);
    }

    void init()
    {
        m_item = load(m_original);
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
    }

    void cleanup()
    {
        delete m_item;
        m_item = nullptr;
    }

    // ---------------------------------------------------------------- the dab

    void dabFollowsItsRule_data()
    {
        QTest::addColumn<float>("hardness");
        QTest::addColumn<float>("opacity");
        QTest::addColumn<int>("size");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QPointF>("pos");
        QTest::addColumn<QPoint>("offset");
        QTest::addColumn<bool>("fenced");
        const float levels[] = {0.0f, 0.5f, 1.0f};
        for (float hard : levels) {
            for (float opa : levels) {
                for (int size : {20, 21}) {
                    const QByteArray tag = QByteArray("h") + QByteArray::number(hard) + " o" + QByteArray::number(opa)
                                           + " N" + QByteArray::number(size);
                    // Offset far from the dab, and a short one whose dab reads
                    // pixels it has itself just written.
                    QTest::newRow(tag + " far") << hard << opa << size << 1.0 << QPointF(60.3, 40.8) << QPoint(35, 22)
                                                << false;
                    QTest::newRow(tag + " overlapping")
                        << hard << opa << size << 1.0 << QPointF(40.7, 30.2) << QPoint(3, 2) << false;
                    QTest::newRow(tag + " same row")
                        << hard << opa << size << 1.0 << QPointF(40.2, 30.7) << QPoint(2, 0) << false;
                    QTest::newRow(tag + " fenced") << hard << opa << size << 1.0 << QPointF(48.5, 36.5)
                                                   << QPoint(-20, 9) << true;
                }
            }
        }
        // Zoom divides the brush; negative and partly-outside positions
        // exercise truncation toward zero at the top left edge.
        QTest::newRow("scale 0.5, N 40") << 0.7f << 0.8f << 20 << 0.5 << QPointF(10.6, 5.4) << QPoint(-25, -30)
                                         << false;
        QTest::newRow("scale 3, N 6") << 0.2f << 1.0f << 20 << 3.0 << QPointF(0.4, 0.9) << QPoint(-4, -3) << false;
        QTest::newRow("bottom right edge") << 1.0f << 1.0f << 30 << 1.0 << QPointF(96.0, 72.0) << QPoint(30, 25)
                                           << false;
        QTest::newRow("N 2") << 0.0f << 1.0f << 2 << 1.0 << QPointF(20.5, 20.5) << QPoint(7, 7) << false;
        QTest::newRow("N 3") << 0.3f << 0.6f << 3 << 1.0 << QPointF(20.5, 20.5) << QPoint(7, 7) << false;
    }

    void dabFollowsItsRule()
    {
        QFETCH(float, hardness);
        QFETCH(float, opacity);
        QFETCH(int, size);
        QFETCH(double, scale);
        QFETCH(QPointF, pos);
        QFETCH(QPoint, offset);
        QFETCH(bool, fenced);

        state(m_item).pointer.m_brushSize = size;
        state(m_item).pointer.m_scale = scale;
        state(m_item).stamp.m_stampHardness = hardness;
        state(m_item).stamp.m_stampOpacity = opacity;
        state(m_item).stamp.m_stampOffsetX = offset.x();
        state(m_item).stamp.m_stampOffsetY = offset.y();
        state(m_item).stamp.m_stampRegionActive = fenced ? 1 : 0;
        if (fenced)
            drawRegion(state(m_item).selection.m_strokeBaseRed, cv::Rect(30, 25, 25, 20));

        StampSettings s;
        s.brushSize = size;
        s.scale = scale;
        s.offsetX = offset.x();
        s.offsetY = offset.y();
        s.hardness = hardness;
        s.opacity = opacity;
        s.fenced = fenced;
        cv::Mat expected = m_original.clone();
        referenceStampPaint(expected, state(m_item).selection.m_strokeBaseRed, pos, s);

        m_item->stampPaint(pos);
        QVERIFY(sameBytes(state(m_item).m_image, expected));
        // A second dab at the same place works on the result of the first.
        referenceStampPaint(expected, state(m_item).selection.m_strokeBaseRed, pos + QPointF(1.5, 0.25), s);
        m_item->stampPaint(pos + QPointF(1.5, 0.25));
        QVERIFY(sameBytes(state(m_item).m_image, expected));
        // Anything but zero opacity changes something (the test must be able to fail).
        if (opacity > 0.0f && !fenced)
            QVERIFY(!sameBytes(state(m_item).m_image, m_original));
        if (opacity == 0.0f)
            QVERIFY(sameBytes(state(m_item).m_image, m_original));
    }

    void hardAndFullIsAPlainCopyOfTheDisc()
    {
        state(m_item).pointer.m_brushSize = 20; // N 20, radius 10
        state(m_item).stamp.m_stampOffsetX = 30;
        state(m_item).stamp.m_stampOffsetY = 20;
        m_item->stampPaint(QPointF(50.0, 40.0));
        const cv::Mat &img = state(m_item).m_image;
        // Inside the disc every pixel is the source's; the corners of the square are not.
        for (int dy = -9; dy <= 9; ++dy)
            for (int dx = -9; dx <= 9; ++dx)
                if (dx * dx + dy * dy < 100 - 20)
                    QCOMPARE(img.at<cv::Vec3b>(40 + dy, 50 + dx), m_original.at<cv::Vec3b>(20 + dy, 20 + dx));
        QCOMPARE(img.at<cv::Vec3b>(31, 41), m_original.at<cv::Vec3b>(31, 41));
    }

    void hardnessZeroGivesAtMostHalf()
    {
        // Black source, white target: the weight at the centre is 0.5, so the
        // result is half white, never darker.
        cv::Mat photo(40, 40, CV_8UC3, cv::Scalar::all(255));
        photo(cv::Rect(0, 0, 20, 40)).setTo(cv::Scalar::all(0));
        PhotoItem *item = load(photo);
        state(item).pointer.m_brushSize = 10;
        state(item).stamp.m_stampHardness = 0.0f;
        state(item).stamp.m_stampOffsetX = 20;
        item->stampPaint(QPointF(30.0, 20.0));
        QCOMPARE(state(item).m_image.at<cv::Vec3b>(20, 30), cv::Vec3b(127, 127, 127));
        double least = 255;
        cv::minMaxLoc(state(item).m_image(cv::Rect(20, 0, 20, 40)).reshape(1), &least);
        QCOMPARE(least, 127.0);
        delete item;
    }

    void onePixelDabIsAPlainCopy()
    {
        state(m_item).pointer.m_brushSize = 1; // N 1: no radius, no falloff
        state(m_item).stamp.m_stampHardness = 0.0f;
        state(m_item).stamp.m_stampOpacity = 0.3f;
        state(m_item).stamp.m_stampOffsetX = 10;
        state(m_item).stamp.m_stampOffsetY = 5;
        m_item->stampPaint(QPointF(40.9, 30.2));
        cv::Mat expected = m_original.clone();
        expected.at<cv::Vec3b>(30, 40) = m_original.at<cv::Vec3b>(25, 30);
        QVERIFY(sameBytes(state(m_item).m_image, expected));
        const cv::Mat preview = m_item->stampPreview(QPointF(40.9, 30.2));
        QCOMPARE(preview.size(), cv::Size(1, 1));
        QCOMPARE(int(preview.at<cv::Vec4b>(0, 0)[3]), 255);
        // Below one pixel there is no dab at all, and a zero scale paints nothing.
        state(m_item).pointer.m_scale = 2.0;
        m_item->stampPaint(QPointF(50.0, 30.0));
        state(m_item).pointer.m_scale = 0.0;
        m_item->stampPaint(QPointF(50.0, 30.0));
        QVERIFY(sameBytes(state(m_item).m_image, expected));
    }

    void oneColumnPhotoAndHugeDabsAreSafe()
    {
        // A photo one pixel wide: the dab is wider than the photo, so there
        // is no preview, but the stamp still paints by its rule.
        cv::Mat thin(40, 1, CV_8UC3);
        cv::randu(thin, 0, 256);
        PhotoItem *item = load(thin);
        useStamp(item, 8);
        item->recvLeftALTPressPoint(QPointF(0.5, 5.5));
        item->recvReleasePoint(QPointF(0.5, 5.5));
        item->recvLeftPressPoint(QPointF(0.5, 20.5));
        item->recvLeftMovePoint(QPointF(1.0, 30.2));
        item->recvLeftMoveNoPoint(QPointF(1.0, 30.2));
        item->recvReleasePoint(QPointF(1.0, 30.2));
        StampSettings s;
        s.brushSize = 8;
        s.offsetY = 15;
        cv::Mat expected = thin.clone();
        referenceStampPaint(expected, state(item).selection.m_strokeBaseRed, QPointF(0.5, 20.5), s);
        referenceStampPaint(expected, state(item).selection.m_strokeBaseRed, QPointF(1.0, 30.2), s);
        QVERIFY(sameBytes(state(item).m_image, expected));
        QVERIFY(!sameBytes(state(item).m_image, thin));
        QVERIFY(item->stampPreview(QPointF(0.5, 20.5)).empty());
        item->getUndoStack()->undo();
        QVERIFY(sameBytes(state(item).m_image, thin));
        delete item;

        // A zoom so small that the dab would be hundreds of thousands of
        // pixels wide paints nothing rather than overflow.
        state(m_item).pointer.m_brushSize = 200;
        state(m_item).pointer.m_scale = 0.0005;
        state(m_item).stamp.m_stampOffsetX = 10;
        m_item->stampPaint(QPointF(40, 30));
        QVERIFY(m_item->stampPreview(QPointF(40, 30)).empty());
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
    }

    // ---------------------------------------------------------------- edge cases

    void firstPressWithoutSourceWarnsAndDoesNothing()
    {
        useStamp(m_item);
        BoxAnswerer answerer;
        m_item->recvLeftPressPoint(QPointF(40, 30));
        QCOMPARE(answerer.titles, QStringList{QStringLiteral("Warnning")});
        QCOMPARE(answerer.texts, QStringList{QStringLiteral("Could not use the stamp because the area to clone has "
                                                            "not been defined (Alt-click to define a source point)")});
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
        QVERIFY(boxesEmpty(m_item));
        QVERIFY(state(m_item).job.m_imageBeforeJob.empty());
        // The rest of the gesture paints nothing and records nothing.
        m_item->recvLeftMovePoint(QPointF(45, 32));
        m_item->recvLeftMoveNoPoint(QPointF(45, 32));
        m_item->recvReleasePoint(QPointF(45, 32));
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
        QCOMPARE(m_item->getUndoStack()->count(), 0);
        QCOMPARE(state(m_item).output.m_saved, quint8(1));
        QCOMPARE(m_host->green->paintMode, 0); // no preview without a source
        // Every further press warns again until a source is set.
        m_item->recvLeftPressPoint(QPointF(41, 31));
        QCOMPARE(answerer.titles.size(), 2);
    }

    void altClickOnlyUnderTheStamp()
    {
        m_item->recvSelectType(4, 20, 0);
        m_item->recvLeftALTPressPoint(QPointF(10, 10));
        QCOMPARE(state(m_item).stamp.m_stampSourceMissing, quint8(1));
        QCOMPARE(state(m_item).stamp.m_stampSourceFresh, quint8(0));
        QVERIFY(state(m_item).job.m_imageBeforeJob.empty());
    }

    void altClickAndPressOnTheSamePixelWriteTheImageOntoItself()
    {
        useStamp(m_item);
        BoxAnswerer answerer;
        m_item->recvLeftALTPressPoint(QPointF(40.6, 30.3));
        m_item->recvReleasePoint(QPointF(40.6, 30.3));
        m_item->recvLeftPressPoint(QPointF(40.6, 30.3));
        QCOMPARE(state(m_item).stamp.m_stampOffsetX, 0);
        QCOMPARE(state(m_item).stamp.m_stampOffsetY, 0);
        for (int k = 0; k < 8; ++k) {
            m_item->recvLeftMovePoint(QPointF(40.6 + 3 * k, 30.3 + k));
            m_item->recvLeftMoveNoPoint(QPointF(40.6 + 3 * k, 30.3 + k));
        }
        m_item->recvReleasePoint(QPointF(61.6, 37.3));
        QVERIFY(answerer.titles.isEmpty());
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
        QCOMPARE(m_item->getUndoStack()->count(), 2);
    }

    void dabPartlyOutsidePaintsWhereSourceAndTargetAreInside()
    {
        // Source (5, 5) and target (60, 40) on a 64 x 48 photo: a dab of
        // radius 10 at the target reaches past the right and bottom edges, and
        // its source past the left and top edges.
        cv::Mat photo = testPhoto(64, 48);
        PhotoItem *item = load(photo);
        useStamp(item);
        item->recvLeftALTPressPoint(QPointF(5, 5));
        item->recvReleasePoint(QPointF(5, 5));
        item->recvLeftPressPoint(QPointF(60, 40));
        QCOMPARE(state(item).stamp.m_stampOffsetX, 55);
        QCOMPARE(state(item).stamp.m_stampOffsetY, 35);
        const cv::Mat &img = state(item).m_image;
        int copied = 0;
        for (int i = 0; i < 20; ++i) {
            for (int j = 0; j < 20; ++j) {
                const int tr = 30 + i, tc = 50 + j, sr = tr - 35, sc = tc - 55;
                if (tr >= 48 || tc >= 64)
                    continue; // target outside: nothing there to look at
                const bool inDisc = (10 - i) * (10 - i) + (10 - j) * (10 - j) < 100;
                if (sr < 0 || sc < 0 || !inDisc) {
                    QCOMPARE(img.at<cv::Vec3b>(tr, tc), photo.at<cv::Vec3b>(tr, tc));
                } else {
                    QCOMPARE(img.at<cv::Vec3b>(tr, tc), photo.at<cv::Vec3b>(sr, sc));
                    ++copied;
                }
            }
        }
        QVERIFY(copied > 40);
        // Everything outside the dab's square is untouched.
        cv::Mat outside = cv::Mat::ones(48, 64, CV_8U);
        outside(cv::Rect(50, 30, 14, 18)).setTo(0);
        cv::Mat diff;
        cv::absdiff(img, photo, diff);
        cv::cvtColor(diff, diff, cv::COLOR_BGR2GRAY);
        QCOMPARE(cv::countNonZero(diff & outside), 0);
        item->recvReleasePoint(QPointF(60, 40));
        delete item;
    }

    void regionKeepsPixelsOutsideAndCountsTheOutlineInside()
    {
        useStamp(m_item);
        const cv::Rect box(40, 30, 12, 10);
        drawRegion(state(m_item).selection.m_strokeBaseRed, box);
        // A pixel with R just below 255 inside the box must stay too.
        state(m_item).selection.m_strokeBaseRed.at<cv::Vec4b>(35, 45) = cv::Vec4b(0, 0, 254, 0);
        state(m_item).stamp.m_stampRegionActive = 1;
        m_item->recvLeftALTPressPoint(QPointF(20, 20));
        m_item->recvReleasePoint(QPointF(20, 20));
        m_item->recvLeftPressPoint(QPointF(46, 35)); // offset (26, 15), radius 10 covers the box and more
        m_item->recvReleasePoint(QPointF(46, 35));
        const cv::Mat &img = state(m_item).m_image;
        int inside = 0, outside = 0;
        for (int r = 25; r <= 45; ++r) {
            for (int c = 36; c <= 56; ++c) {
                const cv::Vec4b fence = state(m_item).selection.m_strokeBaseRed.at<cv::Vec4b>(r, c);
                const bool inDisc = (r - 35) * (r - 35) + (c - 46) * (c - 46) < 100;
                if (fence[2] == 255 && inDisc) {
                    QCOMPARE(img.at<cv::Vec3b>(r, c), m_original.at<cv::Vec3b>(r - 15, c - 26));
                    ++inside;
                } else {
                    QCOMPARE(img.at<cv::Vec3b>(r, c), m_original.at<cv::Vec3b>(r, c));
                    outside += inDisc ? 1 : 0;
                }
            }
        }
        // The outline's own pixels were written (alpha 128, R 255).
        QCOMPARE(state(m_item).selection.m_strokeBaseRed.at<cv::Vec4b>(30, 45), cv::Vec4b(0, 0, 255, 128));
        QCOMPARE(img.at<cv::Vec3b>(30, 45), m_original.at<cv::Vec3b>(15, 19));
        QCOMPARE(img.at<cv::Vec3b>(35, 45), m_original.at<cv::Vec3b>(35, 45));
        QVERIFY(inside > 60);
        QVERIFY(outside > 30);
        // The fence stays on the front canvas during stamp work.
        QCOMPARE(m_host->front->overlayImage().constBits(), state(m_item).selection.m_strokeBaseRed.data);
    }

    void regionDrawnWithTheLassoFencesTheStamp()
    {
        QSignalSpy over(m_item, &PhotoItem::sendOverStampSelect);
        m_item->recvSelectType(10, 20, 0);
        // A box whose right side (drawn 8 pixels thick) runs through the dab;
        // only moves add points, so the press is not one.
        const QPointF corners[] = {{20, 20}, {40, 20}, {40, 54}, {20, 54}, {20, 20}};
        m_item->recvLeftPressPoint(corners[0]);
        for (int k = 0; k < 4; ++k)
            for (int t = 1; t <= 4; ++t)
                m_item->recvLeftMovePoint(corners[k] + (corners[k + 1] - corners[k]) * (t / 4.0));
        m_item->recvReleasePoint(corners[4]);
        QCOMPARE(over.count(), 1);
        QCOMPARE(state(m_item).stamp.m_stampRegionActive, quint8(1));

        useStamp(m_item);
        const cv::Mat before = state(m_item).m_image.clone();
        m_item->recvLeftALTPressPoint(QPointF(15, 15));
        m_item->recvReleasePoint(QPointF(15, 15));
        m_item->recvLeftPressPoint(QPointF(48, 36));
        m_item->recvReleasePoint(QPointF(48, 36));
        checkFencedDab(before);
        if (QTest::currentTestFailed())
            return;
        // The stroke is one undo entry like any other, and the region stays.
        m_item->getUndoStack()->undo();
        QVERIFY(sameBytes(state(m_item).m_image, before));
        QCOMPARE(state(m_item).stamp.m_stampRegionActive, quint8(1));
    }

    void regionDrawnWithThePolygonFencesTheStamp()
    {
        QSignalSpy over(m_item, &PhotoItem::sendOverStampSelect);
        m_item->recvSelectType(11, 20, 0);
        for (const QPointF v : {QPointF(41, 29), QPointF(55, 31), QPointF(53, 45), QPointF(43, 41)}) {
            m_item->recvLeftPressPoint(v);
            m_item->recvReleasePoint(v);
        }
        QCOMPARE(over.count(), 0);
        m_item->recvLeftPressPoint(QPointF(42, 30)); // near the first vertex: closes
        m_item->recvReleasePoint(QPointF(42, 30));
        QCOMPARE(over.count(), 1);
        QCOMPARE(state(m_item).stamp.m_stampRegionActive, quint8(1));

        useStamp(m_item);
        const cv::Mat before = state(m_item).m_image.clone();
        m_item->recvLeftALTPressPoint(QPointF(15, 15));
        m_item->recvReleasePoint(QPointF(15, 15));
        m_item->recvLeftPressPoint(QPointF(48, 36));
        m_item->recvReleasePoint(QPointF(48, 36));
        checkFencedDab(before);
    }

    // ---------------------------------------------------------------- strokes

    void offsetIsFixedAtTheFirstPressAndKept()
    {
        useStamp(m_item);
        m_item->recvLeftALTPressPoint(QPointF(10.9, 10.2));
        QCOMPARE(state(m_item).stamp.m_stampSourceFresh, quint8(1));
        QCOMPARE(state(m_item).stamp.m_stampSourceMissing, quint8(0));
        m_item->recvReleasePoint(QPointF(10.9, 10.2));
        m_item->recvLeftPressPoint(QPointF(40.2, 30.9)); // int(29.3), int(20.7)
        QCOMPARE(state(m_item).stamp.m_stampOffsetX, 29);
        QCOMPARE(state(m_item).stamp.m_stampOffsetY, 20);
        QCOMPARE(state(m_item).stamp.m_stampSourceFresh, quint8(0));
        m_item->recvReleasePoint(QPointF(40.2, 30.9));
        // The source pixel of the next dab's centre lies in the first stroke.
        const cv::Vec3b source = state(m_item).m_image.at<cv::Vec3b>(30, 41);
        m_item->recvLeftPressPoint(QPointF(70.0, 50.0));
        QCOMPARE(state(m_item).stamp.m_stampOffsetX, 29);
        QCOMPARE(state(m_item).stamp.m_stampOffsetY, 20);
        QCOMPARE(state(m_item).m_image.at<cv::Vec3b>(50, 70), source);
        m_item->recvReleasePoint(QPointF(70.0, 50.0));
        // A new Alt-click starts over: offsets 0 until its first press.
        m_item->recvLeftALTPressPoint(QPointF(5, 5));
        QCOMPARE(state(m_item).stamp.m_stampOffsetX, 0);
        QCOMPARE(state(m_item).stamp.m_stampOffsetY, 0);
    }

    void strokeUndoAndRedoAreBitExact()
    {
        useStamp(m_item, 16);
        state(m_item).stamp.m_stampHardness = 0.35f;
        state(m_item).stamp.m_stampOpacity = 0.8f;
        // A selection painted before is cleared by the stamp's entry.
        state(m_item).selection.m_inpaintMask.at<cv::Vec4b>(3, 3) = cv::Vec4b(0, 0, 255, 128);
        m_item->recvLeftALTPressPoint(QPointF(20, 20));
        m_item->recvReleasePoint(QPointF(20, 20));
        QUndoStack *stack = m_item->getUndoStack();
        QCOMPARE(stack->count(), 1);
        QCOMPARE(stack->text(0), QStringLiteral("stamp"));
        QVERIFY(sameBytes(state(m_item).m_image, m_original)); // the Alt-click's entry changes nothing
        QCOMPARE(cv::countNonZero(state(m_item).selection.m_inpaintMask.reshape(1)), 0);

        m_item->recvLeftPressPoint(QPointF(50, 30));
        for (int k = 1; k <= 12; ++k) {
            m_item->recvLeftMovePoint(QPointF(50 + 2.5 * k, 30 + 1.5 * k));
            m_item->recvLeftMoveNoPoint(QPointF(50 + 2.5 * k, 30 + 1.5 * k));
        }
        m_item->recvReleasePoint(QPointF(80, 48));
        QCOMPARE(stack->count(), 2);
        QCOMPARE(stack->text(1), QStringLiteral("stamp"));
        QCOMPARE(state(m_item).output.m_saved, quint8(0));
        QVERIFY(boxesEmpty(m_item));
        const cv::Mat after = state(m_item).m_image.clone();
        QVERIFY(!sameBytes(after, m_original));

        stack->undo();
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
        QCOMPARE(asRgb32(m_host->mid->pixmap()), asRgb32(matToQPixmap(m_original)));
        stack->redo();
        QVERIFY(sameBytes(state(m_item).m_image, after));
        QCOMPARE(asRgb32(m_host->mid->pixmap()), asRgb32(matToQPixmap(after)));
        stack->undo();
        stack->undo();
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
    }

    void dragWithoutAPressDoesNotPaint()
    {
        // A drag whose press fell outside the image reaches the photo as
        // moves and a release only; with no snapshot taken it must not paint.
        useStamp(m_item);
        m_item->recvLeftALTPressPoint(QPointF(20, 20));
        m_item->recvReleasePoint(QPointF(20, 20));
        const int entries = m_item->getUndoStack()->count();
        m_item->recvLeftMovePoint(QPointF(50, 30));
        m_item->recvReleasePoint(QPointF(50, 30));
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
        QCOMPARE(m_item->getUndoStack()->count(), entries);
    }

    void strokeReleasedOutsideIsRecordedAtTheNextPress()
    {
        // The canvas drops a release outside the image: the stroke must still
        // mark the photo unsaved, and get its own undo entry at the next press.
        useStamp(m_item);
        m_item->recvLeftALTPressPoint(QPointF(20, 20));
        m_item->recvReleasePoint(QPointF(20, 20));
        QUndoStack *stack = m_item->getUndoStack();
        QCOMPARE(stack->count(), 1);
        state(m_item).output.m_saved = 1; // as after a save
        m_item->recvLeftPressPoint(QPointF(60, 30));
        QCOMPARE(state(m_item).output.m_saved, quint8(0));
        m_item->recvLeftMovePoint(QPointF(80, 30));
        m_item->recvLeftMovePoint(QPointF(95.5, 30)); // then off the right edge: no release
        const cv::Mat firstStroke = state(m_item).m_image.clone();
        QVERIFY(!sameBytes(firstStroke, m_original));

        m_item->recvLeftPressPoint(QPointF(50, 60));
        QCOMPARE(stack->count(), 2);
        QCOMPARE(stack->text(1), QStringLiteral("stamp"));
        m_item->recvReleasePoint(QPointF(50, 60));
        QCOMPARE(stack->count(), 3);
        stack->undo();
        QVERIFY(sameBytes(state(m_item).m_image, firstStroke));
        stack->undo();
        QVERIFY(sameBytes(state(m_item).m_image, m_original));
    }

    void pendingStrokeIsDroppedOnceTheHistoryMoved()
    {
        // Once another entry has entered the history the snapshot may no
        // longer be the image before the stroke: no entry is made from it.
        useStamp(m_item);
        m_item->recvLeftALTPressPoint(QPointF(20, 20));
        m_item->recvReleasePoint(QPointF(20, 20));
        m_item->recvLeftPressPoint(QPointF(60, 30));
        QUndoStack *stack = m_item->getUndoStack();
        stack->undo(); // the history moves while the release is missing
        const int index = stack->index();
        m_item->recvLeftPressPoint(QPointF(50, 60));
        QCOMPARE(stack->index(), index);
        m_item->recvReleasePoint(QPointF(50, 60));
        QCOMPARE(stack->index(), index + 1);
        // And a lost Alt-click release records nothing at all.
        m_item->recvLeftALTPressPoint(QPointF(10, 10));
        m_item->recvLeftALTPressPoint(QPointF(12, 12));
        m_item->recvReleasePoint(QPointF(12, 12));
        QCOMPARE(stack->index(), index + 2);
    }

    void canvasPixmapStaysInStepWithTheImage()
    {
        useStamp(m_item, 24);
        state(m_item).stamp.m_stampHardness = 0.1f;
        m_item->recvLeftALTPressPoint(QPointF(15, 15));
        m_item->recvReleasePoint(QPointF(15, 15));
        m_item->recvLeftPressPoint(QPointF(60, 40));
        QCOMPARE(asRgb32(m_host->mid->pixmap()), asRgb32(matToQPixmap(state(m_item).m_image)));
        for (int k = 1; k <= 10; ++k) {
            // Runs off the bottom right edge on purpose.
            m_item->recvLeftMovePoint(QPointF(60 + 4 * k, 40 + 3.3 * k));
            m_item->recvLeftMoveNoPoint(QPointF(60 + 4 * k, 40 + 3.3 * k));
            QCOMPARE(asRgb32(m_host->mid->pixmap()), asRgb32(matToQPixmap(state(m_item).m_image)));
            // The preview on the canvas is the one of the image as painted.
            QCOMPARE(m_host->green->paintMode, 1);
            const cv::Mat shown = state(m_item).selection.m_strokeBaseGreen(cv::Rect(0, 0, 24, 24)).clone();
            QVERIFY(sameBytes(m_item->stampPreview(QPointF(60 + 4 * k, 40 + 3.3 * k)), shown));
        }
        m_item->recvReleasePoint(QPointF(95, 71));
        QCOMPARE(asRgb32(m_host->mid->pixmap()), asRgb32(matToQPixmap(state(m_item).m_image)));
    }

    void beforeAndAfterViewIsReplacedByThePhoto()
    {
        // While the "before" file shows, a dab puts the edited photo back on the canvas.
        useStamp(m_item);
        m_item->recvSrcRoi();
        QVERIFY(!m_host->mid->overlayImage().isNull());
        m_item->recvLeftALTPressPoint(QPointF(15, 15));
        m_item->recvReleasePoint(QPointF(15, 15));
        m_item->recvSrcRoi();
        m_item->recvLeftPressPoint(QPointF(50, 40));
        QVERIFY(m_host->mid->overlayImage().isNull());
        QCOMPARE(asRgb32(m_host->mid->pixmap()), asRgb32(matToQPixmap(state(m_item).m_image)));
        m_item->recvReleasePoint(QPointF(50, 40));
    }

    // ---------------------------------------------------------------- preview

    void previewFollowsTheAlphaRule()
    {
        state(m_item).pointer.m_brushSize = 14;
        state(m_item).stamp.m_stampHardness = 0.2f;
        state(m_item).stamp.m_stampOpacity = 0.9f;
        state(m_item).stamp.m_stampOffsetX = 30;
        state(m_item).stamp.m_stampOffsetY = 20;
        const QPointF pos(60.5, 40.5);
        const cv::Mat preview = m_item->stampPreview(pos);
        QCOMPARE(preview.size(), cv::Size(14, 14));
        QCOMPARE(preview.data, state(m_item).selection.m_strokeBaseGreen.data); // the scratch's corner, no copy
        const int h = 7;
        for (int i = 0; i < 14; ++i) {
            for (int j = 0; j < 14; ++j) {
                const float dy = float(h - i), dx = float(h - j);
                float f = 0.5 - float(int(dx * dx + dy * dy)) / float(2 * h * h);
                f = f < 0 ? 0 : f;
                const float v = (f + 0.2f) * 0.9f;
                const int alpha = f == 0 ? 0 : (v > 1 ? 255 : int(255 * v));
                const cv::Vec3b src = m_original.at<cv::Vec3b>(int(i + 40.5 - 20 - h), int(j + 60.5 - 30 - h));
                const cv::Vec4b px = preview.at<cv::Vec4b>(i, j);
                QCOMPARE(int(px[3]), alpha);
                QCOMPARE(cv::Vec3b(px[0], px[1], px[2]), src);
            }
        }
        QVERIFY(sameBytes(state(m_item).m_image, m_original)); // the preview never paints
        // A dab larger than the image has no preview.
        state(m_item).pointer.m_brushSize = 200;
        QVERIFY(m_item->stampPreview(pos).empty());
    }

    void hoverShowsThePreviewOnceASourceExists()
    {
        useStamp(m_item);
        m_item->recvLeftMoveNoPoint(QPointF(50, 40));
        QCOMPARE(m_host->green->paintMode, 0);
        m_item->recvLeftALTPressPoint(QPointF(20.7, 15.2));
        m_item->recvReleasePoint(QPointF(20.7, 15.2));
        // Before the first press the preview is built at the source: its
        // pixels are those around the source.
        m_item->recvLeftMoveNoPoint(QPointF(50.5, 40.5));
        QCOMPARE(m_host->green->paintMode, 1);
        const cv::Mat scratch = state(m_item).selection.m_strokeBaseGreen;
        QCOMPARE(scratch.at<cv::Vec4b>(10, 10)[2], m_original.at<cv::Vec3b>(15, 20)[2]);
        QCOMPARE(scratch.at<cv::Vec4b>(10, 10)[0], m_original.at<cv::Vec3b>(15, 20)[0]);
        m_item->recvLeftPressPoint(QPointF(50.5, 40.5));
        m_item->recvReleasePoint(QPointF(50.5, 40.5));
        // Afterwards it is built at the pointer with the fixed offset (29, 25).
        m_item->recvLeftMoveNoPoint(QPointF(70.2, 60.9));
        QCOMPARE(scratch.at<cv::Vec4b>(10, 10)[1], state(m_item).m_image.at<cv::Vec3b>(int(10 + 60.9 - 25 - 10),
                                                                                 int(10 + 70.2 - 29 - 10))[1]);
        QVERIFY(sameBytes(state(m_item).m_image(cv::Rect(60, 45, 36, 27)), m_original(cv::Rect(60, 45, 36, 27))));
    }
};

QTEST_MAIN(TestStamp)
#include "tst_stamp.moc"
