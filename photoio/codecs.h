#ifndef MERVANE_PHOTOIO_CODECS_H
#define MERVANE_PHOTOIO_CODECS_H

// One decoder and one encoder per codec; photoio.cpp chooses between them.
// Each decoder takes the whole file in memory and never throws.

#include "photoio.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace photoio::detail {

// reduction: 1, 2, 4 or 8; the pixels come out that many times smaller
// (each side rounded up), scaled inside the decoder.
Decoded decodeJpeg(const uint8_t *data, size_t size, int reduction = 1);
// keep16: 16-bit samples stay 16-bit (CV_16UC3) instead of being narrowed,
// and alpha is kept (CV_8UC4, CV_16UC4).
Decoded decodePng(const uint8_t *data, size_t size, bool keep16 = false);
Decoded decodeTiff(const uint8_t *data, size_t size);
Decoded decodeWebp(const uint8_t *data, size_t size, bool keepAlpha = false);
// HEIC, HEIF and AVIF: the file's metadata comes with the pixels.
bool isHeif(const uint8_t *data, size_t size);
Decoded decodeHeif(const uint8_t *data, size_t size);
Decoded decodeWithOpenCV(const std::vector<uint8_t> &bytes, bool keep16 = false);

Encoded encodeJpeg(const cv::Mat &image, const EncodeOptions &options);
// PNG writes its metadata itself (iCCP, eXIf, XMP and IPTC text chunks).
Encoded encodePng(const cv::Mat &image, const EncodeOptions &options, const Metadata &metadata);
Encoded encodeTiff(const cv::Mat &image);
Encoded encodeWebp(const cv::Mat &image, const EncodeOptions &options);
// av1: AVIF, else HEIC. Writes `metadata` (EXIF, XMP, ICC) itself.
Encoded encodeHeif(const cv::Mat &image, const EncodeOptions &options, const Metadata &metadata, bool av1);
Encoded encodeWithOpenCV(const cv::Mat &image, const std::string &suffix,
                         const EncodeOptions &options);
bool opencvHasWriter(const std::string &suffix);
bool opencvCodecsLoadedNow();

// The metadata a file carries, read with Exiv2, and its EXIF orientation
// (1..8; 1 when there is none). Never throws: unreadable metadata is none.
Metadata readMetadata(const uint8_t *data, size_t size, int &orientation);
// An EXIF block (a TIFF structure) without its preview and the tags that
// describe stored pixels; empty if Exiv2 cannot read it.
std::vector<uint8_t> photoTagsOnly(const uint8_t *data, size_t size);
// `metadata` as it is written beside upright pixels of `size`: EXIF without
// its preview, Orientation 1 and the pixel sizes given; XMP likewise (the
// packet is kept byte for byte when nothing in it had to change).
Metadata metadataForUprightPixels(const Metadata &metadata, const cv::Size &size);
// Adds `metadata` (as metadataForUprightPixels() gives it) to an encoded
// file of `codec`, as far as the format holds it: JPEG and TIFF through
// Exiv2, WebP through libwebp's muxer (no IPTC); PNG's encoder has written
// it already. Empty on success, else why.
std::string writeMetadata(std::vector<uint8_t> &bytes, Codec codec, const Metadata &metadata);
std::string addWebpChunks(std::vector<uint8_t> &bytes, const Metadata &metadata);
// Turns pixels stored in `orientation` into pixels as seen.
void applyExifOrientation(cv::Mat &image, int orientation);

// Reads the whole file at `path` into `bytes`; empty on success, else why
// ("cannot open (No such file or directory)"). With `identity`, also the
// identity of what was read (stat of the open file after the read).
std::string readWholeFile(const std::string &path, std::vector<uint8_t> &bytes, FileIdentity *identity);

// Records the first damage message of a decode.
inline void markDamaged(DecodeReport &report, const std::string &message)
{
    if (!report.damaged)
        report.damage = message;
    report.damaged = true;
}

} // namespace photoio::detail

#endif // MERVANE_PHOTOIO_CODECS_H
