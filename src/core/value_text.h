// Values and units as text: row by row for people, on one line for other software; and typed text as numbers.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/measurement.h"

namespace nelto {

/// What ParseNumber returns for a text that is not a number: the smallest positive normal single-precision value.
constexpr float kInvalidNumber = 1.1754944e-38F;

/// Room that every value text fits into, NUL included.
constexpr std::size_t kValueTextSize = 256;

/// `value` by its resolution code: 0 whole number (half away from zero), 252 to 255 four to one decimals. Infinity, what is not a
/// number, and another code give "-". A whole number beyond 32 bits stands at their limit.
[[nodiscard]] std::wstring NumberText(float value, std::uint32_t resolution, wchar_t decimal_separator);

/// The text of a unit code; "Unit n" for a code without one.
[[nodiscard]] std::wstring UnitText(std::uint32_t unit);

/// Digits with at most one decimal separator; everything else gives kInvalidNumber. Reads the system's separator afresh.
[[nodiscard]] float ParseNumber(std::wstring_view text);

/// A record's value as people and the exchange file see it: "-", the number with the decimal separator, or the text; a
/// record of an unknown value type has none.
[[nodiscard]] std::wstring RecordValueText(const ChannelRecord& record, wchar_t decimal_separator);

enum ListColumn : std::uint32_t { kChannelColumn, kValueColumn, kUnitColumn, kColumnCount };

/// The texts of one list row by ListColumn.
using ListRow = std::array<std::wstring, kColumnCount>;

/// The records that have a row, row by row: the channels first. Smoke channels have one only with oil as fuel.
[[nodiscard]] std::vector<const ChannelRecord*> ListedRecords(const Measurement& measurement);

[[nodiscard]] std::vector<ListRow> ListRows(const Measurement& measurement, wchar_t decimal_separator);

/// A received text never breaks a line of the exchange file or of the serial output: control characters become blanks.
[[nodiscard]] std::wstring OnOneLine(std::wstring text);

}  // namespace nelto
