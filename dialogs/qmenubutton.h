#ifndef QMENUBUTTON_H
#define QMENUBUTTON_H

#include <QMenu>
#include <QPushButton>

// A push button that drops its menu from its lower left corner.
class QMenuButton : public QPushButton
{
    Q_OBJECT

public:
    explicit QMenuButton(QWidget *parent = nullptr);
    QMenu *getMenu() const { return m_menu; }
    QPoint popupPosition() const;

public slots:
    void popupmenu();

private:
    QMenu *m_menu;
};

#endif // QMENUBUTTON_H
