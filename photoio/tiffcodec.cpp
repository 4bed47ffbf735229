// TIFF through libtiff. Decoding goes through libtiff's RGBA reader as
// OpenCV's codec does for 8-bit results; files it reads another way
// (orientation other than top-left, planar or unusual sample layouts) go to
// OpenCV itself.

#include "codecs.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace photoio::detail {
namespace {

// libtiff's handlers are process-wide; the decode in progress on this
// thread collects the errors.
thread_local std::string *g_tiffError = nullptr;

void onError(const char *module, const char *format, va_list arguments)
{
    if (!g_tiffError || !g_tiffError->empty())
        return;
    char buffer[512];
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    *g_tiffError = module ? std::string(module) + ": " + buffer : std::string(buffer);
}

void onWarning(const char *, const char *, va_list) {}

struct Memory
{
    std::vector<uint8_t> *bytes = nullptr; // writing
    const uint8_t *data = nullptr;         // reading
    uint64_t size = 0;
    uint64_t position = 0;
};

tmsize_t readProc(thandle_t handle, void *target, tmsize_t length)
{
    auto *m = static_cast<Memory *>(handle);
    const uint64_t n = std::min<uint64_t>(uint64_t(length), m->position < m->size ? m->size - m->position : 0);
    std::memcpy(target, (m->bytes ? m->bytes->data() : m->data) + m->position, size_t(n));
    m->position += n;
    return tmsize_t(n);
}

tmsize_t writeProc(thandle_t handle, void *source, tmsize_t length)
{
    auto *m = static_cast<Memory *>(handle);
    if (!m->bytes)
        return 0;
    const uint64_t end = m->position + uint64_t(length);
    if (end > m->bytes->size())
        m->bytes->resize(size_t(end));
    std::memcpy(m->bytes->data() + m->position, source, size_t(length));
    m->position = end;
    m->size = m->bytes->size();
    return length;
}

toff_t seekProc(thandle_t handle, toff_t offset, int whence)
{
    auto *m = static_cast<Memory *>(handle);
    const uint64_t base = whence == SEEK_CUR ? m->position : whence == SEEK_END ? m->size : 0;
    m->position = base + offset;
    return m->position;
}

int closeProc(thandle_t) { return 0; }
toff_t sizeProc(thandle_t handle) { return static_cast<Memory *>(handle)->size; }
int mapProc(thandle_t, void **, toff_t *) { return 0; }
void unmapProc(thandle_t, void *, toff_t) {}

TIFF *openMemory(Memory &memory, const char *mode)
{
    TIFFSetErrorHandler(onError);
    TIFFSetWarningHandler(onWarning);
    return TIFFClientOpen("photo", mode, &memory, readProc, writeProc, seekProc, closeProc, sizeProc,
                          mapProc, unmapProc);
}

// Files whose 8-bit decode the RGBA reader gives as OpenCV does.
bool plainLayout(TIFF *tiff, DecodeReport &report)
{
    uint16_t bits = 8, samples = 1, planar = PLANARCONFIG_CONTIG, photometric = 0,
             orientation = ORIENTATION_TOPLEFT, extraCount = 0;
    uint16_t *extra = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extra);
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric))
        return false;
    report.bitsPerSample = bits;
    report.channels = samples;
    report.hasAlpha = extraCount > 0;
    const bool rgb = photometric == PHOTOMETRIC_RGB && (samples == 3 || samples == 4);
    const bool grey = photometric == PHOTOMETRIC_MINISBLACK && (samples == 1 || samples == 2);
    return bits == 8 && (rgb || grey) && planar == PLANARCONFIG_CONTIG
           && orientation == ORIENTATION_TOPLEFT;
}

// RGBA words (red in the low byte) to BGR.
void rgbaToBgr(const uint32_t *rgba, uint8_t *bgr, int width)
{
    for (int x = 0; x < width; ++x, bgr += 3) {
        const uint32_t p = rgba[x];
        bgr[0] = uint8_t(TIFFGetB(p));
        bgr[1] = uint8_t(TIFFGetG(p));
        bgr[2] = uint8_t(TIFFGetR(p));
    }
}

} // namespace

Decoded decodeTiff(const uint8_t *data, size_t size)
{
    Decoded result;
    result.report.codec = Codec::Tiff;
    std::string error;
    g_tiffError = &error;
    Memory memory;
    memory.data = data;
    memory.size = size;
    TIFF *tiff = openMemory(memory, "rm");
    if (!tiff) {
        g_tiffError = nullptr;
        markDamaged(result.report, error);
        result.error = "damaged file (" + error + ")";
        return result;
    }
    if (!plainLayout(tiff, result.report)) {
        TIFFClose(tiff);
        g_tiffError = nullptr;
        result = decodeWithOpenCV(std::vector<uint8_t>(data, data + size));
        return result;
    }
    uint32_t width = 0, height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    std::vector<uint32_t> raster(size_t(width) * height);
    const int ok = TIFFReadRGBAImageOriented(tiff, width, height, raster.data(), ORIENTATION_TOPLEFT, 0);
    TIFFClose(tiff);
    g_tiffError = nullptr;
    if (!ok || !error.empty())
        markDamaged(result.report, error.empty() ? std::string("cannot decode the pixels") : error);
    result.pixels.create(int(height), int(width), CV_8UC3);
    for (int y = 0; y < int(height); ++y)
        rgbaToBgr(raster.data() + size_t(y) * width, result.pixels.ptr(y), int(width));
    return result;
}

Encoded encodeTiff(const cv::Mat &image)
{
    Encoded result;
    const int channels = image.channels();
    if ((image.depth() != CV_8U && image.depth() != CV_16U) || (channels != 1 && channels != 3 && channels != 4)) {
        result.error = "TIFF takes 8- or 16-bit grey or colour pixels";
        return result;
    }
    std::string error;
    g_tiffError = &error;
    Memory memory;
    memory.bytes = &result.bytes;
    TIFF *tiff = openMemory(memory, "w");
    if (!tiff) {
        g_tiffError = nullptr;
        result.error = "TIFF encoder: " + error;
        return result;
    }
    const int bits = image.depth() == CV_8U ? 8 : 16;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, uint32_t(image.cols));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, uint32_t(image.rows));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    if (channels == 4) {
        const uint16_t alpha = EXTRASAMPLE_ASSOCALPHA; // as OpenCV writes it
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    // TIFF stores red first.
    static const int kSwap[] = {0, 2, 1, 1, 2, 0, 3, 3};
    cv::Mat row(1, image.cols, image.type());
    bool ok = true;
    for (int y = 0; y < image.rows && ok; ++y) {
        const cv::Mat line = image.row(y);
        if (channels == 1)
            line.copyTo(row);
        else
            cv::mixChannels(&line, 1, &row, 1, kSwap, size_t(channels));
        ok = TIFFWriteScanline(tiff, row.ptr(), uint32_t(y), 0) >= 0;
    }
    TIFFClose(tiff);
    g_tiffError = nullptr;
    if (!ok || !error.empty()) {
        result.bytes.clear();
        result.error = "TIFF encoder: " + (error.empty() ? std::string("write failed") : error);
    }
    return result;
}

} // namespace photoio::detail
