#include "instrument/generation2010/translation.h"

#include <algorithm>
#include <array>

namespace nelto {
namespace {

struct IdentRow {
    std::uint32_t ident_2010;
    std::uint32_t view_ident;
};

/// Ascending by the ident of generation 2010.
constexpr std::array kIdents = {
    IdentRow{0x00000122, 0xFF4B}, IdentRow{0x00000124, 0x0113},  IdentRow{0x00000125, 0x0114},
    IdentRow{0x00000904, 0x090D}, IdentRow{0x0000090A, 0x1090A}, IdentRow{0x0000090B, 0x1090B},
    IdentRow{0x0000090C, 0x090F}, IdentRow{0x0000090D, 0x0910},  IdentRow{0x0000090E, 0x1090E},
    IdentRow{0x0000090F, 0x0919}, IdentRow{0x00000910, 0x091A},  IdentRow{0x00000913, 0x091D},
    IdentRow{0x0000091B, 0x091F}, IdentRow{0x00020915, 0x090E},  IdentRow{0x00020B01, 0x0B01},
    IdentRow{0x00020B02, 0x0B01}, IdentRow{0x00020B03, 0x0B07},  IdentRow{0x00020B05, 0x0B02},
    IdentRow{0x00020B08, 0x0B08}, IdentRow{0x00021282, 0x090C},  IdentRow{0x00021F04, 0xFF2E},
    IdentRow{0x80010108, 0xFF01}, IdentRow{0x8001011E, 0xFF3F},  IdentRow{0x80010303, 0x0303},
    IdentRow{0x80011903, 0xFF47}, IdentRow{0x80011B01, 0xFF02},  IdentRow{0x80021F05, 0xFF2F},
    IdentRow{0x80021F06, 0xFF30}, IdentRow{0x80021F07, 0xFF4C},  IdentRow{0x80021F08, 0xFF3E},
    IdentRow{0x80051B02, 0xFF06}, IdentRow{0x8101011E, 0xFF40},  IdentRow{0x81011B01, 0xFF03},
    IdentRow{0x8201011E, 0xFF41}, IdentRow{0x82011B01, 0xFF04},  IdentRow{0x8301011E, 0xFF42},
    IdentRow{0x83021B01, 0xFF05}, IdentRow{0x8401011E, 0xFF43},  IdentRow{0x8501011E, 0xFF44},
    IdentRow{0x8601011E, 0xFF45},
};

static_assert(kIdents.size() == 40);
static_assert(std::ranges::is_sorted(kIdents, {}, &IdentRow::ident_2010));

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

std::uint32_t ViewIdentOf(std::uint32_t ident_2010) {
    const auto row = std::ranges::lower_bound(kIdents, ident_2010, {}, &IdentRow::ident_2010);
    return row != kIdents.end() && row->ident_2010 == ident_2010 ? row->view_ident : ident_2010;
}

std::uint32_t LibraryFuelOf(std::int32_t fuel_number) {
    const auto row = std::ranges::find(kFuels, fuel_number, &FuelRow::fuel_number);
    return row == kFuels.end() ? 0 : row->library_fuel;
}

std::int32_t FuelNumberOf(std::uint32_t library_fuel) {
    const auto row = std::ranges::find(kFuels, library_fuel, &FuelRow::library_fuel);
    return row == kFuels.end() ? 0 : row->fuel_number;
}

}  // namespace nelto
