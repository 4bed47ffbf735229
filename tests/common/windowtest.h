#ifndef MERVANE_WINDOWTEST_H
#define MERVANE_WINDOWTEST_H

// Shared by the photo list, save and window suites: a private settings
// store, small photos, and answering modal dialogs from a timer so that the
// code under test runs its real modal loops without blocking the test.

#include <QApplication>
#include <QDebug>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QList>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "removedialog.h"
#include "testphotos.h"

// Points the per-user store at a fresh folder; call before QApplication
// exists (the store's location is fixed at first use). The tutorial counts
// as seen, so no window of it opens during the tests.
inline void usePrivateSettingsStore(const QString &folder)
{
    qputenv("XDG_CONFIG_HOME", folder.toLocal8Bit());
    QDir().mkpath(folder + "/Tesselin");
    QFile f(folder + "/Tesselin/Tesselin Mervane.conf");
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write("[General]\nInitializtion=1\n");
}

// A main() that isolates the settings store before the application starts.
#define MERVANE_WINDOW_TEST_MAIN(TestClass)                                                                  \
    int main(int argc, char **argv)                                                                          \
    {                                                                                                        \
        QTemporaryDir store;                                                                                 \
        usePrivateSettingsStore(store.path());                                                               \
        QApplication app(argc, argv);                                                                        \
        TestClass tc;                                                                                        \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }

// Answers modal dialogs in the order they appear: each handler receives the
// active modal widget and must close it. Polls from the event loop that the
// modal run itself spins.
class ModalAnswers : public QObject
{
public:
    using Handler = std::function<bool(QWidget *)>; // true once answered

    void then(Handler h)
    {
        m_handlers.append(std::move(h));
        if (m_handlers.size() == 1) {
            m_waiting.start();
            schedule();
        }
    }
    int answered() const { return m_answered; }
    int pending() const { return m_handlers.size(); }

    // Common answers.
    static Handler question(int code, QStringList *texts = nullptr)
    {
        return [code, texts](QWidget *w) {
            auto *d = qobject_cast<RemoveDialog *>(w);
            if (!d)
                return false;
            if (texts)
                *texts << d->findChild<QLabel *>("label_2")->text();
            d->done(code);
            return true;
        };
    }

    struct FileDialogSeen {
        QString title;
        QString directory;
        QStringList selected;
        QString typed; // the name field as offered
        QString nameFilter;
        QStringList nameFilters;
        QFileDialog::Options options;
        QFileDialog::FileMode mode = QFileDialog::AnyFile;
    };

    // Fills in the given paths (none: cancel) and records what was offered.
    static Handler files(QStringList paths, FileDialogSeen *seen = nullptr)
    {
        return [paths, seen](QWidget *w) {
            auto *fd = qobject_cast<QFileDialog *>(w);
            if (!fd)
                return false;
            if (seen) {
                seen->title = fd->windowTitle();
                seen->directory = fd->directory().absolutePath();
                seen->selected = fd->selectedFiles();
                if (auto *edit = fd->findChild<QLineEdit *>("fileNameEdit"))
                    seen->typed = edit->text();
                seen->nameFilter = fd->selectedNameFilter();
                seen->nameFilters = fd->nameFilters();
                seen->options = fd->options();
                seen->mode = fd->fileMode();
            }
            if (paths.isEmpty()) {
                fd->reject();
                return true;
            }
            // The name field is filled directly: selectFile() leaves it alone
            // while it has the keyboard focus.
            auto *edit = fd->findChild<QLineEdit *>("fileNameEdit");
            if (!edit)
                return false;
            if (fd->acceptMode() == QFileDialog::AcceptOpen
                && (fd->fileMode() == QFileDialog::Directory || fd->testOption(QFileDialog::ShowDirsOnly))) {
                fd->setDirectory(paths.first());
                edit->clear();
            } else {
                fd->setDirectory(QFileInfo(paths.first()).absolutePath());
                QStringList names;
                for (const QString &p : paths)
                    names << QFileInfo(p).fileName();
                edit->setText(names.size() == 1 ? names.first() : "\"" + names.join("\" \"") + "\"");
            }
            static_cast<QDialog *>(fd)->accept();
            // A dialog that has not taken the name yet stays open: try again.
            return !fd->isVisible();
        };
    }

private:
    void schedule()
    {
        QTimer::singleShot(5, this, [this] { poll(); });
    }
    void poll()
    {
        if (m_handlers.isEmpty())
            return;
        QWidget *w = QApplication::activeModalWidget();
        if (qEnvironmentVariableIsSet("MERVANE_TRACE_MODALS") && w)
            qDebug() << "modal" << w->metaObject()->className() << w->windowTitle() << w->isVisible();
        if (w && w->isVisible() && m_handlers.first()(w)) {
            m_handlers.removeFirst();
            ++m_answered;
            m_waiting.start();
        } else if (w && w->isVisible() && m_waiting.elapsed() > kPatienceMs) {
            // A dialog no handler takes would block the test until its
            // timeout: close it, and leave the count short so the test fails.
            qWarning() << "unexpected modal dialog closed:" << w->metaObject()->className() << w->windowTitle();
            if (auto *d = qobject_cast<QDialog *>(w))
                d->reject();
            else
                w->close();
            m_waiting.start();
        }
        if (!m_handlers.isEmpty())
            schedule();
    }

    static constexpr qint64 kPatienceMs = 15000;
    QList<Handler> m_handlers;
    QElapsedTimer m_waiting;
    int m_answered = 0;
};

#endif // MERVANE_WINDOWTEST_H
