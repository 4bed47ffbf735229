#ifndef MERVANE_TESTS_SAVE_SAVETEST_H
#define MERVANE_TESTS_SAVE_SAVETEST_H

// Shared by the save suites: answering the message boxes a save may raise.

#include <QMessageBox>
#include <QStringList>

#include "windowtest.h"

namespace savetest {

// Closes the next message box and adds its text to `texts`.
inline ModalAnswers::Handler messageBox(QStringList *texts)
{
    return [texts](QWidget *w) {
        auto *box = qobject_cast<QMessageBox *>(w);
        if (!box)
            return false;
        *texts << box->text();
        box->done(QMessageBox::Ok);
        return true;
    };
}

} // namespace savetest

#endif // MERVANE_TESTS_SAVE_SAVETEST_H
