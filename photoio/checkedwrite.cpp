// The one way a file is written: all or nothing.

#include "photoio.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace photoio {
namespace {

long systemWrite(int fd, const void *data, unsigned long size) { return long(::write(fd, data, size)); }

std::atomic<WriteFunction> g_write{systemWrite};

// The temporary of the write in progress, for the signal handler: a fixed
// buffer (no allocation in a handler) and a flag saying it is live.
char g_temporary[PATH_MAX + 64];
std::atomic<bool> g_temporaryLive{false};

void removeTemporaryAndDie(int signal)
{
    if (g_temporaryLive.load())
        ::unlink(g_temporary);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::string folderOf(const std::string &path)
{
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string &path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string systemError(const char *what)
{
    return std::string(what) + " (" + std::strerror(errno) + ")";
}

// Creates a new, uniquely named file beside `path`: process id and a
// counter make the name unique among writers; O_EXCL makes sure.
int createTemporary(const std::string &path, std::string &temporary)
{
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = folderOf(path) + "/." + nameOf(path) + "." + std::to_string(::getpid()) + "-"
                    + std::to_string(counter++) + ".tmp";
        const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    errno = EEXIST;
    return -1;
}

void track(const std::string &temporary)
{
    if (temporary.size() < sizeof g_temporary) {
        std::memcpy(g_temporary, temporary.c_str(), temporary.size() + 1);
        g_temporaryLive = true;
    }
}

std::string writeAll(int fd, const std::vector<uint8_t> &bytes)
{
    const WriteFunction writeFunction = g_write.load();
    size_t done = 0;
    while (done < bytes.size()) {
        const long n = writeFunction(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n == 0 ? std::string("cannot write (no space left on device)") : systemError("cannot write");
        done += size_t(n);
    }
    return {};
}

// Writes, syncs and checks the temporary; closes it in every case.
std::string fillTemporary(int fd, const std::string &path, const std::vector<uint8_t> &bytes)
{
    std::string error = writeAll(fd, bytes);
    struct stat existing;
    if (error.empty() && ::stat(path.c_str(), &existing) == 0)
        ::fchmod(fd, existing.st_mode & 07777); // a replaced file keeps its permissions
    if (error.empty() && ::fsync(fd) != 0)
        error = systemError("cannot write");
    struct stat written;
    if (error.empty() && (::fstat(fd, &written) != 0 || uint64_t(written.st_size) != bytes.size()))
        error = "the file written has the wrong size";
    if (::close(fd) != 0 && error.empty())
        error = systemError("cannot write");
    return error;
}

} // namespace

std::string checkTarget(const std::string &path)
{
    if (path.empty() || path.back() == '/')
        return "no file name";
    struct stat info;
    if (::stat(path.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode))
            return "it is a folder";
        if (::access(path.c_str(), W_OK) != 0)
            return "the file is write-protected";
    }
    const std::string folder = folderOf(path);
    if (::stat(folder.c_str(), &info) != 0)
        return "folder '" + folder + "' does not exist";
    if (!S_ISDIR(info.st_mode))
        return "'" + folder + "' is not a folder";
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return "folder '" + folder + "' is not writable";
    return {};
}

std::string writeFileChecked(const std::string &path, const std::vector<uint8_t> &bytes)
{
    const std::string refusal = checkTarget(path);
    if (!refusal.empty())
        return refusal;
    std::string temporary;
    const int fd = createTemporary(path, temporary);
    if (fd < 0)
        return systemError("cannot create a file in the folder");
    track(temporary);
    std::string error = fillTemporary(fd, path, bytes);
    if (error.empty() && ::rename(temporary.c_str(), path.c_str()) != 0)
        error = systemError("cannot replace the file");
    if (!error.empty())
        ::unlink(temporary.c_str());
    g_temporaryLive = false;
    return error;
}

void installWriteSignalGuard()
{
    std::signal(SIGPIPE, SIG_IGN);
    // Past a file-size limit the write fails with EFBIG, which the checked
    // write reports, instead of the signal ending the process mid-file.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGINT, removeTemporaryAndDie);
    std::signal(SIGTERM, removeTemporaryAndDie);
}

void setWriteFunctionForTesting(WriteFunction function)
{
    g_write = function ? function : systemWrite;
}

} // namespace photoio
