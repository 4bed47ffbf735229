#ifndef COMMANDS_H
#define COMMANDS_H

#include <QPointF>
#include <QUndoCommand>
#include <opencv2/core.hpp>

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

    cv::Mat m_redoImage;
    cv::Mat m_undoImage;
    cv::Rect m_rect;
    QPointF m_min;
    QPointF m_max;
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
