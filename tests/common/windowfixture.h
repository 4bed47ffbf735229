#ifndef MERVANE_WINDOWFIXTURE_H
#define MERVANE_WINDOWFIXTURE_H

// The window of a suite that runs real jobs: made at the design's scale and
// shown, and deleted only after every job of its photos has ended (a worker
// thread must not outlive the photo it writes into).
#include <QSignalSpy>
#include <QtTest>

#include "globals.h"
#include "mainwindow.h"
#include "photoitem.h"

inline MainWindow *openTestWindow()
{
    g_uiScale = 1.0;
    auto *window = new MainWindow;
    window->show();
    if (!QTest::qWaitForWindowExposed(window))
        qWarning("the test window was not exposed");
    return window;
}

inline void deleteAfterJobs(MainWindow *&window, int timeoutMs)
{
    if (!window)
        return;
    for (PhotoItem *item : window->photoItems()) {
        if (item->isJobActive()) {
            QSignalSpy done(item, &PhotoItem::sendThreadFinish);
            done.wait(timeoutMs);
        }
    }
    delete window;
    window = nullptr;
}

#endif // MERVANE_WINDOWFIXTURE_H
