// A file's identity: whether the file at a path is still the one that was
// read, for unchanged, rewritten, touched and deleted files.
#include "photoio.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int64_t kSecond = 1'000'000'000;

class Identity : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/mervane-identity-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        m_path = m_dir + "/photo.jpg";
    }
    void TearDown() override
    {
        std::remove(m_path.c_str());
        std::remove((m_path + ".new").c_str());
        rmdir(m_dir.c_str());
    }

    // Writes `bytes` in place (same inode), as an editor saving over it may.
    void writeInPlace(const std::vector<uint8_t> &bytes, const std::string &path) const
    {
        FILE *f = std::fopen(path.c_str(), "wb");
        ASSERT_NE(f, nullptr);
        ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), f), bytes.size());
        std::fclose(f);
    }

    // A real photo file: what the module itself writes.
    std::vector<uint8_t> photoBytes(int seed) const
    {
        cv::Mat image(120, 160, CV_8UC3);
        cv::RNG rng{uint64_t(seed)};
        rng.fill(image, cv::RNG::UNIFORM, 0, 256);
        return photoio::encode(image, ".png").bytes;
    }

    // Moves the file's modification time into the past, as a photo copied
    // from a camera carries.
    void ageFile(int64_t seconds) const
    {
        timespec times[2];
        clock_gettime(CLOCK_REALTIME, &times[0]);
        times[0].tv_sec -= seconds;
        times[1] = times[0];
        ASSERT_EQ(utimensat(AT_FDCWD, m_path.c_str(), times, 0), 0);
    }

    std::string m_dir;
    std::string m_path;
};

TEST_F(Identity, UnchangedFileIsTheSame)
{
    writeInPlace(photoBytes(1), m_path);
    const photoio::FileIdentity id = photoio::identifyFile(m_path);
    ASSERT_TRUE(id.exists);
    EXPECT_EQ(id.size, photoBytes(1).size());
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Same);
}

TEST_F(Identity, UnchangedFileReadLongAfterItsWriteIsTheSame)
{
    // The times alone decide when the file was written well before it was read.
    writeInPlace(photoBytes(1), m_path);
    photoio::FileIdentity id = photoio::identifyFile(m_path);
    id.takenNs += 10 * kSecond;
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Same);
}

TEST_F(Identity, DecodeGivesTheIdentityOfWhatItRead)
{
    const std::vector<uint8_t> bytes = photoBytes(2);
    writeInPlace(bytes, m_path);
    photoio::FileIdentity id;
    const photoio::Decoded d = photoio::decodeFile(m_path, id);
    ASSERT_TRUE(d.readable());
    EXPECT_TRUE(id.exists);
    EXPECT_EQ(id.size, bytes.size());
    EXPECT_EQ(id.contentHash, photoio::contentHash(bytes.data(), bytes.size()));
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Same);

    photoio::FileIdentity reduced;
    ASSERT_TRUE(photoio::decodeFileReduced(m_path, 4, &reduced).readable());
    EXPECT_EQ(reduced.contentHash, id.contentHash);

    photoio::FileIdentity missing;
    EXPECT_FALSE(photoio::decodeFile(m_dir + "/none.png", missing).readable());
    EXPECT_FALSE(missing.exists);
}

TEST_F(Identity, RewrittenWithOtherBytesOfTheSameSizeIsChanged)
{
    std::vector<uint8_t> bytes = photoBytes(3);
    writeInPlace(bytes, m_path);
    ageFile(3600);
    photoio::FileIdentity id = photoio::identifyFile(m_path);
    id.takenNs += 10 * kSecond;
    // One byte in the middle, same length, same inode; and the old time put
    // back, as a copy that keeps times would.
    bytes[bytes.size() / 2] ^= 0x40;
    writeInPlace(bytes, m_path);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Changed);
    ageFile(3600);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Changed);
}

TEST_F(Identity, RewrittenWithinTheSameClockTickIsChanged)
{
    // Read and rewritten at once: the times may not have moved, the bytes did.
    std::vector<uint8_t> bytes = photoBytes(4);
    writeInPlace(bytes, m_path);
    const photoio::FileIdentity id = photoio::identifyFile(m_path);
    bytes[100] ^= 1;
    writeInPlace(bytes, m_path);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Changed);
}

TEST_F(Identity, ReplacedByAnotherFileIsChanged)
{
    writeInPlace(photoBytes(5), m_path);
    const photoio::FileIdentity id = photoio::identifyFile(m_path);
    // A save of another photo, renamed over the old one (a new inode).
    const std::string error = photoio::writeFileChecked(m_path, photoBytes(6));
    ASSERT_EQ(error, "");
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Changed);
}

TEST_F(Identity, TouchedWithTheSameBytesIsTheSame)
{
    const std::vector<uint8_t> bytes = photoBytes(7);
    writeInPlace(bytes, m_path);
    ageFile(3600);
    photoio::FileIdentity id = photoio::identifyFile(m_path);
    id.takenNs += 10 * kSecond;
    // touch: new times, same bytes.
    ASSERT_EQ(utimensat(AT_FDCWD, m_path.c_str(), nullptr, 0), 0);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Same);
    // The same bytes written again in place, and through a rename (new inode).
    writeInPlace(bytes, m_path);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Same);
    ASSERT_EQ(photoio::writeFileChecked(m_path, bytes), "");
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Same);
}

TEST_F(Identity, DeletedOrMovedAwayIsGone)
{
    writeInPlace(photoBytes(8), m_path);
    const photoio::FileIdentity id = photoio::identifyFile(m_path);
    ASSERT_EQ(std::rename(m_path.c_str(), (m_path + ".new").c_str()), 0);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Gone);
    ASSERT_EQ(std::remove((m_path + ".new").c_str()), 0);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Gone);
    // A folder where the file was is no file.
    ASSERT_EQ(mkdir(m_path.c_str(), 0700), 0);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Gone);
    rmdir(m_path.c_str());
}

TEST_F(Identity, ALongerOrShorterFileIsChanged)
{
    std::vector<uint8_t> bytes = photoBytes(9);
    writeInPlace(bytes, m_path);
    const photoio::FileIdentity id = photoio::identifyFile(m_path);
    bytes.push_back(0);
    writeInPlace(bytes, m_path);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Changed);
    bytes.resize(bytes.size() / 2);
    writeInPlace(bytes, m_path);
    EXPECT_EQ(photoio::checkFile(id, m_path), photoio::FileState::Changed);
}

TEST_F(Identity, AnIdentityOfNoFileMatchesNothing)
{
    const photoio::FileIdentity none = photoio::identifyFile(m_dir + "/none.jpg");
    EXPECT_FALSE(none.exists);
    writeInPlace(photoBytes(10), m_path);
    EXPECT_EQ(photoio::checkFile(none, m_path), photoio::FileState::Changed);
}

TEST(ContentHash, TellsEveryByteAndTheLength)
{
    std::vector<uint8_t> bytes(1000);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = uint8_t(i * 7);
    const uint64_t h = photoio::contentHash(bytes.data(), bytes.size());
    for (size_t i : {size_t(0), size_t(31), size_t(32), size_t(500), size_t(998), size_t(999)}) {
        std::vector<uint8_t> other = bytes;
        other[i] ^= 1;
        EXPECT_NE(photoio::contentHash(other.data(), other.size()), h) << i;
    }
    EXPECT_NE(photoio::contentHash(bytes.data(), bytes.size() - 1), h);
    std::vector<uint8_t> zeros(64, 0);
    EXPECT_NE(photoio::contentHash(zeros.data(), 64), photoio::contentHash(zeros.data(), 63));
    EXPECT_EQ(photoio::contentHash(bytes.data(), bytes.size()), h);
}

} // namespace
