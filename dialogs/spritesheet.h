#ifndef SPRITESHEET_H
#define SPRITESHEET_H

// Where every picture lies on the skin's sprite sheet (":/image/public.png",
// and twice the size in public-200%.png). The one table of coordinates: the
// generator in tools/skin/ draws each cell here, and the skin cuts the same
// cells by border-image slices. Cells are addressed by their top-left
// corner; each button has four looks, in the order plain, hover, pressed,
// disabled. Plain ints, so the generator needs nothing of the program.
namespace Sprite {

inline constexpr int kSheetWidth = 1331;
inline constexpr int kSheetHeight = 782;

// Tool buttons: 32 x 32, one row per tool, the looks across.
inline constexpr int kToolSide = 32;
inline constexpr int kToolX[4] = {25, 57, 89, 121};
inline constexpr int kToolRectY = 27;
inline constexpr int kToolLassoY = 71;
inline constexpr int kToolPolygonY = 114;
inline constexpr int kToolBrushY = 159;
inline constexpr int kToolFixY = 206;
inline constexpr int kToolGuideY = 249;
inline constexpr int kToolCloneY = 634;
inline constexpr int kToolStampY = 676;

// Command buttons: 32 x 32, one column per command, the looks downwards.
inline constexpr int kCommandSide = 32;
inline constexpr int kCommandY[4] = {434, 466, 498, 530};
inline constexpr int kBeforeAfterX = 462;
inline constexpr int kZoomInX = 509;
inline constexpr int kZoomOutX = 551;
inline constexpr int kActualSizeX = 597;
inline constexpr int kFitX = 647;
inline constexpr int kMoveX = 694;
inline constexpr int kUndoX = 758;
inline constexpr int kRedoX = 813;
inline constexpr int kHistoryX = 862;
inline constexpr int kSaveX = 907;
inline constexpr int kPrintX = 962;

// Header buttons: 19 x 19, one column each, the looks downwards.
inline constexpr int kHeaderSide = 19;
inline constexpr int kHeaderY[4] = {27, 46, 65, 84};
inline constexpr int kMenuX = 207;
inline constexpr int kMinimiseX = 236;
inline constexpr int kMaximiseX = 263;
inline constexpr int kDialogCloseX = 293;
inline constexpr int kCloseX = 332; // also the photo row's delete button

// Colour buttons: 27 x 27, the looks across; a selected row beneath each.
inline constexpr int kColourSide = 27;
inline constexpr int kColourX[4] = {25, 52, 79, 106};
inline constexpr int kRedY = 348;
inline constexpr int kRedSelectedY = 379;
inline constexpr int kGreenY = 431;
inline constexpr int kGreenSelectedY = 458;

// Fold arrows of the right panel: 18 x 18, the looks downwards.
inline constexpr int kFoldSide = 18;
inline constexpr int kFoldY[4] = {27, 45, 63, 81};
inline constexpr int kFoldX = 385;
inline constexpr int kUnfoldX = 403;

// Welcome page buttons: 110 x 110, the looks downwards.
inline constexpr int kWelcomeSide = 110;
inline constexpr int kWelcomeY[4] = {139, 249, 359, 469};
inline constexpr int kWelcomePhotoX = 178;
inline constexpr int kWelcomeFolderX = 310;

// The add button: 62 x 60; the erase button: 142 x 65.
inline constexpr int kAddX = 617, kAddWidth = 62, kAddHeight = 60;
inline constexpr int kAddY[4] = {139, 199, 259, 319};
inline constexpr int kEraseX = 436, kEraseWidth = 142, kEraseHeight = 65;
inline constexpr int kEraseY[4] = {139, 204, 269, 334};

// Single cells.
inline constexpr int kWarningX = 784, kWarningY = 140, kWarningSide = 40;
inline constexpr int kSliderHandleX = 25, kSliderHandleY = 309, kSliderHandleSide = 14;

} // namespace Sprite

#endif // SPRITESHEET_H
