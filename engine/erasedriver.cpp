// The two erase drivers: build the hole-aware pyramid, then walk it coarse to
// fine, alternating sweeps of the field with votes. The last vote of each
// level runs at the next finer size, so the vote also does the step up.

#include "mypatchmatch.h"

#include <QDebug>
#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace {

// Outside the hole the full-size vote reproduces the input exactly, except
// where a pixel gathers less than full weight: the last column (row) of an
// odd-sized picture is reached only by edge patches, and would keep the
// blurred bilinear upscale of the coarser level - a faint seam at the crop's
// edge. Pixels the user did not mark are known, so write them back.
void restoreUnmarkedPixels(const cv::Mat &input, const cv::Mat &levelMask, cv::Mat &result)
{
    for (int r = 0; r < result.rows; ++r) {
        const uchar *src = input.ptr<uchar>(r);
        const uchar *m = levelMask.ptr<uchar>(r);
        uchar *dst = result.ptr<uchar>(r);
        for (int c = 0; c < result.cols; ++c) {
            if (m[3 * c] == 0) {
                dst[3 * c] = src[3 * c];
                dst[3 * c + 1] = src[3 * c + 1];
                dst[3 * c + 2] = src[3 * c + 2];
            }
        }
    }
}

// The full-size level's masks from the job's byte maps: the hole (of a
// plain erase: erase map > 0; of a donor erase: hole map >= 1) and, for a
// donor erase, the donor area (donor map > 0), as 255 in the first channel
// of the zeroed CV_8UC3 masks.
void markBaseLevel(const unsigned char *holeMarks, bool donorErase, const unsigned char *donorMarks,
                   cv::Mat &holeMask, cv::Mat *donorMask)
{
    const int rows = holeMask.rows, cols = holeMask.cols;
#pragma omp parallel for schedule(static)
    for (int r = 0; r < rows; ++r) {
        uchar *m = holeMask.ptr<uchar>(r);
        uchar *d = donorMask ? donorMask->ptr<uchar>(r) : nullptr;
        const size_t base = size_t(r) * cols;
        for (int c = 0; c < cols; ++c) {
            const bool hole = donorErase ? holeMarks[base + c] >= 1 : (holeMarks && holeMarks[base + c] > 0);
            m[3 * c] = hole ? 255 : 0;
            if (d)
                d[3 * c] = (donorMarks && donorMarks[base + c] > 0) ? 255 : 0;
        }
    }
}

// The plain erase's closing debug line, with its time since `start`.
void logEraseTime(int64 start)
{
    const double ms = double(cv::getTickCount() - start) * 1000.0 / cv::getTickFrequency();
    qDebug() << "execution time 0000==" << ms << " ms";
}

} // namespace

void MyPatchMatch::synthesizeErase(const cv::Mat &image, cv::Mat &out)
{
    runErase(image, out, nullptr);
}

void MyPatchMatch::synthesizeDonorErase(const cv::Mat &image, cv::Mat &out,
                                        const unsigned char *holeMap)
{
    runErase(image, out, holeMap);
}

void MyPatchMatch::runErase(const cv::Mat &image, cv::Mat &out, const unsigned char *holeMap)
{
    const bool donor = (holeMap != nullptr);
    const int64 start = donor ? 0 : cv::getTickCount();

    // Made by the coarsest level (initFieldRandom) before anything reads
    // it: no full-size field is allocated up front.
    cv::Mat field;
    cv::Mat cost;
    m_patchRadius = 2;

    cv::Mat levelImages[kLevelSlots + 1];
    cv::Mat levelMasks[kLevelSlots + 1];
    cv::Mat levelDonors[kLevelSlots + 1];

    // The input is only read: the pyramid build replaces workingImage by
    // each new half-size picture instead of writing into it.
    cv::Mat workingImage = image;
    levelImages[0] = image;
    levelMasks[0] = cv::Mat(image.size(), CV_8UC3, cv::Scalar::all(0));
    if (donor)
        levelDonors[0] = cv::Mat(image.size(), CV_8UC3, cv::Scalar::all(0));

    markBaseLevel(donor ? holeMap : m_eraseMap, donor, donor ? m_donorMap : nullptr, levelMasks[0],
                  donor ? &levelDonors[0] : nullptr);

    if (cancelled())
        return;
    int L = 0;
    buildErasePyramid(workingImage, levelImages, levelMasks, donor ? levelDonors : nullptr, L);
    if (cancelled())
        return;

    cv::Mat result = levelImages[L].clone();
    if (L > 0) {
        if (cancelled())
            return;
        WalkSteps steps;
        steps.begin = [&](int i) {
            // The level's image and masks are only read from here on.
            workingImage = levelImages[i];
            cv::Mat mask = levelMasks[i];
            if (donor) {
                m_donorLevelMask = levelDonors[i];
                updateDonorBox();
            }
            if (i == L) {
                initFieldRandom(workingImage, result, mask, field, cost);
            } else {
                cv::Mat newField(workingImage.size(), CV_16SC3);
                initFieldUpscaled(workingImage, result, mask, field, newField, cost);
                field = newField;
            }
            return mask;
        };
        // Coarse levels are cheap and get the most iterations.
        steps.rounds = [&](int i) { return std::max(2 * i, donor ? 3 : 6); };
        steps.sweep = [&](int i, const cv::Mat &mask) {
            if (cancelled())
                return false;
            sweepField(field, workingImage, result, mask, cost, std::max(i, donor ? 3 : 4));
            return true;
        };
        // At full size every unmarked pixel is written back from the input
        // below; only the hole needs its votes.
        steps.holeOnlyAtBase = true;
        if (m_keepFinalVote) {
            steps.beforeBaseVote = [&](const cv::Mat &baseField, const cv::Mat &baseCost, const cv::Mat &baseMask) {
                m_finalVote = engine::keepFinalVote(baseField, baseCost, baseMask, m_similarity, m_patchRadius);
            };
        }
        steps.progressEachRound = !donor;
        // The last vote goes straight into the output, which nothing reads
        // during the walk (the input is a picture of its own).
        if (out.size() == image.size() && out.type() == image.type() && out.data != image.data)
            steps.baseTarget = &out;
        if (!walkCoarseToFine(L, levelImages, levelMasks, field, cost, result, steps))
            return;
    }

    if (L > 0)
        restoreUnmarkedPixels(levelImages[0], levelMasks[0], result);
    if (!donor)
        qDebug() << field.rows << field.cols << result.rows << result.cols;
    if (result.data != out.data)
        result.copyTo(out);
    if (!donor)
        logEraseTime(start);
}
