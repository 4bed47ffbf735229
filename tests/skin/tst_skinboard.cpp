// Every skinned control on one board, as the style sheets draw them from the
// sprite sheet, compared with a committed reference picture. A wrong slice,
// a missing cell or a style sheet Qt rejects changes the picture.
// MERVANE_WRITE_REFERENCES=1 rewrites the reference.

#include "globals.h"
#include "referencepicture.h"
#include "skin.h"

#include <QDir>
#include <QFontDatabase>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QVBoxLayout>
#include <QtTest>

using namespace Skin;

namespace {

QPushButton *button(QWidget *parent, const QString &sheet, QSize size, bool enabled = true,
                    const QString &text = QString())
{
    auto *b = new QPushButton(text, parent);
    b->setStyleSheet(sheet);
    b->setFixedSize(size);
    b->setEnabled(enabled);
    return b;
}

QFrame *panel(QWidget *parent, const char *colour)
{
    auto *f = new QFrame(parent);
    f->setStyleSheet(frameSheet(QLatin1String(colour)));
    return f;
}

} // namespace

class TestSkinBoard : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Skin::init();
        for (const char *file : {"./font/Lato-Bold_0.ttf", "./font/Lato-Light_0.ttf", "./font/Lato-Regular_0.ttf"})
            QFontDatabase::addApplicationFont(QString::fromLatin1(file));
        g_uiScale = 1.0;
    }

    void board()
    {
        QWidget board;
        board.setFixedSize(760, 420);
        board.setStyleSheet(QStringLiteral("QWidget#board{background:#302e34}"));
        board.setObjectName(QStringLiteral("board"));

        // Left tool column: unselected, selected and disabled looks of every tool.
        QFrame *left = panel(&board, kPanelBack);
        left->setGeometry(0, 0, 150, 420);
        const Tool tools[] = {Tool::PenPlus, Tool::Sub, Tool::Rect, Tool::Noose, Tool::Poly, Tool::Stamp, Tool::Clone};
        int y = 10;
        for (Tool t : tools) {
            button(left, toolButtonSheet(t, false), QSize(32, 32))->move(10, y);
            button(left, toolButtonSheet(t, true), QSize(32, 32))->move(50, y);
            button(left, toolButtonSheet(t, false), QSize(32, 32), false)->move(90, y);
            y += 38;
        }
        button(left, colourButtonSheet(0, true), QSize(27, 27))->move(12, y + 4);
        button(left, colourButtonSheet(1, false), QSize(27, 27))->move(52, y + 4);
        button(left, colourButtonSheet(1, true), QSize(27, 27))->move(92, y + 4);
        auto *slider = new QSlider(Qt::Vertical, left);
        slider->setStyleSheet(brushSliderSheet());
        slider->setRange(0, 200);
        slider->setValue(60);
        slider->setGeometry(112, 310, 32, 87);

        // Header strip.
        QFrame *header = panel(&board, kPanelBack);
        header->setGeometry(160, 0, 600, 48);
        auto *title = new QLabel(QStringLiteral("Mervane"), header);
        title->setStyleSheet(labelSheet(QStringLiteral("Lato123")));
        title->setFont(pixelFont(16));
        title->setGeometry(12, 12, 119, 24);
        int x = 480;
        for (Header h : {Header::Dropdown, Header::Min, Header::Max, Header::Close}) {
            button(header, headerButtonSheet(h), QSize(19, 19))->move(x, 14);
            x += 28;
        }

        // Welcome buttons, add, erase, remove.
        button(&board, bigButtonSheet(Big::SelectPhoto), QSize(110, 110))->move(170, 60);
        button(&board, bigButtonSheet(Big::SelectFolder), QSize(110, 110))->move(290, 60);
        button(&board, bigButtonSheet(Big::SelectFolder), QSize(110, 110), false)->move(410, 60);
        QPushButton *erase = button(&board, bigButtonSheet(Big::Eraser), QSize(142, 65), true, QStringLiteral("   Erase"));
        erase->setFont(pixelFont(17));
        erase->move(170, 190);
        QPushButton *erased = button(&board, bigButtonSheet(Big::Eraser), QSize(142, 65), false, QStringLiteral("   Erase"));
        erased->setFont(pixelFont(17));
        erased->move(320, 190);

        // Right panel: fold arrows, list, add and remove.
        QFrame *right = panel(&board, kSideBack);
        right->setGeometry(540, 60, 220, 360);
        button(right, foldButtonSheet(true), QSize(18, 18))->move(4, 4);
        button(right, foldButtonSheet(false), QSize(18, 18))->move(26, 4);
        auto *list = new QListWidget(right);
        list->setStyleSheet(listWidgetSheet());
        list->setGeometry(10, 30, 200, 200);
        for (const char *name : {"beach.jpg", "harbour.png", "market.tif"})
            list->addItem(QString::fromLatin1(name));
        list->setCurrentRow(1);
        button(right, bigButtonSheet(Big::Add), QSize(62, 60))->move(10, 240);
        QPushButton *remove = button(right, removeButtonSheet(), QSize(116, 22), true, QStringLiteral("   Remove All"));
        remove->setFont(pixelFont(16));
        remove->move(90, 260);

        // Command row.
        QFrame *commands = panel(&board, kMainBack);
        commands->setGeometry(160, 270, 370, 140);
        x = 6;
        y = 6;
        const Command row[] = {Command::A, Command::Plus, Command::Sub2, Command::OneOne, Command::Maxa,
                               Command::Handle, Command::Undo, Command::Redo, Command::His, Command::Save,
                               Command::Print};
        for (Command c : row) {
            button(commands, commandButtonSheet(c), QSize(32, 32))->move(x, y);
            button(commands, commandButtonSheet(c, true), QSize(32, 32), false)->move(x, y + 40);
            x += 33;
        }
        button(commands, commandButtonSheet(Command::Handle, true), QSize(32, 32))->move(6, 86);
        auto *scroll = new QScrollBar(Qt::Horizontal, commands);
        scroll->setStyleSheet(canvasScrollBarSheet());
        scroll->setRange(0, 100);
        scroll->setPageStep(30);
        scroll->setValue(30);
        scroll->setGeometry(50, 96, 300, 12);

        board.show();
        QCoreApplication::processEvents();
        const QString why = referenceMismatch(board.grab().toImage(), QStringLiteral("skin"), QStringLiteral("board"), 0.005);
        QVERIFY2(why.isEmpty(), qPrintable(why));
    }
};

QTEST_MAIN(TestSkinBoard)
#include "tst_skinboard.moc"
