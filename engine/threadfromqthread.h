#ifndef MERVANE_THREADFROMQTHREAD_H
#define MERVANE_THREADFROMQTHREAD_H

#include <QString>
#include <QThread>
#include <opencv2/core.hpp>

#include <cstdint>

#include "mypatchmatch.h"

// What a job does. The numbers are what older callers pass; jobTypeFromCode
// is the one place that maps them.
enum class JobType : int32_t {
    None = 0,     // runs nothing and leaves no result
    Erase = 1,    // fills the red hole (from the green donor area if asked)
    Clone = 2,    // synthesis around a moved piece
    Seamless = 3, // gradient-domain paste of the smart clone's piece
};
// A number that names no job type is kept and runs nothing, as None.
constexpr JobType jobTypeFromCode(int code) { return JobType(code); }
constexpr int jobTypeCode(JobType type) { return int(type); }

// The worker thread of one photo. It owns the job record and the engine; the
// photo fills the record through the setters, starts the thread, and reads
// the result back after finished_thread. Both this object and its engine
// live on the interface thread while run() executes on the worker, so the
// engine's progress and the end of the job arrive queued at the photo, and a
// cancel reaches the engine directly.
class ThreadFromQThread : public QThread
{
    Q_OBJECT

public:
    explicit ThreadFromQThread(QObject *parent = nullptr);
    ~ThreadFromQThread() override;

    // Job setters. Mats are taken by header (shared pixels) unless noted.
    // imageA is deep-copied into m_sourceImage; imageB becomes m_workImage,
    // the image the job writes into.
    void setEraseJob(const cv::Mat &imageA, const cv::Mat &imageB, const cv::Mat &red,
                     const cv::Mat &green, bool useDonor, JobType jobType = JobType::Erase);
    void setCloneJob(const cv::Mat &image, const cv::Mat &cloneImage, JobType jobType,
                     int offsetX, int offsetY, const cv::Mat &red);
    // Does not set the job type: call setJobType(JobType::Seamless) after it.
    void setSeamlessJob(const cv::Mat &source, const cv::Mat &destination, cv::Point point,
                        const cv::Mat &mask);
    void setJobType(JobType jobType);

    // Asks the engine to stop at its next check (emits sendCancelstatus).
    void cancelWork();

    // One job: clears the cancel flag and the failure, runs runJob(), emits
    // finished_thread. Public so that a job can also be run synchronously on
    // the calling thread (command-line tool, tests); the window uses start().
    // Nothing thrown by the job leaves run(): an exception (out of memory,
    // an OpenCV error, anything else) makes the job failed, and an erase
    // job's work image then gets back the pixels it had when the job was set.
    // When it returns, the job's inputs (the crop's copy, the selections,
    // the clone image) and the engine's byte maps are let go: a job is set
    // afresh each time.
    void run() override;

    // Whether the last job failed, and why, in one line ("out of memory",
    // "OpenCV error: ..."). Reset when a job starts; read them after
    // finished_thread (or after run() returns). A cancelled job has not
    // failed. A failed job's result must not be committed.
    bool failed() const { return m_failed; }

    // Drops the work image and the result, which share pixels with the
    // caller's photo: call once the result is folded in, so that the photo's
    // pixels can be let go. (The job's other inputs and its own buffers go
    // when run() ends.)
    void releaseResult();
    QString failure() const { return m_failure; }

    // The body of one job: stamps the selections into byte maps and calls
    // the driver that the job type asks for.
    void runJob();

    // --- Job record, in declared order ---------------------------------------
    int32_t m_runCount = 20;
    cv::Mat m_sourceImage;
    cv::Mat m_workImage;
    cv::Mat m_redImage;
    cv::Mat m_greenImage;
    cv::Mat m_cloneImage;
    JobType m_jobType = JobType::None;
    int32_t m_offsetX = 0;
    int32_t m_offsetY = 0;
    cv::Point m_clonePoint;
    cv::Mat m_resultImage;
    cv::Mat m_workImg;
    bool m_useDonor = false;
    MyPatchMatch m_patchMatch;

signals:
    void progress(cv::Mat mask);
    void progressSum(long sum);
    void sendCancelstatus();
    void finished_thread();

public slots:
    void receiveWorkImg(cv::Mat mask);
    void receiveProcess(long sum);
    void receiveFinish();

private:
    void restoreAfterFailure();
    void releaseJobInputs();
    // The input an erase driver reads (see threadfromqthread.cpp).
    cv::Mat driverInput(bool sourceIsWork, const unsigned char *holeMap);
    // What driverInput() kept aside of m_sourceImage before blacking out
    // its hole, for restoreAfterFailure().
    cv::Rect m_holeBox;
    cv::Mat m_holeBoxPixels;

    // Outcome of the last run(); written on the worker before
    // finished_thread, read by the caller after it.
    bool m_failed = false;
    QString m_failure;
};

#endif // MERVANE_THREADFROMQTHREAD_H
