// Engine jobs: preparing the crop, running the worker thread under the
// progress dialog, and folding the result into the image as an undo entry.
//
// A job runs on Mat views that share memory with m_image and writes in
// place, so the interface thread keeps away from m_image until
// finished_thread arrives; the modal progress dialog the window shows
// between jobStarted and jobEnded is what keeps the user away. m_imageBeforeJob holds what the job may write (an erase's crop, the whole
// image for a clone job) as it was, for a cancel and for the "before" of the
// undo entry, until one of them has used it.
#include "photoitem.h"
#include "commands.h"
#include "fillcheck.h"
#include "jobmemory.h"
#include "progress.h"
#include "threadfromqthread.h"
#include "widevote.h"
#include "workbox.h"

#include <QDebug>
#include <QUndoStack>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace {

// The nearest-neighbour field keeps positions in 16 bits, and the seamless
// paste and the clone synthesis work on the whole photo: a photo with a
// longer side never goes to the engine.
constexpr int kMaxEngineSide = 65535;

cv::Rect insideImage(const cv::Rect &rect, const cv::Mat &image)
{
    return rect & cv::Rect(0, 0, image.cols, image.rows);
}

// The box of every pixel that differs between two images of one size.
cv::Rect changedBounds(const cv::Mat &a, const cv::Mat &b)
{
    cv::Mat diff;
    cv::absdiff(a, b, diff);
    cv::Mat changed;
    cv::transform(diff, changed, cv::Matx13f(1, 1, 1));
    return cv::boundingRect(changed);
}

// A donor flag left over from an undone green stroke, with no green in the
// crop, asks for a plain erase.
bool donorAsked(int donorUsed, const cv::Mat &green)
{
    return donorUsed != 0 && layerHasSelection(green, 1);
}

// The crop an erase job works on, from its (enlarged) work box.
cv::Rect cropOf(double minX, double minY, double maxX, double maxY)
{
    return cv::Rect(cv::Point(int(minX), int(minY)), cv::Point(int(maxX), int(maxY)));
}

// A selection layer's channel as a 0/255 mask, by the engine's test.
cv::Mat selectedPixels(const cv::Mat &layerView, int channel)
{
    cv::Mat values;
    cv::extractChannel(layerView, values, channel);
    return values > 254;
}

// A selection layer (CV_8UC4, the usual tint) of a 0/255 mask.
cv::Mat selectionLayer(const cv::Mat &mask, int channel)
{
    cv::Mat layer(mask.size(), CV_8UC4, cv::Scalar::all(0));
    cv::insertChannel(mask, layer, channel);
    cv::insertChannel(mask & 128, layer, 3);
    return layer;
}

} // namespace

void PhotoItem::hookUpEngine()
{
    // The thread object lives on this (the interface) thread while its run()
    // executes on the worker, so both signals arrive queued. Connected once
    // for the life of the photo: each job's end is handled exactly once.
    m_job.m_workerThread = new ThreadFromQThread(this);
    connect(m_job.m_workerThread, &ThreadFromQThread::finished_thread, this, &PhotoItem::onQThreadFinished);
    connect(m_job.m_workerThread, &ThreadFromQThread::progressSum, this, &PhotoItem::setProcessSum);
    m_job.m_canceled = 0;
}

void PhotoItem::releaseEngine()
{
    // Normally the modal dialog keeps a photo from going away during a job;
    // should it happen anyway, stop the engine and let the worker leave
    // before its thread object is destroyed.
    if (m_job.m_workerThread) {
        disconnect(m_job.m_workerThread, nullptr, this, nullptr);
        if (m_job.m_workerThread->isRunning()) {
            m_job.m_workerThread->cancelWork();
            m_job.m_workerThread->wait();
        }
    }
    m_job.m_jobActive = false;
}

void PhotoItem::recvEraseCommand() { startGuarded(&PhotoItem::startErase); }

void PhotoItem::recvAnotherFillCommand() { startGuarded(&PhotoItem::startAnotherFill); }

void PhotoItem::startGuarded(void (PhotoItem::*start)())
{
    // Preparing a job copies the photo and the crop (and may make the
    // selection layers, after an undo put a work box back): running out of
    // memory there, or an OpenCV error, turns the command away instead of
    // ending the program.
    try {
        ensureLayers();
        (this->*start)();
    } catch (const std::bad_alloc &) {
        if (!m_job.m_jobActive)
            refuseJob(QStringLiteral("out of memory"));
    } catch (const cv::Exception &e) {
        if (!m_job.m_jobActive)
            refuseJob(QStringLiteral("OpenCV error: ") + QString::fromStdString(e.msg));
    }
}

void PhotoItem::startErase()
{
    m_job.m_firstProgress = 1;
    // One job at a time; the modal dialog sees to it, this makes sure.
    if (m_job.m_jobActive)
        return;
    if (!engineCanTakePhoto()) {
        refuseJob();
        return;
    }
    m_job.m_canceled = 0;
    if (!prepareCloneJob()) {
        refuseJob();
        return;
    }
    WorkBox box;
    box.minX = m_regions.m_workMinX;
    box.minY = m_regions.m_workMinY;
    box.maxX = m_regions.m_workMaxX;
    box.maxY = m_regions.m_workMaxY;
    box = enlargeWorkBox(box, m_imageCols, m_imageRows);
    const cv::Rect crop = cropOf(box.minX, box.minY, box.maxX, box.maxY);
    // An erase job whose crop holds no red pixel would change nothing:
    // leave the photo, the selection and the box as they are.
    if (!isCloneTool(m_pointer.m_tool)
        && (crop.width < 1 || crop.height < 1 || !layerHasSelection(m_selection.m_inpaintMask(crop), 2))) {
        refuseJob();
        return;
    }
    // Where the engine would leave a black hole, or the machine lacks the
    // memory, say why and leave the photo, the selection and the box.
    if (!isCloneTool(m_pointer.m_tool)) {
        const cv::Mat green = m_selection.m_inpaintMaskBK(crop);
        const QString reason =
            eraseJobRefusal(m_image(crop), m_selection.m_inpaintMask(crop), green, donorAsked(m_selection.m_donorUsed, green));
        if (!reason.isEmpty()) {
            refuseJob(reason);
            return;
        }
    }
    m_regions.m_workMinX = box.minX;
    m_regions.m_workMinY = box.minY;
    m_regions.m_workMaxX = box.maxX;
    m_regions.m_workMaxY = box.maxY;
    // An erase writes inside its crop only; the clone jobs write anywhere.
    keepBeforeJob(isCloneTool(m_pointer.m_tool) ? cv::Rect(0, 0, m_imageCols, m_imageRows) : crop);
    if (!isCloneTool(m_pointer.m_tool))
        fillEraseJob(crop);
    startJob();
}

bool PhotoItem::engineCanTakePhoto() const
{
    // Nothing painted since the last job.
    if (m_regions.m_workMaxX < 0.0)
        return false;
    if (m_image.empty() || m_imageCols > kMaxEngineSide || m_imageRows > kMaxEngineSide) {
        qDebug() << "photo too large for the engine:" << m_imageCols << "x" << m_imageRows;
        return false;
    }
    return true;
}

void PhotoItem::refuseJob(const QString &reason)
{
    if (!reason.isEmpty()) {
        qDebug() << "erase refused:" << reason;
        emit jobRefused(reason);
    }
    // No job: the window gets its Erase button back at once.
    emit sendThreadFinish();
}

QString PhotoItem::eraseJobRefusal(const cv::Mat &image, const cv::Mat &red, const cv::Mat &green,
                                   bool useDonor) const
{
    std::string reason = eraseRefusal(image, red, green, useDonor);
    // Besides the job's own buffers, the crop as it was before the job is
    // kept, for a cancel, a failure and the undo entry; a photo with a
    // master also needs the master's crop six times at the end (both sides
    // of the entry, and the vote again at full depth: followInMaster).
    const uint64_t masterBytes = m_master.empty() ? 0 : uint64_t(image.total()) * m_master.elemSize() * 6;
    if (reason.empty())
        reason = memoryRefusal(image.size(), useDonor, uint64_t(image.total() * image.elemSize()) + masterBytes);
    return QString::fromStdString(reason);
}

FillInputs PhotoItem::eraseInputs(const cv::Rect &crop) const
{
    FillInputs inputs;
    inputs.crop = crop;
    // The pixels before the fill are the entry's own "before".
    const cv::Mat green = m_selection.m_inpaintMaskBK(crop);
    inputs.useDonor = donorAsked(m_selection.m_donorUsed, green);
    inputs.red = selectedPixels(m_selection.m_inpaintMask(crop), 2);
    if (inputs.useDonor)
        inputs.green = selectedPixels(green, 1);
    return inputs;
}

const FillCommand *PhotoItem::lastFill() const
{
    if (!m_undoStack || m_undoStack->index() < 1)
        return nullptr;
    return dynamic_cast<const FillCommand *>(m_undoStack->command(m_undoStack->index() - 1));
}

bool PhotoItem::canFillAgain() const
{
    const FillCommand *last = lastFill();
    return !m_job.m_jobActive && !m_image.empty() && last && last->inputs().fits(m_image.size());
}

void PhotoItem::startAnotherFill()
{
    m_job.m_firstProgress = 1;
    if (m_job.m_jobActive)
        return;
    const FillCommand *last = lastFill();
    if (!last || m_image.empty() || m_imageCols > kMaxEngineSide || m_imageRows > kMaxEngineSide
        || !last->inputs().fits(m_image.size())) {
        refuseJob();
        return;
    }
    const FillInputs inputs = last->inputs();
    const cv::Mat red = selectionLayer(inputs.red, 2);
    const cv::Mat green = inputs.useDonor ? selectionLayer(inputs.green, 1)
                                          : cv::Mat(red.size(), CV_8UC4, cv::Scalar::all(0));
    const QString reason = eraseJobRefusal(inputs.original, red, green, inputs.useDonor);
    if (!reason.isEmpty()) {
        refuseJob(reason);
        return;
    }
    keepBeforeJob(inputs.crop);
    m_job.m_workBoxBeforeRefill = cv::Vec4d(m_regions.m_workMinX, m_regions.m_workMinY, m_regions.m_workMaxX, m_regions.m_workMaxY);
    m_job.m_canceled = 0;
    try {
        m_regions.m_workMinX = last->m_min.x();
        m_regions.m_workMinY = last->m_min.y();
        m_regions.m_workMaxX = last->m_max.x();
        m_regions.m_workMaxY = last->m_max.y();
        // The job starts where the first fill started: the hole's pixels as
        // they were, so that only the random start differs.
        inputs.original.copyTo(m_image(inputs.crop));
        const cv::Mat image = m_image(inputs.crop);
        m_job.m_workerThread->m_patchMatch.m_keepFinalVote = !m_master.empty();
        m_job.m_workerThread->setEraseJob(image, image, red, green, inputs.useDonor, JobType::Erase);
    } catch (...) {
        putBackBeforeJob();
        restoreWorkBoxBeforeRefill();
        throw;
    }
    m_job.m_refill = inputs;
    m_job.m_refilling = true;
    startJob();
}

void PhotoItem::restoreWorkBoxBeforeRefill()
{
    m_regions.m_workMinX = m_job.m_workBoxBeforeRefill[0];
    m_regions.m_workMinY = m_job.m_workBoxBeforeRefill[1];
    m_regions.m_workMaxX = m_job.m_workBoxBeforeRefill[2];
    m_regions.m_workMaxY = m_job.m_workBoxBeforeRefill[3];
}

bool PhotoItem::prepareCloneJob()
{
    // The smart clone needs a piece to paste; without one the photo stays
    // as it is. Its job is filled here, before the work box moves.
    if (m_pointer.m_tool == Tool::SmartClone)
        return prepareSeamlessJob();
    if (m_pointer.m_tool == Tool::PieceDrag) {
        const cv::Rect r = selectionBounds();
        if (r.width < 1 || r.height < 1 || m_clone.m_clonePreview.size() != m_image.size()
            || m_clone.m_clonePreview.type() != m_image.type())
            return false;
        m_job.m_workerThread->setCloneJob(m_image, m_clone.m_clonePreview, JobType::Clone, m_clone.m_moveX, m_clone.m_moveY, m_selection.m_inpaintMask);
    }
    return true;
}

void PhotoItem::fillEraseJob(const cv::Rect &crop)
{
    const cv::Mat image = m_image(crop);
    const cv::Mat green = m_selection.m_inpaintMaskBK(crop);
    const bool useDonor = donorAsked(m_selection.m_donorUsed, green);
    // A photo with a master keeps what the last vote used, to do it again
    // on the master's samples (followInMaster).
    m_job.m_workerThread->m_patchMatch.m_keepFinalVote = !m_master.empty();
    m_job.m_workerThread->setEraseJob(image, image, m_selection.m_inpaintMask(crop), green, useDonor, JobType::Erase);
}

void PhotoItem::startJob()
{
    // Only a job that ran to its end leaves a result header behind.
    m_job.m_workerThread->m_resultImage.release();
    m_job.m_jobActive = true;
    m_job.m_workerThread->start(QThread::InheritPriority);
    emit jobStarted();
    emit jobProgress(0);
}

// The piece of the smart clone, at its moved size, goes into m_cloneSource
// and its mask into m_cloneMaskScaled, both at (0, 0); the paste is centred
// on the moved rectangle. Returns false, having changed neither the photo
// nor the job, when there is no piece to paste.
bool PhotoItem::prepareSeamlessJob()
{
    const cv::Rect r = selectionBounds();
    const int w = r.width + m_clone.m_cloneGrowX;
    const int h = r.height + m_clone.m_cloneGrowY;
    // The mask is resized from the selection's box, and the paste needs an
    // inside beyond the one-pixel rim that it leaves out.
    if (r.width < 1 || r.height < 1 || w < 3 || h < 3 || w > m_imageCols || h > m_imageRows)
        return false;
    // A resize by a handle does not look at the position: keep the moved
    // rectangle on the photo.
    m_clone.m_moveX = std::clamp(m_clone.m_moveX, 0, m_imageCols - w);
    m_clone.m_moveY = std::clamp(m_clone.m_moveY, 0, m_imageRows - h);

    // The clone buffers are made at the sizes they need: the selection's
    // box and the moved piece.
    m_clone.m_cloneMask = cv::Mat::zeros(r.size(), CV_8UC1);
    m_clone.m_cloneMaskScaled = cv::Mat::zeros(h, w, CV_8UC1);
    for (int y = r.y; y < r.y + r.height; ++y) {
        const uchar *red = m_selection.m_inpaintMask.ptr<uchar>(y);
        uchar *mask = m_clone.m_cloneMask.ptr<uchar>(y - r.y);
        for (int x = r.x; x < r.x + r.width; ++x)
            if (red[4 * x + 2] != 0)
                mask[x - r.x] = 255;
    }
    cv::Mat mask = m_clone.m_cloneMaskScaled;
    cv::resize(m_clone.m_cloneMask, mask, mask.size(), 0, 0, cv::INTER_LINEAR);
    if (cv::countNonZero(mask(cv::Rect(1, 1, w - 2, h - 2))) == 0)
        return false;

    const cv::Mat piece = buildMovedPiece(m_clone.m_cloneGrowX, m_clone.m_cloneGrowY);
    if (piece.empty() || piece.cols != w || piece.rows != h || piece.type() != CV_8UC4)
        return false;
    m_clone.m_cloneSource = cv::Mat::zeros(h, w, CV_8UC3);
    cv::Mat source = m_clone.m_cloneSource;
    // B, G, R of the piece; its alpha only marked the selection.
    const int fromTo[] = {0, 0, 1, 1, 2, 2};
    cv::mixChannels(&piece, 1, &source, 1, fromTo, 3);

    const cv::Point centre((w >> 1) + m_clone.m_moveX, (h >> 1) + m_clone.m_moveY);
    m_job.m_workerThread->setSeamlessJob(source, m_image, centre, mask);
    m_job.m_workerThread->setJobType(JobType::Seamless);
    return true;
}

void PhotoItem::recvCloneCommand()
{
    m_pointer.m_tool = Tool::PieceDrag;
}

void PhotoItem::onQThreadFinished()
{
    // Handled once per job; a repeated or stray delivery finds no job.
    if (!m_job.m_jobActive)
        return;
    m_job.m_jobActive = false;
    // finished_thread is the worker's last act; let it leave run() so that
    // the next job's start() finds the thread free.
    m_job.m_workerThread->wait();

    // A job that stopped on an error left no result; it is undone as a
    // cancel is, and the user is told.
    const bool failed = m_job.m_workerThread->failed() || m_job.m_workerThread->m_resultImage.empty();
    // An erase changed its crop only: the canvas follows that part alone
    // instead of converting the whole photo.
    const bool fill = m_job.m_refilling || !isCloneTool(m_pointer.m_tool);
    const cv::Rect changed = fill ? m_job.m_beforeJobRect : cv::Rect();
    QString commitFailure;
    if (m_job.m_canceled == 0 && !failed)
        commitFailure = commitJobResult();
    else
        takeJobBack();
    m_job.m_refilling = false;
    m_job.m_refill = FillInputs();
    showImageAndLayers(changed);

    emit jobEnded();
    if (failed && m_job.m_canceled == 0) {
        QString reason = m_job.m_workerThread->failure();
        if (reason.isEmpty())
            reason = QStringLiteral("the job ended without a result");
        qDebug() << "job failed:" << reason;
        emit jobFailed(reason);
    } else if (!commitFailure.isEmpty()) {
        qDebug() << "job result not kept:" << commitFailure;
        emit jobFailed(commitFailure);
    }
    emit sendThreadFinish();
}

cv::Rect PhotoItem::cloneJobRect()
{
    const cv::Rect r = selectionBounds();
    const bool smart = m_pointer.m_tool == Tool::SmartClone;
    const int growX = smart ? m_clone.m_cloneGrowX : 0;
    const int growY = smart ? m_clone.m_cloneGrowY : 0;
    cv::Rect rect(cv::Point(m_clone.m_moveX, m_clone.m_moveY),
                  cv::Point(r.width + m_clone.m_moveX + growX, r.height + m_clone.m_moveY + growY));
    // These jobs write into the whole photo, and the clone synthesis also
    // settles pixels around the piece: the entry holds all that changed, so
    // that undo gives the photo back exactly.
    const cv::Rect changed = changedBounds(m_image, m_job.m_imageBeforeJob);
    if (!changed.empty())
        rect |= changed;
    if (smart) {
        m_clone.m_cloneGrowX = m_clone.m_cloneGrowY = 0;
        m_clone.m_cloneGrowBaseX = m_clone.m_cloneGrowBaseY = 0;
    }
    return rect;
}

QString PhotoItem::commitJobResult()
{
    const bool fill = m_job.m_refilling || !isCloneTool(m_pointer.m_tool);
    cv::Rect rect;
    QString text;
    if (fill) {
        foldJobResult(m_image, m_job.m_workerThread->m_workImage);
        // The result's views of the photo are not needed any more.
        m_job.m_workerThread->releaseResult();
        // An erase wrote nothing outside its crop.
        rect = workBoxRect() & m_job.m_beforeJobRect;
        text = m_job.m_refilling ? tr("Another Fill") : QStringLiteral("Erase");
    } else {
        rect = cloneJobRect();
        text = QStringLiteral("Smart Clone");
    }
    rect = insideImage(rect, m_image);

    // The push runs redo at once, which resets the selections and boxes.
    const QPointF min(m_regions.m_workMinX, m_regions.m_workMinY), max(m_regions.m_workMaxX, m_regions.m_workMaxY);
    const cv::Mat before = m_job.m_imageBeforeJob(rect - m_job.m_beforeJobRect.tl());
    engine::FinalVote &vote = m_job.m_workerThread->m_patchMatch.m_finalVote;
    // The entry, and the master's part of it, take memory: without it the
    // photo goes back to what it was, as after a failed job, rather than
    // keep a change the undo history or the master would not hold.
    std::unique_ptr<Command> entry;
    try {
        entry.reset(fill ? new FillCommand(m_image(rect), before, min, max, text, this, rect,
                                           m_job.m_refilling ? m_job.m_refill : refillInputs())
                         : new Command(m_image(rect), before, min, max, text, this, rect));
        followInMaster(*entry, rect, before, fill, fill && rect == m_job.m_beforeJobRect ? &vote : nullptr);
    } catch (const std::bad_alloc &) {
        vote = engine::FinalVote();
        takeJobBack();
        return QStringLiteral("out of memory");
    } catch (const cv::Exception &e) {
        vote = engine::FinalVote();
        takeJobBack();
        return QStringLiteral("OpenCV error: ") + QString::fromStdString(e.msg);
    }
    vote = engine::FinalVote();
    m_job.m_patchCanvas = fill;
    m_undoStack->push(entry.release());
    m_job.m_patchCanvas = false;
    // The entry holds its own copy.
    m_job.m_imageBeforeJob.release();
    startAfresh();
    return QString();
}

void PhotoItem::takeJobBack()
{
    // Back to the photo as it was; the job wrote in place (an erase job
    // blacked out its hole first). The selection stays, and the work box
    // keeps its enlarged values.
    putBackBeforeJob();
    // Another Fill leaves the box as the committed fill left it.
    if (m_job.m_refilling)
        restoreWorkBoxBeforeRefill();
    // Under the smart clone the green layer only held the piece's scratch,
    // which is no picture to show.
    else if (m_pointer.m_tool == Tool::SmartClone)
        clearInpaintMaskBK();
}

FillInputs PhotoItem::refillInputs() const
{
    // Without the memory to keep them the erase stands as it is; only
    // Another Fill is not offered after it.
    try {
        // The job's crop was the (enlarged) work box, which it still is.
        return eraseInputs(workBoxRect());
    } catch (const std::bad_alloc &) {
    } catch (const cv::Exception &) {
    }
    return FillInputs();
}

void PhotoItem::keepBeforeJob(const cv::Rect &rect)
{
    m_job.m_imageBeforeJob = m_image(rect).clone();
    m_job.m_beforeJobRect = rect;
}

void PhotoItem::putBackBeforeJob()
{
    if (m_job.m_imageBeforeJob.size() == m_job.m_beforeJobRect.size())
        m_job.m_imageBeforeJob.copyTo(m_image(m_job.m_beforeJobRect));
    m_job.m_imageBeforeJob.release();
}

void PhotoItem::showImageAndLayers(const cv::Rect &changed)
{
    if (changed.empty())
        m_midWidget->showPixmap(m_display.pixmap(m_image));
    else
        showPhotoRect(changed);
    showLayer(m_selection.m_inpaintMask, m_frontWidget);
    m_frontGreenWidget->showLayer(true);
    showLayer(m_selection.m_inpaintMaskBK, m_frontGreenWidget);
}

void PhotoItem::setProcessSum(long sum)
{
    // The engine counts its pyramid levels down to 1; the first report of a
    // job is the base.
    if (m_job.m_firstProgress) {
        m_job.m_progressBase = int(std::clamp(sum, 0L, 65535L));
        m_job.m_firstProgress = 0;
    }
    emit jobProgress(progressPercent(sum, m_job.m_progressBase));
}

void PhotoItem::recvCancelStatus()
{
    if (!m_job.m_jobActive)
        return;
    m_job.m_canceled = 1;
    m_job.m_workerThread->cancelWork();
}

// Writes the result, which covers the work box, into the image. The result of
// an erase job is a view of that very crop, so today each pixel lands on
// itself; the pass is what carries the result should a job ever work on a
// buffer of its own.
void PhotoItem::foldJobResult(cv::Mat image, cv::Mat result)
{
    if (image.empty() || result.empty() || image.type() != CV_8UC3 || result.depth() != CV_8U)
        return;
    const int channels = result.channels();
    // Three channels are copied whole; of two or four the last is left out.
    const int copied = channels == 3 ? 3 : std::min(3, channels - 1);
    if (copied < 1)
        return;
    const int left = int(m_regions.m_workMinX), top = int(m_regions.m_workMinY);
    const int x0 = std::max(left, 0), y0 = std::max(top, 0);
    const int x1 = std::min({int(m_regions.m_workMaxX), image.cols, left + result.cols});
    const int y1 = std::min({int(m_regions.m_workMaxY), image.rows, top + result.rows});
    for (int row = y0; row < y1; ++row) {
        uchar *out = image.ptr<uchar>(row);
        const uchar *in = result.ptr<uchar>(row - top);
        for (int col = x0; col < x1; ++col)
            std::memmove(out + 3 * col, in + channels * (col - left), size_t(copied));
    }
}
