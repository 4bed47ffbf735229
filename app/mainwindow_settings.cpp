// The per-user settings store behind setReg and readReg, and the tutorial's
// first-run key beside it.
#include "mainwindow.h"
#include "globals.h"
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
