#include "qmenubutton.h"
#include "menustyle.h"
#include "globals.h"

#include <QDebug>

QMenuButton::QMenuButton(QWidget *parent)
    : QPushButton(parent)
    , m_menu(new QMenu(this))
{
    connect(this, &QPushButton::clicked, this, &QMenuButton::popupmenu);
    m_menu->setStyleSheet(MenuStyle::menu());
    QFont font = m_menu->font();
    font.setPixelSize(int(14 * g_uiScale));
    m_menu->setFont(font);
}

QPoint QMenuButton::popupPosition() const
{
    return mapToGlobal(QPoint(0, height()));
}

void QMenuButton::popupmenu()
{
    const QPoint pos = popupPosition();
    qDebug() << "x=" << pos.x() << " y ==" << pos.y();
    m_menu->exec(pos);
    qDebug() << "this->mapToGlobal(pos)==" << pos;
}
