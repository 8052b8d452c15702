// The channel record and the two tables of 64 records in which all measured quantities travel through the program.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nelto {

constexpr std::size_t kChannelCapacity = 64;
constexpr std::size_t kChannelTextSize = 32;  // wide characters, NUL included

/// What a record's value field holds.
enum ValueType : std::uint32_t { kNoValue = 0, kNumber = 1, kText = 2 };

/// View idents that the program itself assigns, and two ordinary ones that get labels of its own.
enum ViewIdent : std::uint32_t {
    kFreeRecord             = 0,
    kHeatCarrierTemperature = 0xFF01,
    kSmokeNumber1           = 0xFF02,
    kSmokeNumber2           = 0xFF03,
    kSmokeNumber3           = 0xFF04,
    kSmokeNumberMean        = 0xFF05,
    kOilDerivative          = 0xFF06,
    kFuel                   = 0xFFF0,
    kDevice                 = 0xFFF1,
    kVersion                = 0xFFF2,
    kSerialNumber           = 0xFFF3,
    kSmokePump              = 0xFFF4,
    kReferenceOxygen        = 0x090F,
    kMaximumCarbonDioxide   = 0x0910,
};

/// Resolution codes: how many decimals a number is shown with.
enum Resolution : std::uint32_t {
    kWholeNumber   = 0,
    kFourDecimals  = 252,
    kThreeDecimals = 253,
    kTwoDecimals   = 254,
    kOneDecimal    = 255,
};

enum Unit : std::uint32_t { kCelsius = 1, kPercent = 130, kNoUnit = 255 };

/// One measured or derived quantity. `text` and `label` are always ended inside their fields.
struct ChannelRecord {
    std::uint32_t view_ident = kFreeRecord;
    std::uint32_t unit       = 0;
    std::uint32_t resolution = 0;
    std::uint32_t value_type = kNoValue;
    float value              = 0.0F;
    std::array<wchar_t, kChannelTextSize> text{};
    std::array<wchar_t, kChannelTextSize> label{};
    std::uint64_t source = 0;  // for its reader alone: which result list of the analyser it stands in
};

using ChannelTable = std::array<ChannelRecord, kChannelCapacity>;

/// The records before the first free one, or all 64.
[[nodiscard]] std::span<const ChannelRecord> UsedRecords(const ChannelTable& table);
[[nodiscard]] std::span<ChannelRecord> UsedRecords(ChannelTable& table);

/// True when all 64 records are used.
[[nodiscard]] bool IsFull(const ChannelTable& table);

/// Puts the record into the first free one; a full table drops it.
void AppendRecord(ChannelTable& table, const ChannelRecord& record);

/// True for the smoke numbers, their mean and the oil derivative: they are shown and handed on only with oil as fuel.
[[nodiscard]] constexpr bool IsSmokeChannel(std::uint32_t view_ident) {
    return view_ident >= kSmokeNumber1 && view_ident <= kOilDerivative;
}

}  // namespace nelto
