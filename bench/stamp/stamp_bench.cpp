// mervane-stamp-bench: what one pointer move of the sampling stamp costs on a
// 6000 x 4000 photo. A move under the stamp is a dab, the preview under the
// pointer and the photo on the canvas brought up to date; the canvas then
// repaints the visible part of the photo. Reported as medians over a stroke.
//
//   mervane-stamp-bench [moves] [cols] [rows]
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
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

#include "custombackwidget.h"
#include "customwidget.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "benchtiming.h"
#include "skin.h"

namespace {

using bench::median;

double percentile90(std::vector<double> v)
{
    if (v.empty())
        return 0.0;
    std::sort(v.begin(), v.end());
    return v[(v.size() * 9) / 10];
}

// A big photo with real texture: a photograph scaled up, plus mild noise so
// that no two dabs copy flat colour.
cv::Mat bigPhoto(int cols, int rows)
{
    cv::Mat base = cv::imread("/usr/lib/python3/dist-packages/skimage/data/astronaut.png", cv::IMREAD_COLOR);
    if (base.empty()) {
        base = cv::Mat(512, 512, CV_8UC3);
        cv::randu(base, 0, 256);
    }
    cv::Mat big;
    cv::resize(base, big, cv::Size(cols, rows), 0, 0, cv::INTER_LINEAR);
    cv::Mat noise(rows, cols, CV_8UC3);
    cv::randu(noise, 0, 16);
    big += noise;
    return big;
}

struct Canvas
{
    QWidget host;
    CustomBackWidget *back;
    CustomWidget *mid, *front, *green;
    QListWidget *list;

    Canvas(int width, int height)
    {
        host.resize(width, height);
        back = new CustomBackWidget(&host);
        back->setGeometry(0, 0, width, height);
        mid = new CustomWidget(back);
        front = new CustomWidget(mid);
        green = new CustomWidget(front);
        for (QWidget *w : {static_cast<QWidget *>(mid), static_cast<QWidget *>(front),
                           static_cast<QWidget *>(green)})
            w->setGeometry(0, 0, width, height);
        list = new QListWidget;
        host.show();
        // Let the platform expose the window, so repaints really draw.
        for (int k = 0; k < 5; ++k)
            QApplication::processEvents();
    }
    ~Canvas() { delete list; }

    void setScale(double scale)
    {
        mid->setScale(scale);
        front->setScale(scale);
        green->setScale(scale);
        back->setScale(scale);
    }
};

struct Timing
{
    double documentMs = 0.0;    // the photo's own work per move
    double documentCpuMs = 0.0; // the same in processor time of this thread
    double repaintMs = 0.0;     // the canvas drawing the visible part afterwards
    double p90Ms = 0.0;         // 90th percentile of both together
};

// Processor time of the calling thread: unlike wall time it does not count
// the time other processes of a busy machine hold the core.
double threadCpuMs()
{
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

// One stroke of `moves` moves across the photo under the stamp, each move
// timed on its own: the document's work (dab, preview, pixmap update), then
// a synchronous repaint of the photo and preview layers.
Timing stroke(PhotoItem &item, Canvas &canvas, int moves, double scale, bool fullConversion)
{
    item.setScale(scale);
    canvas.setScale(scale);
    item.recvSelectType(8, 200, 0);
    const double cols = state(item).m_imageCols, rows = state(item).m_imageRows;
    item.recvLeftALTPressPoint(QPointF(cols * 0.25, rows * 0.3));
    item.recvReleasePoint(QPointF(cols * 0.25, rows * 0.3));
    // A zigzag of about 6 screen pixels per move that stays on the photo:
    // across the middle third and back, drifting up and down.
    const double step = 6.0 / scale;
    const double span = cols / 3.0;
    QPointF pos(cols / 3.0, rows * 0.5);
    item.recvLeftPressPoint(pos);
    std::vector<double> doc, paint, both, cpu;
    QElapsedTimer timer;
    for (int k = 0; k < moves; ++k) {
        const double run = std::fmod((k + 1) * step, 2.0 * span);
        pos = QPointF(cols / 3.0 + (run < span ? run : 2.0 * span - run),
                      rows * 0.5 + ((k / 20) % 2 ? 0.5 : -0.5) * step * (k % 20));
        const double cpu0 = threadCpuMs();
        timer.start();
        item.recvLeftMovePoint(pos);
        item.recvLeftMoveNoPoint(pos);
        if (fullConversion) // what converting the whole photo on every move costs
            canvas.mid->setPixmap(matToQPixmap(state(item).m_image), canvas.mid);
        const double d = timer.nsecsElapsed() / 1e6;
        cpu.push_back(threadCpuMs() - cpu0);
        timer.start();
        canvas.mid->repaint();
        canvas.green->repaint();
        const double p = timer.nsecsElapsed() / 1e6;
        doc.push_back(d);
        paint.push_back(p);
        both.push_back(d + p);
    }
    item.recvReleasePoint(pos);
    return Timing{median(doc), median(cpu), median(paint), percentile90(both)};
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Skin::init();
    const int moves = argc > 1 ? std::max(10, atoi(argv[1])) : 120;
    const int cols = argc > 2 ? atoi(argv[2]) : 6000;
    const int rows = argc > 3 ? atoi(argv[3]) : 4000;

    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/big.bmp");
    cv::imwrite(path.toStdString(), bigPhoto(cols, rows));

    const int viewW = 1400, viewH = 900;
    Canvas canvas(viewW, viewH);
    auto *item = new PhotoItem(canvas.back, canvas.mid, canvas.front, canvas.green, path, canvas.list, 0);
    const double fit = std::min(double(viewW) / cols, double(viewH) / rows);

    std::printf("stamp per move, %d x %d photo, view %d x %d, brush 200, %d moves (median ms)\n", cols, rows, viewW,
                viewH, moves);
    std::printf("%-28s %6s %9s %8s %8s %8s %8s\n", "case", "N", "document", "cpu", "repaint", "total", "p90");
    struct Case
    {
        const char *name;
        double scale;
        bool full;
    } cases[] = {
        {"100%, dab rectangle", 1.0, false},
        {"fit, dab rectangle", fit, false},
        // The main window's canvas on a 1600 x 1000 screen is 861 pixels wide.
        {"fit 861 wide, dab rectangle", 861.0 / cols, false},
        {"100%, whole photo per move", 1.0, true},
        {"fit, whole photo per move", fit, true},
    };
    // MERVANE_STAMP_CASE=k runs only the k-th case (0-based), for profiling.
    const int only = qEnvironmentVariableIsSet("MERVANE_STAMP_CASE") ? qEnvironmentVariableIntValue("MERVANE_STAMP_CASE")
                                                                     : -1;
    for (const Case &c : cases) {
        if (only >= 0 && &c - cases != only)
            continue;
        const Timing t = stroke(*item, canvas, c.full ? std::max(10, moves / 4) : moves, c.scale, c.full);
        std::printf("%-28s %6d %9.2f %8.2f %8.2f %8.2f %8.2f\n", c.name, int(200 / c.scale), t.documentMs,
                    t.documentCpuMs, t.repaintMs, t.documentMs + t.repaintMs, t.p90Ms);
    }

    if (only >= 0) {
        delete item;
        return 0;
    }

    // Where a move's time goes at both zooms: the dab alone, and the preview
    // alone (a move under the button builds it, and the hover that the canvas
    // sends right after builds it again).
    for (const double scale : {1.0, fit, 861.0 / cols}) {
        item->setScale(scale);
        std::vector<double> dab, preview;
        QElapsedTimer t;
        for (int k = 0; k < moves; ++k) {
            const QPointF p(cols / 3.0 + std::fmod(k * 6.0 / scale, cols / 3.0), rows * 0.5);
            t.start();
            item->stampPaint(p);
            dab.push_back(t.nsecsElapsed() / 1e6);
            t.start();
            item->stampPreview(p);
            preview.push_back(t.nsecsElapsed() / 1e6);
        }
        std::printf("N %d: dab %.2f ms, preview %.2f ms\n", int(200 / scale), median(dab), median(preview));
    }

    // Once per stroke: the press (whole snapshot of the image, first dab) and
    // the release (the undo entry, whose first redo refreshes the canvas).
    std::vector<double> press, release;
    QElapsedTimer timer;
    item->setScale(1.0);
    for (int k = 0; k < 7; ++k) {
        const QPointF p(1000.0 + 300 * k, 2000.0);
        timer.start();
        item->recvLeftPressPoint(p);
        press.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        item->recvReleasePoint(p);
        release.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::printf("press (snapshot + first dab): %.1f ms, release (undo entry): %.1f ms\n", median(press),
                median(release));
    delete item;
    return 0;
}
