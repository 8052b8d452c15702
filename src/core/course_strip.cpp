#include "core/course_strip.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/channel_table.h"

namespace nelto {
namespace {

constexpr std::array kFactors = {1, 2, 5};

constexpr int kDigits = 6;

/// Of ten, below or at `size`.
int PowerOf(double size) { return size > 0 ? static_cast<int>(std::floor(std::log10(size))) : -kDigits; }

/// The codes count down from 256 by decimals; a whole number and a code of its own have none.
int DecimalsOf(std::uint32_t resolution) {
    return resolution >= kFourDecimals && resolution <= kOneDecimal ? static_cast<int>(256 - resolution) : 0;
}

std::uint32_t ResolutionOf(int decimals) {
    return decimals <= 0 ? kWholeNumber : 256U - static_cast<std::uint32_t>(decimals);
}

/// Ends at whole steps; a course that hardly moves lies off the edges.
CourseScale ScaleOf(double lowest, double highest, double step) {
    CourseScale scale{.low = std::floor(lowest / step) * step, .high = std::ceil(highest / step) * step, .step = step};
    while (scale.Steps() < 2) {
        const bool at_top = scale.high - highest < lowest - scale.low;
        (at_top ? scale.high : scale.low) += at_top ? step : -step;
    }
    return scale;
}

void AddPoint(std::vector<CoursePoint>& points, int column, float value, bool begins) {
    if (!begins && points.back().column == column && points.back().value == value) return;
    points.push_back({.column = column, .value = value, .begins = begins});
}

/// The values of one column without a gap between them, at least one.
void AddColumn(std::vector<CoursePoint>& points, int column, std::span<const float> values, bool begins) {
    const auto [lowest, highest] = std::ranges::minmax(values);
    AddPoint(points, column, values.front(), begins);
    AddPoint(points, column, lowest, false);
    AddPoint(points, column, highest, false);
    AddPoint(points, column, values.back(), false);
}

}  // namespace

CourseScale ChooseScale(float lowest, float highest, std::uint32_t resolution, int most_steps) {
    const double range = static_cast<double>(highest) - static_cast<double>(lowest);
    const double size  = static_cast<double>(std::max(std::fabs(lowest), std::fabs(highest)));
    // No finer than the digits shown, nor than the digits that a number of this size has.
    int power = std::max(-DecimalsOf(resolution), PowerOf(size) - kDigits);
    if (range > 0) power = std::max(power, PowerOf(range / most_steps));
    for (;; ++power) {
        for (const int factor : kFactors) {
            CourseScale scale =
                ScaleOf(static_cast<double>(lowest), static_cast<double>(highest), factor * std::pow(10.0, power));
            scale.resolution = ResolutionOf(-power);
            if (scale.Steps() <= most_steps) return scale;
        }
    }
}

std::uint32_t TimeStep(std::uint32_t span_minutes) {
    constexpr std::uint32_t kSteps                = 6;  // at most
    constexpr std::array<std::uint32_t, 6> kRound = {30, 60, 120, 300, 600, 1800};
    const auto fits   = [span_minutes](std::uint32_t step) { return span_minutes * 60 <= step * kSteps; };
    const auto* found = std::ranges::find_if(kRound, fits);
    return found == kRound.end() ? kRound.back() : *found;
}

void ReducePoints(std::span<const float> values, int columns, std::vector<CoursePoint>& points) {
    points.clear();
    bool after_gap = true;
    for (std::size_t begin = 0; begin < values.size();) {
        if (std::isnan(values[begin])) {
            after_gap = true;
            ++begin;
            continue;
        }
        const int column = ColumnOf(begin, values.size(), columns);
        std::size_t end  = begin + 1;
        while (end < values.size() && !std::isnan(values[end]) && ColumnOf(end, values.size(), columns) == column)
            ++end;
        AddColumn(points, column, values.subspan(begin, end - begin), after_gap);
        after_gap = false;
        begin     = end;
    }
}

}  // namespace nelto
