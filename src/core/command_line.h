// What the program takes from its command line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace nelto {

/// Everything before the first space.
[[nodiscard]] std::wstring CallerWord(std::wstring_view command_line);

/// The number of the first "6420=" option that at least one character follows; kNoFuelChoice without one. Leading digits
/// count, no digits give 0, and a number beyond 31 bits stands at their limit.
[[nodiscard]] std::int32_t FuelChoice(std::wstring_view command_line);

}  // namespace nelto
