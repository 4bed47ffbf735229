#ifndef GLOBALS_H
#define GLOBALS_H

// Process-wide values, one instance each (defined in globals.cpp).

#include <QString>
#include <QStringList>

// Every design size and font pixel size is multiplied by this and truncated.
extern double g_uiScale;
// Language code in force ("EN" at start).
extern QString g_language;
// Link table from configlink.xml: keys and values, parallel by index.
extern QStringList g_linkKeys;
extern QStringList g_linkValues;
// Chooses the settings roots; set to 1 by the main window and never changed.
extern int g_brand;

#endif // GLOBALS_H
