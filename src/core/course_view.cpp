#include "core/course_view.h"

#include <algorithm>
#include <cmath>

#include "core/value_text.h"
#include "platform/wide_text.h"

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
    if (with_seconds) return platform::Formatted(L"%02u:%02u:%02u", time.hour, time.minute, time.second);
    return platform::Formatted(L"%02u:%02u", time.hour, time.minute);
}

}  // namespace nelto
