// Save and print: the proposed name, the filter, the save dialog, the files
// written for every format, failed saves, and the printed page.
#include <QListWidget>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QProcess>
#include <QStackedWidget>
#include <QtTest>
#include <opencv2/imgproc.hpp>
#include <unistd.h>
#include <cerrno>

#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "photoio.h"
#include "removedialog.h"
#include "saveproposal.h"
#include "skin.h"
#include "ui_mainwindow.h"
#include "windowtest.h"

namespace {

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QByteArray encoded(const char *ext, const cv::Mat &m, const std::vector<int> &params = {})
{
    std::vector<uchar> bytes;
    cv::imencode(ext, m, bytes, params);
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

double psnr(const cv::Mat &a, const cv::Mat &b)
{
    return cv::PSNR(a, b);
}

} // namespace

class TestSave : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    PhotoItem *openPattern(const QString &name, int cols = 96, int rows = 64, int seed = 0)
    {
        m_w->openPhoto(writeImage(m_dir.path(), name, patternPhoto(cols, rows, seed)));
        return m_w->photoItems().last();
    }

    // Files in the folder other than the given ones: leftovers of a save.
    QStringList strayFiles(const QString &folder, const QStringList &expected)
    {
        QStringList stray;
        for (const QString &f : QDir(folder).entryList(QDir::Files | QDir::Hidden))
            if (!expected.contains(f))
                stray << f;
        return stray;
    }

private slots:
    void initTestCase()
    {
        Skin::init();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        m_w = new MainWindow;
        ui = m_w->form();
        m_w->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_w));
    }

    void cleanup()
    {
        delete m_w;
        m_w = nullptr;
    }

    // ------------------------------------------------------------ proposal

    void proposedName_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("proposed");
        QTest::newRow("plain") << "IMG.jpg" << "/pics/IMG_Copy";
        QTest::newRow("no dot: the whole name") << "README" << "/pics/README_Copy";
        QTest::newRow("two dots") << "a.b.png" << "/pics/a.b_Copy";
        QTest::newRow("leading dot") << ".hidden" << "/pics/_Copy";
        QTest::newRow("capitals kept") << "X.JPG" << "/pics/X_Copy";
    }

    void proposedName()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, proposed);
        QCOMPARE(SaveProposal::proposedPath("/pics", fileName), proposed);
    }

    void filterName_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QString>("name");
        const QList<QPair<QString, QString>> rows = {
            {"png", "PNG"},  {"jpg", "JPEG"},  {"jpeg", "JPEG"}, {"jpe", "JPEG"},
            {"bmp", "BMP"},  {"dib", "BMP"},   {"pbm", "Portable Bit Map"}, {"pgm", "Portable Bit Map"},
            {"ppm", "Portable Bit Map"},       {"sr", "SR"},     {"ras", "SR"},
            {"tiff", "TIFF"}, {"tif", "TIFF"}, {"exr", "EXR"},   {"jp2", "JP2"},
            {"webp", "WebP"}, {"heic", "HEIC"}, {"heif", "HEIC"}, {"avif", "AVIF"},
            // Compared exactly: capitals and anything else give PNG.
            {"JPG", "PNG"},  {"Png", "PNG"},   {"gif", "PNG"},   {"", "PNG"},
            {"HEIC", "PNG"},
        };
        for (const auto &r : rows)
            QTest::newRow(qPrintable("suffix " + r.first)) << r.first << r.second;
    }

    void filterName()
    {
        QFETCH(QString, suffix);
        QFETCH(QString, name);
        QCOMPARE(SaveProposal::filterNameFor(suffix), name);
        // Every name is the short name of one entry of the save filter.
        bool found = false;
        for (const QString &entry : SaveProposal::filter().split(";;"))
            found = found || entry.startsWith(name + "(");
        QVERIFY(found);
    }

    void defaultSuffixFollowsTheFilter()
    {
        QCOMPARE(SaveProposal::defaultSuffixOf("PNG(*.png)"), QString("png"));
        QCOMPARE(SaveProposal::defaultSuffixOf("JPEG(*.jpg *.jpeg *.jpe)"), QString("jpg"));
        QCOMPARE(SaveProposal::defaultSuffixOf("JPEG"), QString("jpg"));
        // The portable maps take the one that holds colour.
        QCOMPARE(SaveProposal::defaultSuffixOf("Portable Bit Map(*.pbm *.pgm *.ppm)"), QString("ppm"));
        QCOMPARE(SaveProposal::defaultSuffixOf("SR"), QString("sr"));
        QCOMPARE(SaveProposal::defaultSuffixOf("HEIC(*.heic *.heif)"), QString("heic"));
        QCOMPARE(SaveProposal::defaultSuffixOf("HEIC"), QString("heic"));
        QCOMPARE(SaveProposal::defaultSuffixOf("AVIF"), QString("avif"));
        QCOMPARE(SaveProposal::defaultSuffixOf("WebP"), QString("webp"));
        QCOMPARE(SaveProposal::defaultSuffixOf("nothing"), QString());
    }

    // ------------------------------------------------------------ save dialog

    void saveDialogOffersTheCopyName()
    {
        PhotoItem *item = openPattern("x.JPG");
        ModalAnswers answers;
        ModalAnswers::FileDialogSeen seen;
        answers.then(ModalAnswers::files({}, &seen));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 2);
        QCOMPARE(answers.answered(), 1);
        QCOMPARE(seen.title, QString("Save File"));
        QCOMPARE(seen.directory, m_dir.path());
        // The name carries no suffix; the dialog adds the filter's own.
        QCOMPARE(seen.typed, QString("x_Copy"));
        QCOMPARE(seen.selected.value(0), m_dir.path() + "/x_Copy.png");
        QCOMPARE(seen.nameFilters, SaveProposal::filter().split(";;"));
        // x.JPG: the suffix in capitals is not in the table, PNG is preselected.
        QCOMPARE(seen.nameFilter, QString("PNG(*.png)"));
        QCOMPARE(int(seen.options), 3);
        QCOMPARE(state(item).output.m_saved, quint8(1));
    }

    void acceptingTheProposedNameWritesAFileWithTheFiltersSuffix()
    {
        PhotoItem *item = openPattern("y.jpg");
        state(item).output.m_saved = 0;
        QTemporaryDir out;
        ModalAnswers answers;
        answers.then(ModalAnswers::files({out.path() + "/y_Copy"}));
        QVERIFY(m_w->on_pushButton_save_clicked() != 2);
        QCOMPARE(state(item).output.m_saved, quint8(1));
        QCOMPARE(m_w->saveDir(), out.path());
        QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList({"y_Copy.png"}));
        const cv::Mat back = cv::imread((out.path() + "/y_Copy.png").toStdString(), cv::IMREAD_COLOR);
        QCOMPARE(cv::norm(back, item->getImage(), cv::NORM_INF), 0.0);
        // The next proposal starts in the folder of the last save.
        ModalAnswers::FileDialogSeen seen;
        answers.then(ModalAnswers::files({}, &seen));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 2);
        QCOMPARE(seen.directory, out.path());
        QCOMPARE(seen.typed, QString("y_Copy"));
    }

    void cancelledSaveChangesNothing()
    {
        PhotoItem *item = openPattern("c.png");
        QTemporaryDir out;
        ModalAnswers answers;
        answers.then(ModalAnswers::files({out.path() + "/first.png"}));
        QVERIFY(m_w->on_pushButton_save_clicked() != 2);
        state(item).output.m_saved = 0;
        answers.then(ModalAnswers::files({}));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 2);
        QCOMPARE(m_w->saveDir(), out.path());
        QCOMPARE(state(item).output.m_saved, quint8(0));
        QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList({"first.png"}));
    }

    void saveGoesToTheCurrentPhotoOnly()
    {
        PhotoItem *first = openPattern("one.png", 40, 30, 1);
        PhotoItem *second = openPattern("two.png", 50, 20, 2);
        state(first).output.m_saved = 0;
        state(second).output.m_saved = 0;
        ui->listWidget->setCurrentRow(0);
        QTemporaryDir out;
        ModalAnswers answers;
        answers.then(ModalAnswers::files({out.path() + "/cur.png"}));
        m_w->on_pushButton_save_clicked();
        QCOMPARE(state(first).output.m_saved, quint8(1));
        QCOMPARE(state(second).output.m_saved, quint8(0));
        const cv::Mat back = cv::imread((out.path() + "/cur.png").toStdString(), cv::IMREAD_COLOR);
        QCOMPARE(back.cols, 40);
    }

    void saveAndPrintWithNoPhotoDoNothing()
    {
        ModalAnswers answers;
        answers.then(ModalAnswers::files({}));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 2);
        m_w->on_pushButton_print_clicked();
        QTest::qWait(30);
        QCOMPARE(answers.answered(), 0); // no dialog was opened
        QPrinter printer;
        m_w->printPreviewSlot(&printer); // no photo: nothing painted, no crash
    }

    void savedPhotoNoLongerCountsInRemoveAll()
    {
        PhotoItem *a = openPattern("ra.png", 40, 30, 1);
        PhotoItem *b = openPattern("rb.png", 40, 30, 2);
        state(a).output.m_saved = 0;
        state(b).output.m_saved = 0;
        QTemporaryDir out;
        ModalAnswers answers;
        answers.then(ModalAnswers::files({out.path() + "/rb_Copy.png"}));
        m_w->on_pushButton_save_clicked();
        QStringList texts;
        answers.then(ModalAnswers::question(QDialog::Rejected, &texts));
        ui->pushButton_remove->click();
        QCOMPARE(texts, QStringList({"You have 1 unsaved files. \nDo you want to remove all the files?"}));
    }

    // ------------------------------------------------------------ files written

    void losslessFormatsReadBackEqual_data()
    {
        QTest::addColumn<QString>("suffix");
        for (const char *s : {"png", "bmp", "dib", "tiff", "tif", "ppm", "sr", "ras", "exr", "PNG", "Bmp"})
            QTest::newRow(s) << QString(s);
    }

    void losslessFormatsReadBackEqual()
    {
        QFETCH(QString, suffix);
        PhotoItem *item = openPattern("lossless.png", 97, 61, 3);
        state(item).output.m_saved = 0;
        QTemporaryDir out;
        const QString path = out.path() + "/out." + suffix;
        item->recvSaveCommand(path);
        QCOMPARE(state(item).output.m_saved, quint8(1));
        const cv::Mat back = cv::imread(path.toStdString(), cv::IMREAD_COLOR);
        QVERIFY2(!back.empty(), qPrintable(path));
        QCOMPARE(back.size(), item->getImage().size());
        QCOMPARE(cv::norm(back, item->getImage(), cv::NORM_INF), 0.0);
        QCOMPARE(strayFiles(out.path(), {"out." + suffix}), QStringList());
    }

    void selectionsAreNotWritten()
    {
        PhotoItem *item = openPattern("sel.png", 64, 48, 4);
        state(item).selection.m_inpaintMask.setTo(cv::Scalar(0, 0, 255, 128));
        state(item).selection.m_inpaintMaskBK.setTo(cv::Scalar(0, 255, 0, 128));
        QTemporaryDir out;
        item->recvSaveCommand(out.path() + "/sel.png");
        const cv::Mat back = cv::imread((out.path() + "/sel.png").toStdString(), cv::IMREAD_COLOR);
        QCOMPARE(cv::norm(back, patternPhoto(64, 48, 4), cv::NORM_INF), 0.0);
    }

    void encoderParametersLeaveTheLibraryDefaults()
    {
        // The png row carries a JPEG quality and the jpg row a PNG
        // compression; neither encoder reads the other's, so both files are
        // exactly what the library writes with no parameters at all.
        PhotoItem *item = openPattern("params.png", 120, 90, 5);
        QTemporaryDir out;
        item->recvSaveCommand(out.path() + "/p.png");
        item->recvSaveCommand(out.path() + "/j.jpg");
        item->recvSaveCommand(out.path() + "/J.JPG");
        const cv::Mat m = item->getImage();
        QCOMPARE(readAll(out.path() + "/p.png"), encoded(".png", m));
        QCOMPARE(readAll(out.path() + "/j.jpg"), encoded(".jpg", m));
        QCOMPARE(readAll(out.path() + "/J.JPG"), encoded(".jpg", m));
        // Exchanged rows would change the files.
        QVERIFY(readAll(out.path() + "/p.png") != encoded(".png", m, {cv::IMWRITE_PNG_COMPRESSION, 9}));
        QVERIFY(readAll(out.path() + "/j.jpg") != encoded(".jpg", m, {cv::IMWRITE_JPEG_QUALITY, 100}));
    }

    void jpegAndJp2AreValid_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QByteArray>("magic");
        QTest::addColumn<double>("minPsnr");
        QTest::newRow("jpg") << "jpg" << QByteArray("\xff\xd8\xff", 3) << 30.0;
        QTest::newRow("jpeg") << "jpeg" << QByteArray("\xff\xd8\xff", 3) << 30.0;
        QTest::newRow("jpe") << "jpe" << QByteArray("\xff\xd8\xff", 3) << 30.0;
        QTest::newRow("jp2") << "jp2" << QByteArray("\x00\x00\x00\x0cjP  ", 8) << 40.0;
    }

    void jpegAndJp2AreValid()
    {
        QFETCH(QString, suffix);
        QFETCH(QByteArray, magic);
        QFETCH(double, minPsnr);
        // A real photograph, for a realistic compression.
        const QString src = "/usr/lib/python3/dist-packages/skimage/data/coffee.png";
        // Installed by the set-up (python3-skimage): its absence fails.
        QVERIFY2(QFile::exists(src), qPrintable(src + " is missing: run scripts/setup.sh"));
        m_w->openPhoto(src);
        PhotoItem *item = m_w->photoItems().last();
        QTemporaryDir out;
        const QString path = out.path() + "/photo." + suffix;
        item->recvSaveCommand(path);
        QVERIFY(readAll(path).startsWith(magic));
        const cv::Mat back = cv::imread(path.toStdString(), cv::IMREAD_COLOR);
        QCOMPARE(back.size(), item->getImage().size());
        QVERIFY2(psnr(back, item->getImage()) > minPsnr, qPrintable(QString::number(psnr(back, item->getImage()))));
    }

    void portableMapsOfOtherKinds()
    {
        PhotoItem *item = openPattern("maps.png", 40, 30, 6);
        QTemporaryDir out;
        item->recvSaveCommand(out.path() + "/g.pgm");
        item->recvSaveCommand(out.path() + "/b.pbm");
        cv::Mat grey;
        cv::cvtColor(item->getImage(), grey, cv::COLOR_BGR2GRAY);
        const cv::Mat g = cv::imread((out.path() + "/g.pgm").toStdString(), cv::IMREAD_UNCHANGED);
        QCOMPARE(g.type(), CV_8UC1);
        QCOMPARE(cv::norm(g, grey, cv::NORM_INF), 0.0);
        const cv::Mat b = cv::imread((out.path() + "/b.pbm").toStdString(), cv::IMREAD_UNCHANGED);
        QCOMPARE(b.size(), grey.size());
        cv::Mat bw;
        cv::threshold(grey, bw, 127, 255, cv::THRESH_BINARY);
        QCOMPARE(cv::norm(b, bw, cv::NORM_INF), 0.0);
    }

    void nameWithoutSuffixWritesNothing()
    {
        PhotoItem *item = openPattern("ns.png");
        state(item).output.m_saved = 0;
        QTemporaryDir out;
        QVERIFY(!item->saveTo(out.path() + "/nosuffix").isEmpty());
        QCOMPARE(state(item).output.m_saved, quint8(0));
        QCOMPARE(strayFiles(out.path(), {}), QStringList());
        QVERIFY(!item->saveTo(out.path() + "/unknown.xyz").isEmpty());
        QCOMPARE(strayFiles(out.path(), {}), QStringList());
        QCOMPARE(state(item).output.m_saved, quint8(0));
    }

    void nonAsciiNameIsWrittenAsGiven()
    {
        PhotoItem *item = openPattern("u.png");
        QTemporaryDir out;
        const QString path = out.path() + QString::fromUtf8("/fotoğraf é 写真.png");
        item->recvSaveCommand(path);
        QVERIFY(QFile::exists(path));
        const QByteArray bytes = readAll(path);
        const cv::Mat back = cv::imdecode(std::vector<uchar>(bytes.begin(), bytes.end()), cv::IMREAD_COLOR);
        QCOMPARE(cv::norm(back, item->getImage(), cv::NORM_INF), 0.0);
    }

    void unwritableTargetsLeaveNoFile()
    {
        PhotoItem *item = openPattern("uw.png");
        QTemporaryDir out;
        // The parent is a file; the target is a folder; a folder no one may write.
        QFile plain(out.path() + "/plain");
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.write("x");
        plain.close();
        QDir(out.path()).mkdir("isafolder.png");
        state(item).output.m_saved = 0;
        item->recvSaveCommand(out.path() + "/plain/inside.png");
        item->recvSaveCommand(out.path() + "/isafolder.png");
        item->recvSaveCommand(out.path() + "/missing/folder.png");
        item->recvSaveCommand("/proc/mervane-test.png");
        QCOMPARE(state(item).output.m_saved, quint8(0)); // nothing written: not saved
        QCOMPARE(strayFiles(out.path(), {"plain"}), QStringList());
        QVERIFY(QFileInfo(out.path() + "/isafolder.png").isDir());
        QCOMPARE(readAll(out.path() + "/plain"), QByteArray("x"));
        QVERIFY(!QFile::exists("/proc/mervane-test.png"));

        if (geteuid() != 0) {
            QDir(out.path()).mkdir("locked");
            QFile::setPermissions(out.path() + "/locked", QFileDevice::ReadOwner | QFileDevice::ExeOwner);
            item->recvSaveCommand(out.path() + "/locked/x.png");
            QCOMPARE(QDir(out.path() + "/locked").entryList(QDir::Files | QDir::Hidden), QStringList());
            QFile::setPermissions(out.path() + "/locked", QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                              | QFileDevice::ExeOwner);
        }
    }

    void failedSaveKeepsTheFileThatWasThere()
    {
        // A 2 x 2 photo is too small for the JPEG 2000 encoder's resolution
        // levels: the encoder refuses it, and the old file stays as it was.
        PhotoItem *item = openPattern("tiny.png", 2, 2);
        QTemporaryDir out;
        const QString path = out.path() + "/keep.jp2";
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("previous contents");
        old.close();
        item->recvSaveCommand(path);
        QCOMPARE(readAll(path), QByteArray("previous contents"));
        QCOMPARE(strayFiles(out.path(), {"keep.jp2"}), QStringList());
        // A successful save replaces it whole.
        item->recvSaveCommand(out.path() + "/keep.png");
        const QString png = out.path() + "/keep.png";
        QVERIFY(QFile::exists(png));
    }

    void fullDiskIsToldAndTheOldFileStays()
    {
        PhotoItem *item = openPattern("full.png", 120, 90, 3);
        state(item).output.m_saved = 0;
        QTemporaryDir out;
        const QString path = out.path() + "/full_Copy.png";
        // Every write finds the disk full.
        photoio::setWriteFunctionForTesting([](int, const void *, unsigned long) -> long {
            errno = ENOSPC;
            return -1;
        });
        ModalAnswers answers;
        answers.then(ModalAnswers::files({path}));
        QString told;
        answers.then([&told](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            told = box->text();
            box->done(QMessageBox::Ok);
            return true;
        });
        const int result = m_w->on_pushButton_save_clicked();
        QCOMPARE(result, 1);
        QCOMPARE(answers.answered(), 2);
        QVERIFY2(told.startsWith(QString("Cannot save file %1: ").arg(path)), qPrintable(told));
        QVERIFY2(told.contains("No space left on device"), qPrintable(told));
        QCOMPARE(state(item).output.m_saved, quint8(0));
        QCOMPARE(strayFiles(out.path(), {}), QStringList());

        // A file that was there stays as it was.
        const QString older = out.path() + "/older.png";
        QFile old(older);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("previous contents");
        old.close();
        QVERIFY(item->saveTo(older).contains("No space left on device"));
        photoio::setWriteFunctionForTesting(nullptr);
        QCOMPARE(readAll(older), QByteArray("previous contents"));
        QCOMPARE(strayFiles(out.path(), {"older.png"}), QStringList());
        QCOMPARE(state(item).output.m_saved, quint8(0));

        // With room on the disk again the same save succeeds, silently.
        answers.then(ModalAnswers::files({path}));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
        QCOMPARE(state(item).output.m_saved, quint8(1));
        QCOMPARE(readAll(path), encoded(".png", item->getImage()));
    }

    void sidesBeyondAFormatDoNotCrash()
    {
        // JPEG holds at most 65,500 pixels a side; the photo may have 65,535.
        PhotoItem *item = openPattern("wide.png", 65535, 1);
        QTemporaryDir out;
        state(item).output.m_saved = 0;
        QVERIFY(!item->saveTo(out.path() + "/wide.jpg").isEmpty());
        QCOMPARE(state(item).output.m_saved, quint8(0));
        QCOMPARE(strayFiles(out.path(), {}), QStringList());
        // Every format on the widest and the smallest photo: no crash.
        const QStringList all = {"png", "jpg", "bmp", "pbm", "pgm", "ppm", "sr", "tiff", "exr", "jp2"};
        for (const QString &s : all)
            item->recvSaveCommand(out.path() + "/w." + s);
        PhotoItem *dot = openPattern("dot.png", 1, 1);
        for (const QString &s : all)
            dot->recvSaveCommand(out.path() + "/d." + s);
        const cv::Mat back = cv::imread((out.path() + "/w.png").toStdString(), cv::IMREAD_COLOR);
        QCOMPARE(back.cols, 65535);
    }

    // ------------------------------------------------------------ print

    void printPreviewOpensWithItsMinimumSize()
    {
        openPattern("pp.png");
        QSize minimum;
        bool preview = false;
        ModalAnswers answers;
        answers.then([&](QWidget *w) {
            auto *d = qobject_cast<QPrintPreviewDialog *>(w);
            if (!d)
                return false;
            preview = true;
            minimum = d->minimumSize();
            d->reject();
            return true;
        });
        m_w->on_pushButton_print_clicked();
        QVERIFY(preview);
        QCOMPARE(minimum, QSize(int(1000 * g_uiScale), int(600 * g_uiScale)));
    }

    void printedPageHoldsTheCentredScaledPhoto_data()
    {
        QTest::addColumn<int>("cols");
        QTest::addColumn<int>("rows");
        QTest::newRow("wide, enlarged") << 300 << 100;
        QTest::newRow("tall, enlarged") << 60 << 240;
        QTest::newRow("wide, reduced") << 3000 << 1200;
    }

    void printedPageHoldsTheCentredScaledPhoto()
    {
        QFETCH(int, cols);
        QFETCH(int, rows);
        // Four flat quadrants: red, green, blue, yellow (clockwise from the top left).
        cv::Mat photo(rows, cols, CV_8UC3);
        const int hx = cols / 2, hy = rows / 2;
        photo(cv::Rect(0, 0, hx, hy)).setTo(cv::Scalar(0, 0, 255));
        photo(cv::Rect(hx, 0, cols - hx, hy)).setTo(cv::Scalar(0, 255, 0));
        photo(cv::Rect(hx, hy, cols - hx, rows - hy)).setTo(cv::Scalar(255, 0, 0));
        photo(cv::Rect(0, hy, hx, rows - hy)).setTo(cv::Scalar(0, 255, 255));
        m_w->openPhoto(writeImage(m_dir.path(), "quadrants.png", photo));

        QTemporaryDir out;
        const QString pdf = out.path() + "/page.pdf";
        QPrinter printer(QPrinter::ScreenResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        printer.setPageSize(QPageSize(QPageSize::A4));
        m_w->printPreviewSlot(&printer);
        QVERIFY(QFileInfo(pdf).size() > 0);

        // Where the photo must stand, in the printer's pixels.
        const QRect paper = printer.paperRect(QPrinter::DevicePixel).toRect();
        const QRect page = printer.pageRect(QPrinter::DevicePixel).toRect();
        const int vw = page.width(), vh = page.height();
        const double s = std::min(double(vw) / cols, double(vh) / rows);
        const int sw = int(cols * s), sh = int(rows * s);
        const QRectF expected(page.left() - paper.left() + (std::abs(vw - sw) >> 1),
                              page.top() - paper.top() + (std::abs(vh - sh) >> 1), sw, sh);

        // Rasterise the page and find the photo on it.
        const int dpi = 50;
        QProcess p;
        p.start("pdftoppm", {"-png", "-r", QString::number(dpi), "-singlefile", pdf, out.path() + "/page"});
        QVERIFY(p.waitForFinished(20000));
        QCOMPARE(p.exitCode(), 0);
        const cv::Mat raster = cv::imread((out.path() + "/page.png").toStdString(), cv::IMREAD_COLOR);
        QVERIFY(!raster.empty());
        const double k = double(dpi) / printer.resolution();
        QVERIFY(std::abs(raster.cols - paper.width() * k) <= 2);

        cv::Mat ink;
        cv::inRange(raster, cv::Scalar(0, 0, 0), cv::Scalar(250, 250, 250), ink);
        const cv::Rect found = cv::boundingRect(ink);
        const double tolerance = 2.5;
        QVERIFY2(std::abs(found.x - expected.x() * k) <= tolerance, qPrintable(QString::number(found.x)));
        QVERIFY2(std::abs(found.y - expected.y() * k) <= tolerance, qPrintable(QString::number(found.y)));
        QVERIFY2(std::abs(found.width - expected.width() * k) <= tolerance, qPrintable(QString::number(found.width)));
        QVERIFY2(std::abs(found.height - expected.height() * k) <= tolerance,
                 qPrintable(QString::number(found.height)));
        // It fills the printable width or height and is centred on the page.
        QVERIFY(std::abs(sw - vw) <= 1 || std::abs(sh - vh) <= 1);
        const double cx = found.x + found.width / 2.0, cy = found.y + found.height / 2.0;
        QVERIFY(std::abs(cx - (page.left() - paper.left() + vw / 2.0) * k) <= tolerance);
        QVERIFY(std::abs(cy - (page.top() - paper.top() + vh / 2.0) * k) <= tolerance);

        // The right way up and in the right colours.
        auto at = [&](double fx, double fy) {
            return raster.at<cv::Vec3b>(int(found.y + fy * found.height), int(found.x + fx * found.width));
        };
        auto near = [](cv::Vec3b v, cv::Vec3b w) { return cv::norm(cv::Vec3d(v) - cv::Vec3d(w)) < 40; };
        QVERIFY(near(at(0.25, 0.25), cv::Vec3b(0, 0, 255)));
        QVERIFY(near(at(0.75, 0.25), cv::Vec3b(0, 255, 0)));
        QVERIFY(near(at(0.75, 0.75), cv::Vec3b(255, 0, 0)));
        QVERIFY(near(at(0.25, 0.75), cv::Vec3b(0, 255, 255)));
    }
};

MERVANE_WINDOW_TEST_MAIN(TestSave)
#include "tst_save.moc"
