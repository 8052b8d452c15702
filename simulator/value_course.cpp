#include "value_course.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace simulator {
namespace {

/// Sebastiano Vigna's SplitMix64, one step: the same deviation for the same place, on every machine.
constexpr std::uint64_t Scramble(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

/// From -1 to below +1.
double Deviation(std::uint64_t seed, std::uint32_t stream, std::uint64_t second) {
    const std::uint64_t bits = Scramble(Scramble(Scramble(seed) ^ stream) ^ second) >> 11;
    return static_cast<double>(bits) * 0x1p-52 - 1.0;
}

std::optional<double> Smooth(const ValueCourse& course, double seconds) {
    const double part = seconds / static_cast<double>(course.seconds);
    const double start{course.start};
    const double end{course.end};
    switch (course.shape) {
        case ValueCourse::Shape::kRamp: return start + (end - start) * std::min(part, 1.0);
        case ValueCourse::Shape::kSine: return start + end * std::sin(2.0 * std::numbers::pi * part);
        case ValueCourse::Shape::kSteps: break;
    }
    if (course.steps.empty()) return std::nullopt;
    const double place              = std::fmod(part, static_cast<double>(course.steps.size()));
    const std::optional<float> step = course.steps[std::min(static_cast<std::size_t>(place), course.steps.size() - 1)];
    return step ? std::optional<double>(*step) : std::nullopt;
}

}  // namespace

std::optional<float> ValueAt(const ValueCourse& course, std::uint64_t seed, std::uint32_t stream,
                             std::uint64_t now_ms) {
    const std::optional<double> smooth = Smooth(course, static_cast<double>(now_ms) / 1000.0);
    if (!smooth) return std::nullopt;
    if (course.noise == 0) return static_cast<float>(*smooth);
    return static_cast<float>(*smooth + static_cast<double>(course.noise) * Deviation(seed, stream, now_ms / 1000));
}

}  // namespace simulator
