#include "arguments.h"

#include "masknames.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cstdio>

namespace {

QString inFolder(const QString &folder, const std::string &fileName)
{
    return QDir(folder).filePath(QString::fromStdString(fileName));
}

const char *const kDescription =
    "Erases from each photo what its mask marks (every pixel that is not black),\n"
    "filling it from the photo itself. A donor, if given, marks (not black) where\n"
    "the fill may come from. The pixels next to the mask change too.\n"
    "\n"
    "  mervane-erase [options] PHOTO MASK OUTPUT\n"
    "  mervane-erase [options] --masks DIR --output DIR PHOTO...\n"
    "\n"
    "In the batch form, photo NAME.EXT takes its mask from DIR/NAME.mask.png and its\n"
    "donor, if there is one, from DIR/NAME.donor.png; the result keeps the photo's\n"
    "name and format in the output folder.\n"
    "\n"
    "The result keeps the photo's EXIF, XMP and IPTC metadata and its colour\n"
    "profile wherever its format holds them (JPEG, PNG, TIFF; WebP, HEIC and AVIF\n"
    "all but IPTC), with Orientation 1 (the pixels are written upright) and\n"
    "without the EXIF preview thumbnail, which would still show what was erased.\n"
    "A 16-bit PNG or TIFF stays 16-bit where the output format holds it (PNG,\n"
    "TIFF); alpha is kept outside the hole where it can be (PNG, TIFF, WebP).\n"
    "\n"
    "Exit codes:\n"
    "  0  every photo was erased and written\n"
    "  1  usage error\n"
    "  2  refused before any work: unreadable or damaged input, sizes differ, empty\n"
    "     mask, output not writable, a folder, or no encoder for the image\n"
    "  3  the erase or the write failed: nothing written, the original untouched\n"
    "  4  batch: at least one photo failed while the others were written";

struct Options
{
    QCommandLineOption donor{"donor", "Donor image: where the fill may come from.", "DONOR"};
    QCommandLineOption masks{"masks", "Batch: folder of the masks and donors.", "DIR"};
    QCommandLineOption output{"output", "Batch: folder the results are written to.", "DIR"};
    QCommandLineOption quiet{"quiet", "No progress and no notes; errors only."};
    QCommandLineOption quality{"quality",
                               "Quality 0..100 of lossy formats (JPEG 95, WebP lossless, HEIC and AVIF 90"
                               " by default).",
                               "Q"};
    QCommandLineOption stripMetadata{"strip-metadata",
                                     "Write no metadata: no EXIF, XMP, IPTC or colour profile."};
};

void setUp(QCommandLineParser &parser, const Options &options)
{
    parser.setApplicationDescription(QString::fromLatin1(kDescription));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({options.donor, options.masks, options.output, options.quiet, options.quality,
                       options.stripMetadata});
    parser.addPositionalArgument("PHOTO", "The photo to erase from (batch: one or more).");
    parser.addPositionalArgument("MASK", "Single form: the mask.");
    parser.addPositionalArgument("OUTPUT", "Single form: the file to write.");
}

// A value that looks like an option is an option forgotten after --donor.
bool looksLikeOption(const QString &value)
{
    return value.startsWith('-') && value.size() > 1;
}

ParseOutcome fail(QString &message, const QString &why)
{
    message = why + " (see --help)";
    return ParseOutcome::UsageError;
}

ParseOutcome readSingle(const QCommandLineParser &parser, const Options &options, EraseRequest &request,
                        QString &message)
{
    const QStringList paths = parser.positionalArguments();
    if (paths.size() != 3)
        return fail(message, paths.size() < 3 ? "PHOTO, MASK and OUTPUT are required" : "too many arguments");
    EraseItem item{paths[0], paths[1], parser.value(options.donor), paths[2], paths[0]};
    if (parser.isSet(options.donor) && (item.donor.isEmpty() || looksLikeOption(item.donor)))
        return fail(message, "--donor needs a file name, not an option");
    request.items.push_back(item);
    return ParseOutcome::Run;
}

ParseOutcome readBatch(const QCommandLineParser &parser, const Options &options, EraseRequest &request,
                       QString &message)
{
    request.batch = true;
    request.masksFolder = parser.value(options.masks);
    request.outputFolder = parser.value(options.output);
    if (!parser.isSet(options.masks) || !parser.isSet(options.output))
        return fail(message, "the batch form needs both --masks DIR and --output DIR");
    if (looksLikeOption(request.masksFolder) || looksLikeOption(request.outputFolder))
        return fail(message, "--masks and --output need a folder, not an option");
    if (parser.isSet(options.donor))
        return fail(message, "--donor is for one photo; in a batch donors are found by name");
    if (parser.positionalArguments().isEmpty())
        return fail(message, "no photo given");
    for (const QString &photo : parser.positionalArguments()) {
        const QString fileName = QFileInfo(photo).fileName();
        const std::string photoPath = photo.toStdString();
        const QString donor = inFolder(request.masksFolder, photoio::donorNameFor(photoPath));
        request.items.push_back({photo, inFolder(request.masksFolder, photoio::maskNameFor(photoPath)),
                                 QFileInfo::exists(donor) ? donor : QString(),
                                 QDir(request.outputFolder).filePath(fileName), fileName});
    }
    return ParseOutcome::Run;
}

} // namespace


ParseOutcome parseArguments(const QStringList &arguments, EraseRequest &request, QString &message)
{
    QCommandLineParser parser;
    const Options options;
    setUp(parser, options);
    if (!parser.parse(arguments))
        return fail(message, parser.errorText());
    if (parser.isSet("help")) {
        // The usage line names the program, not the path it was started by.
        QString help = parser.helpText();
        help.replace(QRegularExpression("^Usage: \\S+"), "Usage: mervane-erase");
        std::fputs(qPrintable(help), stdout);
        return ParseOutcome::Exit;
    }
    if (parser.isSet("version")) {
        std::printf("mervane-erase %s\n", MERVANE_VERSION);
        return ParseOutcome::Exit;
    }
    request.quiet = parser.isSet(options.quiet);
    const bool batch = parser.isSet(options.masks) || parser.isSet(options.output);
    int quality = -1;
    if (parser.isSet(options.quality)) {
        bool number = false;
        quality = parser.value(options.quality).toInt(&number);
        if (!number || quality < 0 || quality > 100)
            return fail(message, "--quality needs a number from 0 to 100");
    }
    const ParseOutcome outcome =
        batch ? readBatch(parser, options, request, message) : readSingle(parser, options, request, message);
    for (EraseItem &item : request.items) {
        item.stripMetadata = parser.isSet(options.stripMetadata);
        item.quality = quality;
    }
    return outcome;
}
