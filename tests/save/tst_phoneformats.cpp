// The formats phones write, in the window: a HEIC whose rotation box turns
// it opens upright by every road in (command line, folder, drop, the open
// dialog), AVIF and WebP beside it; a HEIC that cannot be decoded gets the
// usual refusal and no row; Save As offers WebP, HEIC and AVIF with the
// suffix of the chosen filter; the quality of the lossy formats is a setting.
#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QInputDialog>
#include <QListWidget>
#include <QMimeData>
#include <QSpinBox>
#include <QUrl>
#include <QtTest>

#include "launch.h"
#include "mainwindow.h"
#include "photoio.h"
#include "photoitem.h"
#include "saveproposal.h"
#include "savetest.h"
#include "turnedheic.h"
#include "ui_mainwindow.h"
#include "windowtest.h"

#include <opencv2/imgproc.hpp>

namespace {

const char *const kPhoto = "/usr/lib/python3/dist-packages/skimage/data/chelsea.png";

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(f.write(bytes), qint64(bytes.size()));
}

QByteArray bytesOf(const std::vector<uint8_t> &v)
{
    return QByteArray(reinterpret_cast<const char *>(v.data()), int(v.size()));
}

// The save dialog with a filter chosen as a user does (the choice moves the
// default suffix) and a name typed without a suffix.
ModalAnswers::Handler saveWithFilter(const QString &folder, const QString &name, const QString &filter)
{
    return [=](QWidget *w) {
        auto *fd = qobject_cast<QFileDialog *>(w);
        auto *combo = fd ? fd->findChild<QComboBox *>("fileTypeCombo") : nullptr;
        auto *edit = fd ? fd->findChild<QLineEdit *>("fileNameEdit") : nullptr;
        if (!combo || !edit)
            return false;
        const int index = combo->findText(filter);
        if (index < 0)
            return false;
        // What a click on the entry sends (the text form is what the
        // dialog passes on as filterSelected).
        combo->setCurrentIndex(index);
        emit combo->activated(index);
        QMetaObject::invokeMethod(combo, "activated", Q_ARG(QString, filter));
        fd->setDirectory(folder);
        edit->setText(name);
        static_cast<QDialog *>(fd)->accept();
        return !fd->isVisible();
    };
}

// The quality box: sets the value and accepts; records what it offered.
ModalAnswers::Handler qualityBox(int value, QString *lowest = nullptr, int *shown = nullptr)
{
    return [=](QWidget *w) {
        auto *d = qobject_cast<QInputDialog *>(w);
        auto *box = d ? d->findChild<QSpinBox *>() : nullptr;
        if (!box)
            return false;
        if (lowest)
            *lowest = box->specialValueText();
        if (shown)
            *shown = d->intValue();
        d->setIntValue(value);
        d->accept();
        return true;
    };
}

} // namespace

class TestPhoneFormats : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    cv::Mat m_upright;  // 240 x 160, as the turned HEIC shows
    QString m_turned;   // a HEIC stored turned, with a rotation box
    MainWindow *m_w = nullptr;

    QStringList rowNames() const
    {
        QStringList names;
        for (PhotoItem *item : m_w->photoItems())
            names << item->fileName();
        return names;
    }

    // The photo of a row: upright, and what was encoded.
    void verifyUpright(const PhotoItem *item)
    {
        QVERIFY(item);
        QCOMPARE(item->imageCols(), m_upright.cols);
        QCOMPARE(item->imageRows(), m_upright.rows);
        QVERIFY2(cv::PSNR(item->getImage(), m_upright) > 30.0,
                 qPrintable(QString::number(cv::PSNR(item->getImage(), m_upright))));
    }

    std::unique_ptr<QMimeData> urls(const QStringList &paths)
    {
        auto mime = std::make_unique<QMimeData>();
        QList<QUrl> list;
        for (const QString &p : paths)
            list << QUrl::fromLocalFile(p);
        mime->setUrls(list);
        return mime;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY2(QFile::exists(kPhoto), "python3-skimage's sample photos are missing: run scripts/setup.sh");
        m_upright = cv::imread(kPhoto, cv::IMREAD_COLOR);
        cv::resize(m_upright, m_upright, cv::Size(240, 160), 0, 0, cv::INTER_AREA);
        m_turned = m_dir.path() + "/turned.heic";
        QCOMPARE(QString::fromStdString(turnedheic::write(m_upright, m_turned.toStdString())), QString());
    }

    void init()
    {
        m_w = new MainWindow;
        m_w->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_w));
    }

    void cleanup()
    {
        m_w->setSaveQualitySetting(0);
        delete m_w;
        m_w = nullptr;
    }

    // ------------------------------------------------------------ opening

    void suffixTestTakesPhoneFormats()
    {
        for (const char *name : {"a.heic", "IMG_0001.HEIC", "a.heif", "A.HEIF", "a.avif", "A.AVIF", "a.webp", "A.WEBP"})
            QVERIFY2(MainWindow::hasAcceptedSuffix(name), name);
        // The rule stays case-sensitive: mixed case passes neither way.
        for (const char *name : {"a.Heic", "a.Avif", "a.WebP", "a.JPG"})
            QVERIFY2(!MainWindow::hasAcceptedSuffix(name), name);
    }

    void openFilterOffersPhoneFormats()
    {
        const QStringList entries = QString::fromLatin1(MainWindow::openFilter()).split(";;");
        QVERIFY(entries.contains("WebP(*.WEBP)"));
        QVERIFY(entries.contains("HEIC(*.HEIC *.HEIF)"));
        QVERIFY(entries.contains("AVIF(*.AVIF)"));
        QCOMPARE(entries.first(), QString("ALL Formats(*.*)"));

        // The open dialog offers them and opens the HEIC upright.
        ModalAnswers answers;
        ModalAnswers::FileDialogSeen seen;
        answers.then(ModalAnswers::files({m_turned}, &seen));
        m_w->form()->pushButton_select_photo->click();
        QCOMPARE(answers.answered(), 1);
        QVERIFY(seen.nameFilters.contains("HEIC(*.HEIC *.HEIF)"));
        QCOMPARE(rowNames(), QStringList({"turned.heic"}));
        verifyUpright(m_w->photoItems().first());
    }

    void heicFromTheCommandLineOpensUpright()
    {
        openCommandLinePhotos(m_w, {m_turned});
        QCOMPARE(rowNames(), QStringList({"turned.heic"}));
        verifyUpright(m_w->photoItems().first());
        QCOMPARE(m_w->form()->stackedWidget->currentIndex(), 0);
    }

    void folderOpensPhoneFormatsInBothCases()
    {
        QTemporaryDir folder;
        QVERIFY(QFile::copy(m_turned, folder.path() + "/IMG_0001.HEIC"));
        const photoio::Encoded avif = photoio::encode(m_upright, "avif");
        QVERIFY2(avif.ok(), avif.error.c_str());
        writeAll(folder.path() + "/b.avif", bytesOf(avif.bytes));
        const photoio::Encoded webp = photoio::encode(m_upright, "webp");
        QVERIFY2(webp.ok(), webp.error.c_str());
        writeAll(folder.path() + "/c.webp", bytesOf(webp.bytes));
        QVERIFY(QFile::copy(m_turned, folder.path() + "/d.Heic")); // mixed case: not taken

        ModalAnswers answers;
        answers.then(ModalAnswers::files({folder.path()}));
        m_w->form()->pushButton_select_folder->click();
        QCOMPARE(answers.answered(), 1);
        QTRY_COMPARE(m_w->photoItems().size(), 3);
        QTRY_VERIFY(!m_w->folderLoading());
        QStringList names = rowNames();
        names.sort();
        QCOMPARE(names, QStringList({"IMG_0001.HEIC", "b.avif", "c.webp"}));
        // A folder's rows are read whole when shown: show each in turn.
        for (int row = 0; row < m_w->photoItems().size(); ++row) {
            m_w->form()->listWidget->setCurrentRow(row);
            PhotoItem *item = m_w->photoItems().at(row);
            QVERIFY(item->holdsPixels());
            if (item->fileName() == "IMG_0001.HEIC")
                verifyUpright(item);
            else if (item->fileName() == "c.webp")
                QCOMPARE(cv::norm(item->getImage(), m_upright, cv::NORM_INF), 0.0); // lossless
            else
                QVERIFY(cv::PSNR(item->getImage(), m_upright) > 30.0);
        }
    }

    void dropOfAHeicOpensItUpright()
    {
        const QString phone = m_dir.path() + "/IMG_0002.HEIC";
        QFile::remove(phone);
        QVERIFY(QFile::copy(m_turned, phone));
        auto mime = urls({phone});
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
        enter.setAccepted(false);
        static_cast<QObject *>(m_w)->event(&enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject *>(m_w)->event(&drop);
        QCOMPARE(rowNames(), QStringList({"IMG_0002.HEIC"}));
        verifyUpright(m_w->photoItems().first());
    }

    void undecodableHeicIsRefused_data()
    {
        QTest::addColumn<int>("keep"); // bytes of the real file kept; -1: not an image at all
        QTest::newRow("cut to half") << -2;
        QTest::newRow("cut to 40 bytes") << 40;
        QTest::newRow("text") << -1;
    }

    void undecodableHeicIsRefused()
    {
        QFETCH(int, keep);
        const QByteArray whole = readAll(m_turned);
        QByteArray bytes = keep == -1 ? QByteArray("not an image") : whole.left(keep == -2 ? whole.size() / 2 : keep);
        const QString broken = m_dir.path() + "/broken.heic";
        writeAll(broken, bytes);
        ModalAnswers answers;
        QStringList told;
        answers.then(savetest::messageBox(&told));
        openCommandLinePhotos(m_w, {broken});
        QCOMPARE(answers.answered(), 1);
        QCOMPARE(told, QStringList({"Cannot read file " + broken}));
        QVERIFY(m_w->photoItems().isEmpty()); // no row, no grey picture
        QCOMPARE(m_w->form()->stackedWidget->currentIndex(), 1);
    }

    // ------------------------------------------------------------ saving

    void saveAsOffersPhoneFormats_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("WebP") << "WebP(*.webp)" << "webp";
        QTest::newRow("HEIC") << "HEIC(*.heic *.heif)" << "heic";
        QTest::newRow("AVIF") << "AVIF(*.avif)" << "avif";
    }

    void saveAsOffersPhoneFormats()
    {
        QFETCH(QString, filter);
        QFETCH(QString, suffix);
        QVERIFY(SaveProposal::filter().split(";;").contains(filter));
        m_w->openPhoto(writeImage(m_dir.path(), "plain.png", m_upright));
        PhotoItem *item = m_w->photoItems().last();
        QTemporaryDir out;
        ModalAnswers answers;
        answers.then(saveWithFilter(out.path(), "plain_Copy", filter));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
        const QString path = out.path() + "/plain_Copy." + suffix;
        QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList({"plain_Copy." + suffix}));
        // What photoio writes at its defaults: lossless WebP, HEIC and AVIF at 90.
        const photoio::Encoded expected = photoio::encode(item->getImage(), suffix.toStdString());
        QVERIFY(expected.ok());
        QCOMPARE(readAll(path), bytesOf(expected.bytes));
        const photoio::Decoded back = photoio::decodeFile(path.toStdString());
        QVERIFY2(back.readable(), back.error.c_str());
        QVERIFY(cv::PSNR(back.pixels, item->getImage()) > 35.0);
        // A photo opened from such a file proposes its own filter.
        QCOMPARE(SaveProposal::filterNameFor(suffix), filter.left(filter.indexOf('(')));
    }

    void qualityIsASetting()
    {
        QVERIFY(m_w->saveQualityAction());
        QCOMPARE(m_w->saveQualityAction()->text(), QString("Quality of Saved Photos..."));
        QCOMPARE(MainWindow::saveQualitySetting(), 0);
        m_w->openPhoto(writeImage(m_dir.path(), "q.png", m_upright));
        PhotoItem *item = m_w->photoItems().last();

        ModalAnswers answers;
        QString lowest;
        int shown = -1;
        answers.then(qualityBox(40, &lowest, &shown));
        m_w->saveQualityAction()->trigger();
        QCOMPARE(answers.answered(), 1);
        QCOMPARE(lowest, QString("Default"));
        QCOMPARE(shown, 0);
        QCOMPARE(MainWindow::saveQualitySetting(), 40);

        // Every lossy format takes it; lossless ones are as they were.
        photoio::EncodeOptions forty;
        forty.jpegQuality = forty.webpQuality = forty.heifQuality = 40;
        QTemporaryDir out;
        for (const QString suffix : {"jpg", "webp", "heic", "png"}) {
            answers.then(ModalAnswers::files({out.path() + "/q40." + suffix}));
            QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
            const photoio::Encoded expected = photoio::encode(item->getImage(), suffix.toStdString(), forty);
            QVERIFY2(readAll(out.path() + "/q40." + suffix) == bytesOf(expected.bytes), qPrintable(suffix));
        }
        QVERIFY(readAll(out.path() + "/q40.jpg") != bytesOf(photoio::encode(item->getImage(), "jpg").bytes));

        // Kept for the next start; back to the default the same way.
        delete m_w;
        m_w = new MainWindow;
        answers.then(qualityBox(0, nullptr, &shown));
        m_w->saveQualityAction()->trigger();
        QCOMPARE(shown, 40);
        QCOMPARE(MainWindow::saveQualitySetting(), 0);
        m_w->openPhoto(writeImage(m_dir.path(), "q.png", m_upright));
        answers.then(ModalAnswers::files({out.path() + "/default.jpg"}));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
        QCOMPARE(readAll(out.path() + "/default.jpg"),
                 bytesOf(photoio::encode(m_w->photoItems().last()->getImage(), "jpg").bytes));

        // A cancelled box changes nothing.
        answers.then([](QWidget *w) {
            auto *d = qobject_cast<QInputDialog *>(w);
            if (!d)
                return false;
            d->setIntValue(77);
            d->reject();
            return true;
        });
        m_w->saveQualityAction()->trigger();
        QCOMPARE(MainWindow::saveQualitySetting(), 0);
    }
};

MERVANE_WINDOW_TEST_MAIN(TestPhoneFormats)
#include "tst_phoneformats.moc"
