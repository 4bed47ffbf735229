// Turning stored pixels upright by their EXIF orientation.

#include "codecs.h"

namespace photoio::detail {

void applyExifOrientation(cv::Mat &image, int orientation)
{
    if (image.empty() || orientation <= 1 || orientation > 8)
        return;
    if (orientation >= 5)
        cv::transpose(image, image);
    switch (orientation) {
    case 2: case 6: cv::flip(image, image, 1); break;   // left-right
    case 3: case 7: cv::flip(image, image, -1); break;  // half a turn
    case 4: case 8: cv::flip(image, image, 0); break;   // top-bottom
    default: break; // 5: transposed only
    }
}

} // namespace photoio::detail
