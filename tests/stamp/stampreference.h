#ifndef MERVANE_STAMPREFERENCE_H
#define MERVANE_STAMPREFERENCE_H

// The stamp dab written as plainly as the rule reads: every pixel of the
// square in order, at<>() access, no range clipping, no shortcuts. The
// document's version must give the same bytes.

#include <QPointF>
#include <opencv2/core.hpp>

struct StampSettings
{
    int brushSize = 30;
    double scale = 1.0;
    int offsetX = 0;
    int offsetY = 0;
    float hardness = 1.0f;
    float opacity = 1.0f;
    bool fenced = false;
};

inline void referenceStampPaint(cv::Mat &image, const cv::Mat &region, QPointF pos, const StampSettings &s)
{
    const int n = int(s.brushSize / s.scale);
    const int h = n >> 1;
    if (n < 1)
        return;
    const double x = pos.x(), y = pos.y();
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            float a;
            if (h == 0) {
                a = 1.0f; // one pixel: a plain copy
            } else {
                const float dy = float(h - i);
                const float dx = float(h - j);
                float f = 0.5 - float(int(dx * dx + dy * dy)) / float(2 * h * h);
                if (f < 0)
                    f = 0;
                if (f == 0) {
                    a = 0;
                } else {
                    a = (f + s.hardness) * s.opacity;
                    if (a > 1)
                        a = 1;
                }
            }
            const int tr = int(i + y - h), tc = int(j + x - h);
            const int sr = int(i + y - s.offsetY - h), sc = int(j + x - s.offsetX - h);
            if (tr < 0 || tr >= image.rows || tc < 0 || tc >= image.cols || sr < 0 || sr >= image.rows || sc < 0
                || sc >= image.cols)
                continue;
            const cv::Vec3b src = image.at<cv::Vec3b>(sr, sc);
            const cv::Vec3b dst = image.at<cv::Vec3b>(tr, tc);
            cv::Vec3b out;
            for (int c = 0; c < 3; ++c)
                out[c] = uchar(int(float(src[c]) * a + float(dst[c]) * (1 - a)));
            if (s.fenced && region.at<cv::Vec4b>(tr, tc)[2] < 255)
                continue;
            image.at<cv::Vec3b>(tr, tc) = out;
        }
    }
}

#endif // MERVANE_STAMPREFERENCE_H
