#include "matconvert.h"

#include <opencv2/imgproc.hpp>

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
