#include "core/course_points.h"

#include <algorithm>
#include <cmath>

namespace nelto {
namespace {

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
