#ifndef BENCHTIMING_H
#define BENCHTIMING_H

// The benchmarks' one way of summing up repeated timings: the median, which
// a run disturbed by the rest of the machine moves least.

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

// The middle value (the upper of the two middle ones for an even count);
// 0 for none.
inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The median wall time of `runs` calls of `work`, in milliseconds.
template <typename F>
double medianMs(int runs, F &&work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    return median(times);
}

} // namespace bench

#endif // BENCHTIMING_H
