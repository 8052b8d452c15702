// What a technician reads off the course of one quantity.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace nelto {

/// The mean of the last half minute needs so many of its seconds.
constexpr std::size_t kMeanSeconds      = 30;
constexpr std::size_t kLeastMeanSeconds = 25;

/// Each is missing where there are no values for it.
struct CourseStatistics {
    std::optional<float> now;      // the latest of the last seconds that a value stands for
    std::optional<float> mean_30;  // of the last 30 seconds
    std::optional<float> minimum;
    std::optional<float> mean;
    std::optional<float> maximum;
};

/// `values` are the seconds of the span, the last one is now; a gap is not a number and does not count.
[[nodiscard]] CourseStatistics Summarise(std::span<const float> values);

}  // namespace nelto
