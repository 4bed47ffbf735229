#include "photopixels.h"
#include "pathbytes.h"

#include <opencv2/imgproc.hpp>

#include <utility>

namespace {

// The pixel kinds a document keeps as its master.
bool keepable(int type)
{
    return type == CV_8UC3 || type == CV_8UC4 || type == CV_16UC3 || type == CV_16UC4;
}

} // namespace

photoio::Decoded decodePhotoFile(const QString &path, photoio::FileIdentity *identity)
{
    photoio::FileIdentity read;
    photoio::Decoded decoded = photoio::decodeFile(pathBytes(path), read, photoio::Depth::Keep);
    // Anything else a decoder may keep (floating point from the rarer
    // formats) is read as the working copy, as it always was.
    if (decoded.readable() && !keepable(decoded.pixels.type()))
        decoded = photoio::decodeFile(pathBytes(path), read, photoio::Depth::Narrow);
    if (identity)
        *identity = read;
    return decoded;
}

cv::Mat workingCopyOf(const cv::Mat &master)
{
    cv::Mat colour = master;
    if (colour.channels() == 4)
        cv::cvtColor(colour, colour, cv::COLOR_BGRA2BGR);
    if (colour.depth() == CV_16U)
        colour.convertTo(colour, CV_8UC3, 1.0 / 257.0); // the engine searches on 8 bits
    return colour;
}

PhotoPixels keptPixels(photoio::Decoded &decoded)
{
    PhotoPixels kept;
    cv::Mat pixels = decoded.pixels;
    decoded.pixels.release(); // the document holds the only reference
    if (pixels.empty() || pixels.type() == CV_8UC3) {
        kept.image = pixels;
    } else {
        kept.image = workingCopyOf(pixels);
        kept.master = pixels;
    }
    kept.metadata = std::move(decoded.metadata);
    return kept;
}
