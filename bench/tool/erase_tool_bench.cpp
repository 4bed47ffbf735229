// Whole-process times of mervane-erase, as a script calling it would see
// them: start-up, reading, the erase and the checked write. Prints the
// median wall milliseconds (and the median CPU milliseconds of the child,
// all threads) over runs:
//   - a 64 x 64 photo with an 8 x 8 hole (start-up dominates);
//   - the engine benchmark's hidden-hole cases: a 700 x 700 crop of the
//     upscaled coffee photo with a centred 30, 100 and 250 px hole;
//   - 50 photos of 96 x 64: one batch process against 50 single runs.
//
//   mervane-tool-bench [--runs N] [--tool PATH]

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>

#include <fcntl.h>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

namespace fs = std::filesystem;

const char *kPhoto = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";

struct Timing
{
    double wallMs = 0.0;
    double cpuMs = 0.0;
    int status = 0;
};

double childCpuMs()
{
    rusage usage;
    getrusage(RUSAGE_CHILDREN, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000.0
           + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000.0;
}

// Runs the tool once with stdout and stderr to /dev/null.
Timing runOnce(const std::string &tool, const std::vector<std::string> &args)
{
    std::vector<char *> argv;
    argv.push_back(const_cast<char *>(tool.c_str()));
    for (const std::string &a : args)
        argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    Timing t;
    const double cpu0 = childCpuMs();
    const auto t0 = std::chrono::steady_clock::now();
    pid_t pid = 0;
    if (posix_spawn(&pid, tool.c_str(), &actions, nullptr, argv.data(), environ) != 0) {
        t.status = -1;
        return t;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    t.wallMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    t.cpuMs = childCpuMs() - cpu0;
    t.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    posix_spawn_file_actions_destroy(&actions);
    return t;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Median over `runs` of a job made of one or more tool runs.
void report(const char *name, int runs, const std::function<std::vector<Timing>()> &job)
{
    std::vector<double> wall, cpu;
    for (int i = 0; i < runs; ++i) {
        double w = 0, c = 0;
        for (const Timing &t : job()) {
            if (t.status != 0) {
                std::printf("%-44s failed (exit %d)\n", name, t.status);
                return;
            }
            w += t.wallMs;
            c += t.cpuMs;
        }
        wall.push_back(w);
        cpu.push_back(c);
    }
    std::printf("%-44s %10.1f %10.1f\n", name, median(wall), median(cpu));
    std::fflush(stdout);
}

void writePair(const fs::path &photoFile, const fs::path &maskFile, const cv::Mat &photo, const cv::Rect &hole)
{
    cv::imwrite(photoFile.string(), photo);
    cv::Mat mask(photo.size(), CV_8UC1, cv::Scalar(0));
    mask(hole).setTo(255);
    cv::imwrite(maskFile.string(), mask);
}

} // namespace

int main(int argc, char *argv[])
{
    int runs = 11;
    std::string tool = MERVANE_ERASE_PATH;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--runs") && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--tool") && i + 1 < argc)
            tool = argv[++i];
    }
    const cv::Mat original = cv::imread(kPhoto, cv::IMREAD_COLOR);
    if (original.empty()) {
        std::fprintf(stderr, "mervane-tool-bench: cannot read %s (install python3-skimage)\n", kPhoto);
        return 1;
    }
    const fs::path dir = fs::temp_directory_path() / ("mervane-tool-bench-" + std::to_string(getpid()));
    fs::create_directories(dir / "masks");
    fs::create_directories(dir / "out");
    auto p = [&](const std::string &name) { return (dir / name).string(); };

    cv::Mat small;
    cv::resize(original(cv::Rect(200, 100, 200, 200)), small, cv::Size(64, 64), 0, 0, cv::INTER_AREA);
    writePair(p("small.png"), p("small.mask.png"), small, cv::Rect(28, 28, 8, 8));
    cv::Mat photo2x;
    cv::resize(original, photo2x, cv::Size(1200, 800), 0, 0, cv::INTER_CUBIC);
    const cv::Mat crop = photo2x(cv::Rect(250, 50, 700, 700)).clone();
    for (int side : {30, 100, 250})
        writePair(p("crop" + std::to_string(side) + ".png"), p("crop" + std::to_string(side) + ".mask.png"), crop,
                  cv::Rect((700 - side) / 2, (700 - side) / 2, side, side));
    std::vector<std::string> batchPhotos;
    for (int i = 0; i < 50; ++i) {
        const std::string name = "b" + std::to_string(i);
        const cv::Mat piece = original(cv::Rect(5 * i, 3 * i, 96, 64)).clone();
        writePair(p(name + ".png"), (dir / "masks" / (name + ".mask.png")), piece, cv::Rect(40, 26, 10, 10));
        batchPhotos.push_back(p(name + ".png"));
    }

    std::printf("tool: %s\nruns: %d (median)\n", tool.c_str(), runs);
    std::printf("%-44s %10s %10s\n", "case", "wall ms", "CPU ms");
    report("--version (start-up only)", runs, [&] { return std::vector<Timing>{runOnce(tool, {"--version"})}; });
    report("64x64 photo, 8 px hole", runs, [&] {
        return std::vector<Timing>{runOnce(tool, {"--quiet", p("small.png"), p("small.mask.png"), p("out/small.png")})};
    });
    for (int side : {30, 100, 250}) {
        const std::string s = std::to_string(side);
        report(("700x700 crop, " + s + " px hole").c_str(), std::max(1, runs / 2), [&] {
            return std::vector<Timing>{
                runOnce(tool, {"--quiet", p("crop" + s + ".png"), p("crop" + s + ".mask.png"), p("out/crop.png")})};
        });
    }
    const int batchRuns = std::max(1, runs / 4);
    report("50 photos 96x64, one batch process", batchRuns, [&] {
        std::vector<std::string> args = {"--quiet", "--masks", p("masks"), "--output", p("out")};
        args.insert(args.end(), batchPhotos.begin(), batchPhotos.end());
        return std::vector<Timing>{runOnce(tool, args)};
    });
    report("50 photos 96x64, 50 single runs", batchRuns, [&] {
        std::vector<Timing> all;
        for (int i = 0; i < 50; ++i) {
            const std::string name = "b" + std::to_string(i);
            all.push_back(runOnce(tool, {"--quiet", p(name + ".png"), (dir / "masks" / (name + ".mask.png")).string(),
                                         p("out/" + name + ".png")}));
        }
        return all;
    });
    fs::remove_all(dir);
    return 0;
}
