// HEIC, HEIF and AVIF through libheif: decoded upright (libheif applies the
// file's rotation and mirroring boxes; the EXIF orientation of such a file
// only repeats them and is not applied again), with the EXIF block, the XMP
// packet and the colour profile the file carries; encoded with x265 (HEIC)
// or the AV1 encoder (AVIF), the metadata written in by libheif.

#include "codecs.h"

#include <libheif/heif.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

namespace photoio::detail {
namespace {

void initialiseLibheif()
{
    static std::once_flag once;
    std::call_once(once, [] { heif_init(nullptr); });
}

struct ContextDeleter { void operator()(heif_context *c) const { heif_context_free(c); } };
struct HandleDeleter { void operator()(heif_image_handle *h) const { heif_image_handle_release(h); } };
struct ImageDeleter { void operator()(heif_image *i) const { heif_image_release(i); } };
struct EncoderDeleter { void operator()(heif_encoder *e) const { heif_encoder_release(e); } };
using Context = std::unique_ptr<heif_context, ContextDeleter>;
using Handle = std::unique_ptr<heif_image_handle, HandleDeleter>;
using Image = std::unique_ptr<heif_image, ImageDeleter>;
using Encoder = std::unique_ptr<heif_encoder, EncoderDeleter>;

// A metadata block of `type` ("Exif", "mime"), or empty.
std::vector<uint8_t> metadataBlock(const heif_image_handle *handle, const char *type, const char *contentType)
{
    heif_item_id id = 0;
    const int count = heif_image_handle_get_list_of_metadata_block_IDs(handle, type, &id, 1);
    if (count < 1)
        return {};
    if (contentType) {
        const char *actual = heif_image_handle_get_metadata_content_type(handle, id);
        if (!actual || std::string(actual) != contentType)
            return {};
    }
    std::vector<uint8_t> block(heif_image_handle_get_metadata_size(handle, id));
    if (block.empty() || heif_image_handle_get_metadata(handle, id, block.data()).code != heif_error_Ok)
        return {};
    return block;
}

Metadata readHeifMetadata(const heif_image_handle *handle)
{
    Metadata metadata;
    // An EXIF item starts with the offset of its TIFF header past 4 bytes.
    const std::vector<uint8_t> exif = metadataBlock(handle, "Exif", nullptr);
    if (exif.size() > 4) {
        const size_t offset = 4 + (size_t(exif[0]) << 24 | size_t(exif[1]) << 16 | size_t(exif[2]) << 8 | exif[3]);
        if (offset < exif.size())
            metadata.exif = photoTagsOnly(exif.data() + offset, exif.size() - offset);
    }
    const std::vector<uint8_t> xmp = metadataBlock(handle, "mime", "application/rdf+xml");
    metadata.xmp.assign(xmp.begin(), xmp.end());
    const size_t iccSize = heif_image_handle_get_raw_color_profile_size(handle);
    if (iccSize > 0) {
        metadata.icc.resize(iccSize);
        if (heif_image_handle_get_raw_color_profile(handle, metadata.icc.data()).code != heif_error_Ok)
            metadata.icc.clear();
    }
    return metadata;
}

heif_error writeToVector(heif_context *, const void *data, size_t size, void *target)
{
    auto *bytes = static_cast<std::vector<uint8_t> *>(target);
    const auto *p = static_cast<const uint8_t *>(data);
    bytes->insert(bytes->end(), p, p + size);
    return heif_error{heif_error_Ok, heif_suberror_Unspecified, "ok"};
}

} // namespace

bool isHeif(const uint8_t *data, size_t size)
{
    if (size < 12)
        return false;
    initialiseLibheif();
    const heif_filetype_result type = heif_check_filetype(data, int(std::min<size_t>(size, 1 << 20)));
    return type == heif_filetype_yes_supported || type == heif_filetype_maybe;
}

Decoded decodeHeif(const uint8_t *data, size_t size)
{
    initialiseLibheif();
    Decoded result;
    result.report.codec = Codec::Heif;
    Context context(heif_context_alloc());
    heif_image_handle *rawHandle = nullptr;
    heif_error error = heif_context_read_from_memory_without_copy(context.get(), data, size, nullptr);
    if (error.code == heif_error_Ok)
        error = heif_context_get_primary_image_handle(context.get(), &rawHandle);
    if (error.code != heif_error_Ok) {
        result.error = std::string("damaged file (") + error.message + ")";
        markDamaged(result.report, error.message);
        return result;
    }
    Handle handle(rawHandle);
    result.report.bitsPerSample = heif_image_handle_get_luma_bits_per_pixel(handle.get());
    result.report.hasAlpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    result.report.channels = result.report.hasAlpha ? 4 : 3;
    heif_image *rawImage = nullptr;
    error = heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr);
    Image image(rawImage);
    int stride = 0;
    const uint8_t *plane = image ? heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride) : nullptr;
    if (error.code != heif_error_Ok || !plane) {
        const std::string why = error.code != heif_error_Ok ? error.message : "no picture in the file";
        result.error = "damaged file (" + why + ")";
        markDamaged(result.report, why);
        return result;
    }
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    cv::Mat pixels(height, width, CV_8UC3);
    for (int y = 0; y < height; ++y) {
        const uint8_t *rgb = plane + size_t(y) * size_t(stride);
        uint8_t *bgr = pixels.ptr(y);
        for (int x = 0; x < width; ++x, rgb += 3, bgr += 3) {
            bgr[0] = rgb[2];
            bgr[1] = rgb[1];
            bgr[2] = rgb[0];
        }
    }
    result.pixels = pixels;
    result.metadata = readHeifMetadata(handle.get());
    return result;
}

Encoded encodeHeif(const cv::Mat &image, const EncodeOptions &options, const Metadata &metadata, bool av1)
{
    initialiseLibheif();
    Encoded result;
    if (image.depth() != CV_8U || (image.channels() != 1 && image.channels() != 3 && image.channels() != 4)) {
        result.error = std::string(av1 ? "AVIF" : "HEIC") + " takes 8-bit grey or colour pixels";
        return result;
    }
    Context context(heif_context_alloc());
    heif_encoder *rawEncoder = nullptr;
    heif_error error = heif_context_get_encoder_for_format(
        context.get(), av1 ? heif_compression_AV1 : heif_compression_HEVC, &rawEncoder);
    Encoder encoder(rawEncoder);
    if (error.code != heif_error_Ok) {
        result.error = std::string("no ") + (av1 ? "AVIF" : "HEIC") + " encoder (" + error.message + ")";
        return result;
    }
    heif_encoder_set_lossy_quality(encoder.get(), std::clamp(options.heifQuality, 0, 100));
    heif_image *rawImage = nullptr;
    error = heif_image_create(image.cols, image.rows, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &rawImage);
    Image picture(rawImage);
    if (error.code == heif_error_Ok)
        error = heif_image_add_plane(picture.get(), heif_channel_interleaved, image.cols, image.rows, 8);
    int stride = 0;
    uint8_t *plane = error.code == heif_error_Ok ? heif_image_get_plane(picture.get(), heif_channel_interleaved, &stride) : nullptr;
    if (!plane) {
        result.error = "not enough memory to encode";
        return result;
    }
    const int channels = image.channels();
    for (int y = 0; y < image.rows; ++y) {
        const uint8_t *bgr = image.ptr(y);
        uint8_t *rgb = plane + size_t(y) * size_t(stride);
        for (int x = 0; x < image.cols; ++x, bgr += channels, rgb += 3) {
            rgb[0] = channels == 1 ? bgr[0] : bgr[2];
            rgb[1] = channels == 1 ? bgr[0] : bgr[1];
            rgb[2] = bgr[0];
        }
    }
    if (!metadata.icc.empty())
        heif_image_set_raw_color_profile(picture.get(), "prof", metadata.icc.data(), metadata.icc.size());
    heif_image_handle *rawHandle = nullptr;
    error = heif_context_encode_image(context.get(), picture.get(), encoder.get(), nullptr, &rawHandle);
    Handle handle(rawHandle);
    if (error.code == heif_error_Ok && !metadata.exif.empty())
        error = heif_context_add_exif_metadata(context.get(), handle.get(), metadata.exif.data(), int(metadata.exif.size()));
    if (error.code == heif_error_Ok && !metadata.xmp.empty())
        error = heif_context_add_XMP_metadata(context.get(), handle.get(), metadata.xmp.data(), int(metadata.xmp.size()));
    if (error.code == heif_error_Ok) {
        heif_writer writer{1, writeToVector};
        error = heif_context_write(context.get(), &writer, &result.bytes);
    }
    if (error.code != heif_error_Ok) {
        result.bytes.clear();
        result.error = std::string(av1 ? "AVIF" : "HEIC") + " encoder: " + error.message;
    }
    return result;
}

} // namespace photoio::detail
