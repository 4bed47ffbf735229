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
    // The file's own samples when they hold more than `image`: CV_16UC3 or
    // CV_16UC4 (16 bits a sample), CV_8UC4 (alpha); empty otherwise. What a
    // save to a format that holds them writes.
    cv::Mat master;
    // What the file carried beside its pixels (EXIF, XMP, IPTC, and the ICC
    // profile the pixels are shown through; no profile: sRGB), kept for
    // saving and for the screen.
    photoio::Metadata metadata;
};

// Decodes the photo at `path` as a document keeps it: 16-bit samples and
// alpha kept (photoio::Depth::Keep) where a document can hold them, else as
// the working copy.
// `identity`, if given, receives the identity of the bytes decoded.
photoio::Decoded decodePhotoFile(const QString &path, photoio::FileIdentity *identity = nullptr);

// The 8-bit blue-green-red working copy of a master (CV_8UC3, CV_8UC4,
// CV_16UC3 or CV_16UC4): alpha left out, 16-bit samples divided by 257.
cv::Mat workingCopyOf(const cv::Mat &master);

// What a document keeps of `decoded` (its pixels are moved out).
PhotoPixels keptPixels(photoio::Decoded &decoded);

#endif // PHOTOPIXELS_H
