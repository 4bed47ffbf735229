// What reading and writing metadata costs beside the pixels: a 24-megapixel
// JPEG (6000 x 4000, one of python3-skimage's photographs enlarged) tagged
// by exiftool like a camera's (EXIF, GPS, XMP, IPTC, an ICC profile and a
// preview), decoded with its metadata and the metadata read on its own; and
// a 12-megapixel HEIC (4000 x 3000, written by photoio at its default
// quality) opened.
//
//   build/bench/photoio/mervane-metadata-bench [runs]

#include "codecs.h"
#include "photoio.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "benchtiming.h"

namespace {

using bench::median;
using bench::medianMs;

std::vector<uint8_t> readAll(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

} // namespace

int main(int argc, char **argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
    const std::string folder = "/tmp/mervane-metadata-bench";
    std::system(("mkdir -p " + folder).c_str());
    const std::string plain = folder + "/plain.jpg", tagged = folder + "/tagged.jpg";
    cv::Mat photo = cv::imread("/usr/lib/python3/dist-packages/skimage/data/chelsea.png", cv::IMREAD_COLOR);
    if (photo.empty()) {
        std::fprintf(stderr, "python3-skimage's chelsea.png is missing\n");
        return 1;
    }
    cv::resize(photo, photo, cv::Size(6000, 4000), 0, 0, cv::INTER_CUBIC);
    cv::imwrite(plain, photo);
    cv::Mat thumb;
    cv::resize(photo, thumb, cv::Size(160, 120));
    cv::imwrite(folder + "/thumb.jpg", thumb);
    const std::string tag = "cp " + plain + " " + tagged + " && exiftool -q -overwrite_original -n"
                            " -EXIF:Make=Testcam -EXIF:Model=TC-1 -EXIF:Artist=Ada -EXIF:Copyright=Ada"
                            " -EXIF:DateTimeOriginal='2024:05:17 09:30:00' -EXIF:GPSLatitude=48.85"
                            " -EXIF:GPSLongitude=2.29 -XMP-dc:Creator=Ada -IPTC:Keywords=harbour"
                            " '-ThumbnailImage<=" + folder + "/thumb.jpg'"
                            " '-ICC_Profile<=/usr/share/color/icc/compatibleWithAdobeRGB1998.icc' " + tagged;
    if (std::system(tag.c_str()) != 0) {
        std::fprintf(stderr, "exiftool failed\n");
        return 1;
    }
    const std::vector<uint8_t> plainBytes = readAll(plain), taggedBytes = readAll(tagged);
    photoio::decodeBytes(taggedBytes); // warm up: Exiv2's one-time set-up
    int orientation = 1;
    const double readOnly = medianMs(runs, [&] { photoio::detail::readMetadata(taggedBytes.data(), taggedBytes.size(), orientation); });
    const double decodePlain = medianMs(runs, [&] { photoio::decodeBytes(plainBytes); });
    const double decodeTagged = medianMs(runs, [&] { photoio::decodeBytes(taggedBytes); });
    const photoio::Decoded decoded = photoio::decodeBytes(taggedBytes);
    const double encodePlain = medianMs(runs, [&] { photoio::encode(decoded.pixels, "jpg"); });
    const double encodeTagged = medianMs(runs, [&] {
        photoio::encode(decoded.pixels, "jpg", photoio::EncodeOptions(), decoded.metadata);
    });
    std::printf("24 MP JPEG, median of %d runs (ms)\n", runs);
    std::printf("  metadata read alone        %8.2f\n", readOnly);
    std::printf("  decode, no metadata        %8.1f\n", decodePlain);
    std::printf("  decode, tagged             %8.1f\n", decodeTagged);
    std::printf("  encode q95, no metadata    %8.1f\n", encodePlain);
    std::printf("  encode q95, metadata       %8.1f\n", encodeTagged);

    cv::Mat twelve;
    cv::resize(photo, twelve, cv::Size(4000, 3000), 0, 0, cv::INTER_AREA);
    const auto encodeStart = std::chrono::steady_clock::now();
    const photoio::Encoded heic = photoio::encode(twelve, "heic", photoio::EncodeOptions(), decoded.metadata);
    const double encodeHeic =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - encodeStart).count();
    if (!heic.ok()) {
        std::fprintf(stderr, "HEIC encoding failed: %s\n", heic.error.c_str());
        return 1;
    }
    const double decodeHeic = medianMs(runs, [&] { photoio::decodeBytes(heic.bytes); });
    std::printf("12 MP HEIC (%zu bytes)\n", heic.bytes.size());
    std::printf("  encode, quality 90 (once)  %8.1f\n", encodeHeic);
    std::printf("  open (decode + metadata)   %8.1f\n", decodeHeic);
    return 0;
}
