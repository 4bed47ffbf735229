// Erase timings on fixed inputs: the engine's job (as the window runs it)
// against OpenCV's Telea inpainting and xphoto's FSR_FAST on the same crop
// and hole. Prints one table row per case: median milliseconds over runs.
//
//   mervane-bench [--runs N] [--quick] [--engine-only] [--case K]
//
// --quick leaves out the 5000 x 4000 case; --engine-only skips the OpenCV
// references; --case K runs only the K-th case (0-based).
//
// Input: coffee.png from the scikit-image data files (a photograph of an
// espresso cup on a wooden table), upscaled to 1200 x 800 for the 700 x 700
// crops and to 5000 x 4000 for the large case.

#include "threadfromqthread.h"
#include "workbox.h"

#include <QCoreApplication>
#include <opencv2/core.hpp>
#include <opencv2/core/utils/logger.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>
#ifdef MERVANE_HAVE_XPHOTO
#include <opencv2/xphoto/inpainting.hpp>
#endif

#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace {

const char *kPhoto = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";

// CPU time of the whole process (all threads), in milliseconds. Reported
// beside the wall time: on a shared machine the wall time depends on the
// load, the CPU time much less so.
double processCpuMs()
{
    timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec * 1000.0 + ts.tv_nsec / 1.0e6;
}

double g_lastCpuMs = 0.0;

// Median wall milliseconds of `runs` runs of work; the median CPU
// milliseconds of the same runs are left in g_lastCpuMs.
double medianMs(int runs, const std::function<void()> &prepare, const std::function<void()> &work)
{
    std::vector<double> ms, cpu;
    for (int i = 0; i < runs; ++i) {
        prepare();
        const double c0 = processCpuMs();
        const auto t0 = std::chrono::steady_clock::now();
        work();
        const auto t1 = std::chrono::steady_clock::now();
        cpu.push_back(processCpuMs() - c0);
        ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
    }
    std::sort(ms.begin(), ms.end());
    std::sort(cpu.begin(), cpu.end());
    g_lastCpuMs = cpu[cpu.size() / 2];
    return ms[ms.size() / 2];
}

cv::Mat layer(cv::Size size, const cv::Rect &r, const cv::Scalar &colour)
{
    cv::Mat m(size, CV_8UC4, cv::Scalar::all(0));
    if (r.area() > 0)
        m(r).setTo(colour);
    return m;
}

struct Case
{
    std::string name;
    cv::Mat crop;       // what the engine works on
    cv::Rect hole;      // in crop coordinates
    cv::Rect donor;     // empty: plain erase
    bool clone = false; // clone: hole is the piece, moved by `move`
    cv::Point move;
};

double runEngine(const Case &c, int runs)
{
    cv::Mat work;
    return medianMs(
        runs, [&] { work = c.crop.clone(); },
        [&] {
            ThreadFromQThread thread;
            if (c.clone) {
                cv::Mat composite = work.clone();
                work(c.hole).copyTo(composite(c.hole + c.move));
                thread.setCloneJob(work, composite, JobType::Clone, c.hole.x + c.move.x, c.hole.y + c.move.y,
                                   layer(work.size(), c.hole, cv::Scalar(0, 0, 255, 128)));
            } else {
                thread.setEraseJob(work, work, layer(work.size(), c.hole, cv::Scalar(0, 0, 255, 128)),
                                   layer(work.size(), c.donor, cv::Scalar(0, 255, 0, 128)),
                                   c.donor.area() > 0, JobType::Erase);
            }
            thread.run();
        });
}

cv::Mat holeMask(const Case &c)
{
    cv::Mat m(c.crop.size(), CV_8UC1, cv::Scalar(0));
    m(c.hole).setTo(255);
    return m;
}

double runTelea(const Case &c, int runs)
{
    const cv::Mat mask = holeMask(c);
    cv::Mat out;
    return medianMs(runs, [] {}, [&] { cv::inpaint(c.crop, mask, out, 3.0, cv::INPAINT_TELEA); });
}

double runFsrFast(const Case &c, int runs)
{
#ifdef MERVANE_HAVE_XPHOTO
    cv::Mat valid(c.crop.size(), CV_8UC1, cv::Scalar(255));
    valid(c.hole).setTo(0);
    cv::Mat out;
    return medianMs(runs, [] {}, [&] { cv::xphoto::inpaint(c.crop, valid, out, cv::xphoto::INPAINT_FSR_FAST); });
#else
    (void)c;
    (void)runs;
    return -1.0;
#endif
}

Case centredCase(const cv::Mat &photo, const std::string &name, int holeSide)
{
    Case c;
    c.name = name;
    c.crop = photo(cv::Rect(250, 50, 700, 700)).clone();
    c.hole = cv::Rect((700 - holeSide) / 2, (700 - holeSide) / 2, holeSide, holeSide);
    return c;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qputenv("QT_LOGGING_RULES", "*.debug=false");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);

    int runs = 5;
    bool quick = false;
    bool engineOnly = false;
    int only = -1;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--runs") && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--quick"))
            quick = true;
        else if (!std::strcmp(argv[i], "--engine-only"))
            engineOnly = true;
        else if (!std::strcmp(argv[i], "--case") && i + 1 < argc)
            only = std::atoi(argv[++i]);
    }

    const cv::Mat original = cv::imread(kPhoto, cv::IMREAD_COLOR);
    if (original.empty()) {
        std::fprintf(stderr, "mervane-bench: cannot read %s (install python3-skimage)\n", kPhoto);
        return 1;
    }
    cv::Mat photo2x, photoLarge;
    cv::resize(original, photo2x, cv::Size(1200, 800), 0, 0, cv::INTER_CUBIC);
    cv::resize(original, photoLarge, cv::Size(6000, 4000), 0, 0, cv::INTER_CUBIC);
    photoLarge = photoLarge(cv::Rect(500, 0, 5000, 4000)).clone();

    std::vector<Case> cases;
    cases.push_back(centredCase(photo2x, "700x700 crop, 30 px hole", 30));
    cases.push_back(centredCase(photo2x, "700x700 crop, 100 px hole", 100));
    cases.push_back(centredCase(photo2x, "700x700 crop, 250 px hole", 250));
    {
        Case c = centredCase(photo2x, "700x700 crop, 100 px hole, donor", 100);
        c.donor = cv::Rect(100, 450, 300, 200);
        cases.push_back(c);
    }
    {
        Case c = centredCase(photo2x, "700x700 clone, 100 px piece", 100);
        c.clone = true;
        c.hole = cv::Rect(80, 80, 100, 100);
        c.move = cv::Point(380, 380);
        cases.push_back(c);
    }
    if (!quick) {
        // The window's rule cuts the crop round a 1000 x 800 selection.
        const cv::Rect selection(2000, 1600, 1000, 800);
        const cv::Rect crop = enlargedCrop(selection, photoLarge.size());
        Case c;
        c.name = "5000x4000 photo, 1000x800 hole (crop " + std::to_string(crop.width) + "x"
                 + std::to_string(crop.height) + ")";
        c.crop = photoLarge(crop).clone();
        c.hole = selection - crop.tl();
        cases.push_back(c);
    }

    std::printf("threads: %d, runs per case: %d (median)\n", omp_get_max_threads(), runs);
    std::printf("%-52s %12s %12s %12s %12s\n", "case", "engine ms", "engine CPU", "Telea ms",
                "FSR_FAST ms");
    for (size_t k = 0; k < cases.size(); ++k) {
        const Case &c = cases[k];
        if (only >= 0 && int(k) != only)
            continue;
        const bool large = c.crop.total() > 1000000;
        const int n = large ? std::max(1, std::min(runs, 3)) : runs;
        const double engine = runEngine(c, n);
        const double engineCpu = g_lastCpuMs;
        const double telea = c.clone || engineOnly ? -1.0 : runTelea(c, n);
        const double fsr = c.clone || engineOnly ? -1.0 : runFsrFast(c, large ? 1 : n);
        auto cell = [](double v) {
            static char buf[5][32];
            static int k = 0;
            char *b = buf[k++ % 5];
            if (v < 0)
                std::snprintf(b, 32, "%12s", "-");
            else
                std::snprintf(b, 32, "%12.1f", v);
            return b;
        };
        std::printf("%-52s %s %s %s %s\n", c.name.c_str(), cell(engine), cell(engineCpu), cell(telea),
                    cell(fsr));
        std::fflush(stdout);
    }
    return 0;
}
