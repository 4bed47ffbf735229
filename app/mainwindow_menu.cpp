// Drop-down menu, languages, the link table and the first-run tutorial.
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "globals.h"
#include "settingsstore.h"
#include "skin.h"
#include "studydialog.h"

#include <QAction>
#include <QApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDomDocument>
#include <QFile>
#include <QMenu>
#include <QSettings>
#include <QUrl>

namespace {

// The two hosts of the program's web site. A link table edited to send the
// user anywhere else is not followed.
const char *const kLinkHosts[] = {"www.mervane.app", "support.mervane.app"};

// The key rule of every link command: the current language's key if the
// table has it, else the English one. Returns the index into the lists, or -1.
int linkIndex(const QString &tag)
{
    int index = g_linkKeys.indexOf(g_language + tag);
    if (index < 0)
        index = g_linkKeys.indexOf(QStringLiteral("EN") + tag);
    return index < g_linkValues.size() ? index : -1;
}

void openLink(const QString &value)
{
    QDesktopServices::openUrl(QUrl(value));
}

} // namespace

// ---------------------------------------------------------------- start-up

void MainWindow::loadLinks()
{
    QFile file(QStringLiteral("configlink.xml"));
    if (!file.open(QIODevice::ReadOnly))
        return;
    QDomDocument document;
    if (!document.setContent(&file)) {
        file.close();
        return;
    }
    file.close();
    // Root, groups (names not looked at), links: key = title + tag, value = text.
    const QDomElement root = document.documentElement();
    for (QDomNode group = root.firstChild(); !group.isNull(); group = group.nextSibling()) {
        const QDomElement groupElement = group.toElement();
        for (QDomNode link = groupElement.firstChild(); !link.isNull(); link = link.nextSibling()) {
            const QDomElement element = link.toElement();
            if (element.isNull())
                continue; // a comment or stray text between links
            g_linkKeys.append(element.attribute(QStringLiteral("title")) + element.tagName());
            g_linkValues.append(element.text());
        }
    }
}

void MainWindow::loadLanguages()
{
    m_appDir = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    QSettings table(m_appDir + QStringLiteral("Lang/Lang_config.ini"), QSettings::IniFormat);
    m_langCodes = table.allKeys();
    m_langNames.clear();
    for (const QString &code : qAsConst(m_langCodes))
        m_langNames.append(table.value(code).toString());
}

void MainWindow::setTopRightUI()
{
    QFont font;
    font.setPixelSize(qMax(1, Skin::scaled(14)));

    m_topMenu = ui->pushButton_dropdown->getMenu();
    m_topMenu->setFont(font);
    m_websiteAction = m_topMenu->addAction(tr("Website..."));
    m_websiteAction->setFont(font);
    m_supportAction = m_topMenu->addAction(tr("Technical support..."));
    m_supportAction->setFont(font);

    // Built in full and deliberately attached to nothing: the program starts
    // in English every time, with the language machinery kept ready behind.
    m_languageMenu = new QMenu(tr("Language"));
    m_languageMenu->setStyleSheet(Skin::menuSheet());
    m_languageMenu->setFont(font);
    connect(m_languageMenu, &QMenu::triggered, this, &MainWindow::onMenu_1_Triggered);
    for (const QString &name : qAsConst(m_langNames))
        m_languageMenu->addAction(name);

    m_tutorialAction = m_topMenu->addAction(tr("Tutorial..."));
    m_tutorialAction->setFont(font);

    connect(m_websiteAction, &QAction::triggered, this, &MainWindow::open_web);
    connect(m_supportAction, &QAction::triggered, this, &MainWindow::open_tech);
    connect(m_tutorialAction, &QAction::triggered, this, &MainWindow::open_tutorial);
}

// ---------------------------------------------------------------- saving

void MainWindow::addSaveSettings(const QFont &font)
{
    m_topMenu->addSeparator();
    m_stripMetadataAction = m_topMenu->addAction(QString());
    m_stripMetadataAction->setFont(font);
    m_stripMetadataAction->setCheckable(true);
    m_stripMetadataAction->setChecked(stripMetadataSetting());
    // Kept at once, so that a crash or another window sees the choice.
    connect(m_stripMetadataAction, &QAction::toggled, this, &MainWindow::setStripMetadataSetting);
    m_saveQualityAction = m_topMenu->addAction(QString());
    m_saveQualityAction->setFont(font);
    connect(m_saveQualityAction, &QAction::triggered, this, &MainWindow::chooseSaveQuality);
    retranslateSaveSettings();
}

void MainWindow::retranslateSaveSettings()
{
    if (m_stripMetadataAction)
        m_stripMetadataAction->setText(tr("Save Without Metadata"));
    if (m_saveQualityAction)
        m_saveQualityAction->setText(tr("Quality of Saved Photos..."));
}

// ---------------------------------------------------------------- language

void MainWindow::onMenu_1_Triggered(QAction *action)
{
    if (!action)
        return;
    // Equal display names resolve to the first code that carries the name.
    const int index = m_langNames.indexOf(action->text());
    if (index < 0 || index >= m_langCodes.size())
        return;
    const QString code = m_langCodes.at(index);
    const QString path = m_appDir + QStringLiteral("Lang/lang_") + code + QStringLiteral(".qm");
    g_language = code;

    QCoreApplication::removeTranslator(&m_translator);
    // A missing file leaves the translator empty: the English texts show.
    m_translator.load(path);
    QCoreApplication::installTranslator(&m_translator);

    ui->retranslateUi(this);
    retranslateTexts();
    // The form's placeholder would otherwise stand where the zoom is shown.
    updateScaleLabel();
}

// ---------------------------------------------------------------- links

bool MainWindow::isAllowedLinkHost(const QString &url)
{
    for (const char *host : kLinkHosts) {
        if (url.contains(QLatin1String(host), Qt::CaseSensitive)) {
            qDebug() << "url=" << url << " true";
            return true;
        }
    }
    return false;
}

void MainWindow::open_web()
{
    const int index = linkIndex(QStringLiteral("Website"));
    if (index >= 0 && isAllowedLinkHost(g_linkValues.at(index)))
        openLink(g_linkValues.at(index));
}

void MainWindow::open_tech()
{
    const int index = linkIndex(QStringLiteral("Support"));
    if (index >= 0 && isAllowedLinkHost(g_linkValues.at(index)))
        openLink(g_linkValues.at(index));
}

void MainWindow::open_update()
{
    const int index = linkIndex(QStringLiteral("Website"));
    if (index >= 0)
        openLink(g_linkValues.at(index));
}

void MainWindow::open_about()
{
    // Decided by the about key, but the help page of the same language opens.
    QString language;
    if (g_linkKeys.contains(g_language + QStringLiteral("AboutLink")))
        language = g_language;
    else if (g_linkKeys.contains(QStringLiteral("ENAboutLink")))
        language = QStringLiteral("EN");
    else
        return;
    const int index = g_linkKeys.indexOf(language + QStringLiteral("HelpLink"));
    if (index >= 0 && index < g_linkValues.size())
        openLink(g_linkValues.at(index));
}

// ---------------------------------------------------------------- tutorial

void MainWindow::open_tutorial()
{
    if (!m_studyDialog)
        return;
    const QPoint corner = ui->pushButton_select_photo->mapToGlobal(QPoint(0, 0));
    m_studyDialog->move(corner.x() - m_studyDialog->width() / 3, corner.y() - m_studyDialog->height() / 3);
    m_studyDialog->show();
}

void MainWindow::displayTutorial()
{
    using SettingsStore::Root;
    const QString key = QStringLiteral("Initializtion");
    if (SettingsStore::read(Root::Tutorial, key) == QLatin1String("1"))
        return;
    if (m_studyDialog) {
        m_studyDialog->move(ui->label_title->mapToGlobal(QPoint(0, 0)) + QPoint(50, 50));
        m_studyDialog->show();
    }
    // Written at once: the store holds it from this moment.
    SettingsStore::write(Root::Tutorial, key, QStringLiteral("1"));
}
