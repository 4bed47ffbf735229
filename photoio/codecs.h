#ifndef MERVANE_PHOTOIO_CODECS_H
#define MERVANE_PHOTOIO_CODECS_H

// One decoder and one encoder per codec; photoio.cpp chooses between them.
// Each decoder takes the whole file in memory and never throws.

#include "photoio.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace photoio::detail {

Decoded decodeJpeg(const uint8_t *data, size_t size);
Decoded decodePng(const uint8_t *data, size_t size);
Decoded decodeTiff(const uint8_t *data, size_t size);
Decoded decodeWebp(const uint8_t *data, size_t size);
Decoded decodeWithOpenCV(const std::vector<uint8_t> &bytes);

Encoded encodeJpeg(const cv::Mat &image, const EncodeOptions &options);
Encoded encodePng(const cv::Mat &image, const EncodeOptions &options);
Encoded encodeTiff(const cv::Mat &image);
Encoded encodeWebp(const cv::Mat &image, const EncodeOptions &options);
Encoded encodeWithOpenCV(const cv::Mat &image, const std::string &suffix,
                         const EncodeOptions &options);
bool opencvHasWriter(const std::string &suffix);
bool opencvCodecsLoadedNow();

// The orientation tag (1..8) of an EXIF block that starts at its TIFF
// header ("II" or "MM"), or 1 when there is none or it cannot be parsed.
int exifOrientation(const uint8_t *data, size_t size);
// Turns pixels stored in `orientation` into pixels as seen.
void applyExifOrientation(cv::Mat &image, int orientation);

// Records the first damage message of a decode.
inline void markDamaged(DecodeReport &report, const std::string &message)
{
    if (!report.damaged)
        report.damage = message;
    report.damaged = true;
}

} // namespace photoio::detail

#endif // MERVANE_PHOTOIO_CODECS_H
