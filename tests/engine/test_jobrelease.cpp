// What a job leaves behind on the photo's thread: nothing of its inputs or
// its own buffers once run() returns (a photo keeps its thread for life),
// with the result unchanged.

#include "enginecells.h"
#include "threadfromqthread.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <random>
#include <stdexcept>
#include <vector>

#include <omp.h>

#include "inchild.h"

namespace {

const cv::Scalar kRed(0, 0, 255, 128);
const cv::Scalar kGreen(0, 255, 0, 128);

cv::Mat texture(int rows, int cols, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> noise(0, 60);
    cv::Mat img(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            img.at<cv::Vec3b>(y, x) = cv::Vec3b(uchar((x * 5 + noise(rng)) % 256), uchar((y * 3 + noise(rng)) % 256),
                                                uchar((x + 2 * y + noise(rng)) % 256));
    return img;
}

cv::Mat layer(cv::Size size, const cv::Rect &r, const cv::Scalar &colour)
{
    cv::Mat m(size, CV_8UC4, cv::Scalar::all(0));
    if (r.area() > 0)
        m(r).setTo(colour);
    return m;
}

// Only the caller holds the Mat's pixels.
bool heldByCallerAlone(const cv::Mat &m)
{
    return m.u && m.u->refcount == 1;
}

struct Erase
{
    cv::Mat image;
    cv::Mat red;
    cv::Mat green;
};

Erase makeErase(unsigned seed, bool donor)
{
    Erase e;
    e.image = texture(90, 120, seed);
    e.red = layer(e.image.size(), cv::Rect(50, 35, 16, 14), kRed);
    e.green = layer(e.image.size(), donor ? cv::Rect(5, 5, 40, 30) : cv::Rect(), kGreen);
    return e;
}

// Erases on `thread` and returns the photo after it.
cv::Mat eraseOn(ThreadFromQThread &thread, Erase e, bool donor)
{
    thread.setEraseJob(e.image, e.image, e.red, e.green, donor, JobType::Erase);
    thread.run();
    return e.image;
}

} // namespace

TEST(JobRelease, AnEraseLetsGoOfItsInputsAndBuffers)
{
    for (bool donor : {false, true}) {
        Erase e = makeErase(3, donor);
        ThreadFromQThread thread;
        thread.setEraseJob(e.image, e.image, e.red, e.green, donor, JobType::Erase);
        EXPECT_FALSE(heldByCallerAlone(e.red));
        thread.run();
        ASSERT_FALSE(thread.failed());
        EXPECT_TRUE(thread.m_sourceImage.empty());
        EXPECT_TRUE(heldByCallerAlone(e.red)) << "donor " << donor;
        EXPECT_TRUE(heldByCallerAlone(e.green)) << "donor " << donor;
        EXPECT_EQ(thread.m_patchMatch.m_eraseMap, nullptr);
        EXPECT_EQ(thread.m_patchMatch.m_donorMap, nullptr);
        EXPECT_TRUE(thread.m_patchMatch.m_donorLevelMask.empty());
        EXPECT_TRUE(thread.m_patchMatch.m_finalVote.empty());
        // The result stays for the caller, until it lets it go.
        ASSERT_FALSE(thread.m_resultImage.empty());
        EXPECT_EQ(thread.m_resultImage.data, e.image.data);
        thread.releaseResult();
        EXPECT_TRUE(thread.m_resultImage.empty());
        EXPECT_TRUE(thread.m_workImage.empty());
        EXPECT_TRUE(heldByCallerAlone(e.image));
    }
}

TEST(JobRelease, ACloneLetsGoOfItsMap)
{
    cv::Mat image = texture(80, 100, 4);
    cv::Mat composite = image.clone();
    const cv::Mat red = layer(image.size(), cv::Rect(20, 20, 12, 12), kRed);
    ThreadFromQThread thread;
    thread.setCloneJob(image, composite, JobType::Clone, 30, 10, red);
    thread.run();
    ASSERT_FALSE(thread.failed());
    EXPECT_EQ(thread.m_patchMatch.m_cloneMap, nullptr);
    EXPECT_TRUE(heldByCallerAlone(red));
    EXPECT_TRUE(thread.m_cloneImage.empty());
}

namespace {

// Five jobs (plain erase, donor erase, clone, and again), each on a new
// photo; with `oneThread`, all on one thread object (which lets go of each
// job's buffers when it ends), else each on a thread object of its own.
std::vector<cv::Mat> jobSequence(bool oneThread)
{
    std::vector<cv::Mat> results;
    ThreadFromQThread shared;
    for (int k = 0; k < 5; ++k) {
        ThreadFromQThread own;
        ThreadFromQThread &thread = oneThread ? shared : own;
        cv::Mat image = texture(150, 200, unsigned(20 + k));
        if (k % 3 == 2) {
            cv::Mat composite = image.clone();
            thread.setCloneJob(image, composite, JobType::Clone, 60, 20,
                               layer(image.size(), cv::Rect(50, 50, 30, 24), kRed));
        } else {
            const bool donor = k % 3 == 1;
            thread.setEraseJob(image, image, layer(image.size(), cv::Rect(90, 60, 30, 24), kRed),
                               layer(image.size(), donor ? cv::Rect(5, 5, 70, 50) : cv::Rect(), kGreen), donor,
                               JobType::Erase);
        }
        thread.run();
        if (thread.failed())
            return {};
        results.push_back(image);
    }
    return results;
}

// The job sequence in a child process, its photos one after the other.
std::vector<cv::Mat> sequenceInChild(bool oneThread)
{
    const std::vector<uint8_t> bytes = bytesFromChild([oneThread] {
        std::vector<uint8_t> out;
        for (const cv::Mat &m : jobSequence(oneThread))
            out.insert(out.end(), m.data, m.data + m.total() * m.elemSize());
        return out;
    });
    std::vector<cv::Mat> results;
    const size_t each = 150 * 200 * 3;
    if (bytes.size() != 5 * each)
        return results;
    for (int k = 0; k < 5; ++k)
        results.push_back(cv::Mat(150, 200, CV_8UC3, const_cast<uint8_t *>(bytes.data()) + k * each).clone());
    return results;
}

} // namespace

TEST(JobRelease, JobsOnOneThreadGiveWhatThreadsOfTheirOwnGive)
{
    // Nothing a job leaves behind, or lets go of, reaches the next job: the
    // same sequence on one thread object and on a new one for each job gives
    // the same bytes.
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    engine::randomDraw(); // the parent's generator, which the children inherit
    const std::vector<cv::Mat> shared = sequenceInChild(true);
    const std::vector<cv::Mat> own = sequenceInChild(false);
    const std::vector<cv::Mat> sharedAgain = sequenceInChild(true);
    omp_set_num_threads(threads);
    ASSERT_EQ(shared.size(), 5u);
    ASSERT_EQ(own.size(), 5u);
    ASSERT_EQ(sharedAgain.size(), 5u);
    for (int k = 0; k < 5; ++k) {
        ASSERT_EQ(cv::norm(shared[k], sharedAgain[k], cv::NORM_INF), 0) << "the runs are repeatable, job " << k;
        EXPECT_EQ(cv::norm(shared[k], own[k], cv::NORM_INF), 0) << "job " << k;
        EXPECT_GT(cv::norm(shared[k], texture(150, 200, unsigned(20 + k)), cv::NORM_INF), 0)
            << "job " << k << " did something";
    }
}

namespace {

// One erase in a child, with the job's copy given as the same pixels as the
// work image (the driver reads that copy) or as pixels that differ by one
// byte outside the hole (the driver reads a copy of the work image, as
// before): the output must be the same.
cv::Mat eraseInChild(bool donor, bool sameCopy)
{
    const std::vector<uint8_t> bytes = bytesFromChild([donor, sameCopy] {
        cv::Mat image = texture(150, 200, 31);
        cv::Mat copy = image.clone();
        if (!sameCopy)
            copy.at<cv::Vec3b>(2, 3)[0] ^= 1;
        ThreadFromQThread thread;
        thread.setEraseJob(copy, image, layer(image.size(), cv::Rect(90, 60, 30, 24), kRed),
                           layer(image.size(), donor ? cv::Rect(5, 5, 70, 50) : cv::Rect(), kGreen), donor,
                           JobType::Erase);
        thread.run();
        return thread.failed() ? std::vector<uint8_t>()
                               : std::vector<uint8_t>(image.data, image.data + image.total() * image.elemSize());
    });
    return bytes.size() == 150 * 200 * 3 ? cv::Mat(150, 200, CV_8UC3, const_cast<uint8_t *>(bytes.data())).clone()
                                         : cv::Mat();
}

} // namespace

TEST(JobRelease, TheJobsCopyAsInputGivesWhatASecondCopyGives)
{
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    engine::randomDraw();
    for (bool donor : {false, true}) {
        const cv::Mat shared = eraseInChild(donor, true);
        const cv::Mat second = eraseInChild(donor, false);
        const cv::Mat sharedAgain = eraseInChild(donor, true);
        ASSERT_FALSE(shared.empty());
        ASSERT_FALSE(second.empty());
        ASSERT_EQ(cv::norm(shared, sharedAgain, cv::NORM_INF), 0) << "the runs are repeatable";
        EXPECT_EQ(cv::norm(shared, second, cv::NORM_INF), 0) << "donor " << donor;
        EXPECT_GT(cv::norm(shared, texture(150, 200, 31), cv::NORM_INF), 0) << "the erase did something";
    }
    omp_set_num_threads(threads);
}

TEST(JobRelease, AFailureAfterTheCopyBecameTheInputRestoresTheCrop)
{
    // The job's copy is the driver's input with its hole blacked out; a
    // failure inside the driver must still give the crop back as it was.
    cv::Mat image = texture(120, 160, 41);
    const cv::Mat before = image.clone();
    ThreadFromQThread thread;
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(60, 40, 30, 24), kRed),
                       layer(image.size(), cv::Rect(), kGreen), false, JobType::Erase);
    // Throws from inside the driver, at its first progress report; by then
    // the hole of the copy and of the crop is black.
    QObject::connect(
        &thread, &ThreadFromQThread::progressSum, &thread, [](long) { throw std::runtime_error("injected failure"); },
        Qt::DirectConnection);
    thread.run();
    ASSERT_TRUE(thread.failed());
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0);
}
