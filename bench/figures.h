// What a benchmark hands to the table at the end: one line a figure.
#pragma once

#include <algorithm>
#include <cstdio>
#include <vector>

namespace nelto::bench {

/// A figure that is to be at least or at most a limit; `unit` may be empty.
inline void TellFigure(const char* what, const char* relation, double limit, double value, const char* unit) {
    std::printf("figure|%s|%s|%g|%.6g|%s\n", what, relation, limit, value, unit);
}

/// A figure without an aim, for comparison.
inline void TellForComparison(const char* what, double value, const char* unit) {
    std::printf("figure|%s|||%.6g|%s\n", what, value, unit);
}

/// Ends a benchmark that cannot be measured.
[[nodiscard]] inline int CannotMeasure(const char* why) {
    std::fprintf(stderr, "cannot be measured: %s\n", why);
    return 1;
}

/// Middle value; the list is not empty.
[[nodiscard]] inline double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

}  // namespace nelto::bench
