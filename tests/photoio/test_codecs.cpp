// The photo I/O module against OpenCV's own codecs: the same pixels as
// cv::imread in colour mode for every sample of every format, the same bytes
// as cv::imencode, damage reported, narrowing described.

#include "photoio.h"
#include "samples.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <jpeglib.h>
#include <tiffio.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

class Codecs : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_photos = samples::photos(24);
        ASSERT_GE(s_photos.size(), 40u) << "python3-skimage's sample photos are missing";
    }

    void SetUp() override
    {
        m_dir = fs::temp_directory_path() / ("photoio-" + std::to_string(::getpid()));
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }

    std::string path(const std::string &name) const { return (m_dir / name).string(); }

    void writeBytes(const std::string &file, const std::vector<uint8_t> &bytes) const
    {
        std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char *>(bytes.data()),
                                                    std::streamsize(bytes.size()));
    }

    // The module decodes `bytes` exactly as cv::imread reads them from a file.
    void expectAsImread(const std::vector<uint8_t> &bytes, const std::string &label)
    {
        const std::string file = path("sample");
        writeBytes(file, bytes);
        const cv::Mat reference = cv::imread(file, cv::IMREAD_COLOR);
        ASSERT_FALSE(reference.empty()) << label;
        const photoio::Decoded decoded = photoio::decodeBytes(bytes);
        ASSERT_TRUE(decoded.readable()) << label << ": " << decoded.error;
        EXPECT_FALSE(decoded.report.damaged) << label << ": " << decoded.report.damage;
        ASSERT_EQ(decoded.pixels.type(), CV_8UC3) << label;
        ASSERT_EQ(decoded.pixels.size(), reference.size()) << label;
        EXPECT_EQ(cv::norm(decoded.pixels, reference, cv::NORM_INF), 0.0) << label;
        ++m_compared;
    }

    std::vector<uint8_t> cvEncode(const std::string &ext, const cv::Mat &image,
                                  const std::vector<int> &params = {}) const
    {
        std::vector<uint8_t> bytes;
        EXPECT_TRUE(cv::imencode(ext, image, bytes, params)) << ext;
        return bytes;
    }

    static std::vector<cv::Mat> s_photos;
    fs::path m_dir;
    int m_compared = 0;
};

std::vector<cv::Mat> Codecs::s_photos;

cv::Mat withAlpha(const cv::Mat &bgr)
{
    cv::Mat bgra;
    cv::cvtColor(bgr, bgra, cv::COLOR_BGR2BGRA);
    for (int y = 0; y < bgra.rows; ++y)
        for (int x = 0; x < bgra.cols; ++x)
            bgra.at<cv::Vec4b>(y, x)[3] = uchar((x * 37 + y * 11) & 255);
    return bgra;
}

cv::Mat wide(const cv::Mat &image)
{
    cv::Mat out;
    image.convertTo(out, CV_16U, 257.0);
    out += cv::Scalar::all(91); // low bytes that differ from the high ones
    return out;
}

cv::Mat grey(const cv::Mat &bgr)
{
    cv::Mat g;
    cv::cvtColor(bgr, g, cv::COLOR_BGR2GRAY);
    return g;
}

// A JPEG with an EXIF block (orientation `value`) right after its SOI.
std::vector<uint8_t> withOrientation(const std::vector<uint8_t> &jpeg, int value, bool intel)
{
    std::vector<uint8_t> tiff = intel ? std::vector<uint8_t>{'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0,
                                                             1, 0, 0, 0, uint8_t(value), 0, 0, 0, 0, 0, 0, 0}
                                      : std::vector<uint8_t>{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0, 3,
                                                             0, 0, 0, 1, 0, uint8_t(value), 0, 0, 0, 0, 0, 0};
    std::vector<uint8_t> app1 = {0xFF, 0xE1, 0, 0, 'E', 'x', 'i', 'f', 0, 0};
    app1.insert(app1.end(), tiff.begin(), tiff.end());
    const size_t length = app1.size() - 2;
    app1[2] = uint8_t(length >> 8);
    app1[3] = uint8_t(length & 255);
    std::vector<uint8_t> out(jpeg.begin(), jpeg.begin() + 2);
    out.insert(out.end(), app1.begin(), app1.end());
    out.insert(out.end(), jpeg.begin() + 2, jpeg.end());
    return out;
}

std::vector<uint8_t> cmykJpeg(const cv::Mat &bgr)
{
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char *buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = JDIMENSION(bgr.cols);
    info.image_height = JDIMENSION(bgr.rows);
    info.input_components = 4;
    info.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&info);
    jpeg_start_compress(&info, TRUE);
    std::vector<uint8_t> row(size_t(bgr.cols) * 4);
    for (int y = 0; y < bgr.rows; ++y) {
        for (int x = 0; x < bgr.cols; ++x) {
            const cv::Vec3b p = bgr.at<cv::Vec3b>(y, x);
            row[4 * x] = p[2];
            row[4 * x + 1] = p[1];
            row[4 * x + 2] = p[0];
            row[4 * x + 3] = uint8_t(200 + (x & 31));
        }
        JSAMPROW r = row.data();
        jpeg_write_scanlines(&info, &r, 1);
    }
    jpeg_finish_compress(&info);
    std::vector<uint8_t> out(buffer, buffer + size);
    jpeg_destroy_compress(&info);
    std::free(buffer);
    return out;
}

uint32_t crc32Of(const uint8_t *data, size_t size, uint32_t crc = 0xFFFFFFFFu)
{
    for (size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return crc;
}

// A PNG with an eXIf chunk (orientation `value`) right after IHDR.
std::vector<uint8_t> pngWithOrientation(const std::vector<uint8_t> &png, int value)
{
    const std::vector<uint8_t> body = {'e', 'X', 'I', 'f', 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0, 3,
                                       0, 0, 0, 1, 0, uint8_t(value), 0, 0, 0, 0, 0, 0};
    const uint32_t length = uint32_t(body.size() - 4), crc = ~crc32Of(body.data(), body.size());
    std::vector<uint8_t> chunk = {uint8_t(length >> 24), uint8_t(length >> 16), uint8_t(length >> 8), uint8_t(length)};
    chunk.insert(chunk.end(), body.begin(), body.end());
    for (int shift = 24; shift >= 0; shift -= 8)
        chunk.push_back(uint8_t(crc >> shift));
    std::vector<uint8_t> out(png.begin(), png.begin() + 33); // signature and IHDR
    out.insert(out.end(), chunk.begin(), chunk.end());
    out.insert(out.end(), png.begin() + 33, png.end());
    return out;
}

struct TiffLayout
{
    int compression = COMPRESSION_NONE;
    int orientation = ORIENTATION_TOPLEFT;
    int photometric = PHOTOMETRIC_RGB;
    bool tiled = false;
    bool separate = false;
};

// A TIFF written by libtiff itself, in layouts OpenCV's encoder never makes.
std::vector<uint8_t> tiffFile(const std::string &file, const cv::Mat &bgr, const TiffLayout &layout)
{
    TIFF *tiff = TIFFOpen(file.c_str(), "w");
    const bool grey = layout.photometric != PHOTOMETRIC_RGB;
    const int samples = grey ? 1 : 3;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, uint32_t(bgr.cols));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, uint32_t(bgr.rows));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout.compression);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, layout.orientation);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, layout.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    cv::Mat pixels;
    if (grey)
        pixels = samples == 1 ? [&] { cv::Mat g; cv::cvtColor(bgr, g, cv::COLOR_BGR2GRAY); return g; }() : bgr;
    else
        cv::cvtColor(bgr, pixels, cv::COLOR_BGR2RGB);
    if (layout.tiled) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
        std::vector<uint8_t> tile(size_t(TIFFTileSize(tiff)));
        for (int ty = 0; ty < bgr.rows; ty += 16)
            for (int tx = 0; tx < bgr.cols; tx += 16) {
                std::fill(tile.begin(), tile.end(), 0);
                for (int y = ty; y < std::min(ty + 16, bgr.rows); ++y)
                    for (int x = tx; x < std::min(tx + 16, bgr.cols); ++x)
                        for (int c = 0; c < samples; ++c)
                            tile[(size_t(y - ty) * 16 + size_t(x - tx)) * samples + c] = pixels.ptr(y)[x * samples + c];
                TIFFWriteTile(tiff, tile.data(), uint32_t(tx), uint32_t(ty), 0, 0);
            }
    } else if (layout.separate) {
        std::vector<uint8_t> row(size_t(bgr.cols));
        for (int c = 0; c < samples; ++c)
            for (int y = 0; y < bgr.rows; ++y) {
                for (int x = 0; x < bgr.cols; ++x)
                    row[size_t(x)] = pixels.ptr(y)[x * samples + c];
                TIFFWriteScanline(tiff, row.data(), uint32_t(y), uint16_t(c));
            }
    } else {
        for (int y = 0; y < bgr.rows; ++y)
            TIFFWriteScanline(tiff, pixels.ptr(y), uint32_t(y), 0);
    }
    TIFFClose(tiff);
    return samples::readBytes(file);
}

} // namespace

TEST_F(Codecs, CommonFormatsDoNotLoadOpenCVsCodecs)
{
    const cv::Mat photo = s_photos.front();
    for (const char *ext : {".jpg", ".png", ".tif", ".webp"})
        ASSERT_TRUE(photoio::decodeBytes(cvEncode(ext, photo)).readable()) << ext;
    for (const char *suffix : {"jpg", "png", "tif", "webp"})
        ASSERT_TRUE(photoio::encode(photo, suffix).ok()) << suffix;
    EXPECT_FALSE(photoio::opencvCodecsLoaded());
    ASSERT_TRUE(photoio::decodeBytes(cvEncode(".bmp", photo)).readable());
    EXPECT_TRUE(photoio::opencvCodecsLoaded());
}

TEST_F(Codecs, JpegPixelsAsImread)
{
    const std::vector<std::vector<int>> variants = {
        {}, {cv::IMWRITE_JPEG_QUALITY, 40}, {cv::IMWRITE_JPEG_QUALITY, 100},
        {cv::IMWRITE_JPEG_PROGRESSIVE, 1}, {cv::IMWRITE_JPEG_OPTIMIZE, 1}, {cv::IMWRITE_JPEG_RST_INTERVAL, 3}};
    for (size_t i = 0; i < s_photos.size(); ++i) {
        const std::vector<int> &params = variants[i % variants.size()];
        expectAsImread(cvEncode(".jpg", s_photos[i], params), "jpeg photo " + std::to_string(i));
        expectAsImread(cvEncode(".jpg", grey(s_photos[i])), "grey jpeg " + std::to_string(i));
    }
    for (const std::string &file : samples::dataFiles({".jpg"}))
        if (file.find("truncated") == std::string::npos)
            expectAsImread(samples::readBytes(file), file);
    EXPECT_GE(m_compared, 80);
}

TEST_F(Codecs, JpegExifOrientationAsImread)
{
    const cv::Mat photo = s_photos[3](cv::Rect(0, 0, 61, 37)).clone();
    const std::vector<uint8_t> plain = cvEncode(".jpg", photo);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        for (bool intel : {true, false}) {
            const std::vector<uint8_t> bytes = withOrientation(plain, orientation, intel);
            expectAsImread(bytes, "orientation " + std::to_string(orientation));
            EXPECT_EQ(photoio::decodeBytes(bytes).report.exifOrientation, orientation);
        }
    }
}

TEST_F(Codecs, CmykJpegAsImread)
{
    for (int i = 0; i < 6; ++i) {
        const std::vector<uint8_t> bytes = cmykJpeg(s_photos[size_t(i) * 5]);
        expectAsImread(bytes, "cmyk " + std::to_string(i));
        const photoio::Decoded decoded = photoio::decodeBytes(bytes);
        EXPECT_EQ(decoded.report.channels, 4);
        EXPECT_EQ(photoio::narrowingNote(decoded.report), "CMYK converted to RGB");
    }
}

TEST_F(Codecs, PngPixelsAsImread)
{
    for (size_t i = 0; i < s_photos.size(); ++i) {
        const cv::Mat &photo = s_photos[i];
        const std::string n = std::to_string(i);
        expectAsImread(cvEncode(".png", photo, {cv::IMWRITE_PNG_COMPRESSION, int(i % 10)}), "png " + n);
        expectAsImread(cvEncode(".png", grey(photo)), "grey png " + n);
        expectAsImread(cvEncode(".png", withAlpha(photo)), "png with alpha " + n);
        expectAsImread(cvEncode(".png", wide(photo)), "16-bit png " + n);
        expectAsImread(cvEncode(".png", wide(grey(photo))), "16-bit grey png " + n);
        cv::Mat twoLevels = grey(photo) > 128;
        expectAsImread(cvEncode(".png", twoLevels, {cv::IMWRITE_PNG_BILEVEL, 1}), "bilevel png " + n);
    }
    for (const std::string &file : samples::dataFiles({".png"}))
        expectAsImread(samples::readBytes(file), file);
}

TEST_F(Codecs, PngExifOrientationAsImread)
{
    const std::vector<uint8_t> plain = cvEncode(".png", s_photos[5](cv::Rect(0, 0, 53, 29)));
    for (int orientation = 1; orientation <= 8; ++orientation)
        expectAsImread(pngWithOrientation(plain, orientation), "png orientation " + std::to_string(orientation));
}

TEST_F(Codecs, TiffPixelsAsImread)
{
    for (size_t i = 0; i < s_photos.size(); ++i) {
        const cv::Mat &photo = s_photos[i];
        const std::string n = std::to_string(i);
        expectAsImread(cvEncode(".tif", photo), "tiff " + n);
        expectAsImread(cvEncode(".tif", grey(photo)), "grey tiff " + n);
        expectAsImread(cvEncode(".tif", withAlpha(photo)), "tiff with alpha " + n);
        expectAsImread(cvEncode(".tif", wide(photo)), "16-bit tiff " + n);
    }
    const TiffLayout layouts[] = {
        {COMPRESSION_LZW}, {COMPRESSION_ADOBE_DEFLATE}, {COMPRESSION_PACKBITS},
        {COMPRESSION_LZW, ORIENTATION_TOPLEFT, PHOTOMETRIC_RGB, true},
        {COMPRESSION_NONE, ORIENTATION_TOPLEFT, PHOTOMETRIC_RGB, false, true},
        {COMPRESSION_NONE, ORIENTATION_TOPLEFT, PHOTOMETRIC_MINISWHITE},
        {COMPRESSION_ADOBE_DEFLATE, ORIENTATION_BOTRIGHT, PHOTOMETRIC_MINISBLACK, true},
        {COMPRESSION_NONE, ORIENTATION_BOTLEFT},
    };
    int n = 0;
    for (const TiffLayout &layout : layouts)
        for (size_t i = 0; i < s_photos.size(); i += 7)
            expectAsImread(tiffFile(path("l.tif"), s_photos[i], layout), "tiff layout " + std::to_string(n++));
    for (const std::string &file : samples::dataFiles({".tif"}))
        if (!cv::imread(file, cv::IMREAD_COLOR).empty()) // one sample is beyond OpenCV
            expectAsImread(samples::readBytes(file), file);
}

TEST_F(Codecs, WebpPixelsAsImread)
{
    for (size_t i = 0; i < s_photos.size(); ++i) {
        const cv::Mat &photo = s_photos[i];
        const std::string n = std::to_string(i);
        expectAsImread(cvEncode(".webp", photo), "lossless webp " + n);
        expectAsImread(cvEncode(".webp", photo, {cv::IMWRITE_WEBP_QUALITY, int(20 + i % 80)}), "webp " + n);
        expectAsImread(cvEncode(".webp", withAlpha(photo)), "webp with alpha " + n);
    }
}

TEST_F(Codecs, OtherFormatsThroughOpenCV)
{
    for (size_t i = 0; i < s_photos.size(); i += 3) {
        const std::string n = std::to_string(i);
        expectAsImread(cvEncode(".bmp", s_photos[i]), "bmp " + n);
        expectAsImread(cvEncode(".ppm", s_photos[i]), "ppm " + n);
        expectAsImread(cvEncode(".pgm", grey(s_photos[i])), "pgm " + n);
    }
}

TEST_F(Codecs, EncodesTheSameBytesAsImencode)
{
    for (size_t i = 0; i < s_photos.size(); ++i) {
        const cv::Mat &photo = s_photos[i];
        const std::string n = std::to_string(i);
        EXPECT_EQ(photoio::encode(photo, "jpg").bytes, cvEncode(".jpg", photo)) << n;
        photoio::EncodeOptions options;
        options.jpegQuality = 70;
        options.pngCompression = 9;
        options.webpQuality = 75;
        EXPECT_EQ(photoio::encode(photo, ".JPEG", options).bytes, cvEncode(".jpg", photo, {cv::IMWRITE_JPEG_QUALITY, 70})) << n;
        EXPECT_EQ(photoio::encode(grey(photo), "jpg").bytes, cvEncode(".jpg", grey(photo))) << n;
        EXPECT_EQ(photoio::encode(photo, "png").bytes, cvEncode(".png", photo)) << n;
        EXPECT_EQ(photoio::encode(photo, "png", options).bytes, cvEncode(".png", photo, {cv::IMWRITE_PNG_COMPRESSION, 9})) << n;
        EXPECT_EQ(photoio::encode(withAlpha(photo), "png").bytes, cvEncode(".png", withAlpha(photo))) << n;
        EXPECT_EQ(photoio::encode(wide(photo), "png").bytes, cvEncode(".png", wide(photo))) << n;
        EXPECT_EQ(photoio::encode(photo, "webp").bytes, cvEncode(".webp", photo)) << n;
        EXPECT_EQ(photoio::encode(photo, "webp", options).bytes, cvEncode(".webp", photo, {cv::IMWRITE_WEBP_QUALITY, 75})) << n;
    }
}

TEST_F(Codecs, TiffWritesWhatOpenCVWrites)
{
    // Read back unchanged, our TIFF holds what OpenCV's TIFF holds (OpenCV
    // reads colour with alpha premultiplied) and, without alpha, exactly the
    // pixels written.
    for (size_t i = 0; i < s_photos.size(); ++i) {
        for (const cv::Mat &image : {s_photos[i], grey(s_photos[i]), withAlpha(s_photos[i]), wide(s_photos[i])}) {
            const photoio::Encoded encoded = photoio::encode(image, "tiff");
            ASSERT_TRUE(encoded.ok()) << encoded.error;
            const cv::Mat back = cv::imdecode(encoded.bytes, cv::IMREAD_UNCHANGED);
            const cv::Mat reference = cv::imdecode(cvEncode(".tif", image), cv::IMREAD_UNCHANGED);
            ASSERT_EQ(back.type(), reference.type()) << i;
            EXPECT_EQ(cv::norm(back, reference, cv::NORM_INF), 0.0) << i << " type " << image.type();
            if (image.channels() != 4)
                EXPECT_EQ(cv::norm(back, image, cv::NORM_INF), 0.0) << i << " type " << image.type();
        }
    }
}

TEST_F(Codecs, DamagedFilesAreNamed)
{
    const std::vector<uint8_t> truncatedSample = samples::readBytes(samples::dataFolder() + "/truncated.jpg");
    ASSERT_FALSE(truncatedSample.empty());
    photoio::Decoded d = photoio::decodeBytes(truncatedSample);
    EXPECT_TRUE(d.report.damaged);
    EXPECT_EQ(d.report.damage, "Premature end of JPEG file");
    EXPECT_FALSE(d.readable()) << "cut inside its tables";

    const cv::Mat photo = s_photos[2];
    for (const char *ext : {".jpg", ".png", ".tif", ".webp"}) {
        std::vector<uint8_t> bytes = cvEncode(ext, photo);
        bytes.resize(bytes.size() * 2 / 3);
        d = photoio::decodeBytes(bytes);
        EXPECT_TRUE(d.report.damaged) << ext;
        EXPECT_FALSE(d.report.damage.empty()) << ext;
        if (std::string(ext) == ".jpg" || std::string(ext) == ".png") {
            // Cut in the pixel data: what could be read is kept.
            EXPECT_TRUE(d.readable()) << ext;
            EXPECT_EQ(d.pixels.size(), photo.size()) << ext;
        }
    }
    EXPECT_EQ(photoio::decodeBytes([&] {
                  std::vector<uint8_t> bytes = cvEncode(".jpg", photo);
                  bytes.resize(bytes.size() / 2);
                  return bytes;
              }()).report.damage,
              "Premature end of JPEG file");
    // A flipped byte in the PNG data fails its checksum.
    std::vector<uint8_t> png = cvEncode(".png", photo);
    png[png.size() / 2] ^= 0x55;
    EXPECT_TRUE(photoio::decodeBytes(png).report.damaged);
    // Not an image at all is unreadable, not damaged.
    d = photoio::decodeBytes({'h', 'e', 'l', 'l', 'o'});
    EXPECT_FALSE(d.readable());
    EXPECT_FALSE(d.report.damaged);
    EXPECT_FALSE(d.error.empty());
    EXPECT_FALSE(photoio::decodeBytes({}).readable());
}

TEST_F(Codecs, NarrowingIsDescribed)
{
    const cv::Mat photo = s_photos[1];
    EXPECT_EQ(photoio::narrowingNote(photoio::decodeBytes(cvEncode(".png", photo)).report), "");
    EXPECT_EQ(photoio::narrowingNote(photoio::decodeBytes(cvEncode(".png", wide(photo))).report),
              "16-bit samples narrowed to 8 bits");
    EXPECT_EQ(photoio::narrowingNote(photoio::decodeBytes(cvEncode(".png", withAlpha(photo))).report),
              "alpha channel dropped");
    EXPECT_EQ(photoio::narrowingNote(photoio::decodeBytes(cvEncode(".tif", wide(withAlpha(photo)))).report),
              "16-bit samples narrowed to 8 bits, alpha channel dropped");
    EXPECT_EQ(photoio::narrowingNote(photoio::decodeBytes(cvEncode(".webp", withAlpha(photo))).report),
              "alpha channel dropped");
}

TEST_F(Codecs, EncoderAvailabilityIsCheckedUpFront)
{
    const cv::Mat photo = s_photos[0];
    EXPECT_EQ(photoio::checkEncodable("png", photo), "");
    EXPECT_EQ(photoio::checkEncodable(".BMP", photo), "");
    EXPECT_NE(photoio::checkEncodable("", photo), "");
    EXPECT_NE(photoio::checkEncodable("notanimage", photo), "");
    EXPECT_NE(photoio::checkEncodable("exr", photo), "") << "8-bit pixels have no EXR encoder";
    EXPECT_NE(photoio::checkEncodable("webp", cv::Mat(1, 16384, CV_8UC3)), "");
    EXPECT_FALSE(photoio::encode(photo, "exr").ok());
    EXPECT_FALSE(photoio::encode(cv::Mat(), "png").ok());
}

TEST_F(Codecs, CorruptBytesNeverCrash)
{
    // Random damage to files of every common format: each decode ends with
    // pixels of a sane size or an error, and a damaged flag never comes with
    // an empty reason.
    cv::RNG rng(1213);
    const char *exts[] = {".jpg", ".png", ".tif", ".webp"};
    for (int run = 0; run < 400; ++run) {
        const cv::Mat &photo = s_photos[size_t(run) % s_photos.size()];
        std::vector<uint8_t> bytes = cvEncode(exts[run % 4], photo(cv::Rect(0, 0, std::min(photo.cols, 40),
                                                                             std::min(photo.rows, 30))));
        const int flips = 1 + rng.uniform(0, 8);
        for (int k = 0; k < flips; ++k)
            bytes[size_t(rng.uniform(0, int(bytes.size())))] = uint8_t(rng.uniform(0, 256));
        if (run % 3 == 0)
            bytes.resize(size_t(rng.uniform(0, int(bytes.size()))));
        const photoio::Decoded d = photoio::decodeBytes(bytes);
        SCOPED_TRACE(run);
        if (d.readable()) {
            EXPECT_EQ(d.pixels.type(), CV_8UC3);
            EXPECT_LE(d.pixels.total(), size_t(1) << 28);
        } else {
            EXPECT_FALSE(d.error.empty());
        }
        if (d.report.damaged)
            EXPECT_FALSE(d.report.damage.empty());
    }
}
