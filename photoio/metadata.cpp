// EXIF, XMP, IPTC and the ICC profile, read from a file and written into an
// encoded one, through Exiv2. Nothing here parses a metadata block itself.
//
// Exiv2's XMP toolkit is not thread-safe without a lock, and its image
// classes keep global state for messages, so every call goes through one
// mutex; each call takes a fraction of a millisecond next to the pixels.

#include "codecs.h"

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <mutex>

namespace photoio::detail {
namespace {

std::mutex &exiv2Lock()
{
    static std::mutex lock;
    return lock;
}

void lockXmp(void *data, bool lock)
{
    auto *mutex = static_cast<std::mutex *>(data);
    if (lock)
        mutex->lock();
    else
        mutex->unlock();
}

// Once per process: the XMP toolkit with its own lock, Exiv2's warnings
// muted (a damaged metadata block means no metadata, not a message).
void initialiseExiv2()
{
    static std::once_flag once;
    static std::mutex xmpMutex;
    std::call_once(once, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize(lockXmp, &xmpMutex);
    });
}

// Tags of a TIFF file's first directory that describe its pixels, not the
// photo: they belong to whichever file is written, never carried over.
bool isImageStructureTag(uint16_t tag)
{
    static const uint16_t kTags[] = {
        0x00fe, 0x00ff, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x0107, 0x010a, 0x0111,
        0x0115, 0x0116, 0x0117, 0x0118, 0x0119, 0x011c, 0x013d, 0x0142, 0x0143, 0x0144,
        0x0145, 0x014a, 0x0152, 0x0153, 0x0154, 0x0155, 0x015b, 0x0201, 0x0202, 0x0212,
        // Blocks carried separately (XMP, IPTC, Photoshop resources, ICC).
        0x02bc, 0x83bb, 0x8649, 0x8773,
    };
    return std::find(std::begin(kTags), std::end(kTags), tag) != std::end(kTags);
}

// What a file's EXIF should keep once its pixels are gone: no structure
// tags, no sub-images, no preview of the old pixels.
void keepPhotoTagsOnly(Exiv2::ExifData &exif)
{
    Exiv2::ExifThumb(exif).erase();
    for (auto it = exif.begin(); it != exif.end();) {
        const std::string group = it->groupName();
        const bool image = group == "Image" && isImageStructureTag(it->tag());
        const bool other = group.rfind("SubImage", 0) == 0 || group.rfind("SubThumb", 0) == 0
                           || group == "Thumbnail" || (group.rfind("Image", 0) == 0 && group != "Image");
        it = image || other ? exif.erase(it) : std::next(it);
    }
}

std::vector<uint8_t> toBytes(const Exiv2::DataBuf &buffer)
{
    if (!buffer.pData_ || buffer.size_ <= 0)
        return {};
    return std::vector<uint8_t>(buffer.pData_, buffer.pData_ + buffer.size_);
}

// The XMP packet as stored, not re-serialised; TIFF files keep it in a tag.
std::string xmpPacketOf(Exiv2::Image &image)
{
    image.writeXmpFromPacket(true);
    std::string packet = image.xmpPacket();
    if (!packet.empty())
        return packet;
    const Exiv2::ExifData &exif = image.exifData();
    const auto tag = exif.findKey(Exiv2::ExifKey("Exif.Image.XMLPacket"));
    if (tag != exif.end() && tag->size() > 0) {
        std::vector<uint8_t> bytes(tag->size());
        tag->copy(bytes.data(), Exiv2::invalidByteOrder);
        return std::string(bytes.begin(), bytes.end());
    }
    if (!image.xmpData().empty())
        Exiv2::XmpParser::encode(packet, image.xmpData(), Exiv2::XmpParser::useCompactFormat);
    return packet;
}

int orientationOf(const Exiv2::ExifData &exif)
{
    const auto it = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    if (it == exif.end() || it->count() == 0)
        return 1;
    const long value = it->toLong();
    return value >= 1 && value <= 8 ? int(value) : 1;
}

// The pixels written are upright and of `size`: the tags say so.
void describeUprightPixels(Exiv2::ExifData &exif, const cv::Size &size)
{
    if (exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation")) != exif.end())
        exif["Exif.Image.Orientation"] = uint16_t(1);
    if (exif.findKey(Exiv2::ExifKey("Exif.Photo.PixelXDimension")) != exif.end())
        exif["Exif.Photo.PixelXDimension"] = uint32_t(size.width);
    if (exif.findKey(Exiv2::ExifKey("Exif.Photo.PixelYDimension")) != exif.end())
        exif["Exif.Photo.PixelYDimension"] = uint32_t(size.height);
}

// XMP repeats the orientation and may hold previews too. Returns true if
// the packet had to change.
bool describeUprightPixels(Exiv2::XmpData &xmp)
{
    bool changed = false;
    const auto orientation = xmp.findKey(Exiv2::XmpKey("Xmp.tiff.Orientation"));
    if (orientation != xmp.end() && orientation->toString() != "1") {
        xmp["Xmp.tiff.Orientation"] = "1";
        changed = true;
    }
    for (auto it = xmp.begin(); it != xmp.end();) {
        const bool preview = it->key().rfind("Xmp.xmp.Thumbnails", 0) == 0
                             || it->key().rfind("Xmp.xmpGImg.", 0) == 0;
        changed |= preview;
        it = preview ? xmp.erase(it) : std::next(it);
    }
    return changed;
}

} // namespace

Metadata readMetadata(const uint8_t *data, size_t size, int &orientation)
{
    Metadata metadata;
    orientation = 1;
    initialiseExiv2();
    std::lock_guard<std::mutex> guard(exiv2Lock());
    try {
        auto image = Exiv2::ImageFactory::open(data, long(size));
        if (!image.get())
            return metadata;
        image->readMetadata();
        Exiv2::ExifData exif = image->exifData();
        orientation = orientationOf(exif);
        const std::string xmpPacket = xmpPacketOf(*image);
        keepPhotoTagsOnly(exif);
        if (!exif.empty()) {
            Exiv2::Blob blob;
            const Exiv2::ByteOrder order =
                image->byteOrder() == Exiv2::invalidByteOrder ? Exiv2::littleEndian : image->byteOrder();
            Exiv2::ExifParser::encode(blob, order, exif);
            metadata.exif.assign(blob.begin(), blob.end());
        }
        metadata.xmp = xmpPacket;
        if (!image->iptcData().empty()) {
            const Exiv2::DataBuf iptc = Exiv2::IptcParser::encode(image->iptcData());
            metadata.iptc = toBytes(iptc);
        }
        if (image->iccProfileDefined()) // TIFF's profile tag too
            metadata.icc = toBytes(*image->iccProfile());
    } catch (...) {
        // Unreadable metadata is no metadata; the pixels decide whether the
        // file is damaged.
        orientation = 1;
        return Metadata();
    }
    return metadata;
}

std::vector<uint8_t> photoTagsOnly(const uint8_t *data, size_t size)
{
    initialiseExiv2();
    std::lock_guard<std::mutex> guard(exiv2Lock());
    try {
        Exiv2::ExifData exif;
        const Exiv2::ByteOrder order = Exiv2::ExifParser::decode(exif, data, uint32_t(size));
        keepPhotoTagsOnly(exif);
        if (exif.empty())
            return {};
        Exiv2::Blob blob;
        Exiv2::ExifParser::encode(blob, order == Exiv2::invalidByteOrder ? Exiv2::littleEndian : order, exif);
        return std::vector<uint8_t>(blob.begin(), blob.end());
    } catch (...) {
        return {};
    }
}

Metadata metadataForUprightPixels(const Metadata &metadata, const cv::Size &size)
{
    Metadata ready = metadata;
    if (metadata.exif.empty() && metadata.xmp.empty())
        return ready;
    initialiseExiv2();
    std::lock_guard<std::mutex> guard(exiv2Lock());
    try {
        if (!metadata.exif.empty()) {
            Exiv2::ExifData exif;
            const Exiv2::ByteOrder order =
                Exiv2::ExifParser::decode(exif, metadata.exif.data(), uint32_t(metadata.exif.size()));
            keepPhotoTagsOnly(exif);
            describeUprightPixels(exif, size);
            Exiv2::Blob blob;
            Exiv2::ExifParser::encode(blob, order == Exiv2::invalidByteOrder ? Exiv2::littleEndian : order, exif);
            ready.exif.assign(blob.begin(), blob.end());
        }
        Exiv2::XmpData xmp;
        if (!metadata.xmp.empty() && Exiv2::XmpParser::decode(xmp, metadata.xmp) == 0 && describeUprightPixels(xmp))
            Exiv2::XmpParser::encode(ready.xmp, xmp, Exiv2::XmpParser::useCompactFormat);
    } catch (...) {
        // A block Exiv2 cannot take apart is not written: it may hold a preview.
        ready.exif.clear();
        ready.xmp.clear();
    }
    return ready;
}

std::string writeMetadata(std::vector<uint8_t> &bytes, Codec codec, const Metadata &metadata)
{
    if (metadata.empty() || codec == Codec::Other || codec == Codec::Png || codec == Codec::Heif
        || codec == Codec::Avif)
        return {};
    if (codec == Codec::Webp)
        return addWebpChunks(bytes, metadata);
    initialiseExiv2();
    std::lock_guard<std::mutex> guard(exiv2Lock());
    try {
        auto image = Exiv2::ImageFactory::open(bytes.data(), long(bytes.size()));
        image->readMetadata(); // TIFF: the structure our encoder wrote
        if (!metadata.exif.empty()) {
            Exiv2::ExifData carried;
            Exiv2::ExifParser::decode(carried, metadata.exif.data(), uint32_t(metadata.exif.size()));
            Exiv2::ExifData &target = image->exifData();
            for (const Exiv2::Exifdatum &datum : carried) {
                if (target.findKey(Exiv2::ExifKey(datum.key())) == target.end())
                    target.add(datum);
            }
        }
        if (!metadata.xmp.empty()) {
            image->setXmpPacket(metadata.xmp);
            image->writeXmpFromPacket(true);
        }
        if (!metadata.iptc.empty()) {
            Exiv2::IptcData iptc;
            if (Exiv2::IptcParser::decode(iptc, metadata.iptc.data(), uint32_t(metadata.iptc.size())) == 0)
                image->setIptcData(iptc);
        }
        if (!metadata.icc.empty()) {
            Exiv2::DataBuf icc(metadata.icc.data(), long(metadata.icc.size()));
            image->setIccProfile(icc, false);
        }
        image->writeMetadata();
        Exiv2::BasicIo &io = image->io();
        if (io.open() != 0)
            return "cannot add the metadata";
        const long length = io.size();
        std::vector<uint8_t> written(size_t(std::max(0L, length)));
        const long got = length > 0 ? io.read(written.data(), length) : 0;
        io.close();
        if (got != length || length <= 0)
            return "cannot add the metadata";
        bytes.swap(written);
    } catch (const std::exception &e) {
        return std::string("cannot add the metadata (") + e.what() + ")";
    } catch (...) {
        return "cannot add the metadata";
    }
    return {};
}

} // namespace photoio::detail
