#include "core/course_view.h"

#include "core/value_text.h"
#include "platform/wide_text.h"

namespace nelto {

CourseRow CourseRowOf(const CourseSeries& series, const CourseStatistics& statistics, wchar_t decimal_separator) {
    const auto text = [&](const std::optional<float>& number) {
        return NumberText(number.value_or(kGap), series.Name().resolution, decimal_separator);
    };
    return {std::wstring(platform::TextIn(series.Name().label)),
            text(statistics.now),
            text(statistics.mean_30),
            text(statistics.minimum),
            text(statistics.mean),
            text(statistics.maximum),
            UnitText(series.Key().unit)};
}

std::wstring ClockText(LocalSecond moment, bool with_seconds) {
    const platform::CalendarTime time = ToCalendarTime(moment);
    std::array<wchar_t, 16> text{};
    if (with_seconds) platform::FormatText(text, L"%02u:%02u:%02u", time.hour, time.minute, time.second);
    if (!with_seconds) platform::FormatText(text, L"%02u:%02u", time.hour, time.minute);
    return std::wstring(platform::TextIn(text));
}

}  // namespace nelto
