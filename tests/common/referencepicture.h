#ifndef MERVANE_REFERENCEPICTURE_H
#define MERVANE_REFERENCEPICTURE_H

// Pictures of widgets against the references committed beside a suite, in
// tests/<suite>/reference/<name>.png. MERVANE_WRITE_REFERENCES=1 writes the
// references instead of comparing.

#include <QDir>
#include <QImage>
#include <QString>
#include <QtGlobal>

// Share of pixels whose channels differ by more than 48 anywhere; pictures of
// different sizes differ everywhere.
inline double differingShare(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return 1.0;
    qint64 differing = 0;
    for (int y = 0; y < a.height(); ++y) {
        const QRgb *ra = reinterpret_cast<const QRgb *>(a.constScanLine(y));
        const QRgb *rb = reinterpret_cast<const QRgb *>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            const int d = qMax(qAbs(qRed(ra[x]) - qRed(rb[x])),
                               qMax(qAbs(qGreen(ra[x]) - qGreen(rb[x])), qAbs(qBlue(ra[x]) - qBlue(rb[x]))));
            differing += d > 48 ? 1 : 0;
        }
    }
    return double(differing) / (qint64(a.width()) * a.height());
}

// Empty when at most `tolerance` of the picture differs from the reference;
// otherwise what is wrong, and the picture is kept as <temp>/<name>-actual.png.
inline QString referenceMismatch(const QImage &picture, const QString &suite, const QString &name, double tolerance)
{
    const QImage shot = picture.convertToFormat(QImage::Format_RGB32);
    const QString dir = qEnvironmentVariable("MERVANE_SOURCE_DIR") + QStringLiteral("/tests/") + suite
                        + QStringLiteral("/reference");
    const QString path = dir + QLatin1Char('/') + name + QStringLiteral(".png");
    if (qEnvironmentVariableIntValue("MERVANE_WRITE_REFERENCES")) {
        QDir().mkpath(dir);
        return shot.save(path) ? QString() : QStringLiteral("cannot write %1").arg(path);
    }
    const QImage reference = QImage(path).convertToFormat(QImage::Format_RGB32);
    if (reference.isNull())
        return QStringLiteral("missing reference %1").arg(path);
    const double share = differingShare(shot, reference);
    if (share <= tolerance)
        return QString();
    shot.save(QDir::temp().filePath(name + QStringLiteral("-actual.png")));
    return QStringLiteral("%1: %2% of the pixels differ (size %3x%4, reference %5x%6)")
        .arg(name)
        .arg(share * 100, 0, 'f', 2)
        .arg(shot.width())
        .arg(shot.height())
        .arg(reference.width())
        .arg(reference.height());
}

#endif // MERVANE_REFERENCEPICTURE_H
