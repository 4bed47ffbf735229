#include "launch.h"
#include "mainwindow.h"
#include "waitpolicy.h"

#include <QApplication>
#include <QDebug>
#include <QDir>
#include <QFontDatabase>
#include <QTimer>

#include <cstdio>
#include <cstring>

namespace {

// --help and --version answer before the toolkit starts, so they work
// without a display.
bool answeredOption(int argc, char *argv[])
{
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("mervane %s\n", MERVANE_VERSION);
            return true;
        }
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::printf("Usage: mervane [PHOTO...]\n"
                        "Erase unwanted objects from photographs.\n\n"
                        "Opens each PHOTO (a relative path counts from the current folder) and\n"
                        "shows the first. Arguments after -- are photos even if they start with -.\n\n"
                        "  -h, --help     show this help and exit\n"
                        "  --version      show the version and exit\n");
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    ensurePassiveWaitPolicy();
    if (answeredOption(argc, argv))
        return 0;
    qDebug() << "===========";
    QApplication app(argc, argv);
    qDebug() << "start ...............";
    // Photo paths count from where the program was started; then into the
    // folder that holds ./font, ./rec and configlink.xml.
    const QStringList photos = photoArguments(QCoreApplication::arguments(), QDir::currentPath());
    const QString dataFolder = dataFolderFor(QCoreApplication::applicationDirPath());
    if (!dataFolder.isEmpty())
        QDir::setCurrent(dataFolder);
    // Relative to the working directory, which holds ./font.
    const char *fonts[] = {"./font/Sans.ttf", "./font/Lato-Bold_0.ttf", "./font/Lato-Light_0.ttf",
                           "./font/Lato-Regular_0.ttf"};
    for (const char *file : fonts) {
        const int id = QFontDatabase::addApplicationFont(QString::fromLatin1(file));
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        // A missing file gives no family: nothing to log then.
        if (!families.isEmpty())
            qDebug() << families.first() << id;
    }
    qDebug() << "=============";
    MainWindow *window = new MainWindow;
    window->show();
    if (!photos.isEmpty())
        QTimer::singleShot(0, window, [window, photos] { openCommandLinePhotos(window, photos); });
    const int code = app.exec();
    delete window;
    return code;
}
