#ifndef PHOTOPIXELS_H
#define PHOTOPIXELS_H

// What a document keeps of a decoded photo file, and the one decode that
// gives it: opening a photo and reading it back later both go through these.

#include <QString>
#include <opencv2/core.hpp>

#include <cstdint>
#include <vector>

#include "photoio.h"

struct PhotoPixels
{
    // The working copy: CV_8UC3 blue-green-red, what the tools, the engine's
    // search and the screen use.
    cv::Mat image;
    // The embedded ICC profile the pixels are shown through (empty: sRGB).
    // The file's profile as read; kept apart from the rest of its metadata
    // only for the screen.
    std::vector<uint8_t> icc;
};

// Decodes the photo at `path` as a document keeps it.
photoio::Decoded decodePhotoFile(const QString &path);

// What a document keeps of `decoded` (its pixels are moved out).
PhotoPixels keptPixels(photoio::Decoded &decoded);

#endif // PHOTOPIXELS_H
