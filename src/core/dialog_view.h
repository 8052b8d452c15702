// What the main dialog shows, computed from the program state; the dialog procedure only carries out the differences.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/program_state.h"

namespace nelto {

/// The status shown last, before the first refresh: it differs from every status, so the first refresh redraws.
constexpr std::uint32_t kNeverShown = 0xFFFF;

/// What a refresh does to the OK button. The focus moves with the change only: someone who types a smoke number keeps it.
enum class OkChange : std::uint8_t { kNone, kDisable, kEnableAndFocus };

struct StatusView {
    std::uint32_t text_id = 0;  // 0 leaves the status text as it stands
    OkChange ok           = OkChange::kNone;
    bool repaint          = false;  // another status than the one shown last
    bool values_arrive    = false;  // the group box takes the instrument's name, the typed fields its values (once)
    bool lists_values     = false;  // otherwise the list is emptied and the refresh ends
};

[[nodiscard]] StatusView ViewStatus(std::uint32_t status, std::uint32_t shown_status, bool ok_enabled);

/// The analyser's name; "Device" where it tells none.
[[nodiscard]] std::wstring DeviceText(const Measurement& measurement);

/// "USB", "IrDA" or "Bluetooth COM5" for the "Communication" setting.
[[nodiscard]] std::wstring ConnectionText(std::uint32_t communication);

/// Picture numbers; their bitmaps are resources of the same number.
[[nodiscard]] std::uint32_t LargePicture(std::uint32_t status, std::uint32_t instrument_kind);
/// 0 for a status without a picture.
[[nodiscard]] std::uint32_t SmallPicture(std::uint32_t status);

/// Entries of the oil derivative field, by position.
enum OilDerivativeEntry : std::uint32_t { kOilUnanswered, kOilNo, kOilYes };

/// What the typed fields take over from the analyser; an empty one stays as it is.
struct TypedFields {
    std::array<std::optional<std::wstring>, 3> smoke_numbers;
    std::optional<std::wstring> heat_carrier_temperature;
    std::optional<OilDerivativeEntry> oil_derivative;
};

/// Records without a number are not taken over.
[[nodiscard]] TypedFields ViewTypedFields(const ChannelTable& channels, wchar_t decimal_separator);

/// Makes the answer's text the value of the oil derivative channel, where there is one.
void SetOilDerivativeText(ChannelTable& channels, std::wstring_view answer);

}  // namespace nelto
