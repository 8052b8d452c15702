#include "core/course_choice.h"

#include <algorithm>
#include <string>

#include "platform/registry.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::array<std::uint32_t, 4> kUsualIdents = {0x0901, 0x0902, 0x0101, 0x0301};

constexpr const wchar_t* kSpanSetting = L"CourseSpan";

struct PlaceRow {
    const wchar_t* name;
    std::int32_t WindowPlace::*number;
};

constexpr std::array kPlaceRows = {
    PlaceRow{L"CourseLeft", &WindowPlace::left},
    PlaceRow{L"CourseTop", &WindowPlace::top},
    PlaceRow{L"CourseWidth", &WindowPlace::width},
    PlaceRow{L"CourseHeight", &WindowPlace::height},
};

std::wstring ChannelSetting(std::uint32_t number) { return platform::Formatted(L"CourseChannel%u", number); }
std::wstring UnitSetting(std::uint32_t number) { return platform::Formatted(L"CourseUnit%u", number); }

bool IsAmong(std::span<const CourseSeries> series, const CourseKey& key) {
    return std::ranges::find(series, key, &CourseSeries::Key) != series.end();
}

}  // namespace

bool CourseChoice::Has(const CourseKey& key) const { return std::ranges::find(keys_, key) != keys_.end(); }

bool CourseChoice::IsFull(std::span<const CourseSeries> series) const {
    return std::ranges::count_if(keys_, [series](const CourseKey& key) { return IsAmong(series, key); }) == kMostChosen;
}

void CourseChoice::Add(const CourseKey& key, std::span<const CourseSeries> series) {
    if (Has(key) || IsFull(series)) return;
    if (keys_.size() == kMostChosen) {
        keys_.erase(std::ranges::find_if(keys_, [series](const CourseKey& old) { return !IsAmong(series, old); }));
    }
    keys_.push_back(key);
}

void CourseChoice::Remove(const CourseKey& key) { std::erase(keys_, key); }

void CourseChoice::ChooseUsual(std::span<const CourseSeries> series) {
    const auto is_chosen = [this](const CourseSeries& one) { return Has(one.Key()); };
    if (series.empty() || std::ranges::any_of(series, is_chosen)) return;
    keys_.clear();
    for (const std::uint32_t ident : kUsualIdents) {
        const CourseSeries* latest = nullptr;
        for (const CourseSeries& one : series) {
            if (one.Key().view_ident == ident) latest = &one;
        }
        if (latest != nullptr) Add(latest->Key(), series);
    }
}

CourseSettings ReadCourseSettings() {
    CourseSettings settings;
    for (const PlaceRow& row : kPlaceRows) {
        settings.place.*row.number = static_cast<std::int32_t>(platform::RegReadDword(row.name, 0));
    }
    const std::uint32_t span = platform::RegReadDword(kSpanSetting, settings.span_minutes);
    if (std::ranges::find(kCourseSpans, span) != kCourseSpans.end()) settings.span_minutes = span;
    for (std::uint32_t number = 1; number <= kMostChosen; ++number) {
        const std::uint32_t ident = platform::RegReadDword(ChannelSetting(number).c_str(), kFreeRecord);
        if (ident == kFreeRecord) continue;
        settings.choice.Add({.view_ident = ident, .unit = platform::RegReadDword(UnitSetting(number).c_str(), 0)}, {});
    }
    return settings;
}

void WriteCourseSettings(const CourseSettings& settings) {
    for (const PlaceRow& row : kPlaceRows) {
        platform::RegWriteDword(row.name, static_cast<std::uint32_t>(settings.place.*row.number));
    }
    platform::RegWriteDword(kSpanSetting, settings.span_minutes);
    const std::span<const CourseKey> keys = settings.choice.Keys();
    for (std::uint32_t number = 1; number <= kMostChosen; ++number) {
        const CourseKey key = number <= keys.size() ? keys[number - 1] : CourseKey{};
        platform::RegWriteDword(ChannelSetting(number).c_str(), key.view_ident);
        platform::RegWriteDword(UnitSetting(number).c_str(), key.unit);
    }
}

}  // namespace nelto
