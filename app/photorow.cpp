#include "photorow.h"
#include "customitem.h"
#include "globals.h"
#include "matconvert.h"
#include "photoitem.h"

#include <QListWidget>

CustomItem *addPhotoRow(QListWidget *list, PhotoItem *item, const cv::Mat &thumbnail)
{
    // Thumbnail 195 design pixels wide.
    const double k = g_uiScale;
    const int cols = item->imageCols(), rows = item->imageRows();
    const float h = cols > 0 ? float(rows / (cols / 195.0)) : 0.0f;
    const QPixmap thumb = item->display().pixmap(thumbnail.empty() ? rowThumbnail(item->getImage()) : thumbnail);
    const QString name = item->fileName();
    auto *row = new CustomItem;
    row->setInfo(thumb, name);
    row->setGeometry(QRect(QPoint(0, 0), QPoint(int(k * 196) - 1, int(k * int(2.0 + h)) - 1)));
    row->layoutRow(k > 1 ? int(k * 195 + 1) : int(k * 195), int(k * h));
    QObject::connect(row, &CustomItem::sendDelete, item, &PhotoItem::onCustomDeleteItem);
    QObject::connect(item, &PhotoItem::thumbnailChanged, row,
                     [row, name](const QPixmap &thumbnail) { row->setInfo(thumbnail, name); });

    QListWidgetItem *entry = item->listItem();
    const int rowHeight = k > 1 ? int(1.0 + int(h + 27) * k) : int(int(h + 27) * k);
    entry->setData(Qt::SizeHintRole, QSize(0, rowHeight));
    list->setItemWidget(entry, row);
    return row;
}
