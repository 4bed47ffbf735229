#include "globals.h"

double g_uiScale = 1.0;
QString g_language;
QStringList g_linkKeys;
QStringList g_linkValues;
int g_brand = 1;
