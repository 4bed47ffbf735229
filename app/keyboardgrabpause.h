#ifndef KEYBOARDGRABPAUSE_H
#define KEYBOARDGRABPAUSE_H

#include <QWidget>

// The main window grabs the keyboard, so every key reaches it whichever
// widget has the focus. While one of its own modal dialogs runs (file
// dialogs, message boxes, questions) the grab is given back so the dialog
// can be typed into, and taken again when the scope ends.
class KeyboardGrabPause
{
public:
    explicit KeyboardGrabPause(QWidget *window)
        : m_window(window)
        , m_hadGrab(QWidget::keyboardGrabber() == window)
    {
        if (m_hadGrab)
            m_window->releaseKeyboard();
    }
    ~KeyboardGrabPause()
    {
        if (m_hadGrab)
            m_window->grabKeyboard();
    }
    KeyboardGrabPause(const KeyboardGrabPause &) = delete;
    KeyboardGrabPause &operator=(const KeyboardGrabPause &) = delete;

private:
    QWidget *m_window;
    bool m_hadGrab;
};

#endif // KEYBOARDGRABPAUSE_H
