// Filling the hole at 16 bits: keeping the full-size vote's field leaves the
// 8-bit output as it was (byte for byte, same seed, one thread); voting again on the widened 8-bit input gives the
// 8-bit fill's values; on a smooth 16-bit gradient the wide fill holds far
// more than 256 levels a channel.

#include "enginecells.h"
#include "threadfromqthread.h"
#include "widevote.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <omp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>

namespace {

const cv::Scalar kRed(0, 0, 255, 128);
const std::string kPhoto = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";

cv::Mat redLayer(cv::Size size, const cv::Rect &r)
{
    cv::Mat m(size, CV_8UC4, cv::Scalar::all(0));
    m(r).setTo(kRed);
    return m;
}

// An erase of `selection` as the tool runs it; returns the engine's kept vote.
engine::FinalVote erase(cv::Mat &image, const cv::Rect &selection, bool keep)
{
    ThreadFromQThread thread;
    thread.m_patchMatch.m_keepFinalVote = keep;
    thread.setEraseJob(image, image, redLayer(image.size(), selection), cv::Mat(image.size(), CV_8UC4, cv::Scalar::all(0)),
                       false, JobType::Erase);
    thread.run();
    EXPECT_FALSE(thread.failed()) << thread.failure().toStdString();
    return thread.m_patchMatch.m_finalVote;
}

// The same erase in a child process on one thread. The engine seeds its
// generators from the clock, once per thread; the children are forked from
// a parent whose one thread has drawn already, so every child continues
// from the same generator state, and two runs differ only by what they
// were asked to do differently.
cv::Mat eraseInChild(const cv::Mat &crop, const cv::Rect &selection, bool keep)
{
    int fds[2];
    if (pipe(fds) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        cv::Mat image = crop.clone();
        const engine::FinalVote vote = erase(image, selection, keep);
        const bool ok = keep != vote.empty();
        const size_t n = image.total() * image.elemSize();
        ssize_t written = ok ? write(fds[1], image.data, n) : 0;
        _exit(written == ssize_t(n) ? 0 : 1);
    }
    close(fds[1]);
    cv::Mat result(crop.size(), crop.type());
    const size_t n = result.total() * result.elemSize();
    size_t got = 0;
    for (ssize_t r; got < n && (r = read(fds[0], result.data + got, n - got)) > 0;)
        got += size_t(r);
    close(fds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return got == n && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? result : cv::Mat();
}

cv::Mat holeOf(const engine::FinalVote &vote)
{
    cv::Mat hole;
    cv::extractChannel(vote.mask, hole, 0);
    return hole == 255;
}

TEST(WideVote, KeepingTheVoteChangesNothing)
{
    const cv::Mat photo = cv::imread(kPhoto, cv::IMREAD_COLOR);
    ASSERT_FALSE(photo.empty()) << kPhoto << " is missing (python3-skimage)";
    const cv::Mat crop = photo(cv::Rect(200, 100, 240, 180)).clone();
    const cv::Rect selection(100, 70, 30, 24);
    // One thread, and no OpenMP thread started before the forks.
    const int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    engine::randomDraw(); // the parent's generator, which the children inherit
    const cv::Mat plainChild = eraseInChild(crop, selection, false);
    const cv::Mat keptChild = eraseInChild(crop, selection, true);
    const cv::Mat plainAgain = eraseInChild(crop, selection, false);
    omp_set_num_threads(threads);
    ASSERT_FALSE(plainAgain.empty());
    ASSERT_EQ(cv::norm(plainChild, plainAgain, cv::NORM_INF), 0) << "the runs are repeatable";
    ASSERT_FALSE(plainChild.empty());
    ASSERT_FALSE(keptChild.empty());
    EXPECT_EQ(cv::norm(plainChild, keptChild, cv::NORM_INF), 0) << "same bytes with the vote kept";
    EXPECT_GT(cv::norm(plainChild, crop, cv::NORM_INF), 0) << "the erase did something";

    cv::Mat kept = crop.clone();
    const engine::FinalVote vote = erase(kept, selection, true);
    ASSERT_FALSE(vote.empty());
    EXPECT_EQ(vote.mask.size(), crop.size());
    EXPECT_GT(cv::countNonZero(holeOf(vote)), selection.area()) << "the hole is the grown selection";

    // The same vote on the 8-bit input widened gives the 8-bit fill's values.
    cv::Mat wideInput, wideOut;
    crop.convertTo(wideInput, CV_16UC3, 257.0);
    kept.convertTo(wideOut, CV_16UC3, 257.0);
    const cv::Mat before = wideOut.clone();
    engine::voteHoleWide(wideInput, wideOut, vote);
    cv::Mat narrowed;
    wideOut.convertTo(narrowed, CV_8UC3, 1.0 / 257.0);
    EXPECT_LE(cv::norm(narrowed, kept, cv::NORM_INF), 1);
    const cv::Mat outside = ~holeOf(vote);
    EXPECT_EQ(cv::norm(wideOut, before, cv::NORM_INF, outside), 0) << "only the hole is voted";
}

TEST(WideVote, SmoothGradientFillsWithoutBanding)
{
    // 16-bit ramps over a 400 x 300 crop: 256 8-bit levels span the width.
    cv::Mat wide(300, 400, CV_16UC3);
    for (int y = 0; y < wide.rows; ++y)
        for (int x = 0; x < wide.cols; ++x)
            wide.at<cv::Vec3w>(y, x) = cv::Vec3w(ushort(20000 + x * 60), ushort(10000 + y * 70), ushort(30000 + (x + y) * 40));
    cv::Mat eight;
    wide.convertTo(eight, CV_8UC3, 1.0 / 257.0);
    const cv::Rect selection(150, 110, 80, 60);
    const engine::FinalVote vote = erase(eight, selection, true);
    ASSERT_FALSE(vote.empty());
    cv::Mat out;
    eight.convertTo(out, CV_16UC3, 257.0);
    engine::voteHoleWide(wide, out, vote);
    const cv::Mat hole = holeOf(vote);
    for (int c = 0; c < 3; ++c) {
        std::set<int> wideLevels, eightLevels;
        for (int y = 0; y < out.rows; ++y)
            for (int x = 0; x < out.cols; ++x)
                if (hole.at<uchar>(y, x)) {
                    wideLevels.insert(out.at<cv::Vec3w>(y, x)[c]);
                    eightLevels.insert(eight.at<cv::Vec3b>(y, x)[c]);
                }
        EXPECT_GT(int(wideLevels.size()), 256) << "channel " << c;
        EXPECT_GT(wideLevels.size(), 8 * eightLevels.size()) << "channel " << c << ": the 8-bit fill bands";
    }
}

} // namespace
