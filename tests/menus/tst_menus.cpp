// The drop-down menu, the link table, the language switch and the first-run
// tutorial, on the real main window. Links are caught by URL handlers, so no
// browser opens; the settings store lives in a temporary folder.

#include "globals.h"
#include "mainwindow.h"
#include "qmenubutton.h"
#include "skin.h"
#include "studydialog.h"
#include "ui_mainwindow.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>

#include <memory>

// Stands in for the browser: records every address the program hands over.
class UrlCatcher : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened.append(url); }
};

namespace {

const QString kLinks = QStringLiteral(
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<table>\n"
    "  <first>\n"
    "    <Website title=\"EN\">https://www.mervane.app/en/</Website>\n"
    "    <Support title=\"EN\">https://support.mervane.app/en/</Support>\n"
    "    <UserGuide title=\"EN\">https://www.mervane.app/guide/</UserGuide>\n"
    "    <HelpLink title=\"EN\">https://support.mervane.app/help/</HelpLink>\n"
    "    <AboutLink title=\"EN\">https://www.mervane.app/about/</AboutLink>\n"
    "  </first>\n"
    "</table>\n");

StudyDialog *tutorialOf()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *dialog = qobject_cast<StudyDialog *>(w))
            return dialog;
    return nullptr;
}

QMenu *languageMenu()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *menu = qobject_cast<QMenu *>(w))
            if (menu->title() == QLatin1String("Language"))
                return menu;
    return nullptr;
}

void clearFirstRunKey()
{
    QSettings store(QStringLiteral("Tesselin"), QStringLiteral("Tesselin Mervane"));
    store.clear();
    store.sync();
}

} // namespace

class TestMenus : public QObject
{
    Q_OBJECT

    QString m_runDir;
    QTemporaryDir m_work;
    UrlCatcher m_catcher;

    // Runs the loader over `xml` written as configlink.xml in a scratch folder.
    void loadTable(MainWindow &window, const QString &xml)
    {
        QDir::setCurrent(m_work.path());
        QFile::remove(QStringLiteral("configlink.xml"));
        if (!xml.isNull()) {
            QFile file(QStringLiteral("configlink.xml"));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(xml.toUtf8());
        }
        g_linkKeys.clear();
        g_linkValues.clear();
        window.loadLinks();
        QDir::setCurrent(m_runDir);
    }

    std::unique_ptr<MainWindow> makeWindow()
    {
        auto window = std::make_unique<MainWindow>();
        QCoreApplication::processEvents(); // the queued first-run check
        return window;
    }

private slots:
    void initTestCase()
    {
        Skin::init();
        m_runDir = QDir::currentPath();
        QVERIFY(m_work.isValid());
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &m_catcher, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("http"), &m_catcher, "open");
    }

    void cleanupTestCase()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    }

    void init()
    {
        m_catcher.opened.clear();
        g_language = QStringLiteral("EN");
        QDir::setCurrent(m_runDir);
    }

    // ------------------------------------------------------------ tutorial

    void firstStartShowsTheTutorialOnce()
    {
        clearFirstRunKey();
        {
            auto window = makeWindow();
            StudyDialog *tutorial = tutorialOf();
            QVERIFY(tutorial);
            QVERIFY(tutorial->isVisible());
            const QPoint expected = window->form()->label_title->mapToGlobal(QPoint(0, 0)) + QPoint(50, 50);
            QCOMPARE(tutorial->pos(), expected);
            QSettings store(QStringLiteral("Tesselin"), QStringLiteral("Tesselin Mervane"));
            QCOMPARE(store.value(QStringLiteral("Initializtion")).toString(), QStringLiteral("1"));
        }
        QVERIFY(!tutorialOf()); // ended with its window

        // The second start: no tutorial by itself, the menu entry still shows it.
        auto window = makeWindow();
        StudyDialog *tutorial = tutorialOf();
        QVERIFY(tutorial);
        QVERIFY(!tutorial->isVisible());
        window->open_tutorial();
        QVERIFY(tutorial->isVisible());
        const QPoint corner = window->form()->pushButton_select_photo->mapToGlobal(QPoint(0, 0));
        QCOMPARE(tutorial->pos(), corner - QPoint(tutorial->width() / 3, tutorial->height() / 3));
    }

    void deletingTheKeyBringsTheTutorialBack()
    {
        clearFirstRunKey();
        makeWindow(); // a first start, over at once
        {
            auto window = makeWindow();
            QVERIFY(tutorialOf() && !tutorialOf()->isVisible());
        }
        clearFirstRunKey();
        auto window = makeWindow();
        QVERIFY(tutorialOf() && tutorialOf()->isVisible());
    }

    void tutorialMenuEntryShowsTheSameDialog()
    {
        auto window = makeWindow();
        StudyDialog *tutorial = tutorialOf();
        QVERIFY(tutorial);
        tutorial->hide();
        QMenu *menu = window->form()->pushButton_dropdown->getMenu();
        menu->actions().at(2)->trigger();
        QVERIFY(tutorial->isVisible());
        tutorial->hide();
        menu->actions().at(2)->trigger();
        QCOMPARE(tutorialOf(), tutorial);
        QVERIFY(tutorial->isVisible());
    }

    void missingLinkTableGivesABareTutorialLine()
    {
        QDir::setCurrent(m_work.path());
        QFile::remove(QStringLiteral("configlink.xml"));
        g_linkKeys.clear();
        g_linkValues.clear();
        auto window = makeWindow();
        QDir::setCurrent(m_runDir);
        QVERIFY(g_linkKeys.isEmpty());
        auto *line = tutorialOf()->findChild<QLabel *>(QStringLiteral("label_7"));
        QVERIFY(line);
        QCOMPARE(line->text(), QStringLiteral("<a  style='color: #f09c0b;' href=\"\">  Visit text tutorial here"));
    }

    // ------------------------------------------------------------ menu

    void menuHasLinksThenEditingAndNoLanguage()
    {
        auto window = makeWindow();
        QMenu *menu = window->form()->pushButton_dropdown->getMenu();
        const QList<QAction *> actions = menu->actions();
        QCOMPARE(actions.size(), 12);
        QCOMPARE(actions.at(0)->text(), QStringLiteral("Website..."));
        QCOMPARE(actions.at(1)->text(), QStringLiteral("Technical support..."));
        QCOMPARE(actions.at(2)->text(), QStringLiteral("Tutorial..."));
        QVERIFY(actions.at(3)->isSeparator());
        QCOMPARE(actions.at(4)->text(), QStringLiteral("Load Mask..."));
        QCOMPARE(actions.at(5)->text(), QStringLiteral("Save Mask..."));
        QCOMPARE(actions.at(6)->text(), QStringLiteral("Grow Selection"));
        QCOMPARE(actions.at(7)->text(), QStringLiteral("Shrink Selection"));
        QCOMPARE(actions.at(8)->text(), QStringLiteral("Another Fill"));
        QVERIFY(actions.at(9)->isSeparator());
        QCOMPARE(actions.at(10)->text(), QStringLiteral("Save Without Metadata"));
        QCOMPARE(actions.at(11)->text(), QStringLiteral("Quality of Saved Photos..."));
        for (QAction *action : actions) {
            if (action->isSeparator())
                continue;
            QVERIFY(!action->menu());
            QCOMPARE(action->font().pixelSize(), 14);
        }
        QCOMPARE(menu->font().pixelSize(), 14);
        // Built, styled, and reachable from nowhere.
        QMenu *languages = languageMenu();
        QVERIFY(languages);
        QVERIFY(!languages->parent());
        QVERIFY(languages->styleSheet().contains(QStringLiteral("rgb(240,156,11)")));
        QCOMPARE(languages->font().pixelSize(), 14);
    }

    // Every entry lies inside the menu as it pops up: none is cut off at
    // the bottom or the side, whatever the entries' fonts and check marks.
    void everyEntryFitsInTheShownMenu()
    {
        auto window = makeWindow();
        QMenu *menu = window->form()->pushButton_dropdown->getMenu();
        menu->popup(QPoint(0, 0));
        QVERIFY(QTest::qWaitForWindowExposed(menu));
        for (QAction *action : menu->actions()) {
            const QRect place = menu->actionGeometry(action);
            QVERIFY2(menu->rect().contains(place),
                     qPrintable(QString("%1 at %2,%3 %4x%5 outside %6x%7")
                                    .arg(action->text())
                                    .arg(place.x()).arg(place.y()).arg(place.width()).arg(place.height())
                                    .arg(menu->width()).arg(menu->height())));
        }
        menu->hide();
    }

    void menuEntriesOpenTheirPages()
    {
        auto window = makeWindow();
        loadTable(*window, kLinks);
        QMenu *menu = window->form()->pushButton_dropdown->getMenu();
        menu->actions().at(0)->trigger();
        menu->actions().at(1)->trigger();
        QCOMPARE(m_catcher.opened,
                 (QList<QUrl>{QUrl(QStringLiteral("https://www.mervane.app/en/")),
                              QUrl(QStringLiteral("https://support.mervane.app/en/"))}));
    }

    // ------------------------------------------------------------ link table

    void englishTitlesHitDirectly()
    {
        auto window = makeWindow();
        loadTable(*window, kLinks);
        QCOMPARE(g_linkKeys, (QStringList{QStringLiteral("ENWebsite"), QStringLiteral("ENSupport"),
                                          QStringLiteral("ENUserGuide"), QStringLiteral("ENHelpLink"),
                                          QStringLiteral("ENAboutLink")}));
        QCOMPARE(g_linkValues.at(2), QStringLiteral("https://www.mervane.app/guide/"));
        window->open_web();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://www.mervane.app/en/"))});
    }

    void otherLanguageFallsBackToEnglish()
    {
        auto window = makeWindow();
        loadTable(*window, kLinks);
        g_language = QStringLiteral("DE");
        window->open_tech();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://support.mervane.app/en/"))});
    }

    void ownLanguageComesFirst()
    {
        auto window = makeWindow();
        loadTable(*window, QStringLiteral("<r><g><Website title=\"EN\">https://www.mervane.app/en/</Website>"
                                          "<Website title=\"DE\">https://www.mervane.app/de/</Website></g></r>"));
        g_language = QStringLiteral("DE");
        window->open_web();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://www.mervane.app/de/"))});
    }

    void firstOfTwoEqualKeysWins()
    {
        auto window = makeWindow();
        loadTable(*window, QStringLiteral("<r><a><Website title=\"EN\">https://www.mervane.app/one/</Website></a>"
                                          "<b><Website title=\"EN\">https://www.mervane.app/two/</Website></b></r>"));
        QCOMPARE(g_linkKeys.size(), 2);
        window->open_web();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://www.mervane.app/one/"))});
    }

    void nestedElementsGiveTheirConcatenatedText()
    {
        const QString xml = QStringLiteral(
            "<r><g><Website title=\"EN\">https://www.<b>mervane</b>.app/<i>x<u>y</u></i>/</Website></g></r>");
        auto window = makeWindow();
        loadTable(*window, xml);
        QDomDocument document;
        QVERIFY(document.setContent(xml));
        const QString expected = document.documentElement().firstChildElement().firstChildElement().text();
        QCOMPARE(expected, QStringLiteral("https://www.mervane.app/xy/"));
        QCOMPARE(g_linkValues, QStringList{expected});
        window->open_web();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(expected)});
    }

    void linkWithoutTitleIsKeyedByItsTag()
    {
        auto window = makeWindow();
        loadTable(*window, QStringLiteral("<r><g><Website>https://www.mervane.app/</Website></g></r>"));
        QCOMPARE(g_linkKeys, QStringList{QStringLiteral("Website")});
        window->open_web();
        QVERIFY(m_catcher.opened.isEmpty());
    }

    void missingOrBrokenTableLeavesTheListsEmpty_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::newRow("missing") << QString();
        QTest::newRow("malformed") << QStringLiteral("<r><g><Website title=\"EN\">https://www.mervane.app/</g>");
        QTest::newRow("empty") << QStringLiteral("");
    }

    void missingOrBrokenTableLeavesTheListsEmpty()
    {
        QFETCH(QString, xml);
        auto window = makeWindow();
        loadTable(*window, xml);
        QVERIFY(g_linkKeys.isEmpty());
        QVERIFY(g_linkValues.isEmpty());
        window->open_web();
        window->open_tech();
        window->open_update();
        window->open_about();
        QVERIFY(m_catcher.opened.isEmpty());
    }

    void foreignHostIsNotOpened()
    {
        auto window = makeWindow();
        loadTable(*window, QStringLiteral("<r><g>"
                                          "<Website title=\"EN\">https://elsewhere.example/</Website>"
                                          "<Support title=\"EN\">http://WWW.MERVANE.APP/</Support>"
                                          "</g></r>"));
        window->open_web();
        window->open_tech(); // the host test is case-sensitive
        QVERIFY(m_catcher.opened.isEmpty());
        QVERIFY(!MainWindow::isAllowedLinkHost(QStringLiteral("https://mervane.app/")));
        QVERIFY(MainWindow::isAllowedLinkHost(QStringLiteral("https://www.mervane.app/")));
        QVERIFY(MainWindow::isAllowedLinkHost(QStringLiteral("https://support.mervane.app/x")));
    }

    void updateHasNoHostTest()
    {
        auto window = makeWindow();
        loadTable(*window, QStringLiteral("<r><g><Website title=\"EN\">https://elsewhere.example/</Website></g></r>"));
        window->open_update();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://elsewhere.example/"))});
    }

    void aboutDecidesByAboutButOpensHelp()
    {
        auto window = makeWindow();
        loadTable(*window,
                  QStringLiteral("<r><g><AboutLink title=\"DE\">https://www.mervane.app/de/about/</AboutLink>"
                                 "<HelpLink title=\"DE\">https://support.mervane.app/de/help/</HelpLink>"
                                 "<HelpLink title=\"EN\">https://support.mervane.app/help/</HelpLink></g></r>"));
        g_language = QStringLiteral("DE");
        window->open_about();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://support.mervane.app/de/help/"))});

        // English has a help page but no about key: nothing opens.
        m_catcher.opened.clear();
        g_language = QStringLiteral("EN");
        window->open_about();
        QVERIFY(m_catcher.opened.isEmpty());
    }

    void aboutFallsBackToEnglish()
    {
        auto window = makeWindow();
        loadTable(*window, kLinks);
        g_language = QStringLiteral("FR");
        window->open_about();
        QCOMPARE(m_catcher.opened, QList<QUrl>{QUrl(QStringLiteral("https://support.mervane.app/help/"))});
    }

    // ------------------------------------------------------------ languages

    void equalDisplayNamesPickTheFirstCode()
    {
        // The language table and the compiled German beside this program.
        const QString langDir = QCoreApplication::applicationDirPath() + QStringLiteral("/Lang");
        QVERIFY(QDir().mkpath(langDir));
        {
            QFile ini(langDir + QStringLiteral("/Lang_config.ini"));
            QVERIFY(ini.open(QIODevice::WriteOnly | QIODevice::Truncate));
            ini.write("[General]\nDE=Deutsch\nDX=Deutsch\nEN=English\n");
        }
        QFile::remove(langDir + QStringLiteral("/lang_DE.qm"));
        QVERIFY(QFile::copy(m_runDir + QStringLiteral("/Lang/lang_DE.qm"), langDir + QStringLiteral("/lang_DE.qm")));

        auto window = makeWindow();
        QCOMPARE(g_language, QStringLiteral("EN"));
        QMenu *languages = languageMenu();
        QVERIFY(languages);
        const QList<QAction *> entries = languages->actions();
        QCOMPARE(entries.size(), 3);
        QCOMPARE(entries.at(0)->text(), QStringLiteral("Deutsch"));
        QCOMPARE(entries.at(1)->text(), QStringLiteral("Deutsch"));

        // The second "Deutsch" resolves to the first code with that name.
        entries.at(1)->trigger();
        QCOMPARE(g_language, QStringLiteral("DE"));
        Ui::MainWindow *ui = window->form();
        QCOMPARE(ui->label_3->text(), QStringLiteral("Werkzeuge"));
        QCOMPARE(ui->label_stamp_1->text(), QStringLiteral("Härte:"));
        QCOMPARE(ui->pushButton_rect->toolTip(), QStringLiteral("Rechteck"));
        QCOMPARE(ui->pushButton_dropdown->getMenu()->actions().at(0)->text(), QStringLiteral("Webseite..."));
        QCOMPARE(window->loadMaskAction()->text(), QStringLiteral("Maske laden..."));
        QCOMPARE(window->saveMaskAction()->text(), QStringLiteral("Maske speichern..."));
        QCOMPARE(window->growAction()->text(), QStringLiteral("Auswahl vergrößern"));
        QCOMPARE(window->shrinkAction()->text(), QStringLiteral("Auswahl verkleinern"));
        QCOMPARE(window->stripMetadataAction()->text(), QStringLiteral("Ohne Metadaten speichern"));
        QCOMPARE(window->saveQualityAction()->text(), QStringLiteral("Qualität gespeicherter Fotos..."));
        QCOMPARE(ui->pushButton_undo->shortcut(), QKeySequence(QStringLiteral("Ctrl+Z")));
        // The form's own texts are translated too.
        QCOMPARE(ui->pushButton_eraser->text(), QStringLiteral("   Entfernen"));

        // No file for English: the translator is empty and the source texts return.
        entries.at(2)->trigger();
        QCOMPARE(g_language, QStringLiteral("EN"));
        QCOMPARE(ui->label_3->text(), QStringLiteral("Tools"));
        QCOMPARE(ui->pushButton_rect->toolTip(), QStringLiteral("Rectangle"));

        // The choice is not stored: the next start speaks English.
        entries.at(0)->trigger();
        window.reset();
        auto next = makeWindow();
        QCOMPARE(g_language, QStringLiteral("EN"));
        QCOMPARE(next->form()->label_3->text(), QStringLiteral("Tools"));

        QDir(langDir).removeRecursively();
    }

    void languageChangeResetsTheValueLabels()
    {
        const QString langDir = QCoreApplication::applicationDirPath() + QStringLiteral("/Lang");
        QVERIFY(QDir().mkpath(langDir));
        {
            QFile ini(langDir + QStringLiteral("/Lang_config.ini"));
            QVERIFY(ini.open(QIODevice::WriteOnly | QIODevice::Truncate));
            ini.write("[General]\nEN=English\n");
        }
        auto window = makeWindow();
        Ui::MainWindow *ui = window->form();
        ui->label_stamp_2->setText(QStringLiteral("40%"));
        ui->label->setText(QStringLiteral("120"));
        languageMenu()->actions().at(0)->trigger();
        QCOMPARE(ui->label_stamp_2->text(), QStringLiteral("100%"));
        QCOMPARE(ui->label->text(), QStringLiteral("30"));
        QCOMPARE(ui->label_version->text(), QStringLiteral("Version:1.2.2 x64"));
        QDir(langDir).removeRecursively();
    }

    void noLanguageTableGivesAnEmptyMenu()
    {
        QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/Lang")).removeRecursively();
        auto window = makeWindow();
        QVERIFY(languageMenu());
        QVERIFY(languageMenu()->actions().isEmpty());
    }
};

int main(int argc, char *argv[])
{
    // A store of our own, before anything reads the settings.
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
    QApplication app(argc, argv);
    TestMenus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_menus.moc"
