// mervane-erase PHOTO MASK OUTPUT [--donor DONOR] [--quiet]
//
// Erases from PHOTO every pixel that is not black in MASK, filling it from the
// photo itself, and writes OUTPUT. DONOR, if given, marks (non-black) where
// the fill may come from. The crop, the job and the progress are those of
// the window's Erase command.

#include "progress.h"
#include "threadfromqthread.h"
#include "waitpolicy.h"
#include "workbox.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QDir>
#include <QString>
#include <opencv2/core/utils/logger.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int kMaxSide = 65535;

int fail(const std::string &message)
{
    std::fprintf(stderr, "mervane-erase: %s\n", message.c_str());
    return 1;
}

void usage()
{
    std::fprintf(stderr, "usage: mervane-erase PHOTO MASK OUTPUT [--donor DONOR] [--quiet]\n");
}

// Developer log lines of the engine stay out of the tool's output.
void quietHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "mervane-erase: %s\n", message.toLocal8Bit().constData());
}

bool readImage(const std::string &path, const char *what, cv::Mat &image, std::string &error)
{
    try {
        image = cv::imread(path, cv::IMREAD_COLOR);
    } catch (const cv::Exception &) {
        image.release();
    }
    if (image.empty()) {
        error = std::string("cannot read ") + what + " '" + path + "'";
        return false;
    }
    return true;
}

// A selection layer as the window paints it: (0,0,255,128) for red,
// (0,255,0,128) for green, wherever the given image is not black.
cv::Mat selectionLayer(const cv::Mat &marks, const cv::Scalar &colour, cv::Rect *box)
{
    cv::Mat any;
    cv::Mat channels[3];
    cv::split(marks, channels);
    any = (channels[0] > 0) | (channels[1] > 0) | (channels[2] > 0);
    cv::Mat layer(marks.size(), CV_8UC4, cv::Scalar::all(0));
    layer.setTo(colour, any);
    if (box)
        *box = cv::boundingRect(any);
    return layer;
}

} // namespace

int main(int argc, char *argv[])
{
    restartWithPassiveWaitPolicy(argv);
    qInstallMessageHandler(quietHandler);
    // One line per error on stderr: OpenCV's own warnings stay silent.
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    QCoreApplication app(argc, argv);

    std::string paths[3];
    std::string donorPath;
    bool quiet = false;
    int positional = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--quiet") {
            quiet = true;
        } else if (arg == "--donor") {
            if (i + 1 >= argc) {
                usage();
                return fail("--donor needs a file");
            }
            donorPath = argv[++i];
        } else if (arg == "-h" || arg == "--help") {
            usage();
            return 0;
        } else if (arg.size() > 1 && arg[0] == '-' ) {
            usage();
            return fail("unknown option '" + arg + "'");
        } else if (positional < 3) {
            paths[positional++] = arg;
        } else {
            usage();
            return fail("too many arguments");
        }
    }
    if (positional < 3) {
        usage();
        return fail("PHOTO, MASK and OUTPUT are required");
    }
    const std::string &photoPath = paths[0], &maskPath = paths[1], &outputPath = paths[2];

    // Refuse an output we cannot write before any work is done.
    if (!cv::haveImageWriter(outputPath))
        return fail("cannot write '" + outputPath + "': unknown image format");
    const QFileInfo outInfo(QString::fromLocal8Bit(outputPath.c_str()));
    const QFileInfo outDir(outInfo.absolutePath());
    if (!outDir.isDir() || !outDir.isWritable() || (outInfo.exists() && !outInfo.isWritable()))
        return fail("cannot write '" + outputPath + "': not writable");

    std::string error;
    cv::Mat photo, maskImage, donorImage;
    if (!readImage(photoPath, "photo", photo, error) || !readImage(maskPath, "mask", maskImage, error))
        return fail(error);
    if (photo.cols > kMaxSide || photo.rows > kMaxSide)
        return fail("photo '" + photoPath + "' is too large (a side is over 65535 pixels)");
    if (maskImage.size() != photo.size())
        return fail("mask size differs from the photo's");
    const bool useDonor = !donorPath.empty();
    if (useDonor) {
        if (!readImage(donorPath, "donor", donorImage, error))
            return fail(error);
        if (donorImage.size() != photo.size())
            return fail("donor size differs from the photo's");
    }

    cv::Rect maskBox, donorBox;
    cv::Mat red = selectionLayer(maskImage, cv::Scalar(0, 0, 255, 128), &maskBox);
    if (maskBox.area() == 0)
        return fail("mask is empty: nothing to erase");
    cv::Mat green = useDonor ? selectionLayer(donorImage, cv::Scalar(0, 255, 0, 128), &donorBox)
                             : cv::Mat(photo.size(), CV_8UC4, cv::Scalar::all(0));

    // The work box covers all the painting, as in the window, and is grown
    // by the window's rule.
    cv::Rect painted = useDonor && donorBox.area() > 0 ? (maskBox | donorBox) : maskBox;
    WorkBox box;
    box.minX = painted.x;
    box.minY = painted.y;
    box.maxX = painted.x + painted.width;
    box.maxY = painted.y + painted.height;
    box = enlargeWorkBox(box, photo.cols, photo.rows);
    const cv::Rect crop(cv::Point(int(box.minX), int(box.minY)),
                        cv::Point(int(box.maxX), int(box.maxY)));

    cv::Mat view = photo(crop);
    ThreadFromQThread thread;
    thread.setEraseJob(view, view, red(crop), green(crop), useDonor, 1);

    long base = 0;
    int shown = -1;
    QObject::connect(&thread, &ThreadFromQThread::progressSum, &app, [&](long sum) {
        if (base == 0)
            base = sum;
        const int percent = progressPercent(sum, base);
        if (!quiet && percent != shown) {
            std::printf("%d%%\n", percent);
            std::fflush(stdout);
        }
        shown = percent;
    });
    QObject::connect(&thread, &ThreadFromQThread::finished_thread, &app, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    thread.start(QThread::InheritPriority);
    app.exec();
    thread.wait();
    if (!quiet) {
        std::printf("100%%\n");
        std::fflush(stdout);
    }

    // Write beside the output and rename, so a failed write never leaves a
    // partial OUTPUT behind.
    const QString finalPath = outInfo.absoluteFilePath();
    const QString partialPath = outInfo.absolutePath() + "/." + outInfo.completeBaseName()
                                + ".partial." + outInfo.suffix();
    bool written = false;
    try {
        written = cv::imwrite(partialPath.toLocal8Bit().constData(), photo);
    } catch (const cv::Exception &) {
        written = false;
    }
    if (!written) {
        QFile::remove(partialPath);
        return fail("cannot write '" + outputPath + "'");
    }
    // rename() replaces an existing OUTPUT atomically.
    if (std::rename(partialPath.toLocal8Bit().constData(),
                    finalPath.toLocal8Bit().constData()) != 0) {
        QFile::remove(partialPath);
        return fail("cannot write '" + outputPath + "'");
    }
    return 0;
}
