// Reading a file whole, and telling later whether it is still the file that
// was read.

#include "codecs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <sys/stat.h>

namespace photoio {
namespace {

// File systems stamp writes from a clock that moves in ticks (a few
// milliseconds on Linux, two seconds on FAT). A file written this close to
// the moment it was read may be written again with the same times.
constexpr int64_t kTimestampSlackNs = 3'000'000'000;

int64_t nanoseconds(const timespec &t)
{
    return int64_t(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
}

int64_t realTimeNow()
{
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    return nanoseconds(t);
}

void fillFromStat(FileIdentity &identity, const struct stat &st)
{
    identity.exists = true;
    identity.size = uint64_t(st.st_size);
    identity.modifiedNs = nanoseconds(st.st_mtim);
    identity.changedNs = nanoseconds(st.st_ctim);
    identity.device = uint64_t(st.st_dev);
    identity.inode = uint64_t(st.st_ino);
}

uint64_t load64(const uint8_t *p)
{
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

uint64_t mix(uint64_t h)
{
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

} // namespace

uint64_t contentHash(const uint8_t *data, size_t size)
{
    // Four independent lanes of multiply-rotate over 8-byte words, folded
    // with the length: several gigabytes a second, so hashing what a decode
    // has just read costs little beside the decode.
    constexpr uint64_t k1 = 0x9E3779B185EBCA87ULL, k2 = 0xC2B2AE3D27D4EB4FULL;
    uint64_t lane[4] = {k1, k2, k1 ^ k2, ~k1};
    size_t i = 0;
    for (; i + 32 <= size; i += 32) {
        for (int k = 0; k < 4; ++k) {
            uint64_t v = lane[k] + load64(data + i + 8 * k) * k2;
            v = (v << 31) | (v >> 33);
            lane[k] = v * k1;
        }
    }
    uint64_t h = uint64_t(size) * k1;
    for (int k = 0; k < 4; ++k)
        h = mix(h ^ lane[k]) * k2;
    for (; i < size; ++i)
        h = (h ^ data[i]) * 0x100000001B3ULL;
    return mix(h);
}

namespace detail {

std::string readWholeFile(const std::string &path, std::vector<uint8_t> &bytes, FileIdentity *identity)
{
    bytes.clear();
    std::FILE *file = std::fopen(path.c_str(), "rb");
    if (!file)
        return std::string("cannot open (") + std::strerror(errno) + ")";
    // One allocation of the right size where the size is known.
    struct stat before {};
    uint8_t buffer[1 << 16];
    size_t n = 0;
    try {
        if (fstat(fileno(file), &before) == 0 && S_ISREG(before.st_mode) && before.st_size > 0)
            bytes.reserve(size_t(before.st_size));
        while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
            bytes.insert(bytes.end(), buffer, buffer + n);
    } catch (const std::bad_alloc &) {
        std::fclose(file);
        bytes.clear();
        return "not enough memory to read the file";
    }
    const bool failed = std::ferror(file) != 0;
    const int savedErrno = errno;
    if (!failed && identity) {
        // The times after the read: a write during it moves them past what
        // a later check finds the same only if the bytes match.
        struct stat after {};
        *identity = FileIdentity();
        if (fstat(fileno(file), &after) == 0)
            fillFromStat(*identity, after);
        identity->exists = true;
        identity->takenNs = realTimeNow();
        identity->contentHash = contentHash(bytes.data(), bytes.size());
    }
    std::fclose(file);
    if (failed) {
        bytes.clear();
        return std::string("cannot read (") + std::strerror(savedErrno) + ")";
    }
    return {};
}

} // namespace detail

FileIdentity identifyFile(const std::string &path)
{
    FileIdentity identity;
    std::vector<uint8_t> bytes;
    if (!detail::readWholeFile(path, bytes, &identity).empty())
        return FileIdentity();
    return identity;
}

FileState checkFile(const FileIdentity &identity, const std::string &path)
{
    struct stat st {};
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return FileState::Gone;
    FileIdentity now;
    fillFromStat(now, st);
    if (!identity.exists || now.size != identity.size)
        return FileState::Changed;
    const bool sameStat = now.modifiedNs == identity.modifiedNs && now.changedNs == identity.changedNs
                          && now.device == identity.device && now.inode == identity.inode;
    // Written long enough before the read that a later write must have
    // moved the times.
    const bool settled = std::max(identity.modifiedNs, identity.changedNs) + kTimestampSlackNs < identity.takenNs;
    if (sameStat && settled)
        return FileState::Same;
    const FileIdentity read = identifyFile(path);
    if (!read.exists)
        return FileState::Gone;
    return read.size == identity.size && read.contentHash == identity.contentHash ? FileState::Same
                                                                                  : FileState::Changed;
}

} // namespace photoio
