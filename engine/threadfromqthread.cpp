#include "threadfromqthread.h"

#include <QDebug>
#include <opencv2/photo.hpp>

#include <algorithm>
#include <climits>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <cstring>
#include <memory>
#include <new>

namespace {

// Paints black every pixel of `image` whose byte in the row-major `map`
// (one byte per pixel, image-sized) is positive.
void blackOutMarked(cv::Mat &image, const unsigned char *map)
{
    const int cols = image.cols;
    for (int y = 0; y < image.rows; ++y) {
        uchar *p = image.ptr<uchar>(y);
        const unsigned char *e = map + size_t(y) * cols;
        for (int x = 0; x < cols; ++x)
            if (e[x] > 0)
                p[3 * x] = p[3 * x + 1] = p[3 * x + 2] = 0;
    }
}

// Whether two 8-bit images hold the same pixels (distinct buffers).
bool samePixels(const cv::Mat &a, const cv::Mat &b)
{
    if (a.empty() || a.size() != b.size() || a.type() != b.type() || a.data == b.data)
        return false;
    const size_t rowBytes = size_t(a.cols) * a.elemSize();
    for (int y = 0; y < a.rows; ++y)
        if (std::memcmp(a.ptr(y), b.ptr(y), rowBytes) != 0)
            return false;
    return true;
}

// The box of the marked pixels of a byte map (empty if none).
cv::Rect markedBox(const unsigned char *map, int rows, int cols)
{
    int x0 = cols, y0 = rows, x1 = -1, y1 = -1;
    for (int y = 0; y < rows; ++y) {
        const unsigned char *e = map + size_t(y) * cols;
        for (int x = 0; x < cols; ++x) {
            if (e[x] > 0) {
                x0 = std::min(x0, x);
                x1 = std::max(x1, x);
                y0 = std::min(y0, y);
                y1 = std::max(y1, y);
            }
        }
    }
    return x1 < 0 ? cv::Rect() : cv::Rect(x0, y0, x1 - x0 + 1, y1 - y0 + 1);
}

} // namespace

ThreadFromQThread::ThreadFromQThread(QObject *parent)
    : QThread(parent)
{
    m_runCount = 20;
    connect(&m_patchMatch, &MyPatchMatch::sendWorkProcess, this, &ThreadFromQThread::receiveProcess);
    connect(&m_patchMatch, &MyPatchMatch::sendFinish, this, &ThreadFromQThread::receiveFinish);
    connect(this, &ThreadFromQThread::sendCancelstatus, &m_patchMatch,
            &MyPatchMatch::receiveCancelStatus);
}

// Does not wait for the thread: the interface must not destroy a running
// thread, and the modal progress dialog keeps that from happening.
ThreadFromQThread::~ThreadFromQThread() = default;

void ThreadFromQThread::setEraseJob(const cv::Mat &imageA, const cv::Mat &imageB,
                                    const cv::Mat &red, const cv::Mat &green, bool useDonor,
                                    JobType jobType)
{
    m_sourceImage = imageA.clone();
    m_holeBoxPixels.release();
    m_holeBox = cv::Rect();
    m_workImage = imageB;
    m_redImage = red;
    m_greenImage = green;
    m_useDonor = useDonor;
    m_jobType = jobType;
}

void ThreadFromQThread::setCloneJob(const cv::Mat &image, const cv::Mat &cloneImage, JobType jobType,
                                    int offsetX, int offsetY, const cv::Mat &red)
{
    m_workImage = image;
    m_sourceImage = image;
    m_cloneImage = cloneImage;
    m_jobType = jobType;
    m_offsetX = offsetX;
    m_offsetY = offsetY;
    m_redImage = red;
}

void ThreadFromQThread::setSeamlessJob(const cv::Mat &source, const cv::Mat &destination,
                                       cv::Point point, const cv::Mat &mask)
{
    m_cloneImage = source;
    m_workImage = destination;
    m_clonePoint = point;
    m_redImage = mask;
}

void ThreadFromQThread::setJobType(JobType jobType)
{
    m_jobType = jobType;
}

void ThreadFromQThread::cancelWork()
{
    emit sendCancelstatus();
}

void ThreadFromQThread::run()
{
    // A cancel raised before this point is lost on purpose: each run starts
    // afresh.
    m_patchMatch.m_cancel.store(false, std::memory_order_relaxed);
    m_patchMatch.m_runEnabled = 1;
    m_failed = false;
    m_failure.clear();
    // Nothing may leave a thread's run(): an exception there ends the
    // program. A job that throws is recorded as failed, and the caller
    // refuses to commit it.
    try {
        runJob();
    } catch (const std::bad_alloc &) {
        m_failed = true;
        m_failure = QStringLiteral("out of memory");
    } catch (const cv::Exception &e) {
        // OpenCV reports its own failed allocations as an error code.
        m_failed = true;
        m_failure = e.code == cv::Error::StsNoMem
                        ? QStringLiteral("out of memory")
                        : QStringLiteral("OpenCV error: ") + QString::fromStdString(e.msg).simplified();
    } catch (const std::exception &e) {
        m_failed = true;
        m_failure = QString::fromLocal8Bit(e.what()).simplified();
    } catch (...) {
        m_failed = true;
    }
    if (m_failed) {
        if (m_failure.isEmpty())
            m_failure = QStringLiteral("unknown error");
        qWarning() << "engine job failed:" << m_failure;
        restoreAfterFailure();
    }
    releaseJobInputs();
    emit finished_thread();
    qDebug() << "run .............................end";
}

void ThreadFromQThread::restoreAfterFailure()
{
    // An erase job may have blacked out its hole before it failed; its
    // m_sourceImage is the copy of the crop taken when the job was set, so
    // put that back. The copy needs no allocation (same size and type).
    // Other jobs keep no copy of their own: their caller restores.
    m_patchMatch.m_eraseMode = 0;
    if (m_jobType != JobType::Erase)
        return;
    if (m_sourceImage.empty() || m_sourceImage.size() != m_workImage.size()
        || m_sourceImage.type() != m_workImage.type() || m_sourceImage.data == m_workImage.data)
        return;
    try {
        m_sourceImage.copyTo(m_workImage);
        // The copy was the driver's input, its hole blacked out: the hole's
        // box goes back from what was kept aside.
        if (!m_holeBoxPixels.empty() && (m_holeBox & cv::Rect(0, 0, m_workImage.cols, m_workImage.rows)) == m_holeBox)
            m_holeBoxPixels.copyTo(m_workImage(m_holeBox));
    } catch (...) {
        // Left to the caller's own copy.
    }
}

void ThreadFromQThread::releaseJobInputs()
{
    // A photo keeps its thread for its whole life: what a job held must not
    // stay with it (the crop's copy, the byte maps, views into the caller's
    // selection layers, which would keep those alive when the caller lets
    // them go). The work image and the result stay for the caller to read.
    m_sourceImage.release();
    m_holeBoxPixels.release();
    m_holeBox = cv::Rect();
    m_redImage.release();
    m_greenImage.release();
    m_cloneImage.release();
    m_workImg.release();
    m_patchMatch.releaseJobBuffers();
    // The job's buffers were freed on this worker thread, into the
    // allocator's arena of the thread, which keeps free memory resident
    // (tens of megabytes after a large crop) until it is asked to give it
    // back. A few milliseconds, once per job.
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

void ThreadFromQThread::releaseResult()
{
    m_workImage.release();
    m_resultImage.release();
}

cv::Mat ThreadFromQThread::driverInput(bool sourceIsWork, const unsigned char *holeMap)
{
    // The input is the work image with its hole blacked out, and the driver
    // only reads it. When the job's own copy held the very pixels of the
    // work image (callers pass one view for both), that copy becomes the
    // input: only the pixels of the hole's box are kept aside for a restore
    // after a failure, instead of a second copy of the whole crop.
    if (!sourceIsWork || !holeMap)
        return m_workImage.clone();
    const cv::Rect box = markedBox(holeMap, m_sourceImage.rows, m_sourceImage.cols);
    m_holeBox = box;
    m_holeBoxPixels = box.empty() ? cv::Mat() : m_sourceImage(box).clone();
    blackOutMarked(m_sourceImage, holeMap);
    return m_sourceImage;
}

void ThreadFromQThread::runJob()
{
    MyPatchMatch &pm = m_patchMatch;

    // Byte maps are indexed with 32-bit sizes; a job that large is refused.
    if (int64_t(m_workImage.rows) * m_workImage.cols > int64_t(INT_MAX))
        return;

    if (m_jobType == JobType::Erase) {
        const int rows = m_workImage.rows, cols = m_workImage.cols;
        const int size = rows * cols;
        pm.allocEraseMaps(size, true);
        pm.m_voteAll = m_useDonor;

        if (!m_useDonor) {
            if (m_redImage.rows == 0)
                return;
            if (!pm.stampSelection(m_redImage, 2, pm.m_eraseMap))
                return;
            pm.m_eraseMode = 1;
            pm.growEraseMap(rows, cols);
            // The hole is black from here on, and stays black if the run is
            // cancelled.
            const bool sourceIsWork = samePixels(m_sourceImage, m_workImage);
            blackOutMarked(m_workImage, pm.m_eraseMap);
            cv::Mat inputCopy = driverInput(sourceIsWork, pm.m_eraseMap);
            cv::Mat outputHeader = m_workImage;
            if (pm.m_runEnabled == 1)
                pm.synthesizeErase(inputCopy, outputHeader);
            pm.allocEraseMaps(size, false);
            pm.m_eraseMode = 0;
        } else {
            pm.m_eraseMode = 2;
            pm.stampSelection(m_greenImage, 1, pm.m_donorMap);
            if (m_redImage.rows == 0)
                return;
            bool red = pm.stampSelection(m_redImage, 2, pm.m_eraseMap);
            pm.stampSelection(m_redImage, 2, pm.m_donorMap);
            if (!red)
                return;
            std::unique_ptr<unsigned char[]> holeMap(new unsigned char[size > 0 ? size : 1]);
            pm.growEraseMap(rows, cols);
            pm.splitHoleFromDonor(holeMap.get(), size);
            // m_eraseMap is empty now, so nothing is blacked out: in a donor
            // erase the hole keeps its colours and the masks alone keep them
            // from being used.
            const bool sourceIsWork = samePixels(m_sourceImage, m_workImage);
            blackOutMarked(m_workImage, pm.m_eraseMap);
            cv::Mat inputCopy = driverInput(sourceIsWork, pm.m_eraseMap);
            cv::Mat outputHeader = m_workImage;
            if (pm.m_runEnabled == 1)
                pm.synthesizeDonorErase(inputCopy, outputHeader, holeMap.get());
            std::memset(pm.m_donorMap, 0, size_t(size));
            pm.m_eraseMode = 0;
        }
    } else if (m_jobType == JobType::Clone) {
        const int rows = m_workImage.rows, cols = m_workImage.cols;
        pm.allocCloneMap(rows * cols, true);
        pm.m_voteAll = true;
        pm.m_cloneOffsetX = m_offsetX;
        pm.m_cloneOffsetY = m_offsetY;
        if (m_redImage.rows == 0)
            return;
        if (!pm.stampSelection(m_redImage, 2, pm.m_cloneMap))
            return;
        cv::Mat composite = m_cloneImage;
        if (pm.m_runEnabled == 1)
            pm.synthesizeClone(m_workImage, composite);
    } else if (m_jobType == JobType::Seamless) {
        cv::seamlessClone(m_cloneImage, m_workImage, m_redImage, m_clonePoint, m_workImage,
                          cv::NORMAL_CLONE);
    } else {
        return;
    }

    m_resultImage = m_workImage;
}

void ThreadFromQThread::receiveWorkImg(cv::Mat mask)
{
    m_workImg = mask;
}

void ThreadFromQThread::receiveProcess(long sum)
{
    emit progressSum(sum);
}

void ThreadFromQThread::receiveFinish()
{
}
