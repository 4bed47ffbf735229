#ifndef MERVANE_PHOTOHOST_H
#define MERVANE_PHOTOHOST_H

// The widgets a photo document draws into, without a main window: the
// canvas's back, the photo layer with the red and the green selection
// layers stacked on it, and the photo list, in one 400 x 300 host.

#include <QListWidget>
#include <QString>
#include <QWidget>

#include "custombackwidget.h"
#include "customwidget.h"
#include "jobdialog.h"
#include "photoitem.h"
#include "photorow.h"

struct PhotoHost
{
    QWidget host;
    CustomBackWidget *back = new CustomBackWidget(&host);
    CustomWidget *mid = new CustomWidget(back);
    CustomWidget *front = new CustomWidget(mid);
    CustomWidget *green = new CustomWidget(front);
    QListWidget *list = new QListWidget(&host);

    PhotoHost() { host.resize(400, 300); }

    // A photo document for the file, added at the end of the list, with
    // the row and the progress dialog the window would give it.
    PhotoItem *load(const QString &path) const
    {
        auto *item = new PhotoItem(back, mid, front, green, path, list, list->count());
        addPhotoRow(list, item);
        new JobDialog(item);
        return item;
    }
};

#endif // MERVANE_PHOTOHOST_H
