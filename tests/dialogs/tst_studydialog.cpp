// The tutorial dialog: tabs, movies and the text-tutorial link line.

#include "dragtest.h"
#include "globals.h"
#include "studydialog.h"

#include <QDir>
#include <QLabel>
#include <QMovie>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kLinkHead = QStringLiteral("<a  style='color: #f09c0b;' href=\"");
const QString kLinkTail = QStringLiteral("\">  Visit text tutorial here");

QLabel *linkLine(StudyDialog &dialog)
{
    return dialog.findChild<QLabel *>("label_7");
}

QMovie *movieOf(StudyDialog &dialog, const char *label)
{
    return dialog.findChild<QLabel *>(label)->movie();
}

} // namespace

class TestStudyDialog : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        g_uiScale = 1.0;
        g_language.clear();
        g_linkKeys.clear();
        g_linkValues.clear();
    }
    void cleanup() { init(); }

    void opensOnTheFourthTab()
    {
        StudyDialog dialog;
        auto *tabs = dialog.findChild<QTabWidget *>("tabWidget");
        QCOMPARE(tabs->count(), 5);
        QCOMPARE(tabs->currentIndex(), 3);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(tabs->tabText(i), QString::number(i + 1));
        QCOMPARE(dialog.findChild<QLabel *>("label_2")->text(), QStringLiteral("Mervane Tutorial "));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Mervane"));
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(dialog.isModal());
        QCOMPARE(dialog.size(), QSize(824, 600));
        dialog.show();
        QCOMPARE(tabs->currentIndex(), 3);
    }

    void sizesAtOneAndAHalf()
    {
        g_uiScale = 1.5;
        StudyDialog dialog;
        QCOMPARE(dialog.size(), QSize(1236, 900));
        QCOMPARE(dialog.findChild<QLabel *>("label_2")->size(), QSize(240, 42));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton_close")->size(), QSize(28, 28));
        QCOMPARE(movieOf(dialog, "label")->scaledSize(), QSize(1200, 696));
    }

    void moviesComeFromTheRecFolder()
    {
        StudyDialog dialog;
        const char *labels[5] = {"label", "label_3", "label_4", "label_5", "label_6"};
        for (int i = 0; i < 5; ++i) {
            QMovie *movie = movieOf(dialog, labels[i]);
            QVERIFY(movie);
            QCOMPARE(movie->fileName(), QStringLiteral("./rec/1%1.gif").arg(i + 1));
            QCOMPARE(movie->scaledSize(), QSize(800, 464));
            QVERIFY2(movie->isValid(), qPrintable(movie->fileName()));
            QCOMPARE(movie->state(), QMovie::Running);
        }
    }

    void missingLinkTableGivesABareLine()
    {
        StudyDialog dialog;
        QCOMPARE(linkLine(dialog)->text(), kLinkHead + kLinkTail);
        QVERIFY(linkLine(dialog)->text().endsWith(QStringLiteral(">  Visit text tutorial here")));
        QVERIFY(linkLine(dialog)->openExternalLinks());
        QCOMPARE(StudyDialog::userGuideLink(), QString());
    }

    void lookupRule()
    {
        // At construction the language is still empty: the bare key is tried first.
        g_linkKeys = QStringList{"ENWebsite", "ENUserGuide", "UserGuide"};
        g_linkValues = QStringList{"https://www.mervane.app/", "https://www.mervane.app/guide/", "https://www.mervane.app/bare/"};
        {
            StudyDialog dialog;
            QCOMPARE(linkLine(dialog)->text(), kLinkHead + "https://www.mervane.app/bare/" + kLinkTail);
        }
        g_linkKeys.removeLast();
        g_linkValues.removeLast();
        {
            StudyDialog dialog;
            QCOMPARE(linkLine(dialog)->text(), kLinkHead + "https://www.mervane.app/guide/" + kLinkTail);
        }
        // A language of its own wins; the first of two equal keys wins.
        g_language = QStringLiteral("DE");
        g_linkKeys << "DEUserGuide" << "DEUserGuide";
        g_linkValues << "https://www.mervane.app/de/guide/" << "https://www.mervane.app/de/other/";
        QCOMPARE(StudyDialog::userGuideLink(), QStringLiteral("https://www.mervane.app/de/guide/"));
        // A language without its own link falls back to English.
        g_language = QStringLiteral("FR");
        QCOMPARE(StudyDialog::userGuideLink(), QStringLiteral("https://www.mervane.app/guide/"));
        // Keys without values do no harm.
        g_linkKeys = QStringList{"ENUserGuide"};
        g_linkValues.clear();
        QCOMPARE(StudyDialog::userGuideLink(), QString());
    }

    void openedTwiceIsTheSameDialogWithMoviesRunningOn()
    {
        StudyDialog dialog;
        QMovie *movie = movieOf(dialog, "label_5");
        dialog.show();
        QTRY_VERIFY_WITH_TIMEOUT(movie->currentFrameNumber() > 0, 5000);
        dialog.findChild<QPushButton *>("pushButton_close")->click();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(movie->state(), QMovie::Running);
        const int frame = movie->currentFrameNumber();
        dialog.show();
        QVERIFY(dialog.isVisible());
        QCOMPARE(movieOf(dialog, "label_5"), movie);
        QCOMPARE(movie->currentFrameNumber(), frame);
        QCOMPARE(dialog.findChild<QTabWidget *>("tabWidget")->currentIndex(), 3);
    }

    void missingMoviesLeaveEmptyPictures()
    {
        QTemporaryDir empty;
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(empty.path()));
        {
            StudyDialog dialog;
            QVERIFY(!movieOf(dialog, "label")->isValid());
            dialog.show();
            QVERIFY(dialog.isVisible());
            dialog.grab();
        }
        QDir::setCurrent(previous);
    }

    void dragByTheBody()
    {
        StudyDialog dialog;
        dialog.show();
        dialog.move(0, 0);
        QTest::mousePress(&dialog, Qt::LeftButton, Qt::NoModifier, QPoint(300, 20));
        sendDragMove(&dialog, QPoint(350, 70));
        QCOMPARE(dialog.pos(), QPoint(50, 50));
        QTest::mouseRelease(&dialog, Qt::LeftButton, Qt::NoModifier, QPoint(300, 20));
    }
};

QTEST_MAIN(TestStudyDialog)
#include "tst_studydialog.moc"
