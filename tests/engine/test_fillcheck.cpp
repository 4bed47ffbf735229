// The refusal rule of an erase: every boundary from both sides. A refused
// job is refused with its reason; the job just on the other side is run
// through the real job thread and its hole must come out filled.
//
// Test photos have no dark pixel (holecheck.h). In donor erases the engine keeps the
// hole's own colours until it fills them, so there the object to erase is
// painted black first.

#include "fillcheck.h"
#include "testpictures.h"
#include "holecheck.h"
#include "levelrules.h"
#include "threadfromqthread.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <random>
#include <string>

namespace {

using holecheck::kFloor;
using testpictures::kGreen;
using testpictures::kRed;
using testpictures::layer;

cv::Mat photo(int rows, int cols, unsigned seed = 7)
{
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> noise(0, 30);
    cv::Mat img(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            // Red first, in statements of their own, as testpictures::texture.
            const int r = kFloor + (x + y + noise(rng)) % 200;
            const int g = kFloor + (y * 3 + noise(rng)) % 200;
            const int b = kFloor + (x * 5 + noise(rng)) % 200;
            img.at<cv::Vec3b>(y, x) = cv::Vec3b(uchar(b), uchar(g), uchar(r));
        }
    return img;
}

// Runs the erase through the job thread as the window does and returns the
// number of hole pixels left dark (any channel under kFloor).
int darkHolePixelsAfterJob(cv::Mat image, const cv::Mat &red, const cv::Mat &green, bool useDonor)
{
    const cv::Mat hole = holecheck::holeOf(red);
    if (useDonor)
        image.setTo(cv::Scalar::all(0), hole);
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, red, green, useDonor, JobType::Erase);
    thread.run();
    EXPECT_FALSE(thread.failed()) << thread.failure().toStdString();
    return holecheck::darkPixels(image, hole);
}

// The refusal of a plain erase of `selection` in a photo of rows x cols.
std::string refusal(int rows, int cols, const cv::Rect &selection)
{
    const cv::Mat image = photo(rows, cols);
    return eraseRefusal(image, layer(image.size(), selection), layer(image.size()), false);
}

void expectAcceptedAndFilled(int rows, int cols, const cv::Rect &selection)
{
    const cv::Mat image = photo(rows, cols);
    const cv::Mat red = layer(image.size(), selection);
    ASSERT_EQ(eraseRefusal(image, red, layer(image.size()), false), "");
    EXPECT_EQ(darkHolePixelsAfterJob(image, red, layer(image.size()), false), 0);
}

bool startsWith(const std::string &s, const std::string &prefix)
{
    return s.compare(0, prefix.size(), prefix) == 0;
}

} // namespace

// --- Nothing selected, mismatched layers ---------------------------------

TEST(FillCheck, EmptyMaskIsRefused)
{
    EXPECT_EQ(refusal(40, 40, cv::Rect()), "nothing to erase: the mask is empty");
}

TEST(FillCheck, LayersOfAnotherSizeAreRefused)
{
    const cv::Mat image = photo(30, 30);
    EXPECT_EQ(eraseRefusal(image, layer(cv::Size(31, 30), cv::Rect(5, 5, 3, 3)), layer(image.size()),
                           false),
              "the mask does not match the photo");
    EXPECT_EQ(eraseRefusal(image, layer(image.size(), cv::Rect(5, 5, 3, 3)),
                           layer(cv::Size(30, 29), cv::Rect(20, 20, 5, 5), kGreen), true),
              "the donor area does not match the photo");
    // Without the donor the green layer is not looked at.
    EXPECT_EQ(eraseRefusal(image, layer(image.size(), cv::Rect(5, 5, 3, 3)), cv::Mat(), false), "");
}

// --- The smallest photo: a whole 5 x 5 patch at half size ----------------

TEST(FillCheck, SideUnderTenIsRefused)
{
    const std::string reason = refusal(9, 40, cv::Rect(20, 4, 1, 1));
    EXPECT_EQ(reason, "the photo is too small to erase from: 40 x 9 pixels, at least 10 x 10 are needed");
    EXPECT_TRUE(startsWith(refusal(40, 9, cv::Rect(4, 20, 1, 1)), "the photo is too small"));
    EXPECT_TRUE(startsWith(refusal(9, 9, cv::Rect(4, 4, 1, 1)), "the photo is too small"));
}

TEST(FillCheck, SideOfTenIsAcceptedAndFilled)
{
    expectAcceptedAndFilled(10, 40, cv::Rect(20, 4, 1, 1));
    expectAcceptedAndFilled(40, 10, cv::Rect(4, 20, 1, 1));
    expectAcceptedAndFilled(10, 10, cv::Rect(4, 4, 1, 1));
}

TEST(FillCheck, TinyAndLinePhotosAreRefused)
{
    EXPECT_TRUE(startsWith(refusal(1, 1, cv::Rect(0, 0, 1, 1)), "the photo is too small"));
    EXPECT_TRUE(startsWith(refusal(1, 500, cv::Rect(250, 0, 1, 1)), "the photo is too small"));
    EXPECT_TRUE(startsWith(refusal(500, 1, cv::Rect(0, 250, 1, 1)), "the photo is too small"));
    EXPECT_TRUE(startsWith(refusal(1, 5000, cv::Rect(10, 0, 30, 1)), "the photo is too small"));
    EXPECT_TRUE(startsWith(refusal(2, 2, cv::Rect(0, 0, 1, 1)), "the photo is too small"));
}

TEST(FillCheck, BelowTenTheEngineLeavesTheHoleBlackWhereItIsAllHole)
{
    // What the refusal spares the user: a 3 x 3 photo whose centre is
    // selected is all hole after the stamp, and comes out black.
    const cv::Mat image = photo(3, 3);
    const cv::Mat red = layer(image.size(), cv::Rect(1, 1, 1, 1));
    EXPECT_GT(darkHolePixelsAfterJob(image, red, layer(image.size()), false), 0);
}

// --- The whole photo, or nearly ----------------------------------------

TEST(FillCheck, WholePhotoMaskIsRefused)
{
    EXPECT_EQ(refusal(40, 40, cv::Rect(0, 0, 40, 40)),
              "nothing around the selection to fill from: the mask covers the whole photo");
}

TEST(FillCheck, OnePixelBorderLeftIsStillTheWholePhoto)
{
    // The stamp grows the selection by one pixel: a 1-pixel border goes.
    EXPECT_EQ(refusal(40, 40, cv::Rect(1, 1, 38, 38)),
              "nothing around the selection to fill from: the mask covers the whole photo");
    const cv::Mat image = photo(40, 40);
    const cv::Mat red = layer(image.size(), cv::Rect(1, 1, 38, 38));
    EXPECT_GT(darkHolePixelsAfterJob(image, red, layer(image.size()), false), 0);
}

TEST(FillCheck, TwoPixelBorderLeftIsAcceptedAndFilled)
{
    // One pixel of photo all round survives the stamp; every half-size
    // block at the edge keeps a free row, so the pyramid has a coloured
    // coarsest level and the fill is built from that ring.
    expectAcceptedAndFilled(40, 40, cv::Rect(2, 2, 36, 36));
}

// A band of the full height, from the left edge, leaving `free` columns on
// the right: the boundary between the widest band refused and the next
// narrower one accepted.
TEST(FillCheck, FullHeightBandBoundary)
{
    // Found by the rule, then held against the job on both sides.
    const int rows = 40, cols = 40;
    int firstAccepted = -1;
    for (int free = 1; free < cols; ++free) {
        if (refusal(rows, cols, cv::Rect(0, 0, cols - free, rows)).empty()) {
            firstAccepted = free;
            break;
        }
    }
    ASSERT_GT(firstAccepted, 1);
    const cv::Rect refused(0, 0, cols - (firstAccepted - 1), rows);
    EXPECT_TRUE(startsWith(refusal(rows, cols, refused), "nothing around the selection to fill from"))
        << refusal(rows, cols, refused);
    const cv::Mat image = photo(rows, cols);
    EXPECT_GT(darkHolePixelsAfterJob(image, layer(image.size(), refused), layer(image.size()), false), 0)
        << "free columns " << firstAccepted - 1;
    expectAcceptedAndFilled(rows, cols, cv::Rect(0, 0, cols - firstAccepted, rows));
}

TEST(FillCheck, ShortPhotoWithFullHeightBand)
{
    // A 10-row photo: the pyramid stops at 2 rows before a full-height band
    // has eroded away, so a band wider than the blocks of the last levels
    // leaves placeholders; a thin one erodes first.
    EXPECT_TRUE(startsWith(refusal(10, 200, cv::Rect(80, 0, 40, 10)),
                           "nothing around the selection to fill from: the mask leaves too little"));
    expectAcceptedAndFilled(10, 200, cv::Rect(99, 0, 2, 10));
}

TEST(FillCheck, OrdinaryHolesAreAccepted)
{
    expectAcceptedAndFilled(64, 64, cv::Rect(20, 20, 20, 20));
    expectAcceptedAndFilled(33, 47, cv::Rect(0, 0, 12, 9));
}

// --- Donor areas ---------------------------------------------------------

TEST(FillCheck, EmptyDonorIsRefused)
{
    const cv::Mat image = photo(40, 40);
    EXPECT_EQ(eraseRefusal(image, layer(image.size(), cv::Rect(10, 10, 5, 5)), layer(image.size()), true),
              "nothing to fill from: the donor area is empty");
}

TEST(FillCheck, DonorUnderTheMaskIsRefused)
{
    const cv::Mat image = photo(40, 40);
    // The green, grown by the stamp, lies inside the grown selection:
    // nothing of it is left.
    EXPECT_EQ(eraseRefusal(image, layer(image.size(), cv::Rect(10, 10, 10, 10)),
                           layer(image.size(), cv::Rect(10, 10, 10, 10), kGreen), true),
              "nothing to fill from: the mask covers the whole donor area");
}

namespace {

// Smallest side of a square donor, beside a fixed hole, that the rule
// accepts.
int smallestAcceptedDonor(const cv::Mat &image, const cv::Rect &hole, cv::Point donorCorner)
{
    for (int side = 1; side < 40; ++side) {
        const cv::Mat green = layer(image.size(), cv::Rect(donorCorner, cv::Size(side, side)), kGreen);
        if (eraseRefusal(image, layer(image.size(), hole), green, true).empty())
            return side;
    }
    return -1;
}

} // namespace

TEST(FillCheck, SmallDonorBoundary)
{
    const cv::Mat image = photo(64, 64);
    const cv::Rect hole(30, 20, 14, 14);
    const cv::Point corner(6, 6);
    const int side = smallestAcceptedDonor(image, hole, corner);
    ASSERT_GT(side, 1);
    const cv::Mat red = layer(image.size(), hole);
    const cv::Mat small = layer(image.size(), cv::Rect(corner, cv::Size(side - 1, side - 1)), kGreen);
    EXPECT_EQ(eraseRefusal(image, red, small, true),
              "the donor area is too small to fill this selection from: paint a larger donor area, or "
              "clear it to fill from the whole photo");
    EXPECT_GT(darkHolePixelsAfterJob(image.clone(), red, small, true), 0) << "donor side " << side - 1;
    const cv::Mat enough = layer(image.size(), cv::Rect(corner, cv::Size(side, side)), kGreen);
    EXPECT_EQ(darkHolePixelsAfterJob(image.clone(), red, enough, true), 0) << "donor side " << side;
}

TEST(FillCheck, DonorNearlyCoveredByTheMaskBoundary)
{
    // A green square around the selection, which covers all of it but a
    // ring: the thinnest ring accepted is filled, the one below refused.
    const cv::Mat image = photo(64, 64);
    const cv::Rect hole(24, 24, 12, 12);
    const cv::Mat red = layer(image.size(), hole);
    auto ring = [&](int margin) {
        return layer(image.size(),
                     cv::Rect(hole.x - margin, hole.y - margin, hole.width + 2 * margin,
                              hole.height + 2 * margin),
                     kGreen);
    };
    int firstAccepted = -1;
    for (int margin = 0; margin < 20; ++margin) {
        if (eraseRefusal(image, red, ring(margin), true).empty()) {
            firstAccepted = margin;
            break;
        }
    }
    ASSERT_GT(firstAccepted, 0);
    EXPECT_EQ(eraseRefusal(image, red, ring(firstAccepted - 1), true),
              "the donor area is too small to fill this selection from: paint a larger donor area, or "
              "clear it to fill from the whole photo");
    EXPECT_GT(darkHolePixelsAfterJob(image.clone(), red, ring(firstAccepted - 1), true), 0)
        << "margin " << firstAccepted - 1;
    EXPECT_EQ(darkHolePixelsAfterJob(image.clone(), red, ring(firstAccepted), true), 0)
        << "margin " << firstAccepted;
}

// --- The rule against the engine --------------------------------------------

TEST(FillCheck, StampMatchesThePlainDisc)
{
    // The stamp is computed row by row from distances; it must set exactly
    // the bytes of the disc stamped around every selected pixel.
    std::mt19937 rng(3);
    for (int run = 0; run < 200; ++run) {
        const int rows = 1 + int(rng() % 30), cols = 1 + int(rng() % 30), radius = int(rng() % 5);
        const int channel = 1 + int(rng() % 2);
        cv::Mat selection(rows, cols, CV_8UC4, cv::Scalar::all(0));
        const int density = 1 + int(rng() % 20);
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x)
                if (int(rng() % 100) < density)
                    selection.at<cv::Vec4b>(y, x)[channel] = uchar(rng() % 2 ? 255 : 254 + rng() % 2);
        std::vector<unsigned char> plain(size_t(rows) * cols, 0), fast(size_t(rows) * cols, 0);
        bool any = false;
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x) {
                if (selection.at<cv::Vec4b>(y, x)[channel] <= 254)
                    continue;
                any = true;
                for (int dy = -radius; dy <= radius; ++dy)
                    for (int dx = -radius; dx <= radius; ++dx)
                        if (y + dy >= 0 && y + dy < rows && x + dx >= 0 && x + dx < cols
                            && dx * dx + dy * dy < radius * radius)
                            plain[size_t(y + dy) * cols + x + dx] = 1;
            }
        EXPECT_EQ(engine::stampSelectionMap(selection, channel, radius, fast.data()), any);
        ASSERT_EQ(plain, fast) << rows << "x" << cols << " radius " << radius;
    }
}

TEST(FillCheck, OutlookFollowsTheEnginesPyramid)
{
    // The masks the check follows are the ones the engine builds, level by
    // level, for random holes and donors.
    std::mt19937 rng(11);
    for (int run = 0; run < 60; ++run) {
        const int rows = 3 + int(rng() % 80), cols = 3 + int(rng() % 80);
        const bool donor = run % 2 == 1;
        std::vector<unsigned char> hole(size_t(rows) * cols, 0), green(size_t(rows) * cols, 0);
        cv::Mat red(rows, cols, CV_8UC4, cv::Scalar::all(0));
        const cv::Rect r(int(rng() % cols), int(rng() % rows), 1 + int(rng() % cols), 1 + int(rng() % rows));
        red(r & cv::Rect(0, 0, cols, rows)).setTo(kRed);
        engine::stampSelectionMap(red, 2, 2, hole.data());
        if (donor)
            for (size_t i = 0; i < green.size(); ++i)
                green[i] = !hole[i] && (rng() % 4 != 0);
        const ErasePyramidOutlook outlook =
            eraseOutlook(hole.data(), donor ? green.data() : nullptr, rows, cols);

        MyPatchMatch pm;
        cv::Mat levelImages[MyPatchMatch::kLevelSlots + 1], levelMasks[MyPatchMatch::kLevelSlots + 1],
            levelDonors[MyPatchMatch::kLevelSlots + 1];
        cv::Mat working = photo(rows, cols, run);
        levelImages[0] = working;
        levelMasks[0] = cv::Mat(rows, cols, CV_8UC3, cv::Scalar::all(0));
        levelDonors[0] = cv::Mat(rows, cols, CV_8UC3, cv::Scalar::all(0));
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x) {
                levelMasks[0].at<cv::Vec3b>(y, x)[0] = hole[size_t(y) * cols + x] ? 255 : 0;
                levelDonors[0].at<cv::Vec3b>(y, x)[0] = green[size_t(y) * cols + x] ? 255 : 0;
            }
        int levels = 0;
        pm.buildErasePyramid(working, levelImages, levelMasks, donor ? levelDonors : nullptr, levels);
        ASSERT_EQ(outlook.levels, levels) << rows << "x" << cols;
        for (int l = 0; l <= levels; ++l) {
            EXPECT_EQ(outlook.holePixels[l], pm.countMasked(levelMasks[l]));
            if (donor)
                EXPECT_EQ(outlook.donorPixels[l], pm.countMasked(levelDonors[l]));
        }
        // The placeholders are the coarsest level's black pixels.
        int black = 0;
        const cv::Mat &coarsest = levelImages[levels];
        for (int y = 0; y < coarsest.rows; ++y)
            for (int x = 0; x < coarsest.cols; ++x) {
                const cv::Vec3b p = coarsest.at<cv::Vec3b>(y, x);
                black += p == cv::Vec3b(0, 0, 0) && levelMasks[levels].at<cv::Vec3b>(y, x)[0] == 255;
            }
        if (levels > 0)
            EXPECT_EQ(outlook.coarsestPlaceholders, black) << rows << "x" << cols;
    }
}
