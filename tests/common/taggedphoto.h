#ifndef MERVANE_TESTS_COMMON_TAGGEDPHOTO_H
#define MERVANE_TESTS_COMMON_TAGGEDPHOTO_H

// A camera-style photo made in the test: one of python3-skimage's sample
// photographs written as JPEG, then given EXIF (camera, date taken, GPS,
// artist, copyright, a turned orientation, a preview thumbnail), XMP, IPTC
// and the Adobe-RGB-compatible profile of icc-profiles-free, all by Debian's
// exiftool. Tags are read back with exiftool too, never with our own code.

#include <QByteArray>
#include <QJsonArray>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <string>

namespace taggedphoto {

inline const char *profilePath() { return "/usr/share/color/icc/compatibleWithAdobeRGB1998.icc"; }

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

inline Run exiftool(const QStringList &arguments)
{
    QProcess p;
    p.start("exiftool", arguments);
    p.waitForFinished(120000);
    Run r;
    r.status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    return r;
}

// The tags every kept file must show, as exiftool names them with -G0.
inline QJsonObject expectedTags()
{
    QJsonObject t;
    t["EXIF:Make"] = "Testcam";
    t["EXIF:Model"] = "TC-1";
    t["EXIF:DateTimeOriginal"] = "2024:05:17 09:30:00";
    t["EXIF:Artist"] = "Ada Example";
    t["EXIF:Copyright"] = "(c) Ada Example";
    t["EXIF:GPSLatitudeRef"] = "N";
    t["EXIF:GPSLongitudeRef"] = "E";
    t["XMP:Creator"] = "Ada Example";
    t["XMP:Title"] = "Harbour at dawn";
    t["IPTC:By-line"] = "Ada Example";
    t["IPTC:Keywords"] = "harbour";
    return t;
}

// Writes `photo` as a JPEG at `path` and tags it; `thumbnailPath` gets the
// preview embedded in the EXIF. Orientation 6: stored turned a quarter.
inline Run writeTaggedJpeg(const cv::Mat &photo, const std::string &path, const std::string &thumbnailPath)
{
    cv::imwrite(path, photo);
    cv::Mat small;
    cv::resize(photo, small, cv::Size(160, 120));
    cv::imwrite(thumbnailPath, small);
    const QJsonObject t = expectedTags();
    QStringList a{"-q", "-overwrite_original", "-n"};
    for (auto it = t.begin(); it != t.end(); ++it)
        a << "-" + it.key() + "=" + it.value().toString();
    a << "-EXIF:GPSLatitude=48.8584" << "-EXIF:GPSLongitude=2.2945" << "-EXIF:Orientation=6"
      << "-ThumbnailImage<=" + QString::fromStdString(thumbnailPath)
      << "-ICC_Profile<=" + QString(profilePath()) << QString::fromStdString(path);
    return exiftool(a);
}

// Every tag exiftool reads, grouped ("EXIF:Artist"), numbers as numbers.
inline QJsonObject readTags(const std::string &path)
{
    const Run r = exiftool({"-j", "-n", "-G0", QString::fromStdString(path)});
    const QJsonDocument doc = QJsonDocument::fromJson(r.out);
    return doc.isArray() && !doc.array().isEmpty() ? doc.array().at(0).toObject() : QJsonObject();
}

// One block of a file, raw ("ICC_Profile", "XMP", "ThumbnailImage").
inline QByteArray readBlock(const std::string &path, const QString &tag)
{
    return exiftool({"-b", "-" + tag, QString::fromStdString(path)}).out;
}

// Every expected tag in `tags` (IPTC only where the format holds it), the
// GPS position, and Orientation 1.
inline void expectKept(const QJsonObject &tags, bool holdsIptc)
{
    const QJsonObject expected = expectedTags();
    for (auto it = expected.begin(); it != expected.end(); ++it) {
        if (!holdsIptc && it.key().startsWith("IPTC:"))
            EXPECT_FALSE(tags.contains(it.key())) << it.key().toStdString();
        else
            EXPECT_EQ(tags.value(it.key()).toVariant(), it.value().toVariant()) << it.key().toStdString();
    }
    EXPECT_NEAR(tags.value("EXIF:GPSLatitude").toDouble(), 48.8584, 1e-4);
    EXPECT_NEAR(tags.value("EXIF:GPSLongitude").toDouble(), 2.2945, 1e-4);
    EXPECT_EQ(tags.value("EXIF:Orientation").toInt(), 1) << "the pixels are upright already";
}

// None of the expected tags, no GPS, no orientation.
inline void expectNone(const QJsonObject &tags)
{
    const QJsonObject expected = expectedTags();
    for (auto it = expected.begin(); it != expected.end(); ++it)
        EXPECT_FALSE(tags.contains(it.key())) << it.key().toStdString();
    EXPECT_FALSE(tags.contains("EXIF:GPSLatitude"));
    EXPECT_FALSE(tags.contains("EXIF:Orientation"));
}

inline QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Groups of tags that are the photo's metadata (not what exiftool reads
// from the file's structure, its name or the JPEG/PNG headers).
inline bool isMetadataGroup(const QString &key)
{
    return key.startsWith("EXIF:") || key.startsWith("XMP:") || key.startsWith("IPTC:")
           || key.startsWith("ICC_Profile:") || key.startsWith("MakerNotes:");
}

} // namespace taggedphoto

#endif // MERVANE_TESTS_COMMON_TAGGEDPHOTO_H
