#ifndef KEYBOARDGRAB_H
#define KEYBOARDGRAB_H

#include <QWidget>

// The main window grabs the keyboard so that every key reaches it, whichever
// widget has the focus. While a modal dialog of our own runs (a file dialog,
// the question box, the print preview) the window gives the keyboard back so
// that the dialog can be typed into; the grab returns when the pause ends.
class KeyboardGrabPause
{
public:
    explicit KeyboardGrabPause(QWidget *w)
        : m_w(w)
        , m_had(QWidget::keyboardGrabber() == w)
    {
        if (m_had)
            m_w->releaseKeyboard();
    }
    ~KeyboardGrabPause()
    {
        if (m_had)
            m_w->grabKeyboard();
    }
    KeyboardGrabPause(const KeyboardGrabPause &) = delete;
    KeyboardGrabPause &operator=(const KeyboardGrabPause &) = delete;

private:
    QWidget *m_w;
    bool m_had;
};

#endif // KEYBOARDGRAB_H
