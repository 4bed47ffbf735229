// What showing a photo through its colour profile costs: a 24-megapixel
// photo (6000 x 4000, one of python3-skimage's photographs enlarged) turned
// into the canvas's pixmap as stored (no profile) and through an Adobe RGB
// compatible profile (icc-profiles-free); and the same for the rectangle a
// job or a dab redraws (a 600 x 400 crop). OMP_NUM_THREADS sets the cores.
//
//   QT_QPA_PLATFORM=offscreen build/bench/colour/mervane-display-bench [runs]

#include "benchtiming.h"
#include "matconvert.h"

#include <QGuiApplication>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

using bench::medianMs;

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    cv::Mat photo = cv::imread("/usr/lib/python3/dist-packages/skimage/data/chelsea.png", cv::IMREAD_COLOR);
    std::ifstream in("/usr/share/color/icc/compatibleWithAdobeRGB1998.icc", std::ios::binary);
    const std::vector<uint8_t> icc((std::istreambuf_iterator<char>(in)), {});
    if (photo.empty() || icc.empty()) {
        std::fprintf(stderr, "needs python3-skimage and icc-profiles-free\n");
        return 1;
    }
    cv::resize(photo, photo, cv::Size(6000, 4000), 0, 0, cv::INTER_CUBIC);
    const cv::Mat crop = photo(cv::Rect(2000, 1500, 600, 400));
    const PhotoDisplay plain, adobe(icc);
    if (adobe.isIdentity()) {
        std::fprintf(stderr, "the profile was not usable\n");
        return 1;
    }
    std::printf("24 MP photo, %d runs, median ms\n", runs);
    std::printf("  making the display of a profile:     %8.2f\n", medianMs(runs * 4, [&] { PhotoDisplay made(icc); }));
    std::printf("  whole photo to pixmap, no profile:   %8.1f\n", medianMs(runs, [&] { plain.pixmap(photo); }));
    std::printf("  whole photo to pixmap, Adobe RGB:    %8.1f\n", medianMs(runs, [&] { adobe.pixmap(photo); }));
    std::printf("  whole photo to image, Adobe RGB:     %8.1f\n", medianMs(runs, [&] { adobe.image(photo); }));
    std::printf("  600 x 400 crop to image, no profile: %8.2f\n", medianMs(runs * 4, [&] { plain.image(crop); }));
    std::printf("  600 x 400 crop to image, Adobe RGB:  %8.2f\n", medianMs(runs * 4, [&] { adobe.image(crop); }));
    return 0;
}
