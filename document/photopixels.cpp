#include "photopixels.h"
#include "pathbytes.h"

#include <utility>

photoio::Decoded decodePhotoFile(const QString &path)
{
    return photoio::decodeFile(pathBytes(path));
}

PhotoPixels keptPixels(photoio::Decoded &decoded)
{
    PhotoPixels kept;
    kept.image = decoded.pixels;
    decoded.pixels.release(); // the document holds the only reference
    kept.icc = decoded.metadata.icc;
    return kept;
}
