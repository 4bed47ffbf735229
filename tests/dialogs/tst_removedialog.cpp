// The question box and its exit codes.

#include "dragtest.h"
#include "globals.h"
#include "removedialog.h"

#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

namespace {

// Runs the dialog modally and clicks `button` from inside its event loop.
int answerWith(RemoveDialog &dialog, const char *button)
{
    QTimer::singleShot(0, &dialog, [&dialog, button] { dialog.findChild<QPushButton *>(button)->click(); });
    return dialog.exec();
}

// The height the label's text takes when wrapped at the label's width, as the label lays it out.
int wrappedHeight(const QLabel *label)
{
    const QFontMetrics metrics(label->font());
    return metrics.boundingRect(QRect(0, 0, label->contentsRect().width(), 100000),
                                int(label->alignment()) | Qt::TextWordWrap, label->text())
        .height();
}

} // namespace

class TestRemoveDialog : public QObject
{
    Q_OBJECT

private slots:
    void init() { g_uiScale = 1.0; }
    void cleanup() { g_uiScale = 1.0; }

    void exitCodes()
    {
        RemoveDialog dialog;
        QCOMPARE(answerWith(dialog, "pushButton_yes"), 1);
        QCOMPARE(answerWith(dialog, "pushButton_no"), 0);
        QCOMPARE(answerWith(dialog, "pushButton_cancel"), 3);
        QCOMPARE(answerWith(dialog, "pushButton_close"), 3);
        // The warning sign is only a picture.
        QTimer::singleShot(0, &dialog, [&dialog] {
            dialog.findChild<QPushButton *>("pushButton_warnning")->click();
            QVERIFY(dialog.isVisible());
            dialog.findChild<QPushButton *>("pushButton_yes")->click();
        });
        QCOMPARE(dialog.exec(), 1);
    }

    void escapeMeansCancel()
    {
        RemoveDialog dialog;
        QTimer::singleShot(0, &dialog, [&dialog] { QTest::keyClick(&dialog, Qt::Key_Escape); });
        QCOMPARE(dialog.exec(), 3);
    }

    void formTextsAndLook()
    {
        RemoveDialog dialog;
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Mervane"));
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(dialog.isModal());
        QCOMPARE(dialog.findChild<QLabel *>("label")->text(), QStringLiteral("Mervane"));
        QCOMPARE(dialog.findChild<QLabel *>("label_2")->text(), QStringLiteral("Do you want to remove all the files?"));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton_yes")->text(), QStringLiteral("Yes"));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton_no")->text(), QStringLiteral("No"));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton_cancel")->text(), QStringLiteral("Cancel"));
        QVERIFY(dialog.findChild<QPushButton *>("pushButton_yes")->styleSheet().contains("#f09c0b"));
        QVERIFY(dialog.findChild<QPushButton *>("pushButton_no")->styleSheet().contains("#4e4956"));
        QVERIFY(dialog.findChild<QPushButton *>("pushButton_close")->styleSheet().contains("27 1019 736 293"));
        QVERIFY(dialog.findChild<QPushButton *>("pushButton_warnning")->styleSheet().contains("140 507 602 784"));
        auto *message = dialog.findChild<QLabel *>("label_2");
        QVERIFY(message->wordWrap());
        QVERIFY(message->alignment() & Qt::AlignTop);
    }

    void sizesAtOneAndAHalf()
    {
        g_uiScale = 1.5;
        RemoveDialog dialog;
        QCOMPARE(dialog.size(), QSize(630, 255));
        QCOMPARE(dialog.pos(), QPoint(0, 0));
        QCOMPARE(dialog.findChild<QLabel *>("label")->size(), QSize(184, 25));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton_close")->size(), QSize(28, 28));
        QCOMPARE(dialog.findChild<QLabel *>("label_2")->size(), QSize(478, 54));
        QCOMPARE(dialog.findChild<QPushButton *>("pushButton_warnning")->size(), QSize(60, 60));
        for (const char *name : {"pushButton_yes", "pushButton_no", "pushButton_cancel"}) {
            QCOMPARE(dialog.findChild<QPushButton *>(name)->size(), QSize(154, 54));
            QCOMPARE(dialog.findChild<QPushButton *>(name)->font().pixelSize(), 24);
        }
        QCOMPARE(dialog.findChild<QFrame *>("frame_top")->height(), 4);
        QCOMPARE(dialog.findChild<QLabel *>("label_2")->font().pixelSize(), 21);
    }

    void newlineGivesTwoLines()
    {
        RemoveDialog dialog;
        auto *message = dialog.findChild<QLabel *>("label_2");
        const QFontMetrics metrics(message->font());
        dialog.setDialogText(QStringLiteral("You have 3 unsaved files. \nDo you want to remove all the files?"));
        QCOMPARE(message->text(), QStringLiteral("You have 3 unsaved files. \nDo you want to remove all the files?"));
        const int twoLines = wrappedHeight(message);
        QVERIFY(twoLines >= 2 * metrics.lineSpacing() - 2);
        QVERIFY(twoLines < 3 * metrics.lineSpacing());
        dialog.setDialogText(QStringLiteral("Remove all?"));
        QVERIFY(wrappedHeight(message) < 2 * metrics.lineSpacing() - 2);
    }

    void longNameWrapsAndIsNotShortened()
    {
        RemoveDialog dialog;
        auto *message = dialog.findChild<QLabel *>("label_2");
        const QString name = QStringLiteral("a_photograph_with_a_rather_long_name taken on holiday by the sea in "
                                            "the late afternoon light of a summer day.jpg");
        const QString text = QStringLiteral("Save changes to \"%1\" before closing?").arg(name);
        dialog.setDialogText(text);
        QCOMPARE(message->text(), text);
        QCOMPARE(message->height(), 36);
        // It needs more room than its fixed height: the overflow is clipped, not elided.
        QVERIFY(wrappedHeight(message) > message->height());
        dialog.show();
        QCOMPARE(message->height(), 36);
    }

    void dragByTheBodyNotTheButtons()
    {
        RemoveDialog dialog;
        dialog.show();
        dialog.move(50, 60);
        auto *yes = dialog.findChild<QPushButton *>("pushButton_yes");
        QTest::mousePress(yes, Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
        sendDragMove(&dialog, QPoint(500, 500));
        QCOMPARE(dialog.pos(), QPoint(50, 60));
        QTest::mouseRelease(yes, Qt::LeftButton, Qt::NoModifier, QPoint(60, 60));
        QTest::mousePress(&dialog, Qt::LeftButton, Qt::NoModifier, QPoint(10, 100));
        sendDragMove(&dialog, QPoint(500, 500));
        QCOMPARE(dialog.pos(), QPoint(490, 400));
    }
};

QTEST_MAIN(TestRemoveDialog)
#include "tst_removedialog.moc"
