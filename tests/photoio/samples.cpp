#include "samples.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace samples {

std::string dataFolder()
{
    return "/usr/lib/python3/dist-packages/skimage/data";
}

std::vector<std::string> dataFiles(const std::vector<std::string> &suffixes)
{
    std::vector<std::string> files;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(dataFolder(), error)) {
        const std::string ext = entry.path().extension().string();
        if (std::find(suffixes.begin(), suffixes.end(), ext) != suffixes.end())
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<cv::Mat> photos(int randomCount)
{
    std::vector<cv::Mat> result;
    for (const std::string &file : dataFiles({".png", ".jpg"})) {
        cv::Mat image = cv::imread(file, cv::IMREAD_COLOR);
        if (image.empty())
            continue;
        const cv::Rect cut(0, 0, std::min(image.cols, 256), std::min(image.rows, 256));
        result.push_back(image(cut).clone());
    }
    cv::RNG rng(20261123);
    for (int i = 0; i < randomCount; ++i) {
        const int cols = 1 + rng.uniform(0, 97), rows = 1 + rng.uniform(0, 61);
        cv::Mat image(rows, cols, CV_8UC3);
        rng.fill(image, cv::RNG::UNIFORM, 0, 256);
        if (i % 2 == 0 && cols > 2 && rows > 2)
            cv::GaussianBlur(image, image, cv::Size(3, 3), 0);
        result.push_back(image);
    }
    return result;
}

std::vector<uint8_t> readBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace samples
