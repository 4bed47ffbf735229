// What a window save keeps of what the photo carried: a camera-style JPEG
// (EXIF with camera, date taken, GPS, artist, copyright, a turned
// orientation and a preview thumbnail; XMP; IPTC; an Adobe-RGB-compatible
// profile, all written by exiftool) is opened in the window and saved
// through the save dialog in every format. Tags are read back with exiftool.
#include <QAction>
#include <QJsonObject>
#include <QMenu>
#include <QSignalSpy>
#include <QUndoStack>
#include <QtTest>

#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "photoio.h"
#include "photoitem.h"
#include "savetest.h"
#include "taggedphoto.h"
#include "qmenubutton.h"
#include "windowtest.h"

namespace {

const char *const kPhoto = "/usr/lib/python3/dist-packages/skimage/data/chelsea.png";

} // namespace

class TestSaveMetadata : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_tagged;     // the camera-style JPEG
    QByteArray m_xmp;     // its XMP packet as stored
    MainWindow *m_w = nullptr;

    PhotoItem *openTagged()
    {
        m_w->openPhoto(m_tagged);
        return m_w->photoItems().isEmpty() ? nullptr : m_w->photoItems().last();
    }

    // Save As through the dialog, the name typed with its suffix.
    int saveAs(const QString &path, ModalAnswers &answers)
    {
        answers.then(ModalAnswers::files({path}));
        return m_w->on_pushButton_save_clicked();
    }

    // Opens the camera photo and saves it through the dialog as `path`;
    // the photo, or null if either failed.
    PhotoItem *openAndSaveAs(const QString &path)
    {
        PhotoItem *item = openTagged();
        ModalAnswers answers;
        if (!item || saveAs(path, answers) != 0 || answers.answered() != 1)
            return nullptr;
        return item;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY2(QFile::exists(kPhoto), "python3-skimage's sample photos are missing: run scripts/setup.sh");
        QVERIFY2(QFile::exists(taggedphoto::profilePath()), "icc-profiles-free is missing: run scripts/setup.sh");
        cv::Mat photo = cv::imread(kPhoto, cv::IMREAD_COLOR);
        cv::resize(photo, photo, cv::Size(240, 160), 0, 0, cv::INTER_AREA);
        m_tagged = m_dir.path() + "/camera.jpg";
        const taggedphoto::Run r =
            taggedphoto::writeTaggedJpeg(photo, m_tagged.toStdString(), (m_dir.path() + "/thumb.jpg").toStdString());
        QVERIFY2(r.status == 0, r.err.constData());
        QVERIFY(!taggedphoto::readBlock(m_tagged.toStdString(), "ThumbnailImage").isEmpty());
        m_xmp = taggedphoto::readBlock(m_tagged.toStdString(), "XMP");
        QVERIFY(!m_xmp.isEmpty());
    }

    void init()
    {
        m_w = new MainWindow;
        m_w->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_w));
    }

    void cleanup()
    {
        // The settings live in the suite's private store: back to the defaults.
        m_w->setStripMetadataSetting(false);
        delete m_w;
        m_w = nullptr;
    }

    void openKeepsWhatTheFileCarried()
    {
        PhotoItem *item = openTagged();
        QVERIFY(item);
        // Turned upright at the open: the stored 240 x 160 says Orientation 6.
        QCOMPARE(item->imageCols(), 160);
        QCOMPARE(item->imageRows(), 240);
        const photoio::Metadata &m = item->metadata();
        QVERIFY(!m.exif.empty());
        QVERIFY(!m.iptc.empty());
        QCOMPARE(QByteArray::fromStdString(m.xmp), m_xmp);
        const QByteArray profile = taggedphoto::fileBytes(taggedphoto::profilePath());
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(m.icc.data()), int(m.icc.size())), profile);
    }

    void saveKeepsTheTagsAndProfile_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<bool>("holdsIptc");
        QTest::addColumn<bool>("lossless");
        QTest::newRow("jpg") << "jpg" << true << false;
        QTest::newRow("png") << "png" << true << true;
        QTest::newRow("tif") << "tif" << true << true;
        QTest::newRow("webp") << "webp" << false << true; // lossless by default
        QTest::newRow("heic") << "heic" << false << false;
        QTest::newRow("avif") << "avif" << false << false;
    }

    void saveKeepsTheTagsAndProfile()
    {
        QFETCH(QString, suffix);
        QFETCH(bool, holdsIptc);
        QFETCH(bool, lossless);
        QTemporaryDir out;
        const QString path = out.path() + "/kept." + suffix;
        PhotoItem *item = openAndSaveAs(path); // the dialog only: nothing to tell
        QVERIFY(item);

        const std::string file = path.toStdString();
        const QJsonObject tags = taggedphoto::readTags(file);
        const QJsonObject expected = taggedphoto::expectedTags();
        for (auto it = expected.begin(); it != expected.end(); ++it) {
            if (!holdsIptc && it.key().startsWith("IPTC:"))
                QVERIFY2(!tags.contains(it.key()), qPrintable(it.key()));
            else
                QVERIFY2(tags.value(it.key()) == it.value(), qPrintable(it.key() + " " + tags.value(it.key()).toString()));
        }
        QVERIFY(qAbs(tags.value("EXIF:GPSLatitude").toDouble() - 48.8584) < 1e-4);
        QVERIFY(qAbs(tags.value("EXIF:GPSLongitude").toDouble() - 2.2945) < 1e-4);
        // The pixels were turned upright at the open.
        QCOMPARE(tags.value("EXIF:Orientation").toInt(), 1);
        // The preview of the pixels before the erase is gone.
        QVERIFY(taggedphoto::readBlock(file, "ThumbnailImage").isEmpty());
        QVERIFY(!tags.contains("EXIF:ThumbnailOffset"));
        // Byte for byte.
        QCOMPARE(taggedphoto::readBlock(file, "ICC_Profile"), taggedphoto::fileBytes(taggedphoto::profilePath()));
        QCOMPARE(taggedphoto::readBlock(file, "XMP"), m_xmp);

        // The file holds the document's pixels, upright.
        const photoio::Decoded back = photoio::decodeFile(file);
        QVERIFY2(back.readable(), back.error.c_str());
        QCOMPARE(back.report.exifOrientation, 1);
        QCOMPARE(back.pixels.cols, item->imageCols());
        QCOMPARE(back.pixels.rows, item->imageRows());
        if (lossless)
            QCOMPARE(cv::norm(back.pixels, item->getImage(), cv::NORM_INF), 0.0);
        else
            QVERIFY(cv::PSNR(back.pixels, item->getImage()) > 30.0);
    }

    void erasedPhotoKeepsItsTagsButNoPreview()
    {
        PhotoItem *item = openTagged();
        QVERIFY(item);
        const cv::Mat before = item->getImage().clone();
        cv::Mat mask(before.size(), CV_8UC1, cv::Scalar(0));
        mask(cv::Rect(50, 90, 40, 50)).setTo(255);
        QVERIFY(item->addToRedSelection(mask));
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvEraseCommand();
        QVERIFY(finished.wait(60000));
        QCOMPARE(item->getUndoStack()->count(), 2); // the selection, the Erase
        QVERIFY(cv::norm(item->getImage(), before, cv::NORM_INF) > 0);

        QTemporaryDir out;
        const QString path = out.path() + "/erased.jpg";
        ModalAnswers answers;
        QCOMPARE(saveAs(path, answers), 0);
        const std::string file = path.toStdString();
        const QJsonObject tags = taggedphoto::readTags(file);
        QCOMPARE(tags.value("EXIF:Artist").toString(), QString("Ada Example"));
        QCOMPARE(tags.value("EXIF:DateTimeOriginal").toString(), QString("2024:05:17 09:30:00"));
        QCOMPARE(tags.value("EXIF:Orientation").toInt(), 1);
        QVERIFY(taggedphoto::readBlock(file, "ThumbnailImage").isEmpty());
        QCOMPARE(taggedphoto::readBlock(file, "ICC_Profile"), taggedphoto::fileBytes(taggedphoto::profilePath()));
        // The file shows the erased photo.
        const photoio::Decoded back = photoio::decodeFile(file);
        QVERIFY(cv::PSNR(back.pixels, item->getImage()) > 30.0);
    }

    void formatsWithoutMetadataSayItOnce()
    {
        PhotoItem *item = openTagged();
        QVERIFY(item);
        QTemporaryDir out;
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::files({out.path() + "/plain.bmp"}));
        answers.then(savetest::messageBox(&texts));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
        QCOMPARE(answers.answered(), 2);
        QCOMPARE(texts.size(), 1);
        const QString told = texts.first();
        QVERIFY2(told.startsWith("plain.bmp is saved without the photo's metadata"), qPrintable(told));
        QVERIFY2(told.contains("BMP files hold none"), qPrintable(told));
        const QJsonObject tags = taggedphoto::readTags((out.path() + "/plain.bmp").toStdString());
        for (auto it = tags.begin(); it != tags.end(); ++it)
            QVERIFY2(!taggedphoto::isMetadataGroup(it.key()), qPrintable(it.key()));

        // Once a session: the next save into such a format is silent.
        QCOMPARE(saveAs(out.path() + "/again.ppm", answers), 0);
        QTest::qWait(50);
        QCOMPARE(answers.answered(), 3);
        QCOMPARE(answers.pending(), 0);
        QVERIFY(QFile::exists(out.path() + "/again.ppm"));
    }

    void photoWithoutMetadataSavesSilently()
    {
        m_w->openPhoto(writeImage(m_dir.path(), "bare.png", patternPhoto(40, 30, 1)));
        PhotoItem *item = m_w->photoItems().last();
        QVERIFY(item->metadata().empty());
        QTemporaryDir out;
        ModalAnswers answers;
        QCOMPARE(saveAs(out.path() + "/bare.bmp", answers), 0);
        QTest::qWait(50);
        QCOMPARE(answers.answered(), 1);
        // And a format that holds metadata gets none invented.
        QCOMPARE(saveAs(out.path() + "/bare.jpg", answers), 0);
        const QJsonObject tags = taggedphoto::readTags((out.path() + "/bare.jpg").toStdString());
        for (auto it = tags.begin(); it != tags.end(); ++it)
            QVERIFY2(!taggedphoto::isMetadataGroup(it.key()), qPrintable(it.key()));
    }

    // ------------------------------------------------------------ strip setting

    void stripSettingWritesNoMetadata_data()
    {
        QTest::addColumn<QString>("suffix");
        for (const char *s : {"jpg", "png", "tif", "webp", "heic"})
            QTest::newRow(s) << QString(s);
    }

    void stripSettingWritesNoMetadata()
    {
        QFETCH(QString, suffix);
        QAction *strip = m_w->stripMetadataAction();
        QVERIFY(strip);
        QCOMPARE(strip->text(), QString("Save Without Metadata"));
        QVERIFY(strip->isCheckable());
        QVERIFY(!strip->isChecked()); // metadata is kept unless asked
        QVERIFY(m_w->form()->pushButton_dropdown->getMenu()->actions().contains(strip));
        strip->trigger();
        QVERIFY(strip->isChecked());
        QVERIFY(!m_w->saveSettings().keepMetadata);

        QTemporaryDir out;
        const QString path = out.path() + "/stripped." + suffix;
        PhotoItem *item = openAndSaveAs(path);
        QVERIFY(item);
        const std::string file = path.toStdString();
        const QJsonObject tags = taggedphoto::readTags(file);
        for (auto it = tags.begin(); it != tags.end(); ++it) {
            // A TIFF's own tags (sizes, strips) are EXIF to exiftool.
            if (suffix == "tif" && it.key().startsWith("EXIF:"))
                continue;
            QVERIFY2(!taggedphoto::isMetadataGroup(it.key()), qPrintable(it.key()));
        }
        const QJsonObject expected = taggedphoto::expectedTags();
        for (auto it = expected.begin(); it != expected.end(); ++it)
            QVERIFY2(!tags.contains(it.key()), qPrintable(it.key()));
        QVERIFY(!tags.contains("EXIF:GPSLatitude"));
        QVERIFY(taggedphoto::readBlock(file, "ICC_Profile").isEmpty());
        QVERIFY(taggedphoto::readBlock(file, "XMP").isEmpty());
        QVERIFY(taggedphoto::readBlock(file, "ThumbnailImage").isEmpty());
        // The document still has it: a save with the setting off keeps it.
        QVERIFY(!item->metadata().empty());
    }

    void stripSettingIsKept()
    {
        m_w->stripMetadataAction()->trigger();
        delete m_w;
        m_w = new MainWindow;
        QVERIFY(m_w->stripMetadataAction()->isChecked());
        QVERIFY(!m_w->saveSettings().keepMetadata);
        // Leaving nothing out of a BMP: no note about what it cannot hold.
        PhotoItem *item = openTagged();
        QVERIFY(item);
        QTemporaryDir out;
        ModalAnswers answers;
        QCOMPARE(saveAs(out.path() + "/s.bmp", answers), 0);
        QTest::qWait(50);
        QCOMPARE(answers.answered(), 1);
        // Off again, and kept so too.
        m_w->stripMetadataAction()->trigger();
        delete m_w;
        m_w = new MainWindow;
        QVERIFY(!m_w->stripMetadataAction()->isChecked());
        QVERIFY(m_w->saveSettings().keepMetadata);
    }
};

MERVANE_WINDOW_TEST_MAIN(TestSaveMetadata)
#include "tst_savemetadata.moc"
