// Jobs that fail, and the memory bound before a job: a failure is caught at
// the job, recorded, and leaves the crop as it was; the memory estimate is
// held against the peak a real job reaches, measured in a child process.

#include "jobmemory.h"
#include "testpictures.h"
#include "threadfromqthread.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "../common/sanitized.h"

namespace {

using testpictures::kGreen;
using testpictures::kRed;
using testpictures::layer;
// Flat photos: every patch away from the edge matches at cost 0 at once,
// so the sweeps skip nearly every pixel and a large job stays quick, while
// every buffer is still allocated at its full size.
const cv::Scalar kFlat(90, 120, 150);

uint64_t residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    unsigned long long size = 0, resident = 0;
    statm >> size >> resident;
    return uint64_t(resident) * uint64_t(sysconf(_SC_PAGESIZE));
}

uint64_t peakResidentBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return uint64_t(usage.ru_maxrss) * 1024;
}

uint64_t virtualBytes()
{
    std::ifstream statm("/proc/self/statm");
    unsigned long long size = 0;
    statm >> size;
    return uint64_t(size) * uint64_t(sysconf(_SC_PAGESIZE));
}

// A small job, so that the parallel runtime has its threads before a test
// limits memory: a thread that cannot be created ends the program.
void warmUp()
{
    cv::Mat image(40, 40, CV_8UC3, kFlat);
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(15, 15, 6, 6)), layer(image.size()), false,
                       JobType::Erase);
    thread.run();
}

// In a fresh child: the rise of the peak resident size over one job,
// against the estimate. Exits 0 when the estimate bounds the peak and is
// within 30 % of it.
void measureJob(cv::Size size, bool useDonor)
{
    warmUp();
    cv::Mat image(size, CV_8UC3, kFlat);
    const cv::Mat red = layer(size, cv::Rect(size.width / 2, size.height / 2, 12, 12));
    const cv::Mat green = layer(size, useDonor ? cv::Rect(0, 0, size.width / 2, size.height) : cv::Rect(),
                                kGreen);
    const uint64_t before = residentBytes();
    // The high-water mark before the job lies below the job's peak; the
    // rise is measured from what is resident now.
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, red, green, useDonor, JobType::Erase);
    thread.run();
    const uint64_t peak = peakResidentBytes();
    const uint64_t measured = peak > before ? peak - before : 0;
    // The selection stamped: the 12 x 12 square grown by one pixel.
    const uint64_t estimate = eraseMemoryEstimate(size, useDonor, cv::Size(14, 14));
    const double ratio = double(measured) / double(estimate);
    std::fprintf(stderr, "%d x %d %s: measured %.1f MB, estimated %.1f MB, ratio %.2f\n", size.width,
                 size.height, useDonor ? "donor" : "plain", measured / 1048576.0, estimate / 1048576.0,
                 ratio);
    std::exit(!thread.failed() && ratio <= 1.0 && ratio >= 0.7 ? 0 : 1);
}

// In a fresh child: an erase under an address-space limit that lets the
// job start but not finish. Exits 0 when the job failed with "out of
// memory" and left the crop as it was.
void eraseUnderMemoryLimit(bool useDonor)
{
    warmUp();
    const cv::Size size(3000, 3000);
    cv::Mat image(size, CV_8UC3, kFlat);
    const cv::Mat red = layer(size, cv::Rect(1400, 1400, 40, 40));
    const cv::Mat green = layer(size, useDonor ? cv::Rect(0, 0, 1000, 3000) : cv::Rect(), kGreen);
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, red, green, useDonor, JobType::Erase);
    // Room for the byte maps and the input copy, not for the field.
    const rlim_t room = 48ull << 20;
    rlimit limit{virtualBytes() + room, RLIM_INFINITY};
    if (setrlimit(RLIMIT_AS, &limit) != 0)
        std::exit(3);
    const bool refused = !memoryRefusal(size, useDonor).empty();
    thread.run();
    limit.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_AS, &limit);
    const bool restored = cv::countNonZero(image.reshape(1) != cv::Mat(size, CV_8UC3, kFlat).reshape(1)) == 0;
    std::fprintf(stderr, "refused before: %d, failed: %d (%s), restored: %d\n", refused, thread.failed(),
                 qPrintable(thread.failure()), restored);
    std::exit(refused && thread.failed() && thread.failure() == "out of memory" && restored ? 0 : 1);
}

// In a fresh child: the headroom under an address-space limit of 600 MB
// above what the process maps now.
void limitedHeadroom()
{
    rlimit limit{virtualBytes() + (600ull << 20), RLIM_INFINITY};
    if (setrlimit(RLIMIT_AS, &limit) != 0)
        std::exit(3);
    std::string name;
    const uint64_t room = memoryHeadroom(&name);
    const std::string reason = memoryRefusal(cv::Size(8000, 6000), false);
    std::fprintf(stderr, "%s: %llu MB; %s\n", name.c_str(), (unsigned long long)(room >> 20), reason.c_str());
    std::exit(name == "the address-space limit" && room < (600ull << 20)
                      && reason.find("the address-space limit leaves") != std::string::npos
                  ? 0
                  : 1);
}

} // namespace

// --- Failures caught at the job ------------------------------------------------

TEST(JobFailure, AnyExceptionFailsTheJobAndRestoresTheCrop)
{
    // A receiver of the progress that throws, connected directly, stands
    // for any failure inside the driver: by then the hole is black.
    cv::Mat image(40, 40, CV_8UC3, kFlat);
    const cv::Mat before = image.clone();
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(15, 15, 8, 8)), layer(image.size()), false, JobType::Erase);
    const auto connection = QObject::connect(
        &thread, &ThreadFromQThread::progressSum, &thread,
        [](long) { throw std::runtime_error("injected failure"); }, Qt::DirectConnection);
    int finished = 0;
    QObject::connect(&thread, &ThreadFromQThread::finished_thread, [&] { ++finished; });
    thread.run();
    EXPECT_EQ(finished, 1);
    EXPECT_TRUE(thread.failed());
    EXPECT_EQ(thread.failure(), "injected failure");
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);

    // The next job starts with a clean record.
    QObject::disconnect(connection);
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(15, 15, 8, 8)), layer(image.size()), false, JobType::Erase);
    thread.run();
    EXPECT_FALSE(thread.failed());
    EXPECT_TRUE(thread.failure().isEmpty());
}

TEST(JobFailure, CancelIsNotAFailure)
{
    cv::Mat image(40, 40, CV_8UC3, kFlat);
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(15, 15, 8, 8)), layer(image.size()), false, JobType::Erase);
    QObject::connect(&thread, &ThreadFromQThread::progressSum, &thread, [&](long) { thread.cancelWork(); },
                     Qt::DirectConnection);
    thread.run();
    EXPECT_FALSE(thread.failed());
}

#ifndef MERVANE_SANITIZED // address-space limits do not work under the sanitizers: these run in the normal pass only
TEST(JobFailure, OutOfMemoryUnderAnAddressSpaceLimit)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(eraseUnderMemoryLimit(false), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(eraseUnderMemoryLimit(true), ::testing::ExitedWithCode(0), "");
}
#endif

// --- The memory bound ------------------------------------------------------------

#ifndef MERVANE_SANITIZED // resident sizes under the sanitizers are not the program's own: these run in the normal pass only
TEST(JobMemory, EstimateBoundsTheMeasuredPeak)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(measureJob(cv::Size(1000, 800), false), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(measureJob(cv::Size(2000, 1000), false), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(measureJob(cv::Size(1000, 800), true), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(measureJob(cv::Size(2000, 1000), true), ::testing::ExitedWithCode(0), "");
}
#endif

TEST(JobMemory, EstimateGrowsWithTheCropAndTheDonor)
{
    EXPECT_LT(eraseMemoryEstimate(cv::Size(100, 100), false), eraseMemoryEstimate(cv::Size(1000, 1000), false));
    EXPECT_LT(eraseMemoryEstimate(cv::Size(1000, 1000), false), eraseMemoryEstimate(cv::Size(1000, 1000), true));
    // A 30000 x 30000 crop needs some 20 GB.
    const double gb = double(eraseMemoryEstimate(cv::Size(30000, 30000), false)) / (1024.0 * 1024 * 1024);
    EXPECT_GT(gb, 15.0);
    EXPECT_LT(gb, 25.0);
    EXPECT_GT(eraseMemoryEstimate(cv::Size(0, 0), false), 0u);
}

TEST(JobMemory, HugeCropIsRefusedWithItsSizes)
{
    // 65535 x 65535 needs about 90 GB: more than this machine has.
    const std::string reason = memoryRefusal(cv::Size(65535, 65535), false);
    ASSERT_FALSE(reason.empty());
    EXPECT_EQ(reason.rfind("not enough memory to erase an area of 65535 x 65535 pixels: the job needs about ", 0),
              0u)
        << reason;
    EXPECT_NE(reason.find(" GB"), std::string::npos) << reason;
    EXPECT_EQ(reason.find('\n'), std::string::npos);
    // An ordinary crop fits.
    EXPECT_EQ(memoryRefusal(cv::Size(700, 700), false), "");
    // What the caller adds counts too.
    EXPECT_FALSE(memoryRefusal(cv::Size(700, 700), false, uint64_t(1) << 62).empty());
}

#ifndef MERVANE_SANITIZED // address-space limits do not work under the sanitizers: these run in the normal pass only
TEST(JobMemory, AddressSpaceLimitIsHonoured)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(limitedHeadroom(), ::testing::ExitedWithCode(0), "");
}
#endif
