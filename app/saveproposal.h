#ifndef SAVEPROPOSAL_H
#define SAVEPROPOSAL_H

#include <QString>

// What the save dialog proposes for a photo, kept apart from the dialog so
// that each rule is one function.
namespace SaveProposal {

// The formats the save dialog offers.
QString filter();

// The file name without its last suffix; a name with no dot stays whole.
QString baseName(const QString &fileName);

// Folder, "/", base, "_Copy": no suffix, the dialog's filter supplies it.
QString proposedPath(const QString &saveDir, const QString &fileName);

// Short name of the filter for a suffix, compared exactly (so "JPG" in
// capitals is not known and gives "PNG", like any unknown suffix).
QString filterNameFor(const QString &suffix);

// The suffix a name takes when typed without one, for a filter given as a
// whole entry ("JPEG(*.jpg ...)") or as the short name of one: the entry's
// first extension, except that the portable maps take the colour one (ppm).
// Empty if the filter is not known.
QString defaultSuffixOf(const QString &selectedFilter);

} // namespace SaveProposal

#endif // SAVEPROPOSAL_H
