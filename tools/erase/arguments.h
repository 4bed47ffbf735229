#ifndef MERVANE_ERASE_ARGUMENTS_H
#define MERVANE_ERASE_ARGUMENTS_H

// The command line of mervane-erase, read with QCommandLineParser.

#include <QString>
#include <QStringList>

#include <vector>

// The tool's exit codes, as --help lists them.
enum class ExitCode : int
{
    Done = 0,         // every photo erased and written
    Usage = 1,        // the command line is wrong
    Refused = 2,      // refused before any work; nothing written
    Failed = 3,       // the erase or the write failed; nothing written
    PartlyFailed = 4, // batch: some photos failed, the others were written
};

// One photo to erase: its inputs and where the result goes.
struct EraseItem
{
    QString photo;
    QString mask;
    QString donor; // empty: no donor
    QString output;
    QString name;  // how messages name this photo
    bool stripMetadata = false; // write no EXIF, XMP, IPTC or profile
    int quality = -1;           // 0..100 for JPEG, WebP, HEIC, AVIF; -1: each format's default
};

struct EraseRequest
{
    std::vector<EraseItem> items;
    bool batch = false;
    bool quiet = false;
    QString outputFolder; // batch only
    QString masksFolder;  // batch only
};

enum class ParseOutcome
{
    Run,
    Exit,       // --help or --version was shown
    UsageError, // `message` says why
};

// Reads `arguments` (argv, program name first) into `request`.
ParseOutcome parseArguments(const QStringList &arguments, EraseRequest &request, QString &message);

#endif // MERVANE_ERASE_ARGUMENTS_H
