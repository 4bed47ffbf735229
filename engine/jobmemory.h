#ifndef MERVANE_JOBMEMORY_H
#define MERVANE_JOBMEMORY_H

// How much memory an erase job takes at its peak, and whether the machine
// has it, decided before the job starts.

#include <opencv2/core.hpp>

#include <cstdint>
#include <string>

// Peak bytes an erase job of a `crop`-sized area allocates, from
// ThreadFromQThread::setEraseJob to the end of the run: the job's copy of
// the crop, the byte maps, what the driver keeps of its input, the level
// stack, the field, cost map and vote cells of the finest swept level (the
// buffers are listed in jobmemory.cpp). `holeBox`, the size of the box of
// the selection's pixels in the crop (grown by the stamp), makes the figure
// closer when known; without it the box counts as the whole crop, an upper
// bound. Not counted: the photo and the selection layers the caller
// already holds, and anything the caller allocates beside the job.
uint64_t eraseMemoryEstimate(cv::Size crop, bool useDonor, cv::Size holeBox = cv::Size(-1, -1));

// The memory a new allocation of this process can still get: the least of
// MemAvailable (/proc/meminfo), the room left under RLIMIT_AS and the room
// left under the memory limit of the process's control group (v2 or v1),
// where each is set. `limitName` receives what that least one is, for
// messages ("available memory", "the address-space limit", "the control
// group's memory limit"). UINT64_MAX when nothing can be read.
uint64_t memoryHeadroom(std::string *limitName = nullptr);

// Empty when an erase of a `crop`-sized area fits in memoryHeadroom(),
// together with `extraBytes` the caller allocates for the job besides (the
// window's copy of the photo for undo, for instance). Otherwise one line
// naming the sizes, lower case, no full stop, e.g. "not enough memory to
// erase an area of 30000 x 30000 pixels: the job needs about 20.1 GB, and
// 7.3 GB of available memory are left".
std::string memoryRefusal(cv::Size crop, bool useDonor, uint64_t extraBytes = 0,
                          cv::Size holeBox = cv::Size(-1, -1));

#endif // MERVANE_JOBMEMORY_H
