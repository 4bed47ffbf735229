// The dialogs as a user sees them: offscreen grabs compared with committed
// reference pictures, so a broken style sheet or a missing sprite cell shows.
// Set MERVANE_WRITE_REFERENCES=1 to rewrite the references after a deliberate
// change of the look (and look at them before committing).

#include "globals.h"
#include "processdialog.h"
#include "referencepicture.h"
#include "removedialog.h"
#include "studydialog.h"

#include <QDir>
#include <QFontDatabase>
#include <QLabel>
#include <QMovie>
#include <QProgressBar>
#include <QtTest>

namespace {

void compareWithReference(QWidget &widget, const QString &name)
{
    widget.show();
    QCoreApplication::processEvents();
    const QString why = referenceMismatch(widget.grab().toImage(), QStringLiteral("dialogs"), name, 0.01);
    QVERIFY2(why.isEmpty(), qPrintable(why));
}

} // namespace

class TestDialogLooks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const char *file : {"./font/Lato-Bold_0.ttf", "./font/Lato-Light_0.ttf", "./font/Lato-Regular_0.ttf"})
            QFontDatabase::addApplicationFont(QString::fromLatin1(file));
        g_uiScale = 1.0;
    }

    void progressDialog()
    {
        processDialog dialog;
        dialog.recvProcessNum(42);
        compareWithReference(dialog, QStringLiteral("progress"));
    }

    void questionBox()
    {
        RemoveDialog dialog;
        dialog.setDialogText(QStringLiteral("Save changes to \"beach.jpg\" before closing?"));
        compareWithReference(dialog, QStringLiteral("question"));
    }

    void tutorial()
    {
        StudyDialog dialog;
        // Stop every movie on its first frame, so the picture does not depend on timing.
        for (QLabel *label : dialog.findChildren<QLabel *>())
            if (QMovie *movie = label->movie()) {
                movie->setPaused(true);
                movie->jumpToFrame(0);
            }
        compareWithReference(dialog, QStringLiteral("tutorial"));
    }

    void progressDialogAtOneAndAHalf()
    {
        g_uiScale = 1.5;
        processDialog dialog;
        dialog.recvProcessNum(80);
        compareWithReference(dialog, QStringLiteral("progress-150"));
        g_uiScale = 1.0;
    }
};

QTEST_MAIN(TestDialogLooks)
#include "tst_dialoglooks.moc"
