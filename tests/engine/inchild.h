#ifndef MERVANE_TESTS_ENGINE_INCHILD_H
#define MERVANE_TESTS_ENGINE_INCHILD_H

// Runs work in a forked child process and brings back the bytes it made.
// Engine runs are repeatable only from the same generator state: the engine
// seeds its generators from the clock, once per thread, so children forked
// from one parent (whose one thread has drawn already) all continue from the
// same state, and two runs differ only by what they were asked to do.

#include <cstdint>
#include <functional>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

// The bytes `work` returned in the child; empty if the child failed or
// made nothing.
inline std::vector<uint8_t> bytesFromChild(const std::function<std::vector<uint8_t>()> &work)
{
    int fds[2];
    if (pipe(fds) != 0)
        return {};
    const pid_t child = fork();
    if (child < 0) {
        close(fds[0]);
        close(fds[1]);
        return {};
    }
    if (child == 0) {
        close(fds[0]);
        const std::vector<uint8_t> bytes = work();
        size_t sent = 0;
        for (ssize_t w; sent < bytes.size() && (w = write(fds[1], bytes.data() + sent, bytes.size() - sent)) > 0;)
            sent += size_t(w);
        _exit(sent == bytes.size() && !bytes.empty() ? 0 : 1);
    }
    close(fds[1]);
    std::vector<uint8_t> bytes;
    uint8_t buffer[1 << 16];
    for (ssize_t r; (r = read(fds[0], buffer, sizeof buffer)) > 0;)
        bytes.insert(bytes.end(), buffer, buffer + r);
    close(fds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? bytes : std::vector<uint8_t>();
}

#endif // MERVANE_TESTS_ENGINE_INCHILD_H
