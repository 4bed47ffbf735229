// The checked write: all or nothing on a full disk, a failing write, a
// signal; temporaries never left behind; SIGPIPE harmless.

#include "photoio.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::vector<uint8_t> pattern(size_t size, uint8_t seed)
{
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = uint8_t(seed + i * 7 + (i >> 9));
    return bytes;
}

std::vector<uint8_t> contents(const fs::path &file)
{
    std::ifstream in(file, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class CheckedWrite : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_dir = fs::temp_directory_path() / ("checkedwrite-" + std::to_string(::getpid()));
        fs::create_directories(m_dir);
        m_target = (m_dir / "photo.png").string();
        ASSERT_EQ(photoio::writeFileChecked(m_target, m_original), "");
    }
    void TearDown() override
    {
        photoio::setWriteFunctionForTesting(nullptr);
        fs::remove_all(m_dir);
    }

    // The folder holds the target, unchanged, and nothing else.
    void expectOriginalAlone()
    {
        EXPECT_EQ(contents(m_target), m_original);
        int files = 0;
        for (const auto &entry : fs::directory_iterator(m_dir)) {
            EXPECT_EQ(entry.path().filename(), "photo.png") << "left behind: " << entry.path();
            ++files;
        }
        EXPECT_EQ(files, 1);
    }

    fs::path m_dir;
    std::string m_target;
    const std::vector<uint8_t> m_original = pattern(3000, 1);
};

// Writes half of what it is asked, then finds the disk full.
long halfThenFull(int fd, const void *data, unsigned long size)
{
    static thread_local int calls = 0;
    if (calls++ % 2 == 0)
        return long(::write(fd, data, size / 2 + 1));
    errno = ENOSPC;
    return -1;
}

long neverWrites(int, const void *, unsigned long) { return 0; }

} // namespace

TEST_F(CheckedWrite, WritesAndReplacesKeepingPermissions)
{
    ::chmod(m_target.c_str(), 0640);
    const std::vector<uint8_t> next = pattern(100000, 9);
    ASSERT_EQ(photoio::writeFileChecked(m_target, next), "");
    EXPECT_EQ(contents(m_target), next);
    struct stat info;
    ASSERT_EQ(::stat(m_target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_dir), fs::directory_iterator()), 1);
}

TEST_F(CheckedWrite, TargetsThatCannotBeWrittenAreNamed)
{
    fs::create_directory(m_dir / "x.png");
    EXPECT_EQ(photoio::checkTarget((m_dir / "x.png").string()), "it is a folder");
    EXPECT_NE(photoio::checkTarget((m_dir / "no/such/out.png").string()).find("does not exist"), std::string::npos);
    EXPECT_NE(photoio::checkTarget(m_target + "/out.png").find("is not a folder"), std::string::npos);
    EXPECT_NE(photoio::checkTarget(""), "");
    EXPECT_EQ(photoio::checkTarget(m_target), "");
    EXPECT_NE(photoio::writeFileChecked((m_dir / "x.png").string(), m_original), "");
    EXPECT_TRUE(fs::is_directory(m_dir / "x.png"));
}

TEST_F(CheckedWrite, FailingWriteKeepsTheOriginal)
{
    photoio::setWriteFunctionForTesting(halfThenFull);
    const std::string error = photoio::writeFileChecked(m_target, pattern(50000, 3));
    EXPECT_NE(error.find("No space left on device"), std::string::npos) << error;
    expectOriginalAlone();
    photoio::setWriteFunctionForTesting(neverWrites);
    EXPECT_NE(photoio::writeFileChecked(m_target, pattern(10, 3)), "");
    expectOriginalAlone();
}

// A full disk where the test may mount a small tmpfs; elsewhere a file-size
// limit, set in a child process, makes the same write fail part-way.
TEST_F(CheckedWrite, FullDiskKeepsTheOriginal)
{
    const fs::path small = m_dir / "small";
    fs::create_directory(small);
    const bool tmpfs = ::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=64k") == 0;
    const std::string target = (small / "photo.webp").string();
    EXPECT_EQ(photoio::writeFileChecked(target, m_original), "");
    if (tmpfs) {
        EXPECT_NE(photoio::writeFileChecked(target, pattern(200000, 5)), "");
    } else {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            photoio::installWriteSignalGuard();
            const rlimit limit{100000, 100000};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            const std::string error = photoio::writeFileChecked(target, pattern(200000, 5));
            ::_exit(error.find("File too large") != std::string::npos ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the write did not fail past the limit";
    }
    EXPECT_EQ(contents(target), m_original);
    EXPECT_EQ(std::distance(fs::directory_iterator(small), fs::directory_iterator()), 1);
    if (tmpfs)
        ::umount(small.c_str());
}

TEST_F(CheckedWrite, SignalDuringTheWriteRemovesTheTemporary)
{
    for (int signal : {SIGTERM, SIGINT}) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            photoio::installWriteSignalGuard();
            static int s_signal;
            s_signal = signal;
            photoio::setWriteFunctionForTesting([](int fd, const void *data, unsigned long size) -> long {
                const long n = long(::write(fd, data, size / 2));
                ::raise(s_signal);
                return n;
            });
            photoio::writeFileChecked(m_target, pattern(20000, 7));
            ::_exit(0); // not reached: the signal ends the process
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
        expectOriginalAlone();
    }
}

TEST_F(CheckedWrite, SigpipeIsHarmless)
{
    photoio::installWriteSignalGuard();
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    ::close(fds[0]);
    errno = 0;
    EXPECT_EQ(::write(fds[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    ::close(fds[1]);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

TEST_F(CheckedWrite, ConcurrentWritersNeverMix)
{
    const std::vector<uint8_t> a = pattern(400000, 11), b = pattern(300000, 13);
    std::thread first([&] {
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(photoio::writeFileChecked(m_target, a), "");
    });
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(photoio::writeFileChecked(m_target, b), "");
    first.join();
    const std::vector<uint8_t> result = contents(m_target);
    EXPECT_TRUE(result == a || result == b);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_dir), fs::directory_iterator()), 1);
}
