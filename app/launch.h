#ifndef MERVANE_LAUNCH_H
#define MERVANE_LAUNCH_H

// Start-up from outside the run folder: photos named on the command line and
// the folder the program reads its data from.
//
// The program reads ./font, ./rec and configlink.xml relative to its working
// folder. A build keeps them beside the executable (build/run/); an install
// keeps them in share/mervane/, two levels up from the executable in
// lib/mervane/ (bin/mervane links there). So main() turns every photo
// argument into an absolute path first and then changes into that folder,
// whatever folder it was started from, and wherever the tree was installed.

#include "mainwindow.h"

#include <QDir>
#include <QFileInfo>
#include <QListWidget>
#include <QString>
#include <QStringList>

// The photos named on the command line (the arguments left after the toolkit
// took its own), made absolute against the folder the program was started
// from. Options are skipped; after "--" every argument is a photo.
inline QStringList photoArguments(const QStringList &arguments, const QString &startFolder)
{
    QStringList photos;
    const QDir base(startFolder);
    bool optionsEnded = false;
    for (int i = 1; i < arguments.size(); ++i) {
        const QString &arg = arguments.at(i);
        if (!optionsEnded && arg == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        if (!optionsEnded && arg.startsWith(QLatin1Char('-')))
            continue;
        if (arg.isEmpty())
            continue;
        photos.append(QDir::cleanPath(base.absoluteFilePath(arg)));
    }
    return photos;
}

// The folder that holds the program's data for an executable in appDir: the
// executable's own folder in a build, share/mervane in an install. Empty if
// neither holds the fonts (then the working folder stays as it is).
inline QString dataFolderFor(const QString &appDir)
{
    const QString candidates[] = {appDir, appDir + QStringLiteral("/../../share/mervane")};
    for (const QString &folder : candidates) {
        if (QFileInfo(folder + QStringLiteral("/font")).isDir())
            return QDir::cleanPath(QDir(folder).absolutePath());
    }
    return QString();
}

// Opens the photos as the open dialog would, one after the other (an
// unreadable one gets the usual warning and the rest go on), then shows the
// first one that opened, as opening it left it.
inline void openCommandLinePhotos(MainWindow *window, const QStringList &photos)
{
    QListWidget *list = window->findChild<QListWidget *>(QStringLiteral("listWidget"));
    const int before = list ? list->count() : 0;
    for (const QString &path : photos)
        window->openPhoto(path);
    if (list && list->count() > before + 1)
        window->showAsOpened(before);
}

#endif // MERVANE_LAUNCH_H
