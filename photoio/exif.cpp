// The one EXIF tag that changes decoded pixels: orientation.

#include "codecs.h"

namespace photoio::detail {
namespace {

struct TiffReader
{
    const uint8_t *data;
    size_t size;
    bool intel;

    bool u16(size_t at, unsigned &value) const
    {
        if (at + 2 > size)
            return false;
        value = intel ? unsigned(data[at] | data[at + 1] << 8) : unsigned(data[at] << 8 | data[at + 1]);
        return true;
    }
    bool u32(size_t at, uint32_t &value) const
    {
        unsigned a, b;
        if (!u16(at, a) || !u16(at + 2, b))
            return false;
        value = intel ? (uint32_t(b) << 16 | a) : (uint32_t(a) << 16 | b);
        return true;
    }
};

constexpr unsigned kOrientationTag = 0x0112;

} // namespace

int exifOrientation(const uint8_t *data, size_t size)
{
    if (size < 8 || data[0] != data[1] || (data[0] != 'I' && data[0] != 'M'))
        return 1;
    const TiffReader tiff{data, size, data[0] == 'I'};
    uint32_t ifd = 0;
    unsigned entries = 0;
    if (!tiff.u32(4, ifd) || !tiff.u16(ifd, entries))
        return 1;
    for (unsigned i = 0; i < entries; ++i) {
        const size_t entry = size_t(ifd) + 2 + size_t(i) * 12;
        unsigned tag = 0, value = 0;
        if (!tiff.u16(entry, tag))
            return 1;
        if (tag == kOrientationTag)
            return tiff.u16(entry + 8, value) && value >= 1 && value <= 8 ? int(value) : 1;
    }
    return 1;
}

void applyExifOrientation(cv::Mat &image, int orientation)
{
    if (image.empty() || orientation <= 1 || orientation > 8)
        return;
    if (orientation >= 5)
        cv::transpose(image, image);
    switch (orientation) {
    case 2: case 6: cv::flip(image, image, 1); break;   // left-right
    case 3: case 7: cv::flip(image, image, -1); break;  // half a turn
    case 4: case 8: cv::flip(image, image, 0); break;   // top-bottom
    default: break; // 5: transposed only
    }
}

} // namespace photoio::detail
