// The skin: sprite sheet layout, style sheets, resources, translations and links.

#include "globals.h"
#include "skin.h"

#include <QDomDocument>
#include <QFile>
#include <QFrame>
#include <QGraphicsDropShadowEffect>
#include <QImage>
#include <QSettings>
#include <QTranslator>
#include <QUrl>
#include <QtTest>

using namespace Skin;

namespace {

QList<Cells> allFamilies()
{
    QList<Cells> all;
    for (Tool t : {Tool::Rect, Tool::Noose, Tool::Poly, Tool::PenPlus, Tool::Sub, Tool::Subline, Tool::Clone,
                   Tool::Stamp, Tool::Stamp1, Tool::Stamp2})
        all << toolCells(t);
    for (Command c : {Command::A, Command::Plus, Command::Sub2, Command::OneOne, Command::Maxa, Command::Handle,
                      Command::Undo, Command::Redo, Command::His, Command::Save, Command::Print})
        all << commandCells(c);
    for (Header h : {Header::Dropdown, Header::Min, Header::Max, Header::DialogClose, Header::Close, Header::RowDelete})
        all << headerCells(h);
    all << colourCells(0) << colourCells(1) << foldCells(true) << foldCells(false);
    for (Big b : {Big::SelectPhoto, Big::SelectFolder, Big::Add, Big::Eraser})
        all << bigCells(b);
    return all;
}

QList<QRect> allCells()
{
    QList<QRect> cells;
    for (const Cells &c : allFamilies())
        for (const QRect &r : {c.plain, c.hover, c.pressed, c.disabled})
            if (!cells.contains(r))
                cells << r;
    for (const QRect &r : {warningCell(), sliderHandleCell(), colourSelectedCell(0), colourSelectedCell(1)})
        if (!cells.contains(r))
            cells << r;
    return cells;
}

// Opaque pixels inside a cell of an image.
int inkIn(const QImage &image, const QRect &cell)
{
    int ink = 0;
    for (int y = cell.top(); y <= cell.bottom(); ++y)
        for (int x = cell.left(); x <= cell.right(); ++x)
            if (qAlpha(image.pixel(x, y)) > 64)
                ++ink;
    return ink;
}

const QString kRule = QStringLiteral("QPushButton{border-image: url(:/image/public.png)  ");

} // namespace

class TestSkin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Skin::init(); }
    void init() { g_uiScale = 1.0; }
    void cleanupTestCase() { g_uiScale = 1.0; }

    void everyCellLiesInsideTheSheet()
    {
        const QRect sheet(0, 0, kSheetWidth, kSheetHeight);
        for (const QRect &cell : allCells()) {
            QVERIFY2(sheet.contains(cell), qPrintable(QString("cell %1,%2 %3x%4 leaves the sheet")
                                                          .arg(cell.x()).arg(cell.y()).arg(cell.width()).arg(cell.height())));
            // The slices of a cell inside the sheet are never negative.
            for (const QString &n : slices(cell).split(' '))
                QVERIFY(n.toInt() >= 0);
        }
        // The right-most header cell: 332 + 19 is below 1331.
        const QRect close = headerCells(Header::Close).plain;
        QCOMPARE(close.x() + close.width(), 351);
        QVERIFY(close.x() + close.width() < kSheetWidth);
    }

    void cellsDoNotOverlap()
    {
        const QList<QRect> cells = allCells();
        for (int i = 0; i < cells.size(); ++i)
            for (int j = i + 1; j < cells.size(); ++j)
                QVERIFY2(!cells[i].intersects(cells[j]),
                         qPrintable(QString("cells at %1,%2 and %3,%4 overlap")
                                        .arg(cells[i].x()).arg(cells[i].y()).arg(cells[j].x()).arg(cells[j].y())));
    }

    void sheetHasItsSizeAndEveryCellIsDrawn()
    {
        const QImage sheet(QStringLiteral(":/image/public.png"));
        QCOMPARE(sheet.size(), QSize(1331, 782));
        for (const QRect &cell : allCells()) {
            // Each look carries a visible glyph or plate, not an empty cell.
            QVERIFY2(inkIn(sheet, cell) >= 8, qPrintable(QString("cell %1,%2 is empty").arg(cell.x()).arg(cell.y())));
        }
        const QImage doubled(QStringLiteral(":/image/public-200%.png"));
        QCOMPARE(doubled.size(), QSize(2662, 1564));
    }

    void nooseSheetMatchesTheSlices()
    {
        const QString sheet = toolButtonSheet(Tool::Noose, false);
        QVERIFY(sheet.startsWith(QStringLiteral(
            "QPushButton{border-image: url(:/image/public.png)  71 1274 679 25;}"
            "QPushButton:hover{border-image: url(:/image/public.png)  71 1242 679 57;}")));
        QVERIFY(sheet.contains(QStringLiteral("QPushButton:pressed{border-image: url(:/image/public.png)  71 1210 679 89;}")));
        QVERIFY(sheet.contains(QStringLiteral("QPushButton:disabled{border-image: url(:/image/public.png)  71 1178 679 121;}")));
        QVERIFY(sheet.endsWith(QStringLiteral("QPushButton:focus{outline: none;}")));
    }

    void disabledEraserCellStaysDefined()
    {
        const Cells eraser = bigCells(Big::Eraser);
        QCOMPARE(eraser.disabled, QRect(436, 334, 142, 65));
        QVERIFY(QRect(0, 0, kSheetWidth, kSheetHeight).contains(eraser.disabled));
        QVERIFY(bigButtonSheet(Big::Eraser)
                    .contains(QStringLiteral("QPushButton:disabled{border-image: url(:/image/public.png)  334 753 383 436;}")));
        const QImage sheet(QStringLiteral(":/image/public.png"));
        QVERIFY(inkIn(sheet, eraser.disabled) > 1000);
    }

    void selectedToolShowsItsHoverCellWhenIdle()
    {
        const QString selected = toolButtonSheet(Tool::PenPlus, true);
        QVERIFY(selected.startsWith(kRule + QStringLiteral("159 1242 591 57;}")));
        QVERIFY(selected.contains(QStringLiteral(":hover{border-image: url(:/image/public.png)  159 1242 591 57;}")));
        QVERIFY(selected.contains(QStringLiteral(":pressed{border-image: url(:/image/public.png)  159 1210 591 89;}")));
        // Stamp sub-modes use the lasso and polygon rows.
        QCOMPARE(toolCells(Tool::Stamp1).plain, toolCells(Tool::Noose).plain);
        QCOMPARE(toolCells(Tool::Stamp2).plain, toolCells(Tool::Poly).plain);
    }

    void rectangleUnselectedUsesItsOwnFile()
    {
        const QString sheet = toolButtonSheet(Tool::Rect, false);
        QVERIFY(sheet.startsWith(QStringLiteral("QPushButton{border-image: url(:/image/rect.png);}")));
        QVERIFY(sheet.contains(QStringLiteral(":hover{border-image: url(:/image/public.png)  27 1242 723 57;}")));
        QCOMPARE(QImage(QStringLiteral(":/image/rect.png")).size(), QSize(32, 32));
        QVERIFY(toolButtonSheet(Tool::Rect, true).startsWith(kRule + QStringLiteral("27 1242 723 57;}")));
    }

    void moveButtonSelectedLook()
    {
        const QString sheet = commandButtonSheet(Command::Handle, true);
        QVERIFY(sheet.startsWith(kRule + QStringLiteral("498 605 252 694;}")));
        QVERIFY(sheet.contains(QStringLiteral(":hover{border-image: url(:/image/public.png)  466 605 284 694;}")));
        QVERIFY(sheet.contains(QStringLiteral(":pressed{border-image: url(:/image/public.png)  498 605 252 694;}")));
        QVERIFY(commandButtonSheet(Command::Handle, false).startsWith(kRule + QStringLiteral("434 605 316 694;}")));
    }

    void colourButtonsSelectedLook()
    {
        QVERIFY(colourButtonSheet(0, true).startsWith(kRule + QStringLiteral("379 1252 376 52;}")));
        QVERIFY(colourButtonSheet(1, true).startsWith(kRule + QStringLiteral("458 1252 297 52;}")));
        // Hover, pressed and disabled stay at the family's x and the button's own y.
        QVERIFY(colourButtonSheet(0, true).contains(QStringLiteral(":hover{border-image: url(:/image/public.png)  348 1252 407 52;}")));
        QVERIFY(colourButtonSheet(1, true).contains(QStringLiteral(":disabled{border-image: url(:/image/public.png)  431 1198 324 106;}")));
        QVERIFY(colourButtonSheet(0, false).startsWith(kRule + QStringLiteral("348 1279 407 25;}")));
    }

    void foldArrowFollowsThePanel()
    {
        QCOMPARE(foldCells(true).plain, QRect(385, 27, 18, 18));
        QCOMPARE(foldCells(false).disabled, QRect(403, 81, 18, 18));
        QVERIFY(foldButtonSheet(false).startsWith(kRule + QStringLiteral("27 910 737 403;}")));
    }

    void headerAndDialogCloseShareTheirRows()
    {
        QCOMPARE(headerCells(Header::RowDelete).plain, headerCells(Header::Close).plain);
        QCOMPARE(headerCells(Header::DialogClose).hover, QRect(293, 46, 19, 19));
        QVERIFY(headerButtonSheet(Header::Dropdown).startsWith(kRule + QStringLiteral("27 1105 736 207;}")));
    }

    void removeButtonUsesItsOwnSheet()
    {
        const QImage remove(QStringLiteral(":/image/remove.png"));
        QCOMPARE(remove.size(), QSize(116, 79));
        for (const QRect &cell : {QRect(0, 0, 116, 22), QRect(0, 22, 116, 22), QRect(0, 44, 116, 22)}) {
            QCOMPARE(slices(cell, 116, 79).split(' ').size(), 4);
            QVERIFY(inkIn(remove, cell) > 1000);
        }
        const QString sheet = removeButtonSheet();
        QVERIFY(sheet.contains(QStringLiteral("url(:/image/remove.png)  0 0 57 0;")));
        QVERIFY(sheet.contains(QStringLiteral(":hover{border-image: url(:/image/remove.png)  22 0 35 0;}")));
        QVERIFY(sheet.contains(QStringLiteral(":pressed{border-image: url(:/image/remove.png)  44 0 13 0;}")));
        QVERIFY(sheet.contains(QStringLiteral("color:#e8e8e8;font-family:\"Lato123\"")));
    }

    void warningSignAndSliderHandle()
    {
        QVERIFY(warningSignSheet().startsWith(kRule + QStringLiteral("140 507 602 784;}")));
        QVERIFY(brushSliderSheet().contains(QStringLiteral("309 1292 459 25;")));
        QVERIFY(brushSliderSheet().contains(QStringLiteral("height:17px")));
        QVERIFY(brushSliderSheet().contains(QStringLiteral("#161616")));
        QVERIFY(brushSliderSheet().contains(QStringLiteral("#439cf4")));
    }

    void styleSheetsParseOnRealWidgets()
    {
        // A style sheet Qt cannot parse leaves the widget unstyled and logs a warning.
        QtMessageHandler previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &msg) {
            if (type == QtWarningMsg && msg.contains(QLatin1String("Could not parse")))
                QFAIL(qPrintable(msg));
        });
        QWidget host;
        const QStringList sheets = {toolButtonSheet(Tool::Clone, true), commandButtonSheet(Command::Save),
                                    colourButtonSheet(1, false), bigButtonSheet(Big::SelectFolder),
                                    removeButtonSheet(), listWidgetSheet(), canvasScrollBarSheet(),
                                    brushSliderSheet(), stampSliderSheet(), menuSheet(), historyListSheet(),
                                    progressBarSheet(), stampStripSheet(), edgeStripSheet(),
                                    dialogButtonSheet(kAccent), frameSheet(kPanelBack)};
        for (const QString &s : sheets) {
            auto *w = new QFrame(&host);
            w->setStyleSheet(s);
            w->ensurePolished();
        }
        host.resize(100, 100);
        host.grab();
        qInstallMessageHandler(previous);
    }

    void paletteAndMenus()
    {
        QVERIFY(listWidgetSheet().contains(QStringLiteral("#f1bc1d")));
        QVERIFY(listWidgetSheet().contains(QStringLiteral("width:3px")));
        QVERIFY(canvasScrollBarSheet().contains(QStringLiteral("#696969")));
        QVERIFY(canvasScrollBarSheet().contains(QStringLiteral("min-height:50px")));
        QVERIFY(canvasScrollBarSheet().contains(QStringLiteral("#44424a")));
        QVERIFY(menuSheet().contains(QStringLiteral("rgb(68,66,74)")));
        QVERIFY(menuSheet().contains(QStringLiteral("rgb(240,156,11)")));
        QVERIFY(historyListSheet().contains(QStringLiteral("rgb(170,170,170)")));
        QVERIFY(progressBarSheet().contains(QStringLiteral("#302e34")));
        QCOMPARE(frameSheet(kAccent), QStringLiteral("QFrame{background:#f09c0b}"));
    }

    void shadowEndsOnTheCanvasBack()
    {
        QWidget back;
        auto *mid = new QWidget(&back);
        auto *front = new QWidget(mid);
        applyCanvasShadow(front, mid, &back);
        QVERIFY(front->graphicsEffect() == nullptr);
        QVERIFY(mid->graphicsEffect() == nullptr);
        auto *shadow = qobject_cast<QGraphicsDropShadowEffect *>(back.graphicsEffect());
        QVERIFY(shadow);
        QCOMPARE(shadow->offset(), QPointF(8, 8));
    }

    void sizesFollowTheDisplayScale()
    {
        g_uiScale = 1.5;
        QCOMPARE(scaled(300), 450);
        QCOMPARE(scaled(17), 25);
        QCOMPARE(pixelFont(16).pixelSize(), 24);
        QCOMPARE(scaled(QRect(10, 43, 281, 23)), QRect(15, 64, 421, 34));
    }

    void everyNamedResourceLoads()
    {
        const QStringList images = {"public.png", "remove.png", "rect.png", "line2.png", "top20181.png",
                                    "left20183.png", "32.png", "circle.png", "backg.png", "mousered.png",
                                    "mousegreen.png", "mouseblack.png", "mouseblack2.png", "target.png",
                                    "floy.png", "lasso3.png", "shiji7.png", "0.png", "backgroud1.png",
                                    "backgroup.png", "floy1.png", "floy2.png", "lasso.png", "lasso1.png",
                                    "lasso2.png", "lasso4.png", "public-200%.png", "shiji1.png", "shiji2.png",
                                    "shiji3.png", "shiji4.png", "shiji5.png", "shiji6.png", "shizi.png"};
        for (const QString &name : images)
            QVERIFY2(!QImage(":/image/" + name).isNull(), qPrintable(name));
        // Cursors with a hot spot in the middle have odd sides, so the middle is a pixel.
        for (const QString &name : {"target.png", "shiji7.png", "lasso3.png", "floy.png"})
            QVERIFY(QImage(QStringLiteral(":/image/") + name).width() % 2 == 1);
        // The chequer tiles: two tones, repeating.
        const QImage chequer(QStringLiteral(":/image/backg.png"));
        QVERIFY(chequer.pixel(0, 0) != chequer.pixel(chequer.width() - 1, 0));
        QCOMPARE(chequer.pixel(0, 0), chequer.pixel(chequer.width() - 1, chequer.height() - 1));
    }

    void stampRingsAreNamedByTheirSize()
    {
        const int sizes[] = {26, 38, 50, 62, 74, 86, 98, 110, 122, 134, 146, 156, 168, 180, 192, 202, 214};
        for (int n : sizes) {
            const QImage ring(QStringLiteral(":/rec/c%1.png").arg(n));
            QVERIFY2(!ring.isNull(), qPrintable(QString::number(n)));
            QCOMPARE(ring.size(), QSize(n, n));
            // A ring: drawn at its rim, clear at its centre.
            QCOMPARE(qAlpha(ring.pixel(n / 2, n / 2)), 0);
            QVERIFY(qAlpha(ring.pixel(n / 2, 1)) > 100);
        }
    }

    void languageTableAndTranslation()
    {
        QSettings table(QStringLiteral("Lang/Lang_config.ini"), QSettings::IniFormat);
        const QStringList codes = table.allKeys();
        QVERIFY(codes.contains(QStringLiteral("EN")));
        QVERIFY(codes.contains(QStringLiteral("DE")));
        QCOMPARE(table.value(QStringLiteral("DE")).toString(), QStringLiteral("Deutsch"));
        QTranslator translator;
        QVERIFY(translator.load(QStringLiteral("Lang/lang_DE.qm")));
        QCOMPARE(translator.translate("MainWindow", "Rectangle"), QStringLiteral("Rechteck"));
        QCOMPARE(translator.translate("processDialog", "Cancel"), QStringLiteral("Abbrechen"));
        QCOMPARE(translator.translate("RemoveDialog", "Yes"), QStringLiteral("Ja"));
    }

    void shippedLinksStayOnTheProgramsHosts()
    {
        QFile file(QStringLiteral("configlink.xml"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QDomDocument doc;
        QVERIFY(doc.setContent(&file));
        QStringList keys;
        for (QDomNode group = doc.documentElement().firstChild(); !group.isNull(); group = group.nextSibling())
            for (QDomNode link = group.firstChild(); !link.isNull(); link = link.nextSibling()) {
                const QDomElement e = link.toElement();
                if (e.isNull())
                    continue;
                keys << e.attribute(QStringLiteral("title")) + e.tagName();
                const QString host = QUrl(e.text()).host();
                QVERIFY2(host == QLatin1String("www.mervane.app") || host == QLatin1String("support.mervane.app"),
                         qPrintable(e.text()));
            }
        for (const QString &key : QStringList{"ENWebsite", "ENSupport", "ENUserGuide", "ENHelpLink", "ENAboutLink"})
            QVERIFY(keys.contains(key));
    }
};

QTEST_MAIN(TestSkin)
#include "tst_skin.moc"
