// The two popup buttons and the undo buttons driven by index.
#include <QMenu>
#include <QUndoCommand>
#include <QUndoGroup>
#include <QUndoStack>
#include <QtTest>

#include "qmenubutton.h"
#include "qwidgetbutton.h"
#include "testutil.h"

class TestPopupButtons : public QObject
{
    Q_OBJECT

private slots:
    void menuButtonDropsFromItsLowerLeftCorner()
    {
        QWidget host;
        host.resize(200, 100);
        QMenuButton *b = new QMenuButton(&host);
        b->setGeometry(30, 20, 19, 19);
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        QVERIFY(b->getMenu());
        QCOMPARE(b->getMenu()->parent(), static_cast<QObject *>(b));
        QCOMPARE(b->popupPosition(), b->mapToGlobal(QPoint(0, 19)));
        b->getMenu()->addAction("Entry");
        bool shown = false;
        QTimer::singleShot(0, [&] {
            shown = b->getMenu()->isVisible();
            b->getMenu()->close();
        });
        b->click();
        QVERIFY(shown);
    }

    void widgetButtonHoldsTheHistoryList()
    {
        QWidget host;
        host.resize(400, 400);
        QWidgetButton *b = new QWidgetButton(&host);
        b->setGeometry(300, 300, 32, 32);
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const QList<QAction *> actions = b->getMenu()->actions();
        QCOMPARE(actions.size(), 3);
        QCOMPARE(actions.at(0)->text(), QString("History"));
        QVERIFY(actions.at(1)->isSeparator());
        QCOMPARE(b->popupPosition(), b->mapToGlobal(QPoint(0, 0)) - QPoint(122, 250));
        QCOMPARE(b->undoView()->focusPolicy(), Qt::NoFocus);

        QUndoGroup group;
        b->setUndoGroup(&group);
        QCOMPARE(b->getUndoGroup(), &group);
        QCOMPARE(b->undoView()->group(), &group);
        // With no stack the list is empty (only the clean-state row is absent too).
        QCOMPARE(b->undoView()->model()->rowCount(), 0);

        QUndoStack one, two;
        group.addStack(&one);
        group.addStack(&two);
        one.push(new QUndoCommand("a"));
        two.push(new QUndoCommand("b"));
        two.push(new QUndoCommand("c"));
        group.setActiveStack(&one);
        QCOMPARE(b->undoView()->model()->rowCount(), 2); // "<empty>" plus one entry
        // Switching stacks changes the contents without reopening.
        group.setActiveStack(&two);
        QCOMPARE(b->undoView()->model()->rowCount(), 3);
    }
};

QTEST_MAIN(TestPopupButtons)
#include "tst_popupbuttons.moc"
