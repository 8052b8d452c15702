// How one measured value moves over the simulator's time.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace simulator {

/// What an analyser reports for an additional channel that nobody has entered yet: 00 00 80 4F on the wire.
constexpr float kNotEntered = 4294967296.0f;

struct ValueCourse {
    enum class Shape : std::uint8_t { kSteps, kRamp, kSine };

    Shape shape = Shape::kSteps;
    std::vector<std::optional<float>>
        steps;          // kSteps: shown in turn, for ever; one entry is a constant, none is no value
    float start   = 0;  // kRamp: first value; kSine: middle
    float end     = 0;  // kRamp: last value, held from then on; kSine: amplitude
    float seconds = 1;  // duration of a step, of the ramp, of one wave; above 0
    float noise   = 0;  // each second another deviation from -noise to +noise is added
};

/// The value `now_ms` after the start. Noise is a pure function of `seed`, `stream` (one number a channel) and the
/// second.
[[nodiscard]] std::optional<float> ValueAt(const ValueCourse& course, std::uint64_t seed, std::uint32_t stream,
                                           std::uint64_t now_ms);

}  // namespace simulator
