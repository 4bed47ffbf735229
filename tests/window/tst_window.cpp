// Window behaviour and keyboard: the header drag, the size toggle, closing
// with questions, Space, Alt, Escape and the bracket keys; undo and redo by
// index and the history list of the current photo.
#include <QKeyEvent>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QSlider>
#include <QStackedWidget>
#include <QUndoGroup>
#include <QUndoStack>
#include <QUndoView>
#include <QtTest>

#include "commands.h"
#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "qwidgetbutton.h"
#include "removedialog.h"
#include "skin.h"
#include "ui_mainwindow.h"
#include "windowtest.h"

class TestWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    PhotoItem *openPhoto(const QString &name, int seed = 0)
    {
        m_w->openPhoto(writeImage(m_dir.path(), name, patternPhoto(64, 48, seed)));
        return m_w->photoItems().last();
    }

    // Keys as the system delivers them: to the window of the application,
    // whichever widget has the focus.
    void press(Qt::Key key) { QTest::keyPress(m_w->windowHandle(), key); }
    void release(Qt::Key key) { QTest::keyRelease(m_w->windowHandle(), key); }
    void sendKey(QEvent::Type type, Qt::Key key, bool autoRepeat)
    {
        QKeyEvent e(type, key, Qt::NoModifier, QString(), autoRepeat);
        QApplication::sendEvent(m_w, &e);
    }

    void mouse(QEvent::Type type, QPoint local, Qt::MouseButton button)
    {
        const QPoint global = m_w->mapToGlobal(local);
        QCursor::setPos(global);
        QMouseEvent e(type, local, global, button, type == QEvent::MouseButtonRelease ? Qt::NoButton : button,
                      Qt::NoModifier);
        QApplication::sendEvent(m_w, &e);
    }

    // A red-layer undo entry on the photo's stack.
    void pushEntry(PhotoItem *item, const QString &text)
    {
        const cv::Rect r(0, 0, 2, 2);
        cv::Mat after(2, 2, CV_8UC4, cv::Scalar(0, 0, 255, 128)), before(2, 2, CV_8UC4, cv::Scalar::all(0));
        item->getUndoStack()->push(new AddRedCommand(after, before, text, item, r));
    }

private slots:
    void initTestCase()
    {
        Skin::init();
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

    // ------------------------------------------------------------ header

    void headerDragMovesTheWindowAtDesignSize()
    {
        m_w->on_pushButton_max_clicked();
        QVERIFY(!m_w->isNormalSize());
        mouse(QEvent::MouseButtonPress, QPoint(200, 10), Qt::LeftButton);
        QVERIFY(m_w->dragging());
        QCOMPARE(m_w->dragOffset(), QPoint(200, 10));
        const QPoint target(300, 200);
        QMouseEvent move(QEvent::MouseMove, QPoint(250, 30), target, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_w, &move);
        QVERIFY(m_w->isNormalSize());
        QCOMPARE(m_w->size(), QSize(int(1256 * g_uiScale), int(740 * g_uiScale)));
        QCOMPARE(m_w->pos(), target - QPoint(200, 10));
        mouse(QEvent::MouseButtonRelease, QPoint(250, 30), Qt::LeftButton);
        QVERIFY(!m_w->dragging());
    }

    void rightButtonOrOutsideTheHeaderStartsNoDrag()
    {
        mouse(QEvent::MouseButtonPress, QPoint(200, 10), Qt::RightButton);
        QVERIFY(!m_w->dragging());
        const int below = ui->frame_header->height() + 100;
        mouse(QEvent::MouseButtonPress, QPoint(200, below), Qt::LeftButton);
        QVERIFY(!m_w->dragging());
        const QPoint before = m_w->pos();
        QMouseEvent move(QEvent::MouseMove, QPoint(250, below), QPoint(600, 600), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(m_w, &move);
        QCOMPARE(m_w->pos(), before);
    }

    void sizeToggleAndDoubleClick()
    {
        const QRect avail = m_w->availableGeometry();
        m_w->on_pushButton_max_clicked();
        // The test screen is smaller than the window's layout allows.
        QCOMPARE(m_w->size(), avail.size().expandedTo(m_w->minimumSizeHint()));
        QCOMPARE(m_w->pos(), QPoint(0, 0));
        QVERIFY(!m_w->isNormalSize());
        // A double click in the header toggles back, centred in the available size.
        mouse(QEvent::MouseButtonDblClick, QPoint(300, 10), Qt::LeftButton);
        QVERIFY(m_w->isNormalSize());
        QCOMPARE(m_w->size(), QSize(int(1256 * g_uiScale), int(740 * g_uiScale)));
        QCOMPARE(m_w->pos(), QPoint((avail.width() - m_w->width()) / 2, (avail.height() - m_w->height()) / 2));
        // Outside the header it does nothing.
        mouse(QEvent::MouseButtonDblClick, QPoint(300, ui->frame_header->height() + 100), Qt::LeftButton);
        QVERIFY(m_w->isNormalSize());
    }

    void toggleFitsThePhotoAnew()
    {
        openPhoto("fit.png");
        m_w->recv200();
        QCOMPARE(m_w->displayScale(), 2.0);
        m_w->on_pushButton_max_clicked();
        QVERIFY(m_w->displayScale() != 2.0);
    }

    // ------------------------------------------------------------ closing

    void closingStopsAtTheFirstCancel()
    {
        for (int i = 0; i < 3; ++i)
            state(openPhoto(QString("c%1.png").arg(i), i)).output.m_saved = 0;
        // Row 2 is current: it is asked first. No, then Cancel.
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::question(QDialog::Rejected, &texts));
        answers.then(ModalAnswers::question(RemoveDialog::Cancelled, &texts));
        ui->pushButton_close->click();
        QCOMPARE(answers.answered(), 2);
        QCOMPARE(texts, QStringList({"Save changes to \"c2.png\" before closing?",
                                     "Save changes to \"c1.png\" before closing?"}));
        QCOMPARE(m_w->photoItems().size(), 2);
        QCOMPARE(state(m_w->photoItems().at(0)).output.m_fileName, QString("c0.png"));
        QCOMPARE(state(m_w->photoItems().at(1)).output.m_fileName, QString("c1.png"));
        QVERIFY(m_w->isVisible());
        // Answering No to the rest closes the window.
        answers.then(ModalAnswers::question(QDialog::Rejected));
        answers.then(ModalAnswers::question(QDialog::Rejected));
        ui->pushButton_close->click();
        QVERIFY(m_w->photoItems().isEmpty());
        QVERIFY(!m_w->isVisible());
    }

    void closingSavedPhotosAsksNothing()
    {
        openPhoto("s0.png");
        openPhoto("s1.png");
        ModalAnswers answers;
        answers.then(ModalAnswers::question(RemoveDialog::Cancelled));
        ui->pushButton_close->click();
        QCOMPARE(answers.answered(), 0);
        QVERIFY(!m_w->isVisible());
    }

    void onlyAChangedImageIsAskedAbout()
    {
        // A selection is not a change of the photo; an image change is, and
        // Undo does not take it back; a save does.
        PhotoItem *item = openPhoto("ask.png");
        pushEntry(item, "Brush");
        QCOMPARE(state(item).output.m_saved, quint8(1));
        const cv::Rect r(0, 0, 4, 4);
        cv::Mat after(4, 4, CV_8UC3, cv::Scalar(1, 2, 3));
        const cv::Mat before = item->getImage()(r).clone();
        item->getUndoStack()->push(new Command(after, before, QPointF(0, 0), QPointF(4, 4), "Erase", item, r));
        QCOMPARE(state(item).output.m_saved, quint8(0));
        m_w->on_pushButton_undo_clicked();
        QCOMPARE(state(item).output.m_saved, quint8(0));
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::question(RemoveDialog::Cancelled, &texts));
        ui->pushButton_close->click();
        QCOMPARE(texts, QStringList({"Save changes to \"ask.png\" before closing?"}));
        QVERIFY(m_w->isVisible());
        QTemporaryDir out;
        answers.then(ModalAnswers::files({out.path() + "/ask_Copy.png"}));
        ui->pushButton_save->click();
        QCOMPARE(state(item).output.m_saved, quint8(1));
        ui->pushButton_close->click();
        QCOMPARE(answers.answered(), 2);
        QVERIFY(!m_w->isVisible());
    }

    // ------------------------------------------------------------ keys

    void keysReachTheWindowWhateverHasTheFocus()
    {
        openPhoto("focus.png");
        ui->listWidget->setFocus();
        const int before = m_w->brushSize();
        press(Qt::Key_BracketRight);
        QCOMPARE(m_w->brushSize(), before + 5);
        press(Qt::Key_Space);
        QVERIFY(m_w->spaceHeld());
        QCOMPARE(m_w->toolType(), Tool::MoveView);
        release(Qt::Key_Space);
        QCOMPARE(m_w->toolType(), Tool::Brush);
    }

    void bracketKeysStepBySizeFive()
    {
        ui->verticalSlider->setValue(3);
        press(Qt::Key_BracketLeft);
        // 3 - 5 = -2, which the slider clamps to 0.
        QCOMPARE(ui->verticalSlider->value(), 0);
        QCOMPARE(m_w->brushSize(), 0);
        // With an empty list the bracket keys still move the slider.
        QVERIFY(m_w->photoItems().isEmpty());
        press(Qt::Key_BracketRight);
        QCOMPARE(m_w->brushSize(), 5);
        ui->verticalSlider->setValue(ui->verticalSlider->maximum() - 2);
        press(Qt::Key_BracketRight);
        QCOMPARE(ui->verticalSlider->value(), ui->verticalSlider->maximum());
    }

    void spaceIsIgnoredWithAnEmptyList()
    {
        press(Qt::Key_Space);
        QVERIFY(!m_w->spaceHeld());
        QCOMPARE(m_w->toolType(), Tool::Brush);
        release(Qt::Key_Space);
        QCOMPARE(m_w->toolType(), Tool::Brush);
    }

    void spaceHoldsTheMoveToolAndRestores_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("code");
        QTest::newRow("rectangle") << "pushButton_rect" << 1;
        QTest::newRow("lasso") << "pushButton_noose" << 2;
        QTest::newRow("polygon") << "pushButton_poly" << 3;
        QTest::newRow("brush") << "pushButton_penplus" << 4;
        QTest::newRow("fix") << "pushButton_sub" << 5;
        QTest::newRow("stamp") << "pushButton_stamp" << 8;
        QTest::newRow("move") << "pushButton_handle" << 9;
        QTest::newRow("smart clone") << "pushButton_clone" << 12;
    }

    void spaceHoldsTheMoveToolAndRestores()
    {
        QFETCH(QString, button);
        QFETCH(int, code);
        PhotoItem *item = openPhoto("space.png");
        m_w->findChild<QPushButton *>(button)->click();
        QCOMPARE(toolCode(m_w->toolType()), code);
        // A selection made after entering the stamp must survive the restore.
        state(item).selection.m_inpaintMask.at<cv::Vec4b>(5, 5) = cv::Vec4b(0, 0, 255, 128);

        press(Qt::Key_Space);
        QVERIFY(m_w->spaceHeld());
        QCOMPARE(toolCode(m_w->prevTool()), code);
        QCOMPARE(m_w->toolType(), Tool::MoveView);
        QCOMPARE(state(item).pointer.m_tool, Tool::MoveView);
        // A second, auto-repeated press changes nothing.
        sendKey(QEvent::KeyPress, Qt::Key_Space, true);
        QCOMPARE(toolCode(m_w->prevTool()), code);
        // An auto-repeated release does not end the hold.
        sendKey(QEvent::KeyRelease, Qt::Key_Space, true);
        QVERIFY(m_w->spaceHeld());

        QSignalSpy types(m_w, &MainWindow::sendSelectType);
        release(Qt::Key_Space);
        QVERIFY(!m_w->spaceHeld());
        QCOMPARE(toolCode(m_w->toolType()), code);
        QCOMPARE(toolCode(state(item).pointer.m_tool), code);
        QCOMPARE(types.size(), 1);
        QCOMPARE(types.at(0).at(0).toInt(), code);
        const bool sized = code == 4 || code == 5 || code == 8 || code == 12;
        QCOMPARE(!ui->verticalSlider->isHidden(), sized);
        QCOMPARE(!ui->horizontalSlider->isHidden(), code == 8);
        // Unlike a click, the colour buttons stay and the selection stays.
        QVERIFY(!ui->pushButton_red->isHidden());
        QVERIFY(!ui->pushButton_green->isHidden());
        QCOMPARE(state(item).selection.m_inpaintMask.at<cv::Vec4b>(5, 5), cv::Vec4b(0, 0, 255, 128));
    }

    void spaceDropsTheStampSubModes_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("code");
        QTest::newRow("region lasso") << "pushButton_stamp_1" << 10;
        QTest::newRow("region polygon") << "pushButton_stamp_2" << 11;
    }

    void spaceDropsTheStampSubModes()
    {
        QFETCH(QString, button);
        QFETCH(int, code);
        PhotoItem *item = openPhoto("sub.png");
        ui->pushButton_stamp->click();
        m_w->findChild<QPushButton *>(button)->click();
        QCOMPARE(toolCode(m_w->toolType()), code);
        press(Qt::Key_Space);
        QSignalSpy types(m_w, &MainWindow::sendSelectType);
        release(Qt::Key_Space);
        // The field says the sub-mode, the photo stays on the move tool.
        QCOMPARE(toolCode(m_w->toolType()), code);
        QCOMPARE(state(item).pointer.m_tool, Tool::MoveView);
        QCOMPARE(types.size(), 0);
    }

    void altHidesTheGreenLayerWhileHeld()
    {
        openPhoto("alt.png");
        QSignalSpy pressed(m_w, &MainWindow::sendaltkeyPress);
        QSignalSpy released(m_w, &MainWindow::sendaltkeyRelease);
        press(Qt::Key_Alt);
        QVERIFY(ui->widget_front_green->isHidden());
        QCOMPARE(pressed.size(), 1);
        sendKey(QEvent::KeyPress, Qt::Key_Alt, true);
        QCOMPARE(pressed.size(), 1);
        release(Qt::Key_Alt);
        QVERIFY(!ui->widget_front_green->isHidden());
        QCOMPARE(released.size(), 1);
    }

    void altReleasedDuringSpaceClearsTheHold()
    {
        openPhoto("altspace.png");
        ui->pushButton_rect->click();
        QSignalSpy pressed(m_w, &MainWindow::sendaltkeyPress);
        press(Qt::Key_Space);
        QCOMPARE(m_w->toolType(), Tool::MoveView);
        // Alt during Space does nothing on press...
        press(Qt::Key_Alt);
        QCOMPARE(pressed.size(), 0);
        QVERIFY(!ui->widget_front_green->isHidden());
        // ...but its release ends the hold, so Space no longer restores.
        release(Qt::Key_Alt);
        QVERIFY(!m_w->spaceHeld());
        release(Qt::Key_Space);
        QCOMPARE(m_w->toolType(), Tool::MoveView);
    }

    void escapeCancelsTheSelectionUnderWay()
    {
        PhotoItem *item = openPhoto("esc.png");
        const cv::Vec4b red(0, 0, 255, 128), green(0, 255, 0, 128);
        auto arm = [&] {
            state(item).selection.m_polyCount = 3;
            state(item).stamp.m_stampRegionActive = 1;
            state(item).selection.m_strokeBaseRed.setTo(cv::Scalar(0, 0, 255, 128));
            state(item).selection.m_inpaintMask.at<cv::Vec4b>(1, 1) = red;
            state(item).selection.m_inpaintMaskBK.at<cv::Vec4b>(2, 2) = green;
            state(item).clone.m_cloneGrowX = state(item).clone.m_cloneGrowY = state(item).clone.m_cloneGrowBaseX = state(item).clone.m_cloneGrowBaseY = 7;
        };
        arm();
        press(Qt::Key_Escape);
        QCOMPARE(state(item).selection.m_polyCount, 0);
        QCOMPARE(int(state(item).stamp.m_stampRegionActive), 0);
        QCOMPARE(cv::countNonZero(state(item).selection.m_strokeBaseRed.reshape(1)), 0);
        // Outside the smart clone both selections and the handles stay.
        QCOMPARE(state(item).selection.m_inpaintMask.at<cv::Vec4b>(1, 1), red);
        QCOMPARE(state(item).selection.m_inpaintMaskBK.at<cv::Vec4b>(2, 2), green);
        QCOMPARE(state(item).clone.m_cloneGrowX, 7);

        ui->pushButton_clone->click();
        arm();
        press(Qt::Key_Escape);
        QCOMPARE(cv::countNonZero(state(item).selection.m_inpaintMaskBK.reshape(1)), 0);
        QCOMPARE(state(item).selection.m_inpaintMask.at<cv::Vec4b>(1, 1), red);
        QCOMPARE(state(item).clone.m_cloneGrowX, 0);
        QCOMPARE(state(item).clone.m_cloneGrowY, 0);
        QCOMPARE(state(item).clone.m_cloneGrowBaseX, 0);
        QCOMPARE(state(item).clone.m_cloneGrowBaseY, 0);
    }

    void escapeWithNoPhotoDoesNothing()
    {
        press(Qt::Key_Escape);
        QVERIFY(m_w->isVisible());
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
    }

    // ------------------------------------------------------------ undo, history

    void undoAndRedoByIndexStopAtTheEnds()
    {
        PhotoItem *item = openPhoto("undo.png");
        QUndoStack *stack = item->getUndoStack();
        m_w->on_pushButton_undo_clicked();
        QCOMPARE(stack->index(), 0);
        pushEntry(item, "Brush");
        pushEntry(item, "Brush");
        QCOMPARE(stack->index(), 2);
        m_w->on_pushButton_redo_clicked();
        QCOMPARE(stack->index(), 2);
        m_w->on_pushButton_undo_clicked();
        QCOMPARE(stack->index(), 1);
        m_w->on_pushButton_undo_clicked();
        m_w->on_pushButton_undo_clicked();
        QCOMPARE(stack->index(), 0);
        QCOMPARE(state(item).selection.m_inpaintMask.at<cv::Vec4b>(0, 0), cv::Vec4b(0, 0, 0, 0));
        m_w->on_pushButton_redo_clicked();
        QCOMPARE(stack->index(), 1);
        QCOMPARE(state(item).selection.m_inpaintMask.at<cv::Vec4b>(0, 0), cv::Vec4b(0, 0, 255, 128));
    }

    void undoActsOnTheCurrentPhotoOnly()
    {
        PhotoItem *a = openPhoto("ua.png", 1);
        PhotoItem *b = openPhoto("ub.png", 2);
        pushEntry(a, "Brush");
        pushEntry(b, "Brush");
        ui->listWidget->setCurrentRow(0);
        m_w->on_pushButton_undo_clicked();
        QCOMPARE(a->getUndoStack()->index(), 0);
        QCOMPARE(b->getUndoStack()->index(), 1);
    }

    void undoWithNoPhotoIsGuarded()
    {
        QCOMPARE(m_w->undoGroup()->activeStack(), static_cast<QUndoStack *>(nullptr));
        m_w->on_pushButton_undo_clicked();
        m_w->on_pushButton_redo_clicked();
        // And after the last photo has gone.
        openPhoto("gone.png");
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        m_w->on_pushButton_undo_clicked();
        m_w->on_pushButton_redo_clicked();
    }

    void historyListShowsTheCurrentPhoto()
    {
        QUndoView *view = ui->pushButton_his->findChild<QUndoView *>();
        QVERIFY(view);
        // With no photo the popup opens on an empty list.
        bool shown = false;
        int rows = -1;
        QTimer::singleShot(0, [&] {
            QMenu *menu = ui->pushButton_his->getMenu();
            shown = menu->isVisible();
            rows = view->model()->rowCount();
            menu->close();
        });
        ui->pushButton_his->click();
        QVERIFY(shown);
        QCOMPARE(rows, 0);

        PhotoItem *a = openPhoto("ha.png", 1);
        pushEntry(a, "Brush");
        PhotoItem *b = openPhoto("hb.png", 2);
        pushEntry(b, "Brush");
        pushEntry(b, "Rectangle");
        QCOMPARE(view->model()->rowCount(), 3); // the clean state plus two
        // Switching rows changes the contents while the list is open.
        QList<int> seen;
        QTimer::singleShot(0, [&] {
            seen << view->model()->rowCount();
            ui->listWidget->setCurrentRow(0);
            seen << view->model()->rowCount();
            ui->pushButton_his->getMenu()->close();
        });
        ui->pushButton_his->click();
        QCOMPARE(seen, QList<int>({3, 2}));
        QCOMPARE(view->model()->data(view->model()->index(1, 0)).toString(), QString("Brush"));
    }
};

MERVANE_WINDOW_TEST_MAIN(TestWindow)
#include "tst_window.moc"
