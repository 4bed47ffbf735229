// The photo document: loading, layers and their encoding, the conversions to
// toolkit images, the list row and its delete button.
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>
#include <memory>

#include "custombackwidget.h"
#include "customitem.h"
#include "customwidget.h"
#include "globals.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "photohost.h"
#include "testutil.h"
#include "ui_customitem.h"

class TestDocument : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<PhotoHost> m_host; // built by initTestCase

    PhotoItem *load(const QString &path)
    {
        return m_host->load(path);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_host = std::make_unique<PhotoHost>();
    }

    void colourPhotoLoadsWithItsLayers()
    {
        const QString path = writeImage(m_dir.path(), "colour.png", patternPhoto(390, 200));
        PhotoItem *item = load(path);
        // An untouched photo holds its pixels alone; the canvas's selection
        // layers wrap nothing yet but map the pointer over the photo.
        QVERIFY(!item->holdsLayers());
        QVERIFY(m_host->front->overlayImage().isNull());
        QVERIFY(m_host->green->overlayImage().isNull());
        QCOMPARE(m_host->front->scaledWidth(), 390);
        QCOMPARE(m_host->front->scaledHeight(), 200);
        QPointF mapped;
        QVERIFY(m_host->front->mapToImage(QPointF(5, 5), &mapped));
        QCOMPARE(mapped, QPointF(5 - m_host->front->offsetLeft(), 5 - m_host->front->offsetTop()));
        QCOMPARE(state(item).m_image.type(), CV_8UC3);
        QCOMPARE(state(item).m_imageCols, 390);
        QCOMPARE(state(item).m_imageRows, 200);
        QCOMPARE(state(item).output.m_fileName, QString("colour.png"));
        QCOMPARE(state(item).output.m_folderPath, QFileInfo(path).absolutePath());
        // Made on demand (here by the tests' door), zero and at its size.
        for (const cv::Mat *layer : {&state(item).selection.m_strokeBaseGreen, &state(item).selection.m_strokeBaseRed, &state(item).selection.m_inpaintMask,
                                     &state(item).selection.m_inpaintMaskBK}) {
            QCOMPARE(layer->type(), CV_8UC4);
            QCOMPARE(layer->cols, 390);
            QCOMPARE(layer->rows, 200);
            QCOMPARE(cv::countNonZero(layer->reshape(1)), 0);
        }
        // The smart clone's buffers are made with its piece, at its size.
        QVERIFY(state(item).clone.m_cloneSource.empty());
        QVERIFY(state(item).clone.m_cloneMask.empty());
        QVERIFY(state(item).clone.m_cloneMaskScaled.empty());
        // Defaults after construction.
        QCOMPARE(state(item).selection.m_strokeMinX, 390.0);
        QCOMPARE(state(item).selection.m_strokeMinY, 200.0);
        QCOMPARE(state(item).selection.m_strokeMaxX, -1.0);
        QCOMPARE(state(item).regions.m_workMaxX, -1.0);
        QCOMPARE(state(item).pointer.m_tool, Tool::Brush);
        QCOMPARE(state(item).pointer.m_colorType, Colour::Mask);
        QCOMPARE(state(item).pointer.m_brushSize, 30);
        QCOMPARE(int(state(item).output.m_saved), 1);
        QCOMPARE(int(state(item).stamp.m_stampSourceMissing), 1);
        QCOMPARE(int(state(item).job.m_firstProgress), 1);
        QCOMPARE(state(item).pointer.m_pressPos, QPointF(-1, -1));
        QCOMPARE(state(item).selection.m_lastVertex, QPointF(-1, -1));
        QCOMPARE(state(item).pointer.m_scale, 1.0);
        QCOMPARE(item->getUndoStack()->count(), 0);
        // The canvases show the photo and wrap the layers.
        QCOMPARE(m_host->mid->pixmap().size(), QSize(390, 200));
        QCOMPARE(m_host->front->overlayImage().constBits(), state(item).selection.m_inpaintMask.data);
        QCOMPARE(m_host->green->overlayImage().constBits(), state(item).selection.m_inpaintMaskBK.data);
        // Row of the list: thumbnail 195 wide, h = 200 / (390 / 195) = 100.
        QCOMPARE(m_host->list->count(), 1);
        QCOMPARE(m_host->list->item(0), state(item).m_listItem);
        QCOMPARE(state(item).m_listItem->sizeHint(), QSize(0, 127));
        auto *row = qobject_cast<CustomItem *>(m_host->list->itemWidget(state(item).m_listItem));
        QVERIFY(row);
        QCOMPARE(row->form()->label_name->text(), QString("colour.png"));
        QCOMPARE(row->form()->label_img->pixmap(Qt::ReturnByValue).size(), QSize(195, 100));
        delete state(item).m_listItem;
        delete item;
    }

    // The window decodes a file once, to test it, and hands the pixels on:
    // the photo takes them as they are and does not read the file again.
    void photoGivenItsPixelsTakesThemWithoutReadingTheFile()
    {
        const cv::Mat pixels = patternPhoto(64, 48);
        const QString path = m_dir.path() + "/not-on-disk.png";
        QVERIFY(!QFile::exists(path));
        auto *item = new PhotoItem(m_host->back, m_host->mid, m_host->front, m_host->green, path, pixels, m_host->list);
        QCOMPARE(stateAsIs(item).m_image.data, pixels.data);
        QCOMPARE(item->imageCols(), 64);
        QCOMPARE(item->imageRows(), 48);
        QCOMPARE(item->fileName(), QString("not-on-disk.png"));
        QVERIFY(!item->holdsLayers());
        QCOMPARE(m_host->mid->pixmap().size(), QSize(64, 48));
        delete stateAsIs(item).m_listItem;
        delete item;
    }

    void greyscaleSixteenBitAndAlphaLoadAsEightBitBgr()
    {
        cv::Mat grey(30, 40, CV_8UC1, cv::Scalar(77));
        cv::Mat deep(30, 40, CV_16UC3, cv::Scalar(1000, 30000, 65535));
        cv::Mat rgba(30, 40, CV_8UC4, cv::Scalar(10, 20, 30, 0));
        const QString paths[] = {writeImage(m_dir.path(), "grey.png", grey),
                                 writeImage(m_dir.path(), "deep.png", deep),
                                 writeImage(m_dir.path(), "rgba.png", rgba)};
        for (const QString &p : paths) {
            PhotoItem *item = load(p);
            QCOMPARE(state(item).m_image.type(), CV_8UC3);
            QCOMPARE(state(item).m_image.cols, 40);
            QCOMPARE(state(item).m_image.rows, 30);
            QCOMPARE(state(item).selection.m_inpaintMask.size(), state(item).m_image.size());
            delete state(item).m_listItem;
            delete item;
        }
        PhotoItem *g = load(paths[0]);
        QCOMPARE(state(g).m_image.at<cv::Vec3b>(5, 5), cv::Vec3b(77, 77, 77));
        delete state(g).m_listItem;
        delete g;
        PhotoItem *a = load(paths[2]);
        QCOMPARE(state(a).m_image.at<cv::Vec3b>(5, 5), cv::Vec3b(10, 20, 30)); // alpha dropped, not blended
        delete state(a).m_listItem;
        delete a;
    }

    void onePixelWidePhotoLoads()
    {
        const QString path = writeImage(m_dir.path(), "thin.png", patternPhoto(1, 50));
        PhotoItem *item = load(path);
        QCOMPARE(state(item).m_imageCols, 1);
        QCOMPARE(state(item).selection.m_inpaintMask.cols, 1);
        delete state(item).m_listItem;
        delete item;
    }

    void fourChannelConversionWrapsWithoutCopy()
    {
        cv::Mat layer(10, 12, CV_8UC4, cv::Scalar(0, 0, 255, 128));
        const QImage img = matToQImage(layer);
        QCOMPARE(img.format(), QImage::Format_ARGB32);
        QCOMPARE(img.constBits(), layer.data);
        QCOMPARE(img.bytesPerLine(), int(layer.step));
        QCOMPARE(qRed(img.pixel(3, 3)), 255);
        QCOMPARE(qAlpha(img.pixel(3, 3)), 128);
    }

    void threeChannelConversionSwapsToRgb()
    {
        cv::Mat bgr(4, 5, CV_8UC3, cv::Scalar(10, 20, 30));
        const QImage img = matToQImage(bgr);
        QCOMPARE(img.format(), QImage::Format_RGB888);
        QCOMPARE(QColor(img.pixel(1, 1)), QColor(30, 20, 10));
        QVERIFY(img.constBits() != bgr.data);
        const QPixmap pm = matToQPixmap(bgr);
        QCOMPARE(pm.size(), QSize(5, 4));
        cv::Mat grey(4, 5, CV_8UC1, cv::Scalar(9));
        QCOMPARE(matToQImage(grey).format(), QImage::Format_Indexed8);
        QVERIFY(matToQImage(cv::Mat()).isNull());
    }

    void clearsWorkInPlace()
    {
        const QString path = writeImage(m_dir.path(), "clear.png", patternPhoto(20, 10));
        PhotoItem *item = load(path);
        state(item).selection.m_inpaintMask.setTo(cv::Scalar(0, 0, 255, 128));
        state(item).selection.m_inpaintMaskBK.setTo(cv::Scalar(0, 255, 0, 128));
        state(item).selection.m_strokeBaseRed.setTo(cv::Scalar(0, 0, 255, 0));
        const uchar *before = state(item).selection.m_inpaintMask.data;
        item->clearInpaintMask();
        item->clearInpaintMaskBK();
        item->clearStrokeBaseRed();
        item->clearCloneSource();
        item->clearCloneMask();
        item->clearCloneMaskScaled();
        QCOMPARE(state(item).selection.m_inpaintMask.data, before);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMask.reshape(1)), 0);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)), 0);
        QCOMPARE(cv::countNonZero(state(item).selection.m_strokeBaseRed.reshape(1)), 0);
        item->setScale(0.25);
        QCOMPARE(state(item).pointer.m_scale, 0.25);
        QCOMPARE(item->getImage().data, state(item).m_image.data);
        delete state(item).m_listItem;
        delete item;
    }

    // The document tells its new thumbnail by a signal; the row the window
    // gave it shows it, and a photo without a row just tells.
    void thumbnailIsToldAndTheRowFollows()
    {
        m_host->list->clear();
        const QString path = writeImage(m_dir.path(), "thumb.png", patternPhoto(60, 40));
        PhotoItem *item = load(path);
        auto *row = qobject_cast<CustomItem *>(m_host->list->itemWidget(item->listItem()));
        QVERIFY(row);
        QSignalSpy told(item, &PhotoItem::thumbnailChanged);
        state(item).m_image.setTo(cv::Scalar(0, 0, 255));
        item->refreshThumbnail();
        QCOMPARE(told.count(), 1);
        const QPixmap thumbnail = told.at(0).at(0).value<QPixmap>();
        QCOMPARE(thumbnail.size(), QSize(195, 130));
        const QImage shown = row->form()->label_img->pixmap(Qt::ReturnByValue).toImage();
        QCOMPARE(shown.size(), QSize(195, 130));
        QCOMPARE(QColor(shown.pixel(97, 65)), QColor(255, 0, 0));
        QCOMPARE(row->form()->label_name->text(), QString("thumb.png"));
        // While a job runs the pixels are the engine's: no thumbnail.
        state(item).job.m_jobActive = true;
        item->refreshThumbnail();
        QCOMPARE(told.count(), 1);
        state(item).job.m_jobActive = false;
        delete item;
        m_host->list->clear();
    }

    void rowDeleteMakesTheRowCurrentBeforeAsking()
    {
        m_host->list->clear();
        const QString path = writeImage(m_dir.path(), "row.png", patternPhoto(60, 40));
        PhotoItem *first = load(path);
        PhotoItem *second = load(path);
        m_host->list->setCurrentRow(1);
        int rowAtSignal = -1;
        connect(first, &PhotoItem::sendDeleteItem, this, [&] { rowAtSignal = m_host->list->currentRow(); });
        // Through the row's own delete button, as the user does it.
        qobject_cast<CustomItem *>(m_host->list->itemWidget(first->listItem()))->form()->pushButton->click();
        QCOMPARE(rowAtSignal, 0);
        delete first;
        delete second;
        m_host->list->clear();
    }

    void rowButtonShowsOnHoverOnly()
    {
        CustomItem row;
        row.resize(196, 224);
        row.layoutRow(195, 100);
        QVERIFY(row.form()->pushButton->isHidden());
        QVERIFY(row.form()->label_aa->isHidden());
        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(&row, &enter);
        QVERIFY(!row.form()->pushButton->isHidden());
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&row, &leave);
        QVERIFY(row.form()->pushButton->isHidden());
        QTest::mousePress(&row, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QVERIFY(!row.form()->pushButton->isHidden());
        QCOMPARE(row.form()->pushButton->geometry(), QRect(196 - 20, 1, 19, 19));
        QCOMPARE(row.form()->label_name->geometry(), QRect(1, 101, 195, 26));
        QCOMPARE(row.objectName(), QString("CustomItem"));
    }
};

QTEST_MAIN(TestDocument)
#include "tst_document.moc"
