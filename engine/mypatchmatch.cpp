#include "mypatchmatch.h"
#include "enginecells.h"
#include "levelrules.h"

#include <QDebug>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

namespace engine {

uint64_t nextThreadSeed()
{
    static std::atomic<uint64_t> counter{
        static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count())};
    // splitmix64 of a per-thread ticket: distinct, well-mixed, never zero.
    uint64_t z = counter.fetch_add(0x9E3779B97F4A7C15ULL, std::memory_order_relaxed);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    z ^= z >> 31;
    return z ? z : 0x2545F4914F6CDD1DULL;
}

} // namespace engine

MyPatchMatch::MyPatchMatch()
    : QObject(nullptr)
{
    buildSimilarity();
}

MyPatchMatch::~MyPatchMatch()
{
    delete[] m_similarity;
    delete[] m_cloneMap;
    delete[] m_eraseMap;
    delete[] m_donorMap;
}

void MyPatchMatch::receiveCancelStatus()
{
    qDebug() << "receiveCancelStatus。。";
    m_cancel.store(true, std::memory_order_relaxed);
}

void MyPatchMatch::allocCloneMap(int size, bool reallocate)
{
    size = std::max(size, 0);
    if (reallocate) {
        delete[] m_cloneMap;
        m_cloneMap = new unsigned char[size > 0 ? size : 1];
    }
    if (m_cloneMap)
        std::memset(m_cloneMap, 0, size);
}

void MyPatchMatch::allocEraseMaps(int size, bool reallocate)
{
    size = std::max(size, 0);
    if (reallocate) {
        delete[] m_eraseMap;
        delete[] m_donorMap;
        m_eraseMap = new unsigned char[size > 0 ? size : 1];
        m_donorMap = new unsigned char[size > 0 ? size : 1];
    }
    if (m_eraseMap)
        std::memset(m_eraseMap, 0, size);
    if (m_donorMap)
        std::memset(m_donorMap, 0, size);
}

void MyPatchMatch::releaseJobBuffers()
{
    delete[] m_cloneMap;
    delete[] m_eraseMap;
    delete[] m_donorMap;
    m_cloneMap = m_eraseMap = m_donorMap = nullptr;
    m_donorLevelMask.release();
    if (!m_keepFinalVote)
        m_finalVote = engine::FinalVote();
}

void MyPatchMatch::growEraseMap(int rows, int cols)
{
    // With the radius at 0 this is the identity; it stays in the pipeline so
    // that a wider growth is one constant away.
    if (!m_eraseMap || rows <= 0 || cols <= 0)
        return;
    const int r = m_growRadius;
    std::vector<unsigned char> snapshot(m_eraseMap, m_eraseMap + size_t(rows) * cols);
    for (int y = 0; y < rows; ++y) {
        const unsigned char *srow = snapshot.data() + size_t(y) * cols;
        for (int x = 0; x < cols; ++x) {
            if (srow[x] != 1)
                continue;
            for (int yy = std::max(0, y - r); yy <= std::min(rows - 1, y + r); ++yy)
                for (int xx = std::max(0, x - r); xx <= std::min(cols - 1, x + r); ++xx)
                    m_eraseMap[size_t(yy) * cols + xx] = 1;
        }
    }
}

bool engine::stampSelectionMap(const cv::Mat &selection, int channel, int radius,
                               unsigned char *target)
{
    if (selection.empty() || !target || channel >= selection.channels())
        return false;
    const int rows = selection.rows;
    const int cols = selection.cols;
    const int cn = selection.channels();
    const int r = std::max(radius, 0);
    // The disc, row by row: at vertical offset dy it covers the columns
    // within halfWidth[dy + r] of the pixel (strict test dx * dx + dy * dy
    // < r * r; -1: none). With r = 2 that is the 3 x 3 square.
    std::vector<int> halfWidth(size_t(2 * r + 1), -1);
    for (int dy = -r; dy <= r; ++dy)
        for (int dx = 0; dx <= r; ++dx)
            if (dx * dx + dy * dy < r * r)
                halfWidth[size_t(dy + r)] = dx;
    // Per row, the distance from each column to the nearest selected pixel
    // on its left and on its right: a pixel is stamped at offset dy when
    // the nearer one is within that row's half-width. The same bytes as
    // stamping the disc around every selected pixel, in time independent of
    // how much is selected.
    constexpr int kFar = INT_MAX / 2;
    std::vector<int> left(static_cast<size_t>(cols)), right(static_cast<size_t>(cols));
    bool stamped = false;
    for (int y = 0; y < rows; ++y) {
        const uchar *row = selection.ptr<uchar>(y);
        int first = 0;
        while (first < cols && row[first * cn + channel] <= 254)
            ++first;
        if (first == cols)
            continue;
        stamped = true;
        int last = -kFar;
        for (int x = 0; x < cols; ++x) {
            if (x >= first && row[x * cn + channel] > 254)
                last = x;
            left[x] = x - last;
        }
        last = 2 * kFar;
        for (int x = cols - 1; x >= 0; --x) {
            if (left[x] == 0)
                last = x;
            right[x] = last - x;
        }
        for (int dy = -r; dy <= r; ++dy) {
            const int w = halfWidth[size_t(dy + r)];
            const int yy = y + dy;
            if (w < 0 || yy < 0 || yy >= rows)
                continue;
            unsigned char *t = target + size_t(yy) * cols;
            for (int x = 0; x < cols; ++x)
                if (std::min(left[x], right[x]) <= w)
                    t[x] = 1;
        }
    }
    return stamped;
}

bool MyPatchMatch::stampSelection(const cv::Mat &selection, int channel, unsigned char *target)
{
    if (!engine::stampSelectionMap(selection, channel, m_dilateRadius, target))
        return false;
    m_rows = selection.rows;
    m_cols = selection.cols;
    return true;
}

void MyPatchMatch::splitHoleFromDonor(unsigned char *holeMap, int size)
{
    // Red over green belongs to the hole only.
    for (int i = 0; i < size; ++i) {
        if (m_eraseMap[i] == 1 && m_donorMap[i] == 1) {
            holeMap[i] = 1;
            m_eraseMap[i] = 0;
            m_donorMap[i] = 0;
        } else {
            holeMap[i] = 0;
        }
    }
}

void MyPatchMatch::buildSimilarity()
{
    // Weight of a vote by its patch cost: flat near 1 for good matches,
    // 0.5 at a tenth of full scale, practically 0 from a quarter on. The
    // coefficient makes the formula's value at 0 equal 0.999, the constant
    // stored there. The 65,536 values are computed once per process and
    // copied into each engine's table.
    static const std::vector<double> table = [] {
        std::vector<double> t(65536);
        const double coefficient = 34.53377389324276;
        t[0] = 0.999;
        for (int i = 1; i < 65536; ++i)
            t[i] = 0.5 - 0.5 * std::tanh((i / 65536.0 - 0.1) * coefficient);
        return t;
    }();
    if (!m_similarity)
        m_similarity = new double[65536];
    std::memcpy(m_similarity, table.data(), 65536 * sizeof(double));
}
