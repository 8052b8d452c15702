// What the window of the courses shows of one quantity: what a technician reads off its course, and as which text.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "core/course_recorder.h"

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

enum CourseColumn : std::uint32_t {
    kCourseChannel,
    kCourseNow,
    kCourseMean30,
    kCourseMinimum,
    kCourseMean,
    kCourseMaximum,
    kCourseUnit,
    kCourseColumnCount
};

/// The texts of one row by CourseColumn; what is missing is "-".
using CourseRow = std::array<std::wstring, kCourseColumnCount>;

[[nodiscard]] CourseRow CourseRowOf(const CourseSeries& series, const CourseStatistics& statistics,
                                    wchar_t decimal_separator);

/// "19:53:01", or without the seconds.
[[nodiscard]] std::wstring ClockText(LocalSecond moment, bool with_seconds);

}  // namespace nelto
