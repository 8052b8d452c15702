// From the idents and fuels of the maker's libraries to those of the channel tables and of other software.
#pragma once

#include <cstdint>

namespace nelto {

/// The view ident of an ident of generation 2010; one that is not in the table stays as it is.
[[nodiscard]] std::uint32_t ViewIdentOf(std::uint32_t ident_2010);

/// The library id of a fuel number; 0 for a number without one.
[[nodiscard]] std::uint32_t LibraryFuelOf(std::int32_t fuel_number);

/// The fuel number of a library id; 0 for an unknown one.
[[nodiscard]] std::int32_t FuelNumberOf(std::uint32_t library_fuel);

}  // namespace nelto
