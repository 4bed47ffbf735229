#include "skin.h"

#include "globals.h"
#include "resourceinit.h"
#include "spritesheet.h"

#include <QColor>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QLayout>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QTabWidget>
#include <QToolTip>
#include <QWidget>

namespace Skin {

void init()
{
    static const bool ready = [] {
        initResources();
        QFont::insertSubstitution(QStringLiteral("Lato123"), QStringLiteral("Lato"));
        // Tool tips in the window's colours rather than the platform's pale
        // yellow; they are not widgets of ours, so no style sheet reaches them.
        QPalette tips = QToolTip::palette();
        tips.setColor(QPalette::ToolTipBase, QColor(0x44, 0x42, 0x4a));
        tips.setColor(QPalette::ToolTipText, QColor(0xe8, 0xe8, 0xe8));
        QToolTip::setPalette(tips);
        return true;
    }();
    Q_UNUSED(ready);
}

namespace {

const QString kFocusRule = QStringLiteral("QPushButton:focus{outline: none;}");

// Cells of a family laid out along one row (four x positions at one y) or one
// column (one x at four y positions).
Cells across(int y, const int (&xs)[4], int w, int h)
{
    return {QRect(xs[0], y, w, h), QRect(xs[1], y, w, h), QRect(xs[2], y, w, h), QRect(xs[3], y, w, h)};
}

Cells down(int x, const int (&ys)[4], int w, int h)
{
    return {QRect(x, ys[0], w, h), QRect(x, ys[1], w, h), QRect(x, ys[2], w, h), QRect(x, ys[3], w, h)};
}

using namespace Sprite;

int toolRow(Tool tool)
{
    switch (tool) {
    case Tool::Rect: return kToolRectY;
    case Tool::Noose: return kToolLassoY;
    case Tool::Stamp1: return kToolLassoY;
    case Tool::Poly: return kToolPolygonY;
    case Tool::Stamp2: return kToolPolygonY;
    case Tool::PenPlus: return kToolBrushY;
    case Tool::Sub: return kToolFixY;
    case Tool::Subline: return kToolGuideY;
    case Tool::Clone: return kToolCloneY;
    case Tool::Stamp: return kToolStampY;
    }
    return kToolRectY;
}

int commandColumn(Command command)
{
    switch (command) {
    case Command::A: return kBeforeAfterX;
    case Command::Plus: return kZoomInX;
    case Command::Sub2: return kZoomOutX;
    case Command::OneOne: return kActualSizeX;
    case Command::Maxa: return kFitX;
    case Command::Handle: return kMoveX;
    case Command::Undo: return kUndoX;
    case Command::Redo: return kRedoX;
    case Command::His: return kHistoryX;
    case Command::Save: return kSaveX;
    case Command::Print: return kPrintX;
    }
    return kBeforeAfterX;
}

int headerColumn(Header header)
{
    switch (header) {
    case Header::Dropdown: return kMenuX;
    case Header::Min: return kMinimiseX;
    case Header::Max: return kMaximiseX;
    case Header::DialogClose: return kDialogCloseX;
    case Header::Close: return kCloseX;
    case Header::RowDelete: return kCloseX;
    }
    return kMenuX;
}

QString stateRules(const QString &plainRule, const Cells &cells)
{
    return plainRule + borderImageRule(QStringLiteral("QPushButton:hover"), cells.hover)
           + borderImageRule(QStringLiteral("QPushButton:pressed"), cells.pressed)
           + borderImageRule(QStringLiteral("QPushButton:disabled"), cells.disabled) + kFocusRule;
}

} // namespace

int scaled(int design)
{
    return int(design * g_uiScale);
}

QRect scaled(const QRect &design)
{
    return QRect(scaled(design.x()), scaled(design.y()), scaled(design.width()), scaled(design.height()));
}

QFont pixelFont(int designPixels, const QString &family)
{
    QFont font;
    if (!family.isEmpty())
        font.setFamily(family);
    font.setPixelSize(qMax(1, scaled(designPixels)));
    return font;
}

QString slices(const QRect &cell, int sheetWidth, int sheetHeight)
{
    const int top = cell.y();
    const int right = sheetWidth - cell.x() - cell.width();
    const int bottom = sheetHeight - cell.y() - cell.height();
    const int left = cell.x();
    return QStringLiteral("%1 %2 %3 %4").arg(top).arg(right).arg(bottom).arg(left);
}

QString borderImageRule(const QString &selector, const QRect &cell)
{
    return QStringLiteral("%1{border-image: url(%2)  %3;}").arg(selector, QLatin1String(kSheet), slices(cell));
}

QString buttonSheet(const Cells &cells)
{
    return stateRules(borderImageRule(QStringLiteral("QPushButton"), cells.plain), cells);
}

Cells toolCells(Tool tool)
{
    return across(toolRow(tool), kToolX, kToolSide, kToolSide);
}

Cells commandCells(Command command)
{
    return down(commandColumn(command), kCommandY, kCommandSide, kCommandSide);
}

Cells headerCells(Header header)
{
    return down(headerColumn(header), kHeaderY, kHeaderSide, kHeaderSide);
}

Cells colourCells(int colorType)
{
    return across(colorType == 1 ? kGreenY : kRedY, kColourX, kColourSide, kColourSide);
}

QRect colourSelectedCell(int colorType)
{
    // The selected look is the hover look's cell of the selected row.
    return QRect(kColourX[1], colorType == 1 ? kGreenSelectedY : kRedSelectedY, kColourSide, kColourSide);
}

Cells foldCells(bool panelOpen)
{
    return down(panelOpen ? kFoldX : kUnfoldX, kFoldY, kFoldSide, kFoldSide);
}

Cells bigCells(Big button)
{
    switch (button) {
    case Big::SelectPhoto: return down(kWelcomePhotoX, kWelcomeY, kWelcomeSide, kWelcomeSide);
    case Big::SelectFolder: return down(kWelcomeFolderX, kWelcomeY, kWelcomeSide, kWelcomeSide);
    case Big::Add: return down(kAddX, kAddY, kAddWidth, kAddHeight);
    case Big::Eraser: return down(kEraseX, kEraseY, kEraseWidth, kEraseHeight);
    }
    return {};
}

QRect warningCell()
{
    return QRect(kWarningX, kWarningY, kWarningSide, kWarningSide);
}

QRect sliderHandleCell()
{
    return QRect(kSliderHandleX, kSliderHandleY, kSliderHandleSide, kSliderHandleSide);
}

QString toolButtonSheet(Tool tool, bool selected)
{
    Cells cells = toolCells(tool);
    if (selected) {
        cells.plain = cells.hover;
        return buttonSheet(cells);
    }
    if (tool == Tool::Rect)
        return stateRules(QStringLiteral("QPushButton{border-image: url(:/image/rect.png);}"), cells);
    return buttonSheet(cells);
}

QString commandButtonSheet(Command command, bool selected)
{
    Cells cells = commandCells(command);
    if (selected && command == Command::Handle)
        cells.plain = cells.pressed;
    return buttonSheet(cells);
}

QString headerButtonSheet(Header header)
{
    return buttonSheet(headerCells(header));
}

QString colourButtonSheet(int colorType, bool selected)
{
    Cells cells = colourCells(colorType);
    if (selected)
        cells.plain = colourSelectedCell(colorType);
    return buttonSheet(cells);
}

QString foldButtonSheet(bool panelOpen)
{
    return buttonSheet(foldCells(panelOpen));
}

QString bigButtonSheet(Big button)
{
    QString sheet = buttonSheet(bigCells(button));
    if (button == Big::Eraser)
        sheet += QStringLiteral("QPushButton{color:#ffffff;font-family:\"Lato123\";}"
                                "QPushButton:disabled{color:#8a8790;}");
    return sheet;
}

QString warningSignSheet()
{
    const QString rule = borderImageRule(QStringLiteral("QPushButton"), warningCell());
    return rule + kFocusRule;
}

QString removeButtonSheet()
{
    return QStringLiteral("QPushButton{border-image: url(:/image/remove.png)  0 0 57 0;"
                          "color:#e8e8e8;font-family:\"Lato123\";}"
                          "QPushButton:hover{border-image: url(:/image/remove.png)  22 0 35 0;}"
                          "QPushButton:pressed{border-image: url(:/image/remove.png)  44 0 13 0;}")
           + kFocusRule;
}

QString frameSheet(const QString &colour)
{
    return QStringLiteral("QFrame{background:%1}").arg(colour);
}

QString labelSheet(const QString &family, const QString &colour)
{
    return QStringLiteral("QLabel{color:%1;font-family:\"%2\";}").arg(colour, family);
}

QString dialogButtonSheet(const QString &background)
{
    return QStringLiteral("QPushButton{background:%1;color:#e8e8e8;font-family:\"Lato123\";border:none;}"
                          "QPushButton:hover{background:%2;}"
                          "QPushButton:pressed{background:%3;}")
               .arg(background, QColor(background).lighter(115).name(), QColor(background).darker(115).name())
           + kFocusRule;
}

QString thinScrollBarSheet()
{
    return QStringLiteral("QScrollBar:vertical{width:3px;background:transparent;border:none;}"
                          "QScrollBar::handle:vertical{background:rgba(108,107,113,100%);border-radius:3px;"
                          "min-height:100px;}"
                          "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0px;}"
                          "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background:transparent;}");
}

QString listWidgetSheet()
{
    return QStringLiteral("QListWidget{background:transparent;border:none;outline:none;}"
                          "QListWidget::item:hover{background:#f1bc1d;}"
                          "QListWidget::item:selected{background:#f1bc1d;color:red;}")
           + thinScrollBarSheet();
}

QString canvasScrollBarSheet()
{
    return QStringLiteral("QScrollBar{background:rgba(255,255,255,100);border:none;}"
                          "QScrollBar:vertical{width:12px;}QScrollBar:horizontal{height:12px;}"
                          "QScrollBar::handle{background:#696969;border:none;}"
                          "QScrollBar::handle:vertical{width:12px;min-height:50px;}"
                          "QScrollBar::handle:horizontal{height:12px;min-width:50px;}"
                          "QScrollBar::add-page,QScrollBar::sub-page{background:#44424a;}"
                          "QScrollBar::add-line,QScrollBar::sub-line{width:0px;height:0px;border:none;}");
}

// The round handle both sliders share, cut from the sheet.
static QString sliderHandleImage()
{
    return QStringLiteral("border-image: url(%1)  %2;").arg(QLatin1String(kSheet), slices(sliderHandleCell()));
}

QString brushSliderSheet()
{
    return QStringLiteral("QSlider::groove:vertical{background:#161616;width:4px;border-radius:2px;}"
                          "QSlider::add-page:vertical{background:#439cf4;width:4px;border-radius:2px;}"
                          "QSlider::sub-page:vertical{background:#161616;width:4px;border-radius:2px;}"
                          "QSlider::handle:vertical{%1height:17px;margin:0px -5px;}")
        .arg(sliderHandleImage());
}

QString stampSliderSheet()
{
    return QStringLiteral("QSlider::groove:horizontal{background:#161616;height:4px;border-radius:2px;}"
                          "QSlider::sub-page:horizontal{background:#439cf4;height:4px;border-radius:2px;}"
                          "QSlider::add-page:horizontal{background:#161616;height:4px;border-radius:2px;}"
                          "QSlider::handle:horizontal{%1width:14px;margin:-5px 0px;}")
        .arg(sliderHandleImage());
}

QString menuSheet()
{
    return QStringLiteral("QMenu{background-color:rgb(68,66,74);}"
                          "QMenu::item{color:rgb(232,232,232);background-color:rgb(68,66,74);"
                          "padding:5px 10px;margin:5px;font-size:14px;}"
                          "QMenu::item:selected{background-color:rgb(240,156,11);}"
                          "QMenu::item:pressed{background-color:rgb(240,156,11);}"
                          // Greyed, as a disabled button is, and not lit under the pointer.
                          "QMenu::item:disabled{color:#8a8790;}"
                          "QMenu::item:disabled:selected{background-color:rgb(68,66,74);}");
}

QString historyListSheet()
{
    return QStringLiteral("QListView{background:transparent;}"
                          "QListView::item{font-size:14px;color:rgb(170,170,170);background:rgb(68,66,74);"
                          "padding:2px;margin:2px 10px;}"
                          "QListView::item:selected{background:rgb(45,43,48);}"
                          "QListView::item:pressed{background:rgb(45,43,48);}");
}

QString progressBarSheet()
{
    return QStringLiteral("QProgressBar{border:1px solid grey;border-radius:4px;background:#302e34;"
                          "color:#e8e8e8;text-align:center;}"
                          "QProgressBar::chunk{background:#f09c0b;border-radius:4px;}");
}

QString stampStripSheet()
{
    return QStringLiteral("QFrame#frame_3{border-image: url(:/image/top20181.png);}");
}

QString edgeStripSheet()
{
    return QStringLiteral("QFrame#frame_bianyuan{border-image: url(:/image/left20183.png);}");
}

// A missing picture gives an empty label, quietly.
QPixmap dividerPixmap()
{
    const QPixmap line(QStringLiteral(":/image/line2.png"));
    if (line.isNull())
        return line;
    return line.scaled(scaled(81), scaled(5), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QPixmap appIconPixmap()
{
    const QPixmap icon(QStringLiteral(":/image/32.png"));
    if (icon.isNull())
        return icon;
    return icon.scaled(scaled(24), scaled(24), Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

void styleListWidget(QListWidget *list)
{
    list->setStyleSheet(listWidgetSheet());
    list->setMovement(QListView::Static);
    list->setFocusPolicy(Qt::NoFocus);
}

namespace {

// The named widget inside `root`'s own window: dialogs parented to the window
// reuse names like "label" or "pushButton_close" and must not be matched.
template<typename T>
T *child(QWidget *root, const char *name)
{
    if (!root)
        return nullptr;
    const QList<T *> found = root->findChildren<T *>(QLatin1String(name));
    for (T *w : found)
        if (w->window() == root->window())
            return w;
    return nullptr;
}

void sheet(QWidget *root, const char *name, const QString &styleSheet)
{
    if (QWidget *w = child<QWidget>(root, name))
        w->setStyleSheet(styleSheet);
}

void text(QWidget *root, const char *name, const QString &family, int designPixels, const QString &colour = kText)
{
    if (QWidget *w = child<QWidget>(root, name)) {
        w->setStyleSheet(labelSheet(family, colour));
        w->setFont(pixelFont(designPixels));
    }
}

} // namespace

void applyWindowSkin(QWidget *window)
{
    const QString lato123 = QStringLiteral("Lato123");
    const QString lato = QStringLiteral("Lato");

    // Header.
    sheet(window, "frame_header", frameSheet(kPanelBack));
    if (auto *icon = child<QLabel>(window, "label_ico"))
        icon->setPixmap(appIconPixmap());
    text(window, "label_title", lato123, 16);
    text(window, "label_version", lato, 14);
    sheet(window, "pushButton_dropdown", headerButtonSheet(Header::Dropdown));
    sheet(window, "pushButton_min", headerButtonSheet(Header::Min));
    sheet(window, "pushButton_max", headerButtonSheet(Header::Max));
    sheet(window, "pushButton_close", headerButtonSheet(Header::Close));

    // Left panel: the brush and the red layer are chosen at start.
    sheet(window, "frame_left", frameSheet(kPanelBack));
    if (auto *line = child<QLabel>(window, "label_5"))
        line->setPixmap(dividerPixmap());
    text(window, "label_3", lato123, 16);
    const std::pair<const char *, Tool> tools[] = {
        {"pushButton_rect", Tool::Rect},   {"pushButton_noose", Tool::Noose},   {"pushButton_poly", Tool::Poly},
        {"pushButton_penplus", Tool::PenPlus}, {"pushButton_sub", Tool::Sub}, {"pushButton_subline", Tool::Subline},
        {"pushButton_clone", Tool::Clone}, {"pushButton_stamp", Tool::Stamp}, {"pushButton_stamp_1", Tool::Stamp1},
        {"pushButton_stamp_2", Tool::Stamp2}};
    for (const auto &tool : tools)
        sheet(window, tool.first, toolButtonSheet(tool.second, tool.second == Tool::PenPlus));
    text(window, "label", lato, 10);
    text(window, "label_2", lato, 10);
    // The column's word and the size readout sit centred over its buttons.
    for (const char *name : {"label_3", "label", "label_2"})
        if (auto *label = child<QLabel>(window, name))
            label->setAlignment(Qt::AlignCenter);
    sheet(window, "verticalSlider", brushSliderSheet());
    sheet(window, "pushButton_red", colourButtonSheet(0, true));
    sheet(window, "pushButton_green", colourButtonSheet(1, false));

    // Frames and labels.
    sheet(window, "frame_main", frameSheet(kMainBack));
    sheet(window, "frame_stackwidge2", frameSheet(kMainBack));
    sheet(window, "frame_fangxiang", frameSheet(kSideBack));
    sheet(window, "frame_right", frameSheet(kSideBack));
    sheet(window, "frame_3", stampStripSheet());
    sheet(window, "frame_bianyuan", edgeStripSheet());
    for (const char *name : {"label_stamp_1", "label_stamp_2", "label_stamp_3", "label_stamp_4"})
        text(window, name, lato, 12, kStampLabel);
    sheet(window, "horizontalSlider", stampSliderSheet());
    sheet(window, "horizontalSlider_2", stampSliderSheet());

    // Drop shadow: the order leaves it on the canvas back.
    applyCanvasShadow(child<QWidget>(window, "widget_front"), child<QWidget>(window, "widget_mid"),
                      child<QWidget>(window, "widget_back"));

    // Welcome page and view widgets.
    sheet(window, "pushButton_select_photo", bigButtonSheet(Big::SelectPhoto));
    sheet(window, "pushButton_select_folder", bigButtonSheet(Big::SelectFolder));
    text(window, "label_selectfile", lato123, 16);
    text(window, "label_selectfolder", lato123, 16);
    text(window, "label_display_scale", lato, 10);
    sheet(window, "horizontalScrollBar", canvasScrollBarSheet());
    sheet(window, "verticalScrollBar", canvasScrollBarSheet());

    // Right panel and the list.
    sheet(window, "pushButton_fangxiang", foldButtonSheet(true));
    sheet(window, "pushButton_add", bigButtonSheet(Big::Add));
    if (auto *remove = child<QPushButton>(window, "pushButton_remove")) {
        remove->setStyleSheet(removeButtonSheet());
        remove->setFont(pixelFont(16));
    }
    if (auto *list = child<QListWidget>(window, "listWidget"))
        styleListWidget(list);

    // Command row.
    const std::pair<const char *, Command> commands[] = {
        {"pushButton_a", Command::A},         {"pushButton_plus", Command::Plus},  {"pushButton_sub_2", Command::Sub2},
        {"pushButton_1_1", Command::OneOne},  {"pushButton_maxa", Command::Maxa},  {"pushButton_handle", Command::Handle},
        {"pushButton_undo", Command::Undo},   {"pushButton_redo", Command::Redo},  {"pushButton_his", Command::His},
        {"pushButton_save", Command::Save},   {"pushButton_print", Command::Print}};
    for (const auto &command : commands)
        sheet(window, command.first, commandButtonSheet(command.second));
    if (auto *eraser = child<QPushButton>(window, "pushButton_eraser")) {
        eraser->setStyleSheet(bigButtonSheet(Big::Eraser));
        eraser->setFont(pixelFont(17));
    }
}

void applyCanvasShadow(QWidget *front, QWidget *mid, QWidget *back)
{
    // The effect moves from widget to widget; the last owner keeps it.
    if (!front && !mid && !back)
        return;
    auto *shadow = new QGraphicsDropShadowEffect;
    shadow->setOffset(kShadowOffset, kShadowOffset);
    shadow->setBlurRadius(18);
    shadow->setColor(QColor(0, 0, 0, 150));
    for (QWidget *w : {front, mid, back})
        if (w)
            w->setGraphicsEffect(shadow);
}

void scaleChildGeometry(QWidget *root)
{
    const QList<QWidget *> children = root->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    const bool placedByLayout = root->layout() != nullptr;
    for (QWidget *child : children) {
        if (child->isWindow())
            continue;
        if (!placedByLayout)
            child->setGeometry(scaled(child->geometry()));
        // A tab widget places its own pages; their contents use layouts.
        if (!qobject_cast<QTabWidget *>(child))
            scaleChildGeometry(child);
    }
}

} // namespace Skin
