// The main window: interface scale, start state, opening photos, binding the
// current photo, and the view commands.
#include <QLabel>
#include <QListWidget>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSlider>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QUndoGroup>
#include <QUndoStack>
#include <QtTest>
#include <new>
#include <opencv2/imgproc.hpp>

#include "custombackwidget.h"
#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "threadfromqthread.h"
#include "mypatchmatch.h"
#include "testutil.h"
#include "ui_mainwindow.h"

class TestMainWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    // Gives the canvas a known size, so that fit results are exact. The work
    // page is laid out when the first photo shows it.
    void setCanvas(int w, int h)
    {
        ui->widget_back->setFixedSize(w, h);
    }

    QString photo(const QString &name, int cols, int rows)
    {
        return writeImage(m_dir.path(), name, patternPhoto(cols, rows));
    }

    // A file of these bytes in the test folder.
    QString writeFile(const QString &name, const QByteArray &content)
    {
        const QString path = m_dir.path() + "/" + name;
        QFile f(path);
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            f.write(content);
        return path;
    }

private slots:
    void initTestCase()
    {
        isolateSettings();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        m_w = new MainWindow;
        ui = m_w->form();
        m_w->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_w));
    }

    void cleanup()
    {
        delete m_w;
        m_w = nullptr;
    }

    // ------------------------------------------------------------ scale

    void uiScaleOnSmallAndLargeScreens()
    {
        QCOMPARE(MainWindow::uiScaleFor(96, 96, 1024, 768), 1.0);
        QCOMPARE(MainWindow::uiScaleFor(192, 192, 2560, 1440), 1.5);
        QCOMPARE(MainWindow::uiScaleFor(96, 96, 1920, 1080), 1.0);
        QCOMPARE(MainWindow::uiScaleFor(144, 144, 1920, 1080), 1.25);
        QCOMPARE(MainWindow::uiScaleFor(192, 192, 3840, 2160), 2.0);
        QCOMPARE(MainWindow::uiScaleFor(120, 144, 1920, 1080), 1.25); // the lesser DPI counts
        QCOMPARE(MainWindow::uiScaleFor(192, 192, 800, 600), 1.0);    // never below 1.0
    }

    // ------------------------------------------------------------ start

    void startStateAndWidgetTree()
    {
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
        QCOMPARE(ui->verticalSlider->value(), 30);
        QCOMPARE(ui->verticalSlider->maximum(), 200);
        QCOMPARE(ui->horizontalSlider->value(), 100);
        QCOMPARE(ui->horizontalSlider_2->value(), 100);
        QVERIFY(ui->pushButton_subline->isHidden());
        QCOMPARE(ui->label_display_scale->text(), QString("TextLabel"));
        QCOMPARE(ui->label_stamp_1->text(), QString("Hardness:"));
        QCOMPARE(ui->label_version->text(), QString("Version:1.2.2 x64"));
        QCOMPARE(ui->pushButton_plus->shortcut(), QKeySequence("Ctrl+="));
        QCOMPARE(ui->pushButton_undo->toolTip(), QString("Undo"));
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QCOMPARE(m_w->colorType(), Colour::Mask);
        QCOMPARE(m_w->brushSize(), 30);
        QCOMPARE(m_w->displayScale(), 1.0);
        QCOMPARE(g_language, QString("EN"));
        QVERIFY(m_w->windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(m_w->acceptDrops());
        QVERIFY(!ui->page->acceptDrops());
        QCOMPARE(QWidget::keyboardGrabber(), static_cast<QWidget *>(m_w));
        QCOMPARE(ui->pushButton_his->getUndoGroup(), m_w->undoGroup());
        const char *names[] = {
            "centralWidget", "frame_header", "label_ico", "label_title", "label_version", "pushButton_dropdown",
            "pushButton_min", "pushButton_max", "pushButton_close", "frame_left", "label_5", "label_3",
            "pushButton_penplus", "pushButton_sub", "pushButton_rect", "pushButton_noose", "pushButton_poly",
            "pushButton_stamp", "pushButton_clone", "pushButton_subline", "label", "verticalSlider", "label_2",
            "pushButton_red", "pushButton_green", "frame_3", "label_stamp_1", "horizontalSlider", "label_stamp_2",
            "label_stamp_3", "horizontalSlider_2", "label_stamp_4", "pushButton_stamp_1", "pushButton_stamp_2",
            "stackedWidget", "page", "frame_main", "widget_back", "widget_mid", "widget_front",
            "widget_front_green", "label_display_scale", "horizontalScrollBar", "verticalScrollBar", "pushButton_a",
            "pushButton_plus", "pushButton_sub_2", "pushButton_1_1", "pushButton_maxa", "pushButton_handle",
            "pushButton_undo", "pushButton_redo", "pushButton_his", "pushButton_save", "pushButton_print",
            "pushButton_eraser", "page_2", "frame_stackwidge2", "pushButton_select_photo", "label_selectfile",
            "pushButton_select_folder", "label_selectfolder", "page_3", "frame_fangxiang", "pushButton_fangxiang",
            "frame_right", "listWidget", "pushButton_add", "pushButton_remove", "frame_bianyuan"};
        for (const char *n : names)
            QVERIFY2(m_w->findChild<QWidget *>(QString::fromLatin1(n)), n);
        // The canvas stack is nested in this order.
        QCOMPARE(ui->widget_mid->parentWidget(), static_cast<QWidget *>(ui->widget_back));
        QCOMPARE(ui->widget_front->parentWidget(), static_cast<QWidget *>(ui->widget_mid));
        QCOMPARE(ui->widget_front_green->parentWidget(), static_cast<QWidget *>(ui->widget_front));
    }

    void designSizesFollowTheScale()
    {
        QCOMPARE(g_uiScale, 1.0); // the offscreen screen is small and 96 DPI
        QCOMPARE(m_w->size(), QSize(1256, 740));
        QCOMPARE(ui->pushButton_eraser->size(), QSize(142, 65));
        QCOMPARE(ui->pushButton_select_photo->size(), QSize(110, 110));
        QCOMPARE(ui->pushButton_rect->size(), QSize(32, 32));
        QCOMPARE(ui->pushButton_print->size(), QSize(32, 32));
        QCOMPARE(ui->pushButton_red->size(), QSize(27, 27));
        QCOMPARE(ui->label_stamp_2->size(), QSize(31, 16));
        QCOMPARE(ui->label_stamp_4->size(), QSize(54, 16));
        QCOMPARE(ui->verticalSlider->size(), QSize(32, 87));
        QCOMPARE(ui->frame_header->height(), 48);
        QCOMPARE(ui->frame_left->width(), 81);
        QCOMPARE(ui->frame_right->width(), 248);
        QCOMPARE(ui->listWidget->width(), 220);
        QCOMPARE(ui->listWidget->spacing(), 10);
        QCOMPARE(ui->pushButton_add->size(), QSize(62, 60));
        QCOMPARE(ui->pushButton_remove->size(), QSize(116, 22));
        QCOMPARE(ui->label_display_scale->width(), 90);
        // Everything of the header fits inside the window.
        QVERIFY(ui->pushButton_close->mapTo(m_w, QPoint(19, 0)).x() <= m_w->width());
    }

    // ------------------------------------------------------------ opening

    void openingTheSameFileTwiceGivesTwoRows()
    {
        const QString path = photo("twice.png", 120, 80);
        m_w->openPhoto(path);
        m_w->openPhoto(path);
        QCOMPARE(m_w->photoItems().size(), 2);
        QCOMPARE(ui->listWidget->count(), 2);
        QVERIFY(m_w->photoItems().at(0) != m_w->photoItems().at(1));
        QCOMPARE(ui->listWidget->currentRow(), 1);
        QCOMPARE(m_w->undoGroup()->stacks().size(), 2);
        QCOMPARE(m_w->undoGroup()->activeStack(), m_w->photoItems().at(1)->getUndoStack());
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
        QVERIFY(!ui->verticalSlider->isHidden());
        QVERIFY(!ui->label->isHidden());
        QCOMPARE(m_w->openDir(), m_dir.path());
        QCOMPARE(m_w->saveDir(), m_dir.path());
    }

    void onlyTheNewestPhotoIsBound()
    {
        const QString path = photo("bound.png", 120, 80);
        m_w->openPhoto(path);
        m_w->openPhoto(path);
        PhotoItem *first = m_w->photoItems().at(0);
        PhotoItem *second = m_w->photoItems().at(1);
        QCOMPARE(state(second).pointer.m_tool, Tool::Brush);
        ui->pushButton_rect->click();
        QCOMPARE(state(second).pointer.m_tool, Tool::Rectangle);
        QCOMPARE(state(first).pointer.m_tool, Tool::Brush);
        QCOMPARE(ui->widget_front->tool(), Tool::Rectangle);
        QCOMPARE(ui->widget_front_green->tool(), Tool::Rectangle);
        // Each signal reaches the bound photo exactly once.
        QSignalSpy finished(second, &PhotoItem::sendThreadFinish);
        emit m_w->sendEraseCommand();
        QCOMPARE(finished.count(), 1);
        m_w->unbindPhoto(second);
        m_w->unbindPhoto(second); // a missing connection is no fault
        ui->pushButton_poly->click();
        QCOMPARE(state(second).pointer.m_tool, Tool::Rectangle);
        m_w->bindPhoto(first);
        ui->pushButton_poly->click();
        QCOMPARE(state(first).pointer.m_tool, Tool::Polygon);
    }

    void openingFallsBackToTheBrush()
    {
        ui->pushButton_rect->click();
        QCOMPARE(m_w->toolType(), Tool::Rectangle);
        m_w->openPhoto(photo("brush.png", 60, 40));
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QCOMPARE(m_w->colorType(), Colour::Mask);
        QCOMPARE(state(m_w->photoItems().at(0)).pointer.m_tool, Tool::Brush);
        QCOMPARE(ui->widget_front->tool(), Tool::Brush);
    }

    void failedOpenLeavesTheListAndMovesTheFolders()
    {
        QTemporaryDir other;
        const QString good = photo("good.png", 60, 40);
        m_w->openPhoto(good);
        const QString missing = other.path() + "/missing.png";
        ModalCloser closer;
        closer.arm();
        m_w->openPhoto(missing);
        QCOMPARE(closer.seen, 1);
        QCOMPARE(closer.text, QString("Cannot read file %1").arg(missing));
        QCOMPARE(m_w->photoItems().size(), 1);
        QCOMPARE(ui->listWidget->count(), 1);
        QCOMPARE(m_w->openDir(), other.path());
        QCOMPARE(m_w->saveDir(), other.path());
    }

    void unreadableFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("garbage") << QByteArray("this is not an image at all");
        // A PNG cut inside its header holds no picture at all.
        cv::Mat m = patternPhoto(64, 64);
        std::vector<uchar> png;
        cv::imencode(".png", m, png);
        QTest::newRow("png header only") << QByteArray(reinterpret_cast<const char *>(png.data()), 20);
    }

    void unreadableFilesAreRefused()
    {
        QFETCH(QByteArray, content);
        const QString path = writeFile("bad.png", content);
        ModalCloser closer;
        closer.arm();
        m_w->openPhoto(path);
        QCOMPARE(closer.seen, 1);
        QCOMPARE(closer.text, QString("Cannot read file %1").arg(path));
        QVERIFY(m_w->photoItems().isEmpty());
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
    }

    void damagedFilesOpenWhatCouldBeReadAndSaySo_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::newRow("truncated jpeg") << "jpg";
        QTest::newRow("truncated png") << "png";
    }

    void damagedFilesOpenWhatCouldBeReadAndSaySo()
    {
        QFETCH(QString, suffix);
        // A real photograph, cut after half of its bytes.
        const cv::Mat photograph = cv::imread(realPhoto("chelsea.png").toStdString(), cv::IMREAD_COLOR);
        QVERIFY(!photograph.empty());
        std::vector<uchar> bytes;
        QVERIFY(cv::imencode("." + suffix.toStdString(), photograph, bytes));
        const QString path =
            writeFile("cut." + suffix, QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size() / 2)));

        ModalCloser closer;
        closer.arm();
        m_w->openPhoto(path);
        QTRY_COMPARE(closer.seen, 1);
        QCOMPARE(closer.text, QString("The file %1 is damaged: only part of the photo could be read.").arg(path));
        // Open, at its full size, the rows that were read as in the file.
        QCOMPARE(m_w->photoItems().size(), 1);
        const cv::Mat opened = m_w->photoItems().at(0)->getImage();
        QCOMPARE(opened.size(), photograph.size());
        const cv::Rect top(0, 0, photograph.cols, 40);
        const cv::Mat whole = cv::imdecode(bytes, cv::IMREAD_COLOR);
        QVERIFY(cv::norm(opened(top), whole(top), cv::NORM_INF) <= 0.0);
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
        // Told once: nothing more comes up.
        QTest::qWait(50);
        QCOMPARE(closer.seen, 1);
    }

    void wholeFilesOpenWithoutAWord()
    {
        const cv::Mat photograph = cv::imread(realPhoto("chelsea.png").toStdString(), cv::IMREAD_COLOR);
        const QString path = writeImage(m_dir.path(), "whole.jpg", photograph);
        ModalCloser closer;
        closer.arm();
        m_w->openPhoto(path);
        QTest::qWait(50);
        QCOMPARE(closer.seen, 0);
        // The pixels are those the common reader gives.
        QCOMPARE(cv::norm(m_w->photoItems().at(0)->getImage(), cv::imread(path.toStdString(), cv::IMREAD_COLOR),
                          cv::NORM_INF),
                 0.0);
    }

    void nonAsciiNamesReachTheDecoder()
    {
        const QString path = m_dir.path() + QString::fromUtf8("/caf\u00e9 \u0444\u043e\u0442\u043e \u5199\u771f.png");
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        std::vector<uchar> png;
        cv::imencode(".png", patternPhoto(30, 20), png);
        out.write(reinterpret_cast<const char *>(png.data()), qint64(png.size()));
        out.close();
        m_w->openPhoto(path);
        QCOMPARE(m_w->photoItems().size(), 1);
        QCOMPARE(state(m_w->photoItems().at(0)).m_imageCols, 30);
        QCOMPARE(state(m_w->photoItems().at(0)).output.m_fileName, QFileInfo(path).fileName());
    }

    void sideAboveSixteenBitsIsRefused()
    {
        const QString path = writeImage(m_dir.path(), "wide.png", cv::Mat(1, 65536, CV_8UC3, cv::Scalar(1, 2, 3)));
        ModalCloser closer;
        closer.arm();
        m_w->openPhoto(path);
        QCOMPARE(closer.seen, 1);
        QCOMPARE(closer.text, QString("Cannot read file %1").arg(path));
        QVERIFY(m_w->photoItems().isEmpty());
        const QString edge = writeImage(m_dir.path(), "edge.png", cv::Mat(1, 65535, CV_8UC3, cv::Scalar(1, 2, 3)));
        m_w->openPhoto(edge);
        QCOMPARE(m_w->photoItems().size(), 1);
    }

    // ------------------------------------------------------------ erase outcomes

    void eraseWithNothingToFillFromIsRefusedInABox()
    {
        m_w->openPhoto(photo("all.png", 64, 48));
        PhotoItem *item = m_w->photoItems().at(0);
        state(item).selection.m_inpaintMask.setTo(cv::Scalar(0, 0, 255, 128));
        item->extendWorkBox(QPointF(0, 0));
        item->extendWorkBox(QPointF(63, 47));
        const cv::Mat before = item->getImage().clone();
        const cv::Mat red = state(item).selection.m_inpaintMask.clone();
        ModalCloser closer;
        closer.arm();
        ui->pushButton_eraser->click();
        QTRY_COMPARE(closer.seen, 1);
        QCOMPARE(closer.text, QString("Cannot erase the selection: nothing around the selection to fill from: "
                                      "the mask covers the whole photo."));
        QVERIFY(!state(item).job.m_jobActive);
        QCOMPARE(cv::norm(item->getImage(), before, cv::NORM_INF), 0.0);
        QCOMPARE(cv::norm(state(item).selection.m_inpaintMask, red, cv::NORM_INF), 0.0);
        QCOMPARE(item->getUndoStack()->count(), 0);
        QVERIFY(ui->pushButton_eraser->isEnabled());
    }

    void tooSmallAPhotoIsRefusedInABox()
    {
        m_w->openPhoto(photo("thin.png", 300, 6));
        PhotoItem *item = m_w->photoItems().at(0);
        state(item).selection.m_inpaintMask(cv::Rect(100, 2, 10, 2)).setTo(cv::Scalar(0, 0, 255, 128));
        item->extendWorkBox(QPointF(100, 2));
        item->extendWorkBox(QPointF(109, 3));
        const cv::Mat before = item->getImage().clone();
        ModalCloser closer;
        closer.arm();
        ui->pushButton_eraser->click();
        QTRY_COMPARE(closer.seen, 1);
        QVERIFY2(closer.text.startsWith("Cannot erase the selection: the photo is too small to erase from: 300 x 6"),
                 qPrintable(closer.text));
        QCOMPARE(cv::norm(item->getImage(), before, cv::NORM_INF), 0.0);
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void failedJobIsShownAndThePhotoStays()
    {
        m_w->openPhoto(photo("fail.png", 160, 120));
        PhotoItem *item = m_w->photoItems().at(0);
        cv::rectangle(state(item).selection.m_inpaintMask, cv::Rect(70, 50, 12, 10), cv::Scalar(0, 0, 255, 128), cv::FILLED);
        item->extendWorkBox(QPointF(70, 50));
        item->extendWorkBox(QPointF(81, 59));
        const cv::Mat before = item->getImage().clone();
        // A receiver of the engine's progress that throws, connected
        // directly, fails the job on the worker as running out of memory would.
        connect(&state(item).job.m_workerThread->m_patchMatch, &MyPatchMatch::sendWorkProcess, state(item).job.m_workerThread,
                [](long) { throw std::bad_alloc(); }, Qt::DirectConnection);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        ModalCloser closer;
        closer.arm();
        ui->pushButton_eraser->click();
        QVERIFY(finished.count() == 1 || finished.wait(60000));
        QCOMPARE(closer.seen, 1);
        QCOMPARE(closer.text, QString("The job failed: out of memory. The photo is as it was."));
        QCOMPARE(cv::norm(item->getImage(), before, cv::NORM_INF), 0.0);
        QCOMPARE(item->getUndoStack()->count(), 0);
        QVERIFY(ui->pushButton_eraser->isEnabled());
    }

    // ------------------------------------------------------------ view

    void fitSetsScaleLabelAndSlider()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("fit.png", 400, 300));
        QCOMPARE(ui->widget_front->size(), QSize(200, 150));
        QCOMPARE(ui->widget_front_green->size(), QSize(200, 150));
        QCOMPARE(m_w->displayScale(), 0.5);
        QCOMPARE(ui->label_display_scale->text(), QString("50.00% 400*300"));
        QCOMPARE(ui->verticalSlider->maximum(), 127);
        QCOMPARE(ui->widget_mid->scale(), 0.5);
        QCOMPARE(ui->widget_back->scale(), 0.5);
        QCOMPARE(state(m_w->photoItems().at(0)).pointer.m_scale, 0.5);
        QCOMPARE(ui->horizontalScrollBar->maximum(), 0);
        QCOMPARE(ui->verticalScrollBar->value(), 0);
        // The photo is on the canvases.
        QCOMPARE(ui->widget_mid->pixmap().size(), QSize(400, 300));
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(m_w->photoItems().at(0)).selection.m_inpaintMask.data);
    }

    void fitFollowsTheCanvasWhenItSettlesLate()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("late.png", 400, 300));
        QCOMPARE(m_w->displayScale(), 0.5);
        // The canvas loses a pixel after the fit (the layout settling late):
        // the photo is fitted again, never left a pixel too big.
        setCanvas(199, 150);
        QTRY_COMPARE(ui->widget_front->width(), 199);
        QCOMPARE(m_w->displayScale(), 199.0 / 400.0);
        QVERIFY(m_w->displayScale() * 300 <= 150);
        QVERIFY(ui->horizontalScrollBar->maximum() <= 0);
        QVERIFY(ui->verticalScrollBar->maximum() <= 0);
        QCOMPARE(ui->horizontalScrollBar->value(), 0);
        // After a zoom the view is the user's: a resize keeps the zoom.
        m_w->recv100();
        setCanvas(180, 150);
        QTRY_COMPARE(ui->widget_front->width(), 180);
        QCOMPARE(m_w->displayScale(), 1.0);
    }

    void fitEnlargesASmallPhoto()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("small.png", 20, 10));
        QCOMPARE(m_w->displayScale(), 10.0);
        QCOMPARE(ui->label_display_scale->text(), QString("1000.00% 20*10"));
    }

    void zoomFromARung()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("rung.png", 400, 300));
        m_w->recv100();
        QCOMPARE(m_w->displayScale(), 1.0);
        m_w->recvzoomout();
        QCOMPARE(m_w->displayScale(), 0.667);
        m_w->recvzoomin();
        QCOMPARE(m_w->displayScale(), 1.0);
        m_w->recvzoomout();
        m_w->recvzoomout();
        QCOMPARE(m_w->displayScale(), 0.5);
        QCOMPARE(ui->label_display_scale->text(), QString("50.00% 400*300"));
    }

    void zoomBetweenRungsIsAsymmetric()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("between.png", 500, 375)); // fit gives 0.4
        QCOMPARE(m_w->displayScale(), 0.4);
        m_w->recvzoomin();
        QCOMPARE(m_w->displayScale(), 0.5);
        m_w->recvFit();
        QCOMPARE(m_w->displayScale(), 0.4);
        m_w->recvzoomout();
        QCOMPARE(m_w->displayScale(), 0.25);
    }

    void zoomStopsAtTheLadderEnds()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("ends.png", 400, 300));
        m_w->recv200();
        QCOMPARE(m_w->displayScale(), 2.0);
        m_w->recvzoomin();
        m_w->recvzoomin();
        QCOMPARE(m_w->displayScale(), 4.0);
        ui->horizontalScrollBar->setValue(0);
        ui->verticalScrollBar->setValue(0);
        m_w->recvzoomin();
        QCOMPARE(m_w->displayScale(), 4.0);
        // The tail ran all the same: the bars re-centred.
        QCOMPARE(ui->horizontalScrollBar->maximum(), 4 * 400 - 200);
        QCOMPARE(ui->horizontalScrollBar->value(), (4 * 400 - 200) / 2);
        QCOMPARE(ui->verticalScrollBar->value(), (4 * 300 - 150) / 2);
        QCOMPARE(ui->widget_mid->scrollX(), (4 * 400 - 200) / 2);
        for (int i = 0; i < 20; ++i)
            m_w->recvzoomout();
        QCOMPARE(m_w->displayScale(), 0.01);
        m_w->recvzoomout();
        QCOMPARE(m_w->displayScale(), 0.01);
    }

    void zoomWithoutPhotoDoesNothing()
    {
        m_w->recvzoomin();
        m_w->recv200();
        m_w->recvFit();
        m_w->on_pushButton_maxa_clicked();
        QCOMPARE(m_w->displayScale(), 1.0);
        QCOMPARE(ui->label_display_scale->text(), QString("TextLabel"));
    }

    void moveByATenthOfTheTravel()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("move.png", 400, 300));
        m_w->recv100();
        QCOMPARE(ui->horizontalScrollBar->value(), 100);
        QCOMPARE(ui->verticalScrollBar->value(), 75);
        m_w->recvWidgetMove(9, -9);
        QCOMPARE(ui->horizontalScrollBar->value(), 100);
        QCOMPARE(ui->verticalScrollBar->value(), 75);
        m_w->recvWidgetMove(25, -25);
        QCOMPARE(ui->horizontalScrollBar->value(), 98);
        QCOMPARE(ui->verticalScrollBar->value(), 77);
        m_w->recvWidgetMove(-100000, 100000);
        QCOMPARE(ui->horizontalScrollBar->value(), 200);
        QCOMPARE(ui->verticalScrollBar->value(), 0);
        QCOMPARE(ui->widget_front->scrollX(), 200);
        QCOMPARE(ui->widget_front_green->scrollY(), 0);
    }

    void moveToolDragScrollsTheView()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("drag.png", 400, 300));
        m_w->recv100();
        m_w->on_pushButton_handle_clicked();
        QCOMPARE(m_w->toolType(), Tool::MoveView);
        CustomWidget *top = ui->widget_front_green;
        QTest::mousePress(top, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QMouseEvent drag(QEvent::MouseMove, QPointF(150, 100), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(top, &drag);
        QCOMPARE(ui->horizontalScrollBar->value(), 95);
    }

    void wheelDoesNotZoom()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("wheel.png", 400, 300));
        m_w->recv100();
        QWheelEvent wheel(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(ui->widget_front_green, &wheel);
        QCOMPARE(m_w->displayScale(), 1.0);
        QCOMPARE(ui->verticalScrollBar->value(), 75 + 12);
    }

    void sliderFollowsTheZoom()
    {
        setCanvas(100, 75);
        ui->verticalSlider->setValue(200);
        QCOMPARE(m_w->brushSize(), 200);
        m_w->openPhoto(photo("tenth.png", 1000, 750));
        QCOMPARE(m_w->displayScale(), 0.1);
        QCOMPARE(ui->verticalSlider->maximum(), 25);
        QCOMPARE(m_w->brushSize(), 25);
        QCOMPARE(ui->label->text(), QString("25"));
        QCOMPARE(state(m_w->photoItems().at(0)).pointer.m_brushSize, 25);
    }

    void canvasContextMenuReachesTheWindow()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("menu.png", 400, 300));
        ui->widget_front_green->openUrl_100();
        QCOMPARE(m_w->displayScale(), 1.0);
        ui->widget_front->openUrl_200();
        QCOMPARE(m_w->displayScale(), 2.0);
        ui->widget_front_green->openUrl_zoomout();
        QCOMPARE(m_w->displayScale(), 1.0);
        ui->widget_front_green->openUrl_fit();
        QCOMPARE(m_w->displayScale(), 0.5);
    }

    void beforeAndAfter()
    {
        setCanvas(200, 150);
        const QString path = photo("ba.png", 400, 300);
        m_w->openPhoto(path);
        QTest::mousePress(ui->pushButton_a, Qt::LeftButton);
        QVERIFY(ui->widget_front->isHidden());
        QVERIFY(ui->widget_front_green->isHidden());
        QCOMPARE(ui->widget_mid->overlayImage().size(), QSize(400, 300)); // the file on disk
        QTest::mouseRelease(ui->pushButton_a, Qt::LeftButton);
        QVERIFY(!ui->widget_front->isHidden());
        QVERIFY(ui->widget_front_green->isHidden());
        QVERIFY(ui->widget_mid->overlayImage().isNull());
        QCOMPARE(ui->widget_mid->pixmap().size(), QSize(400, 300));
    }

    void foldingThePanelKeepsTheLabel()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("fold.png", 400, 300));
        const QString label = ui->label_display_scale->text();
        const double scale = m_w->displayScale();
        ui->pushButton_fangxiang->click();
        QVERIFY(ui->frame_right->isHidden());
        QVERIFY(!m_w->rightPanelOpen());
        QCOMPARE(ui->label_display_scale->text(), label);
        QCOMPARE(m_w->displayScale(), scale);
        ui->pushButton_fangxiang->click();
        QVERIFY(!ui->frame_right->isHidden());
        QVERIFY(m_w->rightPanelOpen());
    }

    void scrollBarsDriveTheCanvases()
    {
        setCanvas(200, 150);
        m_w->openPhoto(photo("bars.png", 400, 300));
        m_w->recv100();
        ui->horizontalScrollBar->setValue(33);
        ui->verticalScrollBar->setValue(44);
        for (CustomWidget *c : {ui->widget_mid, ui->widget_front, ui->widget_front_green}) {
            QCOMPARE(c->scrollX(), 33);
            QCOMPARE(c->scrollY(), 44);
        }
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
