// The per-user settings store behind setReg and readReg, and the tutorial's
// first-run key beside it; the settings of a window save.
#include "mainwindow.h"
#include "globals.h"
#include "photoitem.h"
#include "settingsstore.h"

#include <QSettings>

namespace SettingsStore {

QString organisation()
{
    return g_brand == 1 ? QStringLiteral("Tesselin") : QStringLiteral("Corvanto");
}

QString application(Root root)
{
    if (root == Root::Tutorial)
        return organisation() + QStringLiteral(" Mervane");
    return QStringLiteral("Pellumar");
}

bool fitsBound(const QString &text)
{
    return text.toUtf8().size() <= kMaxBytes;
}

QString read(Root root, const QString &key)
{
    if (key.isEmpty() || !fitsBound(key))
        return QString();
    // Opened for the one operation, as every use of the store is.
    QSettings settings(organisation(), application(root));
    return settings.value(key).toString();
}

void write(Root root, const QString &key, const QString &value)
{
    if (key.isEmpty() || !fitsBound(key))
        return;
    QSettings settings(organisation(), application(root));
    if (fitsBound(value))
        settings.setValue(key, value);
    else
        settings.remove(key);
    settings.sync();
}

} // namespace SettingsStore

void MainWindow::setReg(const QString &key, const QString &value)
{
    SettingsStore::write(SettingsStore::Root::Settings, key, value);
}

QString MainWindow::readReg(const QString &key)
{
    return SettingsStore::read(SettingsStore::Root::Settings, key);
}

// ---------------------------------------------------------------- saving

namespace {

const char *const kStripMetadataKey = "stripMetadata";
const char *const kSaveQualityKey = "saveQuality";

} // namespace

bool MainWindow::stripMetadataSetting()
{
    return SettingsStore::read(SettingsStore::Root::Settings, QLatin1String(kStripMetadataKey))
           == QLatin1String("1");
}

void MainWindow::setStripMetadataSetting(bool strip)
{
    setReg(QLatin1String(kStripMetadataKey), strip ? QStringLiteral("1") : QStringLiteral("0"));
}

int MainWindow::saveQualitySetting()
{
    // Anything but a quality of 1 to 100 (a value edited by hand) is the
    // formats' own default.
    bool number = false;
    const int quality =
        SettingsStore::read(SettingsStore::Root::Settings, QLatin1String(kSaveQualityKey)).toInt(&number);
    return number && quality >= 1 && quality <= 100 ? quality : 0;
}

void MainWindow::setSaveQualitySetting(int quality)
{
    setReg(QLatin1String(kSaveQualityKey), QString::number(quality >= 1 && quality <= 100 ? quality : 0));
}

SaveSettings MainWindow::saveSettings() const
{
    // Read from the store at every save, as every setting is.
    SaveSettings settings;
    settings.keepMetadata = !stripMetadataSetting();
    if (const int quality = saveQualitySetting())
        settings.encode.jpegQuality = settings.encode.webpQuality = settings.encode.heifQuality = quality;
    return settings;
}
