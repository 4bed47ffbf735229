#ifndef MERVANE_TESTS_PHOTOIO_SAMPLES_H
#define MERVANE_TESTS_PHOTOIO_SAMPLES_H

// Test photos: the photographs python3-skimage ships in its data folder
// (read with OpenCV) and seeded random images.

#include <opencv2/core.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace samples {

// The folder of python3-skimage's sample pictures.
std::string dataFolder();
// Every file of that folder with one of `suffixes` (".png", ".jpg", ...).
std::vector<std::string> dataFiles(const std::vector<std::string> &suffixes);
// The sample photographs as 8-bit BGR, each cut to at most 256 x 256 to keep
// the run short, plus `randomCount` random images of odd sizes (1 x 1 up to
// 97 x 61), smooth and noisy.
std::vector<cv::Mat> photos(int randomCount);
// Reads a whole file.
std::vector<uint8_t> readBytes(const std::string &path);

} // namespace samples

#endif // MERVANE_TESTS_PHOTOIO_SAMPLES_H
