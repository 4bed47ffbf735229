// Photos that are not shown give their full-size pixels back and read them
// again when shown: the same pixels, nothing the user made lost, a clear
// message when the file changed or went meanwhile. A folder's rows are
// listed in the background, and closing the window stops that cleanly.
#include <QFile>
#include <QListWidget>
#include <QMessageBox>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QUndoStack>
#include <QtTest>
#include <opencv2/imgproc.hpp>

#include "customitem.h"
#include "customwidget.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "skin.h"
#include "testphotos.h"
#include "ui_customitem.h"
#include "ui_mainwindow.h"
#include "windowfixture.h"
#include "windowtest.h"

namespace {

constexpr int kJobTimeoutMs = 60000;

bool samePixels(const cv::Mat &a, const cv::Mat &b)
{
    if (a.size() != b.size() || a.type() != b.type())
        return false;
    cv::Mat diff;
    cv::absdiff(a, b, diff);
    return cv::countNonZero(diff.reshape(1)) == 0;
}

// A photo with grain, so that a JPEG of it is far from flat.
cv::Mat grainyPhoto(int cols, int rows, int seed)
{
    cv::Mat m = patternPhoto(cols, rows, seed);
    cv::Mat noise(m.size(), CV_8UC3);
    cv::theRNG().state = uint64(1234 + seed);
    cv::randu(noise, cv::Scalar::all(0), cv::Scalar::all(40));
    m += noise;
    return m;
}

} // namespace

class TestPixelsAway : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    PhotoItem *open(const QString &name, int seed, int cols = 120, int rows = 80)
    {
        const QString path = writeImage(m_dir.path(), name, grainyPhoto(cols, rows, seed));
        m_w->openPhoto(path);
        return m_w->photoItems().isEmpty() ? nullptr : m_w->photoItems().last();
    }

    const cv::Mat &pixelsOf(PhotoItem *item) { return stateAsIs(item).m_image; }

    QPixmap thumbnailOf(PhotoItem *item)
    {
        auto *row = qobject_cast<CustomItem *>(ui->listWidget->itemWidget(item->listItem()));
        const QPixmap *p = row ? row->form()->label_img->pixmap() : nullptr;
        return p ? *p : QPixmap();
    }

    // The canvas shows the given pixels.
    bool canvasShows(const cv::Mat &pixels)
    {
        const QImage shown = ui->widget_mid->pixmap().toImage().convertToFormat(QImage::Format_RGB888);
        const QImage expected = matToQImage(pixels).convertToFormat(QImage::Format_RGB888);
        return !shown.isNull() && shown == expected;
    }

    // Answers the next message box, keeping its text.
    void answerMessage(ModalAnswers &answers, QString *text)
    {
        answers.then([text](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            *text = box->text();
            box->done(QMessageBox::Ok);
            return true;
        });
    }

    // A hole in the middle of the shown photo, erased; false if the job did
    // not end in an entry.
    bool erase(PhotoItem *item)
    {
        cv::Mat mask = cv::Mat::zeros(item->imageRows(), item->imageCols(), CV_8UC1);
        cv::rectangle(mask, cv::Rect(item->imageCols() / 2 - 5, item->imageRows() / 2 - 5, 10, 10),
                      cv::Scalar(255), cv::FILLED);
        if (!item->addToRedSelection(mask))
            return false;
        const int entries = item->getUndoStack()->count();
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        QTest::mouseClick(ui->pushButton_eraser, Qt::LeftButton);
        if (!finished.wait(kJobTimeoutMs))
            return false;
        return item->getUndoStack()->count() == entries + 1;
    }

private slots:
    void initTestCase()
    {
        Skin::init();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        for (const QFileInfo &f : QDir(m_dir.path()).entryInfoList(QDir::Files | QDir::Hidden))
            QFile::remove(f.absoluteFilePath());
        m_w = openTestWindow();
        ui = m_w->form();
        // Every photo not shown gives its pixels back if it may.
        m_w->setPixelBudget(0);
    }

    void cleanup() { deleteAfterJobs(m_w, kJobTimeoutMs); }

    void givenBackAndReadAgainIsBitIdentical_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::newRow("jpeg") << "jpg";
        QTest::newRow("png") << "png";
        QTest::newRow("tiff") << "tif";
    }

    void givenBackAndReadAgainIsBitIdentical()
    {
        QFETCH(QString, suffix);
        PhotoItem *a = open("a." + suffix, 1);
        QVERIFY(a);
        const cv::Mat before = pixelsOf(a).clone();
        const QPixmap thumb = thumbnailOf(a);
        PhotoItem *b = open("b." + suffix, 2);
        QVERIFY(b);
        // Opening b switched away from a: a gave its pixels back.
        QVERIFY(!a->holdsPixels());
        QVERIFY(b->holdsPixels());
        QCOMPARE(a->imageCols(), 120);
        QCOMPARE(thumbnailOf(a).cacheKey(), thumb.cacheKey());

        ui->listWidget->setCurrentRow(0);
        QVERIFY(a->holdsPixels());
        QVERIFY(samePixels(pixelsOf(a), before));
        QVERIFY(canvasShows(before));
        QCOMPARE(m_w->currentItem(), a);
        QVERIFY(!b->holdsPixels());
        QVERIFY(a->isSaved());
        QCOMPARE(a->getUndoStack()->count(), 0);
    }

    void aBudgetKeepsTheRecentlyShown()
    {
        m_w->setPixelBudget(MainWindow::kDefaultPixelBudget);
        PhotoItem *a = open("a.png", 1);
        PhotoItem *b = open("b.png", 2);
        QVERIFY(a->holdsPixels() && b->holdsPixels());
        // Room for two photos of this size: the least recently shown goes.
        m_w->setPixelBudget(qint64(a->pixelBytes() * 2));
        PhotoItem *c = open("c.png", 3);
        QVERIFY(!a->holdsPixels());
        QVERIFY(b->holdsPixels());
        QVERIFY(c->holdsPixels());
    }

    void aPhotoWithAnythingOfTheUsersKeepsItsPixels()
    {
        // Unsaved.
        PhotoItem *unsaved = open("unsaved.png", 1);
        stateAsIs(unsaved).output.m_saved = 0;
        // A selection (no entry made through the tools: layers only).
        PhotoItem *selected = open("selected.png", 2);
        cv::Mat mask = cv::Mat::zeros(80, 120, CV_8UC1);
        mask(cv::Rect(10, 10, 8, 8)).setTo(255);
        QVERIFY(selected->addToRedSelection(mask));
        // An edit, then saved: the history stays, so do the pixels.
        PhotoItem *saved = open("saved.png", 3);
        QVERIFY(erase(saved));
        QCOMPARE(saved->saveTo(m_dir.path() + "/saved-copy.png"), QString());
        QVERIFY(saved->isSaved());
        // An edit undone: the history is still there.
        PhotoItem *undone = open("undone.png", 4);
        QVERIFY(erase(undone));
        undone->getUndoStack()->undo();
        stateAsIs(undone).output.m_saved = 1;

        open("last.png", 5);
        for (PhotoItem *p : {unsaved, selected, saved, undone}) {
            QVERIFY2(p->holdsPixels(), qPrintable(p->fileName()));
            QVERIFY(!p->canGivePixelsBack());
            QVERIFY(!p->givePixelsBack());
        }
    }

    void undoAndRedoAcrossSwitchesAreExact()
    {
        PhotoItem *a = open("a.jpg", 1);
        const cv::Mat original = pixelsOf(a).clone();
        PhotoItem *b = open("b.jpg", 2);
        QVERIFY(!a->holdsPixels());
        // a is read again, then edited: its history keeps it whole.
        ui->listWidget->setCurrentRow(0);
        QVERIFY(samePixels(pixelsOf(a), original));
        QVERIFY(erase(a));
        const cv::Mat erased = pixelsOf(a).clone();
        QVERIFY(!samePixels(erased, original));
        QCOMPARE(a->saveTo(m_dir.path() + "/a-erased.png"), QString());

        ui->listWidget->setCurrentRow(1);
        QCOMPARE(m_w->currentItem(), b);
        QVERIFY(a->holdsPixels());
        ui->listWidget->setCurrentRow(0);
        QVERIFY(!b->holdsPixels());
        QVERIFY(samePixels(pixelsOf(a), erased));

        ui->pushButton_undo->click();
        QVERIFY(samePixels(pixelsOf(a), original));
        QVERIFY(canvasShows(original));
        ui->listWidget->setCurrentRow(1);
        ui->listWidget->setCurrentRow(0);
        ui->pushButton_redo->click();
        QVERIFY(samePixels(pixelsOf(a), erased));
        ui->pushButton_undo->click();
        QVERIFY(samePixels(pixelsOf(a), original));
    }

    void aFileGoneOrChangedIsToldAndNothingIsLost_data()
    {
        QTest::addColumn<bool>("deleted");
        QTest::newRow("deleted") << true;
        QTest::newRow("changed") << false;
    }

    void aFileGoneOrChangedIsToldAndNothingIsLost()
    {
        QFETCH(bool, deleted);
        PhotoItem *a = open("a.png", 1);
        const QString path = a->filePath();
        const QPixmap thumb = thumbnailOf(a);
        PhotoItem *b = open("b.png", 2);
        // The user's work on b: a selection and an erase.
        QVERIFY(erase(b));
        const cv::Mat work = pixelsOf(b).clone();
        QVERIFY(!a->holdsPixels());

        if (deleted) {
            QVERIFY(QFile::remove(path));
        } else {
            // Another photo under the same name.
            const cv::Mat other = grainyPhoto(120, 80, 9);
            QVERIFY(cv::imwrite(path.toStdString(), other));
        }
        ModalAnswers answers;
        QString text;
        answerMessage(answers, &text);
        ui->listWidget->setCurrentRow(0);
        QCOMPARE(answers.answered(), 1);
        QVERIFY2(text.contains(path), qPrintable(text));
        QVERIFY2(text.contains(deleted ? "no longer there" : "has changed"), qPrintable(text));

        // Still on b, as it was; a keeps its row and thumbnail, no pixels.
        QCOMPARE(ui->listWidget->currentRow(), 1);
        QCOMPARE(m_w->currentItem(), b);
        QCOMPARE(m_w->undoGroup()->activeStack(), b->getUndoStack());
        QVERIFY(samePixels(pixelsOf(b), work));
        QVERIFY(canvasShows(work));
        QCOMPARE(b->getUndoStack()->count(), 2);
        QCOMPARE(m_w->photoItems().size(), 2);
        QVERIFY(!a->holdsPixels());
        QCOMPARE(thumbnailOf(a).cacheKey(), thumb.cacheKey());
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
    }

    void closingTheShownPhotoBesideALostFileShowsAnother()
    {
        PhotoItem *a = open("a.png", 1);
        PhotoItem *b = open("b.png", 2);
        PhotoItem *c = open("c.png", 3);
        Q_UNUSED(b);
        QVERIFY(!a->holdsPixels());
        const QString kept = m_dir.path() + "/kept-a.png";
        QVERIFY(QFile::copy(a->filePath(), kept));
        QVERIFY(QFile::remove(a->filePath()));
        // c is shown; its row goes; b (row 1) is read again and shown.
        ui->listWidget->setCurrentRow(2);
        QCOMPARE(m_w->currentItem(), c);
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QCOMPARE(m_w->photoItems().size(), 2);
        QCOMPARE(ui->listWidget->currentRow(), 1);
        QVERIFY(m_w->currentItem()->holdsPixels());
        // b's row goes too: a cannot be read, so nothing is shown.
        ModalAnswers answers;
        QString text;
        answerMessage(answers, &text);
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QCOMPARE(answers.answered(), 1);
        QCOMPARE(m_w->photoItems().size(), 1);
        QCOMPARE(m_w->currentItem(), nullptr);
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
        QCOMPARE(m_w->undoGroup()->activeStack(), nullptr);

        // Its row, chosen again: told once more, still nothing shown.
        answerMessage(answers, &text);
        ui->listWidget->setCurrentRow(0);
        QCOMPARE(answers.answered(), 2);
        QVERIFY2(text.contains("no longer there"), qPrintable(text));
        QCOMPARE(m_w->currentItem(), nullptr);
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
        // The same bytes put back: the photo shows.
        QVERIFY(QFile::rename(kept, a->filePath()));
        ui->listWidget->setCurrentRow(0);
        QCOMPARE(m_w->currentItem(), a);
        QVERIFY(a->holdsPixels());
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
        QCOMPARE(m_w->undoGroup()->activeStack(), a->getUndoStack());
    }

    void folderRowsHoldNoPixelsUntilShown()
    {
        QDir(m_dir.path()).mkdir("shoot");
        const QString folder = m_dir.path() + "/shoot";
        for (int i = 0; i < 6; ++i)
            writeImage(folder, QString("p%1.jpg").arg(i), grainyPhoto(160 + 8 * i, 120, i));
        ModalAnswers answers;
        answers.then(ModalAnswers::files({folder}));
        ui->pushButton_select_folder->click();
        QTRY_VERIFY_WITH_TIMEOUT(!m_w->folderLoading(), 20000);
        QCOMPARE(m_w->photoItems().size(), 6);
        QCOMPARE(ui->listWidget->currentRow(), 0);
        for (int i = 1; i < 6; ++i)
            QVERIFY(!m_w->photoItems().at(i)->holdsPixels());
        // The first, read and converted for the canvas on the worker, shows
        // as an open shows it.
        PhotoItem *first = m_w->photoItems().at(0);
        const cv::Mat firstDirect = cv::imread(first->filePath().toStdString(), cv::IMREAD_COLOR);
        QVERIFY(samePixels(pixelsOf(first), firstDirect));
        QVERIFY(canvasShows(firstDirect));
        QCOMPARE(ui->widget_mid->pixmap().size(), QSize(firstDirect.cols, firstDirect.rows));
        // A listed row, shown: the whole photo, as an open reads it.
        ui->listWidget->setCurrentRow(4);
        PhotoItem *shown = m_w->currentItem();
        const cv::Mat direct = cv::imread(shown->filePath().toStdString(), cv::IMREAD_COLOR);
        QVERIFY(samePixels(pixelsOf(shown), direct));
        QCOMPARE(shown->imageCols(), direct.cols);
        QVERIFY(canvasShows(direct));
        QVERIFY(!m_w->photoItems().at(0)->holdsPixels());
    }

    void theNextRowIsReadAheadWithinTheBudget()
    {
        m_w->setPixelBudget(MainWindow::kDefaultPixelBudget);
        QDir(m_dir.path()).mkdir("ahead");
        const QString folder = m_dir.path() + "/ahead";
        for (int i = 0; i < 5; ++i)
            writeImage(folder, QString("p%1.jpg").arg(i), grainyPhoto(160 + 8 * i, 120, i));
        ModalAnswers answers;
        answers.then(ModalAnswers::files({folder}));
        ui->pushButton_select_folder->click();
        QTRY_VERIFY_WITH_TIMEOUT(!m_w->folderLoading(), 20000);
        const QList<PhotoItem *> photos = m_w->photoItems();
        QCOMPARE(photos.size(), 5);
        // Opening reads nothing ahead; a switch reads the next row.
        QVERIFY(!photos.at(1)->holdsPixels());
        ui->listWidget->setCurrentRow(2);
        QTRY_VERIFY_WITH_TIMEOUT(photos.at(3)->holdsPixels(), 20000);
        QVERIFY(!photos.at(4)->holdsPixels());
        QVERIFY(!photos.at(1)->holdsPixels());
        const cv::Mat direct = cv::imread(photos.at(3)->filePath().toStdString(), cv::IMREAD_COLOR);
        QVERIFY(samePixels(pixelsOf(photos.at(3)), direct));
        // Going on to it shows what was read.
        ui->listWidget->setCurrentRow(3);
        QCOMPARE(m_w->currentItem(), photos.at(3));
        QVERIFY(canvasShows(direct));
        QTRY_VERIFY_WITH_TIMEOUT(photos.at(4)->holdsPixels(), 20000);

        // With no room in the budget, nothing is read ahead.
        m_w->setPixelBudget(0);
        ui->listWidget->setCurrentRow(0);
        // A read ahead is queued as the switch ends: none may be queued.
        QVERIFY(!m_w->folderLoading());
        QVERIFY(!photos.at(1)->holdsPixels());
    }

    void closingTheWindowWhileAFolderLoadsEndsCleanly()
    {
        // Enough files that the list is still filling when the window goes
        // (the window lists one row per pass of its event loop).
        QDir(m_dir.path()).mkdir("big");
        const QString folder = m_dir.path() + "/big";
        for (int i = 0; i < 48; ++i)
            writeImage(folder, QString("p%1.jpg").arg(i, 2, 10, QChar('0')), grainyPhoto(1200, 800, i));
        const auto midWay = [this] {
            if (!m_w->folderLoading())
                qWarning("the folder was read whole before the window went: nothing was cut short");
        };

        // The close button mid-way: every photo is saved, nothing is asked,
        // and no row comes after.
        ModalAnswers answers;
        answers.then(ModalAnswers::files({folder}));
        ui->pushButton_select_folder->click();
        QTRY_VERIFY_WITH_TIMEOUT(m_w->photoItems().size() >= 2, 20000);
        midWay();
        ui->pushButton_close->click();
        QVERIFY(m_w->photoItems().isEmpty());
        QVERIFY(!m_w->folderLoading());
        QTest::qWait(100);
        QVERIFY(m_w->photoItems().isEmpty());
        QCOMPARE(ui->listWidget->count(), 0);

        // The window deleted mid-way (the program quitting): its destructor
        // stops the worker.
        for (int closeAfter : {1, 4}) {
            delete m_w;
            m_w = openTestWindow();
            ui = m_w->form();
            ModalAnswers again;
            again.then(ModalAnswers::files({folder}));
            ui->pushButton_select_folder->click();
            QTRY_VERIFY_WITH_TIMEOUT(m_w->photoItems().size() >= closeAfter, 20000);
            midWay();
        }
        // And while a photo is being read ahead (cleanup deletes the window).
        m_w->setPixelBudget(MainWindow::kDefaultPixelBudget);
        QTRY_VERIFY_WITH_TIMEOUT(!m_w->folderLoading(), 20000);
        QCOMPARE(m_w->photoItems().size(), 48);
        ui->listWidget->setCurrentRow(46);
        QVERIFY(m_w->folderLoading());
    }
};

MERVANE_WINDOW_TEST_MAIN(TestPixelsAway)
#include "tst_pixelsaway.moc"
