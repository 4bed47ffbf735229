// The start-up skin of the main window, applied by object name.

#include "globals.h"
#include "skin.h"

#include <QDialog>
#include <QFrame>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QtTest>

using namespace Skin;

namespace {

template<typename T>
T *make(QWidget *parent, const char *name)
{
    auto *w = new T(parent);
    w->setObjectName(QLatin1String(name));
    return w;
}

// A window with the main window's object names, and a child dialog that reuses some of them.
struct FakeWindow {
    QWidget window;
    QDialog *dialog;
    FakeWindow()
    {
        auto *header = make<QFrame>(&window, "frame_header");
        make<QLabel>(header, "label_ico");
        make<QLabel>(header, "label_title");
        make<QLabel>(header, "label_version");
        for (const char *n : {"pushButton_dropdown", "pushButton_min", "pushButton_max", "pushButton_close"})
            make<QPushButton>(header, n);
        auto *left = make<QFrame>(&window, "frame_left");
        make<QLabel>(left, "label_5");
        make<QLabel>(left, "label_3");
        for (const char *n : {"pushButton_penplus", "pushButton_sub", "pushButton_rect", "pushButton_noose",
                              "pushButton_poly", "pushButton_stamp", "pushButton_clone", "pushButton_subline",
                              "pushButton_red", "pushButton_green"})
            make<QPushButton>(left, n);
        make<QLabel>(left, "label");
        make<QLabel>(left, "label_2");
        make<QSlider>(left, "verticalSlider");
        auto *strip = make<QFrame>(&window, "frame_3");
        for (const char *n : {"label_stamp_1", "label_stamp_2", "label_stamp_3", "label_stamp_4"})
            make<QLabel>(strip, n);
        make<QSlider>(strip, "horizontalSlider");
        make<QSlider>(strip, "horizontalSlider_2");
        make<QPushButton>(strip, "pushButton_stamp_1");
        make<QPushButton>(strip, "pushButton_stamp_2");
        auto *main = make<QFrame>(&window, "frame_main");
        auto *back = make<QWidget>(main, "widget_back");
        auto *mid = make<QWidget>(back, "widget_mid");
        make<QWidget>(mid, "widget_front");
        make<QScrollBar>(main, "horizontalScrollBar");
        make<QScrollBar>(main, "verticalScrollBar");
        make<QLabel>(main, "label_display_scale");
        for (const char *n : {"pushButton_a", "pushButton_plus", "pushButton_sub_2", "pushButton_1_1", "pushButton_maxa",
                              "pushButton_handle", "pushButton_undo", "pushButton_redo", "pushButton_his",
                              "pushButton_save", "pushButton_print", "pushButton_eraser"})
            make<QPushButton>(main, n);
        auto *welcome = make<QFrame>(&window, "frame_stackwidge2");
        make<QPushButton>(welcome, "pushButton_select_photo");
        make<QPushButton>(welcome, "pushButton_select_folder");
        make<QLabel>(welcome, "label_selectfile");
        make<QLabel>(welcome, "label_selectfolder");
        auto *fold = make<QFrame>(&window, "frame_fangxiang");
        make<QPushButton>(fold, "pushButton_fangxiang");
        auto *right = make<QFrame>(&window, "frame_right");
        make<QListWidget>(right, "listWidget");
        make<QPushButton>(right, "pushButton_add");
        make<QPushButton>(right, "pushButton_remove");
        make<QFrame>(&window, "frame_bianyuan");
        // Created first among the names it shares, so a careless lookup would find it.
        dialog = new QDialog(&window);
        make<QLabel>(dialog, "label");
        make<QLabel>(dialog, "label_5");
        make<QPushButton>(dialog, "pushButton_close");
        dialog->stackUnder(header);
    }
    template<typename T = QWidget>
    T *get(const char *name)
    {
        for (T *w : window.findChildren<T *>(QLatin1String(name)))
            if (w->window() == &window)
                return w;
        return nullptr;
    }
};

} // namespace

class TestWindowSkin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Skin::init(); }
    void cleanup() { g_uiScale = 1.0; }

    void startUpLooks()
    {
        FakeWindow w;
        applyWindowSkin(&w.window);
        QCOMPARE(w.get("pushButton_penplus")->styleSheet(), toolButtonSheet(Tool::PenPlus, true));
        QCOMPARE(w.get("pushButton_rect")->styleSheet(), toolButtonSheet(Tool::Rect, false));
        QVERIFY(w.get("pushButton_rect")->styleSheet().startsWith("QPushButton{border-image: url(:/image/rect.png);}"));
        QCOMPARE(w.get("pushButton_stamp_1")->styleSheet(), toolButtonSheet(Tool::Stamp1, false));
        QCOMPARE(w.get("pushButton_red")->styleSheet(), colourButtonSheet(0, true));
        QCOMPARE(w.get("pushButton_green")->styleSheet(), colourButtonSheet(1, false));
        QCOMPARE(w.get("pushButton_handle")->styleSheet(), commandButtonSheet(Command::Handle, false));
        QCOMPARE(w.get("pushButton_fangxiang")->styleSheet(), foldButtonSheet(true));
        QCOMPARE(w.get("pushButton_close")->styleSheet(), headerButtonSheet(Header::Close));
        QCOMPARE(w.get("frame_header")->styleSheet(), QStringLiteral("QFrame{background:#363538}"));
        QCOMPARE(w.get("frame_left")->styleSheet(), QStringLiteral("QFrame{background:#363538}"));
        QCOMPARE(w.get("frame_main")->styleSheet(), QStringLiteral("QFrame{background:#302e34}"));
        QCOMPARE(w.get("frame_stackwidge2")->styleSheet(), QStringLiteral("QFrame{background:#302e34}"));
        QCOMPARE(w.get("frame_right")->styleSheet(), QStringLiteral("QFrame{background:#44424a}"));
        QCOMPARE(w.get("frame_fangxiang")->styleSheet(), QStringLiteral("QFrame{background:#44424a}"));
        QVERIFY(w.get("frame_3")->styleSheet().contains("top20181.png"));
        QVERIFY(w.get("frame_bianyuan")->styleSheet().contains("left20183.png"));
        QVERIFY(w.get("label_stamp_1")->styleSheet().contains("#c2c2c2"));
        QCOMPARE(w.get("verticalSlider")->styleSheet(), brushSliderSheet());
        QCOMPARE(w.get("horizontalScrollBar")->styleSheet(), canvasScrollBarSheet());
        auto *list = w.get<QListWidget>("listWidget");
        QCOMPARE(list->movement(), QListView::Static);
        QCOMPARE(list->focusPolicy(), Qt::NoFocus);
        QVERIFY(list->styleSheet().contains("#f1bc1d"));
    }

    void shadowOnTheBackAlone()
    {
        FakeWindow w;
        applyWindowSkin(&w.window);
        QVERIFY(!w.get("widget_front")->graphicsEffect());
        QVERIFY(!w.get("widget_mid")->graphicsEffect());
        auto *shadow = qobject_cast<QGraphicsDropShadowEffect *>(w.get("widget_back")->graphicsEffect());
        QVERIFY(shadow);
        QCOMPARE(shadow->offset(), QPointF(8, 8));
    }

    void fontsAndPicturesFollowTheScale()
    {
        g_uiScale = 1.5;
        FakeWindow w;
        applyWindowSkin(&w.window);
        QCOMPARE(w.get("label_title")->font().pixelSize(), 24);
        QCOMPARE(w.get("label_version")->font().pixelSize(), 21);
        QCOMPARE(w.get("label")->font().pixelSize(), 15);
        QCOMPARE(w.get("label_display_scale")->font().pixelSize(), 15);
        QCOMPARE(w.get("label_selectfile")->font().pixelSize(), 24);
        QCOMPARE(w.get("pushButton_remove")->font().pixelSize(), 24);
        QCOMPARE(w.get("pushButton_eraser")->font().pixelSize(), 25);
        QCOMPARE(w.get<QLabel>("label_ico")->pixmap(Qt::ReturnByValue).size(), QSize(36, 36));
        QCOMPARE(w.get<QLabel>("label_5")->pixmap(Qt::ReturnByValue).size(), QSize(121, 7));
    }

    void dialogsParentedToTheWindowKeepTheirLook()
    {
        FakeWindow w;
        applyWindowSkin(&w.window);
        QVERIFY(w.dialog->findChild<QLabel *>("label")->styleSheet().isEmpty());
        QVERIFY(w.dialog->findChild<QPushButton *>("pushButton_close")->styleSheet().isEmpty());
        QVERIFY(w.dialog->findChild<QLabel *>("label_5")->pixmap(Qt::ReturnByValue).isNull());
    }

    void missingWidgetsAreSkipped()
    {
        QWidget bare;
        applyWindowSkin(&bare);
        applyWindowSkin(nullptr);
        QVERIFY(bare.styleSheet().isEmpty());
    }
};

QTEST_MAIN(TestWindowSkin)
#include "tst_windowskin.moc"
