// Summaries of a benchmark's measurements, -1 standing for none.
#ifndef QOR_BENCH_FIGURES_H
#define QOR_BENCH_FIGURES_H

#include <algorithm>
#include <vector>

namespace bench {

// The upper median: the middle value, or the higher of the two middle ones.
inline double median(std::vector<double> values) {
    if (values.empty()) {
        return -1;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

inline double maximum(const std::vector<double>& values) {
    return values.empty() ? -1 : *std::max_element(values.begin(), values.end());
}

inline double minimum(const std::vector<double>& values) {
    return values.empty() ? -1 : *std::min_element(values.begin(), values.end());
}

}  // namespace bench

#endif
