// Metadata through the photo I/O module: what a camera-style JPEG carries
// (EXIF, XMP, IPTC, ICC profile) comes out of a decode and goes into every
// format that holds it; the written file says Orientation 1 and has no
// preview thumbnail; a file without metadata encodes as before. And the
// other things a file carries beside its pixels: 16-bit samples and alpha,
// kept on request.

#include "photoio.h"
#include "samples.h"
#include "taggedphoto.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <QTemporaryDir>

#include <fstream>

namespace {

const std::string kPhoto = "/usr/lib/python3/dist-packages/skimage/data/chelsea.png";

std::vector<uint8_t> bytesOf(const QByteArray &a) { return std::vector<uint8_t>(a.begin(), a.end()); }

class Metadata : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        photo = cv::imread(kPhoto, cv::IMREAD_COLOR);
        ASSERT_FALSE(photo.empty()) << "sample picture " << kPhoto << " is missing (python3-skimage)";
        tagged = path("tagged.jpg");
        const taggedphoto::Run r = taggedphoto::writeTaggedJpeg(photo, tagged, path("thumb.jpg"));
        ASSERT_EQ(r.status, 0) << r.err.toStdString();
        decoded = photoio::decodeFile(tagged);
        ASSERT_TRUE(decoded.readable()) << decoded.error;
    }

    std::string path(const std::string &name) const { return dir.path().toStdString() + "/" + name; }

    std::string writeAs(const std::string &suffix, const photoio::Metadata &metadata)
    {
        const photoio::Encoded e = photoio::encode(decoded.pixels, suffix, photoio::EncodeOptions(), metadata);
        EXPECT_TRUE(e.ok()) << suffix << ": " << e.error;
        const std::string out = path("out." + suffix);
        EXPECT_EQ(photoio::writeFileChecked(out, e.bytes), "");
        return out;
    }

    QTemporaryDir dir;
    cv::Mat photo;
    std::string tagged;
    photoio::Decoded decoded;
};

TEST_F(Metadata, DecodeTurnsUprightAndCarriesEveryBlock)
{
    EXPECT_EQ(decoded.report.exifOrientation, 6);
    EXPECT_EQ(decoded.pixels.size(), cv::Size(photo.rows, photo.cols)) << "orientation 6 turns the pixels";
    EXPECT_FALSE(decoded.metadata.exif.empty());
    EXPECT_FALSE(decoded.metadata.xmp.empty());
    EXPECT_FALSE(decoded.metadata.iptc.empty());
    EXPECT_EQ(decoded.metadata.icc, bytesOf(taggedphoto::fileBytes(taggedphoto::profilePath())));
    EXPECT_EQ(decoded.metadata.xmp, taggedphoto::readBlock(tagged, "XMP").toStdString());
}

TEST_F(Metadata, EachFormatKeepsWhatItHolds)
{
    const QByteArray profile = taggedphoto::fileBytes(taggedphoto::profilePath());
    const QByteArray xmp = taggedphoto::readBlock(tagged, "XMP");
    ASSERT_FALSE(taggedphoto::readBlock(tagged, "ThumbnailImage").isEmpty()) << "the input has a preview";
    for (const std::string suffix : {"jpg", "png", "tif", "webp"}) {
        SCOPED_TRACE(suffix);
        const std::string out = writeAs(suffix, decoded.metadata);
        const QJsonObject tags = taggedphoto::readTags(out);
        taggedphoto::expectKept(tags, suffix != "webp"); // WebP holds no IPTC
        EXPECT_TRUE(taggedphoto::readBlock(out, "ThumbnailImage").isEmpty()) << "a preview of the old pixels";
        EXPECT_FALSE(tags.contains("EXIF:ThumbnailOffset"));
        EXPECT_EQ(taggedphoto::readBlock(out, "ICC_Profile"), profile) << "the profile byte for byte";
        EXPECT_EQ(taggedphoto::readBlock(out, "XMP"), xmp) << "the XMP packet byte for byte";
        // The pixels are what was encoded: metadata does not touch them.
        const photoio::Decoded back = photoio::decodeFile(out);
        ASSERT_TRUE(back.readable()) << back.error;
        EXPECT_EQ(back.report.exifOrientation, 1);
        EXPECT_EQ(back.pixels.size(), decoded.pixels.size());
        if (suffix != "jpg")
            EXPECT_EQ(cv::norm(back.pixels, decoded.pixels, cv::NORM_INF), 0);
        // And what was kept is kept again on the next save.
        EXPECT_EQ(back.metadata.icc, decoded.metadata.icc);
        EXPECT_EQ(back.metadata.xmp, decoded.metadata.xmp);
    }
}

TEST_F(Metadata, XmpOrientationAndPreviewsAreRewritten)
{
    ASSERT_EQ(taggedphoto::exiftool({"-q", "-overwrite_original", "-n", "-XMP-tiff:Orientation=6",
                                     QString::fromStdString(tagged)}).status, 0);
    const photoio::Decoded again = photoio::decodeFile(tagged);
    ASSERT_NE(again.metadata.xmp.find("Orientation"), std::string::npos);
    const photoio::Encoded e = photoio::encode(again.pixels, "jpg", photoio::EncodeOptions(), again.metadata);
    ASSERT_TRUE(e.ok()) << e.error;
    ASSERT_EQ(photoio::writeFileChecked(path("x.jpg"), e.bytes), "");
    const QJsonObject tags = taggedphoto::readTags(path("x.jpg"));
    EXPECT_EQ(tags.value("XMP:Orientation").toInt(), 1);
    EXPECT_EQ(tags.value("XMP:Creator").toString(), "Ada Example");
}

TEST(MetadataProfiles, AProfileLibpngCallsIncorrectIsWrittenAsRead)
{
    // This sample photo carries the sRGB profile libpng reports as "known
    // incorrect"; a PNG of it keeps it byte for byte instead of failing.
    const std::string photo = "/usr/lib/python3/dist-packages/skimage/data/hubble_deep_field.jpg";
    const photoio::Decoded d = photoio::decodeFile(photo);
    ASSERT_TRUE(d.readable()) << photo << " is missing (python3-skimage)";
    ASSERT_FALSE(d.metadata.icc.empty());
    const photoio::Encoded e = photoio::encode(d.pixels, "png", photoio::EncodeOptions(), d.metadata);
    ASSERT_TRUE(e.ok()) << e.error;
    const photoio::Decoded back = photoio::decodeBytes(e.bytes);
    ASSERT_TRUE(back.readable()) << back.error;
    EXPECT_FALSE(back.report.damaged) << back.report.damage;
    EXPECT_EQ(back.metadata.icc, d.metadata.icc);
    EXPECT_EQ(cv::norm(back.pixels, d.pixels, cv::NORM_INF), 0);
}

TEST_F(Metadata, NoMetadataWritesNone)
{
    for (const std::string suffix : {"jpg", "png", "tif", "webp"}) {
        SCOPED_TRACE(suffix);
        const std::string out = writeAs(suffix, photoio::Metadata());
        const QJsonObject tags = taggedphoto::readTags(out);
        for (auto it = tags.begin(); it != tags.end(); ++it) {
            const bool structure = it.key().startsWith("EXIF:") && suffix == "tif"; // TIFF's own tags
            if (!structure)
                EXPECT_FALSE(taggedphoto::isMetadataGroup(it.key())) << it.key().toStdString();
        }
        EXPECT_FALSE(tags.contains("EXIF:Artist"));
        EXPECT_TRUE(taggedphoto::readBlock(out, "ICC_Profile").isEmpty());
        // Without metadata the bytes are the plain encoder's.
        const photoio::Encoded plain = photoio::encode(decoded.pixels, suffix);
        EXPECT_EQ(bytesOf(taggedphoto::fileBytes(QString::fromStdString(out))), plain.bytes);
    }
}

TEST_F(Metadata, DamagedMetadataIsNoMetadataNotADamagedPhoto)
{
    // The EXIF block cut short: the pixels still decode, undamaged.
    std::vector<uint8_t> bytes = bytesOf(taggedphoto::fileBytes(QString::fromStdString(tagged)));
    for (size_t i = 0; i + 4 < bytes.size(); ++i) {
        if (bytes[i] == 0xFF && bytes[i + 1] == 0xE1) { // APP1: claim a length past its end
            bytes[i + 4] = 0x08; // "Exif" header becomes garbage
            bytes[i + 6] = 0x00;
            break;
        }
    }
    const photoio::Decoded d = photoio::decodeBytes(bytes);
    ASSERT_TRUE(d.readable()) << d.error;
    EXPECT_FALSE(d.report.damaged);
}

} // namespace

namespace {

// A smooth 16-bit picture: every level of a ramp, which 8 bits would band.
cv::Mat wideGradient(int rows, int cols)
{
    cv::Mat wide(rows, cols, CV_16UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            wide.at<cv::Vec3w>(y, x) = cv::Vec3w(ushort(x * 65535 / (cols - 1)), ushort(y * 65535 / (rows - 1)),
                                                 ushort((x + y) * 65535 / (rows + cols - 2)));
    return wide;
}

TEST(WideDecode, SixteenBitPngAndTiffKeepTheirSamples)
{
    const cv::Mat wide = wideGradient(97, 301);
    for (const std::string suffix : {"png", "tif"}) {
        SCOPED_TRACE(suffix);
        const photoio::Encoded e = photoio::encode(wide, suffix);
        ASSERT_TRUE(e.ok()) << e.error;
        const photoio::Decoded kept = photoio::decodeBytes(e.bytes, photoio::Depth::Keep);
        ASSERT_TRUE(kept.readable()) << kept.error;
        ASSERT_EQ(kept.pixels.type(), CV_16UC3);
        EXPECT_EQ(cv::norm(kept.pixels, wide, cv::NORM_INF), 0) << "every 16-bit sample as written";
        EXPECT_EQ(photoio::narrowingNote(kept.report, kept.pixels), "");
        const photoio::Decoded narrow = photoio::decodeBytes(e.bytes);
        ASSERT_EQ(narrow.pixels.type(), CV_8UC3);
        EXPECT_EQ(photoio::narrowingNote(narrow.report, narrow.pixels), "16-bit samples narrowed to 8 bits");
    }
    // Alpha, 8 and 16 bits, kept as stored.
    cv::Mat bgra(61, 97, CV_8UC4);
    cv::randu(bgra, 0, 256);
    cv::Mat bgra16;
    bgra.convertTo(bgra16, CV_16UC4, 257.0);
    for (const std::string suffix : {"png", "tif", "webp"}) {
        for (const cv::Mat &picture : {bgra, bgra16}) {
            if (suffix == "webp" && picture.depth() != CV_8U)
                continue;
            SCOPED_TRACE(suffix + " " + std::to_string(picture.depth()));
            const photoio::Encoded e = photoio::encode(picture, suffix);
            ASSERT_TRUE(e.ok()) << e.error;
            const photoio::Decoded kept = photoio::decodeBytes(e.bytes, photoio::Depth::Keep);
            ASSERT_EQ(kept.pixels.type(), picture.type());
            if (suffix != "webp") // lossless WebP may change colour under alpha 0
                EXPECT_EQ(cv::norm(kept.pixels, picture, cv::NORM_INF), 0);
            EXPECT_EQ(photoio::narrowingNote(kept.report, kept.pixels), "");
            EXPECT_EQ(photoio::decodeBytes(e.bytes).pixels.type(), CV_8UC3) << "narrowed by default";
        }
    }
    // 8-bit files are the same either way.
    const photoio::Encoded eight = photoio::encode(samples::photos(0).front(), "png");
    EXPECT_EQ(photoio::decodeBytes(eight.bytes, photoio::Depth::Keep).pixels.type(), CV_8UC3);
}

} // namespace
