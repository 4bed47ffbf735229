// HEIC and AVIF through the photo I/O module: files made by Debian's
// heif-enc from a tagged sample photo open with their EXIF, XMP and colour
// profile; a file whose rotation box turns it opens upright; what we write
// opens again with its metadata; damaged files are refused.

#include "photoio.h"
#include "samples.h"
#include "taggedphoto.h"
#include "turnedheic.h"

#include <gtest/gtest.h>
#include <libheif/heif.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QTemporaryDir>

namespace {

const std::string kPhoto = "/usr/lib/python3/dist-packages/skimage/data/chelsea.png";

std::vector<uint8_t> bytesOf(const QByteArray &a) { return std::vector<uint8_t>(a.begin(), a.end()); }

double psnr(const cv::Mat &a, const cv::Mat &b) { return cv::PSNR(a, b); }

class Heif : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        photo = cv::imread(kPhoto, cv::IMREAD_COLOR);
        ASSERT_FALSE(photo.empty()) << kPhoto << " is missing (python3-skimage)";
        cv::resize(photo, photo, cv::Size(240, 160), 0, 0, cv::INTER_AREA);
    }
    std::string path(const std::string &name) const { return dir.path().toStdString() + "/" + name; }

    QTemporaryDir dir;
    cv::Mat photo;
};

TEST_F(Heif, HeifEncFilesOpenWithTheirMetadata)
{
    const std::string jpeg = path("tagged.jpg");
    ASSERT_EQ(taggedphoto::writeTaggedJpeg(photo, jpeg, path("thumb.jpg")).status, 0);
    // Upright as stored: heif-enc copies the EXIF but does not turn pixels.
    ASSERT_EQ(taggedphoto::exiftool({"-q", "-overwrite_original", "-n", "-EXIF:Orientation=1",
                                     QString::fromStdString(jpeg)}).status, 0);
    for (const std::string suffix : {"heic", "avif"}) {
        SCOPED_TRACE(suffix);
        const std::string file = path("made." + suffix);
        QProcess enc;
        enc.start("heif-enc", {"-q", "90", QString::fromStdString(jpeg), "-o", QString::fromStdString(file)});
        ASSERT_TRUE(enc.waitForFinished(120000));
        ASSERT_EQ(enc.exitCode(), 0) << enc.readAllStandardError().toStdString();
        const photoio::Decoded d = photoio::decodeFile(file);
        ASSERT_TRUE(d.readable()) << d.error;
        EXPECT_EQ(d.report.codec, photoio::Codec::Heif);
        EXPECT_FALSE(d.report.damaged);
        EXPECT_EQ(d.pixels.size(), photo.size());
        EXPECT_GT(psnr(d.pixels, photo), 30.0);
        EXPECT_EQ(d.metadata.icc, bytesOf(taggedphoto::fileBytes(taggedphoto::profilePath())));
        EXPECT_NE(d.metadata.xmp.find("Harbour at dawn"), std::string::npos);
        ASSERT_FALSE(d.metadata.exif.empty());

        // Written again by us, it keeps them; the preview is gone.
        const photoio::Encoded e = photoio::encode(d.pixels, suffix, photoio::EncodeOptions(), d.metadata);
        ASSERT_TRUE(e.ok()) << e.error;
        const std::string out = path("out." + suffix);
        ASSERT_EQ(photoio::writeFileChecked(out, e.bytes), "");
        const QJsonObject tags = taggedphoto::readTags(out);
        EXPECT_EQ(tags.value("EXIF:Artist").toString(), "Ada Example");
        EXPECT_EQ(tags.value("EXIF:Make").toString(), "Testcam");
        EXPECT_EQ(tags.value("XMP:Title").toString(), "Harbour at dawn");
        EXPECT_EQ(taggedphoto::readBlock(out, "ICC_Profile"), taggedphoto::fileBytes(taggedphoto::profilePath()));
        EXPECT_TRUE(taggedphoto::readBlock(out, "ThumbnailImage").isEmpty());
        const photoio::Decoded back = photoio::decodeBytes(e.bytes);
        ASSERT_TRUE(back.readable()) << back.error;
        EXPECT_GT(psnr(back.pixels, d.pixels), 35.0) << "the default quality looks the same";
    }
}

TEST_F(Heif, RotationBoxesAreApplied)
{
    // Stored turned a quarter to the left, with a box saying "turn 90
    // clockwise": what a phone held upright writes.
    const std::string file = path("turned.heic");
    ASSERT_EQ(turnedheic::write(photo, file), "");

    const photoio::Decoded d = photoio::decodeFile(file);
    ASSERT_TRUE(d.readable()) << d.error;
    ASSERT_EQ(d.pixels.size(), photo.size()) << "opens upright";
    EXPECT_GT(psnr(d.pixels, photo), 30.0);
}

TEST_F(Heif, DamagedFilesAreRefused)
{
    const photoio::Encoded e = photoio::encode(photo, "heic");
    ASSERT_TRUE(e.ok()) << e.error;
    ASSERT_TRUE(photoio::decodeBytes(e.bytes).readable());
    for (const size_t keep : {e.bytes.size() / 2, size_t(40), size_t(16)}) {
        const std::vector<uint8_t> cut(e.bytes.begin(), e.bytes.begin() + std::ptrdiff_t(keep));
        const photoio::Decoded d = photoio::decodeBytes(cut);
        EXPECT_FALSE(d.readable() && !d.report.damaged) << "cut to " << keep << " bytes";
        if (!d.readable())
            EXPECT_FALSE(d.error.empty());
    }
    cv::Mat wide;
    photo.convertTo(wide, CV_16UC3, 257.0);
    EXPECT_NE(photoio::checkEncodable("avif", wide), "") << "8-bit pixels only";
}

} // namespace

namespace {

TEST(HeifSizes, TinyAndOddPicturesEncodeOrFailCleanly)
{
    for (const cv::Size size : {cv::Size(1, 1), cv::Size(3, 2), cv::Size(65, 1), cv::Size(17, 33)}) {
        cv::Mat picture(size, CV_8UC3);
        cv::randu(picture, 0, 256);
        for (const std::string suffix : {"heic", "avif"}) {
            const photoio::Encoded e = photoio::encode(picture, suffix);
            if (!e.ok()) {
                EXPECT_TRUE(e.bytes.empty());
                EXPECT_LT(size.area(), 17 * 33) << suffix << ": " << e.error;
                continue;
            }
            const photoio::Decoded d = photoio::decodeBytes(e.bytes);
            ASSERT_TRUE(d.readable()) << suffix << " " << size << ": " << d.error;
            EXPECT_EQ(d.pixels.size(), size) << suffix;
        }
    }
}

} // namespace
