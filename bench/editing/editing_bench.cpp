// mervane-editing-bench: what Grow Selection and Shrink Selection cost on a
// 6000 x 4000 photo with a 2000 x 2000 square selection: the whole
// command as the menu runs it (the layer change, the undo entry, the layer
// shown again), and the refresh of the list row's thumbnail after a change,
// as medians over several runs.
//
//   mervane-editing-bench [runs] [cols] [rows] [side]
//
// Runs on the offscreen platform unless QT_QPA_PLATFORM says otherwise.
#include <QApplication>
#include <QElapsedTimer>
#include <QListWidget>
#include <QTemporaryDir>
#include <QUndoStack>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

#include "customwidget.h"
#include "custombackwidget.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "benchtiming.h"
#include "skin.h"

namespace {

// Processor time of the whole process: unlike wall time it does not count
// the time other processes of a busy machine hold the cores.
double processCpuMs()
{
    timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

using bench::median;

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Skin::init();
    const int runs = argc > 1 ? std::max(3, atoi(argv[1])) : 15;
    const int cols = argc > 2 ? atoi(argv[2]) : 6000;
    const int rows = argc > 3 ? atoi(argv[3]) : 4000;
    const int side = argc > 4 ? atoi(argv[4]) : 2000;

    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/big.bmp");
    cv::Mat photo(rows, cols, CV_8UC3);
    cv::randu(photo, 0, 256);
    cv::imwrite(path.toStdString(), photo);

    QWidget host;
    host.resize(1400, 900);
    auto *back = new CustomBackWidget(&host);
    auto *mid = new CustomWidget(back);
    auto *front = new CustomWidget(mid);
    auto *green = new CustomWidget(front);
    for (QWidget *w : {static_cast<QWidget *>(back), static_cast<QWidget *>(mid), static_cast<QWidget *>(front),
                       static_cast<QWidget *>(green)})
        w->setGeometry(0, 0, 1400, 900);
    QListWidget list;
    host.show();
    QApplication::processEvents();
    PhotoItem item(back, mid, front, green, path, &list, 0);

    // The selection: a square in the middle.
    const cv::Rect square((cols - side) / 2, (rows - side) / 2, side, side);
    cv::rectangle(state(item).selection.m_inpaintMask, square, cv::Scalar(0, 0, 255, 128), cv::FILLED);
    item.recvSelectType(3, 30, 0);

    std::vector<double> grow, shrink, undo, bounds, growCpu, shrinkCpu;
    QElapsedTimer t;
    for (int k = 0; k < runs; ++k) {
        t.start();
        if (layerBounds(state(item).selection.m_inpaintMask, 2).width != side)
            return 1;
        bounds.push_back(t.nsecsElapsed() / 1e6);
        double cpu = processCpuMs();
        t.start();
        if (!item.growSelection())
            return 1;
        grow.push_back(t.nsecsElapsed() / 1e6);
        growCpu.push_back(processCpuMs() - cpu);
        cpu = processCpuMs();
        t.start();
        if (!item.shrinkSelection())
            return 1;
        shrink.push_back(t.nsecsElapsed() / 1e6);
        shrinkCpu.push_back(processCpuMs() - cpu);
        t.start();
        item.getUndoStack()->undo();
        undo.push_back(t.nsecsElapsed() / 1e6);
        item.getUndoStack()->undo();
    }
    std::printf("%d x %d photo, %d x %d selection, %d runs (median ms)\n", cols, rows, side, side, runs);
    std::vector<double> thumbs;
    for (int k = 0; k < runs; ++k) {
        t.start();
        item.refreshThumbnail();
        thumbs.push_back(t.nsecsElapsed() / 1e6);
    }
    std::printf("list row thumbnail refresh %.2f\n", median(thumbs));
    std::printf("processor time, all threads: grow %.1f  shrink %.1f\n", median(growCpu), median(shrinkCpu));
    std::printf("wall: grow %.1f  shrink %.1f  undo %.1f  (of which finding the selection's box %.1f)\n", median(grow),
                median(shrink), median(undo), median(bounds));
    return 0;
}
