#ifndef MENUSTYLE_H
#define MENUSTYLE_H

#include "skin.h"

#include <QString>

// Shared look of the drop-down menus and of the history list; the sheets
// themselves live with the rest of the skin.
namespace MenuStyle {

inline QString menu()
{
    return Skin::menuSheet();
}

inline QString historyList()
{
    return Skin::historyListSheet();
}

inline QString historyScrollBar()
{
    return Skin::thinScrollBarSheet();
}

} // namespace MenuStyle

#endif // MENUSTYLE_H
