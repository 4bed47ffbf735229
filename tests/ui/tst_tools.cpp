// The tool panel and the brush cursors, driven through the real window.
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QSignalSpy>
#include <QSlider>
#include <QTemporaryDir>
#include <QUndoGroup>
#include <QUndoStack>
#include <QtTest>

#include "commands.h"
#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "jobdialog.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "testutil.h"
#include "ui_mainwindow.h"

class TestTools : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    PhotoItem *openPhoto(int cols = 200, int rows = 150)
    {
        ui->widget_back->setFixedSize(200, 150);
        m_w->openPhoto(writeImage(m_dir.path(), QString("p%1x%2.png").arg(cols).arg(rows), patternPhoto(cols, rows)));
        return m_w->photoItems().last();
    }

    CustomWidget *topCanvas() const
    {
        return ui->widget_front_green->isVisible() ? ui->widget_front_green : ui->widget_front;
    }

    void drag(QPoint from, QPoint to)
    {
        CustomWidget *c = topCanvas();
        QTest::mousePress(c, Qt::LeftButton, Qt::NoModifier, from);
        QMouseEvent move(QEvent::MouseMove, QPointF(to), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(c, &move);
        QTest::mouseRelease(c, Qt::LeftButton, Qt::NoModifier, to);
    }

    static bool looksSelected(QWidget *b) { return b->property("selectedLook").toBool(); }

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
    }

    void cleanup()
    {
        delete m_w;
        m_w = nullptr;
    }

    // ------------------------------------------------------------ buttons

    void toolCodesAndWhatEachShows()
    {
        PhotoItem *item = openPhoto();
        struct Case { QPushButton *button; int code; bool size; bool colours; };
        const Case cases[] = {
            {ui->pushButton_rect, 1, false, true},    {ui->pushButton_noose, 2, false, true},
            {ui->pushButton_poly, 3, false, true},    {ui->pushButton_penplus, 4, true, true},
            {ui->pushButton_sub, 5, true, true},      {ui->pushButton_stamp, 8, true, false},
            {ui->pushButton_handle, 9, false, true},  {ui->pushButton_clone, 12, false, false},
        };
        for (const Case &c : cases) {
            c.button->click();
            QCOMPARE(toolCode(m_w->toolType()), c.code);
            QCOMPARE(toolCode(state(item).pointer.m_tool), c.code);
            QCOMPARE(toolCode(ui->widget_front->tool()), c.code);
            QVERIFY(looksSelected(c.button));
            QCOMPARE(!ui->verticalSlider->isHidden(), c.size);
            QCOMPARE(!ui->label->isHidden(), c.size);
            QCOMPARE(!ui->pushButton_red->isHidden(), c.colours);
            QCOMPARE(!ui->pushButton_green->isHidden(), c.colours);
            QCOMPARE(!ui->horizontalSlider->isHidden(), c.code == 8);
            QCOMPARE(!ui->pushButton_stamp_1->isHidden(), c.code == 8);
            for (const Case &other : cases)
                if (other.button != c.button)
                    QVERIFY(!looksSelected(other.button));
        }
        // The guide-line button is the clone tool without a selected look.
        m_w->on_pushButton_subline_clicked();
        QCOMPARE(m_w->toolType(), Tool::SmartClone);
        QVERIFY(!looksSelected(ui->pushButton_subline));
        QVERIFY(!looksSelected(ui->pushButton_clone));
        QVERIFY(ui->pushButton_red->isHidden());
        QCOMPARE(ui->pushButton_rect->toolTip(), QString("Rectangle"));
        QCOMPARE(ui->pushButton_stamp_2->toolTip(), QString("Polygon Marquee Tool"));
    }

    void moveToolWithoutPhotoChangesNothing()
    {
        const QString style = ui->pushButton_handle->styleSheet();
        const QString penStyle = ui->pushButton_penplus->styleSheet();
        QSignalSpy spy(m_w, &MainWindow::sendSelectType);
        ui->pushButton_handle->click();
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QCOMPARE(spy.count(), 0);
        QCOMPARE(ui->pushButton_handle->styleSheet(), style);
        QCOMPARE(ui->pushButton_penplus->styleSheet(), penStyle);
        // The other tools work on the welcome page too.
        ui->pushButton_rect->click();
        QCOMPARE(m_w->toolType(), Tool::Rectangle);
    }

    void bracketAtTwoHundredAtActualSize()
    {
        openPhoto(400, 300);
        m_w->recv100();
        QCOMPARE(ui->verticalSlider->maximum(), 255);
        ui->verticalSlider->setValue(200);
        QSignalSpy spy(m_w, &MainWindow::sendSelectType);
        QTest::keyClick(m_w, Qt::Key_BracketRight);
        QCOMPARE(ui->verticalSlider->value(), 205);
        QCOMPARE(ui->label->text(), QString("205"));
        QCOMPARE(m_w->brushSize(), 205);
        QCOMPARE(spy.last().at(1).toInt(), 205);
        QTest::keyClick(m_w, Qt::Key_BracketLeft);
        QCOMPARE(m_w->brushSize(), 200);
    }

    void bracketBelowZeroIsClamped()
    {
        ui->verticalSlider->setValue(3);
        QTest::keyClick(m_w, Qt::Key_BracketLeft); // works with no photo too
        QCOMPARE(ui->verticalSlider->value(), 0);
        QCOMPARE(m_w->brushSize(), 0);
    }

    void zoomingOutClampsTheBrush()
    {
        openPhoto(400, 300);
        m_w->recv100();
        ui->verticalSlider->setValue(100);
        QSignalSpy spy(m_w, &MainWindow::sendSelectType);
        for (int i = 0; i < 4; ++i)
            m_w->recvzoomout();
        QCOMPARE(m_w->displayScale(), 0.25);
        QCOMPARE(ui->verticalSlider->maximum(), 63);
        QCOMPARE(ui->verticalSlider->value(), 63);
        QVERIFY(spy.count() >= 1);
        QCOMPARE(spy.last().at(1).toInt(), 63);
        QCOMPARE(state(m_w->photoItems().last()).pointer.m_brushSize, 63);
    }

    void stampToolWipesTheSelectionWithoutUndo()
    {
        PhotoItem *item = openPhoto();
        drag(QPoint(20, 20), QPoint(80, 60));
        QVERIFY(cv::countNonZero(state(item).selection.m_inpaintMask.reshape(1)) > 0);
        ui->pushButton_green->click();
        drag(QPoint(120, 20), QPoint(160, 60));
        QVERIFY(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)) > 0);
        const int entries = item->getUndoStack()->count();
        QCOMPARE(entries, 2);
        state(item).selection.m_polyCount = 2;
        ui->pushButton_stamp->click();
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMask.reshape(1)), 0);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)), 0);
        QCOMPARE(state(item).selection.m_polyCount, 0);
        QCOMPARE(item->getUndoStack()->count(), entries);
        QCOMPARE(ui->widget_front->overlayImage().constBits(), state(item).selection.m_inpaintMask.data);
    }

    void stampSubModesStayLitUntilARegionIsFinished()
    {
        PhotoItem *item = openPhoto();
        ui->pushButton_stamp->click();
        ui->pushButton_stamp_1->click();
        QCOMPARE(m_w->toolType(), Tool::StampRegionLasso);
        ui->pushButton_stamp_2->click();
        QCOMPARE(m_w->toolType(), Tool::StampRegionPolygon);
        QCOMPARE(state(item).pointer.m_tool, Tool::StampRegionPolygon);
        QVERIFY(looksSelected(ui->pushButton_stamp_1));
        QVERIFY(looksSelected(ui->pushButton_stamp_2));
        ui->pushButton_rect->click(); // a reset keeps their look
        QVERIFY(looksSelected(ui->pushButton_stamp_1));
        ui->pushButton_stamp->click();
        ui->pushButton_stamp_1->click();
        // A lasso region finished on the canvas hands back to the stamp.
        CustomWidget *c = topCanvas();
        QTest::mousePress(c, Qt::LeftButton, Qt::NoModifier, QPoint(20, 20));
        for (QPoint p : {QPoint(100, 20), QPoint(100, 100), QPoint(20, 100)}) {
            QMouseEvent move(QEvent::MouseMove, QPointF(p), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(c, &move);
        }
        QTest::mouseRelease(c, Qt::LeftButton, Qt::NoModifier, QPoint(20, 100));
        QCOMPARE(m_w->toolType(), Tool::Stamp);
        QCOMPARE(state(item).pointer.m_tool, Tool::Stamp);
        QCOMPARE(int(state(item).stamp.m_stampRegionActive), 1);
        QVERIFY(!looksSelected(ui->pushButton_stamp_1));
        QVERIFY(!looksSelected(ui->pushButton_stamp_2));
        QVERIFY(looksSelected(ui->pushButton_stamp));
        QVERIFY(!ui->horizontalSlider->isHidden());
        QVERIFY(!ui->pushButton_red->isHidden()); // left shown here
        QCOMPARE(item->getUndoStack()->count(), 0);
    }

    void stampSubModesNeedAPhoto()
    {
        ui->pushButton_stamp->click();
        ui->pushButton_stamp_1->click();
        QCOMPARE(m_w->toolType(), Tool::Stamp);
        QVERIFY(!looksSelected(ui->pushButton_stamp_1));
    }

    void colourButtonsSendTypeBeforeLayer()
    {
        PhotoItem *item = openPhoto();
        QStringList order;
        connect(m_w, &MainWindow::sendSelectType, this, [&](int, int, int c) { order << QString("type%1").arg(c); });
        connect(m_w, &MainWindow::getGreenRoi, this, [&] { order << "green"; });
        connect(m_w, &MainWindow::getRedRoi, this, [&] { order << "red"; });
        ui->pushButton_green->click();
        QCOMPARE(m_w->colorType(), Colour::Donor);
        QCOMPARE(state(item).pointer.m_colorType, Colour::Donor);
        QVERIFY(looksSelected(ui->pushButton_green));
        QVERIFY(!looksSelected(ui->pushButton_red));
        QVERIFY(ui->widget_front_green->isVisible());
        ui->pushButton_red->click();
        QCOMPARE(m_w->colorType(), Colour::Mask);
        QVERIFY(ui->widget_front_green->isHidden());
        QVERIFY(ui->widget_front->isVisible());
        QCOMPARE(order, QStringList({"type1", "green", "type0", "red"}));
    }

    void eraserStoresTheDialogPlace()
    {
        openPhoto();
        JobDialog *jobs = JobDialog::of(m_w->currentItem());
        QVERIFY(jobs);
        jobs->setPlace(QPoint(-1, -1));
        QSignalSpy spy(m_w, &MainWindow::sendEraseCommand);
        ui->pushButton_eraser->click();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(jobs->place(), ui->pushButton_select_photo->mapToGlobal(QPoint(0, 0)));
        ui->pushButton_eraser->setEnabled(false);
        m_w->RecvThreadFinish();
        QVERIFY(ui->pushButton_eraser->isEnabled());
    }

    void stampSlidersNeedAPhoto()
    {
        ui->horizontalSlider->setValue(40);
        QCOMPARE(ui->label_stamp_2->text(), QString("100%"));
        PhotoItem *item = openPhoto();
        ui->horizontalSlider->setValue(40);
        ui->horizontalSlider_2->setValue(25);
        QCOMPARE(ui->label_stamp_2->text(), QString("40%"));
        QCOMPARE(ui->label_stamp_4->text(), QString("25%"));
        QCOMPARE(state(item).stamp.m_stampHardness, 0.4f);
        QCOMPARE(state(item).stamp.m_stampOpacity, 0.25f);
    }

    void undoButtonsStayInsideTheStack()
    {
        m_w->on_pushButton_undo_clicked(); // no stack: nothing happens
        m_w->on_pushButton_redo_clicked();
        PhotoItem *item = openPhoto();
        QUndoStack *stack = item->getUndoStack();
        ui->pushButton_undo->click();
        QCOMPARE(stack->index(), 0);
        drag(QPoint(20, 20), QPoint(60, 60));
        drag(QPoint(100, 20), QPoint(140, 60));
        QCOMPARE(stack->index(), 2);
        ui->pushButton_redo->click();
        QCOMPARE(stack->index(), 2);
        ui->pushButton_undo->click();
        ui->pushButton_undo->click();
        ui->pushButton_undo->click();
        QCOMPARE(stack->index(), 0);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMask.reshape(1)), 0);
        ui->pushButton_redo->click();
        QCOMPARE(stack->index(), 1);
        QCOMPARE(ui->pushButton_his->undoView()->model()->rowCount(), 3);
    }

    // ------------------------------------------------------------ cursors

    void brushCursorsHaveTheTrueSize()
    {
        CustomWidget *c = ui->widget_front;
        c->recvSelectType(4, 30, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/mousered.png"));
        QCOMPARE(c->cursor().pixmap().size(), QSize(30, 30));
        c->recvSelectType(4, 57, 1);
        QCOMPARE(c->cursorFile(), QString(":/image/mousegreen.png"));
        QCOMPARE(c->cursor().pixmap().size(), QSize(57, 57));
        c->recvSelectType(5, 12, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/mouseblack.png"));
        QCOMPARE(c->cursor().pixmap().size(), QSize(12, 12));
        c->recvSelectType(1, 30, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/shiji7.png"));
        c->recvSelectType(2, 30, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/lasso3.png"));
        c->recvSelectType(10, 30, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/lasso3.png"));
        c->recvSelectType(3, 30, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/floy.png"));
        c->recvSelectType(11, 30, 0);
        QCOMPARE(c->cursorFile(), QString(":/image/floy.png"));
        for (int tool : {7, 9, 12}) {
            c->recvSelectType(tool, 30, 0);
            QCOMPARE(c->cursor().shape(), Qt::OpenHandCursor);
        }
    }

    void zoomChangesNoCursor()
    {
        openPhoto(400, 300);
        CustomWidget *c = ui->widget_front;
        const QString file = c->cursorFile();
        const QSize size = c->cursor().pixmap().size();
        m_w->recvzoomin();
        m_w->recv100();
        QCOMPARE(c->cursorFile(), file);
        QCOMPARE(c->cursor().pixmap().size(), size);
    }

    void ringTableByDiameter()
    {
        QCOMPARE(CustomWidget::ringFileForDiameter(1), QString(":/rec/c26.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(37.9), QString(":/rec/c26.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(38), QString(":/rec/c50.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(50), QString(":/rec/c62.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(121.9), QString(":/rec/c122.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(146), QString(":/rec/c156.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(155.9), QString(":/rec/c156.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(156), QString(":/rec/c168.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(201.9), QString(":/rec/c202.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(202), QString(":/rec/c214.png"));
        QCOMPARE(CustomWidget::ringFileForDiameter(500), QString(":/rec/c214.png"));
    }

    void stampRingFollowsTheInterfaceScale()
    {
        g_uiScale = 1.5;
        CustomWidget c;
        c.recvSelectType(8, 30, 0);
        QCOMPARE(c.cursorFile(), QString(":/rec/c50.png"));
        QCOMPARE(c.cursor().pixmap().size(), QSize(45, 45));
        c.recvSelectType(4, 30, 0);
        QCOMPARE(c.cursor().pixmap().size(), QSize(45, 45));
        g_uiScale = 1.0;
    }

    void altShowsTheTargetUnderTheStampOnly()
    {
        CustomWidget c;
        c.recvSelectType(8, 100, 0);
        QCOMPARE(c.cursorFile(), QString(":/rec/c110.png"));
        c.recvaltPress();
        QCOMPARE(c.cursorFile(), QString(":/image/target.png"));
        c.recvaltRelease();
        QCOMPARE(c.cursorFile(), QString(":/rec/c110.png"));
        c.recvSelectType(4, 100, 0);
        c.recvaltPress();
        QCOMPARE(c.cursorFile(), QString(":/image/mousered.png"));
    }

    void releaseUnderTheStampBringsBackTheRing()
    {
        CustomWidget c;
        c.resize(100, 100);
        QImage img(100, 100, QImage::Format_ARGB32);
        img.fill(Qt::transparent);
        c.setImage(img, &c);
        c.recvSelectType(8, 40, 0);
        QSignalSpy alt(&c, &CustomWidget::sendLeftALTPressPoint);
        QTest::mousePress(&c, Qt::LeftButton, Qt::AltModifier, QPoint(50, 50));
        QCOMPARE(alt.count(), 1);
        QCOMPARE(c.cursorFile(), QString(":/image/target.png"));
        QTest::mouseRelease(&c, Qt::LeftButton, Qt::AltModifier, QPoint(50, 50));
        QCOMPARE(c.cursorFile(), QString(":/rec/c50.png"));
    }

    void cursorResourcesArePresent()
    {
        // The resources are compiled into the program: missing ones are a
        // broken build, not a reason to skip.
        QVERIFY(QDir(":/image").exists());
        QVERIFY(QDir(":/rec").exists());
        QStringList files = {":/image/mousered.png", ":/image/mousegreen.png", ":/image/mouseblack.png",
                             ":/image/target.png",   ":/image/shiji7.png",    ":/image/lasso3.png",
                             ":/image/floy.png"};
        for (double d : {10.0, 40.0, 55.0, 70.0, 80.0, 90.0, 100.0, 115.0, 125.0, 140.0, 150.0, 160.0, 170.0,
                         185.0, 195.0, 210.0})
            files << CustomWidget::ringFileForDiameter(d);
        for (const QString &f : files)
            QVERIFY2(!QPixmap(f).isNull(), qPrintable(f));
    }
};

QTEST_MAIN(TestTools)
#include "tst_tools.moc"
