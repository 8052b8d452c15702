// The geometry of a strip: the scale with its ticks at round numbers, and the few points that a line of so many pixel columns needs.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace nelto {

/// From `low` to `high` in steps of 1, 2 or 5 times a power of ten; both ends are ticks.
struct CourseScale {
    double low               = 0;
    double high              = 1;
    double step              = 1;
    std::uint32_t resolution = 0;  // code of the decimals that the ticks need

    [[nodiscard]] int Steps() const { return static_cast<int>(std::lround((high - low) / step)); }
};

/// The finest scale of at most `most_steps` (at least 2) steps that holds `lowest` to `highest`. Its steps are no finer than the last
/// digit that values of this resolution code are shown with.
[[nodiscard]] CourseScale ChooseScale(float lowest, float highest, std::uint32_t resolution, int most_steps);

/// How many seconds lie between two ticks of the time axis, for a span of so many minutes.
[[nodiscard]] std::uint32_t TimeStep(std::uint32_t span_minutes);

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
