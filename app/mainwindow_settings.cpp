// The per-user settings store. The keys are those of the desktop platform
// the program was first made for; here any per-user store with the same keys
// serves, so the toolkit's own native store is used, under the same roots.
#include "mainwindow.h"
#include "globals.h"

#include <QSettings>

namespace {

QString vendor()
{
    return g_brand == 1 ? QStringLiteral("Tesselin") : QStringLiteral("Corvanto");
}

} // namespace

void MainWindow::setReg(const QString &key, const QString &value)
{
    QSettings settings(vendor(), QStringLiteral("Pellumar"));
    settings.setValue(key, value);
}

QString MainWindow::readReg(const QString &key)
{
    QSettings settings(vendor(), QStringLiteral("Pellumar"));
    return settings.value(key).toString();
}
