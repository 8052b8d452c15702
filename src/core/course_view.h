// What the window of the courses shows as text.
#pragma once

#include <array>
#include <string>

#include "core/course_recorder.h"
#include "core/course_statistics.h"

namespace nelto {

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
