// Numbers and units as text, and typed text as numbers.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/channel_table.h"

namespace nelto {

/// What ParseNumber returns for a text that is not a number: the smallest positive normal single-precision value.
constexpr float kInvalidNumber = 1.1754944e-38F;

/// Room that every value or unit text fits into, NUL included.
constexpr std::size_t kValueTextSize = 256;

/// Writes `value` by its resolution code, with "." as decimal point: 0 whole number (half away from zero), 252 to 255 four
/// to one decimals. Infinity, what is not a number, and another code give "-". A whole number beyond 32 bits stands at their
/// limit.
void FormatValue(float value, std::uint32_t resolution, std::span<wchar_t> text);

/// The text of a unit code; "Unit n" for a code without one.
void UnitText(std::uint32_t unit, std::span<wchar_t> text);

/// Digits with at most one decimal separator; everything else gives kInvalidNumber. Reads the system's separator afresh.
[[nodiscard]] float ParseNumber(std::wstring_view text);

/// Replaces every "." of the text by the decimal separator.
void UseDecimalSeparator(std::span<wchar_t> text, wchar_t decimal_separator);

/// A record's value as people and the exchange file see it: "-", the number with the decimal separator, or the text; a
/// record of an unknown value type has none.
[[nodiscard]] std::wstring RecordValueText(const ChannelRecord& record, wchar_t decimal_separator);

}  // namespace nelto
