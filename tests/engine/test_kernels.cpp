// Patch distance, weights, voting and field kernels: edge cases and proof
// that the production kernels equal the plain reference versions.

#include "mypatchmatch.h"
#include "reference.h"
#include "enginecells.h"

#include <gtest/gtest.h>
#include <omp.h>
#include <opencv2/core.hpp>

#include <random>
#include <string>

namespace {

cv::Mat noMask(int rows, int cols)
{
    return cv::Mat(rows, cols, CV_8UC3, cv::Scalar::all(0));
}

cv::Mat randomImage(std::mt19937 &rng, int rows, int cols)
{
    cv::Mat m(rows, cols, CV_8UC3);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols * 3; ++x)
            m.ptr<uchar>(y)[x] = uchar(byte(rng));
    return m;
}

cv::Mat randomMask(std::mt19937 &rng, int rows, int cols, int percent)
{
    cv::Mat m = noMask(rows, cols);
    std::uniform_int_distribution<int> pick(0, 99);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            if (pick(rng) < percent)
                m.at<cv::Vec3b>(y, x)[0] = 255;
            else if (pick(rng) < 10)
                m.at<cv::Vec3b>(y, x)[0] = uchar(pick(rng)); // free, not 255
    return m;
}

} // namespace

// --- Patch distance -----------------------------------------------------------

TEST(PatchDistance, IdenticalInteriorPatchesCostZero)
{
    std::mt19937 rng(1);
    MyPatchMatch pm;
    const cv::Mat img = randomImage(rng, 20, 20);
    EXPECT_EQ(pm.patchDistance(img, 10, 10, img, 10, 10, noMask(20, 20)), 0u);
}

TEST(PatchDistance, PatchWhollyOffTheImageCostsFullScale)
{
    std::mt19937 rng(2);
    MyPatchMatch pm;
    const cv::Mat img = randomImage(rng, 20, 20);
    EXPECT_EQ(pm.patchDistance(img, 10, 10, img, 100, 100, noMask(20, 20)), 65535u);
    EXPECT_EQ(pm.patchDistance(img, 10, 10, img, 65535, 3, noMask(20, 20)), 65535u);
}

TEST(PatchDistance, CornerPatchWithSixteenMissingPairs)
{
    std::mt19937 rng(3);
    MyPatchMatch pm;
    const cv::Mat img = randomImage(rng, 20, 20);
    EXPECT_EQ(pm.patchDistance(img, 0, 0, img, 0, 0, noMask(20, 20)), 41942u);
}

TEST(PatchDistance, OppositeColoursCost65025)
{
    MyPatchMatch pm;
    const cv::Mat black(20, 20, CV_8UC3, cv::Scalar::all(0));
    const cv::Mat white(20, 20, CV_8UC3, cv::Scalar::all(255));
    EXPECT_EQ(pm.patchDistance(white, 10, 10, black, 10, 10, noMask(20, 20)), 65025u);
}

TEST(PatchDistance, MaskedSourcePixelsCountAsMissing)
{
    MyPatchMatch pm;
    const cv::Mat img(20, 20, CV_8UC3, cv::Scalar(10, 20, 30));
    cv::Mat mask = noMask(20, 20);
    mask.setTo(cv::Scalar(255, 0, 0));
    EXPECT_EQ(pm.patchDistance(img, 10, 10, img, 10, 10, mask), 65535u);
}

TEST(PatchDistance, DonorModeHolePixelNeedsDonorSource)
{
    MyPatchMatch pm;
    const cv::Mat img(20, 20, CV_8UC3, cv::Scalar(10, 20, 30));
    cv::Mat mask = noMask(20, 20);
    mask.at<cv::Vec3b>(5, 5)[0] = 255; // target pixel in the hole
    pm.m_donorLevelMask = noMask(20, 20);
    pm.m_eraseMode = 1;
    EXPECT_EQ(pm.patchDistance(img, 5, 5, img, 12, 12, mask), 0u);
    pm.m_eraseMode = 2;
    // One of 25 pairs (the centre) is missing: the free source is no donor.
    EXPECT_EQ(pm.patchDistance(img, 5, 5, img, 12, 12, mask), unsigned(655350.0 / 16383750.0 * 65535.0));
    pm.m_donorLevelMask.setTo(cv::Scalar(255, 0, 0));
    EXPECT_EQ(pm.patchDistance(img, 5, 5, img, 12, 12, mask), 0u);
}

TEST(PatchDistance, EqualsReferenceOnRandomInputs)
{
    std::mt19937 rng(4);
    MyPatchMatch pm;
    for (int round = 0; round < 4; ++round) {
        const int rows = 9 + round * 7, cols = 13 + round * 5;
        const cv::Mat target = randomImage(rng, rows, cols);
        const cv::Mat source = randomImage(rng, rows, cols);
        const cv::Mat mask = randomMask(rng, rows, cols, 20);
        pm.m_donorLevelMask = randomMask(rng, rows, cols, 50);
        std::uniform_int_distribution<int> ty(-3, rows + 2), tx(-3, cols + 2);
        for (int mode = 0; mode <= 2; ++mode) {
            pm.m_eraseMode = mode;
            for (int i = 0; i < 3000; ++i) {
                const int a = std::clamp(ty(rng), 0, rows - 1), b = std::clamp(tx(rng), 0, cols - 1);
                const int c = ty(rng), d = tx(rng);
                ASSERT_EQ(pm.patchDistance(target, a, b, source, c, d, mask),
                          reference::patchDistance(target, a, b, source, c, d, mask, 2, mode,
                                                   pm.m_donorLevelMask))
                    << "mode " << mode << " at " << a << "," << b << " vs " << c << "," << d;
            }
        }
    }
}

TEST(PatchDistance, BoundedFormIsExactBelowTheBound)
{
    std::mt19937 rng(41);
    MyPatchMatch pm;
    const cv::Mat target = randomImage(rng, 30, 30), source = randomImage(rng, 30, 30);
    cv::Mat mask = randomMask(rng, 30, 30, 15);
    pm.m_donorLevelMask = randomMask(rng, 30, 30, 50);
    std::uniform_int_distribution<int> pos(-3, 32), bound(0, 65535);
    for (int mode = 0; mode <= 2; ++mode) {
        pm.m_eraseMode = mode;
        for (int i = 0; i < 5000; ++i) {
            const int a = std::clamp(pos(rng), 0, 29), b = std::clamp(pos(rng), 0, 29);
            const int c = pos(rng), d = pos(rng);
            const unsigned full = pm.patchDistance(target, a, b, source, c, d, mask);
            const unsigned limit = i % 3 == 0 ? full + 1 : unsigned(bound(rng));
            const unsigned bounded = pm.patchDistanceBelow(target, a, b, source, c, d, mask, limit);
            if (full < limit) {
                ASSERT_EQ(bounded, full);
            } else {
                ASSERT_GE(bounded, limit);
            }
        }
    }
}

// --- Weights ------------------------------------------------------------------

TEST(Similarity, TableSamples)
{
    MyPatchMatch pm;
    EXPECT_DOUBLE_EQ(pm.m_similarity[0], 0.999);
    EXPECT_NEAR(pm.m_similarity[6553], 0.50016, 5e-6);
    EXPECT_NEAR(pm.m_similarity[13107], 0.0010, 5e-5);
    EXPECT_NEAR(pm.m_similarity[32768], 1e-12, 5e-13);
    EXPECT_LT(pm.m_similarity[65535], 1e-20);
    for (int i = 2; i < 65536; ++i)
        ASSERT_LE(pm.m_similarity[i], pm.m_similarity[i - 1]);
}

// --- Voting -------------------------------------------------------------------

namespace {

cv::Mat identityField(int rows, int cols)
{
    cv::Mat f(rows, cols, CV_16SC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            f.at<cv::Vec3s>(y, x) = cv::Vec3s(short(x), short(y), 0);
    return f;
}

} // namespace

// Every pass runs the engine's parallel regions on two threads (the test
// helper sets OMP_NUM_THREADS=2), the ThreadSanitizer pass included: a pass
// that quietly ran them on one thread would check no race between them.
TEST(Threads, ParallelRegionsRunOnTwoThreads)
{
    ASSERT_GE(omp_get_max_threads(), 2);
    int team = 0;
#pragma omp parallel
    {
#pragma omp single
        team = omp_get_num_threads();
    }
    EXPECT_GE(team, 2);
}

TEST(VoteImage, IdentityFieldReturnsTheSource)
{
    std::mt19937 rng(5);
    MyPatchMatch pm;
    pm.m_voteAll = true;
    const cv::Mat src = randomImage(rng, 16, 21);
    cv::Mat out(src.size(), CV_8UC3, cv::Scalar::all(7));
    const cv::Mat cost(src.size(), CV_16SC1, cv::Scalar::all(0));
    pm.voteImage(src, out, identityField(16, 21), noMask(16, 21), false, cost);
    EXPECT_EQ(cv::norm(out, src, cv::NORM_INF), 0.0);
}

// The rule as written ("the numerator divided by the denominator, truncated")
// against its own edge case ("a field pointing every pixel at itself with
// cost 0 returns the source"): with 25 voters of weight 0.999 the quotient
// for 11 is a hair under 11. The engine keeps the edge case; the literal
// reference shows that the rule alone would not, and marks those channels.
TEST(VoteImage, LiteralTruncationWouldBreakTheIdentityEdgeCaseTheEngineKeeps)
{
    MyPatchMatch pm;
    pm.m_voteAll = true;
    // Every value 0 .. 255 once, in all three channels; border pixels have
    // fewer voters (9 .. 20), inner ones 25.
    cv::Mat src(16, 16, CV_8UC3);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            src.at<cv::Vec3b>(y, x) = cv::Vec3b::all(uchar(16 * y + x));
    const cv::Mat cost(src.size(), CV_16SC1, cv::Scalar::all(0));
    cv::Mat out(src.size(), CV_8UC3, cv::Scalar::all(7));
    cv::Mat literal = out.clone();
    cv::Mat lifted(src.size(), CV_8UC3, cv::Scalar::all(0));
    pm.voteImage(src, out, identityField(16, 16), noMask(16, 16), false, cost);
    reference::voteImage(src, literal, identityField(16, 16), noMask(16, 16), false, cost, 2,
                         pm.m_similarity, true, &lifted);
    // The edge case holds in the engine.
    EXPECT_EQ(cv::norm(out, src, cv::NORM_INF), 0.0);
    // The literal rule gives one less on some pixels, and only where marked.
    int below = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            for (int c = 0; c < 3; ++c)
                if (literal.at<cv::Vec3b>(y, x)[c] != src.at<cv::Vec3b>(y, x)[c]) {
                    ++below;
                    EXPECT_EQ(literal.at<cv::Vec3b>(y, x)[c] + 1, src.at<cv::Vec3b>(y, x)[c]);
                    EXPECT_TRUE(lifted.at<cv::Vec3b>(y, x)[c]) << y << "," << x;
                }
    EXPECT_GT(below, 0);
    EXPECT_EQ(src.at<cv::Vec3b>(0, 11)[0], 11);
    EXPECT_EQ(literal.at<cv::Vec3b>(5, 11)[0], 16 * 5 + 11) << "an inner pixel the rule gets right";
    // Value 11 with 25 voters: the case worked out in the comment above.
    double h = 0.0;
    for (int k = 0; k < 25; ++k)
        h += pm.m_similarity[0];
    EXPECT_LT(11.0 * h / h, 11.0);
}

TEST(VoteImage, VotersAtFullCostLeaveThePixel)
{
    std::mt19937 rng(6);
    MyPatchMatch pm;
    pm.m_voteAll = true;
    const cv::Mat src = randomImage(rng, 12, 12);
    cv::Mat out(src.size(), CV_8UC3, cv::Scalar(1, 2, 3));
    const cv::Mat cost(src.size(), CV_16SC1, cv::Scalar::all(-1)); // 65535
    pm.voteImage(src, out, identityField(12, 12), noMask(12, 12), false, cost);
    EXPECT_EQ(cv::norm(out, cv::Mat(src.size(), CV_8UC3, cv::Scalar(1, 2, 3)), cv::NORM_INF), 0.0);
}

TEST(VoteImage, WithoutVoteAllPixelsOutsideTheMaskEqualTheSource)
{
    std::mt19937 rng(7);
    MyPatchMatch pm;
    pm.m_voteAll = false;
    const cv::Mat src = randomImage(rng, 20, 20);
    cv::Mat field(20, 20, CV_16SC3);
    std::uniform_int_distribution<int> pos(0, 19);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            field.at<cv::Vec3s>(y, x) = cv::Vec3s(short(pos(rng)), short(pos(rng)), 0);
    const cv::Mat cost(20, 20, CV_16SC1, cv::Scalar::all(0));
    cv::Mat mask = noMask(20, 20);
    mask(cv::Rect(8, 8, 4, 4)).setTo(cv::Scalar(255, 0, 0));
    cv::Mat out(src.size(), CV_8UC3, cv::Scalar::all(0));
    pm.voteImage(src, out, field, mask, false, cost);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            if (mask.at<cv::Vec3b>(y, x)[0] != 255) {
                ASSERT_EQ(out.at<cv::Vec3b>(y, x), src.at<cv::Vec3b>(y, x)) << y << "," << x;
            }
}

TEST(VoteImage, UpscaleServesAnOddFinerSize)
{
    // A 5 x 6 field serves an 11 x 13 source: the extra row and column are
    // voted from the field positions inside reach, with the same result as
    // the reference.
    std::mt19937 rng(8);
    MyPatchMatch pm;
    pm.m_voteAll = true;
    const cv::Mat src = randomImage(rng, 11, 13);
    const cv::Mat cost(5, 6, CV_16SC1, cv::Scalar::all(0));
    cv::Mat out(src.size(), CV_8UC3, cv::Scalar::all(9));
    cv::Mat expected = out.clone();
    cv::Mat lifted(src.size(), CV_8UC3, cv::Scalar::all(0));
    pm.voteImage(src, out, identityField(5, 6), noMask(11, 13), true, cost);
    reference::voteImage(src, expected, identityField(5, 6), noMask(11, 13), true, cost, 2,
                         pm.m_similarity, true, &lifted);
    EXPECT_EQ(reference::voteMismatch(out, expected, lifted), "");
    // The identity field read at half coordinates rebuilds the source, the
    // odd last row and column included.
    EXPECT_EQ(out.at<cv::Vec3b>(10, 12), src.at<cv::Vec3b>(10, 12));
}

namespace {

// The engine's vote over a copy of `out` against the literal reference on
// the same inputs: "" when they agree (see reference::voteMismatch).
std::string voteAgainstReference(MyPatchMatch &pm, const cv::Mat &src, const cv::Mat &out,
                                 const cv::Mat &field, const cv::Mat &mask, bool upscale,
                                 const cv::Mat &cost)
{
    cv::Mat engine = out.clone(), expected = out.clone();
    cv::Mat lifted(out.size(), CV_8UC3, cv::Scalar::all(0));
    pm.voteImage(src, engine, field, mask, upscale, cost);
    reference::voteImage(src, expected, field, mask, upscale, cost, 2, pm.m_similarity,
                         pm.m_voteAll, &lifted);
    return reference::voteMismatch(engine, expected, lifted);
}

} // namespace

// The clone synthesis halves with rounding up, so at the step up a field of
// h by w serves a finer level of 2h - 1 by 2w - 1 where the finer size is
// odd: the voters that would stand on the missing row and column are
// skipped, and what is left must vote as the rule says.
TEST(VoteImage, UpscaleServesTheCloneSizeOneShortOfDouble)
{
    std::mt19937 rng(31);
    MyPatchMatch pm;
    for (int round = 0; round < 6; ++round) {
        pm.m_voteAll = round % 2 == 0;
        const int fRows = 6 + round, fCols = 9 - round / 2;
        // The clone's halving: a level of r rows halves to (r + 1) / 2.
        const int rows = 2 * fRows - 1, cols = 2 * fCols - (round % 3 == 0 ? 0 : 1);
        ASSERT_EQ((rows + 1) / 2, fRows);
        ASSERT_EQ((cols + 1) / 2, fCols);
        const cv::Mat src = randomImage(rng, rows, cols);
        const cv::Mat mask = randomMask(rng, rows, cols, 30);
        cv::Mat field(fRows, fCols, CV_16SC3), cost(fRows, fCols, CV_16SC1);
        std::uniform_int_distribution<int> px(-1, fCols), py(-1, fRows), lowCost(0, 6000);
        for (int y = 0; y < fRows; ++y)
            for (int x = 0; x < fCols; ++x) {
                field.at<cv::Vec3s>(y, x) = cv::Vec3s(short(px(rng)), short(py(rng)), 0);
                cost.at<short>(y, x) = short(lowCost(rng));
            }
        const cv::Mat out = randomImage(rng, rows, cols);
        ASSERT_EQ(voteAgainstReference(pm, src, out, field, mask, true, cost), "") << "round " << round;
    }
}

TEST(VoteImage, EqualsReferenceOnRandomInputs)
{
    std::mt19937 rng(9);
    MyPatchMatch pm;
    for (int round = 0; round < 8; ++round) {
        const bool upscale = round & 1;
        pm.m_voteAll = (round & 2) != 0;
        const int rows = 17 + round * 3, cols = 23 + round * 2;
        const int fRows = upscale ? rows / 2 : rows, fCols = upscale ? cols / 2 : cols;
        const cv::Mat src = randomImage(rng, rows, cols);
        const cv::Mat mask = randomMask(rng, rows, cols, 25);
        cv::Mat field(fRows, fCols, CV_16SC3), cost(fRows, fCols, CV_16SC1);
        std::uniform_int_distribution<int> px(-1, fCols), py(-1, fRows), pick(0, 9);
        std::uniform_int_distribution<int> anyCost(0, 65535), lowCost(0, 8000);
        for (int y = 0; y < fRows; ++y)
            for (int x = 0; x < fCols; ++x) {
                field.at<cv::Vec3s>(y, x) = cv::Vec3s(short(px(rng)), short(py(rng)), 0);
                const int c = pick(rng) < 2 ? 0 : pick(rng) < 7 ? lowCost(rng) : anyCost(rng);
                cost.at<short>(y, x) = short(c);
            }
        const cv::Mat out = randomImage(rng, rows, cols);
        ASSERT_EQ(voteAgainstReference(pm, src, out, field, mask, upscale, cost), "") << "round " << round;
    }
}

namespace {

// Inputs where the vote's shortcuts fire: a picture of a few flat colours
// (so neighbouring voters often agree), a field that is mostly the identity
// or a small shift with some random vectors, mostly cheap costs, and an out
// that already holds the source on most pixels.
struct AgreeingVote
{
    cv::Mat src, mask, field, cost, out;
};

AgreeingVote agreeingVote(std::mt19937 &rng, int rows, int cols, bool upscale)
{
    AgreeingVote v;
    const cv::Vec3b palette[3] = {{10, 20, 30}, {10, 20, 31}, {200, 20, 30}};
    std::uniform_int_distribution<int> pick(0, 99), colour(0, 2);
    v.src = cv::Mat(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            v.src.at<cv::Vec3b>(y, x) = palette[(x / 5 + y / 7 + (pick(rng) < 5 ? colour(rng) : 0)) % 3];
    v.mask = noMask(rows, cols);
    v.mask(cv::Rect(cols / 3, rows / 3, cols / 3, rows / 3)).setTo(cv::Scalar(255, 0, 0));
    const int fRows = upscale ? rows / 2 : rows, fCols = upscale ? cols / 2 : cols;
    v.field = cv::Mat(fRows, fCols, CV_16SC3);
    v.cost = cv::Mat(fRows, fCols, CV_16SC1);
    std::uniform_int_distribution<int> px(-1, fCols), py(-1, fRows), shift(-1, 1);
    std::uniform_int_distribution<int> lowCost(0, 3000), anyCost(0, 65535);
    for (int y = 0; y < fRows; ++y)
        for (int x = 0; x < fCols; ++x) {
            const int p = pick(rng);
            cv::Vec3s f(short(x), short(y), 0);
            if (p < 15)
                f = cv::Vec3s(short(px(rng)), short(py(rng)), 0);
            else if (p < 35)
                f = cv::Vec3s(short(x + shift(rng)), short(y + shift(rng)), 0);
            v.field.at<cv::Vec3s>(y, x) = f;
            const int q = pick(rng);
            v.cost.at<short>(y, x) = short(q < 30 ? 0 : q < 90 ? lowCost(rng) : anyCost(rng));
        }
    v.out = v.src.clone();
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            if (pick(rng) < 30)
                v.out.at<cv::Vec3b>(y, x) = palette[colour(rng)];
    return v;
}

} // namespace

TEST(VoteImage, EqualsReferenceWhereVotersAgree)
{
    std::mt19937 rng(19);
    MyPatchMatch pm;
    int unanimousPixels = 0;
    for (int round = 0; round < 8; ++round) {
        const bool upscale = round & 1;
        pm.m_voteAll = (round & 2) != 0;
        const int rows = 30 + round * 3, cols = 41 - round * 2;
        AgreeingVote v = agreeingVote(rng, rows, cols, upscale);
        if (round >= 4) {
            // Few pixels take votes: a hole on the bottom-right edge and a
            // handful of pixels elsewhere that differ from the source, so
            // that only parts of the field are read.
            v.mask = noMask(rows, cols);
            v.mask(cv::Rect(cols - 4, rows - 3, 4, 3)).setTo(cv::Scalar(255, 0, 0));
            v.out = v.src.clone();
            std::uniform_int_distribution<int> py(0, rows - 1), px(0, cols - 1);
            for (int k = 0; k < 6; ++k)
                v.out.at<cv::Vec3b>(py(rng), px(rng)) = cv::Vec3b(1, 2, 3);
        }
        cv::Mat out = v.out.clone();
        cv::Mat expected = v.out.clone();
        cv::Mat lifted(rows, cols, CV_8UC3, cv::Scalar::all(0));
        pm.voteImage(v.src, out, v.field, v.mask, upscale, v.cost);
        reference::voteImage(v.src, expected, v.field, v.mask, upscale, v.cost, 2, pm.m_similarity,
                             pm.m_voteAll, &lifted);
        ASSERT_EQ(reference::voteMismatch(out, expected, lifted), "") << "round " << round;
        // The inputs do exercise the shortcut: many pixels take one colour
        // that differs from what out held before.
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < cols; ++x)
                unanimousPixels += expected.at<cv::Vec3b>(y, x) != v.out.at<cv::Vec3b>(y, x);
    }
    EXPECT_GT(unanimousPixels, 50);
}

TEST(VoteHole, EqualsReferenceOnMarkedPixelsAndLeavesTheRest)
{
    std::mt19937 rng(21);
    MyPatchMatch pm;
    for (int round = 0; round < 8; ++round) {
        const bool upscale = round & 1;
        pm.m_voteAll = (round & 2) != 0;
        const int rows = 26 + round, cols = 35 - round;
        AgreeingVote v = agreeingVote(rng, rows, cols, upscale);
        if (round & 4) { // scattered marks and random votes as well
            v.mask = randomMask(rng, rows, cols, 25);
            v.out = randomImage(rng, rows, cols);
        }
        cv::Mat out = v.out.clone();
        cv::Mat expected = v.out.clone();
        cv::Mat lifted(rows, cols, CV_8UC3, cv::Scalar::all(0));
        pm.voteHole(v.src, out, v.field, v.mask, upscale, v.cost);
        reference::voteImage(v.src, expected, v.field, v.mask, upscale, v.cost, 2, pm.m_similarity,
                             pm.m_voteAll, &lifted);
        // Marked pixels as the reference votes them, the rest untouched.
        cv::Mat marks;
        cv::extractChannel(v.mask, marks, 0);
        v.out.copyTo(expected, marks != 255);
        ASSERT_EQ(reference::voteMismatch(out, expected, lifted), "") << "round " << round;
    }
}

// The random search takes its draws modulo 2 r through a multiply instead
// of a division; the remainder must be the C remainder for every draw and
// every divisor the radii can give (2 .. 131,070), and 1.
TEST(RandomDraws, DivisorRemainderEqualsTheModulo)
{
    std::mt19937 rng(23);
    std::uniform_int_distribution<uint32_t> draw(0, 0x7FFFFFFF);
    for (uint32_t d = 1; d <= 131070; d += (d < 4096 ? 1 : 7)) {
        const engine::Divisor divisor(d);
        const uint32_t edges[] = {0u, 1u, d - 1, d, d + 1, 2 * d - 1, 0x7FFFFFFFu, 0x7FFFFFFFu - d};
        for (uint32_t a : edges)
            ASSERT_EQ(divisor.remainder(a), a % d) << a << " % " << d;
        for (int k = 0; k < 8; ++k) {
            const uint32_t a = draw(rng);
            ASSERT_EQ(divisor.remainder(a), a % d) << a << " % " << d;
        }
    }
    // All the radii of a search start from the field's longer side.
    for (int r = 65535; r >= 1; r >>= 1) {
        const engine::Divisor divisor(uint32_t(2 * r));
        for (int k = 0; k < 1000; ++k) {
            const uint32_t a = draw(rng);
            ASSERT_EQ(divisor.remainder(a), a % uint32_t(2 * r));
        }
    }
}

// --- Field set-up ---------------------------------------------------------------

TEST(Field, FullyMaskedSourceGivesRandomMatchesAtFullCost)
{
    MyPatchMatch pm;
    pm.m_eraseMode = 1;
    const cv::Mat img(12, 15, CV_8UC3, cv::Scalar(50, 60, 70));
    cv::Mat mask = noMask(12, 15);
    mask.setTo(cv::Scalar(255, 0, 0));
    cv::Mat field, cost;
    pm.initFieldRandom(img, img, mask, field, cost);
    ASSERT_EQ(field.size(), img.size());
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 15; ++x) {
            ASSERT_EQ(uint16_t(cost.at<short>(y, x)), 65535);
            const cv::Vec3s f = field.at<cv::Vec3s>(y, x);
            ASSERT_LT(f[0], 15);
            ASSERT_LT(f[1], 12);
            ASSERT_GE(f[0], 0);
            ASSERT_GE(f[1], 0);
        }
}

TEST(Field, CloneSeedOnOneRowOrColumnDoesNotDivideByZero)
{
    for (const cv::Size size : {cv::Size(9, 1), cv::Size(1, 9), cv::Size(1, 1)}) {
        MyPatchMatch pm;
        pm.allocCloneMap(size.area(), true);
        pm.m_rows = size.height;
        pm.m_cols = size.width;
        cv::Mat field(size, CV_16SC3, cv::Scalar::all(0));
        cv::Mat flags(size, CV_8UC3, cv::Scalar::all(0));
        pm.initFieldClone(field, flags);
        EXPECT_EQ(cv::countNonZero(flags.reshape(1)), 0);
    }
}

TEST(Field, CloneSeedShiftsFiveRowsDownOnlyWhenItFits)
{
    MyPatchMatch pm;
    const int rows = 40, cols = 30;
    pm.allocCloneMap(rows * cols, true);
    pm.m_rows = rows;
    pm.m_cols = cols;
    for (int y = 10; y < 16; ++y)
        for (int x = 5; x < 12; ++x)
            pm.m_cloneMap[y * cols + x] = 1;
    cv::Mat field(rows, cols, CV_16SC3), flags(rows, cols, CV_8UC3);

    // Box height is 5 (a difference); 5 + 30 + 5 = 40 is not below 40.
    pm.m_cloneOffsetX = 20;
    pm.m_cloneOffsetY = 30;
    pm.initFieldClone(field, flags);
    EXPECT_EQ(pm.m_cloneOffsetY, 30);
    // The drop's corner pixel points straight at the corner of the piece.
    EXPECT_EQ(flags.at<cv::Vec3b>(30, 20)[0], 255);
    EXPECT_EQ(field.at<cv::Vec3s>(30, 20), cv::Vec3s(5, 10, 0));
    // The last row and column of the piece are not seeded.
    EXPECT_EQ(flags.at<cv::Vec3b>(35, 20)[0], 0);
    EXPECT_EQ(flags.at<cv::Vec3b>(30, 26)[0], 0); // source column 11, the last one
    EXPECT_EQ(cv::countNonZero(flags.reshape(1)), 5 * 6);

    pm.m_cloneOffsetY = 29;
    pm.initFieldClone(field, flags);
    EXPECT_EQ(pm.m_cloneOffsetY, 34); // 5 + 29 + 5 = 39 < 40: shifted
    pm.m_cloneOffsetY = 10;
    pm.initFieldClone(field, flags);
    EXPECT_EQ(pm.m_cloneOffsetY, 15);
    EXPECT_EQ(field.at<cv::Vec3s>(15, 20), cv::Vec3s(5, 10, 0));
}

TEST(Field, HalveFieldMaskedOddSizeAndTieBreak)
{
    MyPatchMatch pm;
    const int rows = 5, cols = 4;
    cv::Mat old(rows, cols, CV_16SC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            old.at<cv::Vec3s>(y, x) = cv::Vec3s(short(100 + 10 * x), short(200 + 10 * y), 0);
    cv::Mat mask = noMask(rows, cols);
    // Block (0,0): right and diagonal marked -> right (0,1) wins over diagonal.
    mask.at<cv::Vec3b>(0, 1)[0] = 255;
    mask.at<cv::Vec3b>(1, 1)[0] = 255;
    // Block (0,1): only own (0,2) marked -> keeps own position.
    mask.at<cv::Vec3b>(0, 2)[0] = 255;
    // Last output row of the odd field uses y0 = rows - 2 = 3.
    mask.at<cv::Vec3b>(4, 0)[0] = 255;
    cv::Mat out, outMask;
    pm.halveFieldMasked(out, old, mask, outMask);
    ASSERT_EQ(out.rows, 3);
    ASSERT_EQ(out.cols, 2);
    EXPECT_EQ(out.at<cv::Vec3s>(0, 0), cv::Vec3s(110 >> 1, 200 >> 1, 0));
    EXPECT_EQ(outMask.at<cv::Vec3b>(0, 0)[0], 255);
    EXPECT_EQ(out.at<cv::Vec3s>(0, 1), cv::Vec3s(120 >> 1, 200 >> 1, 0));
    EXPECT_EQ(outMask.at<cv::Vec3b>(0, 1)[0], 255);
    EXPECT_EQ(outMask.at<cv::Vec3b>(1, 0)[0], 0);
    EXPECT_EQ(out.at<cv::Vec3s>(1, 0), cv::Vec3s(100 >> 1, 220 >> 1, 0));
    // Row 2: y0 = 3, the marked cell (4, 0) is "below".
    EXPECT_EQ(outMask.at<cv::Vec3b>(2, 0)[0], 255);
    EXPECT_EQ(out.at<cv::Vec3s>(2, 0), cv::Vec3s(100 >> 1, 240 >> 1, 0));
}

TEST(Field, DoubleFieldOffsetsKeepsParity)
{
    MyPatchMatch pm;
    cv::Mat old(3, 3, CV_16SC3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            old.at<cv::Vec3s>(y, x) = cv::Vec3s(short(x + 1), short(y), short(7));
    cv::Mat fine(5, 5, CV_16SC3);
    pm.doubleFieldOffsets(old, fine);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x)
            ASSERT_EQ(fine.at<cv::Vec3s>(y, x), cv::Vec3s(short(x + 2), short(y), 7));
}

TEST(Field, UpscaledStartDoublesWithoutParity)
{
    MyPatchMatch pm;
    pm.m_eraseMode = 0;
    cv::Mat old(2, 2, CV_16SC3);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
            old.at<cv::Vec3s>(y, x) = cv::Vec3s(short(x), short(y), 0);
    const cv::Mat img(5, 5, CV_8UC3, cv::Scalar::all(9));
    cv::Mat fresh(5, 5, CV_16SC3), cost;
    pm.initFieldUpscaled(img, img, noMask(5, 5), old, fresh, cost);
    EXPECT_EQ(fresh.at<cv::Vec3s>(1, 1), cv::Vec3s(0, 0, 0));
    EXPECT_EQ(fresh.at<cv::Vec3s>(3, 2), cv::Vec3s(2, 2, 0));
    EXPECT_EQ(fresh.at<cv::Vec3s>(4, 4), cv::Vec3s(2, 2, 0)); // clamped to the last coarse cell
}

TEST(Field, DonorBoxRowsNeverMoveAndEmptyMapInvertsColumns)
{
    MyPatchMatch pm;
    pm.allocEraseMaps(10 * 10, true);
    pm.m_donorLevelMask = noMask(10, 10);
    pm.updateDonorBox();
    EXPECT_GT(pm.m_donorBoxColMin, pm.m_donorBoxColMax);
    EXPECT_EQ(pm.m_donorBoxRowMin, 0);
    EXPECT_EQ(pm.m_donorBoxRowMax, 10);

    pm.m_donorMap[3 * 10 + 4] = 1;
    pm.m_donorMap[5 * 10 + 7] = 1;
    pm.updateDonorBox();
    EXPECT_EQ(pm.m_donorBoxColMin, 4);
    EXPECT_EQ(pm.m_donorBoxColMax, 7);
    EXPECT_EQ(pm.m_donorBoxRowMin, 0);
    EXPECT_EQ(pm.m_donorBoxRowMax, 10);
}

TEST(Field, EmptyDonorBoxDrawsFallOutsideAndCostFullScale)
{
    MyPatchMatch pm;
    pm.allocEraseMaps(12 * 12, true);
    pm.m_donorLevelMask = noMask(12, 12);
    pm.updateDonorBox();
    pm.m_eraseMode = 2;
    const cv::Mat img(12, 12, CV_8UC3, cv::Scalar::all(40));
    cv::Mat mask = noMask(12, 12);
    mask.setTo(cv::Scalar(255, 0, 0));
    cv::Mat old(6, 6, CV_16SC3, cv::Scalar::all(0)), fresh(12, 12, CV_16SC3), cost;
    pm.initFieldUpscaled(img, img, mask, old, fresh, cost);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 12; ++x) {
            ASSERT_EQ(uint16_t(cost.at<short>(y, x)), 65535);
            ASSERT_GE(fresh.at<cv::Vec3s>(y, x)[0], 12); // drawn right of the image
        }
}

TEST(Field, OneColumnDonorBoxDoesNotDivideByZero)
{
    MyPatchMatch pm;
    pm.allocEraseMaps(12 * 12, true);
    for (int y = 0; y < 12; ++y)
        pm.m_donorMap[y * 12 + 3] = 1;
    pm.m_donorLevelMask = noMask(12, 12);
    pm.updateDonorBox();
    ASSERT_EQ(pm.m_donorBoxColMin, pm.m_donorBoxColMax);
    pm.m_eraseMode = 2;
    const cv::Mat img(12, 12, CV_8UC3, cv::Scalar::all(40));
    cv::Mat mask = noMask(12, 12);
    mask.setTo(cv::Scalar(255, 0, 0));
    cv::Mat old(6, 6, CV_16SC3, cv::Scalar::all(0)), fresh(12, 12, CV_16SC3), cost;
    pm.initFieldUpscaled(img, img, mask, old, fresh, cost);
    EXPECT_EQ(cost.size(), img.size());
}

TEST(Field, HolePixelOutOfDonorReachKeepsAVectorAtPenaltyCost)
{
    // Donor erase with a donor far from a hole pixel's patch-mates: every
    // candidate of a fully masked neighbourhood pays the penalty, yet the
    // pixel still ends with a vector inside the donor box.
    MyPatchMatch pm;
    const int n = 16;
    pm.allocEraseMaps(n * n, true);
    pm.m_donorLevelMask = noMask(n, n); // no donor pixel at this level
    for (int y = 0; y < n; ++y)
        pm.m_donorMap[y * n + 12] = 1; // box: column 12, all rows
    pm.updateDonorBox();
    pm.m_eraseMode = 2;
    const cv::Mat img(n, n, CV_8UC3, cv::Scalar::all(60));
    cv::Mat mask = noMask(n, n);
    mask(cv::Rect(2, 2, 8, 8)).setTo(cv::Scalar(255, 0, 0));
    cv::Mat old(n / 2, n / 2, CV_16SC3, cv::Scalar::all(0)), fresh(n, n, CV_16SC3), cost;
    pm.initFieldUpscaled(img, img, mask, old, fresh, cost);
    // (6, 6): its whole patch is in the hole, and no source is a donor.
    EXPECT_EQ(uint16_t(cost.at<short>(6, 6)), 65535);
    const cv::Vec3s v = fresh.at<cv::Vec3s>(6, 6);
    EXPECT_EQ(v[0], 12);
    EXPECT_GE(v[1], 0);
    EXPECT_LE(v[1], n);
    // The vote then gives it next to no weight: wsum stays under 1.0 and
    // the pixel keeps what it had.
    pm.m_voteAll = true;
    cv::Mat out(n, n, CV_8UC3, cv::Scalar(1, 2, 3));
    cv::Mat onlyHole(n, n, CV_16SC1, cv::Scalar::all(-1));
    pm.voteImage(img, out, fresh, mask, false, onlyHole);
    EXPECT_EQ(out.at<cv::Vec3b>(6, 6), cv::Vec3b(1, 2, 3));
}

TEST(Field, CloneTargetAtTheImageEdgeKeepsItsSeed)
{
    MyPatchMatch pm;
    const int rows = 30, cols = 30;
    pm.allocCloneMap(rows * cols, true);
    pm.m_rows = rows;
    pm.m_cols = cols;
    for (int y = 4; y < 10; ++y)
        for (int x = 4; x < 10; ++x)
            pm.m_cloneMap[y * cols + x] = 1;
    pm.m_cloneOffsetX = 0; // dropped at the left edge
    pm.m_cloneOffsetY = 0;
    cv::Mat field(rows, cols, CV_16SC3), flags(rows, cols, CV_8UC3);
    pm.initFieldClone(field, flags);
    ASSERT_EQ(pm.m_cloneOffsetY, 5);
    EXPECT_EQ(flags.at<cv::Vec3b>(5, 0)[0], 255);
    EXPECT_EQ(field.at<cv::Vec3s>(5, 0), cv::Vec3s(4, 4, 0));
    // A frozen seed survives the row sweeps although its patch leaves the image.
    const cv::Mat img(rows, cols, CV_8UC3, cv::Scalar::all(20));
    cv::Mat cost;
    pm.recomputeCost(img, img, noMask(rows, cols), field, cost);
    pm.sweepRowsForward(field, img, img, noMask(rows, cols), cost, flags);
    pm.sweepRowsBackward(field, img, img, noMask(rows, cols), cost, flags);
    EXPECT_EQ(field.at<cv::Vec3s>(5, 0), cv::Vec3s(4, 4, 0));
}

// --- Propagation and random search ---------------------------------------------

TEST(Sweeps, AllCostsZeroLeaveTheFieldAlone)
{
    MyPatchMatch pm;
    const cv::Mat img(10, 10, CV_8UC3, cv::Scalar::all(3));
    cv::Mat field(10, 10, CV_16SC3, cv::Scalar::all(-5)); // garbage that any try would replace
    cv::Mat cost(10, 10, CV_16SC1, cv::Scalar::all(0));
    const cv::Mat before = field.clone();
    pm.sweepField(field, img, img, noMask(10, 10), cost, 4);
    EXPECT_EQ(cv::norm(field, before, cv::NORM_INF), 0.0);
}

TEST(Sweeps, FewerSweepsThanThreadsStillConverge)
{
    // One double sweep with idle extra threads: a constant image has a
    // perfect match everywhere and the sweep finds it for inner pixels.
    MyPatchMatch pm;
    const cv::Mat img(16, 16, CV_8UC3, cv::Scalar::all(3));
    cv::Mat field, cost;
    pm.initFieldRandom(img, img, noMask(16, 16), field, cost);
    pm.sweepField(field, img, img, noMask(16, 16), cost, 1);
    EXPECT_EQ(cost.at<short>(8, 8), 0);
}

namespace {

// A 1-row image where only the match of one column is good; propagation is
// seen by what a single improveMatch call stores.
struct PropagationCase
{
    MyPatchMatch pm;
    cv::Mat img, field, cost, mask;
    PropagationCase(int cols)
    {
        pm.m_patchRadius = 0; // 1 x 1 patches keep the arithmetic visible
        img = cv::Mat(1, cols, CV_8UC3);
        for (int x = 0; x < cols; ++x)
            img.at<cv::Vec3b>(0, x) = cv::Vec3b(uchar(x * 20), 0, 0);
        field = cv::Mat(1, cols, CV_16SC3);
        for (int x = 0; x < cols; ++x)
            field.at<cv::Vec3s>(0, x) = cv::Vec3s(short(x), 0, 0);
        cost = cv::Mat(1, cols, CV_16SC1, cv::Scalar::all(0));
        mask = noMask(1, cols);
    }
};

} // namespace

TEST(Sweeps, ForwardColumnOneTakesNoHorizontalPropagation)
{
    // Target column x shows source column x + 1. A left neighbour whose
    // match is right makes "its match + 1" the perfect candidate.
    PropagationCase c(6);
    cv::Mat target = c.img.clone();
    for (int x = 0; x < 5; ++x)
        target.at<cv::Vec3b>(0, x) = c.img.at<cv::Vec3b>(0, x + 1);
    c.cost.setTo(cv::Scalar::all(-1));
    int column1Found = 0, column2Found = 0;
    for (int trial = 0; trial < 60; ++trial) {
        // Column 0 is right (1), column 1 wrong: column 0 is no neighbour,
        // so only a lucky random draw can fix column 1.
        cv::Mat f = c.field.clone(), k = c.cost.clone();
        f.at<cv::Vec3s>(0, 0) = cv::Vec3s(1, 0, 0);
        f.at<cv::Vec3s>(0, 1) = cv::Vec3s(4, 0, 0);
        c.pm.improveMatch(c.img, target, f, c.mask, 0, 1, true, k);
        column1Found += f.at<cv::Vec3s>(0, 1)[0] == 2;
        // Column 1 right (2), column 2 wrong: propagation always fixes it.
        f = c.field.clone();
        k = c.cost.clone();
        f.at<cv::Vec3s>(0, 1) = cv::Vec3s(2, 0, 0);
        f.at<cv::Vec3s>(0, 2) = cv::Vec3s(0, 0, 0);
        c.pm.improveMatch(c.img, target, f, c.mask, 0, 2, true, k);
        column2Found += f.at<cv::Vec3s>(0, 2)[0] == 3;
    }
    EXPECT_EQ(column2Found, 60);
    EXPECT_LT(column1Found, 60);
}

TEST(Sweeps, BackwardLastColumnTakesNoHorizontalPropagation)
{
    // Target column x shows source column x - 1; backward propagation tries
    // "right neighbour's match - 1".
    PropagationCase c(6);
    cv::Mat target = c.img.clone();
    for (int x = 1; x < 6; ++x)
        target.at<cv::Vec3b>(0, x) = c.img.at<cv::Vec3b>(0, x - 1);
    c.cost.setTo(cv::Scalar::all(-1));
    int lastFound = 0, beforeLastFound = 0;
    for (int trial = 0; trial < 60; ++trial) {
        cv::Mat f = c.field.clone(), k = c.cost.clone();
        f.at<cv::Vec3s>(0, 5) = cv::Vec3s(0, 0, 0); // wrong, no right neighbour
        c.pm.improveMatch(c.img, target, f, c.mask, 0, 5, false, k);
        lastFound += f.at<cv::Vec3s>(0, 5)[0] == 4;
        // Column 4 reads its neighbour in column 5 = cols - 1.
        f = c.field.clone();
        k = c.cost.clone();
        f.at<cv::Vec3s>(0, 5) = cv::Vec3s(4, 0, 0);
        f.at<cv::Vec3s>(0, 4) = cv::Vec3s(0, 0, 0);
        c.pm.improveMatch(c.img, target, f, c.mask, 0, 4, false, k);
        beforeLastFound += f.at<cv::Vec3s>(0, 4)[0] == 3;
    }
    EXPECT_EQ(beforeLastFound, 60);
    EXPECT_LT(lastFound, 60);
}

TEST(Sweeps, OneByOneFieldOnlyTriesItself)
{
    MyPatchMatch pm;
    const cv::Mat img(1, 1, CV_8UC3, cv::Scalar(1, 2, 3));
    cv::Mat field(1, 1, CV_16SC3, cv::Scalar::all(0));
    cv::Mat cost(1, 1, CV_16SC1, cv::Scalar::all(-1));
    pm.improveMatch(img, img, field, noMask(1, 1), 0, 0, true, cost);
    EXPECT_EQ(field.at<cv::Vec3s>(0, 0), cv::Vec3s(0, 0, 0));
    // 24 of 25 pairs are off the image, the centre matches.
    EXPECT_EQ(uint16_t(cost.at<short>(0, 0)), unsigned(24.0 / 25.0 * 65535.0));
}

TEST(Sweeps, FrozenPixelKeepsItsMatchAndServesAsNeighbour)
{
    MyPatchMatch pm;
    pm.m_patchRadius = 0;
    const int cols = 8;
    cv::Mat img(1, cols, CV_8UC3);
    for (int x = 0; x < cols; ++x)
        img.at<cv::Vec3b>(0, x) = cv::Vec3b(uchar(30 * x), 0, 0);
    cv::Mat field(1, cols, CV_16SC3, cv::Scalar::all(0));
    field.at<cv::Vec3s>(0, 3) = cv::Vec3s(6, 0, 0); // frozen, deliberately wrong
    cv::Mat cost(1, cols, CV_16SC1, cv::Scalar::all(-1));
    cv::Mat frozen = noMask(1, cols);
    frozen.at<cv::Vec3b>(0, 3)[0] = 255;
    pm.sweepRowsForward(field, img, img, noMask(1, cols), cost, frozen);
    EXPECT_EQ(field.at<cv::Vec3s>(0, 3), cv::Vec3s(6, 0, 0));
    // Column 4 tried (6 + 1, 0) from its frozen neighbour among others and
    // ended on its own perfect match or kept trying; its cost is never
    // worse than that of the propagated candidate.
    EXPECT_LE(uint16_t(cost.at<short>(0, 4)),
              pm.patchDistance(img, 0, 4, img, 0, 7, noMask(1, cols)));
}
