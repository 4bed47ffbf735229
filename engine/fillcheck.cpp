#include "fillcheck.h"
#include "levelrules.h"
#include "mypatchmatch.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

namespace {

struct Level
{
    int rows = 0;
    int cols = 0;
    std::vector<unsigned char> marks;
};

int countMarks(const unsigned char *marks, size_t size)
{
    int n = 0;
    for (size_t i = 0; i < size; ++i)
        n += marks[i] != 0;
    return n;
}

// The half-size level of the rows x cols byte map `marks` by the engine's
// mark rule; `placeholders` receives the number of half-size pixels whose
// block is all marked (black in the engine's half-size picture).
Level halve(const unsigned char *marks, int rows, int cols, int *placeholders)
{
    Level half;
    half.rows = rows / 2;
    half.cols = cols / 2;
    half.marks.assign(size_t(half.rows) * half.cols, 0);
    // Marked pixels per column over the block's rows, as prefix sums along
    // the row: a block's count is one difference.
    std::vector<int> columnCount(size_t(cols), 0), prefix(size_t(cols) + 1, 0);
    int black = 0;
    for (int y = 0; y < half.rows; ++y) {
        const int r0 = engine::halfBlockFirst(y), r1 = engine::halfBlockLast(y, rows);
        std::fill(columnCount.begin(), columnCount.end(), 0);
        for (int r = r0; r <= r1; ++r) {
            const unsigned char *m = marks + size_t(r) * cols;
            for (int c = 0; c < cols; ++c)
                columnCount[c] += m[c] != 0;
        }
        for (int c = 0; c < cols; ++c)
            prefix[c + 1] = prefix[c] + columnCount[c];
        unsigned char *out = half.marks.data() + size_t(y) * half.cols;
        for (int x = 0; x < half.cols; ++x) {
            const int c0 = engine::halfBlockFirst(x), c1 = engine::halfBlockLast(x, cols);
            const int excluded = prefix[c1 + 1] - prefix[c0];
            const int total = (r1 - r0 + 1) * (c1 - c0 + 1);
            out[x] = engine::halfSizeMarked(excluded, total) ? 1 : 0;
            black += excluded == total;
        }
    }
    if (placeholders)
        *placeholders = black;
    return half;
}

std::string sizeText(int cols, int rows)
{
    return std::to_string(cols) + " x " + std::to_string(rows) + " pixels";
}

bool isSelectionLayer(const cv::Mat &layer, int channel)
{
    return layer.depth() == CV_8U && layer.channels() > channel;
}

} // namespace

ErasePyramidOutlook eraseOutlook(const unsigned char *hole, const unsigned char *donor, int rows,
                                 int cols)
{
    // The engine's buildErasePyramid, step by step, on the masks alone.
    ErasePyramidOutlook outlook;
    const size_t size = size_t(std::max(rows, 0)) * std::max(cols, 0);
    outlook.holePixels.push_back(countMarks(hole, size));
    if (donor)
        outlook.donorPixels.push_back(countMarks(donor, size));
    // Level 0 is the photo itself: its hole pixels are the placeholders
    // when no level is built.
    outlook.coarsestPlaceholders = outlook.holePixels.back();
    if (engine::pyramidSizeStop(rows, cols)) {
        outlook.stop = ErasePyramidOutlook::Stop::SizeLimit;
        return outlook;
    }
    // Level 0 is read where it lies; the levels above are built here.
    Level holeLevel, donorLevel;
    const unsigned char *holeMarks = hole, *donorMarks = donor;
    int levelRows = rows, levelCols = cols;
    for (;;) {
        if (outlook.holePixels.back() == 0) {
            outlook.stop = ErasePyramidOutlook::Stop::HoleGone;
            outlook.coarsestPlaceholders = 0;
            return outlook;
        }
        if (donor && outlook.donorPixels.back() == 0) {
            outlook.stop = ErasePyramidOutlook::Stop::DonorGone;
            return outlook;
        }
        ++outlook.levels;
        holeLevel = halve(holeMarks, levelRows, levelCols, &outlook.coarsestPlaceholders);
        outlook.holePixels.push_back(countMarks(holeLevel.marks.data(), holeLevel.marks.size()));
        if (donor) {
            donorLevel = halve(donorMarks, levelRows, levelCols, nullptr);
            outlook.donorPixels.push_back(countMarks(donorLevel.marks.data(), donorLevel.marks.size()));
            donorMarks = donorLevel.marks.data();
        }
        holeMarks = holeLevel.marks.data();
        levelRows = holeLevel.rows;
        levelCols = holeLevel.cols;
        if (engine::pyramidSizeStop(levelRows, levelCols)) {
            outlook.stop = ErasePyramidOutlook::Stop::SizeLimit;
            return outlook;
        }
        if (outlook.levels == MyPatchMatch::kLevelSlots) {
            outlook.stop = ErasePyramidOutlook::Stop::LevelLimit;
            return outlook;
        }
    }
}

std::string eraseRefusal(const cv::Mat &image, const cv::Mat &red, const cv::Mat &green,
                         bool useDonor)
{
    // What the job driver would trip over, or silently skip.
    if (image.empty() || image.type() != CV_8UC3)
        return "nothing to erase: the photo is empty or not an 8-bit colour picture";
    if (red.size() != image.size() || !isSelectionLayer(red, 2))
        return "the mask does not match the photo";
    if (useDonor && (green.size() != image.size() || !isSelectionLayer(green, 1)))
        return "the donor area does not match the photo";
    const int rows = image.rows, cols = image.cols;
    // Field positions are 16-bit and byte maps are indexed with 32 bits.
    if (rows > 65535 || cols > 65535 || int64_t(rows) * cols > int64_t(INT_MAX))
        return "the area to erase is too large: " + sizeText(cols, rows)
               + ", the engine takes at most 65535 on a side";

    const size_t size = size_t(rows) * cols;
    std::vector<unsigned char> hole(size, 0);
    if (!engine::stampSelectionMap(red, 2, engine::kStampRadius, hole.data()))
        return "nothing to erase: the mask is empty";
    if (rows < kMinimumEraseSide || cols < kMinimumEraseSide)
        return "the photo is too small to erase from: " + sizeText(cols, rows) + ", at least "
               + std::to_string(kMinimumEraseSide) + " x " + std::to_string(kMinimumEraseSide)
               + " are needed";

    std::vector<unsigned char> donor;
    if (useDonor) {
        // The job driver's split: green that the stamped red covers belongs
        // to the hole only.
        donor.assign(size, 0);
        if (!engine::stampSelectionMap(green, 1, engine::kStampRadius, donor.data()))
            return "nothing to fill from: the donor area is empty";
        bool donorLeft = false;
        for (size_t i = 0; i < size; ++i) {
            if (hole[i])
                donor[i] = 0;
            donorLeft |= donor[i] != 0;
        }
        if (!donorLeft)
            return "nothing to fill from: the mask covers the whole donor area";
    }

    const ErasePyramidOutlook outlook =
        eraseOutlook(hole.data(), useDonor ? donor.data() : nullptr, rows, cols);
    if (outlook.coarsestPlaceholders == 0)
        return {};
    if (outlook.holePixels.front() == int(size))
        return "nothing around the selection to fill from: the mask covers the whole photo";
    if (outlook.stop == ErasePyramidOutlook::Stop::DonorGone)
        return "the donor area is too small to fill this selection from: paint a larger donor "
               "area, or clear it to fill from the whole photo";
    return "nothing around the selection to fill from: the mask leaves too little of the photo "
           "around it";
}
