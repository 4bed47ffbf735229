#ifndef PHOTOROW_H
#define PHOTOROW_H

#include <opencv2/core.hpp>

class CustomItem;
class PhotoItem;
class QListWidget;

// The row of a photo in the photo list: the row widget (thumbnail, file
// name, the delete button) set on the entry the photo added to the list,
// sized for its thumbnail. The thumbnail is rowThumbnail()'s, given (made
// on a worker from a reduced read) or made here from the photo's pixels.
// The row follows the photo's thumbnail (PhotoItem::thumbnailChanged) and
// hands its delete button to the photo (PhotoItem::onCustomDeleteItem). The
// list owns the widget.
CustomItem *addPhotoRow(QListWidget *list, PhotoItem *item, const cv::Mat &thumbnail = cv::Mat());

#endif // PHOTOROW_H
