#include "qwidgetbutton.h"
#include "menustyle.h"
#include "globals.h"

#include <QScrollBar>
#include <QWidgetAction>

QWidgetButton::QWidgetButton(QWidget *parent)
    : QPushButton(parent)
    , m_menu(new QMenu(this))
{
    connect(this, &QPushButton::clicked, this, &QWidgetButton::popupmenu);
    m_menu->setStyleSheet(MenuStyle::menu());
    QFont menuFont = m_menu->font();
    menuFont.setPixelSize(int(16 * g_uiScale));
    m_menu->setFont(menuFont);

    QWidgetAction *action = new QWidgetAction(m_menu);
    m_undoViewWidget = new QUndoView(this);
    m_undoViewWidget->setFrameShape(QFrame::NoFrame);
    m_undoViewWidget->setStyleSheet(MenuStyle::historyList());
    QFont viewFont = m_undoViewWidget->font();
    viewFont.setPixelSize(int(14 * g_uiScale));
    m_undoViewWidget->setFont(viewFont);
    m_undoViewWidget->verticalScrollBar()->setStyleSheet(MenuStyle::historyScrollBar());
    m_undoViewWidget->setFocusPolicy(Qt::NoFocus);
    action->setDefaultWidget(m_undoViewWidget);

    m_menu->addAction(QStringLiteral("History"));
    m_menu->addSeparator();
    m_menu->addAction(action);
}

void QWidgetButton::setUndoGroup(QUndoGroup *group)
{
    m_group = group;
    m_undoViewWidget->setGroup(group);
}

QPoint QWidgetButton::popupPosition() const
{
    // Fixed pixels: the popup opens up and to the left of the low button.
    return mapToGlobal(QPoint(0, 0)) - QPoint(122, 250);
}

void QWidgetButton::popupmenu()
{
    m_menu->exec(popupPosition());
}
