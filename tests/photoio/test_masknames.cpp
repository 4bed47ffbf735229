// The mask file names the window and the batch eraser share.

#include "masknames.h"

#include <gtest/gtest.h>

using photoio::donorNameBesideMask;
using photoio::donorNameFor;
using photoio::maskNameFor;

TEST(MaskNames, PhotoNameLosesOnlyItsLastSuffix)
{
    EXPECT_EQ(maskNameFor("/photos/coffee.jpg"), "coffee.mask.png");
    EXPECT_EQ(donorNameFor("/photos/coffee.jpg"), "coffee.donor.png");
    EXPECT_EQ(maskNameFor("holiday.2026.JPG"), "holiday.2026.mask.png");
    EXPECT_EQ(maskNameFor("/a.b/plain"), "plain.mask.png");
}

TEST(MaskNames, DonorBesideAMaskTheUserNamed)
{
    EXPECT_EQ(donorNameBesideMask("/masks/coffee.mask.png"), "coffee.donor.png");
    EXPECT_EQ(donorNameBesideMask("/masks/Coffee.MASK.PNG"), "Coffee.donor.png");
    EXPECT_EQ(donorNameBesideMask("/masks/selection.png"), "selection.donor.png");
}

TEST(MaskNames, MaskSavedForAPhotoLeadsBackToThePhotosDonorName)
{
    for (const char *photo : {"x.jpg", "/d/y.tar.png", "z"})
        EXPECT_EQ(donorNameBesideMask(maskNameFor(photo)), donorNameFor(photo));
}
