// Writing the photo to a file: filled with the save work.
#include "photoitem.h"

void PhotoItem::recvSaveCommand(QString fileName)
{
    Q_UNUSED(fileName); // Filled with the save work.
}
