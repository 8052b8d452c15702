// Draws the courses: a strip for each, above one time axis.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "core/course_recorder.h"

namespace nelto::ui {

struct CoursePicture {
    const CourseRecorder* recorder = nullptr;
    std::span<const CourseKey> keys;
    std::uint32_t span_minutes = 0;
    wchar_t decimal_separator  = L'.';
    HFONT font                 = nullptr;
    int dpi                    = USER_DEFAULT_SCREEN_DPI;
    std::optional<std::uint32_t>
        looked_at;  // among the seconds that are shown and known: its values are told instead of the latest
};

/// Draws into the area, which begins at 0, 0, in the colours of the system. Returns where the charts lie: their common left and
/// right, the first one's top and the last one's bottom; nothing without a chart.
RECT DrawCourses(HDC canvas, SIZE area, const CoursePicture& picture);

/// The seconds that are shown, now the last one.
[[nodiscard]] inline std::uint32_t SecondsShown(const CoursePicture& picture) { return picture.span_minutes * 60; }

/// The first of them that is not before the axis begins.
[[nodiscard]] inline std::uint32_t FirstKnown(const CoursePicture& picture) {
    const std::uint32_t known = picture.recorder->Now() + 1;
    return SecondsShown(picture) - std::min(SecondsShown(picture), known);
}

/// The second of the axis, of a known one of them.
[[nodiscard]] inline std::uint32_t AxisSecond(const CoursePicture& picture, std::uint32_t index) {
    return picture.recorder->Now() + 1 + index - SecondsShown(picture);
}

/// The local time of any of them.
[[nodiscard]] inline LocalSecond ShownTime(const CoursePicture& picture, std::uint32_t index) {
    const std::uint32_t known = std::max(index, FirstKnown(picture));
    return picture.recorder->LocalTimeOf(AxisSecond(picture, known)) - (known - index);
}

/// "O2 4.2 %" at the second that is looked at, or now.
[[nodiscard]] std::wstring CourseTitle(const CoursePicture& picture, const CourseSeries& series);

/// The series of a chosen key; null where none is recorded.
[[nodiscard]] const CourseSeries* FindSeries(const CourseRecorder& recorder, const CourseKey& key);

}  // namespace nelto::ui
