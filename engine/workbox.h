#ifndef MERVANE_WORKBOX_H
#define MERVANE_WORKBOX_H

// The crop an erase job works on: the box of everything painted since the
// last job, grown so that the engine has texture around the hole to copy
// from. Shared by the window's Erase command and by mervane-erase, so that
// both cut exactly the same crop.

#include <opencv2/core/types.hpp>

struct WorkBox
{
    double minX = -1.0;
    double minY = -1.0;
    double maxX = -1.0;
    double maxY = -1.0;
};

// Grows `box` inside an image of `cols` x `rows` pixels and returns the new
// box, every corner an integer stored as a double:
//  - about one box width of margin left and right, a flat 20 pixels above
//    and below (the engine takes its texture from the crop, and photos are
//    usually wider than the objects erased from them are tall);
//  - then a minimum of about 700 pixels each way, grown to the left (top)
//    first and to the right (bottom) from the already moved edge, so a crop
//    in mid-image ends a little below 700;
//  - always clamped to [0, cols] x [0, rows].
// Pure function: no state, no allocation, safe for any input (an empty or
// inverted box, a box outside the image, a 1-pixel image).
WorkBox enlargeWorkBox(const WorkBox &box, int cols, int rows);

// The same for whole-pixel rectangles: the crop an erase of everything in
// `painted` works on, in an image of `size`. For callers that hold the
// painted area as a rectangle (the command-line eraser, tests, benchmarks).
cv::Rect enlargedCrop(const cv::Rect &painted, cv::Size size);

#endif // MERVANE_WORKBOX_H
