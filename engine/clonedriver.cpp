// The clone driver: reconciles a composite (the photo with a piece drawn at
// its new place) with the photo over a shallow pyramid. The moved piece keeps
// its seeded vectors at the two coarsest levels and is free below.

#include "mypatchmatch.h"

#include <opencv2/imgproc.hpp>

void MyPatchMatch::synthesizeClone(cv::Mat &image, const cv::Mat &composite)
{
    cv::Mat field(image.size(), CV_16SC3, cv::Scalar::all(0));
    cv::Mat cost;
    m_patchRadius = 2;

    cv::Mat levelImages[kLevelSlots + 1];
    cv::Mat levelMasks[kLevelSlots + 1];

    cv::Mat workingImage = image.clone();
    levelImages[0] = workingImage.clone();
    levelMasks[0] = cv::Mat(image.size(), CV_8UC3, cv::Scalar::all(0));
    initFieldClone(field, levelMasks[0]);
    cv::Mat result = composite.clone();
    m_maxLevels = 4;

    // Clone pyramid: pyrDown sizes (rounded up); the marked area dilates
    // through halveFieldMasked and never vanishes.
    int L = 0;
    if (workingImage.rows > 2 && workingImage.cols > 2) {
        for (int l = 0;; ++l) {
            if (countMasked(levelMasks[l]) == 0) {
                L = l - 1;
                break;
            }
            L = l + 1;
            cv::Mat down;
            cv::pyrDown(workingImage, down, cv::Size(), cv::BORDER_DEFAULT);
            workingImage = down;
            cv::pyrDown(result, down, cv::Size(), cv::BORDER_DEFAULT);
            result = down;
            cv::Mat halfField;
            halveFieldMasked(halfField, field, levelMasks[l], levelMasks[l + 1]);
            field = halfField;
            levelImages[l + 1] = workingImage.clone();
            if (workingImage.rows <= 2 || workingImage.cols <= 2)
                break;
            if (L >= m_maxLevels)
                break;
        }
        // Only the two coarsest levels keep the target area frozen.
        for (int l = 0; l <= L - 2; ++l)
            levelMasks[l].setTo(cv::Scalar::all(0));
    }

    if (cancelled())
        return;
    if (L > 0) {
        if (cancelled())
            return;
        // The moved piece's area at this level: its vectors stay as seeded.
        cv::Mat frozenMask;
        WalkSteps steps;
        steps.begin = [&](int i) {
            workingImage = levelImages[i].clone();
            cv::Mat mask = levelMasks[i].clone();
            frozenMask = mask.clone();
            mask.setTo(cv::Scalar::all(0));
            if (i == L) {
                recomputeCost(workingImage, result, mask, field, cost);
            } else {
                cv::Mat newField(workingImage.size(), CV_16SC3);
                doubleFieldOffsets(field, newField);
                recomputeCost(workingImage, result, mask, newField, cost);
                field = newField;
            }
            return mask;
        };
        steps.rounds = [](int) { return 2; };
        steps.sweep = [&](int, const cv::Mat &mask) {
            for (int pass = 0; pass < 2; ++pass) {
                if (cancelled())
                    return false;
                sweepRowsForward(field, workingImage, result, mask, cost, frozenMask);
                sweepRowsBackward(field, workingImage, result, mask, cost, frozenMask);
            }
            return true;
        };
        if (!walkCoarseToFine(L, levelImages, levelMasks, field, cost, result, steps))
            return;
    }
    result.copyTo(image);
}
