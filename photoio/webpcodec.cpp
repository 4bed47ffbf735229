// WebP through libwebp, as OpenCV's codec calls it: BGR decoding that drops
// alpha, lossless encoding unless a quality of 100 or less is asked for.

#include "codecs.h"

#include <webp/decode.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>

namespace photoio::detail {

Decoded decodeWebp(const uint8_t *data, size_t size, bool keepAlpha)
{
    Decoded result;
    result.report.codec = Codec::Webp;
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(data, size, &features) != VP8_STATUS_OK) {
        markDamaged(result.report, "not a complete WebP header");
        result.error = "damaged file (not a complete WebP header)";
        return result;
    }
    result.report.hasAlpha = features.has_alpha != 0;
    result.report.channels = features.has_alpha ? 4 : 3;
    const bool alpha = keepAlpha && features.has_alpha;
    cv::Mat pixels(features.height, features.width, alpha ? CV_8UC4 : CV_8UC3);
    const bool decoded =
        alpha ? WebPDecodeBGRAInto(data, size, pixels.data, pixels.total() * 4, int(pixels.step)) != nullptr
              : WebPDecodeBGRInto(data, size, pixels.data, pixels.total() * 3, int(pixels.step)) != nullptr;
    if (!decoded) {
        markDamaged(result.report, "WebP data ends early or is corrupt");
        result.error = "damaged file (WebP data ends early or is corrupt)";
        return result;
    }
    result.pixels = pixels;
    return result;
}

Encoded encodeWebp(const cv::Mat &image, const EncodeOptions &options)
{
    Encoded result;
    const int channels = image.channels();
    if (image.depth() != CV_8U || (channels != 1 && channels != 3 && channels != 4)) {
        result.error = "WebP takes 8-bit grey or colour pixels";
        return result;
    }
    cv::Mat source = image;
    if (channels == 1) {
        static const int kGreyToBgr[] = {0, 0, 0, 1, 0, 2};
        source.create(image.size(), CV_8UC3);
        cv::mixChannels(&image, 1, &source, 1, kGreyToBgr, 3);
    }
    const bool lossless = options.webpQuality > 100;
    const float quality = float(std::max(options.webpQuality, 1));
    uint8_t *out = nullptr;
    size_t size = 0;
    const int stride = int(source.step);
    if (source.channels() == 3)
        size = lossless ? WebPEncodeLosslessBGR(source.ptr(), source.cols, source.rows, stride, &out)
                        : WebPEncodeBGR(source.ptr(), source.cols, source.rows, stride, quality, &out);
    else
        size = lossless ? WebPEncodeLosslessBGRA(source.ptr(), source.cols, source.rows, stride, &out)
                        : WebPEncodeBGRA(source.ptr(), source.cols, source.rows, stride, quality, &out);
    if (size == 0 || !out)
        result.error = "WebP encoder failed (sides are limited to 16383 pixels)";
    else
        result.bytes.assign(out, out + size);
    WebPFree(out);
    return result;
}

// The metadata chunks through libwebp's own muxer, which also adds the
// extended header they need. WebP has no IPTC chunk.
std::string addWebpChunks(std::vector<uint8_t> &bytes, const Metadata &metadata)
{
    const WebPData image{bytes.data(), bytes.size()};
    WebPMux *mux = WebPMuxCreate(&image, 1);
    if (!mux)
        return "cannot add the metadata (WebP muxer)";
    auto set = [mux](const char *fourcc, const uint8_t *data, size_t size) {
        const WebPData chunk{data, size};
        return size == 0 || WebPMuxSetChunk(mux, fourcc, &chunk, 1) == WEBP_MUX_OK;
    };
    const bool ok = set("ICCP", metadata.icc.data(), metadata.icc.size())
                    && set("EXIF", metadata.exif.data(), metadata.exif.size())
                    && set("XMP ", reinterpret_cast<const uint8_t *>(metadata.xmp.data()), metadata.xmp.size());
    WebPData assembled;
    WebPDataInit(&assembled);
    const bool assembledOk = ok && WebPMuxAssemble(mux, &assembled) == WEBP_MUX_OK;
    WebPMuxDelete(mux);
    if (!assembledOk) {
        WebPDataClear(&assembled);
        return "cannot add the metadata (WebP muxer)";
    }
    bytes.assign(assembled.bytes, assembled.bytes + assembled.size);
    WebPDataClear(&assembled);
    return {};
}

} // namespace photoio::detail
