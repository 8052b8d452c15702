#include "core/labels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

/// Labels of the program's own are cut here, narrower than the field; kept on purpose.
constexpr std::size_t kLabelLimit = 15;

struct LabelRow {
    std::uint32_t view_ident;
    std::uint32_t text_id;
};

// clang-format off
constexpr std::array kChannelLabels = {
    LabelRow{kHeatCarrierTemperature, 674},
    LabelRow{kSmokeNumber1,           670},
    LabelRow{kSmokeNumber2,           671},
    LabelRow{kSmokeNumber3,           672},
    LabelRow{kSmokeNumberMean,        673},
    LabelRow{kOilDerivative,          675},
    LabelRow{kFuel,                   676},
    LabelRow{kDevice,                 679},
    LabelRow{kVersion,                680},
    LabelRow{kSerialNumber,           681},
    LabelRow{kSmokePump,              682},
    LabelRow{kReferenceOxygen,        678},
    LabelRow{kMaximumCarbonDioxide,   677},
};
// clang-format on

// clang-format off
constexpr std::array kHeatingCheckLabels = {
    LabelRow{0xFF2E, 700},
    LabelRow{0xFF2F, 701},
    LabelRow{0xFF30, 702},
    LabelRow{0xFF31, 703},
    LabelRow{0xFF32, 720},
    LabelRow{0xFF33, 721},
    LabelRow{0xFF34, 722},
    LabelRow{0xFF35, 723},
    LabelRow{0xFF36, 724},
    LabelRow{0xFF37, 725},
    LabelRow{0xFF38, 726},
    LabelRow{0xFF39, 727},
    LabelRow{0xFF3A, 728},
    LabelRow{0xFF3B, 729},
    LabelRow{0xFF3C, 730},
    LabelRow{0xFF3D, 731},
    LabelRow{0xFF3E, 740},
    LabelRow{0xFF3F, 732},
    LabelRow{0xFF40, 733},
    LabelRow{0xFF41, 734},
    LabelRow{0xFF42, 735},
    LabelRow{0xFF43, 736},
    LabelRow{0xFF44, 736},  // the lower rear temperature is labelled like the upper one; text 737 stays unused
    LabelRow{0xFF45, 738},
    LabelRow{0xFF46, 739},
    LabelRow{0xFF47, 741},
    LabelRow{0xFF48, 742},
    LabelRow{0xFF49, 746},
    LabelRow{0xFF4A, 743},
    LabelRow{0xFF4B, 744},
    LabelRow{0xFF4C, 745},
    LabelRow{0x0901, 714},
    LabelRow{0x0909, 710},
    LabelRow{0x0B01, 711},
    LabelRow{0x0401, 748},
    LabelRow{0x0101, 712},
    LabelRow{0x0102, 713},
    LabelRow{0x0110, 747},
};
// clang-format on

void LabelRecord(ChannelRecord& record, std::span<const LabelRow> rows) {
    const auto row = std::ranges::find(rows, record.view_ident, &LabelRow::view_ident);
    if (row == rows.end()) return;
    platform::CopyText(std::span(record.label).first(kLabelLimit + 1), platform::LoadText(row->text_id));
}

}  // namespace

void LabelChannelTable(ChannelTable& table) {
    for (ChannelRecord& record : table) LabelRecord(record, kChannelLabels);
}

void LabelHeatingCheckTable(ChannelTable& table) {
    for (ChannelRecord& record : UsedRecords(table)) LabelRecord(record, kHeatingCheckLabels);
}

}  // namespace nelto
