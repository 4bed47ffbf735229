#ifndef PATHBYTES_H
#define PATHBYTES_H

#include <QFile>
#include <QString>
#include <string>

// The bytes of a path as the file system knows them, for the image library.
// QFile's own encoding is the exact inverse of how the toolkit decoded the
// name from the file system, so any name a dialog or a drop gave us reaches
// the decoder intact, whatever the characters.
inline std::string pathBytes(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

#endif // PATHBYTES_H
