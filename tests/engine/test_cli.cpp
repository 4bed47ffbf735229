// mervane-erase end to end, through the real binary: a real erase and its
// progress, the batch form, and every refusal and failure (its exit code,
// its one line on stderr, no output and no temporary left behind).

#include "taggedphoto.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <algorithm>
#include <set>

#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString kTool = QStringLiteral(MERVANE_ERASE_PATH);
const std::string kPhoto = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";

enum Exit { Done = 0, Usage = 1, Refused = 2, Failed = 3, PartlyFailed = 4 };

struct ToolRun
{
    int status = -1;
    QString out;
    QString err;
};

ToolRun runTool(const QStringList &args, const QProcessEnvironment &env = QProcessEnvironment::systemEnvironment())
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(kTool, args);
    p.waitForFinished(300000);
    ToolRun r;
    r.status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromLocal8Bit(p.readAllStandardOutput());
    r.err = QString::fromLocal8Bit(p.readAllStandardError());
    return r;
}

bool isBlack(const cv::Vec3b &p) { return p[0] == 0 && p[1] == 0 && p[2] == 0; }

class Cli : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // A missing binary or sample is a failure, not a skip.
        ASSERT_TRUE(QFileInfo(kTool).isExecutable()) << "mervane-erase not built at " << kTool.toStdString();
        ASSERT_TRUE(dir.isValid());
        photo = cv::imread(kPhoto, cv::IMREAD_COLOR);
        ASSERT_FALSE(photo.empty()) << "sample picture " << kPhoto << " is missing (python3-skimage)";
        photoPath = path("photo.png");
        cv::imwrite(photoPath.toStdString(), photo);
        mask = cv::Mat(photo.size(), CV_8UC3, cv::Scalar::all(0));
        mask(hole).setTo(cv::Scalar(255, 255, 255));
        maskPath = path("mask.png");
        cv::imwrite(maskPath.toStdString(), mask);
    }

    QString path(const QString &name) const { return dir.path() + "/" + name; }

    // A small photo (a crop of the sample) and its mask, written as given.
    void smallPair(const QString &photoFile, const QString &maskFile, int offset = 0)
    {
        const cv::Mat crop = photo(cv::Rect(300 + offset, 200, 120, 90)).clone();
        cv::imwrite(photoFile.toStdString(), crop);
        cv::Mat m(crop.size(), CV_8UC3, cv::Scalar::all(0));
        m(cv::Rect(50, 40, 12, 10)).setTo(cv::Scalar::all(255));
        cv::imwrite(maskFile.toStdString(), m);
    }

    static QStringList temporaries(const QString &folder)
    {
        return QDir(folder).entryList(QStringList() << ".*.tmp" << "*partial*", QDir::Files | QDir::Hidden);
    }

    void expectCleanFailure(const ToolRun &r, const QString &output, int status, const QString &words = QString())
    {
        EXPECT_EQ(r.status, status) << r.err.toStdString();
        EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(r.err.startsWith("mervane-erase: ")) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(words)) << "expected '" << words.toStdString() << "' in " << r.err.toStdString();
        EXPECT_FALSE(QFile::exists(output));
        EXPECT_TRUE(temporaries(QFileInfo(output).absolutePath()).isEmpty());
    }

    // A truncated JPEG of the photo: libjpeg reads it with a warning.
    QString truncatedJpeg(const QString &name, const cv::Mat &image)
    {
        std::vector<uchar> bytes;
        cv::imencode(".jpg", image, bytes);
        QFile f(path(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(reinterpret_cast<const char *>(bytes.data()), qint64(bytes.size() / 2));
        return f.fileName();
    }

    QTemporaryDir dir;
    cv::Mat photo, mask;
    QString photoPath, maskPath;
    const cv::Rect hole{480, 300, 40, 30};
};

} // namespace

TEST_F(Cli, ErasesAndReportsProgress)
{
    const QString output = path("out.png");
    const ToolRun r = runTool({photoPath, maskPath, output});
    ASSERT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines.front(), "0%");
    EXPECT_EQ(lines.back(), "100%");
    const cv::Mat result = cv::imread(output.toStdString(), cv::IMREAD_COLOR);
    ASSERT_EQ(result.size(), photo.size());
    // The hole is filled, everything far from it is the photo.
    const cv::Rect grown(hole.x - 1, hole.y - 1, hole.width + 2, hole.height + 2);
    EXPECT_EQ(cv::countNonZero(result(grown).reshape(1) == 0), 0);
    EXPECT_EQ(cv::norm(result(cv::Rect(0, 0, 600, 200)), photo(cv::Rect(0, 0, 600, 200)), cv::NORM_INF), 0.0);
    EXPECT_TRUE(temporaries(dir.path()).isEmpty());
}

TEST_F(Cli, QuietPrintsNothingAndDonorWorks)
{
    const QString output = path("out.jpg");
    cv::Mat donor(photo.size(), CV_8UC3, cv::Scalar::all(0));
    donor(cv::Rect(380, 250, 80, 120)).setTo(cv::Scalar(0, 255, 0));
    const QString donorPath = path("donor.png");
    cv::imwrite(donorPath.toStdString(), donor);
    const ToolRun r = runTool({photoPath, maskPath, output, "--donor", donorPath, "--quiet"});
    ASSERT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_TRUE(r.err.isEmpty());
    const cv::Mat result = cv::imread(output.toStdString());
    ASSERT_EQ(result.size(), photo.size());
    // No black hole: the fill is the photo's own colours.
    EXPECT_LT(cv::countNonZero(result(hole).reshape(1) < 8), hole.area() / 20);
}

TEST_F(Cli, HelpAndVersion)
{
    ToolRun r = runTool({"--help"});
    EXPECT_EQ(r.status, Done);
    EXPECT_TRUE(r.out.contains("Exit codes:"));
    EXPECT_TRUE(r.out.contains("NAME.mask.png"));
    EXPECT_TRUE(r.out.contains("--masks"));
    EXPECT_TRUE(r.err.isEmpty());
    r = runTool({"--version"});
    EXPECT_EQ(r.status, Done);
    EXPECT_TRUE(r.out.startsWith("mervane-erase ")) << r.out.toStdString();
}

TEST_F(Cli, UsageErrorsAreOneLineAndExitOne)
{
    const QString output = path("out.png");
    const QList<QStringList> wrong = {
        {},
        {photoPath, maskPath},
        {photoPath, maskPath, output, "extra"},
        {photoPath, maskPath, output, "--frobnicate"},
        {photoPath, maskPath, output, "--donor"},
        {photoPath, maskPath, output, "--donor", "--quiet"},
        {"--masks", dir.path(), photoPath},
        {"--masks", dir.path(), "--output", dir.path()},
        {"--masks", dir.path(), "--output", dir.path(), "--donor", maskPath, photoPath},
    };
    for (const QStringList &args : wrong) {
        const ToolRun r = runTool(args);
        SCOPED_TRACE(args.join(' ').toStdString());
        expectCleanFailure(r, output, Usage);
    }
    EXPECT_TRUE(runTool({photoPath, maskPath, output, "--donor", "--quiet"}).err.contains("--donor"));
}

TEST_F(Cli, DoubleDashEndsOptions)
{
    const QString dashed = path("-photo.png");
    QFile::copy(photoPath, dashed);
    const QString output = path("out.png");
    const QString oldDir = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(dir.path()));
    const ToolRun r = runTool({"--quiet", "--", "-photo.png", maskPath, output});
    QDir::setCurrent(oldDir);
    EXPECT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_TRUE(QFile::exists(output));
}

TEST_F(Cli, UnreadablePhoto)
{
    QFile junk(path("junk.png"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not an image");
    junk.close();
    const QString output = path("out.png");
    expectCleanFailure(runTool({junk.fileName(), maskPath, output}), output, Refused, "junk.png");
    expectCleanFailure(runTool({path("missing.png"), maskPath, output}), output, Refused, "cannot open");
}

TEST_F(Cli, DamagedPhotoOrMaskIsRefused)
{
    const QString output = path("out.png");
    const QString damagedPhoto = truncatedJpeg("damaged.jpg", photo);
    expectCleanFailure(runTool({damagedPhoto, maskPath, output}), output, Refused,
                       "damaged file (Premature end of JPEG file)");
    // A truncated mask would otherwise select grey everywhere below the cut.
    const QString damagedMask = truncatedJpeg("damagedmask.jpg", mask);
    expectCleanFailure(runTool({photoPath, damagedMask, output}), output, Refused, "mask '");
    expectCleanFailure(runTool({photoPath, damagedMask, output}), output, Refused, "damaged file");
    std::vector<uchar> png;
    cv::imencode(".png", photo, png);
    QFile cut(path("cut.png"));
    ASSERT_TRUE(cut.open(QIODevice::WriteOnly));
    cut.write(reinterpret_cast<const char *>(png.data()), qint64(png.size() * 3 / 4));
    cut.close();
    expectCleanFailure(runTool({cut.fileName(), maskPath, output}), output, Refused, "damaged file");
}

TEST_F(Cli, MaskOfAnotherSize)
{
    const QString small = path("small.png");
    cv::imwrite(small.toStdString(), cv::Mat(10, 10, CV_8UC3, cv::Scalar::all(255)));
    const QString output = path("out.png");
    expectCleanFailure(runTool({photoPath, small, output}), output, Refused, "size");
    expectCleanFailure(runTool({photoPath, maskPath, output, "--donor", small}), output, Refused, "donor");
}

TEST_F(Cli, EmptyMask)
{
    const QString empty = path("empty.png");
    cv::imwrite(empty.toStdString(), cv::Mat(photo.size(), CV_8UC3, cv::Scalar::all(0)));
    const QString output = path("out.png");
    expectCleanFailure(runTool({photoPath, empty, output}), output, Refused, "empty");
}

TEST_F(Cli, UnwritableOutputIsRefusedBeforeTheJob)
{
    const QString missingDir = path("no/such/dir/out.png");
    expectCleanFailure(runTool({photoPath, maskPath, missingDir}), missingDir, Refused, "does not exist");
    const QString unknownFormat = path("out.notanimage");
    expectCleanFailure(runTool({photoPath, maskPath, unknownFormat}), unknownFormat, Refused, "no encoder");
    const QString exr = path("out.exr");
    expectCleanFailure(runTool({photoPath, maskPath, exr}), exr, Refused, "encoder");
    const QString noSuffix = path("out");
    expectCleanFailure(runTool({photoPath, maskPath, noSuffix}), noSuffix, Refused, "suffix");
    // A folder named like an image stays a folder.
    ASSERT_TRUE(QDir(dir.path()).mkdir("x.png"));
    const ToolRun r = runTool({photoPath, maskPath, path("x.png")});
    EXPECT_EQ(r.status, Refused);
    EXPECT_EQ(r.err.count('\n'), 1);
    EXPECT_TRUE(r.err.contains("it is a folder")) << r.err.toStdString();
    EXPECT_TRUE(QFileInfo(path("x.png")).isDir());
    EXPECT_TRUE(r.out.isEmpty()) << "refused before the job: " << r.out.toStdString();
}

// A full disk where the test may mount a small tmpfs; elsewhere a file-size
// limit (prlimit) makes the same write fail part-way.
TEST_F(Cli, FullDiskKeepsTheOriginal)
{
    const QString small = path("small");
    ASSERT_TRUE(QDir(dir.path()).mkdir("small"));
    const bool tmpfs = ::mount("tmpfs", small.toLocal8Bit().constData(), "tmpfs", 0, "size=48k") == 0;
    // A BMP as its own output: the old tool wrote it truncated over itself.
    const QString bmp = small + "/photo.bmp", bmpMask = path("bmpmask.png");
    smallPair(bmp, bmpMask);
    QFile original(bmp);
    ASSERT_TRUE(original.open(QIODevice::ReadOnly));
    const QByteArray before = original.readAll();
    original.close();
    ToolRun r;
    if (tmpfs) {
        r = runTool({bmp, bmpMask, bmp, "--quiet"});
    } else {
        QProcess p;
        p.start("prlimit", {"--fsize=" + QString::number(before.size() / 2), "--", kTool, bmp, bmpMask, bmp,
                            "--quiet"});
        ASSERT_TRUE(p.waitForFinished(300000));
        r.status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
        r.err = QString::fromLocal8Bit(p.readAllStandardError());
    }
    EXPECT_EQ(r.status, Failed) << r.err.toStdString();
    EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(tmpfs ? "No space left on device" : "File too large")) << r.err.toStdString();
    ASSERT_TRUE(original.open(QIODevice::ReadOnly));
    EXPECT_EQ(original.readAll(), before);
    original.close();
    EXPECT_TRUE(temporaries(small).isEmpty());
    if (tmpfs)
        ::umount(small.toLocal8Bit().constData());
}

TEST_F(Cli, ClosedStdoutDoesNotKillTheTool)
{
    const QString output = path("out.png");
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    ::close(fds[0]); // every write to stdout now fails with EPIPE
    const QByteArray tool = kTool.toLocal8Bit(), p = photoPath.toLocal8Bit(), m = maskPath.toLocal8Bit(),
                     o = output.toLocal8Bit();
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::dup2(fds[1], STDOUT_FILENO);
        ::execl(tool.constData(), "mervane-erase", p.constData(), m.constData(), o.constData(), nullptr);
        ::_exit(127);
    }
    ::close(fds[1]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    EXPECT_EQ(WEXITSTATUS(status), Done);
    EXPECT_TRUE(QFile::exists(output));
}

TEST_F(Cli, WideAndAlphaInputsSayWhatWasNarrowed)
{
    cv::Mat wide;
    photo.convertTo(wide, CV_16U, 257.0);
    const QString widePath = path("wide.png");
    cv::imwrite(widePath.toStdString(), wide);
    // 16 bits are kept where the output holds them (SixteenBitPhotosStaySixteenBit);
    // a JPEG does not.
    ToolRun r = runTool({widePath, maskPath, path("out.jpg")});
    EXPECT_EQ(r.status, Done);
    EXPECT_EQ(r.err.count('\n'), 1);
    EXPECT_TRUE(r.err.contains("16-bit samples written as 8 bits (.jpg files hold 8)")) << r.err.toStdString();
    EXPECT_EQ(cv::imread(path("out.jpg").toStdString()).size(), photo.size());
    // Alpha is kept where the output holds it (AlphaIsKeptOutsideTheHole);
    // a JPEG does not.
    const QString output = path("out.jpg");
    cv::Mat alpha;
    cv::cvtColor(photo, alpha, cv::COLOR_BGR2BGRA);
    const QString alphaPath = path("alpha.png");
    cv::imwrite(alphaPath.toStdString(), alpha);
    r = runTool({alphaPath, maskPath, output});
    EXPECT_EQ(r.status, Done);
    EXPECT_TRUE(r.err.contains("alpha channel dropped (.jpg files hold none)")) << r.err.toStdString();
    r = runTool({alphaPath, maskPath, output, "--quiet"});
    EXPECT_EQ(r.status, Done);
    EXPECT_TRUE(r.err.isEmpty());
}

TEST_F(Cli, AlphaIsKeptOutsideTheHole)
{
    // Transparency over the photo: a soft ramp of alpha, and a fully
    // transparent corner; the hole lies where alpha is partial.
    for (const bool wide : {false, true}) {
        cv::Mat bgra;
        cv::cvtColor(photo, bgra, cv::COLOR_BGR2BGRA);
        if (wide)
            bgra.convertTo(bgra, CV_16UC4, 257.0);
        const double top = wide ? 65535.0 : 255.0;
        for (int y = 0; y < bgra.rows; ++y)
            for (int x = 0; x < bgra.cols; ++x) {
                const double a = x < 60 && y < 60 ? 0.0 : top * (0.3 + 0.7 * x / bgra.cols);
                if (wide)
                    bgra.at<cv::Vec4w>(y, x)[3] = ushort(a);
                else
                    bgra.at<cv::Vec4b>(y, x)[3] = uchar(a);
            }
        cv::Mat holeMask(photo.size(), CV_8UC1, cv::Scalar(0));
        holeMask(hole).setTo(255);
        cv::dilate(holeMask, holeMask, cv::Mat::ones(3, 3, CV_8U));
        cv::Mat expectedAlpha, resultAlpha;
        cv::extractChannel(bgra, expectedAlpha, 3);
        expectedAlpha.setTo(cv::Scalar(top), holeMask);
        for (const QString suffix : {"png", "tif", "webp"}) {
            if (wide && suffix == "webp")
                continue; // WebP is 8-bit
            SCOPED_TRACE((suffix + (wide ? " 16-bit" : " 8-bit")).toStdString());
            const QString input = path("transparent." + suffix);
            cv::imwrite(input.toStdString(), bgra, {cv::IMWRITE_WEBP_QUALITY, 101});
            const QString output = path("transparent-out." + suffix);
            const ToolRun r = runTool({input, maskPath, output});
            ASSERT_EQ(r.status, Done) << r.err.toStdString();
            EXPECT_FALSE(r.err.contains("alpha")) << r.err.toStdString();
            const cv::Mat result = cv::imread(output.toStdString(), cv::IMREAD_UNCHANGED);
            ASSERT_EQ(result.type(), bgra.type());
            cv::extractChannel(result, resultAlpha, 3);
            EXPECT_EQ(cv::norm(resultAlpha, expectedAlpha, cv::NORM_INF), 0) << "alpha kept, the fill opaque";
            cv::Mat before, after;
            cv::cvtColor(bgra, before, cv::COLOR_BGRA2BGR);
            cv::cvtColor(result, after, cv::COLOR_BGRA2BGR);
            // Lossless WebP may change the colour under fully transparent
            // pixels; everywhere else outside the hole it is kept.
            const cv::Mat visible = ~holeMask & (expectedAlpha > 0);
            EXPECT_EQ(cv::norm(after, before, cv::NORM_INF, visible), 0) << "colour outside the hole kept";
            EXPECT_GT(cv::norm(after, before, cv::NORM_INF, holeMask), 0) << "the hole was filled";
        }
    }
}

TEST_F(Cli, BatchErasesEachPhotoAndGoesOnPastFailures)
{
    ASSERT_TRUE(QDir(dir.path()).mkpath("in") && QDir(dir.path()).mkpath("masks") && QDir(dir.path()).mkpath("out"));
    smallPair(path("in/a.jpg"), path("masks/a.mask.png"), 0);
    smallPair(path("in/b.png"), path("masks/b.mask.png"), 40);
    cv::Mat donor(90, 120, CV_8UC3, cv::Scalar::all(0));
    donor(cv::Rect(0, 0, 40, 90)).setTo(cv::Scalar(0, 255, 0));
    cv::imwrite(path("masks/b.donor.png").toStdString(), donor);
    smallPair(path("in/c.tif"), path("unused.png"), 80); // no mask
    QFile::copy(truncatedJpeg("d.jpg", photo(cv::Rect(0, 0, 120, 90))), path("in/d.jpg"));
    smallPair(path("unused.jpg"), path("masks/d.mask.png"));
    const QStringList photos = {path("in/a.jpg"), path("in/b.png"), path("in/c.tif"), path("in/d.jpg")};
    const ToolRun r = runTool(QStringList{"--masks", path("masks"), "--output", path("out")} + photos);
    EXPECT_EQ(r.status, PartlyFailed) << r.err.toStdString();
    const QStringList errors = r.err.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(errors.size(), 2) << r.err.toStdString();
    EXPECT_TRUE(errors[0].startsWith("mervane-erase: c.tif: mask '")) << errors[0].toStdString();
    EXPECT_TRUE(errors[1].startsWith("mervane-erase: d.jpg: photo '")) << errors[1].toStdString();
    EXPECT_TRUE(errors[1].contains("damaged file"));
    // Written with the photo's name and format; the failed ones not at all.
    EXPECT_EQ(QDir(path("out")).entryList(QDir::Files | QDir::Hidden), (QStringList{"a.jpg", "b.png"}));
    const cv::Mat b = cv::imread(path("out/b.png").toStdString());
    ASSERT_EQ(b.size(), cv::Size(120, 90));
    EXPECT_EQ(cv::countNonZero(b(cv::Rect(50, 40, 12, 10)).reshape(1) == 0), 0) << "no black hole";
    // Plain progress lines name the photo and its place in the batch.
    EXPECT_TRUE(r.out.contains("1/4 a.jpg 0%")) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains("2/4 b.png 100%")) << r.out.toStdString();
    EXPECT_FALSE(r.out.contains("c.tif"));
}

TEST_F(Cli, BatchExitCodes)
{
    ASSERT_TRUE(QDir(dir.path()).mkpath("masks") && QDir(dir.path()).mkpath("out"));
    smallPair(path("a.png"), path("masks/a.mask.png"));
    const QStringList batch = {"--quiet", "--masks", path("masks"), "--output", path("out")};
    ToolRun r = runTool(batch + QStringList{path("a.png")});
    EXPECT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_TRUE(QFile::exists(path("out/a.png")));
    // Nothing could be done: the refusal's own code.
    r = runTool(batch + QStringList{path("missing.png")});
    EXPECT_EQ(r.status, Refused);
    // A missing output folder stops the batch before any work.
    r = runTool({"--masks", path("masks"), "--output", path("nowhere"), path("a.png")});
    EXPECT_EQ(r.status, Refused);
    EXPECT_EQ(r.err.count('\n'), 1);
    EXPECT_FALSE(QFileInfo::exists(path("nowhere")));
    // Two photos of one name would overwrite each other: the second fails.
    ASSERT_TRUE(QDir(dir.path()).mkpath("other"));
    smallPair(path("other/a.png"), path("unused.png"));
    r = runTool(batch + QStringList{path("a.png"), path("other/a.png")});
    EXPECT_EQ(r.status, PartlyFailed);
    EXPECT_TRUE(r.err.contains("another photo of this batch")) << r.err.toStdString();
}

TEST_F(Cli, CommonFormatsDoNotLoadOpenCVsCodecs)
{
    const QString output = path("out.png");
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("LD_DEBUG", "files");
    ToolRun r = runTool({photoPath, maskPath, output, "--quiet"}, env);
    EXPECT_EQ(r.status, Done);
    EXPECT_TRUE(r.err.contains("libopencv_core")) << "LD_DEBUG gave no loader trace";
    EXPECT_FALSE(r.err.contains("libopencv_imgcodecs"));
    // A rare format loads them when it is met.
    const QString bmp = path("photo.bmp");
    cv::imwrite(bmp.toStdString(), photo);
    r = runTool({bmp, maskPath, path("out.bmp"), "--quiet"}, env);
    EXPECT_EQ(r.status, Done);
    EXPECT_TRUE(r.err.contains("libopencv_imgcodecs"));
}

// The wait policy is put in place for libgomp, the OpenMP runtime the
// programs are built with, which reads its environment as it is loaded. The
// ThreadSanitizer build uses LLVM's runtime instead, which reads it only at
// the first parallel region and shows nothing for --version: left out there.
#if !defined(__clang__)
TEST_F(Cli, OpenMPStartsPassiveWithoutARestart)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("OMP_WAIT_POLICY");
    env.insert("SHLVL", "1");
    env.insert("OMP_DISPLAY_ENV", "verbose");
    const ToolRun r = runTool({"--version"}, env);
    // libgomp shows the spin count it derived: 0 when passive.
    EXPECT_TRUE(r.err.contains("GOMP_SPINCOUNT = '0'")) << r.err.toStdString();
    // The borrowed variable is back in place for the program.
    EXPECT_EQ(r.status, Done);
    env.insert("OMP_WAIT_POLICY", "ACTIVE");
    EXPECT_FALSE(runTool({"--version"}, env).err.contains("GOMP_SPINCOUNT = '0'")) << "the user's policy stays";
}
#endif

TEST_F(Cli, SideOver65535IsRefused)
{
    const QString wide = path("wide.png");
    ASSERT_TRUE(cv::imwrite(wide.toStdString(), cv::Mat(1, 65536, CV_8UC3, cv::Scalar::all(80))));
    const QString wideMask = path("widemask.png");
    cv::Mat m(1, 65536, CV_8UC3, cv::Scalar::all(0));
    m(cv::Rect(100, 0, 5, 1)).setTo(cv::Scalar::all(255));
    cv::imwrite(wideMask.toStdString(), m);
    const QString output = path("out.png");
    expectCleanFailure(runTool({wide, wideMask, output}), output, Refused, "65535");
}

TEST_F(Cli, OnePixelWidePhoto)
{
    const QString thin = path("thin.png"), thinMask = path("thinmask.png");
    cv::imwrite(thin.toStdString(), cv::Mat(50, 1, CV_8UC3, cv::Scalar::all(120)));
    cv::Mat m(50, 1, CV_8UC3, cv::Scalar::all(0));
    m(cv::Rect(0, 20, 1, 5)).setTo(cv::Scalar::all(255));
    cv::imwrite(thinMask.toStdString(), m);
    const QString output = path("thin-out.png");
    const ToolRun r = runTool({thin, thinMask, output, "--quiet"});
    // The engine has no whole patch to copy from: refused up front, nothing written.
    expectCleanFailure(r, output, Refused, "too small");
}

// Nothing left around the selection: refused before any work, with the reason.
TEST_F(Cli, MaskCoveringThePhotoIsRefused)
{
    const QString photo = path("flat.png"), whole = path("whole.png"), border = path("border.png");
    cv::imwrite(photo.toStdString(), cv::Mat(60, 80, CV_8UC3, cv::Scalar(40, 90, 160)));
    cv::imwrite(whole.toStdString(), cv::Mat(60, 80, CV_8UC3, cv::Scalar::all(255)));
    cv::Mat m(60, 80, CV_8UC3, cv::Scalar::all(0));
    m(cv::Rect(1, 1, 78, 58)).setTo(cv::Scalar::all(255)); // all but a 1-pixel border
    cv::imwrite(border.toStdString(), m);
    const QString output = path("covered-out.png");
    expectCleanFailure(runTool({photo, whole, output, "--quiet"}), output, Refused,
                       "nothing around the selection to fill from");
    expectCleanFailure(runTool({photo, border, output, "--quiet"}), output, Refused,
                       "nothing around the selection to fill from");
}

// A donor area the mask covers leaves nothing to copy from.
TEST_F(Cli, DonorCoveredByTheMaskIsRefused)
{
    const QString photo = path("flat2.png"), mask = path("m2.png"), donor = path("d2.png");
    cv::imwrite(photo.toStdString(), cv::Mat(60, 80, CV_8UC3, cv::Scalar(40, 90, 160)));
    cv::Mat m(60, 80, CV_8UC3, cv::Scalar::all(0));
    m(cv::Rect(20, 20, 30, 20)).setTo(cv::Scalar::all(255));
    cv::imwrite(mask.toStdString(), m);
    cv::Mat d(60, 80, CV_8UC3, cv::Scalar::all(0));
    d(cv::Rect(25, 25, 10, 10)).setTo(cv::Scalar::all(255)); // inside the mask
    cv::imwrite(donor.toStdString(), d);
    const QString output = path("donor-out.png");
    expectCleanFailure(runTool({photo, mask, output, "--donor", donor, "--quiet"}), output, Refused,
                       "donor");
}

TEST_F(Cli, RandomSmallPhotosEndCleanly)
{
    // Small photos of odd sizes with random masks and donors, and random
    // damage to their files: every run ends in a fill (exit 0, no black left
    // where the photo has none) or in one clean error line; none crashes or
    // leaves a file behind.
    cv::RNG rng(4242);
    for (int run = 0; run < 30; ++run) {
        SCOPED_TRACE(run);
        const cv::Size size(1 + rng.uniform(0, 64), 1 + rng.uniform(0, 64));
        cv::Mat image(size, CV_8UC3);
        rng.fill(image, cv::RNG::UNIFORM, 1, 256); // no black pixel
        cv::Mat marks(size, CV_8UC3, cv::Scalar::all(0)), donor(size, CV_8UC3, cv::Scalar::all(0));
        const cv::Rect r(rng.uniform(0, size.width), rng.uniform(0, size.height), 1 + rng.uniform(0, 12),
                         1 + rng.uniform(0, 12));
        marks(r & cv::Rect(cv::Point(), size)).setTo(cv::Scalar::all(255));
        donor(cv::Rect(0, 0, size.width / 2 + 1, size.height)).setTo(cv::Scalar(0, 255, 0));
        const QString p = path("fuzz.png"), m = path("fuzz.mask.png"), d = path("fuzz.donor.png"),
                      out = path(run % 2 ? "fuzz-out.jpg" : "fuzz-out.png");
        std::vector<uchar> bytes;
        cv::imencode(".png", image, bytes);
        if (run % 5 == 4)
            bytes[size_t(rng.uniform(8, int(bytes.size())))] ^= 0x5A;
        QFile f(p);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(reinterpret_cast<const char *>(bytes.data()), qint64(bytes.size()));
        f.close();
        cv::imwrite(m.toStdString(), marks);
        cv::imwrite(d.toStdString(), donor);
        QStringList args = {"--quiet", p, m, out};
        if (run % 3 == 0)
            args << "--donor" << d;
        const ToolRun t = runTool(args);
        if (t.status == Done) {
            EXPECT_TRUE(t.err.isEmpty()) << t.err.toStdString();
            const cv::Mat result = cv::imread(out.toStdString());
            ASSERT_EQ(result.size(), size);
            if (run % 2 == 0) // lossless: every fill is made of values of at least 1
                EXPECT_EQ(cv::countNonZero(result.reshape(1) == 0), 0) << "black left in the result";
        } else {
            EXPECT_TRUE(t.status == Refused || t.status == Failed) << t.status;
            EXPECT_EQ(t.err.count('\n'), 1) << t.err.toStdString();
            EXPECT_FALSE(QFile::exists(out));
        }
        EXPECT_TRUE(temporaries(dir.path()).isEmpty());
        QFile::remove(out);
    }
}

// A camera-style JPEG (turned a quarter, with a preview) and the mask of
// its upright pixels, for the metadata runs.
struct TaggedInput
{
    QString photo, mask;
};

TaggedInput taggedInput(const cv::Mat &photo, const QString &folder)
{
    const cv::Mat crop = photo(cv::Rect(300, 200, 160, 120)).clone();
    TaggedInput in{folder + "/tagged.jpg", folder + "/tagged.mask.png"};
    const taggedphoto::Run r =
        taggedphoto::writeTaggedJpeg(crop, in.photo.toStdString(), (folder + "/thumb.jpg").toStdString());
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    cv::Mat m(crop.cols, crop.rows, CV_8UC3, cv::Scalar::all(0)); // upright: orientation 6 turns it
    m(cv::Rect(50, 60, 14, 12)).setTo(cv::Scalar::all(255));
    cv::imwrite(in.mask.toStdString(), m);
    return in;
}

TEST_F(Cli, KeepsMetadataAndProfileInEveryFormat)
{
    const TaggedInput in = taggedInput(photo, dir.path());
    const QByteArray profile = taggedphoto::fileBytes(taggedphoto::profilePath());
    const QByteArray xmp = taggedphoto::readBlock(in.photo.toStdString(), "XMP");
    ASSERT_FALSE(xmp.isEmpty());
    for (const QString suffix : {"jpg", "png", "tif", "webp"}) {
        SCOPED_TRACE(suffix.toStdString());
        const QString output = path("kept." + suffix);
        const ToolRun r = runTool({in.photo, in.mask, output, "--quiet"});
        ASSERT_EQ(r.status, Done) << r.err.toStdString();
        const std::string out = output.toStdString();
        taggedphoto::expectKept(taggedphoto::readTags(out), suffix != "webp");
        EXPECT_TRUE(taggedphoto::readBlock(out, "ThumbnailImage").isEmpty()) << "the preview shows the erased";
        EXPECT_EQ(taggedphoto::readBlock(out, "ICC_Profile"), profile);
        EXPECT_EQ(taggedphoto::readBlock(out, "XMP"), xmp);
        // Written upright: the result has the mask's size, as the viewer shows it.
        EXPECT_EQ(cv::imread(out, cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION).size(),
                  cv::imread(in.mask.toStdString()).size());
    }
}

TEST_F(Cli, StripMetadataWritesNone)
{
    const TaggedInput in = taggedInput(photo, dir.path());
    for (const QString suffix : {"jpg", "png", "tif", "webp"}) {
        SCOPED_TRACE(suffix.toStdString());
        const QString output = path("stripped." + suffix);
        const ToolRun r = runTool({in.photo, in.mask, output, "--strip-metadata"});
        ASSERT_EQ(r.status, Done) << r.err.toStdString();
        const std::string out = output.toStdString();
        taggedphoto::expectNone(taggedphoto::readTags(out));
        EXPECT_TRUE(taggedphoto::readBlock(out, "ICC_Profile").isEmpty());
        EXPECT_TRUE(taggedphoto::readBlock(out, "XMP").isEmpty());
        EXPECT_TRUE(taggedphoto::readBlock(out, "ThumbnailImage").isEmpty());
    }
}

TEST_F(Cli, FormatWithoutMetadataSaysSo)
{
    const TaggedInput in = taggedInput(photo, dir.path());
    const QString output = path("plain.bmp");
    ToolRun r = runTool({in.photo, in.mask, output});
    ASSERT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains("metadata not kept (.bmp files hold none)")) << r.err.toStdString();
    r = runTool({in.photo, in.mask, output, "--strip-metadata"});
    ASSERT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_FALSE(r.err.contains("metadata")) << "nothing to keep when stripping";
}

// A 16-bit photo: the coffee photo widened, with a smooth 16-bit ramp over
// it so that the low bits carry the picture too, and a mask over a smooth
// part of it.
cv::Mat widePhoto(const cv::Mat &photo)
{
    cv::Mat wide(photo.size(), CV_16UC3);
    for (int y = 0; y < photo.rows; ++y)
        for (int x = 0; x < photo.cols; ++x) {
            const cv::Vec3b p = photo.at<cv::Vec3b>(y, x);
            for (int c = 0; c < 3; ++c)
                wide.at<cv::Vec3w>(y, x)[c] = ushort(std::min(65535, p[c] * 200 + x * 20 + y * 13 + c * 977));
        }
    return wide;
}

std::set<int> levelsIn(const cv::Mat &wide, const cv::Mat &where, int channel)
{
    std::set<int> levels;
    for (int y = 0; y < wide.rows; ++y)
        for (int x = 0; x < wide.cols; ++x)
            if (where.at<uchar>(y, x))
                levels.insert(wide.at<cv::Vec3w>(y, x)[channel]);
    return levels;
}

TEST_F(Cli, SixteenBitPhotosStaySixteenBit)
{
    // A smooth ramp, the hardest case for banding: every 16-bit level apart.
    cv::Mat ramp(240, 320, CV_16UC3);
    for (int y = 0; y < ramp.rows; ++y)
        for (int x = 0; x < ramp.cols; ++x)
            ramp.at<cv::Vec3w>(y, x) = cv::Vec3w(ushort(9000 + x * 150), ushort(5000 + y * 190), ushort(20000 + (x + y) * 70));
    const cv::Rect selection(120, 90, 70, 50);
    cv::Mat m(ramp.size(), CV_8UC3, cv::Scalar::all(0));
    m(selection).setTo(cv::Scalar::all(255));
    const QString rampMask = path("ramp.mask.png");
    cv::imwrite(rampMask.toStdString(), m);
    const cv::Mat real = widePhoto(photo);
    for (const QString suffix : {"png", "tif"}) {
        SCOPED_TRACE(suffix.toStdString());
        for (const bool smooth : {true, false}) {
            const cv::Mat input = smooth ? ramp : real;
            const QString inputPath = path(QString(smooth ? "ramp." : "wide.") + suffix);
            cv::imwrite(inputPath.toStdString(), input);
            const QString output = path(QString(smooth ? "ramp-out." : "wide-out.") + suffix);
            const ToolRun r = runTool({inputPath, smooth ? rampMask : maskPath, output});
            ASSERT_EQ(r.status, Done) << r.err.toStdString();
            EXPECT_FALSE(r.err.contains("narrowed")) << r.err.toStdString();
            const cv::Mat result = cv::imread(output.toStdString(), cv::IMREAD_UNCHANGED);
            ASSERT_EQ(result.type(), CV_16UC3);
            ASSERT_EQ(result.size(), input.size());
            // The engine's hole: the mask grown by its 3 x 3 stamp.
            cv::Mat hole(input.size(), CV_8UC1, cv::Scalar(0));
            hole(smooth ? selection : this->hole).setTo(255);
            cv::dilate(hole, hole, cv::Mat::ones(3, 3, CV_8U));
            EXPECT_EQ(cv::norm(result, input, cv::NORM_INF, ~hole), 0) << "outside the hole bit for bit";
            EXPECT_GT(cv::norm(result, input, cv::NORM_INF, hole), 0) << "the hole was filled";
            if (smooth) {
                for (int c = 0; c < 3; ++c)
                    EXPECT_GT(int(levelsIn(result, hole, c).size()), 256) << "channel " << c << " bands";
            }
        }
    }
    // An 8-bit format takes the 8-bit result, and says so once.
    const QString widePath = path("wide.png");
    const ToolRun r = runTool({widePath, maskPath, path("wide-out.jpg")});
    ASSERT_EQ(r.status, Done) << r.err.toStdString();
    EXPECT_EQ(r.err.count("16-bit samples written as 8 bits (.jpg files hold 8)"), 1) << r.err.toStdString();
    EXPECT_EQ(cv::imread(path("wide-out.jpg").toStdString(), cv::IMREAD_UNCHANGED).type(), CV_8UC3);
}

TEST_F(Cli, HeicAndAvifKeepMetadataAndTakeAQuality)
{
    const TaggedInput in = taggedInput(photo, dir.path());
    const QByteArray profile = taggedphoto::fileBytes(taggedphoto::profilePath());
    const cv::Size upright = cv::imread(in.mask.toStdString()).size();
    for (const QString suffix : {"heic", "avif"}) {
        SCOPED_TRACE(suffix.toStdString());
        const QString output = path("kept." + suffix);
        ToolRun r = runTool({in.photo, in.mask, output, "--quiet"});
        ASSERT_EQ(r.status, Done) << r.err.toStdString();
        const std::string out = output.toStdString();
        const QJsonObject tags = taggedphoto::readTags(out);
        taggedphoto::expectKept(tags, false); // no IPTC in HEIF files
        EXPECT_TRUE(taggedphoto::readBlock(out, "ThumbnailImage").isEmpty());
        EXPECT_EQ(taggedphoto::readBlock(out, "ICC_Profile"), profile);
        // Upright, and read back by the tool itself.
        EXPECT_EQ(tags.value("File:ImageWidth").toInt(), upright.width);
        EXPECT_EQ(tags.value("File:ImageHeight").toInt(), upright.height);
        r = runTool({output, in.mask, path("again.png"), "--quiet"});
        EXPECT_EQ(r.status, Done) << r.err.toStdString();
        // A lower quality makes a smaller file.
        const QString small = path("small." + suffix);
        r = runTool({in.photo, in.mask, small, "--quiet", "--quality", "20"});
        ASSERT_EQ(r.status, Done) << r.err.toStdString();
        EXPECT_LT(QFileInfo(small).size(), QFileInfo(output).size());
    }
    const ToolRun bad = runTool({in.photo, in.mask, path("x.heic"), "--quality", "101"});
    EXPECT_EQ(bad.status, Usage);
    EXPECT_TRUE(bad.err.contains("--quality needs a number from 0 to 100")) << bad.err.toStdString();
}
