// mervane-memory-bench: what whole sets of 24-megapixel photos cost the
// window, driven offscreen through the window's own buttons and dialogs.
//
//   mervane-memory-bench photos [--erase WxH] [--trace] [--budget-mb MB] [--pixel-budget-mb MB]
//       Select Photo with one photo, then the add button with three more;
//       resident memory after 1 and after 4, the time until each is on
//       screen, switching between them, then an Erase of a W x H rectangle
//       (default 1000 x 800) on the current photo: its peak memory against
//       the photo's decoded size (--trace: resident memory through it).
//   mervane-memory-bench folder N [--budget-mb MB] [--pixel-budget-mb MB]
//       Open Folder with N photos (N <= 40): time from choosing the folder
//       to the first photo on screen, the longest event-loop stall while
//       the rows arrive, resident memory once every row is there; then
//       switches to rows never shown and back to photos that gave their
//       pixels back.
//       --shot FILE keeps a picture of the window once every row is in.
//   --pixel-budget-mb sets how many MB of photos' pixels the window keeps
//       (MainWindow::setPixelBudget; 0: every photo not shown gives its
//       pixels back if it may).
//   mervane-memory-bench decode [RUNS]
//       A full decode of one of the photos against the reduced decodes a
//       thumbnail needs, and what checking the file's identity costs.
//
// The photos (6000 x 4000 JPEGs, quality 92) are made on first use from
// python3-skimage's coffee.png, enlarged, with a little noise and each one
// shifted in brightness and marked with its number, so that no two are
// alike and the files weigh what camera files do; they are kept under the
// build tree (bench-cache/), never in git.
//
// Memory is the process's own: VmRSS and VmHWM from /proc/self/status (the
// peak is reset through /proc/self/clear_refs before an Erase), plus a
// sampler thread every 5 ms as a check. A sampler also guards the machine:
// when resident memory passes --budget-mb (default 6000) the run stops and
// says how far it got.
//
// "On screen" is the end of the first paint of the canvas layer that holds
// the photo, with the photo's pixmap in it (a pixmap it did not show
// before). A stall is the largest gap between the ticks of a 10 ms timer.
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QUndoStack>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <malloc.h>
#include <unistd.h>
#include <vector>

#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoio.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "skin.h"
#include "ui_mainwindow.h"
#include "waitpolicy.h"
#include "windowtest.h"

namespace {

constexpr int kCols = 6000;
constexpr int kRows = 4000;
constexpr int kMaxPhotos = 40;
const char *kSource = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";

// ------------------------------------------------------------------ memory

struct Memory
{
    double rssMb = 0.0;
    double hwmMb = 0.0;
};

Memory readMemory()
{
    Memory m;
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            m.rssMb = std::atof(line.c_str() + 6) / 1024.0;
        else if (line.rfind("VmHWM:", 0) == 0)
            m.hwmMb = std::atof(line.c_str() + 6) / 1024.0;
    }
    return m;
}

// Resets VmHWM to the present resident size (Linux 4.0 and later).
bool resetPeak()
{
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return bool(clear);
}

// Samples resident memory every few milliseconds: a peak of its own, and
// the budget that ends a run before it takes the machine down.
class Sampler
{
public:
    Sampler(double budgetMb, std::atomic<int> *rows) : m_budgetMb(budgetMb), m_rows(rows)
    {
        m_thread = std::thread([this] { run(); });
    }
    ~Sampler()
    {
        m_stop = true;
        m_thread.join();
    }
    void restartPeak() { m_peakKb = 0; }
    // Keeps every sample from now on (milliseconds, MB), for --trace.
    void startTrace()
    {
        std::lock_guard<std::mutex> lock(m_traceMutex);
        m_trace.clear();
        m_traceClock.start();
        m_tracing = true;
    }
    std::vector<std::pair<qint64, double>> stopTrace()
    {
        std::lock_guard<std::mutex> lock(m_traceMutex);
        m_tracing = false;
        return m_trace;
    }
    double peakMb() const { return m_peakKb / 1024.0; }

private:
    void run()
    {
        QElapsedTimer clock;
        clock.start();
        while (!m_stop) {
            const double rss = readMemory().rssMb;
            const long kb = long(rss * 1024.0);
            long seen = m_peakKb;
            while (kb > seen && !m_peakKb.compare_exchange_weak(seen, kb)) {
            }
            if (m_tracing) {
                std::lock_guard<std::mutex> lock(m_traceMutex);
                m_trace.emplace_back(m_traceClock.elapsed(), rss);
            }
            if (rss > m_budgetMb) {
                std::printf("OVER BUDGET: resident %.0f MB > %.0f MB with %d rows in the list, %.1f s into the "
                            "run; stopped\n",
                            rss, m_budgetMb, m_rows ? m_rows->load() : -1, clock.elapsed() / 1000.0);
                std::fflush(stdout);
                std::_Exit(2);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    double m_budgetMb;
    std::atomic<int> *m_rows;
    std::atomic<bool> m_stop{false};
    std::atomic<long> m_peakKb{0};
    std::atomic<bool> m_tracing{false};
    std::mutex m_traceMutex;
    QElapsedTimer m_traceClock;
    std::vector<std::pair<qint64, double>> m_trace;
    std::thread m_thread;
};

// ------------------------------------------------------------------ photos

// The cache of made photos; the name carries the recipe's version.
QString cacheFolder()
{
    return QStringLiteral(MERVANE_BENCH_CACHE "/memory-24mp-v2");
}

QString photoPath(int i)
{
    return cacheFolder() + QString::asprintf("/photo-%02d.jpg", i);
}

bool makePhotos()
{
    QDir().mkpath(cacheFolder());
    bool all = true;
    for (int i = 0; i < kMaxPhotos; ++i)
        all = all && QFile::exists(photoPath(i));
    if (all)
        return true;
    const cv::Mat small = cv::imread(kSource, cv::IMREAD_COLOR);
    if (small.empty()) {
        std::fprintf(stderr, "mervane-memory-bench: cannot read %s (install python3-skimage)\n", kSource);
        return false;
    }
    std::printf("making %d photos of %d x %d in %s ...\n", kMaxPhotos, kCols, kRows, qPrintable(cacheFolder()));
    std::fflush(stdout);
    cv::Mat base;
    cv::resize(small, base, cv::Size(kCols, kRows), 0, 0, cv::INTER_CUBIC);
    // Sensor-like grain, the same for all: what makes the files weigh what
    // camera files do (an enlarged picture alone compresses far too well).
    cv::Mat grain(base.size(), CV_16SC3);
    cv::theRNG().state = 20261123;
    cv::randn(grain, 0, 7);
    cv::Mat grainy;
    cv::add(base, grain, grainy, cv::noArray(), CV_8UC3);
    for (int i = 0; i < kMaxPhotos; ++i) {
        if (QFile::exists(photoPath(i)))
            continue;
        cv::Mat photo;
        grainy.convertTo(photo, CV_8UC3, 1.0, (i % 9) - 4);
        cv::putText(photo, std::to_string(i + 1), cv::Point(200, 3600), cv::FONT_HERSHEY_SIMPLEX, 12.0,
                    cv::Scalar(40 + 5 * i, 200, 255 - 5 * i), 30, cv::LINE_AA);
        photoio::EncodeOptions options;
        options.jpegQuality = 92;
        const photoio::Encoded encoded = photoio::encode(photo, ".jpg", options);
        const std::string error = encoded.ok() ? photoio::writeFileChecked(photoPath(i).toStdString(), encoded.bytes)
                                               : encoded.error;
        if (!error.empty()) {
            std::fprintf(stderr, "mervane-memory-bench: %s: %s\n", qPrintable(photoPath(i)), error.c_str());
            return false;
        }
    }
    return true;
}

// A folder holding the first n photos (hard links: the folder command
// passes over symbolic links).
QString folderOf(int n)
{
    const QString folder = cacheFolder() + QString::asprintf("/folder-%02d", n);
    QDir().mkpath(folder);
    for (int i = 0; i < n; ++i) {
        const QString target = folder + QString::asprintf("/photo-%02d.jpg", i);
        if (!QFile::exists(target) && ::link(photoPath(i).toLocal8Bit().constData(), target.toLocal8Bit().constData()) != 0)
            QFile::copy(photoPath(i), target);
    }
    return folder;
}

// ------------------------------------------------------------------ watching

// Watches the canvas layer that shows the photo: when a paint with a new
// pixmap ends.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(CustomWidget *layer) : m_layer(layer)
    {
        m_clock.start();
        layer->installEventFilter(this);
    }
    // Arms the watch: the next paint showing a pixmap other than the one
    // shown now (any pixmap if none) counts.
    void arm()
    {
        m_oldKey = m_layer->pixmap().isNull() ? 0 : m_layer->pixmap().cacheKey();
        m_doneMs = -1;
    }
    qint64 doneMs() const { return m_doneMs; }
    qint64 now() const { return m_clock.elapsed(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched != m_layer || event->type() != QEvent::Paint || m_doneMs >= 0)
            return false;
        const QPixmap &shown = m_layer->pixmap();
        if (shown.isNull() || shown.cacheKey() == m_oldKey)
            return false;
        // Paint now, inside this very paint pass, to time its end.
        static_cast<QObject *>(m_layer)->event(event);
        m_doneMs = m_clock.elapsed();
        return true;
    }

private:
    CustomWidget *m_layer;
    QElapsedTimer m_clock;
    qint64 m_oldKey = 0;
    qint64 m_doneMs = -1;
};

// The largest gap between the ticks of a 10 ms timer.
class StallMeter : public QObject
{
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            const qint64 t = m_clock.elapsed();
            m_worst = std::max(m_worst, t - m_last);
            m_gaps.emplace_back(m_last, t - m_last);
            m_last = t;
        });
    }
    void start()
    {
        m_clock.start();
        m_last = 0;
        m_worst = 0;
        m_gaps.clear();
        m_timer.start(10);
    }
    void stop() { m_timer.stop(); }
    qint64 worstMs() const { return m_worst; }
    // The largest gap that began at or after `fromMs` (since start()).
    qint64 worstFromMs(qint64 fromMs) const
    {
        qint64 worst = 0;
        for (const auto &[begin, gap] : m_gaps)
            if (begin >= fromMs)
                worst = std::max(worst, gap);
        return worst;
    }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    qint64 m_worst = 0;
    std::vector<std::pair<qint64, qint64>> m_gaps; // begin, length
};

// Lets the event loop run until memory stops moving (background work, if
// any, done): less than 2 MB in 300 ms, or 15 s.
void settle()
{
    QElapsedTimer t;
    t.start();
    double last = readMemory().rssMb;
    while (t.elapsed() < 15000) {
        QTest::qWait(300);
        const double now = readMemory().rssMb;
        if (std::abs(now - last) < 2.0)
            return;
        last = now;
    }
}

double median(std::vector<double> v)
{
    if (v.empty())
        return 0.0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double mb(const cv::Mat &m)
{
    return m.empty() ? 0.0 : double(m.total() * m.elemSize()) / (1024.0 * 1024.0);
}

double mb(const QPixmap &p)
{
    return p.isNull() ? 0.0 : double(p.width()) * p.height() * p.depth() / 8.0 / (1024.0 * 1024.0);
}

// What one open photo holds, buffer by buffer.
void printHoldings(PhotoItem *item, CustomWidget *mid)
{
    struct Row { const char *name; double mb; };
    const Row rows[] = {
        {"m_image (the photo)", mb(stateAsIs(item).m_image)},
        {"m_inpaintMask (red layer)", mb(stateAsIs(item).selection.m_inpaintMask)},
        {"m_inpaintMaskBK (green layer)", mb(stateAsIs(item).selection.m_inpaintMaskBK)},
        {"m_strokeBaseRed", mb(stateAsIs(item).selection.m_strokeBaseRed)},
        {"m_strokeBaseGreen", mb(stateAsIs(item).selection.m_strokeBaseGreen)},
        {"m_cloneSource", mb(stateAsIs(item).clone.m_cloneSource)},
        {"m_cloneMask", mb(stateAsIs(item).clone.m_cloneMask)},
        {"m_cloneMaskScaled", mb(stateAsIs(item).clone.m_cloneMaskScaled)},
        {"m_clonePreview", mb(stateAsIs(item).clone.m_clonePreview)},
        {"m_rubberBand", mb(stateAsIs(item).selection.m_rubberBand)},
        {"m_imageBeforeJob", mb(stateAsIs(item).job.m_imageBeforeJob)},
    };
    double sum = 0.0;
    std::printf("  held by the current photo's document (MB):\n");
    for (const Row &r : rows) {
        std::printf("    %-32s %7.1f\n", r.name, r.mb);
        sum += r.mb;
    }
    std::printf("    %-32s %7.1f\n", "document total", sum);
    std::printf("    %-32s %7.1f\n", "canvas pixmap of the photo", mb(mid->pixmap()));
}

// ------------------------------------------------------------------ runs

struct Bench
{
    MainWindow *window = nullptr;
    Ui::MainWindow *ui = nullptr;
    PaintWatch *watch = nullptr;
    std::atomic<int> rows{0};

    void open()
    {
        window = new MainWindow;
        ui = window->form();
        watch = new PaintWatch(ui->widget_mid);
        QObject::connect(ui->listWidget->model(), &QAbstractItemModel::rowsInserted, [this] {
            rows = ui->listWidget->count();
        });
        window->show();
        if (!QTest::qWaitForWindowExposed(window))
            std::printf("the window was not exposed\n");
        settle();
    }

    // Answers the next file dialog with `paths`, noting when it is accepted.
    qint64 chooseFiles(QPushButton *button, const QStringList &paths, StallMeter *stalls = nullptr)
    {
        ModalAnswers answers;
        qint64 chosen = -1;
        const ModalAnswers::Handler fill = ModalAnswers::files(paths);
        answers.then([&](QWidget *w) {
            if (chosen < 0) {
                chosen = watch->now();
                watch->arm();
                if (stalls)
                    stalls->start();
            }
            return fill(w);
        });
        button->click();
        return chosen;
    }

    // Waits for the watched paint; its time after `from`, or -1.
    qint64 waitShown(qint64 from, int timeoutMs = 60000)
    {
        if (!QTest::qWaitFor([this] { return watch->doneMs() >= 0; }, timeoutMs))
            return -1;
        return watch->doneMs() < 0 ? -1 : watch->doneMs() - from;
    }
};

void printMemory(const char *when, const Memory &m, double baseMb)
{
    std::printf("%-34s resident %7.0f MB (%+.0f over the empty window), peak %7.0f MB\n", when, m.rssMb,
                m.rssMb - baseMb, m.hwmMb);
}

int runPhotos(Bench &b, cv::Size eraseSize, Sampler &sampler, bool trace)
{
    const Memory empty = readMemory();
    printMemory("empty window", empty, empty.rssMb);

    qint64 chosen = b.chooseFiles(b.ui->pushButton_select_photo, {photoPath(0)});
    const qint64 first = b.waitShown(chosen);
    settle();
    const Memory one = readMemory();
    std::printf("Select Photo: on screen %lld ms after the file was chosen\n", (long long)first);
    printMemory("after 1 photo", one, empty.rssMb);

    chosen = b.chooseFiles(b.ui->pushButton_add, {photoPath(1), photoPath(2), photoPath(3)});
    const qint64 added = b.waitShown(chosen);
    settle();
    const Memory four = readMemory();
    std::printf("add button, 3 photos: the last on screen %lld ms after they were chosen\n", (long long)added);
    printMemory("after 4 photos", four, empty.rssMb);
    std::printf("each photo after the first: %.0f MB (decoded pixels: %.1f MB)\n", (four.rssMb - one.rssMb) / 3.0,
                kCols * kRows * 3 / (1024.0 * 1024.0));
    if (PhotoItem *item = b.window->currentItem())
        printHoldings(item, b.ui->widget_mid);

    // Switching: every row in turn, twice.
    std::vector<double> switches;
    const int count = b.ui->listWidget->count();
    for (int round = 0; round < 2 && count > 1; ++round) {
        for (int k = 0; k < count; ++k) {
            if (k == b.ui->listWidget->currentRow())
                continue;
            b.watch->arm();
            const qint64 from = b.watch->now();
            b.ui->listWidget->setCurrentRow(k);
            const qint64 shown = b.waitShown(from, 30000);
            if (shown >= 0)
                switches.push_back(double(shown));
        }
    }
    if (!switches.empty())
        std::printf("switch to another photo: median %.0f ms, worst %.0f ms (%zu switches)\n", median(switches),
                    *std::max_element(switches.begin(), switches.end()), switches.size());
    settle();

    // Erase: a rectangle in the middle of the current photo, with the
    // rectangle tool on the canvas, then the Erase button.
    PhotoItem *item = b.window->currentItem();
    if (!item || eraseSize.width < 1)
        return 0;
    CustomWidget *top = b.ui->widget_front_green;
    const auto toCanvas = [top](double x, double y) {
        return QPoint(int(std::lround(x * top->scale() + top->offsetLeft() - top->scrollX())),
                      int(std::lround(y * top->scale() + top->offsetTop() - top->scrollY())));
    };
    const cv::Rect area(2000, 1600, eraseSize.width, eraseSize.height);
    QTest::mouseClick(b.ui->pushButton_rect, Qt::LeftButton);
    const QPoint p0 = toCanvas(area.x, area.y), p1 = toCanvas(area.x + area.width, area.y + area.height);
    QTest::mousePress(top, Qt::LeftButton, Qt::NoModifier, p0);
    for (int k = 1; k <= 8; ++k) {
        QMouseEvent move(QEvent::MouseMove, p0 + (p1 - p0) * (k / 8.0), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(top, &move);
    }
    QTest::mouseRelease(top, Qt::LeftButton, Qt::NoModifier, p1);
    const int selected = cv::countNonZero(item->selectionMask(Colour::Mask));
    settle();
    const Memory before = readMemory();
    const bool reset = resetPeak();
    QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
    QElapsedTimer t;
    t.start();
    if (trace)
        sampler.startTrace();
    QTest::mouseClick(b.ui->pushButton_eraser, Qt::LeftButton);
    if (!finished.wait(600000))
        std::printf("the Erase did not end\n");
    const qint64 jobMs = t.elapsed();
    if (trace) {
        // Resident memory through the job, where it moved by 4 MB or more.
        double last = -1e9;
        for (const auto &[ms, rss] : sampler.stopTrace()) {
            if (std::abs(rss - last) >= 4.0) {
                std::printf("    %6lld ms  %7.0f MB  %+6.0f\n", (long long)ms, rss, rss - before.rssMb);
                last = rss;
            }
        }
    }
    const Memory after = readMemory();
    const double decoded = mb(stateAsIs(item).m_image);
    std::printf("Erase of a %d x %d rectangle (%d pixels selected) on photo %d: %lld ms, undo entries %d\n",
                area.width, area.height, selected, b.ui->listWidget->currentRow() + 1, (long long)jobMs,
                item->getUndoStack()->count());
    std::printf("  resident before %.0f MB, peak during %.0f MB%s, after %.0f MB\n", before.rssMb, after.hwmMb,
                reset ? "" : " (peak could not be reset: since start)", after.rssMb);
    std::printf("  the job's peak above the window's own: %.0f MB = %.2f x the decoded photo (%.1f MB)\n",
                after.hwmMb - before.rssMb, (after.hwmMb - before.rssMb) / decoded, decoded);
    std::printf("  kept after the job: %.0f MB = %.2f x the decoded photo\n", after.rssMb - before.rssMb,
                (after.rssMb - before.rssMb) / decoded);
    // How much of that the allocator holds free, not the program.
    malloc_trim(0);
    const Memory trimmed = readMemory();
    std::printf("  of which free in the allocator (malloc_trim gives it back): %.0f MB\n",
                after.rssMb - trimmed.rssMb);
    return 0;
}

int runFolder(Bench &b, int n, const QString &shot)
{
    const QString folder = folderOf(n);
    const Memory empty = readMemory();
    printMemory("empty window", empty, empty.rssMb);
    StallMeter stalls;
    const qint64 chosen = b.chooseFiles(b.ui->pushButton_select_folder, {folder}, &stalls);
    const qint64 first = b.waitShown(chosen);
    const bool all = QTest::qWaitFor([&] { return b.ui->listWidget->count() >= n && b.window->photoItems().size() >= n; },
                                     600000);
    const qint64 listed = b.watch->now() - chosen;
    // The stall meter keeps ticking until the last row is in; one more tick
    // closes a stall that ended with it.
    QTest::qWait(20);
    stalls.stop();
    settle();
    const Memory full = readMemory();
    std::printf("Open Folder, %d photos of %d x %d:\n", n, kCols, kRows);
    std::printf("  first photo on screen %lld ms after the folder was chosen\n", (long long)first);
    std::printf("  all %d rows in the list after %lld ms%s\n", b.ui->listWidget->count(), (long long)listed,
                all ? "" : " (timed out)");
    std::printf("  longest event-loop stall while the rows arrived: %lld ms\n", (long long)stalls.worstMs());
    std::printf("  longest stall after the first photo was on screen: %lld ms\n",
                (long long)stalls.worstFromMs(first + 5));
    printMemory("  after the whole folder", full, empty.rssMb);
    if (!shot.isEmpty())
        b.window->grab().save(shot);

    // Switching: to rows never shown (their pixels read for the first
    // time), on until the budget makes the first ones give theirs back,
    // then back to those.
    const int rows = b.ui->listWidget->count();
    const auto switchTo = [&](int row) {
        b.watch->arm();
        const qint64 from = b.watch->now();
        b.ui->listWidget->setCurrentRow(row);
        return double(b.waitShown(from, 30000));
    };
    std::vector<double> fresh, back;
    const int ahead = std::min(rows - 1, 9);
    for (int k = 1; k <= ahead; ++k)
        fresh.push_back(switchTo(k));
    // The same on down the list, after a look of a second at each photo
    // (time for the next row's read ahead).
    std::vector<double> looked;
    for (int k = ahead + 1; k <= std::min(rows - 1, 2 * ahead); ++k) {
        QTest::qWait(1000);
        looked.push_back(switchTo(k));
    }
    int givenBack = 0;
    for (PhotoItem *p : b.window->photoItems())
        givenBack += (p != b.window->currentItem() && !p->holdsPixels()) ? 1 : 0;
    for (int k = 0; k < std::min(3, ahead); ++k) {
        const bool away = !b.window->photoItems().at(k)->holdsPixels();
        const double ms = switchTo(k);
        if (away)
            back.push_back(ms);
    }
    settle();
    const Memory switched = readMemory();
    if (!fresh.empty())
        std::printf("  switch to a row never shown: median %.0f ms, worst %.0f ms (%zu switches)\n", median(fresh),
                    *std::max_element(fresh.begin(), fresh.end()), fresh.size());
    if (!looked.empty())
        std::printf("  switch to the next row after a look of 1 s at the shown one: median %.0f ms, worst %.0f ms"
                    " (%zu switches)\n", median(looked), *std::max_element(looked.begin(), looked.end()),
                    looked.size());
    if (!back.empty())
        std::printf("  switch to a photo that gave its pixels back: median %.0f ms, worst %.0f ms (%zu switches)\n",
                    median(back), *std::max_element(back.begin(), back.end()), back.size());
    std::printf("  photos holding no full pixels after %zu switches: %d of %d (budget %lld MB)\n",
                fresh.size() + looked.size(), givenBack, rows, (long long)(b.window->pixelBudget() >> 20));
    printMemory("  after the switches", switched, empty.rssMb);
    return 0;
}

// What a thumbnail's decode costs beside the full decode, and what telling
// a file's identity costs, on one of the 24-megapixel files (median of
// `runs`; the file is in the page cache after the first read).
int runDecode(int runs)
{
    const std::string path = photoPath(0).toStdString();
    QElapsedTimer t;
    const auto timed = [&](const std::function<bool()> &work) {
        std::vector<double> ms;
        for (int k = 0; k < runs; ++k) {
            t.start();
            if (!work())
                return -1.0;
            ms.push_back(t.nsecsElapsed() / 1e6);
        }
        return median(ms);
    };
    photoio::FileIdentity identity;
    cv::Size fullSize;
    const double full = timed([&] {
        const photoio::Decoded d = photoio::decodeFile(path, identity);
        fullSize = d.pixels.size();
        return d.readable();
    });
    std::printf("%s: %d x %d, %.1f MB file (median of %d, ms)\n", path.c_str(), fullSize.width, fullSize.height,
                identity.size / 1e6, runs);
    std::printf("  full decode                       %7.1f\n", full);
    for (int f : {2, 4, 8}) {
        cv::Size size;
        const double ms = timed([&] {
            const photoio::Decoded d = photoio::decodeFileReduced(path, f);
            size = d.pixels.size();
            return d.readable();
        });
        std::printf("  reduced decode 1/%d (%4d x %4d)   %7.1f  (%.0f %% of the full decode)\n", f, size.width,
                    size.height, ms, 100.0 * ms / full);
    }
    std::vector<uint8_t> bytes;
    const double read = timed([&] {
        bytes.clear();
        FILE *f = std::fopen(path.c_str(), "rb");
        if (!f)
            return false;
        bytes.resize(identity.size);
        const bool ok = std::fread(bytes.data(), 1, bytes.size(), f) == bytes.size();
        std::fclose(f);
        return ok;
    });
    const double hash = timed([&] { return photoio::contentHash(bytes.data(), bytes.size()) == identity.contentHash; });
    // Read just after a write: the times cannot be trusted, the file is read.
    photoio::FileIdentity fresh = identity;
    fresh.takenNs = fresh.modifiedNs;
    const double slow = timed([&] { return photoio::checkFile(fresh, path) == photoio::FileState::Same; });
    photoio::FileIdentity settled = identity;
    settled.takenNs = settled.modifiedNs + 10'000'000'000LL;
    const double fast = timed([&] { return photoio::checkFile(settled, path) == photoio::FileState::Same; });
    // What showing the photo costs beside its decode: the canvas's
    // conversion of the whole photo, and the row's thumbnail.
    const cv::Mat pixels = photoio::decodeFile(path).pixels;
    const double toPixmap = timed([&] { return !matToQPixmap(pixels).isNull(); });
    const double toImage = timed([&] { return !matToQImage(pixels).isNull(); });
    const double thumb = timed([&] { return !rowThumbnail(pixels).empty(); });
    std::printf("  whole photo to the canvas's pixmap %6.1f  (of which to an RGB image %.1f)\n", toPixmap, toImage);
    std::printf("  row thumbnail from the pixels     %7.2f\n", thumb);
    std::printf("  reading the file                  %7.2f\n", read);
    std::printf("  hashing its bytes                 %7.2f\n", hash);
    std::printf("  checkFile, times settled          %7.3f\n", fast);
    std::printf("  checkFile, file read again        %7.2f\n", slow);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    ensurePassiveWaitPolicy();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QString mode = argc > 1 ? QString(argv[1]) : QString();
    int count = 40;
    double budgetMb = 6000.0;
    double pixelBudgetMb = -1.0; // the window's own
    QString shot;                // folder: a picture of the window once the rows are in
    cv::Size eraseSize(1000, 800);
    bool trace = false;
    for (int i = 2; i < argc; ++i) {
        const QString a = argv[i];
        if (a == "--budget-mb" && i + 1 < argc)
            budgetMb = std::atof(argv[++i]);
        else if (a == "--pixel-budget-mb" && i + 1 < argc)
            pixelBudgetMb = std::atof(argv[++i]);
        else if (a == "--shot" && i + 1 < argc)
            shot = QString::fromLocal8Bit(argv[++i]);
        else if (a == "--trace")
            trace = true;
        else if (a == "--erase" && i + 1 < argc)
            std::sscanf(argv[++i], "%dx%d", &eraseSize.width, &eraseSize.height);
        else if (a[0].isDigit())
            count = std::clamp(a.toInt(), 1, kMaxPhotos);
    }
    if (mode != "photos" && mode != "folder" && mode != "decode") {
        std::fprintf(stderr, "usage: mervane-memory-bench photos [--erase WxH] [--trace] [--budget-mb MB] [--pixel-budget-mb MB]\n"
                             "       mervane-memory-bench folder N [--budget-mb MB] [--pixel-budget-mb MB]\n"
                             "       mervane-memory-bench decode [RUNS]\n");
        return 1;
    }
    // The window's private settings, as the tests keep them.
    QTemporaryDir store;
    usePrivateSettingsStore(store.path());
    QApplication app(argc, argv);
    if (!makePhotos())
        return 1;
    // The program runs from its data folder (fonts, pictures).
    QDir::setCurrent(QStringLiteral(MERVANE_RUN_DIR));
    Skin::init();

    // The machine, as the figures are recorded with it.
    std::string model = "unknown processor";
    {
        std::ifstream cpuinfo("/proc/cpuinfo");
        std::string line;
        while (std::getline(cpuinfo, line))
            if (line.rfind("model name", 0) == 0) {
                model = line.substr(line.find(':') + 2);
                break;
            }
    }
    std::string load;
    {
        std::ifstream loadavg("/proc/loadavg");
        std::getline(loadavg, load);
    }
    std::printf("mervane-memory-bench %s: %u cores, %s, load %s\n", qPrintable(mode),
                std::thread::hardware_concurrency(), model.c_str(), load.c_str());

    if (mode == "decode")
        return runDecode(argc > 2 ? std::max(3, std::atoi(argv[2])) : 9);
    Bench b;
    Sampler sampler(budgetMb, &b.rows);
    b.open();
    if (pixelBudgetMb >= 0.0)
        b.window->setPixelBudget(qint64(pixelBudgetMb * 1024.0 * 1024.0));
    std::printf("the window keeps up to %lld MB of photos' pixels\n", (long long)(b.window->pixelBudget() >> 20));
    const int code = mode == "photos" ? runPhotos(b, eraseSize, sampler, trace) : runFolder(b, count, shot);
    std::fflush(stdout);
    // Leave without tearing 40 photos down one by one: not what is measured.
    std::_Exit(code);
}
