#ifndef QWIDGETBUTTON_H
#define QWIDGETBUTTON_H

#include <QMenu>
#include <QPushButton>
#include <QUndoGroup>
#include <QUndoView>

// A push button whose popup holds the history list of the undo group.
class QWidgetButton : public QPushButton
{
    Q_OBJECT

public:
    explicit QWidgetButton(QWidget *parent = nullptr);
    QMenu *getMenu() const { return m_menu; }
    void setUndoGroup(QUndoGroup *group);
    QUndoGroup *getUndoGroup() const { return m_group; }
    QUndoView *undoView() const { return m_undoViewWidget; }
    QPoint popupPosition() const;

public slots:
    void popupmenu();

private:
    QMenu *m_menu;
    QUndoView *m_undoViewWidget;
    QUndoGroup *m_group = nullptr;
};

#endif // QWIDGETBUTTON_H
