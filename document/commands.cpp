#include "commands.h"
#include "photoitem.h"

#include <utility>

Command::Command(cv::Mat after, cv::Mat before, QPointF min, QPointF max, QString text, PhotoItem *item,
                 cv::Rect rect)
    : m_rect(rect), m_min(min), m_max(max), m_item(item)
{
    // The Mats arrive as views into live memory; the entry keeps its own copy.
    after.copyTo(m_redoImage);
    before.copyTo(m_undoImage);
    setText(text);
}

// The master first: the working copy's setter shows the photo.
void Command::undo()
{
    m_item->setMasterPixels(m_undoMaster, m_rect);
    m_item->setUndoPixmap(m_undoImage, m_min, m_max, m_rect);
}

void Command::redo()
{
    m_item->setMasterPixels(m_redoMaster, m_rect);
    m_item->setRedoPixmap(m_redoImage, m_rect);
}

void Command::keepMaster(const cv::Mat &after, const cv::Mat &before)
{
    after.copyTo(m_redoMaster);
    before.copyTo(m_undoMaster);
}

bool FillInputs::fits(const cv::Size &imageSize) const
{
    if (crop.width < 1 || crop.height < 1 || (crop & cv::Rect(cv::Point(0, 0), imageSize)) != crop)
        return false;
    if (original.size() != crop.size() || original.type() != CV_8UC3)
        return false;
    if (red.size() != crop.size() || red.type() != CV_8UC1)
        return false;
    return !useDonor || (green.size() == crop.size() && green.type() == CV_8UC1);
}

FillCommand::FillCommand(cv::Mat after, cv::Mat before, QPointF min, QPointF max, QString text, PhotoItem *item,
                         cv::Rect rect, FillInputs inputs)
    : Command(after, before, min, max, text, item, rect), m_inputs(std::move(inputs))
{
    // An Erase's "before" is its crop as it was before the first fill:
    // shared, not kept twice.
    if (m_inputs.original.empty() && m_rect == m_inputs.crop)
        m_inputs.original = m_undoImage;
}

SelectionMaskCommand::SelectionMaskCommand(Colour colour, cv::Mat after, cv::Mat before, QString text,
                                           PhotoItem *item, cv::Rect rect)
    : m_colour(colour), m_after(std::move(after)), m_before(std::move(before)), m_rect(rect), m_item(item)
{
    setText(text);
}

void SelectionMaskCommand::undo() { m_item->paintSelection(m_colour, m_before, m_rect); }
void SelectionMaskCommand::redo() { m_item->paintSelection(m_colour, m_after, m_rect); }

AddRedCommand::AddRedCommand(cv::Mat after, cv::Mat before, QString text, PhotoItem *item, cv::Rect rect)
    : m_rect(rect), m_item(item)
{
    after.copyTo(m_redoImage);
    before.copyTo(m_undoImage);
    setText(text);
}

void AddRedCommand::undo() { m_item->setInpaintMask(m_undoImage, m_rect); }
void AddRedCommand::redo() { m_item->setInpaintMask(m_redoImage, m_rect); }

AddGreenCommand::AddGreenCommand(cv::Mat after, cv::Mat before, QString text, PhotoItem *item, cv::Rect rect)
    : m_rect(rect), m_item(item)
{
    after.copyTo(m_redoImage);
    before.copyTo(m_undoImage);
    setText(text);
}

void AddGreenCommand::undo() { m_item->setInpaintMaskBK(m_undoImage, m_rect); }
void AddGreenCommand::redo() { m_item->setInpaintMaskBK(m_redoImage, m_rect); }
