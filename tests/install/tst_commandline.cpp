// Start-up from outside: photo arguments made absolute, the data folder of a
// build and of an install, photos named on the command line opened through
// the window's own open path, and every image type the desktop entry
// announces opening for real.
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QRegularExpression>
#include <QSlider>
#include <QtTest>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "launch.h"
#include "mainwindow.h"
#include "photoio.h"
#include "windowtest.h"

namespace {

// Closes every message box that appears and keeps its text, so an expected
// warning is counted and an unexpected one fails the test instead of
// blocking it.
class MessageBoxWatch : public QObject
{
public:
    MessageBoxWatch()
    {
        m_timer.setInterval(10);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                if (box->isVisible()) {
                    texts << box->windowTitle() + QStringLiteral(": ") + box->text();
                    box->done(QMessageBox::Ok);
                }
            }
        });
        m_timer.start();
    }
    QStringList texts;

private:
    QTimer m_timer;
};

QString sourceFile(const QString &relative)
{
    return qEnvironmentVariable("MERVANE_SOURCE_DIR") + QLatin1Char('/') + relative;
}

QStringList desktopMimeTypes()
{
    QFile f(sourceFile(QStringLiteral("resources/desktop/app.mervane.Mervane.desktop")));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    for (const QString &line : QString::fromUtf8(f.readAll()).split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("MimeType=")))
            return line.mid(9).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    }
    return {};
}

QStringList metainfoMediaTypes()
{
    QFile f(sourceFile(QStringLiteral("resources/desktop/app.mervane.Mervane.metainfo.xml")));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QStringList types;
    QRegularExpression re(QStringLiteral("<mediatype>([^<]+)</mediatype>"));
    auto it = re.globalMatch(QString::fromUtf8(f.readAll()));
    while (it.hasNext())
        types << it.next().captured(1);
    return types;
}

// A file name suffix for every image type the program announces; a type
// added to the desktop entry without a sample here fails the test.
QString suffixFor(const QString &mime)
{
    static const QHash<QString, QString> suffixes = {
        {"image/bmp", "bmp"},          {"image/jpeg", "jpg"},       {"image/png", "png"},
        {"image/x-portable-bitmap", "pbm"}, {"image/x-portable-graymap", "pgm"},
        {"image/x-portable-pixmap", "ppm"}, {"image/x-portable-anymap", "pnm"},
        {"image/x-sun-raster", "ras"}, {"image/tiff", "tif"},       {"image/x-exr", "exr"},
        {"image/jp2", "jp2"},          {"image/webp", "webp"},
        {"image/heic", "heic"},        {"image/heif", "heif"},      {"image/avif", "avif"},
    };
    return suffixes.value(mime);
}

} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QListWidget *list(MainWindow &w) { return w.findChild<QListWidget *>(QStringLiteral("listWidget")); }
    QString shownSize(MainWindow &w)
    {
        return w.findChild<QLabel *>(QStringLiteral("label_display_scale"))->text().section(QLatin1Char(' '), 1);
    }

private slots:
    void argumentsBecomeAbsolute()
    {
        const QStringList args = {"mervane", "a.jpg", "sub/../b.png", "/abs/c.tif", "-x", "--", "-dash.png", ""};
        const QStringList photos = photoArguments(args, "/home/user/pictures");
        QCOMPARE(photos, QStringList({"/home/user/pictures/a.jpg", "/home/user/pictures/b.png", "/abs/c.tif",
                                      "/home/user/pictures/-dash.png"}));
        QVERIFY(photoArguments({"mervane"}, "/tmp").isEmpty());
    }

    void dataFolderOfBuildAndInstall()
    {
        const QString root = m_dir.path() + "/tree";
        // A build: the data beside the executable.
        QVERIFY(QDir().mkpath(root + "/run/font"));
        QCOMPARE(dataFolderFor(root + "/run"), root + "/run");
        // An install: the executable in lib/mervane, the data in share/mervane.
        QVERIFY(QDir().mkpath(root + "/usr/lib/mervane"));
        QCOMPARE(dataFolderFor(root + "/usr/lib/mervane"), QString());
        QVERIFY(QDir().mkpath(root + "/usr/share/mervane/font"));
        QCOMPARE(dataFolderFor(root + "/usr/lib/mervane"), root + "/usr/share/mervane");
    }

    void photosOpenAndTheFirstIsShown()
    {
        const QString a = writeImage(m_dir.path(), "first.png", patternPhoto(120, 80, 1));
        const QString c = writeImage(m_dir.path(), "third.jpg", patternPhoto(90, 60, 2));
        const QString missing = m_dir.path() + "/missing.png";
        MainWindow w;
        w.show();
        MessageBoxWatch boxes;
        openCommandLinePhotos(&w, {a, missing, c});
        // The unreadable one got the usual warning, and the rest went on.
        QCOMPARE(boxes.texts, QStringList("Warnning: Cannot read file " + missing));
        QCOMPARE(list(w)->count(), 2);
        QCOMPARE(list(w)->currentRow(), 0);
        QCOMPARE(shownSize(w), QString("120*80"));
        // Shown as opening it left it: the brush with its size control.
        QSlider *size = w.findChild<QSlider *>(QStringLiteral("verticalSlider"));
        QVERIFY(size);
        QVERIFY(size->isVisible());
    }

    void onePhotoIsShown()
    {
        const QString a = writeImage(m_dir.path(), "only.png", patternPhoto(70, 50, 3));
        MainWindow w;
        w.show();
        MessageBoxWatch boxes;
        openCommandLinePhotos(&w, {a});
        QVERIFY(boxes.texts.isEmpty());
        QCOMPARE(list(w)->count(), 1);
        QCOMPARE(shownSize(w), QString("70*50"));
    }

    void everyAnnouncedTypeOpens()
    {
        const QStringList mimes = desktopMimeTypes();
        QVERIFY(!mimes.isEmpty());
        QCOMPARE(metainfoMediaTypes(), mimes);
        const cv::Mat photo = cv::imread(realPhoto("coffee.png").toStdString(), cv::IMREAD_COLOR);
        QVERIFY(!photo.empty());
        QStringList paths;
        for (const QString &mime : mimes) {
            const QString suffix = suffixFor(mime);
            QVERIFY2(!suffix.isEmpty(), qPrintable("no sample for " + mime));
            const QString path = m_dir.path() + "/sample-" + QString(mime).replace('/', '-') + "." + suffix;
            cv::Mat out = photo;
            if (suffix == "exr")
                photo.convertTo(out, CV_32FC3, 1.0 / 255);
            if (suffix == "pgm" || suffix == "pbm")
                cv::cvtColor(photo, out, cv::COLOR_BGR2GRAY);
            if (suffix == "pbm")
                cv::threshold(out, out, 127, 255, cv::THRESH_BINARY);
            if (photoio::codecForSuffix(suffix.toStdString()) == photoio::Codec::Heif
                || photoio::codecForSuffix(suffix.toStdString()) == photoio::Codec::Avif) {
                // OpenCV writes no phone formats: photoio's own encoder does.
                const photoio::Encoded encoded = photoio::encode(out, suffix.toStdString());
                QVERIFY2(encoded.ok(), encoded.error.c_str());
                QVERIFY(photoio::writeFileChecked(path.toStdString(), encoded.bytes).empty());
            } else {
                QVERIFY2(cv::imwrite(path.toStdString(), out), qPrintable("cannot write " + path));
            }
            paths << path;
        }
        MainWindow w;
        w.show();
        MessageBoxWatch boxes;
        openCommandLinePhotos(&w, paths);
        QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join("\n")));
        QCOMPARE(list(w)->count(), paths.size());
        QCOMPARE(shownSize(w), QString("600*400"));
    }
};

MERVANE_WINDOW_TEST_MAIN(TestCommandLine)
#include "tst_commandline.moc"
