// The progress dialog in front of an erase job.

#include "dragtest.h"
#include "globals.h"
#include "processdialog.h"

#include <QFrame>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

class TestProcessDialog : public QObject
{
    Q_OBJECT

private slots:
    void init() { g_uiScale = 1.0; }
    void cleanup() { g_uiScale = 1.0; }

    void designSizeAndTexts()
    {
        processDialog dialog;
        QCOMPARE(dialog.size(), QSize(300, 110));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Mervane"));
        QVERIFY(dialog.isModal());
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
        QCOMPARE(dialog.findChild<QLabel *>("label")->text(), QStringLiteral("Erase  processing ..."));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton")->text(), QStringLiteral("Cancel"));
        auto *bar = dialog.findChild<QProgressBar *>("progressBar");
        QCOMPARE(bar->value(), 0);
        QVERIFY(bar->isTextVisible());
        QCOMPARE(bar->size(), QSize(281, 23));
        QCOMPARE(bar->pos(), QPoint(10, 43));
        QCOMPARE(dialog.findChild<QFrame *>("frame")->height(), 3);
        QCOMPARE(dialog.findChild<QLabel *>("label")->geometry(), QRect(70, 0, 151, 31));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton")->size(), QSize(75, 23));
    }

    void sizeAtOneAndAHalf()
    {
        g_uiScale = 1.5;
        processDialog dialog;
        QCOMPARE(dialog.size(), QSize(450, 165));
        QCOMPARE(dialog.findChild<QProgressBar *>("progressBar")->size(), QSize(421, 34));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton")->size(), QSize(112, 34));
        QCOMPARE(dialog.findChild<QFrame *>("frame")->height(), 4);
        QCOMPARE(dialog.findChild<QLabel *>("label")->font().pixelSize(), 24);
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton")->font().pixelSize(), 18);
    }

    void progressArrivesAsIs()
    {
        processDialog dialog;
        auto *bar = dialog.findChild<QProgressBar *>("progressBar");
        dialog.recvProcessNum(0);
        QCOMPARE(bar->value(), 0);
        dialog.recvProcessNum(37);
        QCOMPARE(bar->value(), 37);
        dialog.recvProcessNum(100);
        QCOMPARE(bar->value(), 100);
    }

    void cancelOnlyAsks()
    {
        processDialog dialog;
        dialog.show();
        QSignalSpy cancel(&dialog, &processDialog::sendCancelStatus);
        auto *button = dialog.findChild<QPushButton *>("pushButton");
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(cancel.count(), 2);
        // The job's owner closes the dialog, not the button.
        QVERIFY(dialog.isVisible());
    }

    void pressOnTheButtonStartsNoDrag()
    {
        processDialog dialog;
        dialog.show();
        dialog.move(100, 100);
        const QPoint start = dialog.pos();
        auto *button = dialog.findChild<QPushButton *>("pushButton");
        QTest::mousePress(button, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        sendDragMove(&dialog, dialog.mapToGlobal(QPoint(200, 200)));
        QCOMPARE(dialog.pos(), start);
        QTest::mouseRelease(button, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    }

    void dragByTheBody()
    {
        processDialog dialog;
        dialog.show();
        dialog.move(100, 100);
        auto *body = dialog.findChild<QFrame *>("frame_2");
        // The press falls through the body frame to the dialog: (20, 40) in dialog coordinates.
        QTest::mousePress(body, Qt::LeftButton, Qt::NoModifier, QPoint(20, 37));
        const QPoint grab = body->mapTo(&dialog, QPoint(20, 37));
        QCOMPARE(grab, QPoint(20, 40));
        sendDragMove(&dialog, QPoint(400, 300));
        QCOMPARE(dialog.pos(), QPoint(400, 300) - grab);
        QTest::mouseRelease(body, Qt::LeftButton, Qt::NoModifier, QPoint(20, 37));
        const QPoint after = dialog.pos();
        sendDragMove(&dialog, QPoint(600, 500));
        QCOMPARE(dialog.pos(), after);
    }
};

QTEST_MAIN(TestProcessDialog)
#include "tst_processdialog.moc"
