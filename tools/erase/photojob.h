#ifndef MERVANE_ERASE_PHOTOJOB_H
#define MERVANE_ERASE_PHOTOJOB_H

// The erase of one photo in named steps: check the target, load the inputs,
// refuse what the engine cannot do, run the job, write the result. Each step
// returns an empty Problem or the one line that says what went wrong, with
// the exit code it calls for.

#include "arguments.h"
#include "photoio.h"
#include "widevote.h"

#include <QString>
#include <opencv2/core.hpp>

#include <functional>

struct Problem
{
    ExitCode code = ExitCode::Done;
    QString message;

    explicit operator bool() const { return !message.isEmpty(); }
};

// Inputs read and turned into what the engine takes.
struct PreparedJob
{
    cv::Mat photo;        // CV_8UC3, the result is written into it
    cv::Mat wide;         // CV_16UC3 when the photo has 16-bit samples: the
                          // photo itself; `photo` is then its 8-bit copy
    engine::FinalVote vote; // what the erase's full-size vote used (wide only)
    cv::Mat alpha;        // the photo's alpha channel (its depth), or empty
    cv::Mat red, green;   // selection layers, CV_8UC4, of the crop only
    bool useDonor = false;
    cv::Rect crop;        // the work box the window would cut
    QString narrowed;     // what reading the photo narrowed, or empty
    photoio::Metadata metadata; // what the photo carries, written with the result
};

// Output folder exists and is writable, the output is no folder.
Problem checkTarget(const EraseItem &item);
// Reads photo, mask and donor; refuses unreadable or damaged files, sizes
// that differ, sides over 65,535 and an empty mask.
Problem loadInputs(const EraseItem &item, PreparedJob &job);
// An encoder exists for this image in the output's format.
Problem checkEncoder(const EraseItem &item, const PreparedJob &job);
// What the engine would not fill. The engine's own refusals (nothing to fill
// from, too large for memory) are added here.
Problem refuseBeforeJob(const EraseItem &item, const PreparedJob &job);
// Runs the erase on this thread; `progress` gets percentages.
Problem runJob(const EraseItem &item, PreparedJob &job, const std::function<void(int)> &progress);
// The last guard before writing: a hole left black (the engine found nothing
// to copy) where the photo around it has no black pixel is a failed job.
Problem checkResult(const EraseItem &item, const PreparedJob &job);
// Encodes and writes the result, with the photo's metadata unless the item
// strips it, through the checked write. A 16-bit photo is written at 16 bits
// where the format holds them, its hole rebuilt from the 16-bit pixels with
// the erase's own vote; elsewhere its 8-bit result is written. A photo with
// alpha keeps it outside the hole, where the format holds alpha; the filled
// hole is opaque.
Problem writeResult(const EraseItem &item, const PreparedJob &job);

#endif // MERVANE_ERASE_PHOTOJOB_H
