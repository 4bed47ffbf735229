#ifndef MATCONVERT_H
#define MATCONVERT_H

#include <QImage>
#include <QPixmap>
#include <opencv2/core.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace photoio {
class DisplayTransform;
}

// Four channels are wrapped without a copy (BGRA memory is ARGB32 on a
// little-endian machine), so the Mat must outlive the image and must not be
// reallocated while a widget shows it. Three channels are converted to RGB.
// For selection layers and other pictures that are not the photo's pixels;
// the photo goes through PhotoDisplay.
QImage matToQImage(const cv::Mat &mat);
QPixmap matToQPixmap(const cv::Mat &mat);

// How a photo's pixels are shown: the one way the document turns them into
// what the canvas, the list row, the before-and-after view and the printed
// page show. A photo with a colour profile is converted from it to sRGB
// (photoio::DisplayTransform, Little CMS); one without is shown as stored,
// by matToQImage, at the same cost as ever. Only what is shown is converted:
// the photo's own numbers, which the engine, the undo entries and the file
// see, never are. Copies share the transforms; safe to use from several
// threads at once.
class PhotoDisplay
{
public:
    PhotoDisplay() = default; // as stored
    // The photo's embedded ICC profile, as read from its file; empty means
    // sRGB. A profile that cannot be used leaves the pixels as stored, and
    // so does one that moves no colour by more than a level (an sRGB
    // profile): the conversion would cost time and change nothing one sees.
    explicit PhotoDisplay(const std::vector<uint8_t> &icc);

    bool isIdentity() const { return !m_bgr; }

    // `pixels`, CV_8UC3 blue-green-red or CV_8UC4 with alpha (any view of the
    // photo), as the screen shows them. A converted image owns its memory;
    // one shown as stored follows matToQImage (four channels wrapped).
    QImage image(const cv::Mat &pixels) const;
    QPixmap pixmap(const cv::Mat &pixels) const;

private:
    std::shared_ptr<const photoio::DisplayTransform> m_bgr;  // CV_8UC3
    std::shared_ptr<const photoio::DisplayTransform> m_bgra; // CV_8UC4
};

#endif // MATCONVERT_H
