// The display conversion from a photo's profile to sRGB: the numbers Little
// CMS gives when called directly on the same pixels (red-green-blue order,
// its own sRGB profile), for 8 and 16 bits and with alpha; the identity
// where there is nothing to convert.

#include "colour.h"
#include "samples.h"

#include <gtest/gtest.h>
#include <lcms2.h>
#include <opencv2/imgproc.hpp>

#include <fstream>
#include <iterator>

namespace {

const char *const kAdobeCompatible = "/usr/share/color/icc/compatibleWithAdobeRGB1998.icc";
const char *const kSrgb = "/usr/share/color/icc/sRGB.icc";
const char *const kGrey = "/usr/share/color/icc/Gray.icc";

std::vector<uint8_t> profile(const char *path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// What Little CMS makes of `bgr` (CV_8UC3 or CV_16UC3) with the same intent
// and flags, called on red-green-blue pixels.
cv::Mat littleCmsDirect(const cv::Mat &bgr, const std::vector<uint8_t> &icc)
{
    const bool wide = bgr.depth() == CV_16U;
    cv::Mat rgb;
    cv::cvtColor(bgr, rgb, cv::COLOR_BGR2RGB);
    rgb = rgb.clone();
    cmsHPROFILE in = cmsOpenProfileFromMem(icc.data(), cmsUInt32Number(icc.size()));
    cmsHPROFILE out = cmsCreate_sRGBProfile();
    const cmsUInt32Number format = wide ? TYPE_RGB_16 : TYPE_RGB_8;
    cmsHTRANSFORM t = cmsCreateTransform(in, format, out, format, INTENT_PERCEPTUAL,
                                         cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION);
    cv::Mat converted(rgb.size(), rgb.type());
    cmsDoTransform(t, rgb.data, converted.data, cmsUInt32Number(rgb.total()));
    cmsDeleteTransform(t);
    cmsCloseProfile(in);
    cmsCloseProfile(out);
    cv::cvtColor(converted, converted, cv::COLOR_RGB2BGR);
    return converted;
}

std::vector<cv::Mat> testPictures()
{
    std::vector<cv::Mat> pictures = samples::photos(4);
    // The primaries and a grey ramp: the colours a profile moves most.
    cv::Mat patches(1, 256 + 6, CV_8UC3);
    for (int i = 0; i < 256; ++i)
        patches.at<cv::Vec3b>(0, i) = cv::Vec3b(uchar(i), uchar(i), uchar(i));
    const cv::Vec3b primaries[] = {{0, 0, 255}, {0, 255, 0}, {255, 0, 0}, {255, 255, 0}, {255, 0, 255}, {0, 255, 255}};
    for (int i = 0; i < 6; ++i)
        patches.at<cv::Vec3b>(0, 256 + i) = primaries[i];
    pictures.push_back(patches);
    return pictures;
}

TEST(DisplayTransform, EightBitsAsLittleCms)
{
    const std::vector<uint8_t> icc = profile(kAdobeCompatible);
    ASSERT_FALSE(icc.empty()) << kAdobeCompatible << " is missing (icc-profiles-free)";
    const photoio::DisplayTransform transform(icc, CV_8UC3);
    ASSERT_FALSE(transform.isIdentity()) << transform.problem();
    bool moved = false;
    for (const cv::Mat &picture : testPictures()) {
        cv::Mat shown;
        transform.apply(picture, shown);
        EXPECT_EQ(cv::norm(shown, littleCmsDirect(picture, icc), cv::NORM_INF), 0);
        moved |= cv::norm(shown, picture, cv::NORM_INF) > 10;
    }
    EXPECT_TRUE(moved) << "a wide-gamut profile changes the saturated colours";
}

TEST(DisplayTransform, SixteenBitsAndViewsAndInPlace)
{
    const std::vector<uint8_t> icc = profile(kAdobeCompatible);
    const photoio::DisplayTransform transform(icc, CV_16UC3);
    ASSERT_FALSE(transform.isIdentity());
    cv::Mat wide(61, 97, CV_16UC3);
    cv::randu(wide, 0, 65536);
    const cv::Mat expected = littleCmsDirect(wide, icc);
    cv::Mat shown;
    transform.apply(wide, shown);
    EXPECT_EQ(cv::norm(shown, expected, cv::NORM_INF), 0);
    // A view into a larger picture (rows not contiguous), converted in place.
    cv::Mat big(100, 200, CV_16UC3, cv::Scalar::all(1234));
    wide.copyTo(big(cv::Rect(50, 20, 97, 61)));
    cv::Mat view = big(cv::Rect(50, 20, 97, 61));
    transform.apply(view, view);
    EXPECT_EQ(cv::norm(view, expected, cv::NORM_INF), 0);
    EXPECT_EQ(big.at<cv::Vec3w>(0, 0), cv::Vec3w(1234, 1234, 1234)) << "outside the view untouched";
}

TEST(DisplayTransform, AlphaIsCopied)
{
    const std::vector<uint8_t> icc = profile(kAdobeCompatible);
    const photoio::DisplayTransform transform(icc, CV_8UC4);
    ASSERT_FALSE(transform.isIdentity()) << transform.problem();
    cv::Mat bgra(40, 30, CV_8UC4);
    cv::randu(bgra, 0, 256);
    cv::Mat shown;
    transform.apply(bgra, shown);
    cv::Mat bgr, alpha, shownBgr, shownAlpha;
    cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
    cv::cvtColor(shown, shownBgr, cv::COLOR_BGRA2BGR);
    cv::extractChannel(bgra, alpha, 3);
    cv::extractChannel(shown, shownAlpha, 3);
    EXPECT_EQ(cv::norm(shownBgr, littleCmsDirect(bgr, icc), cv::NORM_INF), 0);
    EXPECT_EQ(cv::norm(shownAlpha, alpha, cv::NORM_INF), 0);
}

TEST(DisplayTransform, NothingToConvertIsTheIdentity)
{
    cv::Mat picture = samples::photos(0).front();
    cv::Mat shown;
    const photoio::DisplayTransform none({}, CV_8UC3);
    EXPECT_TRUE(none.isIdentity());
    EXPECT_TRUE(none.problem().empty());
    none.apply(picture, shown);
    EXPECT_EQ(cv::norm(shown, picture, cv::NORM_INF), 0);

    // sRGB to sRGB: within a level of the numbers as stored.
    const photoio::DisplayTransform srgb(profile(kSrgb), CV_8UC3);
    ASSERT_FALSE(srgb.isIdentity()) << srgb.problem();
    srgb.apply(picture, shown);
    EXPECT_LE(cv::norm(shown, picture, cv::NORM_INF), 1);

    const photoio::DisplayTransform grey(profile(kGrey), CV_8UC3);
    EXPECT_TRUE(grey.isIdentity());
    EXPECT_EQ(grey.problem(), "the colour profile is not an RGB profile");

    const std::vector<uint8_t> garbage(600, 0x5a);
    const photoio::DisplayTransform broken(garbage, CV_8UC3);
    EXPECT_TRUE(broken.isIdentity());
    EXPECT_EQ(broken.problem(), "the colour profile cannot be read");
    broken.apply(picture, shown);
    EXPECT_EQ(cv::norm(shown, picture, cv::NORM_INF), 0);

    const photoio::DisplayTransform float32(profile(kAdobeCompatible), CV_32FC3);
    EXPECT_TRUE(float32.isIdentity());
    EXPECT_FALSE(float32.problem().empty());
}

} // namespace
