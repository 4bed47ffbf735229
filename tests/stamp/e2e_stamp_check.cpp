// Compares two screenshots of the running program taken before and after a
// stamp stroke: the photo must have changed inside the stroke's box and
// nowhere else, and the source spot must be as it was.
//
//   e2e_stamp_check <before.png> <after.png> <sourceX> <sourceY> <x0> <y0> <x1> <y1> <margin> <listX>
//
// Screen coordinates; the box runs from (x0, y0) to (x1, y1), grown by margin.
// From listX rightwards lies the photo list, whose row thumbnail shows the
// photo's present pixels and so changes with the stroke: not compared.
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    if (argc != 11) {
        std::fprintf(stderr, "usage: %s before after sx sy x0 y0 x1 y1 margin listX\n", argv[0]);
        return 2;
    }
    const cv::Mat before = cv::imread(argv[1], cv::IMREAD_COLOR);
    const cv::Mat after = cv::imread(argv[2], cv::IMREAD_COLOR);
    if (before.empty() || after.empty() || before.size() != after.size()) {
        std::fprintf(stderr, "cannot read the two screenshots\n");
        return 2;
    }
    const int sx = atoi(argv[3]), sy = atoi(argv[4]);
    const int m = atoi(argv[9]);
    const cv::Rect box = cv::Rect(cv::Point(atoi(argv[5]) - m, atoi(argv[6]) - m),
                                  cv::Point(atoi(argv[7]) + m + 1, atoi(argv[8]) + m + 1))
                         & cv::Rect(0, 0, before.cols, before.rows);

    cv::Mat diff;
    cv::absdiff(before, after, diff);
    cv::Mat changed;
    cv::cvtColor(diff, changed, cv::COLOR_BGR2GRAY);
    changed = changed > 8;
    const int inside = cv::countNonZero(changed(box));
    cv::Mat outsideMask = changed.clone();
    outsideMask(box).setTo(0);
    const int listX = std::max(0, std::min(atoi(argv[10]), before.cols));
    outsideMask.colRange(listX, before.cols).setTo(0);
    const int outside = cv::countNonZero(outsideMask);
    const cv::Rect spot = cv::Rect(sx - 4, sy - 4, 9, 9) & cv::Rect(0, 0, before.cols, before.rows);
    const int atSource = cv::countNonZero(changed(spot));
    std::printf("changed inside the stroke box: %d, outside: %d, at the source: %d\n", inside, outside, atSource);
    if (inside < 400) {
        std::fprintf(stderr, "the stroke left too little on the photo\n");
        return 1;
    }
    if (outside > 0 || atSource > 0) {
        std::fprintf(stderr, "the photo changed outside the stroke\n");
        return 1;
    }
    return 0;
}
