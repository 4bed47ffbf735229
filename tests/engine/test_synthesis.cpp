// Pyramid building, the three drivers' stop rules, iteration counts and
// progress sequences.

#include "mypatchmatch.h"
#include "testpictures.h"
#include "reference.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using testpictures::texture;

cv::Mat noMask(int rows, int cols)
{
    return cv::Mat(rows, cols, CV_8UC3, cv::Scalar::all(0));
}

cv::Mat squareMask(int rows, int cols, cv::Rect hole)
{
    cv::Mat m = noMask(rows, cols);
    m(hole).setTo(cv::Scalar(255, 0, 0));
    return m;
}

std::vector<int> levelCounts(MyPatchMatch &pm, const cv::Mat &image, const cv::Mat &mask, int &L,
                             cv::Mat *coarsest = nullptr)
{
    cv::Mat levelImages[MyPatchMatch::kLevelSlots + 1], levelMasks[MyPatchMatch::kLevelSlots + 1];
    levelImages[0] = image.clone();
    levelMasks[0] = mask.clone();
    cv::Mat working = image.clone();
    pm.buildErasePyramid(working, levelImages, levelMasks, nullptr, L);
    std::vector<int> counts;
    for (int l = 1; l <= L; ++l)
        counts.push_back(pm.countMasked(levelMasks[l]));
    if (coarsest)
        *coarsest = levelImages[L];
    return counts;
}

// Runs the plain erase driver the way the job driver sets it up and returns
// the progress values it emitted.
std::vector<long> runPlainErase(MyPatchMatch &pm, cv::Mat &image, const cv::Mat &holeMask)
{
    std::vector<long> emitted;
    QObject::connect(&pm, &MyPatchMatch::sendWorkProcess, [&](long v) { emitted.push_back(v); });
    pm.allocEraseMaps(image.rows * image.cols, true);
    for (int y = 0; y < image.rows; ++y)
        for (int x = 0; x < image.cols; ++x)
            if (holeMask.at<cv::Vec3b>(y, x)[0] == 255) {
                pm.m_eraseMap[y * image.cols + x] = 1;
                image.at<cv::Vec3b>(y, x) = cv::Vec3b(0, 0, 0);
            }
    pm.m_eraseMode = 1;
    pm.m_voteAll = false;
    const cv::Mat input = image.clone();
    pm.synthesizeErase(input, image);
    pm.m_eraseMode = 0;
    return emitted;
}

std::vector<long> repeated(std::initializer_list<std::pair<long, int>> runs)
{
    std::vector<long> v;
    for (const auto &[value, count] : runs)
        v.insert(v.end(), count, value);
    return v;
}

} // namespace

// --- Half-size filter -------------------------------------------------------------

TEST(Pyramid, HalveImageMaskedEqualsReference)
{
    std::mt19937 rng(21);
    MyPatchMatch pm;
    for (const cv::Size size : {cv::Size(7, 5), cv::Size(16, 16), cv::Size(33, 20), cv::Size(3, 41)}) {
        cv::Mat img = texture(size.height, size.width, rng());
        cv::Mat mask = noMask(size.height, size.width);
        std::uniform_int_distribution<int> pick(0, 2);
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
                if (pick(rng) == 0)
                    mask.at<cv::Vec3b>(y, x)[0] = 255;
        mask(cv::Rect(0, 0, std::min(3, size.width), std::min(3, size.height))).setTo(cv::Scalar(255, 0, 0));
        cv::Mat a = img.clone(), b = img.clone(), ma, mb;
        pm.halveImageMasked(a, mask, ma);
        reference::halveImageMasked(b, mask, mb);
        ASSERT_EQ(a.size(), b.size());
        ASSERT_EQ(cv::norm(a, b, cv::NORM_INF), 0.0) << size;
        ASSERT_EQ(cv::norm(ma, mb, cv::NORM_INF), 0.0) << size;
    }
}

TEST(Pyramid, FiveBySevenHalvesToTwoByThreeAndCloneToThreeByFour)
{
    MyPatchMatch pm;
    cv::Mat img = texture(5, 7), half;
    pm.halveImageMasked(img, noMask(5, 7), half);
    EXPECT_EQ(img.rows, 2);
    EXPECT_EQ(img.cols, 3);
    cv::Mat down;
    cv::pyrDown(texture(5, 7), down, cv::Size(), cv::BORDER_DEFAULT);
    EXPECT_EQ(down.rows, 3);
    EXPECT_EQ(down.cols, 4);
    cv::Mat field(5, 7, CV_16SC3, cv::Scalar::all(0)), outField, outMask;
    pm.halveFieldMasked(outField, field, noMask(5, 7), outMask);
    EXPECT_EQ(outField.size(), down.size());
}

TEST(Pyramid, FullyMarkedBlockIsBlackAndMarked27OfThirtySixIsNot)
{
    MyPatchMatch pm;
    const cv::Mat img(20, 20, CV_8UC3, cv::Scalar(100, 150, 200));
    // Output pixel (5, 5) reads rows and columns 8 .. 13.
    cv::Mat full = img.clone(), halfMask;
    pm.halveImageMasked(full, squareMask(20, 20, cv::Rect(8, 8, 6, 6)), halfMask);
    EXPECT_EQ(full.at<cv::Vec3b>(5, 5), cv::Vec3b(0, 0, 0));
    EXPECT_EQ(halfMask.at<cv::Vec3b>(5, 5)[0], 255);

    cv::Mat mask = noMask(20, 20);
    int marked = 0;
    for (int y = 8; y < 14 && marked < 27; ++y)
        for (int x = 8; x < 14 && marked < 27; ++x, ++marked)
            mask.at<cv::Vec3b>(y, x)[0] = 255;
    cv::Mat partial = img.clone();
    pm.halveImageMasked(partial, mask, halfMask);
    EXPECT_EQ(partial.at<cv::Vec3b>(5, 5), cv::Vec3b(100, 150, 200));
    EXPECT_EQ(halfMask.at<cv::Vec3b>(5, 5)[0], 0);
}

TEST(Pyramid, CornerBlockNeedsThirteenOfSixteen)
{
    MyPatchMatch pm;
    const cv::Mat img(20, 20, CV_8UC3, cv::Scalar(10, 20, 30));
    for (int marked : {12, 13}) {
        cv::Mat mask = noMask(20, 20);
        int n = 0;
        for (int y = 0; y < 4 && n < marked; ++y)
            for (int x = 0; x < 4 && n < marked; ++x, ++n)
                mask.at<cv::Vec3b>(y, x)[0] = 255;
        cv::Mat half = img.clone(), halfMask;
        pm.halveImageMasked(half, mask, halfMask);
        EXPECT_EQ(halfMask.at<cv::Vec3b>(0, 0)[0], marked == 13 ? 255 : 0) << marked;
    }
}

TEST(Pyramid, HoleOf64In512ErodesAs900_192_32_0)
{
    MyPatchMatch pm;
    int L = 0;
    cv::Mat coarsest;
    const std::vector<int> counts = levelCounts(pm, cv::Mat(512, 512, CV_8UC3, cv::Scalar::all(90)),
                                                squareMask(512, 512, cv::Rect(224, 224, 64, 64)), L,
                                                &coarsest);
    EXPECT_EQ(L, 4);
    EXPECT_EQ(counts, (std::vector<int>{900, 192, 32, 0}));
    EXPECT_EQ(coarsest.rows, 32);
    EXPECT_EQ(coarsest.cols, 32);
}

TEST(Pyramid, HoleOf256In512GivesSixLevels)
{
    MyPatchMatch pm;
    int L = 0;
    levelCounts(pm, cv::Mat(512, 512, CV_8UC3, cv::Scalar::all(90)),
                squareMask(512, 512, cv::Rect(128, 128, 256, 256)), L);
    EXPECT_EQ(L, 6);
}

TEST(Pyramid, EmptyMaskAndTwoPixelHighImageGiveNoLevel)
{
    MyPatchMatch pm;
    int L = -7;
    levelCounts(pm, texture(40, 40), noMask(40, 40), L);
    EXPECT_EQ(L, 0);
    levelCounts(pm, texture(2, 40), squareMask(2, 40, cv::Rect(5, 0, 10, 2)), L);
    EXPECT_EQ(L, 0);
}

TEST(Pyramid, NarrowHoleIsGoneAfterOneLevel)
{
    MyPatchMatch pm;
    int L = 0;
    levelCounts(pm, texture(64, 64), squareMask(64, 64, cv::Rect(30, 30, 2, 2)), L);
    EXPECT_EQ(L, 1);
}

// --- Plain erase driver --------------------------------------------------------------

TEST(EraseDriver, EmptyHoleEmitsNothingAndCopiesTheInput)
{
    MyPatchMatch pm;
    cv::Mat image = texture(40, 50);
    const cv::Mat before = image.clone();
    const std::vector<long> emitted = runPlainErase(pm, image, noMask(40, 50));
    EXPECT_TRUE(emitted.empty());
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);
}

TEST(EraseDriver, TinyHoleIsOneLevelOfSixIterations)
{
    MyPatchMatch pm;
    cv::Mat image = texture(48, 48);
    const std::vector<long> emitted =
        runPlainErase(pm, image, squareMask(48, 48, cv::Rect(20, 20, 2, 1)));
    EXPECT_EQ(emitted, repeated({{1, 6}}));
    // The hole got colours from the vote of the sixth iteration.
    EXPECT_NE(image.at<cv::Vec3b>(20, 20), cv::Vec3b(0, 0, 0));
}

// After the full-size vote the erase driver writes every unmarked pixel back
// from its input. A plain driver would leave the vote's result there: the
// source colour where the pixel's voters weigh 1.0 or more, and otherwise
// the upscaled estimate of the coarser level, which shows as a seam along
// the last row and column of an odd-sized crop (the coarser level covers
// one row and column less). The whole driver on an odd crop first:
TEST(EraseDriver, UnmarkedPixelsOfAnOddCropComeBackFromTheInput)
{
    for (const cv::Size size : {cv::Size(61, 47), cv::Size(49, 52), cv::Size(40, 33)}) {
        MyPatchMatch pm;
        const cv::Mat original = texture(size.height, size.width, 5);
        const cv::Rect hole(size.width / 2 - 6, size.height / 2 - 5, 12, 10);
        const cv::Mat mask = squareMask(size.height, size.width, hole);
        cv::Mat image = original.clone();
        const std::vector<long> emitted = runPlainErase(pm, image, mask);
        ASSERT_FALSE(emitted.empty()) << size << ": the driver built no level";
        long changedOutside = 0, blackInside = 0;
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) {
                const cv::Vec3b p = image.at<cv::Vec3b>(y, x);
                if (hole.contains(cv::Point(x, y)))
                    blackInside += p == cv::Vec3b(0, 0, 0);
                else
                    changedOutside += p != original.at<cv::Vec3b>(y, x);
            }
        EXPECT_EQ(changedOutside, 0) << size;
        EXPECT_EQ(blackInside, 0) << size;
    }
}

// ... and the full-size step itself against a plain one, on the same field:
// the plain step is the literal vote with no copy-back. Marked pixels must
// agree; an unmarked pixel may differ only where the plain vote left the
// upscaled estimate (too little weight), and there the driver's pixel is the
// input's. On an odd crop such pixels exist: that is what the copy-back
// changes.
TEST(EraseDriver, CopyBackChangesOnlyPixelsThePlainVoteLeftAtTheEstimate)
{
    std::mt19937 rng(41);
    int leftAtEstimate = 0;
    for (int round = 0; round < 4; ++round) {
        MyPatchMatch pm;
        pm.m_voteAll = false;
        const int rows = 31 + 2 * round, cols = 45 - 2 * round; // odd: one more than twice the field
        const int fRows = rows / 2, fCols = cols / 2;
        const cv::Mat source = texture(rows, cols, 7 + round);
        const cv::Rect hole(cols / 3, rows / 3, cols / 3, rows / 3);
        const cv::Mat mask = squareMask(rows, cols, hole);
        // A field as a search leaves it: mostly the pixel's own place or
        // near it, outside the hole, with mostly low costs.
        cv::Mat field(fRows, fCols, CV_16SC3), cost(fRows, fCols, CV_16SC1);
        std::uniform_int_distribution<int> shift(-2, 2), pick(0, 9), lowCost(0, 5000), anyCost(0, 65535);
        for (int y = 0; y < fRows; ++y)
            for (int x = 0; x < fCols; ++x) {
                int fx = std::clamp(x + shift(rng), 0, fCols - 1), fy = std::clamp(y + shift(rng), 0, fRows - 1);
                if (hole.contains(cv::Point(2 * fx, 2 * fy)))
                    fx = std::max(0, hole.x / 2 - 3);
                field.at<cv::Vec3s>(y, x) = cv::Vec3s(short(fx), short(fy), 0);
                cost.at<short>(y, x) = short(pick(rng) < 8 ? lowCost(rng) : anyCost(rng));
            }
        cv::Mat coarse;
        cv::resize(source, coarse, cv::Size(fCols, fRows), 0, 0, cv::INTER_AREA);
        cv::Mat estimate;
        cv::resize(coarse, estimate, source.size(), 0, 0, cv::INTER_LINEAR);

        // Plain: the literal vote over every pixel, nothing written back.
        cv::Mat plain = estimate.clone(), lifted(rows, cols, CV_8UC3, cv::Scalar::all(0));
        reference::voteImage(source, plain, field, mask, true, cost, 2, pm.m_similarity, false, &lifted);
        // The driver's step: the hole's vote, then the copy-back.
        cv::Mat driver = estimate.clone();
        pm.voteHole(source, driver, field, mask, true, cost);
        cv::Mat marks;
        cv::extractChannel(mask, marks, 0);
        source.copyTo(driver, marks != 255);

        cv::Mat plainInHole = plain.clone();
        driver.copyTo(plainInHole, marks != 255);
        ASSERT_EQ(reference::voteMismatch(driver, plainInHole, lifted), "") << "round " << round;
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x) {
                if (marks.at<uchar>(y, x) == 255)
                    continue;
                const cv::Vec3b p = plain.at<cv::Vec3b>(y, x);
                if (p == source.at<cv::Vec3b>(y, x))
                    continue;
                ASSERT_EQ(p, estimate.at<cv::Vec3b>(y, x)) << "round " << round << " at " << y << "," << x;
                ++leftAtEstimate;
            }
    }
    EXPECT_GT(leftAtEstimate, 0);
}

TEST(EraseDriver, ThreeLevelsSignalSixTimesEach)
{
    MyPatchMatch pm;
    cv::Mat image = texture(64, 64);
    const std::vector<long> emitted =
        runPlainErase(pm, image, squareMask(64, 64, cv::Rect(22, 22, 20, 20)));
    EXPECT_EQ(emitted, repeated({{3, 6}, {2, 6}, {1, 6}}));
}

TEST(EraseDriver, FiveLevelsSignal36Times)
{
    MyPatchMatch pm;
    cv::Mat image = texture(160, 160);
    const std::vector<long> emitted =
        runPlainErase(pm, image, squareMask(160, 160, cv::Rect(40, 40, 80, 80)));
    EXPECT_EQ(emitted, repeated({{5, 10}, {4, 8}, {3, 6}, {2, 6}, {1, 6}}));
    EXPECT_EQ(emitted.size(), 36u);
}

TEST(EraseDriver, CancelAfterTheLastTestComesTooLate)
{
    MyPatchMatch pm;
    cv::Mat image = texture(64, 64);
    int seen = 0;
    // The last signal of level 1 follows the last cancel test.
    QObject::connect(&pm, &MyPatchMatch::sendWorkProcess, [&](long) {
        if (++seen == 18)
            pm.receiveCancelStatus();
    });
    runPlainErase(pm, image, squareMask(64, 64, cv::Rect(22, 22, 20, 20)));
    EXPECT_EQ(seen, 18);
    // out was written: the hole is no longer black.
    EXPECT_NE(image.at<cv::Vec3b>(32, 32), cv::Vec3b(0, 0, 0));
}

TEST(EraseDriver, CancelDuringARunLetsTheIterationFinishThenStops)
{
    MyPatchMatch pm;
    cv::Mat image = texture(64, 64);
    int seen = 0;
    QObject::connect(&pm, &MyPatchMatch::sendWorkProcess, [&](long) {
        if (++seen == 4)
            pm.receiveCancelStatus();
    });
    runPlainErase(pm, image, squareMask(64, 64, cv::Rect(22, 22, 20, 20)));
    EXPECT_EQ(seen, 4);
    // out untouched: the hole stays black.
    EXPECT_EQ(image.at<cv::Vec3b>(32, 32), cv::Vec3b(0, 0, 0));
}

// --- Donor-guided erase ----------------------------------------------------------------

namespace {

std::vector<long> runDonorErase(MyPatchMatch &pm, cv::Mat &image, const cv::Rect &hole,
                                const cv::Rect &donor)
{
    std::vector<long> emitted;
    QObject::connect(&pm, &MyPatchMatch::sendWorkProcess, [&](long v) { emitted.push_back(v); });
    const int size = image.rows * image.cols;
    pm.allocEraseMaps(size, true);
    std::vector<unsigned char> holeMap(size, 0);
    for (int y = hole.y; y < hole.y + hole.height; ++y)
        for (int x = hole.x; x < hole.x + hole.width; ++x)
            holeMap[y * image.cols + x] = 1;
    for (int y = donor.y; y < donor.y + donor.height; ++y)
        for (int x = donor.x; x < donor.x + donor.width; ++x)
            if (!holeMap[y * image.cols + x])
                pm.m_donorMap[y * image.cols + x] = 1;
    pm.m_eraseMode = 2;
    pm.m_voteAll = true;
    const cv::Mat input = image.clone();
    pm.synthesizeDonorErase(input, image, holeMap.data());
    pm.m_eraseMode = 0;
    return emitted;
}

} // namespace

TEST(DonorDriver, ThreeLevelsSignalOncePerLevel)
{
    MyPatchMatch pm;
    cv::Mat image = texture(64, 64);
    const std::vector<long> emitted =
        runDonorErase(pm, image, cv::Rect(22, 22, 20, 20), cv::Rect(0, 0, 64, 64));
    EXPECT_EQ(emitted, (std::vector<long>{3, 2, 1}));
}

TEST(DonorDriver, TinyHoleWithLargeDonorIsOneLevel)
{
    MyPatchMatch pm;
    cv::Mat image = texture(48, 48);
    const std::vector<long> emitted =
        runDonorErase(pm, image, cv::Rect(20, 20, 2, 2), cv::Rect(0, 0, 48, 20));
    EXPECT_EQ(emitted, (std::vector<long>{1}));
}

TEST(DonorDriver, SmallDonorKeepsThePyramidShallow)
{
    MyPatchMatch pm;
    cv::Mat image = texture(160, 160);
    // The 80-pixel hole alone would give 5 levels; a 6 x 6 donor erodes first.
    const std::vector<long> emitted =
        runDonorErase(pm, image, cv::Rect(40, 40, 80, 80), cv::Rect(5, 5, 6, 6));
    ASSERT_FALSE(emitted.empty());
    EXPECT_LE(emitted.front(), 2);
    EXPECT_EQ(emitted.back(), 1);
}

TEST(DonorDriver, EmptyDonorGivesNoLevelAndKeepsTheHole)
{
    MyPatchMatch pm;
    cv::Mat image = texture(64, 64);
    const cv::Mat before = image.clone();
    const std::vector<long> emitted =
        runDonorErase(pm, image, cv::Rect(22, 22, 20, 20), cv::Rect(0, 0, 0, 0));
    EXPECT_TRUE(emitted.empty());
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);
}

// --- Clone driver ------------------------------------------------------------------------

namespace {

std::vector<long> runClone(MyPatchMatch &pm, cv::Mat &image, const cv::Rect &piece, cv::Point drop)
{
    std::vector<long> emitted;
    QObject::connect(&pm, &MyPatchMatch::sendWorkProcess, [&](long v) { emitted.push_back(v); });
    pm.allocCloneMap(image.rows * image.cols, true);
    pm.m_rows = image.rows;
    pm.m_cols = image.cols;
    for (int y = piece.y; y < piece.y + piece.height; ++y)
        for (int x = piece.x; x < piece.x + piece.width; ++x)
            pm.m_cloneMap[y * image.cols + x] = 1;
    pm.m_cloneOffsetX = drop.x;
    pm.m_cloneOffsetY = drop.y;
    pm.m_voteAll = true;
    cv::Mat composite = image.clone();
    image(piece).copyTo(composite(cv::Rect(drop, piece.size())));
    pm.synthesizeClone(image, composite);
    return emitted;
}

} // namespace

TEST(CloneDriver, FourLevelsSignalFourThreeTwoOne)
{
    MyPatchMatch pm;
    cv::Mat image = texture(48, 64);
    const std::vector<long> emitted = runClone(pm, image, cv::Rect(5, 5, 10, 10), cv::Point(40, 20));
    EXPECT_EQ(emitted, (std::vector<long>{4, 3, 2, 1}));
}

TEST(CloneDriver, SmallImageStopsAtTwoLevels)
{
    // 7 rows halve to 4 and then 2.
    MyPatchMatch pm;
    cv::Mat image = texture(7, 40);
    const std::vector<long> emitted = runClone(pm, image, cv::Rect(2, 1, 5, 3), cv::Point(20, 1));
    EXPECT_EQ(emitted, (std::vector<long>{2, 1}));
}

TEST(CloneDriver, EmptyTargetTakesTheCompositeAsDrawn)
{
    MyPatchMatch pm;
    cv::Mat image = texture(40, 40);
    pm.allocCloneMap(40 * 40, true);
    pm.m_rows = 40;
    pm.m_cols = 40;
    std::vector<long> emitted;
    QObject::connect(&pm, &MyPatchMatch::sendWorkProcess, [&](long v) { emitted.push_back(v); });
    const cv::Mat composite = texture(40, 40, 99);
    pm.synthesizeClone(image, composite);
    EXPECT_TRUE(emitted.empty());
    EXPECT_EQ(cv::norm(image, composite, cv::NORM_INF), 0.0);
}
