// JPEG through libjpeg-turbo, set up as OpenCV's codec sets it up, so that
// pixels and bytes are the same as cv::imread / cv::imencode give.

#include "codecs.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <jerror.h>
#include <jpeglib.h>

namespace photoio::detail {
namespace {

// libjpeg reports fatal errors through error_exit (which must not return)
// and corruption it worked around through warnings (level -1).
struct ErrorManager
{
    jpeg_error_mgr pub;
    std::jmp_buf jump;
    DecodeReport *report = nullptr;
    std::string message;
};

std::string formatMessage(j_common_ptr info)
{
    char buffer[JMSG_LENGTH_MAX];
    (*info->err->format_message)(info, buffer);
    return buffer;
}

void onError(j_common_ptr info)
{
    auto *manager = reinterpret_cast<ErrorManager *>(info->err);
    manager->message = formatMessage(info);
    std::longjmp(manager->jump, 1);
}

// Warnings that say nothing about the pixels.
bool harmlessWarning(int code)
{
    return code == JWRN_JFIF_MAJOR || code == JWRN_ADOBE_XFORM || code == JWRN_BOGUS_ICC;
}

void onMessage(j_common_ptr info, int level)
{
    auto *manager = reinterpret_cast<ErrorManager *>(info->err);
    if (level >= 0 || !manager->report)
        return; // trace messages
    if (!harmlessWarning(info->err->msg_code))
        markDamaged(*manager->report, formatMessage(info));
}

ErrorManager *installErrors(j_common_ptr info, ErrorManager &manager, DecodeReport *report)
{
    info->err = jpeg_std_error(&manager.pub);
    manager.pub.error_exit = onError;
    manager.pub.emit_message = onMessage;
    manager.report = report;
    return &manager;
}

// As OpenCV converts: Adobe-style CMYK as libjpeg gives it.
void cmykToBgr(const uint8_t *cmyk, uint8_t *bgr, int width)
{
    for (int i = 0; i < width; ++i, bgr += 3, cmyk += 4) {
        const int k = cmyk[3];
        bgr[2] = uint8_t(k - ((255 - cmyk[0]) * k >> 8));
        bgr[1] = uint8_t(k - ((255 - cmyk[1]) * k >> 8));
        bgr[0] = uint8_t(k - ((255 - cmyk[2]) * k >> 8));
    }
}

// Reads the scanlines into `pixels`; stops early if libjpeg runs dry.
void readScanlines(jpeg_decompress_struct &info, cv::Mat &pixels, bool cmyk)
{
    std::vector<uint8_t> line(cmyk ? size_t(info.output_width) * 4 : 0);
    while (info.output_scanline < info.output_height) {
        uint8_t *row = pixels.ptr(int(info.output_scanline));
        JSAMPROW target = cmyk ? line.data() : row;
        if (jpeg_read_scanlines(&info, &target, 1) != 1)
            break;
        if (cmyk)
            cmykToBgr(line.data(), row, int(info.output_width));
    }
}

} // namespace

Decoded decodeJpeg(const uint8_t *data, size_t size, int reduction)
{
    Decoded result;
    result.report.codec = Codec::Jpeg;
    jpeg_decompress_struct info;
    ErrorManager manager;
    installErrors(reinterpret_cast<j_common_ptr>(&info), manager, &result.report);
    jpeg_create_decompress(&info);
    volatile bool started = false;
    if (setjmp(manager.jump)) {
        // A fatal error: what was read so far stays, marked damaged.
        markDamaged(result.report, manager.message);
        if (!started)
            result.pixels.release();
        jpeg_destroy_decompress(&info);
        if (result.pixels.empty())
            result.error = "damaged file (" + manager.message + ")";
        return result;
    }
    jpeg_mem_src(&info, data, static_cast<unsigned long>(size));
    jpeg_read_header(&info, TRUE);
    result.report.channels = info.num_components;
    result.report.bitsPerSample = info.data_precision;
    const bool cmyk = info.num_components == 4;
    info.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_BGR;
    info.out_color_components = cmyk ? 4 : 3;
    // A reduced decode scales in the inverse DCT: 1/8 takes little more
    // than each block's mean, and skips most of the work of a full decode.
    // The size is the library's: each side divided, rounded up.
    if (reduction > 1) {
        info.scale_num = 1;
        info.scale_denom = unsigned(reduction);
    }
    jpeg_start_decompress(&info);
    result.pixels.create(int(info.output_height), int(info.output_width), CV_8UC3);
    result.pixels.setTo(cv::Scalar::all(0));
    started = true;
    readScanlines(info, result.pixels, cmyk);
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return result;
}

Encoded encodeJpeg(const cv::Mat &image, const EncodeOptions &options)
{
    Encoded result;
    const int channels = image.channels();
    if (image.depth() != CV_8U || (channels != 1 && channels != 3 && channels != 4)) {
        result.error = "JPEG takes 8-bit grey or colour pixels";
        return result;
    }
    jpeg_compress_struct info;
    ErrorManager manager;
    installErrors(reinterpret_cast<j_common_ptr>(&info), manager, nullptr);
    jpeg_create_compress(&info);
    unsigned char *buffer = nullptr;
    unsigned long length = 0;
    if (setjmp(manager.jump)) {
        jpeg_destroy_compress(&info);
        std::free(buffer);
        result.bytes.clear();
        result.error = "JPEG encoder: " + manager.message;
        return result;
    }
    jpeg_mem_dest(&info, &buffer, &length);
    info.image_width = JDIMENSION(image.cols);
    info.image_height = JDIMENSION(image.rows);
    info.input_components = channels;
    info.in_color_space = channels == 3 ? JCS_EXT_BGR : channels == 4 ? JCS_EXT_BGRX : JCS_GRAYSCALE;
    jpeg_set_defaults(&info);
    info.restart_interval = 0;
    jpeg_set_quality(&info, std::clamp(options.jpegQuality, 0, 100), TRUE);
    jpeg_start_compress(&info, TRUE);
    for (int y = 0; y < image.rows; ++y) {
        JSAMPROW row = const_cast<uint8_t *>(image.ptr(y));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    result.bytes.assign(buffer, buffer + length);
    jpeg_destroy_compress(&info);
    std::free(buffer);
    return result;
}

} // namespace photoio::detail
