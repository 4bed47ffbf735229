// PNG through libpng, with the transformations OpenCV's codec asks for, so
// that pixels and bytes are the same as cv::imread / cv::imencode give.

#include "codecs.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace photoio::detail {
namespace {

struct Source
{
    const uint8_t *data;
    size_t size;
    size_t position = 0;
};

struct Context
{
    std::string message;
};

void onError(png_structp png, png_const_charp message)
{
    auto *context = static_cast<Context *>(png_get_error_ptr(png));
    context->message = message;
    png_longjmp(png, 1);
}

// libpng warns about benign things (a sRGB profile it dislikes, an unknown
// chunk); corruption of the image data is an error.
void onWarning(png_structp, png_const_charp) {}

void readFromMemory(png_structp png, png_bytep target, png_size_t length)
{
    auto *source = static_cast<Source *>(png_get_io_ptr(png));
    if (source->size - source->position < length)
        png_error(png, "file ends too early");
    std::memcpy(target, source->data + source->position, length);
    source->position += length;
}

void writeToMemory(png_structp png, png_bytep data, png_size_t length)
{
    auto *bytes = static_cast<std::vector<uint8_t> *>(png_get_io_ptr(png));
    bytes->insert(bytes->end(), data, data + length);
}

void flushMemory(png_structp) {}

void describe(png_structp png, png_infop info, DecodeReport &report)
{
    const int type = png_get_color_type(png, info);
    const bool trns = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    report.bitsPerSample = png_get_bit_depth(png, info);
    report.hasAlpha = (type & PNG_COLOR_MASK_ALPHA) || trns;
    const int colours = (type & PNG_COLOR_MASK_COLOR) ? 3 : 1;
    report.channels = colours + (report.hasAlpha ? 1 : 0);
}

// The transformations to 8-bit BGR, in OpenCV's order; with `keep`, 16-bit
// samples stay 16-bit and an alpha channel (or transparency chunk) gives BGRA.
void askForBgr(png_structp png, png_infop info, bool keep, bool alpha)
{
    const int type = png_get_color_type(png, info);
    const int depth = png_get_bit_depth(png, info);
    if (depth == 16 && !keep)
        png_set_strip_16(png);
    if (depth == 16 && keep)
        png_set_swap(png); // samples in the machine's order
    if (keep && alpha)
        png_set_tRNS_to_alpha(png);
    else
        png_set_strip_alpha(png);
    if (type == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(png);
    if ((type & PNG_COLOR_MASK_COLOR) == 0 && depth < 8)
        png_set_expand_gray_1_2_4_to_8(png);
    if (type & PNG_COLOR_MASK_COLOR)
        png_set_bgr(png);
    else
        png_set_gray_to_rgb(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
}

} // namespace

Decoded decodePng(const uint8_t *data, size_t size, bool keep16)
{
    Decoded result;
    result.report.codec = Codec::Png;
    Context context;
    Source source{data, size};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &context, onError, onWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    png_infop endInfo = info ? png_create_info_struct(png) : nullptr;
    if (!endInfo) {
        png_destroy_read_struct(&png, &info, nullptr);
        result.error = "out of memory";
        return result;
    }
    std::vector<png_bytep> rows;
    if (setjmp(png_jmpbuf(png))) {
        // What was read so far stays, marked damaged.
        markDamaged(result.report, context.message);
        png_destroy_read_struct(&png, &info, &endInfo);
        if (result.pixels.empty())
            result.error = "damaged file (" + context.message + ")";
        return result;
    }
    png_set_read_fn(png, &source, readFromMemory);
    png_read_info(png, info);
    describe(png, info, result.report);
    const bool wide = keep16 && png_get_bit_depth(png, info) == 16;
    const bool alpha = keep16 && result.report.hasAlpha;
    askForBgr(png, info, keep16, alpha);
    cv::Mat pixels(int(png_get_image_height(png, info)), int(png_get_image_width(png, info)),
                   CV_MAKETYPE(wide ? CV_16U : CV_8U, alpha ? 4 : 3), cv::Scalar::all(0));
    result.pixels = pixels;
    rows.resize(size_t(pixels.rows));
    for (int y = 0; y < pixels.rows; ++y)
        rows[size_t(y)] = pixels.ptr(y);
    png_read_image(png, rows.data());
    png_read_end(png, endInfo);
    png_destroy_read_struct(&png, &info, &endInfo);
    return result;
}

namespace {

// The metadata chunks of a PNG as libpng writes them: the profile in iCCP,
// EXIF in eXIf, XMP in its iTXt chunk, and IPTC in the "Raw profile type
// iptc" text that readers of PNG metadata look for (the datasets as hex).
struct PngMetadata
{
    std::string xmp;
    std::string iptcHex;
    std::vector<png_text> texts;

    explicit PngMetadata(const Metadata &metadata) : xmp(metadata.xmp)
    {
        if (!metadata.iptc.empty()) {
            static const char kHex[] = "0123456789abcdef";
            char length[16];
            std::snprintf(length, sizeof length, "%8zu", metadata.iptc.size());
            iptcHex = std::string("\niptc\n") + length + "\n";
            for (size_t i = 0; i < metadata.iptc.size(); ++i) {
                iptcHex += kHex[metadata.iptc[i] >> 4];
                iptcHex += kHex[metadata.iptc[i] & 15];
                if (i % 36 == 35 || i + 1 == metadata.iptc.size())
                    iptcHex += '\n';
            }
        }
        if (!xmp.empty())
            texts.push_back(text(PNG_ITXT_COMPRESSION_NONE, "XML:com.adobe.xmp", xmp));
        if (!iptcHex.empty())
            texts.push_back(text(PNG_TEXT_COMPRESSION_zTXt, "Raw profile type iptc", iptcHex));
    }

    static png_text text(int compression, const char *key, std::string &value)
    {
        png_text t{};
        t.compression = compression;
        t.key = const_cast<char *>(key);
        t.text = value.data();
        t.text_length = compression == PNG_ITXT_COMPRESSION_NONE ? 0 : value.size();
        t.itxt_length = compression == PNG_ITXT_COMPRESSION_NONE ? value.size() : 0;
        return t;
    }
};

void setMetadata(png_structp png, png_infop info, const Metadata &metadata, PngMetadata &chunks)
{
    if (!metadata.icc.empty())
        png_set_iCCP(png, info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, metadata.icc.data(),
                     png_uint_32(metadata.icc.size()));
#ifdef PNG_eXIf_SUPPORTED
    if (!metadata.exif.empty())
        png_set_eXIf_1(png, info, png_uint_32(metadata.exif.size()), const_cast<png_bytep>(metadata.exif.data()));
#endif
    if (!chunks.texts.empty())
        png_set_text(png, info, chunks.texts.data(), int(chunks.texts.size()));
}

} // namespace

Encoded encodePng(const cv::Mat &image, const EncodeOptions &options, const Metadata &metadata)
{
    Encoded result;
    const int channels = image.channels();
    if ((image.depth() != CV_8U && image.depth() != CV_16U) || (channels != 1 && channels != 3 && channels != 4)) {
        result.error = "PNG takes 8- or 16-bit grey or colour pixels";
        return result;
    }
    Context context;
    PngMetadata chunks(metadata);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &context, onError, onWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        result.error = "out of memory";
        return result;
    }
    std::vector<png_bytep> rows(size_t(image.rows));
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        result.bytes.clear();
        result.error = "PNG encoder: " + context.message;
        return result;
    }
    png_set_write_fn(png, &result.bytes, writeToMemory, flushMemory);
    // A profile libpng knows as a faulty sRGB (the one many cameras and
    // scanners embedded for years) is still the photo's: written as it was
    // read, with libpng's objection taken as the warning it is on reading.
    png_set_benign_errors(png, 1);
    // OpenCV's choice: a level asked for is used with zlib's default
    // strategy; without one, the fastest level, the SUB filter and RLE.
    if (options.pngCompression >= 0) {
        png_set_compression_level(png, std::min(options.pngCompression, 9));
        png_set_compression_strategy(png, Z_DEFAULT_STRATEGY);
    } else {
        png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
        png_set_compression_level(png, Z_BEST_SPEED);
        png_set_compression_strategy(png, Z_RLE);
    }
    png_set_IHDR(png, info, png_uint_32(image.cols), png_uint_32(image.rows),
                 image.depth() == CV_8U ? 8 : 16,
                 channels == 1 ? PNG_COLOR_TYPE_GRAY : channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGBA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    setMetadata(png, info, metadata, chunks);
    png_write_info(png, info);
    png_set_bgr(png);
    png_set_swap(png);
    for (int y = 0; y < image.rows; ++y)
        rows[size_t(y)] = const_cast<uint8_t *>(image.ptr(y));
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return result;
}

} // namespace photoio::detail
