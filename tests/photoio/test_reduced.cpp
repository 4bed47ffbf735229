// Reduced decodes for thumbnails: the size rule, the orientation, and
// closeness to a full decode reduced by area, for JPEG and other formats.
#include "photoio.h"
#include "samples.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

// A photograph large enough for every reduction to mean something, and of
// sides that are no multiple of 8.
cv::Mat bigPhoto()
{
    const cv::Mat small = cv::imread(samples::dataFolder() + "/coffee.png", cv::IMREAD_COLOR);
    cv::Mat big;
    if (!small.empty())
        cv::resize(small, big, cv::Size(1203, 805), 0, 0, cv::INTER_CUBIC);
    return big;
}

std::vector<uint8_t> jpegOf(const cv::Mat &image)
{
    photoio::EncodeOptions options;
    options.jpegQuality = 92;
    return photoio::encode(image, ".jpg", options).bytes;
}

// A JPEG with an EXIF block (orientation `value`, little-endian) after SOI.
std::vector<uint8_t> turned(const std::vector<uint8_t> &jpeg, int value)
{
    const std::vector<uint8_t> tiff = {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0,
                                       1,   0,   0,  0, uint8_t(value), 0, 0, 0, 0, 0, 0, 0};
    std::vector<uint8_t> app1 = {0xFF, 0xE1, 0, 0, 'E', 'x', 'i', 'f', 0, 0};
    app1.insert(app1.end(), tiff.begin(), tiff.end());
    app1[3] = uint8_t(app1.size() - 2);
    std::vector<uint8_t> out(jpeg.begin(), jpeg.begin() + 2);
    out.insert(out.end(), app1.begin(), app1.end());
    out.insert(out.end(), jpeg.begin() + 2, jpeg.end());
    return out;
}

// Mean and largest difference of two images of one size and type.
struct Gap
{
    double mean = 1e9;
    double largest = 1e9;
};

Gap gapBetween(const cv::Mat &a, const cv::Mat &b)
{
    Gap g;
    if (a.size() != b.size() || a.type() != b.type())
        return g;
    cv::Mat diff;
    cv::absdiff(a, b, diff);
    const cv::Scalar m = cv::mean(diff);
    g.mean = (m[0] + m[1] + m[2]) / 3.0;
    g.largest = cv::norm(a, b, cv::NORM_INF);
    return g;
}

cv::Mat reducedByArea(const cv::Mat &full, int f)
{
    cv::Mat out;
    cv::resize(full, out, cv::Size((full.cols + f - 1) / f, (full.rows + f - 1) / f), 0, 0, cv::INTER_AREA);
    return out;
}

// About as wide as a row of the photo list.
cv::Mat toThumbnail(const cv::Mat &image)
{
    cv::Mat out;
    cv::resize(image, out, cv::Size(100, std::max(1, image.rows * 100 / image.cols)), 0, 0, cv::INTER_AREA);
    return out;
}

class Reduced : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_photo = bigPhoto();
        ASSERT_FALSE(m_photo.empty()) << "python3-skimage's coffee.png is missing";
    }
    cv::Mat m_photo;
};

TEST_F(Reduced, JpegSidesAreDividedAndRoundedUp)
{
    const std::vector<uint8_t> jpeg = jpegOf(m_photo);
    for (int f : {1, 2, 4, 8}) {
        const photoio::Decoded d = photoio::decodeBytesReduced(jpeg, f);
        ASSERT_TRUE(d.readable()) << f;
        EXPECT_EQ(d.pixels.type(), CV_8UC3);
        EXPECT_EQ(d.pixels.cols, (1203 + f - 1) / f) << f;
        EXPECT_EQ(d.pixels.rows, (805 + f - 1) / f) << f;
        EXPECT_EQ(d.report.codec, photoio::Codec::Jpeg);
    }
}

TEST_F(Reduced, UnsupportedFactorsGoDownToOneThatIs)
{
    const std::vector<uint8_t> jpeg = jpegOf(m_photo);
    EXPECT_EQ(photoio::decodeBytesReduced(jpeg, 0).pixels.cols, 1203);
    EXPECT_EQ(photoio::decodeBytesReduced(jpeg, -5).pixels.cols, 1203);
    EXPECT_EQ(photoio::decodeBytesReduced(jpeg, 3).pixels.cols, (1203 + 1) / 2);
    EXPECT_EQ(photoio::decodeBytesReduced(jpeg, 7).pixels.cols, (1203 + 3) / 4);
    EXPECT_EQ(photoio::decodeBytesReduced(jpeg, 100).pixels.cols, (1203 + 7) / 8);
}

TEST_F(Reduced, OneIsTheFullDecode)
{
    const std::vector<uint8_t> jpeg = jpegOf(m_photo);
    const cv::Mat full = photoio::decodeBytes(jpeg).pixels;
    EXPECT_EQ(cv::norm(photoio::decodeBytesReduced(jpeg, 1).pixels, full, cv::NORM_INF), 0.0);
}

TEST_F(Reduced, JpegIsCloseToTheFullDecodeReducedByArea)
{
    const std::vector<uint8_t> jpeg = jpegOf(m_photo);
    const cv::Mat full = photoio::decodeBytes(jpeg).pixels;
    ASSERT_FALSE(full.empty());
    for (int f : {2, 4, 8}) {
        const cv::Mat reduced = photoio::decodeBytesReduced(jpeg, f).pixels;
        const cv::Mat expected = reducedByArea(full, f);
        ASSERT_EQ(reduced.size(), expected.size()) << "1/" << f;
        // The decoder's scaled transform keeps the low frequencies of each
        // block, an average of decoded pixels keeps a little more of the
        // fine detail: the same picture, not the same pixels (about 29 to
        // 32 dB on this enlarged photograph, aligned: no shift does better).
        EXPECT_GT(cv::PSNR(reduced, expected), 27.0) << "1/" << f;
        // Brought to a list row's size, the difference is gone to the eye.
        EXPECT_GT(cv::PSNR(toThumbnail(reduced), toThumbnail(expected)), 32.0) << "1/" << f;
    }
}

TEST_F(Reduced, JpegOrientationIsAppliedAsInTheFullDecode)
{
    const std::vector<uint8_t> plain = jpegOf(m_photo);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const std::vector<uint8_t> bytes = turned(plain, orientation);
        const photoio::Decoded full = photoio::decodeBytes(bytes);
        ASSERT_TRUE(full.readable());
        for (int f : {2, 8}) {
            const photoio::Decoded reduced = photoio::decodeBytesReduced(bytes, f);
            ASSERT_TRUE(reduced.readable());
            EXPECT_EQ(reduced.report.exifOrientation, orientation);
            const cv::Mat expected = reducedByArea(full.pixels, f);
            ASSERT_EQ(reduced.pixels.size(), expected.size()) << "orientation " << orientation << ", 1/" << f;
            EXPECT_GT(cv::PSNR(reduced.pixels, expected), 27.0) << "orientation " << orientation;
        }
    }
}

TEST_F(Reduced, OtherFormatsAreReducedByAreaToTheSameSizes)
{
    const cv::Mat photo = m_photo(cv::Rect(0, 0, 301, 203)).clone();
    const std::vector<uint8_t> png = photoio::encode(photo, ".png").bytes;
    ASSERT_FALSE(png.empty());
    for (int f : {2, 4, 8}) {
        const photoio::Decoded d = photoio::decodeBytesReduced(png, f);
        ASSERT_TRUE(d.readable());
        EXPECT_EQ(d.report.codec, photoio::Codec::Png);
        // Lossless: exactly the full pixels reduced by area.
        EXPECT_EQ(gapBetween(d.pixels, reducedByArea(photo, f)).largest, 0.0) << f;
    }
}

TEST_F(Reduced, TinyAndBrokenFilesAreHandled)
{
    const cv::Mat one(1, 1, CV_8UC3, cv::Scalar(10, 20, 30));
    const photoio::Decoded d = photoio::decodeBytesReduced(jpegOf(one), 8);
    ASSERT_TRUE(d.readable());
    EXPECT_EQ(d.pixels.size(), cv::Size(1, 1));

    std::vector<uint8_t> cut = jpegOf(m_photo);
    cut.resize(cut.size() / 2);
    const photoio::Decoded damaged = photoio::decodeBytesReduced(cut, 4);
    EXPECT_TRUE(damaged.report.damaged);
    EXPECT_EQ(damaged.pixels.cols, (1203 + 3) / 4);

    EXPECT_FALSE(photoio::decodeBytesReduced(std::vector<uint8_t>{1, 2, 3}, 4).readable());
    EXPECT_FALSE(photoio::decodeBytesReduced(std::vector<uint8_t>(), 4).readable());
    EXPECT_FALSE(photoio::decodeFileReduced("/nonexistent/photo.jpg", 4).readable());
}

} // namespace
