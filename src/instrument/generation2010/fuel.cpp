#include "instrument/generation2010/fuel.h"

#include <algorithm>
#include <array>

namespace nelto {
namespace {

struct FuelRow {
    std::int32_t fuel_number;
    std::uint32_t library_fuel;
};

/// The numbers 10 and 12 are not given to any fuel of these analysers.
constexpr std::array kFuels = {
    FuelRow{1, 100}, FuelRow{2, 104}, FuelRow{3, 114}, FuelRow{4, 113}, FuelRow{5, 107},
    FuelRow{6, 108}, FuelRow{7, 103}, FuelRow{8, 111}, FuelRow{9, 112}, FuelRow{11, 121},
};

}  // namespace

std::uint32_t LibraryFuelOf(std::int32_t fuel_number) {
    const auto row = std::ranges::find(kFuels, fuel_number, &FuelRow::fuel_number);
    return row == kFuels.end() ? 0 : row->library_fuel;
}

std::int32_t FuelNumberOf(std::uint32_t library_fuel) {
    const auto row = std::ranges::find(kFuels, library_fuel, &FuelRow::library_fuel);
    return row == kFuels.end() ? 0 : row->fuel_number;
}

}  // namespace nelto
