// The photo list: the suffix test, adding by dialog, folder and drop,
// switching rows, closing one photo, removing all, and the stored folder.
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QListWidget>
#include <QMimeData>
#include <QSettings>
#include <QSignalSpy>
#include <QSlider>
#include <QStackedWidget>
#include <QUndoGroup>
#include <QUndoStack>
#include <QtTest>

#include "customitem.h"
#include "customwidget.h"
#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "removedialog.h"
#include "settingsstore.h"
#include "skin.h"
#include "ui_customitem.h"
#include "ui_mainwindow.h"
#include "windowtest.h"

class TestPhotoList : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;

    QString photo(const QString &name, int seed = 0, int cols = 64, int rows = 48)
    {
        return writeImage(m_dir.path(), name, patternPhoto(cols, rows, seed));
    }

    // Opens n photos named p0.png ... and marks them unsaved.
    void openUnsaved(int n)
    {
        for (int i = 0; i < n; ++i)
            m_w->openPhoto(photo(QString("p%1.png").arg(i), i));
        for (PhotoItem *p : m_w->photoItems())
            state(p).output.m_saved = 0;
    }

    QStringList fileNames() const
    {
        QStringList names;
        for (const PhotoItem *p : m_w->photoItems())
            names << p->fileName();
        return names;
    }

    // A folder's files are read in the background: until every one is
    // listed or refused.
    void waitForFolder()
    {
        QTRY_VERIFY_WITH_TIMEOUT(!m_w->folderLoading(), 20000);
    }

    // Exactly one photo hears the window, and it is the given one: a tool
    // change reaches it alone.
    void verifyOnlyBound(PhotoItem *expected)
    {
        for (PhotoItem *p : m_w->photoItems())
            state(p).pointer.m_tool = Tool::Brush;
        emit m_w->sendSelectType(2, m_w->brushSize(), 0);
        for (PhotoItem *p : m_w->photoItems())
            QCOMPARE(state(p).pointer.m_tool, p == expected ? Tool::Lasso : Tool::Brush);
        emit m_w->sendSelectType(toolCode(m_w->toolType()), m_w->brushSize(), colourCode(m_w->colorType()));
        QCOMPARE(m_w->undoGroup()->activeStack(), expected->getUndoStack());
    }

    std::unique_ptr<QMimeData> urls(const QStringList &paths)
    {
        auto mime = std::make_unique<QMimeData>();
        QList<QUrl> list;
        for (const QString &p : paths)
            list << (p.contains("://") ? QUrl(p) : QUrl::fromLocalFile(p));
        mime->setUrls(list);
        return mime;
    }

private slots:
    void initTestCase()
    {
        Skin::init();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        // Each test starts from an empty folder of photos.
        for (const QFileInfo &f : QDir(m_dir.path()).entryInfoList(QDir::Files | QDir::Hidden))
            QFile::remove(f.absoluteFilePath());
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

    // ------------------------------------------------------------ suffix test

    void suffixTest_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("accepted");
        for (const char *s : {"bmp", "dib", "jpg", "jpeg", "jpe", "png", "pbm", "pgm", "ppm", "ras", "tiff", "tif",
                              "exr", "jp2"})
            QTest::newRow(s) << QString("photo.%1").arg(s) << true;
        QTest::newRow("capitals JPG") << "IMG_01.JPG" << false;
        QTest::newRow("capitals Png") << "a.Png" << false;
        QTest::newRow(".sr never passes") << "c.sr" << false;
        QTest::newRow("named exactly sr") << "sr" << true;
        QTest::newRow("no dot needed: xbmp") << "xbmp" << true;
        QTest::newRow("no dot needed: notpng") << "notpng" << true;
        QTest::newRow("gif") << "anim.gif" << false;
        for (const char *s : {"webp", "heic", "heif", "avif", "WEBP", "HEIC", "HEIF", "AVIF"})
            QTest::newRow(s) << QString("photo.%1").arg(s) << true;
        QTest::newRow("mixed case Heic") << "a.Heic" << false;
        QTest::newRow("empty") << "" << false;
        QTest::newRow("suffix inside") << "a.png.txt" << false;
    }

    void suffixTest()
    {
        QFETCH(QString, name);
        QFETCH(bool, accepted);
        QCOMPARE(MainWindow::hasAcceptedSuffix(name), accepted);
    }

    // ------------------------------------------------------------ adding

    void folderOpensOnlyPassingFilesSmallestFirst()
    {
        // a.JPG and c.sr fail the suffix test; b.jpg passes.
        writeImage(m_dir.path(), "a.JPG", patternPhoto(40, 30, 1));
        writeImage(m_dir.path(), "b.jpg", patternPhoto(40, 30, 2));
        writeImage(m_dir.path(), "c.sr", patternPhoto(40, 30, 3));
        QDir(m_dir.path()).mkdir("sub");
        writeImage(m_dir.path() + "/sub", "d.png", patternPhoto(40, 30, 4));
        ModalAnswers answers;
        ModalAnswers::FileDialogSeen seen;
        answers.then(ModalAnswers::files({m_dir.path()}, &seen));
        ui->pushButton_select_folder->click();
        waitForFolder();
        QCOMPARE(answers.answered(), 1);
        QCOMPARE(seen.title, QString("Open Flolder"));
        QVERIFY(seen.mode != QFileDialog::AnyFile && seen.mode != QFileDialog::ExistingFiles);
        QVERIFY(seen.options & QFileDialog::ShowDirsOnly);
        QCOMPARE(fileNames(), QStringList({"b.jpg"}));
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
    }

    void folderOrderIsBySizeSmallestFirst()
    {
        photo("big.png", 1, 200, 150);
        photo("small.png", 2, 20, 15);
        photo("mid.png", 3, 80, 60);
        ModalAnswers answers;
        answers.then(ModalAnswers::files({m_dir.path()}));
        ui->pushButton_select_folder->click();
        waitForFolder();
        QCOMPARE(fileNames(), QStringList({"small.png", "mid.png", "big.png"}));
        // The first is shown as an open shows it, and stays current while
        // the others are listed; only it holds its pixels.
        QCOMPARE(ui->listWidget->currentRow(), 0);
        verifyOnlyBound(m_w->photoItems().at(0));
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
        QVERIFY(m_w->photoItems().at(0)->holdsPixels());
        QVERIFY(!m_w->photoItems().at(1)->holdsPixels());
        QVERIFY(!m_w->photoItems().at(2)->holdsPixels());
        // Every row has its thumbnail, 195 pixels wide at this scale.
        for (PhotoItem *p : m_w->photoItems()) {
            auto *row = qobject_cast<CustomItem *>(ui->listWidget->itemWidget(p->listItem()));
            QVERIFY(row);
            const QPixmap *thumb = row->form()->label_img->pixmap();
            QVERIFY(thumb && !thumb->isNull());
            QCOMPARE(thumb->width(), int(g_uiScale * 195));
        }
        // Choosing a listed row reads it and shows it.
        ui->listWidget->setCurrentRow(2);
        QVERIFY(m_w->photoItems().at(2)->holdsPixels());
        QCOMPARE(m_w->photoItems().at(2)->imageCols(), 200);
        QCOMPARE(m_w->photoItems().at(2)->imageRows(), 150);
        verifyOnlyBound(m_w->photoItems().at(2));
    }

    void folderGoesOnPastAnUnreadableFile()
    {
        photo("good.png", 1);
        QFile bad(m_dir.path() + "/bad.png");
        QVERIFY(bad.open(QIODevice::WriteOnly));
        bad.write("not an image");
        bad.close();
        ModalAnswers answers;
        answers.then(ModalAnswers::files({m_dir.path()}));
        // The unreadable file raises its own warning box.
        answers.then([](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            box->done(QMessageBox::Ok);
            return true;
        });
        ui->pushButton_select_folder->click();
        waitForFolder();
        QTRY_COMPARE(answers.answered(), 2);
        QCOMPARE(fileNames(), QStringList({"good.png"}));
        // The unreadable file came first; the good one is shown all the same.
        QCOMPARE(ui->listWidget->currentRow(), 0);
        QVERIFY(m_w->photoItems().at(0)->holdsPixels());
    }

    void cancelledFolderDialogDoesNothing()
    {
        ModalAnswers answers;
        answers.then(ModalAnswers::files({}));
        ui->pushButton_select_folder->click();
        QCOMPARE(answers.answered(), 1);
        QVERIFY(m_w->photoItems().isEmpty());
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
    }

    void addOpensSeveralFilesInTheOrderReturned()
    {
        const QString a = photo("one.png", 1);
        const QString b = photo("two.png", 2);
        // The capitals pass here: the dialog has its own filter, no suffix test.
        const QString c = writeImage(m_dir.path(), "THREE.JPG", patternPhoto(40, 30, 3));
        m_w->openPhoto(a);
        ModalAnswers answers;
        ModalAnswers::FileDialogSeen seen;
        answers.then(ModalAnswers::files({b, c}, &seen));
        ui->pushButton_add->click();
        QCOMPARE(answers.answered(), 1);
        QCOMPARE(seen.title, QString("Open Image"));
        QCOMPARE(seen.mode, QFileDialog::ExistingFiles);
        QCOMPARE(seen.nameFilters.size(), 12);
        QCOMPARE(seen.nameFilters.first(), QString("ALL Formats(*.*)"));
        QCOMPARE(seen.nameFilters.at(8), QString("JP2(*.JP2)"));
        QCOMPARE(seen.nameFilters.mid(9), QStringList({"WebP(*.WEBP)", "HEIC(*.HEIC *.HEIF)", "AVIF(*.AVIF)"}));
        QCOMPARE(seen.directory, m_dir.path());
        QCOMPARE(fileNames().size(), 3);
        QCOMPARE(fileNames().first(), QString("one.png"));
        QVERIFY(fileNames().contains("two.png"));
        QVERIFY(fileNames().contains("THREE.JPG"));
    }

    void dropOfCapitalsIsRefusedButTheDialogOpensIt()
    {
        const QString upper = writeImage(m_dir.path(), "IMG.JPG", patternPhoto(40, 30, 5));
        auto mime = urls({upper});
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
        enter.setAccepted(true);
        static_cast<QObject *>(m_w)->event(&enter);
        QVERIFY(!enter.isAccepted());
        // The same file through the add dialog.
        ModalAnswers answers;
        answers.then(ModalAnswers::files({upper}));
        ui->pushButton_add->click();
        QCOMPARE(fileNames(), QStringList({"IMG.JPG"}));
    }

    void dragEnterLooksAtTheFirstFileOnly()
    {
        const QString good = photo("first.png", 1);
        const QString upper = writeImage(m_dir.path(), "second.JPG", patternPhoto(40, 30, 5));
        {
            auto mime = urls({good, upper});
            QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
            enter.setAccepted(false);
            static_cast<QObject *>(m_w)->event(&enter);
            QVERIFY(enter.isAccepted());
            QCOMPARE(enter.dropAction(), Qt::CopyAction);
        }
        {
            auto mime = urls({upper, good});
            QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
            enter.setAccepted(true);
            static_cast<QObject *>(m_w)->event(&enter);
            QVERIFY(!enter.isAccepted());
        }
    }

    void dropOfTwoFilesOpensTheFirst()
    {
        const QString a = photo("dropA.png", 1);
        const QString b = photo("dropB.png", 2);
        auto mime = urls({b, a});
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject *>(m_w)->event(&drop);
        QCOMPARE(fileNames(), QStringList({"dropB.png"}));
        QCOMPARE(ui->stackedWidget->currentIndex(), 0);
    }

    void dropOfARemoteUrlDoesNothing()
    {
        auto mime = urls({"http://www.mervane.app/a.png"});
        QDropEvent drop(QPointF(10, 10), Qt::CopyAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject *>(m_w)->event(&drop);
        QVERIFY(m_w->photoItems().isEmpty());
    }

    void openingWhileTheStampIsActiveReturnsToTheBrush()
    {
        m_w->openPhoto(photo("s1.png", 1));
        ui->pushButton_stamp->click();
        ui->pushButton_stamp_1->click();
        QCOMPARE(m_w->toolType(), Tool::StampRegionLasso);
        QVERIFY(!ui->horizontalSlider->isHidden());
        m_w->openPhoto(photo("s2.png", 2));
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QCOMPARE(m_w->colorType(), Colour::Mask);
        QCOMPARE(state(m_w->photoItems().at(1)).pointer.m_tool, Tool::Brush);
        QCOMPARE(ui->widget_front->tool(), Tool::Brush);
        QVERIFY(ui->horizontalSlider->isHidden());
        QVERIFY(!ui->verticalSlider->isHidden());
        QVERIFY(!ui->pushButton_red->isHidden());
    }

    // ------------------------------------------------------------ switching

    void switchingBindsTheRowAndResetsTheTool()
    {
        openUnsaved(3);
        PhotoItem *first = m_w->photoItems().at(0);
        ui->pushButton_rect->click();
        ui->pushButton_green->click();
        QCOMPARE(m_w->colorType(), Colour::Donor);
        ui->listWidget->setCurrentRow(0);
        QCOMPARE(ui->listWidget->currentRow(), 0);
        verifyOnlyBound(first);
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QCOMPARE(m_w->colorType(), Colour::Mask);
        QCOMPARE(state(first).pointer.m_tool, Tool::Brush);
        QCOMPARE(state(first).pointer.m_colorType, Colour::Mask);
        QCOMPARE(ui->widget_front->tool(), Tool::Brush);
        QCOMPARE(ui->horizontalSlider->value(), 100);
        QCOMPARE(ui->horizontalSlider_2->value(), 100);
        // The fitted photo is the one on the canvas.
        QCOMPARE(ui->label_display_scale->text().section(' ', 1), QString("64*48"));
    }

    void clickingTheCurrentRowResetsAgain()
    {
        openUnsaved(2);
        ui->pushButton_poly->click();
        QCOMPARE(m_w->toolType(), Tool::Polygon);
        QSignalSpy types(m_w, &MainWindow::sendSelectType);
        const QRect rect = ui->listWidget->visualItemRect(ui->listWidget->item(1));
        QTest::mouseClick(ui->listWidget->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
        QCOMPARE(ui->listWidget->currentRow(), 1);
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QVERIFY(!types.isEmpty());
        QCOMPARE(types.last().at(0).toInt(), 4);
    }

    void switchingKeepsEachPhotosOwnState()
    {
        openUnsaved(2);
        PhotoItem *first = m_w->photoItems().at(0);
        PhotoItem *second = m_w->photoItems().at(1);
        ui->pushButton_stamp->click();
        ui->horizontalSlider->setValue(40);
        QCOMPARE(state(second).stamp.m_stampHardness, 0.4f);
        ui->verticalSlider->setValue(20);
        ui->listWidget->setCurrentRow(0);
        // Size survives the switch; the hardness stays with its photo.
        QCOMPARE(m_w->brushSize(), 20);
        QCOMPARE(state(second).stamp.m_stampHardness, 0.4f);
        QCOMPARE(state(first).stamp.m_stampHardness, 1.0f);
        QCOMPARE(ui->horizontalSlider->value(), 100);
        QCOMPARE(m_w->undoGroup()->activeStack(), first->getUndoStack());
    }

    // ------------------------------------------------------------ closing one

    void removingTheOnlyPhotoShowsTheWelcomePage()
    {
        m_w->openPhoto(photo("only.png"));
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QVERIFY(m_w->photoItems().isEmpty());
        QCOMPARE(ui->listWidget->count(), 0);
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
        QCOMPARE(m_w->undoGroup()->activeStack(), static_cast<QUndoStack *>(nullptr));
    }

    void removingRowZeroOfThreeMakesTheFormerRowOneCurrent()
    {
        openUnsaved(3);
        for (PhotoItem *p : m_w->photoItems())
            state(p).output.m_saved = 1;
        PhotoItem *former1 = m_w->photoItems().at(1);
        QPointer<PhotoItem> gone = m_w->photoItems().at(0);
        ui->listWidget->setCurrentRow(0);
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QCOMPARE(fileNames(), QStringList({"p1.png", "p2.png"}));
        QCOMPARE(ui->listWidget->count(), 2);
        QCOMPARE(ui->listWidget->currentRow(), 0);
        verifyOnlyBound(former1);
        QCOMPARE(m_w->toolType(), Tool::Brush);
        QVERIFY(!ui->verticalSlider->isHidden());
        // The photo object goes with the next turn of the event loop.
        QTRY_VERIFY(gone.isNull());
    }

    void removingRowTwoOfThreeMakesRowOneCurrent()
    {
        openUnsaved(3);
        for (PhotoItem *p : m_w->photoItems())
            state(p).output.m_saved = 1;
        ui->listWidget->setCurrentRow(2);
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QCOMPARE(fileNames(), QStringList({"p0.png", "p1.png"}));
        QCOMPARE(ui->listWidget->currentRow(), 1);
        verifyOnlyBound(m_w->photoItems().at(1));
    }

    void rowDeleteButtonClosesItsOwnRow()
    {
        openUnsaved(3);
        for (PhotoItem *p : m_w->photoItems())
            state(p).output.m_saved = 1;
        // Row 2 is current; the delete button of row 0 closes row 0.
        PhotoItem *first = m_w->photoItems().at(0);
        auto *row = qobject_cast<CustomItem *>(ui->listWidget->itemWidget(first->listItem()));
        QVERIFY(row);
        row->form()->pushButton->click();
        QCOMPARE(fileNames(), QStringList({"p1.png", "p2.png"}));
        QCOMPARE(ui->listWidget->currentRow(), 0);
        verifyOnlyBound(m_w->photoItems().at(0));
    }

    void closeQuestionAnswers()
    {
        openUnsaved(1);
        PhotoItem *item = m_w->photoItems().at(0);
        // Cancel and the close button keep the photo.
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::question(RemoveDialog::Cancelled, &texts));
        QCOMPARE(m_w->RecvDeleteItem(), 2);
        QCOMPARE(texts, QStringList({"Save changes to \"p0.png\" before closing?"}));
        QCOMPARE(m_w->photoItems().size(), 1);
        verifyOnlyBound(item);
        answers.then([](QWidget *w) {
            auto *d = qobject_cast<RemoveDialog *>(w);
            if (!d)
                return false;
            d->findChild<QPushButton *>("pushButton_close")->click();
            return true;
        });
        QCOMPARE(m_w->RecvDeleteItem(), 2);
        QCOMPARE(m_w->photoItems().size(), 1);
        // Yes, then a cancelled save: still 2, nothing unbound.
        answers.then(ModalAnswers::question(QDialog::Accepted));
        answers.then(ModalAnswers::files({}));
        QCOMPARE(m_w->RecvDeleteItem(), 2);
        QCOMPARE(answers.answered(), 4);
        QCOMPARE(m_w->photoItems().size(), 1);
        verifyOnlyBound(item);
        // No: dropped without saving.
        answers.then(ModalAnswers::question(QDialog::Rejected));
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QVERIFY(m_w->photoItems().isEmpty());
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files), QStringList({"p0.png"}));
    }

    void closeQuestionYesSavesFirst()
    {
        openUnsaved(1);
        const QString target = m_dir.path() + "/kept.png";
        ModalAnswers answers;
        answers.then(ModalAnswers::question(QDialog::Accepted));
        answers.then(ModalAnswers::files({target}));
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QVERIFY(m_w->photoItems().isEmpty());
        const cv::Mat back = cv::imread(target.toStdString(), cv::IMREAD_COLOR);
        QVERIFY(!back.empty());
        QCOMPARE(cv::norm(back, patternPhoto(64, 48, 0), cv::NORM_INF), 0.0);
    }

    void questionBoxOpensOverTheWelcomeButton()
    {
        openUnsaved(1);
        QPoint at;
        ModalAnswers answers;
        answers.then([&at](QWidget *w) {
            auto *d = qobject_cast<RemoveDialog *>(w);
            if (!d)
                return false;
            at = d->pos();
            d->done(RemoveDialog::Cancelled);
            return true;
        });
        m_w->RecvDeleteItem();
        RemoveDialog *d = m_w->removeDialog();
        const QPoint corner = ui->pushButton_select_photo->mapToGlobal(QPoint(0, 0));
        QCOMPARE(at, QPoint(corner.x() - d->width() / 3, corner.y() - d->height() / 3));
    }

    void questionTextsShowWhole()
    {
        // A long file name is not shortened: it wraps inside the message's
        // fixed height (and may be clipped there); the unsaved count's
        // newline shows as a second line.
        const QString longName = QString("a_very_long_file_name_").repeated(4) + ".png";
        m_w->openPhoto(photo(longName));
        state(m_w->photoItems().last()).output.m_saved = 0;
        QString shown;
        bool wraps = false;
        int lines = 0;
        ModalAnswers answers;
        answers.then([&](QWidget *w) {
            auto *d = qobject_cast<RemoveDialog *>(w);
            if (!d)
                return false;
            auto *label = d->findChild<QLabel *>("label_2");
            shown = label->text();
            wraps = label->wordWrap();
            d->done(RemoveDialog::Cancelled);
            return true;
        });
        QCOMPARE(m_w->RecvDeleteItem(), 2);
        QCOMPARE(shown, QString("Save changes to \"%1\" before closing?").arg(longName));
        QVERIFY(wraps);
        answers.then([&](QWidget *w) {
            auto *d = qobject_cast<RemoveDialog *>(w);
            if (!d)
                return false;
            auto *label = d->findChild<QLabel *>("label_2");
            const QFontMetrics fm(label->font());
            const int h = fm.boundingRect(label->contentsRect(), Qt::TextWordWrap, label->text()).height();
            lines = qRound(double(h - fm.height()) / fm.lineSpacing()) + 1;
            d->done(QDialog::Rejected);
            return true;
        });
        ui->pushButton_remove->click();
        QCOMPARE(lines, 2);
    }

    // ------------------------------------------------------------ remove all

    void removeAllNamesTheUnsavedCount()
    {
        openUnsaved(3);
        state(m_w->photoItems().at(1)).output.m_saved = 1;
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::question(QDialog::Rejected, &texts));
        ui->pushButton_remove->click();
        QCOMPARE(texts, QStringList({"You have 2 unsaved files. \nDo you want to remove all the files?"}));
        QCOMPARE(m_w->photoItems().size(), 3);
        answers.then(ModalAnswers::question(RemoveDialog::Cancelled));
        ui->pushButton_remove->click();
        QCOMPARE(m_w->photoItems().size(), 3);
        QCOMPARE(ui->listWidget->count(), 3);
        // Yes removes everything at once, without offering a save.
        QList<QPointer<PhotoItem>> items;
        for (PhotoItem *p : m_w->photoItems())
            items << p;
        answers.then(ModalAnswers::question(QDialog::Accepted));
        ui->pushButton_remove->click();
        QCOMPARE(answers.answered(), 3);
        QVERIFY(m_w->photoItems().isEmpty());
        QCOMPARE(ui->listWidget->count(), 0);
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
        for (const auto &p : items)
            QVERIFY(p.isNull());
        QVERIFY(m_w->undoGroup()->stacks().isEmpty());
    }

    void removeAllWithEverythingSavedAsksThePlainQuestion()
    {
        m_w->openPhoto(photo("saved.png"));
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::question(QDialog::Rejected, &texts));
        ui->pushButton_remove->click();
        QCOMPARE(texts, QStringList({"Do you want to remove all the files?"}));
    }

    void removeAllOnAnEmptyListStillAsks()
    {
        ModalAnswers answers;
        QStringList texts;
        answers.then(ModalAnswers::question(QDialog::Accepted, &texts));
        ui->pushButton_remove->click();
        QCOMPARE(texts, QStringList({"Do you want to remove all the files?"}));
        QCOMPARE(ui->stackedWidget->currentIndex(), 1);
        QVERIFY(m_w->photoItems().isEmpty());
    }

    void foldersSurviveTheLastPhoto()
    {
        m_w->openPhoto(photo("f.png"));
        ui->verticalSlider->setValue(44);
        QCOMPARE(m_w->RecvDeleteItem(), 0);
        QCOMPARE(m_w->openDir(), m_dir.path());
        QCOMPARE(m_w->saveDir(), m_dir.path());
        QCOMPARE(m_w->brushSize(), 44);
    }

    // ------------------------------------------------------------ stored folder

    void locationIsWrittenOnEveryOpenAttemptAndReadAtStart()
    {
        QTemporaryDir other;
        m_w->openPhoto(photo("loc.png"));
        QCOMPARE(m_w->readReg("location"), m_dir.path());
        // A failed open moves it too.
        answerWarning();
        m_w->openPhoto(other.path() + "/missing.png");
        QCOMPARE(m_w->readReg("location"), other.path());
        // It lives in the user's store under organisation and application
        // names, never in the working directory.
        QSettings direct(SettingsStore::organisation(), SettingsStore::application(SettingsStore::Root::Settings));
        QCOMPARE(direct.value("location").toString(), other.path());
        QVERIFY(direct.fileName().startsWith(QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME"))));
        QVERIFY(!QFileInfo(direct.fileName()).absolutePath().startsWith(QDir::currentPath() + "/"));
        QVERIFY(QDir::current().entryList({"HKEY*"}).isEmpty());

        // A new window reads it once and offers it in the open dialogs.
        delete m_w;
        m_w = new MainWindow;
        ui = m_w->form();
        QCOMPARE(m_w->location(), other.path());
        ModalAnswers answers;
        ModalAnswers::FileDialogSeen seen;
        answers.then(ModalAnswers::files({}, &seen));
        ui->pushButton_add->click();
        QCOMPARE(seen.directory, other.path());
        QCOMPARE(m_w->openDir(), other.path());
    }

    void settingsKeysAndValuesAreBoundedTo127Bytes()
    {
        const QString fits(127, 'a');
        const QString over(128, 'a');
        m_w->setReg("boundTest", fits);
        QCOMPARE(m_w->readReg("boundTest"), fits);
        // Over the bound the value is not kept, not even cut off.
        m_w->setReg("boundTest", over);
        QCOMPARE(m_w->readReg("boundTest"), QString());
        // Bytes of UTF-8 count, not characters: 64 two-byte letters are 128.
        m_w->setReg("boundTest", QString(63, QChar(0xe9)));
        QCOMPARE(m_w->readReg("boundTest"), QString(63, QChar(0xe9)));
        m_w->setReg("boundTest", QString(64, QChar(0xe9)));
        QCOMPARE(m_w->readReg("boundTest"), QString());
        // Keys too.
        m_w->setReg(QString(128, 'k'), "v");
        QCOMPARE(m_w->readReg(QString(128, 'k')), QString());
        QCOMPARE(m_w->readReg("neverWritten"), QString());
    }

    void tutorialRootIsApartFromTheSettingsRoot()
    {
        using namespace SettingsStore;
        write(Root::Tutorial, "rootTest", "t");
        QCOMPARE(read(Root::Tutorial, "rootTest"), QString("t"));
        QCOMPARE(read(Root::Settings, "rootTest"), QString());
        QCOMPARE(application(Root::Tutorial), QString("Tesselin Mervane"));
        QCOMPARE(organisation(), QString("Tesselin"));
    }

private:
    void answerWarning()
    {
        auto *answers = new ModalAnswers;
        answers->setParent(m_w);
        answers->then([](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            box->done(QMessageBox::Ok);
            return true;
        });
    }
};

MERVANE_WINDOW_TEST_MAIN(TestPhotoList)
#include "tst_photolist.moc"
