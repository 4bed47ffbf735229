// The job thread and the job driver: stamping, the donor split, job types,
// signals across threads and cancelling.

#include "threadfromqthread.h"
#include "testpictures.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace {

using testpictures::kGreen;
using testpictures::kRed;
using testpictures::layer;
using testpictures::texture;

// The stamped hole of a selection rectangle: the rectangle grown by one.
cv::Rect stamped(const cv::Rect &r, cv::Size size)
{
    return cv::Rect(r.x - 1, r.y - 1, r.width + 2, r.height + 2) & cv::Rect(cv::Point(), size);
}

int countFinished(ThreadFromQThread &thread, int connections)
{
    int finished = 0;
    for (int i = 0; i < connections; ++i)
        QObject::connect(&thread, &ThreadFromQThread::finished_thread, [&] { ++finished; });
    thread.run();
    return finished;
}

} // namespace

TEST(Stamping, CornerPixelStampsFourPixels)
{
    MyPatchMatch pm;
    pm.allocEraseMaps(6 * 8, true);
    cv::Mat red = layer(cv::Size(8, 6), cv::Rect(0, 0, 1, 1));
    ASSERT_TRUE(pm.stampSelection(red, 2, pm.m_eraseMap));
    std::vector<int> set;
    for (int i = 0; i < 48; ++i)
        if (pm.m_eraseMap[i])
            set.push_back(i);
    EXPECT_EQ(set, (std::vector<int>{0, 1, 8, 9}));
    EXPECT_EQ(pm.m_rows, 6);
    EXPECT_EQ(pm.m_cols, 8);
}

TEST(Stamping, InteriorPixelStampsTheThreeByThreeSquare)
{
    MyPatchMatch pm;
    pm.allocEraseMaps(10 * 10, true);
    ASSERT_TRUE(pm.stampSelection(layer(cv::Size(10, 10), cv::Rect(5, 5, 1, 1)), 2, pm.m_eraseMap));
    int count = 0;
    for (int i = 0; i < 100; ++i)
        count += pm.m_eraseMap[i];
    EXPECT_EQ(count, 9);
    EXPECT_EQ(pm.m_eraseMap[3 * 10 + 5], 0); // distance 2 is out (strict test)
}

TEST(Stamping, OverlappingRedAndGreenBelongToTheHoleOnly)
{
    MyPatchMatch pm;
    const cv::Size size(20, 20);
    pm.allocEraseMaps(400, true);
    pm.stampSelection(layer(size, cv::Rect(2, 2, 10, 10), kGreen), 1, pm.m_donorMap);
    const cv::Mat red = layer(size, cv::Rect(8, 8, 6, 6));
    pm.stampSelection(red, 2, pm.m_eraseMap);
    pm.stampSelection(red, 2, pm.m_donorMap);
    std::vector<unsigned char> hole(400);
    pm.splitHoleFromDonor(hole.data(), 400);
    for (int i = 0; i < 400; ++i)
        EXPECT_EQ(pm.m_eraseMap[i], 0);
    const int overlap = 9 * 20 + 9; // red and green, stamped both
    EXPECT_EQ(hole[overlap], 1);
    EXPECT_EQ(pm.m_donorMap[overlap], 0);
    EXPECT_EQ(hole[14 * 20 + 14], 1);      // red only
    EXPECT_EQ(pm.m_donorMap[3 * 20 + 3], 1); // green only
    EXPECT_EQ(hole[3 * 20 + 3], 0);
}

TEST(Job, GreenWithoutRedDoesNothing)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(40, 40, 5);
    const cv::Mat before = image.clone();
    long progress = 0;
    QObject::connect(&thread, &ThreadFromQThread::progressSum, [&](long) { ++progress; });
    thread.setEraseJob(image, image, layer(image.size()), layer(image.size(), cv::Rect(5, 5, 9, 9), kGreen),
                       true, JobType::Erase);
    thread.run();
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);
    EXPECT_EQ(progress, 0);
    EXPECT_TRUE(thread.m_resultImage.empty());
}

TEST(Job, DonorWithAllZeroGreenStillRunsTheDonorDriver)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(40, 40, 5);
    const cv::Mat before = image.clone();
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(15, 15, 8, 8)), layer(image.size()),
                       true, JobType::Erase);
    thread.run();
    // Empty donor: no level, the output is the input, hole colours kept.
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);
    ASSERT_FALSE(thread.m_resultImage.empty());
    EXPECT_EQ(thread.m_resultImage.data, image.data);
    EXPECT_EQ(thread.m_patchMatch.m_eraseMode, 0);
}

TEST(Job, RedCoveringTheWholeImageIsAccepted)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(24, 30, 5);
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(0, 0, 30, 24)), layer(image.size()),
                       false, JobType::Erase);
    thread.run();
    ASSERT_FALSE(thread.m_resultImage.empty());
    EXPECT_EQ(thread.m_resultImage.size(), image.size());
}

TEST(Job, UnknownJobTypeFinishesOncePerConnection)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(20, 20, 5);
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(5, 5, 4, 4)), layer(image.size()),
                       false, jobTypeFromCode(7));
    const cv::Mat before = image.clone();
    EXPECT_EQ(countFinished(thread, 1), 1);
    ThreadFromQThread second;
    second.setJobType(JobType::None);
    EXPECT_EQ(countFinished(second, 2), 2);
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);
}

TEST(Job, CancelBeforeTheRunIsLost)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(48, 48, 5);
    const cv::Rect hole(20, 20, 6, 6);
    thread.setEraseJob(image, image, layer(image.size(), hole), layer(image.size()), false, JobType::Erase);
    thread.cancelWork();
    EXPECT_TRUE(thread.m_patchMatch.m_cancel.load());
    thread.run();
    // The run cleared the flag and completed: the hole is filled.
    EXPECT_NE(image.at<cv::Vec3b>(23, 23), cv::Vec3b(0, 0, 0));
}

TEST(Job, SeamlessWithoutSetJobTypeRunsThePreviousType)
{
    ThreadFromQThread thread;
    cv::Mat first = texture(40, 40, 5);
    thread.setEraseJob(first, first, layer(first.size(), cv::Rect(10, 10, 5, 5)), layer(first.size()),
                       false, JobType::Erase);
    thread.run();
    // Now a seamless job's images, but the type is still 1 (erase): the
    // erase runs on the new destination with the new mask as red layer.
    cv::Mat destination = texture(40, 40, 77);
    const cv::Mat before = destination.clone();
    const cv::Mat mask = layer(destination.size(), cv::Rect(20, 20, 6, 6));
    thread.setSeamlessJob(texture(40, 40, 3), destination, cv::Point(20, 20), mask);
    thread.run();
    EXPECT_EQ(thread.m_jobType, JobType::Erase);
    EXPECT_GT(cv::norm(destination(cv::Rect(19, 19, 8, 8)), before(cv::Rect(19, 19, 8, 8)), cv::NORM_INF), 0.0);
    EXPECT_EQ(cv::norm(destination(cv::Rect(0, 0, 40, 10)), before(cv::Rect(0, 0, 40, 10)), cv::NORM_INF), 0.0);
}

TEST(Job, SeamlessPasteWritesTheDestination)
{
    ThreadFromQThread thread;
    cv::Mat destination(60, 60, CV_8UC3, cv::Scalar(40, 40, 40));
    const cv::Mat source(20, 20, CV_8UC3, cv::Scalar(200, 100, 50));
    cv::Mat mask(20, 20, CV_8UC1, cv::Scalar(0));
    mask(cv::Rect(4, 4, 12, 12)).setTo(255);
    thread.setSeamlessJob(source, destination, cv::Point(30, 30), mask);
    thread.setJobType(JobType::Seamless);
    thread.run();
    EXPECT_EQ(thread.m_resultImage.data, destination.data);
    EXPECT_EQ(destination.at<cv::Vec3b>(0, 0), cv::Vec3b(40, 40, 40));
}

TEST(Job, SeamlessPasteOffTheImageDoesNotCrash)
{
    ThreadFromQThread thread;
    cv::Mat destination(30, 30, CV_8UC3, cv::Scalar(40, 40, 40));
    const cv::Mat before = destination.clone();
    thread.setSeamlessJob(cv::Mat(20, 20, CV_8UC3, cv::Scalar::all(9)), destination, cv::Point(-100, 500),
                          cv::Mat(20, 20, CV_8UC1, cv::Scalar(255)));
    thread.setJobType(JobType::Seamless);
    int finished = 0;
    QObject::connect(&thread, &ThreadFromQThread::finished_thread, [&] { ++finished; });
    thread.run();
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(cv::norm(destination, before, cv::NORM_INF), 0.0);
    // The OpenCV error is caught at the job and recorded, in one line.
    EXPECT_TRUE(thread.failed());
    EXPECT_EQ(thread.failure().left(13), "OpenCV error:");
    EXPECT_EQ(thread.failure().count('\n'), 0);
}

TEST(Job, CloneJobSettlesTheMovedPiece)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(48, 64, 5);
    const cv::Rect piece(5, 5, 10, 10);
    cv::Mat composite = image.clone();
    image(piece).copyTo(composite(cv::Rect(40, 20, 10, 10)));
    std::vector<long> values;
    QObject::connect(&thread, &ThreadFromQThread::progressSum, [&](long v) { values.push_back(v); });
    thread.setCloneJob(image, composite, JobType::Clone, 40, 20, layer(image.size(), piece));
    thread.run();
    EXPECT_EQ(values, (std::vector<long>{4, 3, 2, 1}));
    EXPECT_EQ(thread.m_patchMatch.m_cloneOffsetY, 25); // dropped 5 rows lower
    EXPECT_EQ(thread.m_resultImage.data, image.data);
}

// --- Across threads ------------------------------------------------------------

TEST(Thread, ProgressAndFinishArriveQueuedOnTheInterfaceThread)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(64, 64, 5);
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(22, 22, 18, 18)), layer(image.size()),
                       false, JobType::Erase);
    std::vector<long> values;
    int finished = 0;
    QEventLoop loop;
    QObject receiver;
    QObject::connect(&thread, &ThreadFromQThread::progressSum, &receiver, [&](long v) {
        EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
        values.push_back(v);
    });
    QObject::connect(&thread, &ThreadFromQThread::finished_thread, &receiver, [&] {
        ++finished;
        loop.quit();
    });
    thread.start(QThread::InheritPriority);
    loop.exec();
    thread.wait();
    ASSERT_FALSE(values.empty());
    EXPECT_EQ(values.back(), 1);
    EXPECT_EQ(finished, 1);
    EXPECT_NE(image.at<cv::Vec3b>(30, 30), cv::Vec3b(0, 0, 0));
}

namespace {

// Starts the job, and at its first progress report blocks the worker until
// the interface thread has asked for a cancel.
void runAndCancelAtFirstProgress(ThreadFromQThread &thread)
{
    std::atomic<bool> reported{false}, cancelled{false};
    QObject::connect(
        &thread.m_patchMatch, &MyPatchMatch::sendWorkProcess, &thread.m_patchMatch,
        [&](long) {
            if (reported.exchange(true))
                return;
            while (!cancelled.load())
                std::this_thread::yield();
        },
        Qt::DirectConnection);
    thread.start(QThread::InheritPriority);
    while (!reported.load())
        std::this_thread::yield();
    thread.cancelWork(); // on this (the interface) thread, as the dialog does
    cancelled.store(true);
    thread.wait();
}

} // namespace

TEST(Thread, CancelledPlainEraseLeavesTheBlackHole)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(64, 64, 5);
    const cv::Mat before = image.clone();
    const cv::Rect hole(22, 22, 18, 18);
    thread.setEraseJob(image, image, layer(image.size(), hole), layer(image.size()), false, JobType::Erase);
    runAndCancelAtFirstProgress(thread);
    const cv::Rect blacked = stamped(hole, image.size());
    EXPECT_EQ(cv::countNonZero(image(blacked).reshape(1)), 0);
    cv::Mat outside = image.clone(), expected = before.clone();
    outside(blacked).setTo(cv::Scalar::all(0));
    expected(blacked).setTo(cv::Scalar::all(0));
    EXPECT_EQ(cv::norm(outside, expected, cv::NORM_INF), 0.0);
}

TEST(Thread, CancelledDonorEraseLeavesTheImageUntouched)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(64, 64, 5);
    const cv::Mat before = image.clone();
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(22, 22, 18, 18)),
                       layer(image.size(), cv::Rect(0, 0, 64, 20), kGreen), true, JobType::Erase);
    runAndCancelAtFirstProgress(thread);
    EXPECT_EQ(cv::norm(image, before, cv::NORM_INF), 0.0);
}

TEST(Thread, StartingWhileRunningDoesNothing)
{
    ThreadFromQThread thread;
    cv::Mat image = texture(64, 64, 5);
    thread.setEraseJob(image, image, layer(image.size(), cv::Rect(22, 22, 18, 18)), layer(image.size()),
                       false, JobType::Erase);
    std::atomic<int> finished{0}, progress{0};
    std::atomic<bool> reported{false}, release{false};
    QObject::connect(&thread, &ThreadFromQThread::finished_thread, &thread, [&] { ++finished; },
                     Qt::DirectConnection);
    QObject::connect(
        &thread.m_patchMatch, &MyPatchMatch::sendWorkProcess, &thread.m_patchMatch,
        [&](long) {
            ++progress;
            if (reported.exchange(true))
                return;
            while (!release.load())
                std::this_thread::yield();
        },
        Qt::DirectConnection);
    thread.start(QThread::InheritPriority);
    while (!reported.load())
        std::this_thread::yield();
    thread.start(QThread::InheritPriority); // ignored: already running
    release.store(true);
    thread.wait();
    EXPECT_EQ(finished.load(), 1);
    EXPECT_EQ(progress.load(), 18); // one run: 6 + 6 + 6 iterations
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
