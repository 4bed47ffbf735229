#include "masknames.h"

namespace photoio {

namespace {

constexpr char kMaskSuffix[] = ".mask.png";
constexpr char kDonorSuffix[] = ".donor.png";

std::string fileNameOf(const std::string &path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The file name without its last suffix; a name whose only dot leads it
// (".jpg") has an empty base, as a hidden file's suffix-only name.
std::string baseNameOf(const std::string &path)
{
    const std::string name = fileNameOf(path);
    const std::size_t dot = name.find_last_of('.');
    return dot == std::string::npos ? name : name.substr(0, dot);
}

bool endsWithNoCase(const std::string &text, const std::string &tail)
{
    if (text.size() < tail.size())
        return false;
    for (std::size_t i = 0; i < tail.size(); ++i) {
        const char a = text[text.size() - tail.size() + i];
        const char b = tail[i];
        if ((a >= 'A' && a <= 'Z' ? char(a - 'A' + 'a') : a) != b)
            return false;
    }
    return true;
}

} // namespace

std::string maskNameFor(const std::string &photoPath)
{
    return baseNameOf(photoPath) + kMaskSuffix;
}

std::string donorNameFor(const std::string &photoPath)
{
    return baseNameOf(photoPath) + kDonorSuffix;
}

std::string donorNameBesideMask(const std::string &maskPath)
{
    const std::string name = fileNameOf(maskPath);
    const std::string suffix = kMaskSuffix;
    if (endsWithNoCase(name, suffix))
        return name.substr(0, name.size() - suffix.size()) + kDonorSuffix;
    return baseNameOf(name) + kDonorSuffix;
}

} // namespace photoio
