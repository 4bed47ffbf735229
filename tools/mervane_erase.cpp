// mervane-erase: the command-line eraser, on the same job path as the
// window's Erase command. `mervane-erase --help` says how to call it and
// what its exit codes mean.
//
// The steps of a run: parse the command line; for each photo check the
// target, load and check the inputs, refuse what the engine cannot fill,
// run the job and write the result. A photo that fails at any step leaves
// no file behind; in a batch the others go on.

#include "arguments.h"
#include "photojob.h"
#include "progressdisplay.h"

#include "photoio.h"
#include "waitpolicy.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <opencv2/core/utils/logger.hpp>

#include <cstdio>
#include <new>

namespace {

// Developer log lines of the engine stay out of the tool's output.
void toolMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    // The engine logs a failed job as a warning as well as recording it; the
    // tool reports the recorded failure in its own single line.
    if (type == QtDebugMsg || type == QtInfoMsg || type == QtWarningMsg)
        return;
    std::fprintf(stderr, "mervane-erase: %s\n", qPrintable(message));
}

// Checks, loads, erases and writes one photo.
Problem erasePhotoSteps(const EraseItem &item, ProgressDisplay &display, bool quiet)
{
    PreparedJob job;
    if (Problem p = checkTarget(item))
        return p;
    if (Problem p = loadInputs(item, job))
        return p;
    if (Problem p = checkEncoder(item, job))
        return p;
    if (Problem p = refuseBeforeJob(item, job))
        return p;
    if (!job.narrowed.isEmpty() && !quiet)
        display.note(item.name + ": " + job.narrowed);
    if (Problem p = runJob(item, job, [&](int percent) { display.update(percent); }))
        return p;
    if (Problem p = checkResult(item, job))
        return p;
    if (Problem p = writeResult(item, job))
        return p;
    display.endPhoto();
    return {};
}

// Memory can run out at any step; the photo then fails and nothing of it is
// written.
Problem erasePhoto(const EraseItem &item, ProgressDisplay &display, bool quiet)
{
    try {
        return erasePhotoSteps(item, display, quiet);
    } catch (const std::bad_alloc &) {
    } catch (const cv::Exception &) {
    }
    return {ExitCode::Failed, "not enough memory for this photo: nothing written"};
}

// The whole batch must be possible before the first photo is touched.
Problem checkBatchFolders(const EraseRequest &request)
{
    if (!QFileInfo(request.masksFolder).isDir())
        return {ExitCode::Refused, "masks folder '" + request.masksFolder + "' does not exist"};
    const QFileInfo output(request.outputFolder);
    if (!output.isDir() || !output.isWritable())
        return {ExitCode::Refused, "output folder '" + request.outputFolder + "' is not a writable folder"};
    return {};
}

// Two photos of one batch must not write the same file.
Problem checkDuplicate(const EraseItem &item, QSet<QString> &outputs)
{
    const QString output = QFileInfo(item.output).absoluteFilePath();
    if (outputs.contains(output))
        return {ExitCode::Refused, "another photo of this batch is written to '" + item.output + "'"};
    outputs.insert(output);
    return {};
}

// 0 when all were written, 4 when some were, else the first failure's code.
ExitCode batchExitCode(int written, int total, ExitCode firstFailure)
{
    if (written == total)
        return ExitCode::Done;
    return written > 0 ? ExitCode::PartlyFailed : firstFailure;
}

ExitCode runRequest(const EraseRequest &request)
{
    ProgressDisplay display(ProgressDisplay::modeForStdout(request.quiet), int(request.items.size()),
                            request.batch);
    if (request.batch) {
        if (Problem p = checkBatchFolders(request)) {
            display.error(p.message);
            return p.code;
        }
    }
    QSet<QString> outputs;
    int written = 0;
    ExitCode firstFailure = ExitCode::Done;
    for (size_t i = 0; i < request.items.size(); ++i) {
        const EraseItem &item = request.items[i];
        display.startPhoto(int(i), item.name);
        Problem p = checkDuplicate(item, outputs);
        if (!p)
            p = erasePhoto(item, display, request.quiet);
        if (p) {
            display.error(request.batch ? item.name + ": " + p.message : p.message);
            if (firstFailure == ExitCode::Done)
                firstFailure = p.code;
        } else {
            ++written;
        }
    }
    display.finish();
    return batchExitCode(written, int(request.items.size()), firstFailure);
}

} // namespace

int main(int argc, char *argv[])
{
    ensurePassiveWaitPolicy();
    photoio::installWriteSignalGuard();
    qInstallMessageHandler(toolMessages);
    // One line per error: OpenCV's own warnings stay silent.
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    QCoreApplication app(argc, argv);

    EraseRequest request;
    QString message;
    switch (parseArguments(QCoreApplication::arguments(), request, message)) {
    case ParseOutcome::Exit:
        return int(ExitCode::Done);
    case ParseOutcome::UsageError:
        std::fprintf(stderr, "mervane-erase: %s\n", qPrintable(message));
        return int(ExitCode::Usage);
    case ParseOutcome::Run:
        break;
    }
    return int(runRequest(request));
}
