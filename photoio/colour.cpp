// The display conversion to sRGB, through Little CMS.

#include "colour.h"

#include <lcms2.h>

namespace photoio {
namespace {

// Little CMS's names for our pixel layouts; 0 for those we do not convert.
cmsUInt32Number lcmsFormat(int type)
{
    switch (type) {
    case CV_8UC3: return TYPE_BGR_8;
    case CV_16UC3: return TYPE_BGR_16;
    case CV_8UC4: return TYPE_BGRA_8;
    case CV_16UC4: return TYPE_BGRA_16;
    default: return 0;
    }
}

} // namespace

DisplayTransform::DisplayTransform(const std::vector<uint8_t> &icc, int type) : m_type(type)
{
    if (icc.empty())
        return;
    const cmsUInt32Number format = lcmsFormat(type);
    if (!format) {
        m_problem = "pixels of this kind are shown as stored";
        return;
    }
    cmsHPROFILE source = cmsOpenProfileFromMem(icc.data(), cmsUInt32Number(icc.size()));
    if (!source) {
        m_problem = "the colour profile cannot be read";
        return;
    }
    if (cmsGetColorSpace(source) != cmsSigRgbData) {
        cmsCloseProfile(source);
        m_problem = "the colour profile is not an RGB profile";
        return;
    }
    cmsHPROFILE srgb = cmsCreate_sRGBProfile();
    const cmsUInt32Number flags = cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION
                                  | (CV_MAT_CN(type) == 4 ? cmsFLAGS_COPY_ALPHA : 0);
    m_transform = srgb ? cmsCreateTransform(source, format, srgb, format, INTENT_PERCEPTUAL, flags) : nullptr;
    if (!m_transform)
        m_problem = "the colour profile cannot be used";
    cmsCloseProfile(source);
    if (srgb)
        cmsCloseProfile(srgb);
}

DisplayTransform::~DisplayTransform()
{
    if (m_transform)
        cmsDeleteTransform(static_cast<cmsHTRANSFORM>(m_transform));
}

void DisplayTransform::apply(const cv::Mat &in, cv::Mat &out) const
{
    CV_Assert(in.type() == m_type || !m_transform);
    if (!m_transform) {
        if (out.data != in.data)
            in.copyTo(out);
        return;
    }
    const cv::Mat source = in.data == out.data ? in.clone() : in;
    out.create(in.size(), in.type());
    if (in.empty())
        return;
    // Row by row: each row is contiguous even when the matrix is a view.
    for (int y = 0; y < source.rows; ++y)
        cmsDoTransform(static_cast<cmsHTRANSFORM>(m_transform), source.ptr(y), out.ptr(y),
                       cmsUInt32Number(source.cols));
}

} // namespace photoio
