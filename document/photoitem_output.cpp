// Writing the photo to a file: the present image as it is, without the
// selections, encoded by the file name's suffix, with the metadata the file
// it came from carried (photoio writes what the format holds, Orientation 1
// since the pixels were turned upright at the open, and no preview
// thumbnail, which would still show what was erased).
#include "photoitem.h"
#include "pathbytes.h"
#include "photoio.h"

#include <QDebug>
#include <QFileInfo>
#include <opencv2/imgproc.hpp>

#include <new>
#include <string>

namespace {

// Every format is written at its encoder's default compression, and the
// lossy ones at the quality the settings give (photoio's defaults, which are
// cv::imencode's, unless the user chose another).

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

} // namespace

void PhotoItem::recvSaveCommand(QString fileName)
{
    saveTo(fileName);
}

QString PhotoItem::saveTo(const QString &fileName, const SaveSettings &settings)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();

    // The whole file is encoded first and then written all or nothing
    // (photoio::writeFileChecked: a temporary in the target folder, its size
    // checked, renamed over the target), so a failed save never leaves a
    // partial file, nor spoils one that was there. A failure is told, and
    // the photo does not count as saved.
    QString reason;
    try {
        // A 16-bit photo is written at 16 bits, a photo with alpha with it,
        // where the format holds them; else the 8-bit working copy.
        const cv::Mat copy = pixelsToSave(suffix.toStdString()).clone();
        std::string error = copy.empty() ? std::string("there is no photo to save") : std::string();
        if (error.empty() && suffix.isEmpty())
            error = "the file name has no suffix to choose a format by";
        photoio::Encoded encoded;
        if (error.empty()) {
            encoded = photoio::encode(inWritableForm(copy, suffix), suffix.toStdString(), settings.encode,
                                      settings.keepMetadata ? m_metadata : photoio::Metadata());
            error = encoded.error;
            if (error.empty() && encoded.bytes.empty())
                error = "the encoder gave no bytes";
        }
        if (error.empty())
            error = photoio::writeFileChecked(pathBytes(fileName), encoded.bytes);
        reason = QString::fromStdString(error);
    } catch (const std::bad_alloc &) {
        reason = QStringLiteral("out of memory");
    } catch (const cv::Exception &e) {
        reason = QStringLiteral("OpenCV error: ") + QString::fromStdString(e.msg);
    }

    if (!reason.isEmpty()) {
        qDebug() << "save failed:" << fileName << reason;
        return reason;
    }
    m_output.m_saved = 1;
    if (!m_output.m_reductionTold) {
        m_output.m_saveNote = reducedInFile(fileName);
        m_output.m_reductionTold = !m_output.m_saveNote.isEmpty();
    }
    return QString();
}

QString PhotoItem::takeSaveNote()
{
    QString note;
    note.swap(m_output.m_saveNote);
    return note;
}
