#ifndef MERVANE_TESTS_TESTPICTURES_H
#define MERVANE_TESTS_TESTPICTURES_H

// Pictures and selection layers the engine tests build their cases from.

#include <opencv2/core.hpp>

#include <random>

namespace testpictures {

// Selection layer colours as the window paints them (B G R A).
inline const cv::Scalar kRed(0, 0, 255, 128);
inline const cv::Scalar kGreen(0, 255, 0, 128);

// A textured picture: smooth gradients plus a fixed noise pattern of the
// seed, so that patches differ and the searches have something to find.
inline cv::Mat texture(int rows, int cols, unsigned seed = 11)
{
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> noise(0, 40);
    cv::Mat img(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y) {
        auto *row = img.ptr<cv::Vec3b>(y);
        for (int x = 0; x < cols; ++x) {
            // The noise is drawn red first, in statements of their own:
            // the order is part of the picture, and drawn inside one
            // constructor call it would be the compiler's choice (so the
            // GCC and clang builds would test different pictures).
            const int r = (x + y + noise(rng)) % 256;
            const int g = (y * 2 + noise(rng)) % 256;
            const int b = (x * 3 + noise(rng)) % 256;
            row[x] = cv::Vec3b(uchar(b), uchar(g), uchar(r));
        }
    }
    return img;
}

// A CV_8UC4 selection layer of the size with the rectangle (cut to the
// layer) painted in the colour.
inline cv::Mat layer(cv::Size size, const cv::Rect &r = cv::Rect(), const cv::Scalar &colour = kRed)
{
    cv::Mat m(size, CV_8UC4, cv::Scalar::all(0));
    const cv::Rect inside = r & cv::Rect(cv::Point(), size);
    if (inside.area() > 0)
        m(inside).setTo(colour);
    return m;
}

} // namespace testpictures

#endif // MERVANE_TESTS_TESTPICTURES_H
