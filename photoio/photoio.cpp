// Choosing a codec, describing what decoding narrowed, and encoding.

#include "codecs.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace photoio {
namespace {

bool startsWith(const std::vector<uint8_t> &bytes, const char *magic, size_t length, size_t at = 0)
{
    return bytes.size() >= at + length && std::memcmp(bytes.data() + at, magic, length) == 0;
}

Codec codecOfBytes(const std::vector<uint8_t> &bytes)
{
    if (startsWith(bytes, "\xFF\xD8\xFF", 3))
        return Codec::Jpeg;
    if (startsWith(bytes, "\x89PNG\r\n\x1A\n", 8))
        return Codec::Png;
    if (startsWith(bytes, "II*\0", 4) || startsWith(bytes, "MM\0*", 4))
        return Codec::Tiff;
    if (startsWith(bytes, "RIFF", 4) && startsWith(bytes, "WEBP", 4, 8))
        return Codec::Webp;
    if (startsWith(bytes, "ftyp", 4, 4) && detail::isHeif(bytes.data(), bytes.size()))
        return Codec::Heif;
    return Codec::Other;
}

std::string lowerSuffix(const std::string &suffix)
{
    std::string s = !suffix.empty() && suffix[0] == '.' ? suffix.substr(1) : suffix;
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

// The largest side each of our encoders can write.
int maxSide(Codec codec)
{
    switch (codec) {
    case Codec::Jpeg: return 65500;
    case Codec::Webp: return 16383;
    default: return 1 << 30;
    }
}

bool nativeTypeOk(Codec codec, const cv::Mat &image)
{
    const int channels = image.channels();
    if (channels != 1 && channels != 3 && channels != 4)
        return false;
    const bool wide = codec == Codec::Png || codec == Codec::Tiff;
    return image.depth() == CV_8U || (wide && image.depth() == CV_16U);
}

bool writtenByLibheif(Codec codec)
{
    return codec == Codec::Heif || codec == Codec::Avif;
}

Decoded decodeNative(Codec codec, const std::vector<uint8_t> &bytes, bool keep16)
{
    switch (codec) {
    case Codec::Jpeg: return detail::decodeJpeg(bytes.data(), bytes.size());
    case Codec::Png: return detail::decodePng(bytes.data(), bytes.size(), keep16);
    case Codec::Tiff: return detail::decodeTiff(bytes.data(), bytes.size());
    case Codec::Webp: return detail::decodeWebp(bytes.data(), bytes.size(), keep16);
    case Codec::Heif: case Codec::Avif: return detail::decodeHeif(bytes.data(), bytes.size());
    case Codec::Other: break;
    }
    return detail::decodeWithOpenCV(bytes);
}

Encoded encodePixels(Codec codec, const cv::Mat &image, const std::string &suffix,
                     const EncodeOptions &options, const Metadata &metadata)
{
    switch (codec) {
    case Codec::Jpeg: return detail::encodeJpeg(image, options);
    case Codec::Png: return detail::encodePng(image, options, metadata);
    case Codec::Tiff: return detail::encodeTiff(image);
    case Codec::Webp: return detail::encodeWebp(image, options);
    case Codec::Heif: return detail::encodeHeif(image, options, metadata, false);
    case Codec::Avif: return detail::encodeHeif(image, options, metadata, true);
    case Codec::Other: break;
    }
    return detail::encodeWithOpenCV(image, suffix, options);
}

// 1, 2, 4 or 8: the largest of them not above `reduction`.
int supportedReduction(int reduction)
{
    int f = 1;
    while (f < 8 && f * 2 <= reduction)
        f *= 2;
    return f;
}

int reducedSide(int side, int reduction)
{
    return (side + reduction - 1) / reduction;
}

// Decodes `bytes`; a JPEG at 1/reduction of its size inside the decoder.
Decoded decodeAt(const std::vector<uint8_t> &bytes, bool keep16, int reduction);

} // namespace

Decoded decodeBytes(const std::vector<uint8_t> &bytes, Depth depth)
{
    return decodeAt(bytes, depth == Depth::Keep, 1);
}

Decoded decodeBytesReduced(const std::vector<uint8_t> &bytes, int reduction)
{
    const int f = supportedReduction(reduction);
    Decoded result = decodeAt(bytes, false, f);
    // Every other format is decoded whole and then reduced, to the size a
    // JPEG decode gives, by the mean of the pixels each new one covers.
    if (f > 1 && result.readable() && result.report.codec != Codec::Jpeg) {
        const cv::Size size(reducedSide(result.pixels.cols, f), reducedSide(result.pixels.rows, f));
        try {
            cv::Mat reduced;
            cv::resize(result.pixels, reduced, size, 0, 0, cv::INTER_AREA);
            result.pixels = reduced;
        } catch (const cv::Exception &) {
            result.pixels.release();
            result.error = "not enough memory to decode";
        }
    }
    return result;
}

namespace {

Decoded decodeAt(const std::vector<uint8_t> &bytes, bool keep16, int reduction)
{
    if (bytes.empty()) {
        Decoded empty;
        empty.error = "empty file";
        return empty;
    }
    try {
        const Codec codec = codecOfBytes(bytes);
        if (codec == Codec::Other)
            return detail::decodeWithOpenCV(bytes, keep16);
        Decoded result = codec == Codec::Jpeg ? detail::decodeJpeg(bytes.data(), bytes.size(), reduction)
                                              : decodeNative(codec, bytes, keep16);
        if (!result.readable())
            return result;
        // libtiff's RGBA reader gives 8-bit BGR: a wide TIFF, or one with
        // alpha, is read again by OpenCV.
        const bool wideOrAlpha = result.report.bitsPerSample == 16 || result.report.hasAlpha;
        if (keep16 && codec == Codec::Tiff && wideOrAlpha && !result.report.damaged) {
            const Decoded kept = detail::decodeWithOpenCV(bytes, true);
            if (kept.readable() && kept.pixels.size() == result.pixels.size())
                result.pixels = kept.pixels;
        }
        // libheif brings its metadata along and turns the pixels upright by
        // the file's own boxes.
        if (writtenByLibheif(codec))
            return result;
        int orientation = 1;
        result.metadata = detail::readMetadata(bytes.data(), bytes.size(), orientation);
        // libtiff's reader and OpenCV's (for other orientations) place TIFF
        // pixels themselves.
        if (codec != Codec::Tiff) {
            result.report.exifOrientation = orientation;
            detail::applyExifOrientation(result.pixels, orientation);
        }
        return result;
    } catch (const std::bad_alloc &) {
        Decoded failed;
        failed.error = "not enough memory to decode";
        return failed;
    } catch (const cv::Exception &) {
        Decoded failed;
        failed.error = "not enough memory to decode";
        return failed;
    }
}

} // namespace

Decoded decodeFile(const std::string &path, Depth depth)
{
    std::vector<uint8_t> bytes;
    Decoded result;
    result.error = detail::readWholeFile(path, bytes, nullptr);
    return result.error.empty() ? decodeBytes(bytes, depth) : result;
}

Decoded decodeFile(const std::string &path, FileIdentity &identity, Depth depth)
{
    std::vector<uint8_t> bytes;
    Decoded result;
    result.error = detail::readWholeFile(path, bytes, &identity);
    return result.error.empty() ? decodeBytes(bytes, depth) : result;
}

Decoded decodeFileReduced(const std::string &path, int reduction, FileIdentity *identity)
{
    std::vector<uint8_t> bytes;
    Decoded result;
    result.error = detail::readWholeFile(path, bytes, identity);
    return result.error.empty() ? decodeBytesReduced(bytes, reduction) : result;
}

std::string narrowingNote(const DecodeReport &report, const cv::Mat &pixels)
{
    std::string note;
    if (report.bitsPerSample > 8 && pixels.depth() == CV_8U)
        note = std::to_string(report.bitsPerSample) + "-bit samples narrowed to 8 bits";
    if (report.hasAlpha && pixels.channels() != 4)
        note += std::string(note.empty() ? "" : ", ") + "alpha channel dropped";
    if (report.codec == Codec::Jpeg && report.channels == 4)
        note += std::string(note.empty() ? "" : ", ") + "CMYK converted to RGB";
    return note;
}

std::string narrowingNote(const DecodeReport &report)
{
    return narrowingNote(report, cv::Mat());
}

Codec codecForSuffix(const std::string &suffix)
{
    const std::string s = lowerSuffix(suffix);
    if (s == "jpg" || s == "jpeg" || s == "jpe")
        return Codec::Jpeg;
    if (s == "png")
        return Codec::Png;
    if (s == "tif" || s == "tiff")
        return Codec::Tiff;
    if (s == "webp")
        return Codec::Webp;
    if (s == "heic" || s == "heif" || s == "hif")
        return Codec::Heif;
    if (s == "avif")
        return Codec::Avif;
    return Codec::Other;
}

std::string checkEncodable(const std::string &suffix, const cv::Mat &image)
{
    const std::string s = lowerSuffix(suffix);
    if (s.empty())
        return "the name has no suffix to choose a file type by";
    const Codec codec = codecForSuffix(s);
    if (codec != Codec::Other) {
        if (!nativeTypeOk(codec, image))
            return "no ." + s + " encoder for this kind of pixels";
        if (std::max(image.cols, image.rows) > maxSide(codec))
            return "." + s + " files are limited to " + std::to_string(maxSide(codec)) + " pixels a side";
        return {};
    }
    if (!detail::opencvHasWriter(s))
        return "no encoder for ." + s + " files";
    // Some of OpenCV's encoders take only some pixel types: try a small one.
    // 64 x 64, as the JPEG 2000 encoder refuses pictures smaller than its
    // resolution levels (a tiny probe would refuse every .jp2).
    const cv::Mat probe(64, 64, image.type(), cv::Scalar::all(0));
    if (!detail::encodeWithOpenCV(probe, s, EncodeOptions()).ok())
        return "the ." + s + " encoder cannot write this kind of pixels";
    return {};
}

Encoded encode(const cv::Mat &image, const std::string &suffix, const EncodeOptions &options,
               const Metadata &metadata)
{
    try {
        const std::string s = lowerSuffix(suffix);
        const std::string refusal = image.empty() ? std::string("empty image") : checkEncodable(s, image);
        if (!refusal.empty()) {
            Encoded refused;
            refused.error = refusal;
            return refused;
        }
        const Codec codec = codecForSuffix(s);
        const Metadata written =
            holdsMetadata(s) ? detail::metadataForUprightPixels(metadata, image.size()) : Metadata();
        Encoded encoded = encodePixels(codec, image, s, options, written);
        if (encoded.ok() && codec != Codec::Png && !writtenByLibheif(codec))
            encoded.error = detail::writeMetadata(encoded.bytes, codec, written);
        if (!encoded.ok())
            encoded.bytes.clear();
        return encoded;
    } catch (const std::bad_alloc &) {
        Encoded failed;
        failed.error = "not enough memory to encode";
        return failed;
    }
}

bool holdsMetadata(const std::string &suffix)
{
    return codecForSuffix(suffix) != Codec::Other;
}

bool holdsSixteenBits(const std::string &suffix)
{
    const Codec codec = codecForSuffix(suffix);
    return codec == Codec::Png || codec == Codec::Tiff;
}

bool holdsAlpha(const std::string &suffix)
{
    const Codec codec = codecForSuffix(suffix);
    return codec == Codec::Png || codec == Codec::Tiff || codec == Codec::Webp;
}

bool opencvCodecsLoaded() { return detail::opencvCodecsLoadedNow(); }

} // namespace photoio
