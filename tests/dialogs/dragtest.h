#ifndef DRAGTEST_H
#define DRAGTEST_H

// Sends a pointer move with the left button held straight to a widget, with
// a chosen global position, as a window system would during a drag.

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>

inline void sendDragMove(QWidget *target, const QPoint &global)
{
    QMouseEvent move(QEvent::MouseMove, target->mapFromGlobal(global), global, Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(target, &move);
}

#endif // DRAGTEST_H
