#include "jobdialog.h"

#include "photoitem.h"
#include "processdialog.h"

#include <QEvent>
#include <QKeyEvent>

JobDialog::JobDialog(PhotoItem *item)
    : QObject(item)
    , m_item(item)
    , m_dialog(new processDialog)
{
    connect(m_dialog, &processDialog::sendCancelStatus, item, &PhotoItem::recvCancelStatus);
    connect(item, &PhotoItem::jobStarted, this, &JobDialog::open);
    connect(item, &PhotoItem::jobProgress, m_dialog, &processDialog::recvProcessNum);
    connect(item, &PhotoItem::jobEnded, this, &JobDialog::close);
    m_dialog->installEventFilter(this);
}

JobDialog::~JobDialog()
{
    // This goes with the photo, whose own part is already destroyed by now:
    // the dialog's last events must not reach the filter that asks it.
    m_dialog->removeEventFilter(this);
    delete m_dialog;
}

JobDialog *JobDialog::of(const PhotoItem *item)
{
    return item ? item->findChild<JobDialog *>(QString(), Qt::FindDirectChildrenOnly) : nullptr;
}

void JobDialog::open()
{
    m_dialog->move(m_place);
    m_dialog->show();
}

void JobDialog::close()
{
    m_dialog->close();
}

// While a job runs, the dialog must stay up: a dialog hidden by Escape or
// by the window manager's close would give the user the photo back while
// the worker still writes into it. Both become a cancel request; the dialog
// closes when the job has ended.
bool JobDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_dialog || !m_item->isJobActive())
        return QObject::eventFilter(watched, event);
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        m_item->recvCancelStatus();
        return true;
    }
    if (event->type() == QEvent::Close) {
        event->ignore();
        m_item->recvCancelStatus();
        return true;
    }
    return QObject::eventFilter(watched, event);
}
