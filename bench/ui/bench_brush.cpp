// Cost of one brush move on a 6000 x 4000 photo: the drawing into the layer
// plus the repaint of the visible canvas, at fit zoom and at 100 %.
//
//   QT_QPA_PLATFORM=offscreen ./mervane-bench-ui [moves]
//
// Run it from the run directory. Each move goes through the real slots
// (canvas signal -> PhotoItem) and is followed by a synchronous repaint of the
// top canvas, which repaints the layers beneath it as the screen would.
#include <QApplication>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>
#include <vector>

#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "ui_mainwindow.h"

namespace {

struct Result { double median, p95; };

Result measure(MainWindow &w, PhotoItem *item, int moves)
{
    Ui::MainWindow *ui = w.form();
    CustomWidget *top = ui->widget_front_green;
    std::vector<double> ms;
    ms.reserve(moves);
    const double cx = state(item).m_imageCols / 2.0, cy = state(item).m_imageRows / 2.0;
    item->recvLeftPressPoint(QPointF(cx, cy));
    QElapsedTimer t;
    for (int i = 0; i < moves; ++i) {
        // A wavy stroke of 4-screen-pixel steps.
        const double step = 4.0 / state(item).pointer.m_scale;
        const QPointF p(cx - moves * step / 2 + i * step, cy + 40.0 / state(item).pointer.m_scale * ((i / 10) % 2 ? 1 : -1));
        t.start();
        item->recvLeftMovePoint(p);
        top->repaint();
        ms.push_back(t.nsecsElapsed() / 1e6);
    }
    item->recvReleasePoint(QPointF(cx, cy));
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms[std::min(ms.size() - 1, ms.size() * 95 / 100)]};
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    const int moves = argc > 1 ? std::max(10, atoi(argv[1])) : 200;
    QTemporaryDir dir;
    cv::Mat photo(4000, 6000, CV_8UC3);
    cv::randu(photo, cv::Scalar::all(0), cv::Scalar::all(255));
    const QString path = dir.path() + "/big.png";
    cv::imwrite(path.toStdString(), photo, {cv::IMWRITE_PNG_COMPRESSION, 1});

    MainWindow w;
    w.show();
    QApplication::processEvents();
    w.openPhoto(path);
    QApplication::processEvents();
    PhotoItem *item = w.photoItems().last();
    Ui::MainWindow *ui = w.form();
    std::printf("canvas %dx%d, photo %dx%d, brush %d\n", ui->widget_front->width(), ui->widget_front->height(),
                state(item).m_imageCols, state(item).m_imageRows, w.brushSize());

    w.recvFit();
    QApplication::processEvents();
    const Result fit = measure(w, item, moves);
    std::printf("fit  (%.4f): brush move + repaint: median %.2f ms, p95 %.2f ms\n", w.displayScale(), fit.median,
                fit.p95);

    w.recv100();
    QApplication::processEvents();
    const Result actual = measure(w, item, moves);
    std::printf("100%%        : brush move + repaint: median %.2f ms, p95 %.2f ms\n", actual.median, actual.p95);
    return 0;
}
