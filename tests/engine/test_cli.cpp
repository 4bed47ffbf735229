// mervane-erase end to end: a real erase, its progress output, and every
// error exit (one line on stderr, non-zero status, no OUTPUT left behind).

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <QDir>
#include <QFileInfo>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace {

const QString kTool = QStringLiteral(MERVANE_ERASE_PATH);
const std::string kPhoto = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";

struct ToolRun
{
    int status = -1;
    QString out;
    QString err;
};

ToolRun runTool(const QStringList &args)
{
    QProcess p;
    p.start(kTool, args);
    p.waitForFinished(120000);
    ToolRun r;
    r.status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromLocal8Bit(p.readAllStandardOutput());
    r.err = QString::fromLocal8Bit(p.readAllStandardError());
    return r;
}

class Cli : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        photo = cv::imread(kPhoto, cv::IMREAD_COLOR);
        if (photo.empty())
            GTEST_SKIP() << "sample picture " << kPhoto << " is not installed (python3-skimage)";
        photoPath = path("photo.png");
        cv::imwrite(photoPath.toStdString(), photo);
        mask = cv::Mat(photo.size(), CV_8UC3, cv::Scalar::all(0));
        mask(hole).setTo(cv::Scalar(255, 255, 255));
        maskPath = path("mask.png");
        cv::imwrite(maskPath.toStdString(), mask);
    }

    QString path(const QString &name) const { return dir.path() + "/" + name; }

    void expectCleanFailure(const ToolRun &r, const QString &output)
    {
        EXPECT_NE(r.status, 0);
        EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(r.err.startsWith("mervane-erase: ")) << r.err.toStdString();
        EXPECT_FALSE(QFile::exists(output));
        // No partial file of any name either.
        const QStringList left = QDir(QFileInfo(output).absolutePath())
                                     .entryList(QStringList() << "*partial*", QDir::Files | QDir::Hidden);
        EXPECT_TRUE(left.isEmpty());
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
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
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
}

TEST_F(Cli, QuietPrintsNothingAndDonorWorks)
{
    const QString output = path("out.jpg");
    cv::Mat donor(photo.size(), CV_8UC3, cv::Scalar::all(0));
    donor(cv::Rect(380, 250, 80, 120)).setTo(cv::Scalar(0, 255, 0));
    const QString donorPath = path("donor.png");
    cv::imwrite(donorPath.toStdString(), donor);
    const ToolRun r = runTool({photoPath, maskPath, output, "--donor", donorPath, "--quiet"});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_FALSE(cv::imread(output.toStdString()).empty());
}

TEST_F(Cli, UnreadablePhoto)
{
    QFile junk(path("junk.png"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not an image");
    junk.close();
    const QString output = path("out.png");
    expectCleanFailure(runTool({junk.fileName(), maskPath, output}), output);
    expectCleanFailure(runTool({path("missing.png"), maskPath, output}), output);
}

TEST_F(Cli, MaskOfAnotherSize)
{
    const QString small = path("small.png");
    cv::imwrite(small.toStdString(), cv::Mat(10, 10, CV_8UC3, cv::Scalar::all(255)));
    const QString output = path("out.png");
    expectCleanFailure(runTool({photoPath, small, output}), output);
    expectCleanFailure(runTool({photoPath, maskPath, output, "--donor", small}), output);
}

TEST_F(Cli, EmptyMask)
{
    const QString empty = path("empty.png");
    cv::imwrite(empty.toStdString(), cv::Mat(photo.size(), CV_8UC3, cv::Scalar::all(0)));
    const QString output = path("out.png");
    expectCleanFailure(runTool({photoPath, empty, output}), output);
}

TEST_F(Cli, UnwritableOutput)
{
    const QString missingDir = path("no/such/dir/out.png");
    expectCleanFailure(runTool({photoPath, maskPath, missingDir}), missingDir);
    const QString unknownFormat = path("out.notanimage");
    expectCleanFailure(runTool({photoPath, maskPath, unknownFormat}), unknownFormat);
}

TEST_F(Cli, SideOver65535IsRefused)
{
    const QString wide = path("wide.png");
    ASSERT_TRUE(cv::imwrite(wide.toStdString(), cv::Mat(1, 65536, CV_8UC3, cv::Scalar::all(80))));
    const QString wideMask = path("widemask.png");
    cv::Mat m(1, 65536, CV_8UC3, cv::Scalar::all(0));
    m(cv::Rect(100, 0, 5, 1)).setTo(cv::Scalar::all(255));
    cv::imwrite(wideMask.toStdString(), m);
    const QString output = path("out.png");
    const ToolRun r = runTool({wide, wideMask, output});
    expectCleanFailure(r, output);
    EXPECT_TRUE(r.err.contains("65535")) << r.err.toStdString();
}

TEST_F(Cli, BadArguments)
{
    const QString output = path("out.png");
    ToolRun r = runTool({photoPath, maskPath});
    EXPECT_NE(r.status, 0);
    EXPECT_FALSE(QFile::exists(output));
    r = runTool({photoPath, maskPath, output, "--frobnicate"});
    EXPECT_NE(r.status, 0);
    EXPECT_FALSE(QFile::exists(output));
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
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(cv::imread(output.toStdString()).size(), cv::Size(1, 50));
}
