#ifndef MERVANE_TESTPHOTOS_H
#define MERVANE_TESTPHOTOS_H

// Photos for the widget suites: small made-up ones written where a test
// wants them, and real photographs from Debian's python3-skimage (installed
// by scripts/setup.sh).

#include <QString>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

// A small colour photo with structure in every channel; the seed shifts the
// colours so that photos of one test differ.
inline cv::Mat patternPhoto(int cols, int rows, int seed = 0)
{
    cv::Mat m(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y) {
        cv::Vec3b *p = m.ptr<cv::Vec3b>(y);
        for (int x = 0; x < cols; ++x)
            p[x] = cv::Vec3b(uchar(x * 7 + seed), uchar(y * 5 + 3 * seed), uchar((x + y) * 3 + 11 * seed));
    }
    return m;
}

// Writes an image at dir/name (the format follows the suffix); gives the path.
inline QString writeImage(const QString &dir, const QString &name, const cv::Mat &m)
{
    const QString path = dir + "/" + name;
    cv::imwrite(path.toStdString(), m);
    return path;
}

inline QString realPhoto(const char *name)
{
    return QStringLiteral("/usr/lib/python3/dist-packages/skimage/data/") + QLatin1String(name);
}

#endif // MERVANE_TESTPHOTOS_H
