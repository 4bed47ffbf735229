#ifndef SKIN_H
#define SKIN_H

// The program's look: every button is cut from one sprite sheet by style
// sheets, frames are flat colour. Each widget family has one function here
// that returns its style sheet, so a window applies its skin by a few calls
// and the sheet's coordinates live in one place.

#include <QFont>
#include <QRect>
#include <QString>

#include "spritesheet.h"

class QListWidget;
class QPixmap;
class QWidget;

namespace Skin {

// Registers the compiled-in pictures (initResources) and sets what the look
// needs beyond style sheets (font substitution, tool tip colours). The
// window's skin step and every dialog call it; repeated calls do nothing.
void init();

// The sprite sheet and its size.
inline constexpr const char *kSheet = ":/image/public.png";
inline constexpr int kSheetWidth = Sprite::kSheetWidth;
inline constexpr int kSheetHeight = Sprite::kSheetHeight;

// Palette.
inline constexpr const char *kMainBack = "#302e34";      // frame_main, frame_stackwidge2, progress bar
inline constexpr const char *kPanelBack = "#363538";     // frame_header, frame_left
inline constexpr const char *kSideBack = "#44424a";      // frame_fangxiang, frame_right, scroll pages
inline constexpr const char *kDialogBody = "#3e3b42";
inline constexpr const char *kDialogLine = "#4d4a51";
inline constexpr const char *kDialogButton = "#4e4956";
inline constexpr const char *kAccent = "#f09c0b";
inline constexpr const char *kListHighlight = "#f1bc1d";
inline constexpr const char *kText = "#e8e8e8";
inline constexpr const char *kStampLabel = "#c2c2c2";
inline constexpr const char *kGroove = "#161616";
inline constexpr const char *kGrooveFilled = "#439cf4";
inline constexpr const char *kScrollHandle = "#696969";

// The canvas drop shadow lies this far right and down of the image.
inline constexpr int kShadowOffset = 8;

// The four looks of a button, as cells of the sheet.
struct Cells {
    QRect plain, hover, pressed, disabled;
};

// Buttons cut from the sheet. The names follow the widgets that use them.
enum class Tool { Rect, Noose, Poly, PenPlus, Sub, Subline, Clone, Stamp, Stamp1, Stamp2 };
enum class Command { A, Plus, Sub2, OneOne, Maxa, Handle, Undo, Redo, His, Save, Print };
enum class Header { Dropdown, Min, Max, DialogClose, Close, RowDelete };
enum class Big { SelectPhoto, SelectFolder, Add, Eraser };

// Sizes: design value times g_uiScale, truncated.
int scaled(int design);
QRect scaled(const QRect &design);
// A font with the pixel size int(design x g_uiScale).
QFont pixelFont(int designPixels, const QString &family = QString());

// The slices "t r b l" that select `cell` on a sheet of the given size.
QString slices(const QRect &cell, int sheetWidth = kSheetWidth, int sheetHeight = kSheetHeight);
// One rule: "<selector>{border-image: url(<sheet>)  t r b l;}".
QString borderImageRule(const QString &selector, const QRect &cell);
// The four state rules of a sheet button and the focus rule that ends every button sheet.
QString buttonSheet(const Cells &cells);

Cells toolCells(Tool tool);
Cells commandCells(Command command);
Cells headerCells(Header header);
Cells colourCells(int colorType);
Cells foldCells(bool panelOpen);
Cells bigCells(Big button);
QRect warningCell();
QRect sliderHandleCell();
// The selected plain cell of the two colour buttons.
QRect colourSelectedCell(int colorType);

// Tool buttons and the two stamp sub-modes. Selected: the hover cell serves
// as the plain state too. pushButton_rect's unselected plain state is the file
// ":/image/rect.png".
QString toolButtonSheet(Tool tool, bool selected);
// The command row. pushButton_handle selected shows its pressed cell when idle.
QString commandButtonSheet(Command command, bool selected = false);
QString headerButtonSheet(Header header);
// 0 red (Mask), 1 green (Donor).
QString colourButtonSheet(int colorType, bool selected);
// The arrow that folds the right panel (panel open) or unfolds it (panel folded).
QString foldButtonSheet(bool panelOpen);
// Welcome page, add and erase buttons; the erase button also carries its text style.
QString bigButtonSheet(Big button);
// The flat warning sign of the question box: one state, does nothing.
QString warningSignSheet();
// pushButton_remove, cut from ":/image/remove.png".
QString removeButtonSheet();

// Frames, labels and the plain dialog buttons.
QString frameSheet(const QString &colour);           // "QFrame{background:<colour>}"
QString labelSheet(const QString &family, const QString &colour = kText);
QString dialogButtonSheet(const QString &background); // text #e8e8e8, "Lato123", no focus outline

// Lists, sliders, scroll bars, menus.
QString listWidgetSheet();
QString canvasScrollBarSheet();          // verticalScrollBar, horizontalScrollBar
QString brushSliderSheet();              // verticalSlider
QString stampSliderSheet();              // horizontalSlider, horizontalSlider_2
QString menuSheet();                     // menus of the popup buttons and the language menu
QString historyListSheet();              // the QUndoView of the history popup
QString thinScrollBarSheet();            // 3-pixel vertical scroll bar of lists
QString progressBarSheet();
QString stampStripSheet();               // frame_3
QString edgeStripSheet();                // frame_bianyuan

// Pictures of labels: ":/image/line2.png" at 81 x 5 (aspect ignored, smooth)
// for label_5, ":/image/32.png" at 24 x 24 (aspect kept) for label_ico, both scaled.
QPixmap dividerPixmap();
QPixmap appIconPixmap();
// The photo list: its sheet, rows that do not move, no focus.
void styleListWidget(QListWidget *list);

// The whole start-up skin of the main window, found by object name, in the
// order header, left panel, frames and labels, drop shadow, welcome page and
// view widgets, right panel, list, command row. pushButton_penplus and
// pushButton_red get their selected looks, every other tool its unselected one.
// Widgets that are absent are skipped; showing and hiding stays with the window.
void applyWindowSkin(QWidget *window);

// The canvas shadow: one effect, offset (8, 8), given in turn to front, mid
// and back; an effect has one owner, so it stays on `back` alone.
void applyCanvasShadow(QWidget *front, QWidget *mid, QWidget *back);

// Multiplies the geometry of every widget below `root` that no layout places
// by g_uiScale; forms keep design geometry, code scales it once.
void scaleChildGeometry(QWidget *root);

} // namespace Skin

#endif // SKIN_H
