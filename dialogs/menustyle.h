#ifndef MENUSTYLE_H
#define MENUSTYLE_H

#include <QString>

// Shared look of the drop-down menus and of the history list.
namespace MenuStyle {

inline QString menu()
{
    return QStringLiteral(
        "QMenu{background-color:rgb(68,66,74);}"
        "QMenu::item{color:rgb(232,232,232);background-color:rgb(68,66,74);"
        "padding:5px 10px;margin:5px;font-size:14px;}"
        "QMenu::item:selected{background-color:rgb(240,156,11);}"
        "QMenu::item:pressed{background-color:rgb(240,156,11);}");
}

inline QString historyList()
{
    return QStringLiteral(
        "QListView{background:transparent;}"
        "QListView::item{font-size:14px;color:rgb(170,170,170);background-color:rgb(68,66,74);"
        "padding:2px;margin:2px 10px;}"
        "QListView::item:selected{background-color:rgb(45,43,48);}"
        "QListView::item:pressed{background-color:rgb(45,43,48);}");
}

inline QString historyScrollBar()
{
    return QStringLiteral(
        "QScrollBar:vertical{width:3px;background:transparent;}"
        "QScrollBar::handle:vertical{background:rgba(108,107,113,100%);border-radius:3px;min-height:100px;}"
        "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0px;}");
}

} // namespace MenuStyle

#endif // MENUSTYLE_H
