// Every format without a codec of our own goes to OpenCV's image codecs,
// loaded with dlopen on first use: linking them would load their whole
// dependency tree (well over a hundred libraries) into every process that
// reads a photo, which costs a short command-line run most of its time.

#include "codecs.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>

namespace photoio::detail {
namespace {

// The three entry points, by their C++ names in the library's ABI.
using DecodeFunction = cv::Mat (*)(const cv::_InputArray &, int);
using EncodeFunction = bool (*)(const std::string &, const cv::_InputArray &, std::vector<uchar> &,
                                const std::vector<int> &);
using HaveWriterFunction = bool (*)(const std::string &);

struct Library
{
    DecodeFunction decode = nullptr;
    EncodeFunction encode = nullptr;
    HaveWriterFunction haveWriter = nullptr;
    std::string error;
};

std::atomic<bool> g_loaded{false};

const Library &library()
{
    static Library lib;
    static std::once_flag once;
    std::call_once(once, [] {
        void *handle = dlopen(MERVANE_IMGCODECS_SONAME, RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char *why = dlerror();
            lib.error = std::string("OpenCV's image codecs cannot be loaded: ") + (why ? why : "?");
            return;
        }
        lib.decode = reinterpret_cast<DecodeFunction>(dlsym(handle, "_ZN2cv8imdecodeERKNS_11_InputArrayEi"));
        lib.encode = reinterpret_cast<EncodeFunction>(dlsym(
            handle, "_ZN2cv8imencodeERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEERKNS_11_InputArrayE"
                    "RSt6vectorIhSaIhEERKSB_IiSaIiEE"));
        lib.haveWriter = reinterpret_cast<HaveWriterFunction>(
            dlsym(handle, "_ZN2cv15haveImageWriterERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"));
        if (!lib.decode || !lib.encode || !lib.haveWriter)
            lib.error = "OpenCV's image codecs lack an expected function";
        g_loaded = true;
    });
    return lib;
}

int bitsOfDepth(int depth)
{
    switch (depth) {
    case CV_8U: case CV_8S: return 8;
    case CV_16U: case CV_16S: case CV_16F: return 16;
    case CV_64F: return 64;
    default: return 32;
    }
}

} // namespace

Decoded decodeWithOpenCV(const std::vector<uint8_t> &bytes, bool keep16)
{
    Decoded result;
    result.report.codec = Codec::Other;
    const Library &lib = library();
    if (!lib.error.empty()) {
        result.error = lib.error;
        return result;
    }
    try {
        const cv::Mat data(1, int(bytes.size()), CV_8UC1, const_cast<uint8_t *>(bytes.data()));
        result.pixels = lib.decode(data, keep16 ? 3 /* IMREAD_COLOR | IMREAD_ANYDEPTH */ : 1 /* IMREAD_COLOR */);
        if (keep16) {
            // Colour with alpha, 8 or 16 bits, as stored.
            const cv::Mat unchanged = lib.decode(data, -1 /* IMREAD_UNCHANGED */);
            if (unchanged.channels() == 4 && (unchanged.depth() == CV_8U || unchanged.depth() == CV_16U)
                && unchanged.size() == result.pixels.size())
                result.pixels = unchanged;
        }
        if (keep16 && result.pixels.depth() != CV_16U && result.pixels.depth() != CV_8U)
            result.pixels = lib.decode(data, 1); // float and 32-bit files: 8 bits as before
        if (result.pixels.empty()) {
            result.error = "not an image this program can read";
            return result;
        }
        // OpenCV does not say what it narrowed: look at the file as stored.
        const cv::Mat stored = lib.decode(data, -1 /* IMREAD_UNCHANGED */);
        if (!stored.empty()) {
            result.report.bitsPerSample = bitsOfDepth(stored.depth());
            result.report.channels = stored.channels();
            result.report.hasAlpha = stored.channels() == 2 || stored.channels() == 4;
        }
    } catch (const cv::Exception &e) {
        result.pixels.release();
        result.error = "not an image this program can read";
    }
    return result;
}

bool opencvHasWriter(const std::string &suffix)
{
    const Library &lib = library();
    try {
        return lib.error.empty() && lib.haveWriter("x." + suffix);
    } catch (const cv::Exception &) {
        return false;
    }
}

Encoded encodeWithOpenCV(const cv::Mat &image, const std::string &suffix, const EncodeOptions &options)
{
    Encoded result;
    const Library &lib = library();
    if (!lib.error.empty()) {
        result.error = lib.error;
        return result;
    }
    std::vector<int> parameters;
    (void)options; // the options of our own codecs; OpenCV's defaults serve the rest
    try {
        if (!lib.encode("." + suffix, image, result.bytes, parameters) || result.bytes.empty())
            result.error = "the ." + suffix + " encoder cannot write this image";
    } catch (const cv::Exception &) {
        result.error = "the ." + suffix + " encoder cannot write this image";
    }
    if (!result.ok())
        result.bytes.clear();
    return result;
}

bool opencvCodecsLoadedNow() { return g_loaded; }

} // namespace photoio::detail
