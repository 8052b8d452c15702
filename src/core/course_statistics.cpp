#include "core/course_statistics.h"

#include <algorithm>
#include <cmath>

#include "core/course_recorder.h"

namespace nelto {
namespace {

/// Sums of single-precision values in double precision: seven digits of a day's mean are right.
struct Sum {
    double total      = 0;
    std::size_t count = 0;

    explicit Sum(std::span<const float> values) {
        for (const float value : values) {
            if (std::isnan(value)) continue;
            total += static_cast<double>(value);
            ++count;
        }
    }
    [[nodiscard]] std::optional<float> Mean(std::size_t least) const {
        if (count < least) return {};
        return static_cast<float>(total / static_cast<double>(count));
    }
};

std::span<const float> LastOf(std::span<const float> values, std::size_t count) {
    return values.last(std::min(count, values.size()));
}

std::optional<float> LatestOf(std::span<const float> values) {
    while (!values.empty() && std::isnan(values.back())) values = values.first(values.size() - 1);
    if (values.empty()) return {};
    return values.back();
}

}  // namespace

CourseStatistics Summarise(std::span<const float> values) {
    CourseStatistics statistics;
    statistics.now     = LatestOf(LastOf(values, kLongestHold + 1));
    statistics.mean_30 = Sum(LastOf(values, kMeanSeconds)).Mean(kLeastMeanSeconds);
    statistics.mean    = Sum(values).Mean(1);
    for (const float value : values) {
        if (std::isnan(value)) continue;
        if (!statistics.minimum || value < *statistics.minimum) statistics.minimum = value;
        if (!statistics.maximum || value > *statistics.maximum) statistics.maximum = value;
    }
    return statistics;
}

}  // namespace nelto
