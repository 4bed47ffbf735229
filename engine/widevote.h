#ifndef MERVANE_WIDEVOTE_H
#define MERVANE_WIDEVOTE_H

// Filling a hole at full precision. The search of an erase runs on 8-bit
// pixels; its last step, the full-size vote, can be done again on a wider
// copy of the same crop (16 bits a sample) with the same field and the same
// weights, so that the values written into the hole come from the wide
// photo instead of its 8-bit copy: no banding in smooth fills.

#include <opencv2/core.hpp>

namespace engine {

// What the full-size vote of an erase used, kept when the engine is asked
// to (MyPatchMatch::m_keepFinalVote).
struct FinalVote
{
    cv::Mat field;   // CV_16SC3, absolute (x, y, 0) source positions at half size
    cv::Mat weights; // CV_64FC1, each field cell's vote weight (its similarity)
    cv::Mat mask;    // CV_8UC3 at full size, channel 0 == 255 marks the hole
    int patchRadius = 2;

    bool empty() const { return field.empty(); }
};

// What the full-size vote is about to use: the finest swept level's field
// and cost map (the cost turned into weights by `similarity`), and the
// full-size hole mask. The field and weights are copied; the mask is shared.
FinalVote keepFinalVote(const cv::Mat &field, const cv::Mat &cost, const cv::Mat &mask,
                        const double *similarity, int patchRadius);

// Rebuilds every hole pixel of `out` (CV_16UC3, the crop's size) from
// `source` (CV_16UC3, the crop as the erase saw it; hole pixels are never
// read) exactly as the 8-bit full-size vote does: the patches of the field
// that cover the pixel at the step up vote for the source sample they point
// to, sources in the hole are skipped, and each channel takes the weighted
// mean of the middle 30 % .. 70 % of its votes. A hole pixel whose votes
// weigh less than 1.0 keeps the value it has in `out` (the caller puts the
// widened 8-bit result there). Pixels outside the hole are not touched.
void voteHoleWide(const cv::Mat &source, cv::Mat &out, const FinalVote &vote);

} // namespace engine

#endif // MERVANE_WIDEVOTE_H
