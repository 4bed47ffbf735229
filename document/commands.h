#ifndef COMMANDS_H
#define COMMANDS_H

#include <QPointF>
#include <QUndoCommand>
#include <opencv2/core.hpp>

#include "tools.h"

class PhotoItem;

// Undo entries hold the before and after of one rectangle, as deep copies,
// never whole images. undo() and redo() hand them back to the photo.

// A change of the image (erase, clone, stamp).
class Command : public QUndoCommand
{
public:
    Command(cv::Mat after, cv::Mat before, QPointF min, QPointF max, QString text, PhotoItem *item,
            cv::Rect rect);
    void undo() override;
    void redo() override;
    // The same rectangle of the photo's master (16 bits, alpha), for a
    // photo that has one; copies are kept.
    void keepMaster(const cv::Mat &after, const cv::Mat &before);

    cv::Mat m_redoImage;
    cv::Mat m_undoImage;
    cv::Mat m_redoMaster;
    cv::Mat m_undoMaster;
    cv::Rect m_rect;
    QPointF m_min;
    QPointF m_max;
    PhotoItem *m_item;
};

// What a fill needs to run again with a fresh random start: the crop the
// engine worked on, its pixels as they were before the first fill, and the
// selections over it as 0/255 CV_8UC1 masks (green only when the donor was
// used). The Mats are never written once made, so entries share them.
struct FillInputs
{
    cv::Rect crop;
    cv::Mat original; // CV_8UC3, crop-sized; an Erase entry takes its "before"
    cv::Mat red;      // CV_8UC1, crop-sized
    cv::Mat green;    // CV_8UC1, crop-sized; empty without the donor
    bool useDonor = false;

    // Every Mat of the crop's size and type, the green one there when asked.
    bool fits(const cv::Size &imageSize) const;
};

// An Erase or an Another Fill: an image change that also keeps what it
// takes to fill the same hole again, so that the command follows the undo
// history by itself.
class FillCommand : public Command
{
public:
    FillCommand(cv::Mat after, cv::Mat before, QPointF min, QPointF max, QString text, PhotoItem *item,
                cv::Rect rect, FillInputs inputs);
    const FillInputs &inputs() const { return m_inputs; }

private:
    FillInputs m_inputs;
};

// Grow or shrink of a whole selection: both sides kept as 0/255 CV_8UC1
// masks of the rectangle, a quarter of the layer's bytes, and painted back
// in the layer's one tint (all a selection layer holds). The masks are
// taken as they are: the caller hands over Mats of its own.
class SelectionMaskCommand : public QUndoCommand
{
public:
    SelectionMaskCommand(Colour colour, cv::Mat after, cv::Mat before, QString text, PhotoItem *item,
                         cv::Rect rect);
    void undo() override;
    void redo() override;

    Colour m_colour;
    cv::Mat m_after;
    cv::Mat m_before;
    cv::Rect m_rect;
    PhotoItem *m_item;
};

// A change of the red selection.
class AddRedCommand : public QUndoCommand
{
public:
    AddRedCommand(cv::Mat after, cv::Mat before, QString text, PhotoItem *item, cv::Rect rect);
    void undo() override;
    void redo() override;

    cv::Mat m_redoImage;
    cv::Mat m_undoImage;
    cv::Rect m_rect;
    PhotoItem *m_item;
};

// A change of the green selection.
class AddGreenCommand : public QUndoCommand
{
public:
    AddGreenCommand(cv::Mat after, cv::Mat before, QString text, PhotoItem *item, cv::Rect rect);
    void undo() override;
    void redo() override;

    cv::Mat m_redoImage;
    cv::Mat m_undoImage;
    cv::Rect m_rect;
    PhotoItem *m_item;
};

#endif // COMMANDS_H
