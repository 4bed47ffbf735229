#ifndef MERVANE_LEVELRULES_H
#define MERVANE_LEVELRULES_H

// The rules that shape the erase pyramid, shared by the engine and by the
// check that decides, before a job, whether the engine has anything to fill
// a hole from (fillcheck.h). Each rule lives here once.

#include <opencv2/core.hpp>

namespace engine {

// Radius of the disc the job driver stamps every selected pixel with
// (MyPatchMatch::m_dilateRadius); with the strict test below, radius 2 is
// the 3 x 3 square. The job driver's growth step after it has radius 0.
constexpr int kStampRadius = 2;

// A pixel of the half-size level stays marked when more than three quarters
// of the pixels of its 6 x 6 block that lie inside the image are marked.
inline bool halfSizeMarked(int excluded, int total)
{
    return double(excluded) > 0.75 * total;
}

// The erase pyramid builds no level below one with 2 rows or columns or
// fewer.
inline bool pyramidSizeStop(int rows, int cols)
{
    return rows <= 2 || cols <= 2;
}

// First and last row (column) of the 6 x 6 block, clipped to a side of
// `length`, that makes the half-size pixel `coarse`: 2 * coarse - 2 to
// 2 * coarse + 3.
inline int halfBlockFirst(int coarse)
{
    return coarse > 0 ? 2 * coarse - 2 : 0;
}
inline int halfBlockLast(int coarse, int length)
{
    return 2 * coarse + 3 < length - 1 ? 2 * coarse + 3 : length - 1;
}

// Stamps every pixel of `selection` whose `channel` is above 254 into the
// image-sized byte map `target` as the disc of `radius` (strict test: with
// radius 2 the 3 x 3 square). Returns whether anything was stamped.
bool stampSelectionMap(const cv::Mat &selection, int channel, int radius, unsigned char *target);

} // namespace engine

#endif // MERVANE_LEVELRULES_H
