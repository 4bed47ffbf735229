#include "photojob.h"

#include "fillcheck.h"
#include "jobmemory.h"
#include "photoio.h"
#include "progress.h"
#include "threadfromqthread.h"
#include "workbox.h"

#include <QFileInfo>
#include <opencv2/imgproc.hpp>

#include <new>

namespace {

constexpr int kMaxSide = 65535;

Problem refused(const QString &message) { return {ExitCode::Refused, message}; }
Problem failed(const QString &message) { return {ExitCode::Failed, message}; }

QString fromStd(const std::string &text) { return QString::fromStdString(text); }
std::string toLocal(const QString &path) { return path.toLocal8Bit().toStdString(); }

// Reads one input; on refusal says which one ("mask 'm.png': damaged file").
Problem readInput(const QString &what, const QString &path, photoio::Decoded &decoded,
                  photoio::Depth depth = photoio::Depth::Narrow)
{
    decoded = photoio::decodeFile(toLocal(path), depth);
    const QString subject = what + " '" + path + "': ";
    if (decoded.report.damaged)
        return refused(subject + "damaged file (" + fromStd(decoded.report.damage) + ")");
    if (!decoded.readable())
        return refused(subject + fromStd(decoded.error));
    return {};
}

// Where `marks` (CV_8UC3) is not black, as 255 in a CV_8UC1 map; `box`
// receives the box of those pixels.
cv::Mat markedPixels(const cv::Mat &marks, cv::Rect &box)
{
    cv::Mat any(marks.size(), CV_8UC1);
    for (int y = 0; y < marks.rows; ++y) {
        const uchar *m = marks.ptr<uchar>(y);
        uchar *a = any.ptr<uchar>(y);
        for (int x = 0; x < marks.cols; ++x)
            a[x] = (m[3 * x] | m[3 * x + 1] | m[3 * x + 2]) ? 255 : 0;
    }
    box = cv::boundingRect(any);
    return any;
}

// A selection layer as the window paints it, of the marked map's size.
cv::Mat selectionLayer(const cv::Mat &marked, const cv::Scalar &colour)
{
    cv::Mat layer(marked.size(), CV_8UC4, cv::Scalar::all(0));
    if (!marked.empty())
        layer.setTo(colour, marked);
    return layer;
}

// The engine's hole in the work crop: the mask grown by its 3 x 3 stamp.
cv::Mat engineHole(const PreparedJob &job)
{
    cv::Mat hole;
    cv::extractChannel(job.red, hole, 3);
    cv::dilate(hole, hole, cv::Mat::ones(3, 3, CV_8U));
    return hole;
}

// `colour` with the photo's alpha channel, made opaque over the hole (the
// fill has nothing transparent to take after), at `colour`'s depth.
cv::Mat withAlpha(const cv::Mat &colour, const PreparedJob &job)
{
    cv::Mat alpha;
    const double scale = colour.depth() == job.alpha.depth() ? 1.0 : colour.depth() == CV_8U ? 1.0 / 257.0 : 257.0;
    job.alpha.convertTo(alpha, colour.depth(), scale);
    alpha(job.crop).setTo(cv::Scalar::all(colour.depth() == CV_8U ? 255 : 65535), engineHole(job));
    cv::Mat bgra;
    const cv::Mat parts[] = {colour, alpha};
    const int fromTo[] = {0, 0, 1, 1, 2, 2, 3, 3};
    bgra.create(colour.size(), CV_MAKETYPE(colour.depth(), 4));
    cv::mixChannels(parts, 2, &bgra, 1, fromTo, 4);
    return bgra;
}

// The 16-bit photo with the erase's hole: outside it the photo's own
// samples, inside it the erase's vote again on the 16-bit crop (where a
// pixel gathered too little weight, its 8-bit result widened). Without a
// kept vote (an erase with nothing to step up from), the 8-bit result
// widened wherever it differs from the photo.
cv::Mat wideResult(const PreparedJob &job)
{
    cv::Mat result = job.wide.clone();
    cv::Mat crop = result(job.crop), widened, hole;
    job.photo(job.crop).convertTo(widened, CV_16UC3, 257.0);
    if (job.vote.empty()) {
        cv::Mat narrow, differs;
        job.wide(job.crop).convertTo(narrow, CV_8UC3, 1.0 / 257.0);
        cv::absdiff(narrow, job.photo(job.crop), differs);
        cv::Mat channels[3];
        cv::split(differs, channels);
        hole = channels[0] | channels[1] | channels[2];
        widened.copyTo(crop, hole);
        return result;
    }
    cv::extractChannel(job.vote.mask, hole, 0);
    widened.copyTo(crop, hole == 255);
    engine::voteHoleWide(job.wide(job.crop), crop, job.vote);
    return result;
}

} // namespace

Problem checkTarget(const EraseItem &item)
{
    const std::string why = photoio::checkTarget(toLocal(item.output));
    if (!why.empty())
        return refused("cannot write '" + item.output + "': " + fromStd(why));
    return {};
}

Problem loadInputs(const EraseItem &item, PreparedJob &job)
{
    photoio::Decoded photo, mask, donor;
    if (Problem p = readInput("photo", item.photo, photo, photoio::Depth::Keep))
        return p;
    if (photo.pixels.cols > kMaxSide || photo.pixels.rows > kMaxSide)
        return refused("photo '" + item.photo + "' is too large (a side is over 65535 pixels)");
    if (Problem p = readInput("mask", item.mask, mask))
        return p;
    if (mask.pixels.size() != photo.pixels.size())
        return refused("mask '" + item.mask + "' is not the photo's size");
    job.useDonor = !item.donor.isEmpty();
    if (job.useDonor) {
        if (Problem p = readInput("donor", item.donor, donor))
            return p;
        if (donor.pixels.size() != photo.pixels.size())
            return refused("donor '" + item.donor + "' is not the photo's size");
    }
    // The decoded masks go as soon as their marks are read: the layers are
    // made for the work box only, which holds every marked pixel.
    cv::Rect maskBox, donorBox;
    const cv::Mat redMarks = markedPixels(mask.pixels, maskBox);
    mask.pixels.release();
    if (maskBox.area() == 0)
        return refused("mask '" + item.mask + "' is empty: nothing to erase");
    cv::Mat greenMarks;
    if (job.useDonor) {
        greenMarks = markedPixels(donor.pixels, donorBox);
        donor.pixels.release();
    }
    const QString suffix = QFileInfo(item.output).suffix().toLower();
    cv::Mat colour = photo.pixels;
    if (colour.channels() == 4) {
        cv::extractChannel(colour, job.alpha, 3);
        cv::cvtColor(colour, colour, cv::COLOR_BGRA2BGR);
    }
    job.photo = colour;
    if (colour.depth() == CV_16U) {
        job.wide = colour;
        colour.convertTo(job.photo, CV_8UC3, 1.0 / 257.0); // the engine searches on 8 bits
    }
    job.crop = enlargedCrop(donorBox.area() > 0 ? (maskBox | donorBox) : maskBox, job.photo.size());
    job.red = selectionLayer(redMarks(job.crop), cv::Scalar(0, 0, 255, 128));
    job.green = job.useDonor ? selectionLayer(greenMarks(job.crop), cv::Scalar(0, 255, 0, 128))
                             : cv::Mat(job.crop.size(), CV_8UC4, cv::Scalar::all(0));
    job.narrowed = fromStd(photoio::narrowingNote(photo.report, photo.pixels));
    if (!job.alpha.empty() && !photoio::holdsAlpha(toLocal(suffix)))
        job.narrowed += QString(job.narrowed.isEmpty() ? "" : ", ") + "alpha channel dropped (." + suffix
                        + " files hold none)";
    if (!job.wide.empty() && !photoio::holdsSixteenBits(toLocal(suffix)))
        job.narrowed += QString(job.narrowed.isEmpty() ? "" : ", ") + "16-bit samples written as 8 bits (." + suffix
                        + " files hold 8)";
    if (!item.stripMetadata)
        job.metadata = photo.metadata;
    if (!job.metadata.empty() && !photoio::holdsMetadata(toLocal(suffix)))
        job.narrowed += QString(job.narrowed.isEmpty() ? "" : ", ") + "metadata not kept (." + suffix
                        + " files hold none)";
    return {};
}

Problem checkEncoder(const EraseItem &item, const PreparedJob &job)
{
    const std::string why = photoio::checkEncodable(toLocal(QFileInfo(item.output).suffix()), job.photo);
    if (!why.empty())
        return refused("cannot write '" + item.output + "': " + fromStd(why));
    return {};
}

Problem refuseBeforeJob(const EraseItem &, const PreparedJob &job)
{
    std::string why = eraseRefusal(job.photo(job.crop), job.red, job.green,
                                   job.useDonor);
    if (why.empty())
        why = memoryRefusal(job.crop.size(), job.useDonor);
    if (!why.empty())
        return refused(fromStd(why));
    return {};
}

Problem runJob(const EraseItem &, PreparedJob &job, const std::function<void(int)> &progress)
{
    QString failure;
    try {
        cv::Mat view = job.photo(job.crop);
        ThreadFromQThread thread;
        thread.m_patchMatch.m_keepFinalVote = !job.wide.empty();
        thread.setEraseJob(view, view, job.red, job.green, job.useDonor, JobType::Erase);
        long base = 0;
        QObject::connect(&thread, &ThreadFromQThread::progressSum, [&](long sum) {
            if (base == 0)
                base = sum;
            progress(progressPercent(sum, base));
        });
        thread.run(); // on this thread: progress arrives directly
        if (thread.failed())
            failure = thread.failure();
        job.vote = thread.m_patchMatch.m_finalVote;
    } catch (const std::bad_alloc &) {
        failure = "out of memory"; // setting up the job, before the thread's own guard
    } catch (const cv::Exception &e) {
        failure = QString::fromUtf8(e.what()).simplified();
    }
    if (!failure.isEmpty())
        return failed("the erase failed (" + failure + "): nothing written");
    return {};
}

Problem checkResult(const EraseItem &, const PreparedJob &job)
{
    const cv::Mat hole = engineHole(job);
    const cv::Mat result = job.photo(job.crop);
    bool blackInHole = false, blackAround = false;
    for (int y = 0; y < result.rows && !(blackInHole && blackAround); ++y) {
        const cv::Vec3b *p = result.ptr<cv::Vec3b>(y);
        const uchar *h = hole.ptr<uchar>(y);
        for (int x = 0; x < result.cols; ++x) {
            const bool black = p[x][0] == 0 && p[x][1] == 0 && p[x][2] == 0;
            (h[x] ? blackInHole : blackAround) |= black;
        }
    }
    if (blackInHole && !blackAround)
        return failed("the erase left the hole unfilled (nothing around it to fill from): nothing written");
    return {};
}

Problem writeResult(const EraseItem &item, const PreparedJob &job)
{
    const std::string suffix = toLocal(QFileInfo(item.output).suffix());
    cv::Mat pixels = !job.wide.empty() && photoio::holdsSixteenBits(suffix) ? wideResult(job) : job.photo;
    if (!job.alpha.empty() && photoio::holdsAlpha(suffix))
        pixels = withAlpha(pixels, job);
    photoio::EncodeOptions options;
    if (item.quality >= 0)
        options.jpegQuality = options.webpQuality = options.heifQuality = item.quality;
    const photoio::Encoded encoded = photoio::encode(pixels, suffix, options, job.metadata);
    std::string why = encoded.error;
    if (why.empty())
        why = photoio::writeFileChecked(toLocal(item.output), encoded.bytes);
    if (!why.empty())
        return failed("cannot write '" + item.output + "': " + fromStd(why));
    return {};
}
