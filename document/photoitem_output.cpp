// Writing the photo to a file: the present image as it is, without the
// selections, encoded by the file name's suffix.
#include "photoitem.h"

#include <QDebug>
#include <QFileInfo>
#include <QSaveFile>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

namespace {

// Encoder parameters by suffix. The PNG row carries the JPEG quality and the
// JPEG row the PNG compression: each encoder ignores the other's parameter,
// so files come out at the library's default quality and compression, as
// they always have. Exchanging the rows would change every saved file.
std::vector<int> encoderParameters(const QString &suffix)
{
    if (suffix == QLatin1String("png"))
        return {cv::IMWRITE_JPEG_QUALITY, 100};
    if (suffix == QLatin1String("jpg"))
        return {cv::IMWRITE_PNG_COMPRESSION, 9};
    return {};
}

// The colour photo in the form a format can hold. Most take it as it is;
// the grey and the two-level portable maps cannot hold colour, and the
// library writes EXR from floating point only. EXR keeps the values 0 to 255,
// so that opening the file again in this program gives the photo unchanged.
cv::Mat inWritableForm(const cv::Mat &image, const QString &suffix)
{
    if (suffix == QLatin1String("pgm") || suffix == QLatin1String("pbm")) {
        cv::Mat grey;
        cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
        if (suffix == QLatin1String("pbm"))
            cv::threshold(grey, grey, 127, 255, cv::THRESH_BINARY);
        return grey;
    }
    if (suffix == QLatin1String("exr")) {
        cv::Mat values;
        image.convertTo(values, CV_32F);
        return values;
    }
    return image;
}

// Encodes into memory; false when no encoder takes the suffix or the image
// (for instance a side beyond what the format can hold).
bool encode(const cv::Mat &image, const QString &suffix, std::vector<uchar> &bytes)
{
    const cv::String extension = ("." + suffix).toLocal8Bit().toStdString();
    if (suffix.isEmpty() || !cv::haveImageWriter(extension))
        return false;
    try {
        return cv::imencode(extension, inWritableForm(image, suffix), bytes, encoderParameters(suffix))
               && !bytes.empty();
    } catch (const cv::Exception &e) {
        // An encoder that refuses the image must not take the program down.
        qDebug() << "encoder refused" << suffix << e.what();
        return false;
    }
}

} // namespace

void PhotoItem::recvSaveCommand(QString fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    const cv::Mat copy = m_image.clone();

    // The whole file is encoded first and then written through a temporary
    // file in the target folder that replaces the target only when complete,
    // so a failed save never leaves a partial file, nor spoils one that was
    // there. Failures stay quiet, as they always have.
    std::vector<uchar> bytes;
    if (!copy.empty() && encode(copy, suffix, bytes)) {
        QSaveFile file(fileName);
        if (file.open(QIODevice::WriteOnly)) {
            if (file.write(reinterpret_cast<const char *>(bytes.data()), qint64(bytes.size())) == qint64(bytes.size()))
                file.commit();
            else
                file.cancelWriting();
        }
    }

    m_saved = 1;
}
