#include "mainwindow.h"
#include "waitpolicy.h"

#include <QApplication>
#include <QDebug>
#include <QFontDatabase>

int main(int argc, char *argv[])
{
    restartWithPassiveWaitPolicy(argv);
    qDebug() << "===========";
    QApplication app(argc, argv);
    qDebug() << "start ...............";
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
    const int code = app.exec();
    delete window;
    return code;
}
