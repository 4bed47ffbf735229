#ifndef MERVANE_PHOTOIO_MASKNAMES_H
#define MERVANE_PHOTOIO_MASKNAMES_H

#include <string>

// The names under which masks travel between the window and the batch
// eraser: photo NAME.EXT has its mask in NAME.mask.png and, if there is one,
// its donor in NAME.donor.png beside it. NAME is the file name without its
// last suffix ("a.b.jpg" -> "a.b"). Both programs take their names from here
// so that a mask saved in one is found by the other.
namespace photoio {

std::string maskNameFor(const std::string &photoPath);
std::string donorNameFor(const std::string &photoPath);
// The donor that goes with a mask file the user named: NAME.mask.png ->
// NAME.donor.png; any other NAME.EXT -> NAME.donor.png.
std::string donorNameBesideMask(const std::string &maskPath);

} // namespace photoio

#endif // MERVANE_PHOTOIO_MASKNAMES_H
