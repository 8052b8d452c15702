// The scale of a strip: ticks at round numbers.
#pragma once

#include <cmath>
#include <cstdint>

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

}  // namespace nelto
