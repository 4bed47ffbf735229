// What users judge the engine by, on real pictures: pixels outside the hole
// untouched, and a hole filled well enough, measured as PSNR against the
// original picture. Pictures come from the scikit-image data files that
// Debian installs (public-domain / freely licensed sample images).

#include "threadfromqthread.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cmath>
#include <string>

namespace {

const std::string kDataDir = "/usr/lib/python3/dist-packages/skimage/data/";

// Quality floors in dB, set a few dB under what the engine reaches on these
// holes over many runs (output varies run to run by design).
constexpr double kBrickFloor = 20.0; // reached: 21.7 .. 27.6
constexpr double kGrassFloor = 13.0;  // reached: 14.4 .. 15.9
constexpr double kPhotoFloor = 21.0;  // reached: 23.1 .. 23.4

cv::Mat loadSample(const std::string &name)
{
    return cv::imread(kDataDir + name, cv::IMREAD_COLOR);
}

struct EraseResult
{
    cv::Mat original;
    cv::Mat output;
    cv::Mat holeMask; // 8UC1, 255 on every pixel the engine was asked to fill
};

// One plain erase through the job thread, exactly as the window runs it.
EraseResult erase(const cv::Mat &picture, const cv::Rect &selection)
{
    EraseResult r;
    r.original = picture.clone();
    r.output = picture.clone();
    cv::Mat red(picture.size(), CV_8UC4, cv::Scalar::all(0));
    red(selection).setTo(cv::Scalar(0, 0, 255, 128));
    cv::Mat green(picture.size(), CV_8UC4, cv::Scalar::all(0));
    ThreadFromQThread thread;
    thread.setEraseJob(r.output, r.output, red, green, false, JobType::Erase);
    thread.run();
    // The stamp grows every selected pixel by one in each direction.
    const cv::Rect grown = cv::Rect(selection.x - 1, selection.y - 1, selection.width + 2,
                                    selection.height + 2)
                           & cv::Rect(cv::Point(), picture.size());
    r.holeMask = cv::Mat(picture.size(), CV_8UC1, cv::Scalar(0));
    r.holeMask(grown).setTo(255);
    return r;
}

double holePsnr(const EraseResult &r)
{
    double sse = 0.0;
    long n = 0;
    for (int y = 0; y < r.original.rows; ++y)
        for (int x = 0; x < r.original.cols; ++x) {
            if (!r.holeMask.at<uchar>(y, x))
                continue;
            const cv::Vec3b a = r.original.at<cv::Vec3b>(y, x), b = r.output.at<cv::Vec3b>(y, x);
            for (int c = 0; c < 3; ++c)
                sse += double(a[c] - b[c]) * (a[c] - b[c]);
            n += 3;
        }
    const double mse = sse / double(n);
    return mse > 0 ? 10.0 * std::log10(255.0 * 255.0 / mse) : 99.0;
}

long changedOutsideHole(const EraseResult &r)
{
    long changed = 0;
    for (int y = 0; y < r.original.rows; ++y)
        for (int x = 0; x < r.original.cols; ++x)
            if (!r.holeMask.at<uchar>(y, x) && r.original.at<cv::Vec3b>(y, x) != r.output.at<cv::Vec3b>(y, x))
                ++changed;
    return changed;
}

#define REQUIRE_SAMPLE(image, name)                                                               \
    const cv::Mat image = loadSample(name);                                                       \
    ASSERT_FALSE(image.empty()) << "sample picture " << kDataDir << name                            \
                                << " is missing (python3-skimage, installed by scripts/setup.sh)";

} // namespace

TEST(Outcome, PixelsOutsideTheHoleAreBitIdentical)
{
    REQUIRE_SAMPLE(photo, "chelsea.png");
    // An even-sized crop: every level's field reaches every pixel.
    const EraseResult r = erase(photo(cv::Rect(0, 0, 450, 300)).clone(), cv::Rect(200, 120, 40, 30));
    EXPECT_EQ(changedOutsideHole(r), 0);
    // And the hole was filled: no black pixel is left in it.
    cv::Mat channels[3];
    cv::split(r.output, channels);
    const cv::Mat black = (channels[0] == 0) & (channels[1] == 0) & (channels[2] == 0) & r.holeMask;
    EXPECT_EQ(cv::countNonZero(black), 0);
}

TEST(Outcome, OddSizedPictureKeepsEveryPixelOutsideTheHole)
{
    // With an odd width the full-size vote reaches the last column only from
    // border patches; the driver writes unmarked pixels back, so not even that
    // column may differ from the photo.
    REQUIRE_SAMPLE(photo, "chelsea.png"); // 451 x 300
    const EraseResult r = erase(photo, cv::Rect(200, 120, 40, 30));
    ASSERT_EQ(r.original.cols % 2, 1);
    EXPECT_EQ(changedOutsideHole(r), 0);
}

TEST(Outcome, PeriodicBrickTextureIsFilledAboveTheFloor)
{
    REQUIRE_SAMPLE(brick, "brick.png");
    const cv::Mat crop = brick(cv::Rect(0, 0, 256, 256)).clone();
    const EraseResult r = erase(crop, cv::Rect(110, 110, 32, 32));
    const double psnr = holePsnr(r);
    std::printf("brick hole PSNR %.2f dB\n", psnr);
    EXPECT_GT(psnr, kBrickFloor);
    EXPECT_EQ(changedOutsideHole(r), 0);
}

TEST(Outcome, GrassTextureIsFilledAboveTheFloor)
{
    REQUIRE_SAMPLE(grass, "grass.png");
    const cv::Mat crop = grass(cv::Rect(128, 128, 256, 256)).clone();
    const EraseResult r = erase(crop, cv::Rect(112, 112, 32, 32));
    const double psnr = holePsnr(r);
    std::printf("grass hole PSNR %.2f dB\n", psnr);
    EXPECT_GT(psnr, kGrassFloor);
}

TEST(Outcome, RealPhotographIsFilledAboveTheFloor)
{
    REQUIRE_SAMPLE(photo, "coffee.png");
    // A patch of the wooden table, erased as a user would erase a crumb.
    const EraseResult r = erase(photo, cv::Rect(480, 300, 40, 30));
    const double psnr = holePsnr(r);
    std::printf("coffee table hole PSNR %.2f dB\n", psnr);
    EXPECT_GT(psnr, kPhotoFloor);
    EXPECT_EQ(changedOutsideHole(r), 0);
}
