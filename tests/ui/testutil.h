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

#include "testphotos.h"

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
