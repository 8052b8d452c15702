// The course of one quantity as the few points that a line of so many pixel columns needs.
#pragma once

#include <span>
#include <vector>

namespace nelto {

struct CoursePoint {
    int column  = 0;
    float value = 0.0F;
    bool begins = false;  // the first after a gap: no line leads to it

    bool operator==(const CoursePoint& other) const = default;
};

/// The column in which second `index` of `count` lies.
[[nodiscard]] constexpr int ColumnOf(std::size_t index, std::size_t count, int columns) {
    return static_cast<int>(index * static_cast<std::size_t>(columns) / count);
}

/// Fills `points` so that the line through them covers the same pixels as the line through all values: of each column, between
/// two gaps, the first value, the lowest, the highest and the last, each only where it differs from the one before. Above 0 columns.
void ReducePoints(std::span<const float> values, int columns, std::vector<CoursePoint>& points);

}  // namespace nelto
