// Which courses are plotted, and how the window that plots them was left.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "core/course_series.h"

namespace nelto {

constexpr std::size_t kMostChosen = 6;

/// Spans of time that can be shown, in minutes.
constexpr std::array<std::uint32_t, 4> kCourseSpans = {2, 10, 30, 120};

class CourseChoice {
public:
    [[nodiscard]] bool Has(const CourseKey& key) const;
    /// True when as many of these courses are chosen as can be shown; one chosen earlier that is not among them counts for nothing.
    [[nodiscard]] bool IsFull(std::span<const CourseSeries> series) const;
    [[nodiscard]] std::span<const CourseKey> Keys() const { return keys_; }
    /// Does nothing when the choice is full or has the key. Where there is no room left, one that is not among the courses makes it.
    void Add(const CourseKey& key, std::span<const CourseSeries> series);
    void Remove(const CourseKey& key);
    /// Where none of the chosen is among the courses: oxygen, carbon monoxide, flue-gas temperature and draught, as far as there are
    /// such, in their latest units.
    void ChooseUsual(std::span<const CourseSeries> series);

private:
    std::vector<CourseKey> keys_;
};

/// A window's place on the desktop in pixels; without a width there is none yet.
struct WindowPlace {
    std::int32_t left   = 0;
    std::int32_t top    = 0;
    std::int32_t width  = 0;
    std::int32_t height = 0;
};

struct CourseSettings {
    WindowPlace place;
    std::uint32_t span_minutes = kCourseSpans[1];
    CourseChoice choice;
};

/// Kept in the program's registry key, each number by itself; what is missing or no span stays at its default.
[[nodiscard]] CourseSettings ReadCourseSettings();
void WriteCourseSettings(const CourseSettings& settings);

}  // namespace nelto
