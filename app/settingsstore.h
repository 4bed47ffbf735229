#ifndef SETTINGSSTORE_H
#define SETTINGSSTORE_H

#include <QString>

// The per-user settings store: two roots, one for the first-run tutorial and
// one for the program's settings, each a QSettings of the user's own with an
// organisation and an application name (on Linux a file below the user's
// configuration folder). Nothing is written to the working directory.
//
// Keys and values are bounded to kMaxBytes bytes of UTF-8, the size of the
// fixed text buffers the program has always used for them. A key over the
// bound is never stored or read; a value over it is not stored either, and
// the key is removed, so that a cut-off path never comes back as a folder.
namespace SettingsStore {

enum class Root { Tutorial, Settings };

constexpr int kMaxBytes = 127;

// Organisation and application names of a root, chosen by g_brand.
QString organisation();
QString application(Root root);

bool fitsBound(const QString &text);

// Reading a missing key, or one over the bound, gives an empty string.
QString read(Root root, const QString &key);
void write(Root root, const QString &key, const QString &value);

} // namespace SettingsStore

#endif // SETTINGSSTORE_H
