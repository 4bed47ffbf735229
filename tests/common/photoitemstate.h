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

    // The state with the selection layers made (a photo makes them when a
    // tool first needs them), so that a test can write into them as a tool
    // would.
    static PhotoItemState of(PhotoItem &item)
    {
        item.ensureLayers();
        return asIs(item);
    }
    // The state as the photo holds it, layers made or not.
    static PhotoItemState asIs(PhotoItem &item)
    {
        return {item.m_image,     item.m_imageCols, item.m_imageRows, item.m_selection, item.m_pointer,
                item.m_regions,   item.m_stamp,     item.m_clone,     item.m_job,       item.m_output,
                item.m_listItem};
    }
};

inline PhotoItemState state(PhotoItem &item) { return PhotoItemState::of(item); }
inline PhotoItemState state(PhotoItem *item) { return PhotoItemState::of(*item); }
inline PhotoItemState stateAsIs(PhotoItem *item) { return PhotoItemState::asIs(*item); }
// For checks written against a const photo; the door is the same.
inline PhotoItemState state(const PhotoItem *item) { return PhotoItemState::of(const_cast<PhotoItem &>(*item)); }

#endif // PHOTOITEMSTATE_H
