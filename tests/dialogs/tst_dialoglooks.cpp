// The dialogs as a user sees them: offscreen grabs compared with committed
// reference pictures, so a broken style sheet or a missing sprite cell shows.
// Set MERVANE_WRITE_REFERENCES=1 to rewrite the references after a deliberate
// change of the look (and look at them before committing).

#include "globals.h"
#include "processdialog.h"
#include "removedialog.h"
#include "studydialog.h"

#include <QDir>
#include <QFontDatabase>
#include <QLabel>
#include <QMovie>
#include <QProgressBar>
#include <QtTest>

namespace {

QString referenceDir()
{
    return qEnvironmentVariable("MERVANE_SOURCE_DIR") + QStringLiteral("/tests/dialogs/reference");
}

// Share of pixels whose channels differ by more than 48 anywhere.
double differingShare(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return 1.0;
    qint64 differing = 0;
    for (int y = 0; y < a.height(); ++y) {
        const QRgb *ra = reinterpret_cast<const QRgb *>(a.constScanLine(y));
        const QRgb *rb = reinterpret_cast<const QRgb *>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            const int d = qMax(qAbs(qRed(ra[x]) - qRed(rb[x])),
                               qMax(qAbs(qGreen(ra[x]) - qGreen(rb[x])), qAbs(qBlue(ra[x]) - qBlue(rb[x]))));
            if (d > 48)
                ++differing;
        }
    }
    return double(differing) / (qint64(a.width()) * a.height());
}

void compareWithReference(QWidget &widget, const QString &name)
{
    widget.show();
    QCoreApplication::processEvents();
    const QImage shot = widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QString path = referenceDir() + QLatin1Char('/') + name + QStringLiteral(".png");
    if (qEnvironmentVariableIntValue("MERVANE_WRITE_REFERENCES")) {
        QDir().mkpath(referenceDir());
        QVERIFY(shot.save(path));
        return;
    }
    const QImage reference = QImage(path).convertToFormat(QImage::Format_RGB32);
    QVERIFY2(!reference.isNull(), qPrintable(path));
    QCOMPARE(shot.size(), reference.size());
    const double share = differingShare(shot, reference);
    if (share > 0.01)
        shot.save(QDir::temp().filePath(name + QStringLiteral("-actual.png")));
    QVERIFY2(share <= 0.01, qPrintable(QStringLiteral("%1: %2% of the pixels differ").arg(name).arg(share * 100)));
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
