#include "core/value_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

struct DecimalFormat {
    std::uint32_t resolution;
    platform::TextFormat<double> format;
};

constexpr std::array kDecimalFormats = {
    DecimalFormat{kFourDecimals, L"%6.4f"},
    DecimalFormat{kThreeDecimals, L"%5.3f"},
    DecimalFormat{kTwoDecimals, L"%4.2f"},
    DecimalFormat{kOneDecimal, L"%3.1f"},
};

struct UnitRow {
    std::uint32_t unit;
    const wchar_t* text;
};

// clang-format off
constexpr std::array kUnitTexts = {
    UnitRow{0,   L""},
    UnitRow{1,   L"°C"},
    UnitRow{2,   L"°F"},
    UnitRow{4,   L"%"},
    UnitRow{5,   L"m/sec"},
    UnitRow{10,  L"cm²"},
    UnitRow{11,  L"V"},
    UnitRow{14,  L"sec"},
    UnitRow{22,  L""},
    UnitRow{23,  L"mbar"},
    UnitRow{24,  L"hPa"},
    UnitRow{33,  L"m³/h"},
    UnitRow{64,  L"m"},
    UnitRow{69,  L"min"},
    UnitRow{73,  L"l/min"},
    UnitRow{80,  L"cm"},
    UnitRow{99,  L""},
    UnitRow{117, L"kW"},
    UnitRow{118, L"l"},
    UnitRow{130, L"%"},
    UnitRow{131, L"ppm"},
    UnitRow{133, L"bar"},
    UnitRow{136, L"mg/kWh"},
    UnitRow{137, L"Pa"},
    UnitRow{139, L"mg/m³"},
    UnitRow{155, L"K"},
    UnitRow{191, L"kg/h"},
    UnitRow{208, L"l/h"},
    UnitRow{255, L""},
};
// clang-format on

int RoundHalfAwayFromZero(float value) {
    constexpr double kLowest  = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    const double shifted      = static_cast<double>(value) + (value < 0.0F ? -0.5 : 0.5);
    return static_cast<int>(std::clamp(shifted, kLowest, kHighest));
}

}  // namespace

std::wstring NumberText(float value, std::uint32_t resolution, wchar_t decimal_separator) {
    const auto row = std::ranges::find(kDecimalFormats, resolution, &DecimalFormat::resolution);
    if (!std::isfinite(value) || (resolution != kWholeNumber && row == kDecimalFormats.end())) return L"-";
    std::array<wchar_t, kValueTextSize> text{};
    if (resolution == kWholeNumber) {
        platform::FormatText(text, L"%d", RoundHalfAwayFromZero(value));
    } else {
        platform::FormatText(text, row->format, static_cast<double>(value));
    }
    std::ranges::replace(text, L'.', decimal_separator);
    return std::wstring(platform::TextIn(text));
}

std::wstring UnitText(std::uint32_t unit) {
    const auto row = std::ranges::find(kUnitTexts, unit, &UnitRow::unit);
    return row == kUnitTexts.end() ? platform::Formatted(L"Unit %u", unit) : row->text;
}

float ParseNumber(std::wstring_view text) {
    const wchar_t separator = platform::DecimalSeparator();
    if (text.empty()) return kInvalidNumber;
    float value      = 0.0F;
    float divisor    = 10.0F;
    bool in_fraction = false;
    for (const wchar_t character : text) {
        if (character == separator) {
            if (in_fraction) return kInvalidNumber;
            in_fraction = true;
            continue;
        }
        if (character < L'0' || character > L'9') return kInvalidNumber;
        const auto digit = static_cast<float>(character - L'0');
        if (!in_fraction) {
            value = value * 10.0F + digit;
            continue;
        }
        value += digit / divisor;
        divisor *= 10.0F;
    }
    return value;
}

std::wstring RecordValueText(const ChannelRecord& record, wchar_t decimal_separator) {
    if (record.value_type == kNoValue) return L"-";
    if (record.value_type == kText) return std::wstring(platform::TextIn(record.text));
    if (record.value_type != kNumber) return {};
    return NumberText(record.value, record.resolution, decimal_separator);
}

std::vector<const ChannelRecord*> ListedRecords(const Measurement& measurement) {
    std::vector<const ChannelRecord*> records;
    for (const ChannelRecord& record : UsedRecords(measurement.channels)) {
        if (IsHandedOn(record, measurement)) records.push_back(&record);
    }
    for (const ChannelRecord& record : UsedRecords(measurement.heating_check)) records.push_back(&record);
    return records;
}

std::vector<ListRow> ListRows(const Measurement& measurement, wchar_t decimal_separator) {
    std::vector<ListRow> rows;
    for (const ChannelRecord* record : ListedRecords(measurement)) {
        rows.push_back({std::wstring(platform::TextIn(record->label)), RecordValueText(*record, decimal_separator),
                        UnitText(record->unit)});
    }
    return rows;
}

std::wstring OnOneLine(std::wstring text) {
    std::ranges::replace_if(
        text, [](wchar_t character) { return character < L' ' || character == 0x7F; }, L' ');
    return text;
}

}  // namespace nelto
