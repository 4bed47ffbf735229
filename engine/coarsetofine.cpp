// The coarse-to-fine walk both synthesis drivers share: at each level,
// rounds of sweeps of the field, each followed by a vote; the last vote of a
// level runs at the next finer size, so it also does the step up.

#include "mypatchmatch.h"

#include <opencv2/imgproc.hpp>

bool MyPatchMatch::walkCoarseToFine(int coarsest, const cv::Mat *levelImages, const cv::Mat *levelMasks,
                                    cv::Mat &field, cv::Mat &cost, cv::Mat &result, const WalkSteps &steps)
{
    for (int i = coarsest; i >= 1; --i) {
        if (i != coarsest && cancelled())
            return false;
        cv::Mat mask = steps.begin(i);
        const int rounds = steps.rounds(i);
        for (int round = 1; round <= rounds; ++round) {
            if (!steps.sweep(i, mask))
                return false;
            if (round < rounds) {
                // A vote reads only its own pixel of the picture it writes,
                // so it may vote the level's picture in place.
                voteImage(levelImages[i], result, field, mask, false, cost);
            } else {
                cv::Mat candidate;
                if (i == 1 && steps.baseTarget)
                    candidate = *steps.baseTarget;
                cv::resize(result, candidate, levelImages[i - 1].size(), 0, 0, cv::INTER_LINEAR);
                mask = levelMasks[i - 1];
                if (i == 1 && steps.beforeBaseVote)
                    steps.beforeBaseVote(field, cost, mask);
                if (i == 1 && steps.holeOnlyAtBase)
                    voteHole(levelImages[0], candidate, field, mask, true, cost);
                else
                    voteImage(levelImages[i - 1], candidate, field, mask, true, cost);
                result = candidate;
            }
            if (steps.progressEachRound)
                emit sendWorkProcess(i);
        }
        if (!steps.progressEachRound)
            emit sendWorkProcess(i);
    }
    return true;
}
