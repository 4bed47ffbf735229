#ifndef MERVANE_TESTUTIL_H
#define MERVANE_TESTUTIL_H

#include <QApplication>
#include <QMessageBox>
#include <QStandardPaths>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

// Answers the next modal message box with Ok and records its text, so that
// code under test that warns the user does not block the test.
class ModalCloser : public QObject
{
public:
    QString text;
    int seen = 0;
    void arm()
    {
        QTimer::singleShot(0, this, [this] { poll(); });
    }

private:
    void poll()
    {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            text = box->text();
            ++seen;
            box->done(QMessageBox::Ok);
            return;
        }
        QTimer::singleShot(5, this, [this] { poll(); });
    }
};

// A small colour photo with some structure, written as PNG.
inline cv::Mat syntheticPhoto(int cols, int rows)
{
    cv::Mat m(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            m.at<cv::Vec3b>(y, x) = cv::Vec3b(uchar(x * 7), uchar(y * 5), uchar((x + y) * 3));
    return m;
}

inline QString writePhoto(const QString &dir, const QString &name, const cv::Mat &m)
{
    const QString path = dir + "/" + name;
    cv::imwrite(path.toStdString(), m);
    return path;
}

// Keeps the test runs away from the user's own settings.
inline void isolateSettings()
{
    QStandardPaths::setTestModeEnabled(true);
}

// Counts the values a layer holds outside the four of the layer encoding.
inline int foreignLayerValues(const cv::Mat &layer)
{
    int bad = 0;
    for (int y = 0; y < layer.rows; ++y) {
        const cv::Vec4b *p = layer.ptr<cv::Vec4b>(y);
        for (int x = 0; x < layer.cols; ++x) {
            const cv::Vec4b v = p[x];
            const bool ok = v == cv::Vec4b(0, 0, 0, 0) || v == cv::Vec4b(0, 0, 255, 128)
                            || v == cv::Vec4b(0, 255, 0, 128) || v == cv::Vec4b(0, 0, 255, 0);
            bad += ok ? 0 : 1;
        }
    }
    return bad;
}

#endif // MERVANE_TESTUTIL_H
