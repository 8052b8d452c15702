#include "core/dialog_view.h"

#include <algorithm>
#include <cmath>

#include "core/value_text.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

struct StatusRow {
    std::uint32_t status;
    std::uint32_t text_id;
    std::uint32_t small_picture;
};

constexpr std::array kStatusRows = {
    StatusRow{kSearching, 620, 210}, StatusRow{kReading, 621, 211},       StatusRow{kValuesAvailable, 622, 212},
    StatusRow{kBroken, 623, 213},    StatusRow{kNoValidValues, 624, 214},
};

struct PictureRow {
    std::uint32_t instrument_kind;
    std::uint32_t picture;
};

constexpr std::uint32_t kUnknownInstrumentPicture = 200;
constexpr std::uint32_t kSearchingPicture         = 201;

constexpr std::array kLargePictures = {
    PictureRow{kKind781, 202},
    PictureRow{kKind760, 203},
    PictureRow{kKind752, 204},
    PictureRow{kKind711, 205},
};

constexpr std::uint32_t kDeviceText    = 600;
constexpr std::uint32_t kUsbText       = 606;
constexpr std::uint32_t kIrdaText      = 607;
constexpr std::uint32_t kBluetoothText = 608;

StatusRow FindStatus(std::uint32_t status) {
    const auto row = std::ranges::find(kStatusRows, status, &StatusRow::status);
    return row == kStatusRows.end() ? StatusRow{} : *row;
}

OkChange ChangeOfOk(std::uint32_t status, bool ok_enabled) {
    if (status == kSearching && ok_enabled) return OkChange::kDisable;
    if (status == kValuesAvailable && !ok_enabled) return OkChange::kEnableAndFocus;
    return OkChange::kNone;
}

std::optional<float> NumberOf(const ChannelTable& channels, std::uint32_t view_ident) {
    const auto records = UsedRecords(channels);
    const auto record  = std::ranges::find(records, view_ident, &ChannelRecord::view_ident);
    if (record == records.end() || record->value_type != kNumber || !std::isfinite(record->value)) return {};
    return record->value;
}

}  // namespace

StatusView ViewStatus(std::uint32_t status, std::uint32_t shown_status, bool ok_enabled) {
    return {
        .text_id       = FindStatus(status).text_id,
        .ok            = ChangeOfOk(status, ok_enabled),
        .repaint       = status != shown_status,
        .values_arrive = status == kValuesAvailable,
        .lists_values  = status == kValuesAvailable || status == kBroken,
    };
}

std::wstring DeviceText(const Measurement& measurement) {
    if (measurement.device_name[0] == L'\0') return platform::LoadText(kDeviceText);
    return std::wstring(platform::TextIn(measurement.device_name));
}

std::wstring ConnectionText(std::uint32_t communication) {
    if (communication == kUsb) return platform::LoadText(kUsbText);
    if (communication == kIrda) return platform::LoadText(kIrdaText);
    return platform::LoadText(kBluetoothText) + platform::Formatted(L" COM%u", communication);
}

std::uint32_t LargePicture(std::uint32_t status, std::uint32_t instrument_kind) {
    if (status == kSearching) return kSearchingPicture;
    const auto row = std::ranges::find(kLargePictures, instrument_kind, &PictureRow::instrument_kind);
    return row == kLargePictures.end() ? kUnknownInstrumentPicture : row->picture;
}

std::uint32_t SmallPicture(std::uint32_t status) { return FindStatus(status).small_picture; }

TypedFields ViewTypedFields(const ChannelTable& channels, wchar_t decimal_separator) {
    const auto field = [&](std::uint32_t view_ident) -> std::optional<std::wstring> {
        const auto number = NumberOf(channels, view_ident);
        if (!number) return {};
        return NumberText(*number, kOneDecimal, decimal_separator);
    };
    TypedFields fields;
    fields.smoke_numbers            = {field(kSmokeNumber1), field(kSmokeNumber2), field(kSmokeNumber3)};
    fields.heat_carrier_temperature = field(kHeatCarrierTemperature);
    if (const auto answer = NumberOf(channels, kOilDerivative))
        fields.oil_derivative = *answer < 0.5F ? kOilNo : kOilYes;
    return fields;
}

void SetOilDerivativeText(ChannelTable& channels, std::wstring_view answer) {
    const auto records = UsedRecords(channels);
    const auto record  = std::ranges::find(records, kOilDerivative, &ChannelRecord::view_ident);
    if (record == records.end()) return;
    platform::CopyText(record->text, answer);
    record->value_type = kText;
}

}  // namespace nelto
