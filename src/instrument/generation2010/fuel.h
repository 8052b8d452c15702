// Fuels: the numbers that the program and other software use, and the ids of the maker's libraries.
#pragma once

#include <cstdint>

namespace nelto {

/// The library id of a fuel number; 0 for a number without one.
[[nodiscard]] std::uint32_t LibraryFuelOf(std::int32_t fuel_number);

/// The fuel number of a library id; 0 for an unknown one.
[[nodiscard]] std::int32_t FuelNumberOf(std::uint32_t library_fuel);

}  // namespace nelto
