// Random small photos (1 x 1 to 64 x 64, odd sizes included), random masks
// and donor areas, a fixed seed and a fixed count, through the steps the
// command-line eraser takes: the work box, the refusal checks, then the real
// job on its thread. Every run must end either with a reason or with a hole
// free of black; none may crash, fail or hang.
//
// The photos have no dark pixel (holecheck.h). In donor erases the engine keeps the hole's colours until it fills them,
// so there the object is painted black before the job.
//
// MERVANE_FUZZ_RUNS and MERVANE_FUZZ_SEED override the count and the seed.

#include "fillcheck.h"
#include "holecheck.h"
#include "jobmemory.h"
#include "threadfromqthread.h"
#include "workbox.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <cstdlib>
#include <random>
#include <string>

namespace {

using holecheck::kFloor;
constexpr int kMaxSide = 64;
const cv::Scalar kRed(0, 0, 255, 128);
const cv::Scalar kGreen(0, 255, 0, 128);

unsigned envOr(const char *name, unsigned fallback)
{
    const char *v = std::getenv(name);
    return v && *v ? unsigned(std::strtoul(v, nullptr, 10)) : fallback;
}

struct Case
{
    cv::Mat photo;
    cv::Mat red;
    cv::Mat green;
    bool useDonor = false;
};

int uniform(std::mt19937 &rng, int lo, int hi)
{
    return std::uniform_int_distribution<int>(lo, hi)(rng);
}

// Sides weighted towards the small end, where the boundaries are.
int side(std::mt19937 &rng)
{
    switch (uniform(rng, 0, 3)) {
    case 0:
        return uniform(rng, 1, 12);
    case 1:
        return uniform(rng, 8, 24);
    default:
        return uniform(rng, 1, kMaxSide);
    }
}

cv::Mat randomPhoto(std::mt19937 &rng, int rows, int cols)
{
    cv::Mat photo(rows, cols, CV_8UC3);
    // Noise, smooth gradients or flat colour.
    const int kind = uniform(rng, 0, 2);
    const cv::Vec3b base(uchar(uniform(rng, kFloor, 255)), uchar(uniform(rng, kFloor, 255)),
                         uchar(uniform(rng, kFloor, 255)));
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x) {
            cv::Vec3b &p = photo.at<cv::Vec3b>(y, x);
            for (int c = 0; c < 3; ++c) {
                int v = base[c];
                if (kind == 0)
                    v = uniform(rng, kFloor, 255);
                else if (kind == 1)
                    v = kFloor + (base[c] + 3 * x * (c + 1) + 2 * y) % (256 - kFloor);
                p[c] = uchar(v);
            }
        }
    return photo;
}

// A selection layer: nothing, the whole photo, a few rectangles, or
// scattered pixels.
cv::Mat randomLayer(std::mt19937 &rng, cv::Size size, const cv::Scalar &colour)
{
    cv::Mat layer(size, CV_8UC4, cv::Scalar::all(0));
    const cv::Rect all(cv::Point(), size);
    const int kind = uniform(rng, 0, 9);
    if (kind == 0)
        return layer;
    if (kind == 1) {
        layer.setTo(colour);
        return layer;
    }
    if (kind == 2) {
        // All but a border of 1 to 3 pixels.
        const int b = uniform(rng, 1, 3);
        layer(cv::Rect(b, b, size.width - 2 * b, size.height - 2 * b) & all).setTo(colour);
        return layer;
    }
    if (kind == 3) {
        const int n = uniform(rng, 1, size.area() / 4 + 1);
        for (int i = 0; i < n; ++i)
            layer.at<cv::Vec4b>(uniform(rng, 0, size.height - 1), uniform(rng, 0, size.width - 1)) =
                cv::Vec4b(uchar(colour[0]), uchar(colour[1]), uchar(colour[2]), uchar(colour[3]));
        return layer;
    }
    const int rects = uniform(rng, 1, 3);
    for (int i = 0; i < rects; ++i) {
        const int x = uniform(rng, -2, size.width - 1), y = uniform(rng, -2, size.height - 1);
        const int w = uniform(rng, 1, size.width), h = uniform(rng, 1, size.height);
        layer(cv::Rect(x, y, w, h) & all).setTo(colour);
    }
    return layer;
}

Case randomCase(std::mt19937 &rng)
{
    Case c;
    const int rows = side(rng), cols = side(rng);
    c.photo = randomPhoto(rng, rows, cols);
    c.red = randomLayer(rng, c.photo.size(), kRed);
    c.useDonor = uniform(rng, 0, 2) == 0;
    c.green = c.useDonor ? randomLayer(rng, c.photo.size(), kGreen)
                         : cv::Mat(c.photo.size(), CV_8UC4, cv::Scalar::all(0));
    return c;
}

cv::Rect selectedBox(const cv::Mat &layer, int channel)
{
    cv::Rect box;
    for (int y = 0; y < layer.rows; ++y)
        for (int x = 0; x < layer.cols; ++x)
            if (layer.at<cv::Vec4b>(y, x)[channel] > 254)
                box |= cv::Rect(x, y, 1, 1);
    return box;
}

} // namespace

TEST(Fuzz, EveryEraseIsRefusedWithAReasonOrFilled)
{
    const unsigned runs = envOr("MERVANE_FUZZ_RUNS", 600);
    const unsigned seed = envOr("MERVANE_FUZZ_SEED", 20261123);
    std::mt19937 rng(seed);
    unsigned refused = 0, filled = 0;
    for (unsigned run = 0; run < runs; ++run) {
        Case c = randomCase(rng);
        SCOPED_TRACE("run " + std::to_string(run) + ": " + std::to_string(c.photo.cols) + " x "
                     + std::to_string(c.photo.rows) + (c.useDonor ? ", donor" : ""));

        // The work box as the eraser cuts it: everything painted, grown.
        const cv::Rect maskBox = selectedBox(c.red, 2);
        const cv::Rect donorBox = c.useDonor ? selectedBox(c.green, 1) : cv::Rect();
        const cv::Rect painted = donorBox.area() > 0 ? (maskBox | donorBox) : maskBox;
        const cv::Rect crop = enlargedCrop(painted, c.photo.size());
        if (crop.area() == 0) {
            // Only an empty selection gives an empty box; the check says so
            // for the whole photo.
            EXPECT_EQ(maskBox.area(), 0);
            EXPECT_FALSE(eraseRefusal(c.photo, c.red, c.green, c.useDonor).empty());
            ++refused;
            continue;
        }

        cv::Mat view = c.photo(crop);
        const cv::Mat red = c.red(crop), green = c.green(crop);
        std::string reason = eraseRefusal(view, red, green, c.useDonor);
        if (reason.empty())
            reason = memoryRefusal(view.size(), c.useDonor);
        if (!reason.empty()) {
            EXPECT_EQ(reason.find('\n'), std::string::npos) << reason;
            ++refused;
            continue;
        }

        const cv::Mat hole = holecheck::holeOf(red);
        ASSERT_GT(cv::countNonZero(hole), 0) << "accepted without a hole";
        if (c.useDonor)
            view.setTo(cv::Scalar::all(0), hole);

        ThreadFromQThread thread;
        thread.setEraseJob(view, view, red, green, c.useDonor, JobType::Erase);
        thread.start(QThread::InheritPriority);
        ASSERT_TRUE(thread.wait(60000)) << "the job hangs";
        ASSERT_FALSE(thread.failed()) << thread.failure().toStdString();

        EXPECT_EQ(holecheck::darkPixels(view, hole), 0) << "hole left dark";
        ++filled;
    }
    // Both outcomes must be common, or the pass proves little.
    EXPECT_GT(filled, runs / 5);
    EXPECT_GT(refused, runs / 10);
    std::printf("%u runs: %u filled, %u refused\n", runs, filled, refused);
}
