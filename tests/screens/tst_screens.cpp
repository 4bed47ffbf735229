// The main window as a user sees it: the welcome page, a photo with a
// selection, and the three dialogs where the window puts them. Each picture
// is an offscreen grab (dialogs painted over the window at their places),
// compared with a committed reference, so a broken style sheet, a missing
// sprite cell or a font that does not resolve fails the build.
// MERVANE_WRITE_REFERENCES=1 rewrites the references after a deliberate change
// of the look; look at them before committing. A failing run leaves the
// picture it took in the temporary folder as <name>-actual.png.

#include "globals.h"
#include "mainwindow.h"
#include "matconvert.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "processdialog.h"
#include "qmenubutton.h"
#include "referencepicture.h"
#include "removedialog.h"
#include "skin.h"
#include "studydialog.h"
#include "ui_mainwindow.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLabel>
#include <QMenu>
#include <QMovie>
#include <QPainter>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace {

bool compareWithReference(const QImage &picture, const QString &name)
{
    const QString why = referenceMismatch(picture, QStringLiteral("screens"), name, 0.01);
    if (!why.isEmpty())
        qWarning("%s", qPrintable(why));
    return why.isEmpty();
}

// The window with a dialog painted where it stands on the screen.
QImage windowWith(QWidget *window, QWidget *dialog)
{
    QImage picture = window->grab().toImage().convertToFormat(QImage::Format_RGB32);
    if (dialog) {
        QPainter painter(&picture);
        painter.drawPixmap(dialog->pos() - window->mapToGlobal(QPoint(0, 0)), dialog->grab());
    }
    return picture;
}

// Every movie on its first frame, so the picture does not depend on timing.
void stopMovies(QWidget *dialog)
{
    for (QLabel *label : dialog->findChildren<QLabel *>())
        if (QMovie *movie = label->movie()) {
            movie->setPaused(true);
            movie->jumpToFrame(0);
        }
}

StudyDialog *tutorialOf()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *dialog = qobject_cast<StudyDialog *>(w))
            return dialog;
    return nullptr;
}

void settle()
{
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

// A drawn scene of flat colours: sky, sea, beach, a post and a sun. Flat areas
// keep the reference pictures small, and a drawn scene needs no sample files.
cv::Mat drawnScene()
{
    cv::Mat scene(400, 600, CV_8UC3, cv::Scalar(226, 186, 120));
    cv::rectangle(scene, cv::Rect(0, 190, 600, 80), cv::Scalar(170, 130, 40), cv::FILLED);
    cv::rectangle(scene, cv::Rect(0, 270, 600, 130), cv::Scalar(140, 200, 228), cv::FILLED);
    cv::circle(scene, cv::Point(500, 70), 36, cv::Scalar(200, 240, 252), cv::FILLED);
    cv::rectangle(scene, cv::Rect(292, 120, 16, 160), cv::Scalar(60, 70, 90), cv::FILLED);
    cv::circle(scene, cv::Point(300, 120), 26, cv::Scalar(50, 50, 210), cv::FILLED);
    return scene;
}

} // namespace

class TestScreens : public QObject
{
    Q_OBJECT

    std::unique_ptr<MainWindow> m_window;
    QTemporaryDir m_photos;
    QString m_photo;

    // A started window with no tutorial in front of it.
    void startWindow()
    {
        QSettings(QStringLiteral("Tesselin"), QStringLiteral("Tesselin Mervane"))
            .setValue(QStringLiteral("Initializtion"), QStringLiteral("1"));
        m_window = std::make_unique<MainWindow>();
        m_window->show();
        settle();
    }

    void openPhotoWithSelection()
    {
        m_window->openPhoto(m_photo);
        settle();
        QCOMPARE(m_window->photoItems().size(), 1);
        PhotoItem *item = m_window->photoItems().first();
        // A red selection over the post and a green donor patch of sea beside
        // it, written as the selection tools write them.
        cv::ellipse(state(item).selection.m_inpaintMask, cv::Point(300, 195), cv::Size(40, 100), 0, 0, 360,
                    cv::Scalar(0, 0, 255, 128), cv::FILLED);
        cv::rectangle(state(item).selection.m_inpaintMaskBK, cv::Rect(380, 200, 120, 60), cv::Scalar(0, 255, 0, 128), cv::FILLED);
        Ui::MainWindow *ui = m_window->form();
        ui->widget_front->setImage(matToQImage(state(item).selection.m_inpaintMask), ui->widget_front);
        ui->widget_front_green->setImage(matToQImage(state(item).selection.m_inpaintMaskBK), ui->widget_front_green);
        settle();
    }

private slots:
    void initTestCase()
    {
        Skin::init();
        for (const char *file : {"./font/Sans.ttf", "./font/Lato-Bold_0.ttf", "./font/Lato-Light_0.ttf",
                                 "./font/Lato-Regular_0.ttf"})
            QVERIFY2(QFontDatabase::addApplicationFont(QString::fromLatin1(file)) >= 0, file);
        QVERIFY(m_photos.isValid());
        m_photo = m_photos.filePath(QStringLiteral("beach.png"));
        QVERIFY(cv::imwrite(m_photo.toStdString(), drawnScene()));
    }

    void cleanup()
    {
        m_window.reset();
        g_uiScale = 1.0;
    }

    void fontsOfTheStyleSheetsResolve()
    {
        for (const char *family : {"Lato", "Lato Light", "Lato123"}) {
            QFont font{QString::fromLatin1(family)};
            const QString resolved = QFontInfo(font).family();
            QVERIFY2(resolved.startsWith(QLatin1String("Lato")),
                     qPrintable(QStringLiteral("%1 resolves to %2").arg(QLatin1String(family), resolved)));
        }
    }

    void welcomePage()
    {
        startWindow();
        QCOMPARE(m_window->size(), QSize(1256, 740));
        QCOMPARE(m_window->form()->stackedWidget->currentIndex(), 1);
        QVERIFY(compareWithReference(windowWith(m_window.get(), nullptr), QStringLiteral("welcome")));
    }

    void photoWithSelection()
    {
        startWindow();
        openPhotoWithSelection();
        QVERIFY(compareWithReference(windowWith(m_window.get(), nullptr), QStringLiteral("selection")));
    }

    void progressOverThePhoto()
    {
        startWindow();
        openPhotoWithSelection();
        // Where the erase button asks the photo to open its dialog.
        const QPoint place = m_window->form()->pushButton_select_photo->mapToGlobal(QPoint(0, 0));
        processDialog progress;
        progress.move(place);
        progress.show();
        progress.recvProcessNum(60);
        settle();
        QVERIFY(compareWithReference(windowWith(m_window.get(), &progress), QStringLiteral("progress")));
    }

    void questionOverThePhoto()
    {
        startWindow();
        openPhotoWithSelection();
        RemoveDialog question;
        question.setDialogText(QStringLiteral("Save changes to \"beach.png\" before closing?"));
        const QPoint corner = m_window->form()->pushButton_select_photo->mapToGlobal(QPoint(0, 0));
        question.move(corner - QPoint(question.width() / 3, question.height() / 3));
        question.show();
        settle();
        QVERIFY(compareWithReference(windowWith(m_window.get(), &question), QStringLiteral("question")));
    }

    void tutorialOnFirstStart()
    {
        QSettings(QStringLiteral("Tesselin"), QStringLiteral("Tesselin Mervane")).clear();
        m_window = std::make_unique<MainWindow>();
        m_window->show();
        settle();
        StudyDialog *tutorial = tutorialOf();
        QVERIFY(tutorial && tutorial->isVisible());
        stopMovies(tutorial);
        settle();
        QVERIFY(compareWithReference(windowWith(m_window.get(), tutorial), QStringLiteral("tutorial")));
    }

    void dropDownMenu()
    {
        startWindow();
        QMenu *menu = m_window->form()->pushButton_dropdown->getMenu();
        menu->popup(m_window->form()->pushButton_dropdown->popupPosition());
        settle();
        QVERIFY(menu->isVisible());
        menu->setActiveAction(menu->actions().at(1));
        settle();
        // Painted where it drops on a real screen: the small offscreen screen
        // would push the menu back inside its own edge.
        menu->move(m_window->form()->pushButton_dropdown->popupPosition());
        QVERIFY(compareWithReference(windowWith(m_window.get(), menu), QStringLiteral("menu")));
        menu->hide();
    }
};

int main(int argc, char *argv[])
{
    // A settings store of our own, before anything reads it.
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
    QApplication app(argc, argv);
    TestScreens test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_screens.moc"
