// Engine jobs: preparing the crop, running the worker thread under the
// progress dialog, and folding the result into the image as an undo entry.
//
// The engine, its thread and the progress dialog are not part of the build
// yet; these slots are filled with the erase work. Until then they leave the
// photo untouched.
#include "photoitem.h"

void PhotoItem::recvEraseCommand()
{
    // Filled with the erase work. The window re-enables its Erase button on
    // sendThreadFinish, so report at once that nothing ran.
    emit sendThreadFinish();
}

void PhotoItem::recvCloneCommand()
{
    m_tool = 7;
}

void PhotoItem::onQThreadFinished()
{
    // Filled with the erase work.
}

void PhotoItem::setProcessSum(long sum)
{
    Q_UNUSED(sum); // Filled with the erase work.
}

void PhotoItem::recvCancelStatus()
{
    // Filled with the erase work.
}

void PhotoItem::foldJobResult(cv::Mat image, cv::Mat result)
{
    Q_UNUSED(image); // Filled with the erase work.
    Q_UNUSED(result);
}
