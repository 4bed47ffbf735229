#ifndef MERVANE_MYPATCHMATCH_H
#define MERVANE_MYPATCHMATCH_H

#include <QObject>
#include <opencv2/core.hpp>

#include "levelrules.h"
#include "widevote.h"

#include <atomic>
#include <functional>
#include <cstdint>

// The synthesis engine: patch-match kernels and the multi-scale drivers that
// fill a hole (with or without a donor area) or settle a moved piece into a
// photo. One object per photo, owned by its ThreadFromQThread and run on that
// thread. Not a thread itself.
//
// Image conventions: colour images CV_8UC3 (B, G, R); selection images four
// 8-bit channels (red selects at channel 2 > 254, green at channel 1 > 254);
// level masks CV_8UC3, channel 0 == 255 marks a pixel; byte maps are
// rows x cols bytes, row-major, a positive byte marks a pixel.
//
// The nearest-neighbour field is CV_16SC3 of absolute (x, y, 0) source
// positions and the cost map CV_16SC1, both read as unsigned 16-bit. The
// sweeps share them between threads on purpose; every load and store of
// their cells goes through relaxed atomics, so the races are benign.
class MyPatchMatch : public QObject
{
    Q_OBJECT

public:
    MyPatchMatch();
    ~MyPatchMatch() override;

    MyPatchMatch(const MyPatchMatch &) = delete;
    MyPatchMatch &operator=(const MyPatchMatch &) = delete;

    // --- Byte maps -------------------------------------------------------
    void allocCloneMap(int size, bool reallocate);
    void allocEraseMaps(int size, bool reallocate);
    // Frees what a job left behind: the byte maps (the next job allocates
    // them afresh), the donor mask of the last level, and the final vote
    // unless m_keepFinalVote asked for it. The similarity table stays.
    void releaseJobBuffers();
    void growEraseMap(int rows, int cols);
    // Stamps every pixel of `selection` whose `channel` is above 254 into
    // `target` as the 3 x 3 disc of radius m_dilateRadius (strict test), and
    // sets m_rows / m_cols. Returns whether anything was stamped.
    bool stampSelection(const cv::Mat &selection, int channel, unsigned char *target);
    // Donor erase: pixels stamped both in m_eraseMap and m_donorMap become
    // the hole (holeMap = 1) and leave both maps; everything else gets 0 in
    // holeMap. Afterwards m_donorMap is the green that red did not cover.
    void splitHoleFromDonor(unsigned char *holeMap, int size);

    // --- Weights ---------------------------------------------------------
    void buildSimilarity();

    // --- Patch distance --------------------------------------------------
    // 0 (identical) .. 65535 (nothing comparable).
    unsigned int patchDistance(const cv::Mat &target, int targetRow, int targetCol,
                               const cv::Mat &source, int sourceRow, int sourceCol,
                               const cv::Mat &mask) const;

    // The same cost when it is below `bound`; otherwise some value of at
    // least `bound` (the sum stops as soon as the candidate has lost). What
    // improveMatch uses: only "d < current cost" decides there.
    unsigned int patchDistanceBelow(const cv::Mat &target, int targetRow, int targetCol,
                                    const cv::Mat &source, int sourceRow, int sourceCol,
                                    const cv::Mat &mask, unsigned int bound) const;

    // --- Field set-up ----------------------------------------------------
    void initFieldRandom(const cv::Mat &source, const cv::Mat &target, const cv::Mat &mask,
                         cv::Mat &field, cv::Mat &cost);
    void initFieldUpscaled(const cv::Mat &source, const cv::Mat &target, const cv::Mat &mask,
                           const cv::Mat &oldField, cv::Mat &newField, cv::Mat &cost);
    void recomputeCost(const cv::Mat &source, const cv::Mat &target, const cv::Mat &mask,
                       const cv::Mat &field, cv::Mat &cost);
    void recomputeCost(const cv::Mat &source, const cv::Mat &target, const cv::Mat &mask,
                       const cv::Mat &unused, const cv::Mat &field, cv::Mat &cost);
    void initFieldClone(cv::Mat &field, cv::Mat &flags);
    void halveField(cv::Mat &out, const cv::Mat &old);
    void halveFieldMasked(cv::Mat &out, const cv::Mat &old, const cv::Mat &oldMask,
                          cv::Mat &outMask);
    void doubleFieldOffsets(const cv::Mat &old, cv::Mat &newField);
    void updateDonorBox();
    // x min, y min, width, height of m_cloneMap's content (sizes are
    // differences, one short of the pixel extent).
    cv::Rect cloneMapBox();

    // --- Propagation and random search -----------------------------------
    void improveMatch(const cv::Mat &source, const cv::Mat &target, cv::Mat &field,
                      const cv::Mat &mask, int y, int x, bool forward, cv::Mat &cost);
    void sweepField(cv::Mat &field, const cv::Mat &source, const cv::Mat &target,
                    const cv::Mat &mask, cv::Mat &cost, int sweepCount);
    void sweepRowsForward(cv::Mat &field, const cv::Mat &source, const cv::Mat &target,
                          const cv::Mat &mask, cv::Mat &cost, const cv::Mat &frozenMask);
    void sweepRowsBackward(cv::Mat &field, const cv::Mat &source, const cv::Mat &target,
                           const cv::Mat &mask, cv::Mat &cost, const cv::Mat &frozenMask);

    // --- Voting and pyramid ----------------------------------------------
    void voteImage(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                   const cv::Mat &mask, bool upscale, const cv::Mat &cost);
    // voteImage for the marked pixels only (mask channel 0 == 255); every
    // other pixel of out is left as it is. The full-size vote of an erase
    // uses it: the pixels outside the hole are written back afterwards.
    void voteHole(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                  const cv::Mat &mask, bool upscale, const cv::Mat &cost);
    int countMasked(const cv::Mat &mask);
    void halveImageMasked(cv::Mat &image, const cv::Mat &mask, cv::Mat &halfMask);
    // The erase pyramid: arrays of kLevelSlots + 1 Mats, level 0 (and the
    // donor's level 0 when levelDonors is not null) filled by the caller.
    // `levels` receives L, the number of halvings.
    void buildErasePyramid(cv::Mat &workingImage, cv::Mat *levelImages, cv::Mat *levelMasks,
                           cv::Mat *levelDonors, int &levels);

    // --- Drivers -----------------------------------------------------------
    void synthesizeErase(const cv::Mat &image, cv::Mat &out);
    void synthesizeDonorErase(const cv::Mat &image, cv::Mat &out, const unsigned char *holeMap);
    void synthesizeClone(cv::Mat &image, const cv::Mat &composite);

    // Pyramid depth limit of the erase pyramid.
    static constexpr int kLevelSlots = 20;

    // --- State, in declared order ------------------------------------------
    // Written by the interface thread (receiveCancelStatus), read by the
    // worker between steps; an atomic byte, so a late read only delays.
    std::atomic<bool> m_cancel{false};
    bool m_voteAll = false;
    int32_t m_maxLevels = 3;
    int32_t m_rows = 0;
    int32_t m_cols = 0;
    int32_t m_cloneOffsetX = 0;
    int32_t m_cloneOffsetY = 0;
    unsigned char *m_cloneMap = nullptr;
    cv::Mat m_donorLevelMask;
    double *m_similarity = nullptr;
    int32_t m_dilateRadius = engine::kStampRadius;
    int32_t m_patchRadius = 2;
    int32_t m_donorBoxRowMax = 0;
    int32_t m_donorBoxRowMin = 0;
    int32_t m_donorBoxColMin = 0;
    int32_t m_donorBoxColMax = 0;
    // Published engine settings that nothing changes: the grow step adds
    // nothing at 0, and the drivers run only while the gate is 1.
    int32_t m_growRadius = 0;
    int32_t m_eraseMode = 0;
    unsigned char *m_donorMap = nullptr;
    unsigned char *m_eraseMap = nullptr;
    int32_t m_runEnabled = 1;
    // Set before an erase to keep what its full-size vote used in
    // m_finalVote (see widevote.h); the output is the same either way.
    bool m_keepFinalVote = false;
    engine::FinalVote m_finalVote;

signals:
    // The pyramid level being worked, counting down to 1.
    void sendWorkProcess(long sum);
    // Published and connected to the job thread; the drivers end by returning.
    void sendFinish();

public slots:
    void receiveCancelStatus();

private:
    template <bool Bounded>
    unsigned int patchDistanceImpl(const cv::Mat &target, int targetRow, int targetCol,
                                   const cv::Mat &source, int sourceRow, int sourceCol,
                                   const cv::Mat &mask, unsigned int bound) const;
    void voteRows(const cv::Mat &source, cv::Mat &out, const cv::Mat &field,
                  const cv::Mat &mask, bool upscale, const cv::Mat &cost, bool holeOnly);
    bool cancelled() const { return m_cancel.load(std::memory_order_relaxed); }
    // The walk shared by both erase drivers; a null holeMap means a plain
    // erase (hole from m_eraseMap), otherwise a donor-guided one.
    void runErase(const cv::Mat &image, cv::Mat &out, const unsigned char *holeMap);

    // What a driver does at each level of the coarse-to-fine walk.
    struct WalkSteps
    {
        // Sets up the level (working picture, field, cost) and returns the
        // mask its sweeps and votes read.
        std::function<cv::Mat(int level)> begin;
        // How many rounds of sweeps and a vote the level takes.
        std::function<int(int level)> rounds;
        // One round's sweeps; false when the job was cancelled.
        std::function<bool(int level, const cv::Mat &mask)> sweep;
        // The last vote onto full size fills the hole only.
        bool holeOnlyAtBase = false;
        // Called, if set, just before that last vote, with the field, cost
        // map and full-size mask it will read.
        std::function<void(const cv::Mat &field, const cv::Mat &cost, const cv::Mat &mask)> beforeBaseVote;
        // Progress after every round rather than once per level.
        bool progressEachRound = false;
        // If set, the full-size picture the last vote writes into (of the
        // finest level's size and type, and read by nothing during the
        // walk), instead of a new one: the caller's output, which saves a
        // full-size buffer at the job's peak.
        cv::Mat *baseTarget = nullptr;
    };
    // From the coarsest level down to 1: rounds of sweeps, each followed by
    // a vote at the level, except the last, which votes at the next finer
    // size and so does the step up. Leaves the full-size picture in result;
    // false when cancelled (result is then not complete).
    bool walkCoarseToFine(int coarsest, const cv::Mat *levelImages, const cv::Mat *levelMasks,
                          cv::Mat &field, cv::Mat &cost, cv::Mat &result, const WalkSteps &steps);
};

#endif // MERVANE_MYPATCHMATCH_H
