#include "matconvert.h"

#include "colour.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

QImage matToQImage(const cv::Mat &mat)
{
    if (mat.empty())
        return QImage();
    switch (mat.channels()) {
    case 4:
        return QImage(mat.data, mat.cols, mat.rows, int(mat.step), QImage::Format_ARGB32);
    case 3: {
        cv::Mat rgb;
        cv::cvtColor(mat, rgb, cv::COLOR_BGR2RGB);
        // The converted Mat dies here, so the image takes its own copy.
        return QImage(rgb.data, rgb.cols, rgb.rows, rgb.cols * 3, QImage::Format_RGB888).copy();
    }
    default:
        return QImage(mat.data, mat.cols, mat.rows, mat.channels() * mat.cols, QImage::Format_Indexed8).copy();
    }
}

QPixmap matToQPixmap(const cv::Mat &mat)
{
    return QPixmap::fromImage(matToQImage(mat));
}

namespace {

// Whether a conversion moves no colour by more than one level: a lattice
// of 17 steps a channel (every 16th level and 255) as it converts.
bool withinOneLevelOfStored(const photoio::DisplayTransform &transform)
{
    constexpr int kSteps = 17;
    cv::Mat lattice(kSteps * kSteps, kSteps, CV_8UC3);
    for (int b = 0; b < kSteps; ++b)
        for (int g = 0; g < kSteps; ++g)
            for (int r = 0; r < kSteps; ++r)
                lattice.at<cv::Vec3b>(b * kSteps + g, r) =
                    cv::Vec3b(uchar(std::min(255, 16 * b)), uchar(std::min(255, 16 * g)), uchar(std::min(255, 16 * r)));
    cv::Mat converted;
    transform.apply(lattice, converted);
    return cv::norm(lattice, converted, cv::NORM_INF) <= 1.0;
}

} // namespace

PhotoDisplay::PhotoDisplay(const std::vector<uint8_t> &icc)
{
    if (icc.empty())
        return;
    auto bgr = std::make_shared<const photoio::DisplayTransform>(icc, CV_8UC3);
    if (bgr->isIdentity())
        return; // not a usable RGB profile: shown as stored
    if (withinOneLevelOfStored(*bgr))
        return; // an sRGB profile, as most cameras embed: shown as stored, at no cost
    m_bgr = std::move(bgr);
    m_bgra = std::make_shared<const photoio::DisplayTransform>(icc, CV_8UC4);
}

QImage PhotoDisplay::image(const cv::Mat &pixels) const
{
    const photoio::DisplayTransform *transform =
        pixels.type() == CV_8UC3 ? m_bgr.get() : pixels.type() == CV_8UC4 ? m_bgra.get() : nullptr;
    if (!transform || pixels.empty())
        return matToQImage(pixels);
    // Three channels are written as RGB32 (blue, green, red, 255 in memory),
    // the form a pixmap takes without another conversion; four as ARGB32
    // (blue-green-red-alpha memory on a little-endian machine).
    const bool colour = pixels.channels() == 3;
    QImage shown(pixels.cols, pixels.rows, colour ? QImage::Format_RGB32 : QImage::Format_ARGB32);
    if (shown.isNull())
        return shown; // no memory for it: nothing shown rather than a crash
    cv::Mat out(pixels.rows, pixels.cols, CV_8UC4, shown.bits(), size_t(shown.bytesPerLine()));
    // Bands of rows shared between the cores; a dab's few rows stay on one.
    constexpr int kBand = 32;
    const int bands = (pixels.rows + kBand - 1) / kBand;
#pragma omp parallel for schedule(dynamic) if (bands > 1)
    for (int b = 0; b < bands; ++b) {
        const cv::Range rows(b * kBand, std::min(pixels.rows, (b + 1) * kBand));
        cv::Mat band = out.rowRange(rows);
        if (colour) {
            cv::Mat converted;
            transform->apply(pixels.rowRange(rows), converted);
            cv::cvtColor(converted, band, cv::COLOR_BGR2BGRA);
        } else {
            transform->apply(pixels.rowRange(rows), band);
        }
    }
    return shown;
}

QPixmap PhotoDisplay::pixmap(const cv::Mat &pixels) const
{
    return QPixmap::fromImage(image(pixels));
}
