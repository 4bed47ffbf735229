#ifndef DIALOGDRAG_H
#define DIALOGDRAG_H

// Frameless dialogs are dragged by any free part of their body: the press
// remembers where the pointer caught the dialog, moves keep that point under
// the pointer, the release lets go. Buttons take their own presses, so a
// press on a button never starts a drag.

#include <QMouseEvent>
#include <QWidget>

#include <cmath>

namespace DialogDrag {

inline void press(QMouseEvent *event, int &pressX, int &pressY, bool &pressed)
{
    if (event->button() != Qt::LeftButton)
        return;
    pressed = true;
    pressX = int(std::lround(event->localPos().x()));
    pressY = int(std::lround(event->localPos().y()));
}

inline void move(QWidget *dialog, QMouseEvent *event, int pressX, int pressY, bool pressed)
{
    if (pressed)
        dialog->move(event->globalPos() - QPoint(pressX, pressY));
}

inline void release(bool &pressed)
{
    pressed = false;
}

} // namespace DialogDrag

#endif // DIALOGDRAG_H
