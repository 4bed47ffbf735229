// The look: every button is a cell of one sprite sheet, frames are flat colour.
// Each rule also carries a plain colour, so that the state of a button stays
// visible where the sheet is not available.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "globals.h"


namespace {

constexpr int kSheetW = 1331;
constexpr int kSheetH = 782;

// border-image slices (top, right, bottom, left) of the cell at (x, y).
QString cell(int x, int y, int w, int h)
{
    return QStringLiteral("url(:/image/public.png)  %1 %2 %3 %4")
        .arg(y)
        .arg(kSheetW - x - w)
        .arg(kSheetH - y - h)
        .arg(x);
}

QString buttonStyle(const QString &plain, const QString &hover, const QString &pressed, const QString &disabled,
                    const QString &fallback = QStringLiteral("transparent"))
{
    return QStringLiteral("QPushButton{border-image: %1;background-color:%5;border:none;}"
                          "QPushButton:hover{border-image: %2;}"
                          "QPushButton:pressed{border-image: %3;}"
                          "QPushButton:disabled{border-image: %4;}"
                          "QPushButton:focus{outline: none;}")
        .arg(plain, hover, pressed, disabled, fallback);
}

// A family laid out by rows: the four states side by side at x 25, 57, 89, 121.
QString toolStyle(int y, bool selected)
{
    const QString hover = cell(57, y, 32, 32);
    return buttonStyle(selected ? hover : cell(25, y, 32, 32), hover, cell(89, y, 32, 32), cell(121, y, 32, 32),
                       selected ? QStringLiteral("#f09c0b") : QStringLiteral("#4e4956"));
}

// A family laid out by columns: the four states one under the other.
QString columnStyle(int x, const int ys[4], int w, int h)
{
    return buttonStyle(cell(x, ys[0], w, h), cell(x, ys[1], w, h), cell(x, ys[2], w, h), cell(x, ys[3], w, h),
                       QStringLiteral("#4e4956"));
}

} // namespace

void MainWindow::setToolLook(QPushButton *button, bool selected)
{
    struct Row { QPushButton *button; int y; };
    const Row rows[] = {
        {ui->pushButton_rect, 27},   {ui->pushButton_noose, 71},     {ui->pushButton_poly, 114},
        {ui->pushButton_penplus, 159}, {ui->pushButton_sub, 206},    {ui->pushButton_subline, 249},
        {ui->pushButton_clone, 634}, {ui->pushButton_stamp, 676},    {ui->pushButton_stamp_1, 71},
        {ui->pushButton_stamp_2, 114},
    };
    if (button == ui->pushButton_handle) {
        const int x = 694;
        const QString plain = selected ? cell(x, 498, 32, 32) : cell(x, 434, 32, 32);
        button->setStyleSheet(buttonStyle(plain, cell(x, 466, 32, 32), cell(x, 498, 32, 32), cell(x, 530, 32, 32),
                                          selected ? QStringLiteral("#f09c0b") : QStringLiteral("#4e4956")));
        button->setProperty("selectedLook", selected);
        return;
    }
    for (const Row &r : rows) {
        if (r.button != button)
            continue;
        QString style = toolStyle(r.y, selected);
        if (button == ui->pushButton_rect && !selected) {
            // The rectangle's plain look is a file of its own.
            style = buttonStyle(QStringLiteral("url(:/image/rect.png)"), cell(57, 27, 32, 32), cell(89, 27, 32, 32),
                                cell(121, 27, 32, 32), QStringLiteral("#4e4956"));
        }
        button->setStyleSheet(style);
        button->setProperty("selectedLook", selected);
        return;
    }
}

void MainWindow::setColorLooks(bool redSelected, bool greenSelected)
{
    const int xs[4] = {25, 52, 79, 106};
    auto style = [&](int y, bool selected, int selectedY, const char *colour) {
        const QString plain = selected ? cell(52, selectedY, 27, 27) : cell(xs[0], y, 27, 27);
        return buttonStyle(plain, cell(xs[1], y, 27, 27), cell(xs[2], y, 27, 27), cell(xs[3], y, 27, 27),
                           selected ? QString::fromLatin1(colour) : QStringLiteral("#4e4956"));
    };
    ui->pushButton_red->setStyleSheet(style(348, redSelected, 379, "#e02020"));
    ui->pushButton_red->setProperty("selectedLook", redSelected);
    ui->pushButton_green->setStyleSheet(style(431, greenSelected, 458, "#20c020"));
    ui->pushButton_green->setProperty("selectedLook", greenSelected);
}

void MainWindow::setFoldArrowLook()
{
    const int x = m_rightPanelOpen ? 385 : 403;
    const int ys[4] = {27, 45, 63, 81};
    ui->pushButton_fangxiang->setStyleSheet(columnStyle(x, ys, 18, 18));
}

void MainWindow::applySkin()
{
    const auto S = [](double v) { return int(v * g_uiScale); };
    const auto px = [&](QWidget *w, int size) {
        QFont f = w->font();
        f.setPixelSize(S(size));
        w->setFont(f);
    };

    // Header.
    ui->frame_header->setStyleSheet(QStringLiteral("QFrame#frame_header{background:#363538;}"));
    const QPixmap icon(QStringLiteral(":/image/32.png"));
    if (!icon.isNull())
        ui->label_ico->setPixmap(icon.scaled(S(24), S(24), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    ui->label_title->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;font-family:\"Lato\";}"));
    px(ui->label_title, 16);
    ui->label_version->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;font-family:\"Lato Light\";}"));
    px(ui->label_version, 14);
    const int headerYs[4] = {27, 46, 65, 84};
    ui->pushButton_dropdown->setStyleSheet(columnStyle(207, headerYs, 19, 19));
    ui->pushButton_min->setStyleSheet(columnStyle(236, headerYs, 19, 19));
    ui->pushButton_max->setStyleSheet(columnStyle(263, headerYs, 19, 19));
    ui->pushButton_close->setStyleSheet(columnStyle(332, headerYs, 19, 19));

    // Left panel: the brush comes up selected, with its size control.
    ui->frame_left->setStyleSheet(QStringLiteral("QFrame#frame_left{background:#363538;}"));
    setToolLook(ui->pushButton_penplus, true);
    setToolLook(ui->pushButton_stamp_1, false);
    setToolLook(ui->pushButton_stamp_2, false);
    setColorLooks(true, false);
    setSizeControlVisible(true);
    const QPixmap line(QStringLiteral(":/image/line2.png"));
    if (!line.isNull())
        ui->label_5->setPixmap(line.scaled(S(81), S(5), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    ui->label_3->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;font-family:\"Lato\";}"));
    ui->label_3->setAlignment(Qt::AlignCenter);
    px(ui->label_3, 16);
    for (QLabel *l : {ui->label, ui->label_2}) {
        l->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;}"));
        l->setAlignment(Qt::AlignCenter);
        px(l, 10);
    }
    ui->verticalSlider->setStyleSheet(QStringLiteral(
        "QSlider::groove:vertical{background:#161616;width:4px;}"
        "QSlider::add-page:vertical{background:#439cf4;width:4px;}"
        "QSlider::sub-page:vertical{background:#161616;width:4px;}"
        "QSlider::handle:vertical{border-image:url(:/image/public.png) 309 1292 459 25;"
        "background:#e8e8e8;height:17px;margin:0 -6px;}"));

    // Frames and labels.
    ui->page->setStyleSheet(QStringLiteral("QWidget#page{background:#302e34;}"));
    ui->page_2->setStyleSheet(QStringLiteral("QWidget#page_2{background:#302e34;}"));
    ui->frame_main->setStyleSheet(QStringLiteral("QFrame#frame_main{background:#302e34;}"));
    ui->frame_stackwidge2->setStyleSheet(QStringLiteral("QFrame#frame_stackwidge2{background:#302e34;}"));
    ui->frame_3->setStyleSheet(QStringLiteral("QFrame#frame_3{border-image:url(:/image/top20181.png);background:#363538;}"));
    ui->frame_bianyuan->setStyleSheet(QStringLiteral("QFrame#frame_bianyuan{border-image:url(:/image/left20183.png);background:#2b292f;}"));
    for (QLabel *l : {ui->label_stamp_1, ui->label_stamp_2, ui->label_stamp_3, ui->label_stamp_4})
        l->setStyleSheet(QStringLiteral("QLabel{color:#c2c2c2;}"));
    ui->label_display_scale->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;}"));
    px(ui->label_display_scale, 10);

    // The canvas back casts a drop shadow, offset (8, 8), under the image
    // area. It is painted by the back widget itself rather than by a
    // graphics effect: an effect re-renders the whole canvas stack on every
    // brush step, which costs a large photo its fluid strokes.
    ui->widget_back->setDropShadow(QPoint(8, 8), QColor(63, 63, 63, 180));

    // Welcome page and view widgets.
    const int welcomeYs[4] = {139, 249, 359, 469};
    ui->pushButton_select_photo->setStyleSheet(columnStyle(178, welcomeYs, 110, 110));
    ui->pushButton_select_folder->setStyleSheet(columnStyle(310, welcomeYs, 110, 110));
    for (QLabel *l : {ui->label_selectfile, ui->label_selectfolder}) {
        l->setStyleSheet(QStringLiteral("QLabel{color:#e8e8e8;font-family:\"Lato\";}"));
        px(l, 16);
    }
    const QString bars = QStringLiteral(
        "QScrollBar{background:rgba(255,255,255,100);border:none;}"
        "QScrollBar::handle{background:#696969;min-width:50px;min-height:50px;}"
        "QScrollBar::add-page,QScrollBar::sub-page{background:#44424a;}"
        "QScrollBar::add-line,QScrollBar::sub-line{width:0px;height:0px;}");
    ui->horizontalScrollBar->setStyleSheet(bars);
    ui->verticalScrollBar->setStyleSheet(bars);

    // Right panel.
    ui->frame_fangxiang->setStyleSheet(QStringLiteral("QFrame#frame_fangxiang{background:#44424a;}"));
    ui->frame_right->setStyleSheet(QStringLiteral("QFrame#frame_right{background:#44424a;}"));
    setFoldArrowLook();
    const int addYs[4] = {139, 199, 259, 319};
    ui->pushButton_add->setStyleSheet(columnStyle(617, addYs, 62, 60));
    ui->pushButton_remove->setStyleSheet(QStringLiteral(
        "QPushButton{border-image:url(:/image/remove.png) 0 0 57 0;color:#e8e8e8;font-family:\"Lato123\";background:#4e4956;}"
        "QPushButton:hover{border-image:url(:/image/remove.png) 22 0 35 0;}"
        "QPushButton:pressed{border-image:url(:/image/remove.png) 44 0 13 0;}"
        "QPushButton:focus{outline: none;}"));
    px(ui->pushButton_remove, 16);

    // List widget.
    ui->listWidget->setStyleSheet(QStringLiteral(
        "QListWidget{background:transparent;border:none;outline:none;}"
        "QListWidget::item:hover{background:#f1bc1d;}"
        "QListWidget::item:selected{background:#f1bc1d;color:red;}"
        "QScrollBar:vertical{width:3px;background:transparent;}"
        "QScrollBar::handle:vertical{background:rgba(108,107,113,100%);border-radius:3px;min-height:100px;}"));
    ui->listWidget->setMovement(QListView::Static);
    ui->listWidget->setFocusPolicy(Qt::NoFocus);

    // Command row.
    const int cmdYs[4] = {434, 466, 498, 530};
    struct Cmd { QPushButton *b; int x; };
    const Cmd cmds[] = {{ui->pushButton_a, 462},    {ui->pushButton_plus, 509}, {ui->pushButton_sub_2, 551},
                        {ui->pushButton_1_1, 597},  {ui->pushButton_maxa, 647}, {ui->pushButton_undo, 758},
                        {ui->pushButton_redo, 813}, {ui->pushButton_his, 862},  {ui->pushButton_save, 907},
                        {ui->pushButton_print, 962}};
    for (const Cmd &c : cmds)
        c.b->setStyleSheet(columnStyle(c.x, cmdYs, 32, 32));
    setToolLook(ui->pushButton_handle, false);
    const int eraseYs[4] = {139, 204, 269, 334};
    ui->pushButton_eraser->setStyleSheet(
        columnStyle(436, eraseYs, 142, 65)
            .replace(QStringLiteral("border:none;"), QStringLiteral("border:none;color:#e8e8e8;font-family:\"Lato\";")));
    px(ui->pushButton_eraser, 17);
}
