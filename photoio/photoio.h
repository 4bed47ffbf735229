#ifndef MERVANE_PHOTOIO_H
#define MERVANE_PHOTOIO_H

// Reading and writing photos, without widgets.
//
// The common formats (JPEG, PNG, TIFF, WebP) go straight to libjpeg-turbo,
// libpng, libtiff and libwebp, the formats phones write (HEIC, HEIF, AVIF)
// to libheif; every other format goes to OpenCV's image codecs, which are
// loaded only when such a file is met (the library pulls in well over a
// hundred shared libraries, whose loading costs a command-line run several
// times its work). Decoded pixels are those cv::imread gives in colour mode:
// CV_8UC3, blue-green-red, EXIF orientation applied for JPEG, PNG and WebP
// (HEIF files are turned by their own boxes); Depth::Keep keeps 16-bit
// samples. Beside the pixels, a decode carries the file's metadata (EXIF,
// XMP, IPTC, ICC profile, read with Exiv2 or libheif), and encoding writes
// it back into every format that holds it. colour.h shows a profile on screen.
//
// Decoding never throws: it returns the pixels with what the decoder said
// (damaged or not, what was narrowed). Encoding returns the bytes or an
// error; writeFileChecked() is the one way a file is written.

#include <opencv2/core.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace photoio {

enum class Codec
{
    Jpeg,
    Png,
    Tiff,
    Webp,
    Heif,  // HEIC and HEIF (HEVC) through libheif; also what decoding an AVIF says
    Avif,  // AVIF (AV1) through libheif, for encoding
    Other, // OpenCV's image codecs, loaded on first use
};

// What the decoder reported about one file.
struct DecodeReport
{
    Codec codec = Codec::Other;
    // The decoder met corruption (libjpeg's "Premature end of JPEG file", a
    // libpng or libtiff error, a truncated WebP). The pixels, if any, are what
    // could be read; the rest is the decoder's filler.
    bool damaged = false;
    std::string damage; // the decoder's own words, first message only
    // The file as stored, before narrowing to 8-bit BGR.
    int bitsPerSample = 8;
    int channels = 3; // 1 grey, 2 grey + alpha, 3 colour, 4 colour + alpha (or CMYK)
    bool hasAlpha = false;
    int exifOrientation = 1; // 1 = as stored; 2..8 were applied to the pixels
};

// What a photo carries beside its pixels, as stored blocks; empty = none.
struct Metadata
{
    // EXIF as a TIFF structure (byte-order mark first, as after a JPEG's
    // "Exif\0\0"), without the preview thumbnail and the tags that describe
    // the stored pixels (sizes, strips, compression).
    std::vector<uint8_t> exif;
    std::string xmp;           // the XMP packet as stored
    std::vector<uint8_t> iptc; // IPTC IIM datasets
    std::vector<uint8_t> icc;  // the ICC profile, unchanged

    bool empty() const { return exif.empty() && xmp.empty() && iptc.empty() && icc.empty(); }
};

struct Decoded
{
    cv::Mat pixels; // CV_8UC3 BGR; empty if nothing could be read
    DecodeReport report;
    Metadata metadata; // JPEG, PNG, TIFF and WebP; none through OpenCV
    std::string error; // why pixels is empty ("not an image", "cannot open ...")

    bool readable() const { return !pixels.empty(); }
};

// What a decode does with samples wider than 8 bits.
enum class Depth
{
    Narrow, // CV_8UC3 always, as cv::imread in colour mode
    Keep,   // 16-bit PNG and TIFF files decode as CV_16UC3 (TIFF through OpenCV),
            // files with alpha (PNG, TIFF, WebP) as CV_8UC4 or CV_16UC4 (BGRA)
};

// --- Files and their identity ------------------------------------------------

// What tells whether a file is still the one that was read: its size, times,
// device and inode as the read left them, when that was, and a hash of every
// byte that was read. Taken by the decode that read the file (one read, no
// second pass over the disk) or by identifyFile().
struct FileIdentity
{
    bool exists = false;
    uint64_t size = 0;
    int64_t modifiedNs = 0; // st_mtim
    int64_t changedNs = 0;  // st_ctim: moves on any write, touch or rename over
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t takenNs = 0;    // the real-time clock when the bytes were read
    uint64_t contentHash = 0;
};

enum class FileState
{
    Same,    // the bytes are those that were read
    Changed, // another file, or other bytes, is there now
    Gone,    // no file (deleted, moved away, unreadable)
};

// The identity of the file at `path` now (reads it whole); exists is false
// when it cannot be read.
FileIdentity identifyFile(const std::string &path);

// Whether the file at `path` still holds the bytes `identity` was taken
// from. Cheap when it is plainly so: if size, times, device and inode are
// unchanged, and the file was last written well before the identity was
// taken (a write within the same tick of the file system's clock leaves
// the times alone), the file is not read. Otherwise a file of the same size
// is read and hashed, so that a touch, or a copy of the same bytes put
// back, counts as Same, and other bytes of the same size as Changed.
FileState checkFile(const FileIdentity &identity, const std::string &path);

// The hash FileIdentity keeps (64 bits, not cryptographic: it tells a file
// that changed, not one forged to collide).
uint64_t contentHash(const uint8_t *data, size_t size);

// --- Decoding ----------------------------------------------------------------

// Reads and decodes a whole file. The codec is chosen from the file's first
// bytes, not from its name.
Decoded decodeFile(const std::string &path, Depth depth = Depth::Narrow);
Decoded decodeBytes(const std::vector<uint8_t> &bytes, Depth depth = Depth::Narrow);
// The same, and the identity of the bytes that were decoded.
Decoded decodeFile(const std::string &path, FileIdentity &identity, Depth depth = Depth::Narrow);

// A decode at 1/reduction of the photo's size, for thumbnails: reduction 2,
// 4 or 8 (other values go down to the nearest of 1, 2, 4, 8), each side
// divided and rounded up; 8-bit BGR, EXIF orientation applied, metadata and
// report as decodeFile() gives them. A JPEG is scaled inside the decoder
// (1/8 costs a small part of a full decode); other formats are decoded whole
// and reduced by area. `identity`, if given, receives the file's identity.
Decoded decodeFileReduced(const std::string &path, int reduction, FileIdentity *identity = nullptr);
Decoded decodeBytesReduced(const std::vector<uint8_t> &bytes, int reduction);

// One line saying what decoding to `pixels` dropped ("16-bit samples
// narrowed to 8 bits, alpha channel dropped"), or empty when nothing was.
std::string narrowingNote(const DecodeReport &report, const cv::Mat &pixels);
// The same for 8-bit BGR pixels (a decode with Depth::Narrow).
std::string narrowingNote(const DecodeReport &report);

// --- Encoding ----------------------------------------------------------------

// Options as cv::imwrite takes them; the defaults give the same bytes as
// cv::imencode with no parameters.
struct EncodeOptions
{
    int jpegQuality = 95;      // 1..100
    int pngCompression = -1;   // 0..9; -1 = fastest level with the SUB filter
    int webpQuality = 101;     // 1..100 lossy; above 100 lossless
    int heifQuality = 90;      // 0..100, HEIC and AVIF; 90 looks the same as the original
};

struct Encoded
{
    std::vector<uint8_t> bytes;
    std::string error; // empty on success

    bool ok() const { return error.empty(); }
};

// The codec that writes files with this suffix (case ignored, with or
// without the dot); Codec::Other for everything OpenCV may know.
Codec codecForSuffix(const std::string &suffix);

// Empty if `image` (its depth and channels) can be written as `suffix`,
// else the reason ("no encoder for '.xyz'").
std::string checkEncodable(const std::string &suffix, const cv::Mat &image);

// Encodes `image` (CV_8UC1, CV_8UC3 BGR or CV_8UC4 BGRA; other depths only
// through OpenCV) in the format of `suffix`, with `metadata` written in as
// far as the format holds it (JPEG, PNG and TIFF: EXIF, XMP, IPTC, ICC;
// WebP, HEIC and AVIF: EXIF, XMP, ICC; other formats: none). The pixels are taken as
// upright: the EXIF Orientation written is 1, and the EXIF and XMP preview
// thumbnails are left out (they would still show what was erased). The
// profile is written unchanged; the pixels are never converted.
Encoded encode(const cv::Mat &image, const std::string &suffix,
               const EncodeOptions &options = EncodeOptions(), const Metadata &metadata = Metadata());

// True if files of `suffix` keep metadata (see encode()).
bool holdsMetadata(const std::string &suffix);
// True if files of `suffix` hold 16-bit samples as this module writes them
// (PNG and TIFF).
bool holdsSixteenBits(const std::string &suffix);
// True if files of `suffix` hold an alpha channel as this module writes
// them (PNG, TIFF, WebP).
bool holdsAlpha(const std::string &suffix);

// --- Writing -----------------------------------------------------------------

// Empty if a file may be written at `path`: its folder exists and is
// writable, and `path` is not a directory (nor an existing file we may not
// replace). Else the reason, one line.
std::string checkTarget(const std::string &path);

// Writes `bytes` to `path` all or nothing: a uniquely named temporary in the
// same folder, written in full, flushed and synced, its size checked, then
// renamed over `path`. On any failure the temporary is removed, `path` is as
// it was, and the reason is returned; on success the result is empty.
// While a temporary exists, SIGINT and SIGTERM remove it before the process
// ends (see installWriteSignalGuard(); the guard follows one write at a time,
// the latest started).
std::string writeFileChecked(const std::string &path, const std::vector<uint8_t> &bytes);

// Makes SIGINT and SIGTERM remove the temporary of a write in progress and
// then end the process as the signal would; makes SIGPIPE harmless (writes
// to a closed pipe fail with EPIPE instead of killing the process). Call
// once, early, from a program's main.
void installWriteSignalGuard();

// The write function writeFileChecked() uses, replaceable by tests to
// simulate a full disk. Same contract as POSIX write().
using WriteFunction = long (*)(int fd, const void *data, unsigned long size);
void setWriteFunctionForTesting(WriteFunction function); // nullptr restores

// True once OpenCV's image codecs have been loaded into this process (for
// tests and benchmarks that check the common formats do without them).
bool opencvCodecsLoaded();

} // namespace photoio

#endif // MERVANE_PHOTOIO_H
