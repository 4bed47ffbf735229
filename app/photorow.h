#ifndef PHOTOROW_H
#define PHOTOROW_H

class CustomItem;
class PhotoItem;
class QListWidget;

// The row of a photo in the photo list: the row widget (thumbnail, file
// name, the delete button) set on the entry the photo added to the list,
// sized for its thumbnail. The row follows the photo's thumbnail
// (PhotoItem::thumbnailChanged) and hands its delete button to the photo
// (PhotoItem::onCustomDeleteItem). The list owns the widget.
CustomItem *addPhotoRow(QListWidget *list, PhotoItem *item);

#endif // PHOTOROW_H
