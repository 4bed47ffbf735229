#ifndef MERVANE_TESTS_COMMON_TURNEDHEIC_H
#define MERVANE_TESTS_COMMON_TURNEDHEIC_H

// A HEIC as a phone held upright writes it: the pixels stored turned a
// quarter to the left, with a rotation box saying "turn 90 clockwise",
// written with libheif (the HEVC encoder Debian ships with it). Opened
// right, it shows `upright`. Needs the test to link libheif.

#include <libheif/heif.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <string>

namespace turnedheic {

// Empty on success, else libheif's reason.
inline std::string write(const cv::Mat &upright, const std::string &path)
{
    cv::Mat stored;
    cv::rotate(upright, stored, cv::ROTATE_90_COUNTERCLOCKWISE);
    cv::Mat rgb;
    cv::cvtColor(stored, rgb, cv::COLOR_BGR2RGB);

    heif_context *ctx = heif_context_alloc();
    heif_encoder *encoder = nullptr;
    heif_image *image = nullptr;
    heif_encoding_options *options = nullptr;
    heif_error error = heif_context_get_encoder_for_format(ctx, heif_compression_HEVC, &encoder);
    if (error.code == heif_error_Ok) {
        heif_encoder_set_lossy_quality(encoder, 90);
        error = heif_image_create(rgb.cols, rgb.rows, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
    }
    if (error.code == heif_error_Ok)
        error = heif_image_add_plane(image, heif_channel_interleaved, rgb.cols, rgb.rows, 8);
    if (error.code == heif_error_Ok) {
        int stride = 0;
        uint8_t *plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
        for (int y = 0; y < rgb.rows; ++y)
            std::memcpy(plane + size_t(y) * size_t(stride), rgb.ptr(y), size_t(rgb.cols) * 3);
        options = heif_encoding_options_alloc();
        options->image_orientation = heif_orientation_rotate_90_cw;
        error = heif_context_encode_image(ctx, image, encoder, options, nullptr);
    }
    if (error.code == heif_error_Ok)
        error = heif_context_write_to_file(ctx, path.c_str());
    const std::string why = error.code == heif_error_Ok ? std::string() : std::string(error.message);
    if (options)
        heif_encoding_options_free(options);
    if (image)
        heif_image_release(image);
    if (encoder)
        heif_encoder_release(encoder);
    heif_context_free(ctx);
    return why;
}

} // namespace turnedheic

#endif // MERVANE_TESTS_COMMON_TURNEDHEIC_H
