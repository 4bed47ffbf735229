#ifndef MERVANE_FILLCHECK_H
#define MERVANE_FILLCHECK_H

// Whether an erase job has anything to fill its hole from, decided before
// the job from the engine's own rules.
//
// The engine fills a hole from the coarsest level of its pyramid down. A
// coarse pixel takes its colour from the pixels of its 6 x 6 block that lie
// outside the hole; a block that is all hole gives a black placeholder. The
// pyramid stops when the hole has eroded away (then no placeholder is left
// and every pixel the engine writes is built from pixels outside the hole),
// or when a level has 2 rows or columns or fewer, or, with a donor area,
// when the donor has eroded away. If it stops with a placeholder still at
// the coarsest level, that black reaches the result (or darkens it): there
// was nothing around the selection to fill from. The check follows the
// masks through the same stamp, split and halving rules as the engine, which
// costs a few byte operations per pixel and no colour work.
//
// Besides, the engine compares 5 x 5 patches, and its first sweeps run at
// half size: below 10 pixels on a side no patch of the half-size level is
// whole, every match there costs at least a fifth of full scale, and no
// pixel ever gathers the vote weight of 1.0 that a vote needs. Such a crop
// gets no synthesis at all, only a blur of its half-size picture.

#include <opencv2/core.hpp>

#include <string>
#include <vector>

// Smallest crop side the engine can fill from: two patch widths, so that
// the first halving still holds a whole 5 x 5 patch.
constexpr int kMinimumEraseSide = 10;

// The arguments are exactly those of ThreadFromQThread::setEraseJob: the
// crop of the photo (CV_8UC3), the red and green selection layers at that
// crop (8-bit, red read at channel 2, green at channel 1, selected above
// 254) and whether the donor-guided erase is asked for.
//
// Returns an empty string when the job may run. Otherwise one line of
// English saying why not, lower case, no full stop, fit to follow
// "mervane-erase: " or to fill a message box, for example
// "nothing around the selection to fill from: the mask covers the whole
// photo".
//
// A donor area that leaves too little to copy from is refused, not turned
// into a plain erase: the user asked for the fill to come from there, and
// the reason tells them to paint a larger donor or clear it.
std::string eraseRefusal(const cv::Mat &image, const cv::Mat &red, const cv::Mat &green,
                         bool useDonor);

// The engine's pyramid for a job, followed through the masks alone. For
// eraseRefusal and for tests that hold it against the engine.
struct ErasePyramidOutlook
{
    // L, the number of halvings the engine will make.
    int levels = 0;
    // Marked (hole) pixels at levels 0 .. levels, and donor pixels at the
    // same levels (empty without a donor).
    std::vector<int> holePixels;
    std::vector<int> donorPixels;
    // Pixels of the coarsest level whose whole block was hole: the engine's
    // black placeholders, from which nothing is ever filled.
    int coarsestPlaceholders = 0;
    // Why building stopped.
    enum class Stop { HoleGone, DonorGone, SizeLimit, LevelLimit } stop = Stop::HoleGone;
};

// `hole` and `donor` are byte maps of rows x cols (positive = marked), as
// the job driver hands them to the drivers: the hole after stamping, the
// donor less the hole. `donor` is null for a plain erase.
ErasePyramidOutlook eraseOutlook(const unsigned char *hole, const unsigned char *donor, int rows,
                                 int cols);

#endif // MERVANE_FILLCHECK_H
