// The work-box enlargement shared by the window's Erase and mervane-erase.

#include "progress.h"
#include "workbox.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

namespace {

WorkBox box(double minX, double minY, double maxX, double maxY)
{
    WorkBox b;
    b.minX = minX;
    b.minY = minY;
    b.maxX = maxX;
    b.maxY = maxY;
    return b;
}

} // namespace

TEST(WorkBox, SmallSelectionInALargePhotoGivesAbout530)
{
    const WorkBox out = enlargeWorkBox(box(2000, 1500, 2005, 1505), 5000, 4000);
    const double w = out.maxX - out.minX, h = out.maxY - out.minY;
    EXPECT_GE(w, 525);
    EXPECT_LE(w, 540);
    EXPECT_GE(h, 525);
    EXPECT_LE(h, 540);
    // Worked by hand: x 994..1017 -> 655..1186 shifted by 1000.
    EXPECT_EQ(out.minX, 1655);
    EXPECT_EQ(out.maxX, 2186);
}

TEST(WorkBox, PhotoSmallerThan700IsTakenWhole)
{
    const WorkBox out = enlargeWorkBox(box(200, 150, 230, 170), 451, 300);
    EXPECT_EQ(out.minX, 0);
    EXPECT_EQ(out.minY, 0);
    EXPECT_EQ(out.maxX, 451);
    EXPECT_EQ(out.maxY, 300);
}

TEST(WorkBox, SelectionAtTheLeftEdgeGrowsOnlyRight)
{
    const WorkBox out = enlargeWorkBox(box(0, 1000, 10, 1010), 3000, 3000);
    EXPECT_EQ(out.minX, 0);
    // x: 0..int(10 + 10 * 1.1) = 21; then left stays 0, right grows by
    // (700 - 21) * 0.5 = 339.5 -> 360.
    EXPECT_EQ(out.maxX, 360);
}

TEST(WorkBox, EnlargingAgainGivesALargerCrop)
{
    // Cancel then Erase again enlarges the already enlarged box.
    const WorkBox first = enlargeWorkBox(box(2000, 1500, 2040, 1530), 5000, 4000);
    const WorkBox second = enlargeWorkBox(first, 5000, 4000);
    EXPECT_GT(second.maxX - second.minX, first.maxX - first.minX);
    EXPECT_GT(second.maxY - second.minY, first.maxY - first.minY);
}

TEST(WorkBox, AlwaysInsideTheImage)
{
    for (const WorkBox &in : {box(-50, -50, 10, 10), box(90, 90, 500, 500), box(5, 5, 5, 5),
                              box(0, 0, 1, 1), box(30, 30, 10, 10)}) {
        for (const cv::Size size : {cv::Size(100, 100), cv::Size(1, 1), cv::Size(1, 700)}) {
            const WorkBox out = enlargeWorkBox(in, size.width, size.height);
            EXPECT_GE(out.minX, 0);
            EXPECT_GE(out.minY, 0);
            EXPECT_LE(out.maxX, size.width);
            EXPECT_LE(out.maxY, size.height);
            EXPECT_EQ(out.minX, int(out.minX));
            EXPECT_EQ(out.maxY, int(out.maxY));
        }
    }
}

TEST(Progress, PercentFromLevelNumbers)
{
    EXPECT_EQ(progressPercent(3, 3), 0);
    EXPECT_EQ(progressPercent(2, 3), 34);
    EXPECT_EQ(progressPercent(1, 3), 67);
    EXPECT_EQ(progressPercent(0, 3), 0);
    // A first report of 0 leaves the bar at 0 and does not divide.
    EXPECT_EQ(progressPercent(0, 0), 0);
    EXPECT_EQ(progressPercent(2, 0), 0);
}
