#ifndef PHOTOITEMSTATE_H
#define PHOTOITEMSTATE_H

// The tests' and benchmarks' one door into a photo's state: they set up a
// case and check its outcome field by field, by concern
// (state(item).selection.m_inpaintMask). The program itself goes through
// PhotoItem's functions.
#include "photoitem.h"

struct PhotoItemState
{
    cv::Mat &m_image;
    int &m_imageCols;
    int &m_imageRows;
    PhotoItem::Selection &selection;
    PhotoItem::Pointer &pointer;
    PhotoItem::Regions &regions;
    PhotoItem::Stamp &stamp;
    PhotoItem::Clone &clone;
    PhotoItem::Job &job;
    PhotoItem::Output &output;
    QListWidgetItem *&m_listItem;

    static PhotoItemState of(PhotoItem &item)
    {
        return {item.m_image,     item.m_imageCols, item.m_imageRows, item.m_selection, item.m_pointer,
                item.m_regions,   item.m_stamp,     item.m_clone,     item.m_job,       item.m_output,
                item.m_listItem};
    }
};

inline PhotoItemState state(PhotoItem &item) { return PhotoItemState::of(item); }
inline PhotoItemState state(PhotoItem *item) { return PhotoItemState::of(*item); }
// For checks written against a const photo; the door is the same.
inline PhotoItemState state(const PhotoItem *item) { return PhotoItemState::of(const_cast<PhotoItem &>(*item)); }

#endif // PHOTOITEMSTATE_H
