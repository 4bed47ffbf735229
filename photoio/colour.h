#ifndef MERVANE_PHOTOIO_COLOUR_H
#define MERVANE_PHOTOIO_COLOUR_H

// Showing a photo's numbers as its colour profile means them: a conversion
// from the embedded ICC profile to sRGB, through Little CMS, for display
// only. The photo's own pixels (what the engine erases and the file keeps)
// are never converted; see photoio::Metadata::icc.

#include <opencv2/core.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace photoio {

class DisplayTransform
{
public:
    // A conversion from `icc` to sRGB for pixels of `type`: CV_8UC3 or
    // CV_16UC3 (blue-green-red), CV_8UC4 or CV_16UC4 (alpha copied). With
    // no profile, or one that cannot be used (unreadable, not an RGB
    // profile, other pixel types), the pixels are shown as stored: the
    // transform is the identity and problem() says why, if there was a
    // profile. Perceptual intent (relative colorimetric for the matrix
    // profiles of cameras), black point compensation.
    DisplayTransform(const std::vector<uint8_t> &icc, int type);
    ~DisplayTransform();
    DisplayTransform(const DisplayTransform &) = delete;
    DisplayTransform &operator=(const DisplayTransform &) = delete;

    bool isIdentity() const { return !m_transform; }
    // Why a profile given is not used ("not an RGB profile"), or empty.
    const std::string &problem() const { return m_problem; }

    // `out` gets `in` converted (same size and type; `in` and `out` may be
    // the same). Safe to call from several threads at once.
    void apply(const cv::Mat &in, cv::Mat &out) const;

private:
    void *m_transform = nullptr; // cmsHTRANSFORM
    int m_type = 0;
    std::string m_problem;
};

} // namespace photoio

#endif // MERVANE_PHOTOIO_COLOUR_H
