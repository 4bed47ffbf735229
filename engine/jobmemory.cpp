#include "jobmemory.h"

#include <omp.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr uint64_t kUnlimited = UINT64_MAX;

// Bytes per pixel of each buffer, at the size of the crop (N pixels).
// Level l of the pyramid has N / 4^l pixels, so a whole stack of
// half-size levels 1, 2, ... adds up to N / 3 pixels.
//
// Held through the whole job:
//   m_sourceImage, the job's copy of the crop         3
//   m_eraseMap and m_donorMap                         2
//   holeMap (donor erase)                             1
//   levelMasks[0] (and levelDonors[0])                3 (+3)
//   the level stack above level 0: images, masks
//   (and donor masks), 3 bytes each, N / 3 pixels     2 (+1)
// and the driver's input: when the job's copy holds the work image's pixels
// (the window and the tool pass one view for both), that copy is the input
// and only the pixels of the hole's box are kept aside (3 bytes a pixel of
// the box); otherwise a second copy of the crop (3). Without the box, it is
// counted as the whole crop.
// Then the largest moment, the last vote: the level-1 field and cost map
// (8 bytes at N / 4), its vote cells (16 bytes at N / 4) and the level-1
// result (3 at N / 4), 2 + 4 + 0.75 = 6.75; the vote writes straight into
// the caller's crop. (The pyramid, built before any field exists, stays
// below that.)
// A donor erase measures 1.5 bytes a pixel above its held buffers and that
// vote (its peak falls at another step of the walk); counted so.
// So a plain erase peaks at 16.75 bytes per pixel plus 3 per pixel of the
// hole's box, a donor erase at 23.25 plus the same.
constexpr double kHeldPlain = 3 + 2 + 3 + 2;
constexpr double kHeldDonor = kHeldPlain + 1 + 3 + 1;
constexpr double kVoteMoment = 2 + 4 + 0.75;
constexpr double kDonorMoment = kVoteMoment + 1.5;
constexpr double kKeptBox = 3;

// Besides the pixels: the weight table of the engine (0.5 MB), the vote's
// per-row tables and per-thread lists, and the allocator's rounding.
constexpr uint64_t kFixedBytes = 2ull << 20;

// Address space a thread takes besides the heap: its stack (8 MB by
// default) and the allocator's arena for the thread (64 MB reserved). Only
// an address-space limit counts these; they are never touched in full.
constexpr uint64_t kThreadAddressSpace = 72ull << 20;

uint64_t readKilobytes(const char *path, const char *key)
{
    std::ifstream in(path);
    std::string line;
    const std::string prefix = std::string(key) + ":";
    while (std::getline(in, line)) {
        if (line.compare(0, prefix.size(), prefix) == 0) {
            unsigned long long kb = 0;
            if (std::sscanf(line.c_str() + prefix.size(), "%llu", &kb) == 1)
                return uint64_t(kb) * 1024;
        }
    }
    return kUnlimited;
}

// A number from a control group file; "max" and anything unreadable mean
// no limit.
uint64_t readNumber(const std::string &path)
{
    std::ifstream in(path);
    unsigned long long v = 0;
    if (!(in >> v))
        return kUnlimited;
    return uint64_t(v);
}

// Room left under the process's control group limit. The group's path as
// /proc/self/cgroup names it may not exist where the group hierarchy is
// mounted for a container (the container sees its own group as the root),
// so the root of the mount is tried as well.
uint64_t cgroupHeadroom()
{
    std::ifstream in("/proc/self/cgroup");
    std::string line, v2Path, v1Path;
    while (std::getline(in, line)) {
        const size_t first = line.find(':'), second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos)
            continue;
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const std::string path = line.substr(second + 1);
        if (controllers.empty())
            v2Path = path;
        else if (("," + controllers + ",").find(",memory,") != std::string::npos)
            v1Path = path;
    }
    auto room = [](uint64_t limit, uint64_t usage) {
        if (limit == kUnlimited || usage == kUnlimited)
            return kUnlimited;
        // Limits of "no limit" in v1 are a huge page-rounded number.
        if (limit >= (uint64_t(1) << 60))
            return kUnlimited;
        return limit > usage ? limit - usage : uint64_t(0);
    };
    uint64_t best = kUnlimited;
    for (const std::string &dir : {std::string("/sys/fs/cgroup") + v2Path, std::string("/sys/fs/cgroup")}) {
        if (v2Path.empty())
            break;
        best = std::min(best, room(readNumber(dir + "/memory.max"), readNumber(dir + "/memory.current")));
    }
    if (!v1Path.empty()) {
        for (const std::string &dir :
             {std::string("/sys/fs/cgroup/memory") + v1Path, std::string("/sys/fs/cgroup/memory")})
            best = std::min(best, room(readNumber(dir + "/memory.limit_in_bytes"),
                                       readNumber(dir + "/memory.usage_in_bytes")));
    }
    return best;
}

uint64_t addressSpaceHeadroom()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return kUnlimited;
    const uint64_t used = readKilobytes("/proc/self/status", "VmSize");
    if (used == kUnlimited)
        return kUnlimited;
    const uint64_t threads = kThreadAddressSpace * uint64_t(omp_get_max_threads() + 1);
    const uint64_t taken = used + threads;
    return uint64_t(limit.rlim_cur) > taken ? uint64_t(limit.rlim_cur) - taken : 0;
}

std::string bytesText(uint64_t bytes)
{
    char text[32];
    const double mb = double(bytes) / (1024.0 * 1024.0);
    if (mb >= 1024.0)
        std::snprintf(text, sizeof text, "%.1f GB", mb / 1024.0);
    else
        std::snprintf(text, sizeof text, "%.0f MB", std::max(mb, 1.0));
    return text;
}

} // namespace

uint64_t eraseMemoryEstimate(cv::Size crop, bool useDonor, cv::Size holeBox)
{
    const double pixels = double(std::max(crop.width, 0)) * double(std::max(crop.height, 0));
    const double perPixel = useDonor ? kHeldDonor + kDonorMoment : kHeldPlain + kVoteMoment;
    // The box lies inside the crop; a box not given (or not fitting) counts
    // as the whole crop.
    const bool boxGiven = holeBox.width >= 0 && holeBox.height >= 0 && holeBox.width <= crop.width
                          && holeBox.height <= crop.height;
    const double boxPixels = boxGiven ? double(holeBox.width) * double(holeBox.height) : pixels;
    return uint64_t(pixels * perPixel + boxPixels * kKeptBox) + kFixedBytes;
}

uint64_t memoryHeadroom(std::string *limitName)
{
    struct Candidate
    {
        uint64_t bytes;
        const char *name;
    };
    const Candidate candidates[] = {
        {readKilobytes("/proc/meminfo", "MemAvailable"), "available memory"},
        {addressSpaceHeadroom(), "the address-space limit"},
        {cgroupHeadroom(), "the control group's memory limit"},
    };
    const Candidate *least = &candidates[0];
    for (const Candidate &c : candidates)
        if (c.bytes < least->bytes)
            least = &c;
    if (limitName)
        *limitName = least->name;
    return least->bytes;
}

std::string memoryRefusal(cv::Size crop, bool useDonor, uint64_t extraBytes, cv::Size holeBox)
{
    const uint64_t needed = eraseMemoryEstimate(crop, useDonor, holeBox) + extraBytes;
    std::string limitName;
    const uint64_t headroom = memoryHeadroom(&limitName);
    if (needed <= headroom)
        return {};
    std::ostringstream reason;
    reason << "not enough memory to erase an area of " << crop.width << " x " << crop.height
           << " pixels: the job needs about " << bytesText(needed) << ", and ";
    if (limitName == "available memory")
        reason << bytesText(headroom) << " of available memory are left";
    else
        reason << limitName << " leaves " << bytesText(headroom);
    return reason.str();
}
