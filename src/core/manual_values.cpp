#include "core/manual_values.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "core/value_text.h"

namespace nelto {
namespace {

constexpr float kSmokeNumberLimit            = 10.0F;
constexpr float kHeatCarrierTemperatureLimit = 1000.0F;
constexpr float kAbsent                      = kInvalidNumber;

/// One value for the table. An existing record takes it when `updates`, a missing one is appended when `appends`.
struct SpecialValue {
    std::uint32_t view_ident;
    float value;
    std::uint32_t resolution;
    std::uint32_t unit_when_appended;
    bool updates;
    bool appends;
};

bool IsPresent(float value) { return value != kAbsent; }

float ParseBelow(float limit, std::wstring_view text) {
    const float value = ParseNumber(text);
    return value >= 0.0F && value < limit ? value : kAbsent;
}

float Mean(float first, float second, float third) {
    if (!IsPresent(first) || !IsPresent(second) || !IsPresent(third)) return kAbsent;
    return (first + second + third) / 3.0F;
}

/// In the order in which missing ones are appended.
std::array<SpecialValue, 6> SpecialValues(const ManualValues& typed) {
    const float smoke1 = ParseBelow(kSmokeNumberLimit, typed.smoke_numbers[0]);
    const float smoke2 = ParseBelow(kSmokeNumberLimit, typed.smoke_numbers[1]);
    const float smoke3 = ParseBelow(kSmokeNumberLimit, typed.smoke_numbers[2]);
    const float mean   = Mean(smoke1, smoke2, smoke3);
    const float heat   = ParseBelow(kHeatCarrierTemperatureLimit, typed.heat_carrier_temperature);
    const auto oil     = static_cast<float>(typed.oil_derivative);
    return {{
        {kSmokeNumber1, smoke1, kOneDecimal, 0, IsPresent(smoke1), IsPresent(smoke1)},
        // Deliberate: a record of number 2 goes by the presence of number 1 and may so take the absent marker as its value.
        {kSmokeNumber2, smoke2, kOneDecimal, 0, IsPresent(smoke1), IsPresent(smoke2)},
        {kSmokeNumber3, smoke3, kOneDecimal, 0, IsPresent(smoke3), IsPresent(smoke3)},
        {kSmokeNumberMean, mean, kOneDecimal, 0, IsPresent(mean), IsPresent(mean)},
        {kHeatCarrierTemperature, heat, kOneDecimal, kCelsius, IsPresent(heat), IsPresent(heat)},
        {kOilDerivative, oil, kWholeNumber, 0, true, true},
    }};
}

void Put(const SpecialValue& special, ChannelRecord& record) {
    record.value      = special.value;
    record.value_type = kNumber;
    record.resolution = special.resolution;
}

/// Updates every record of the quantity; false when there is none.
bool Update(const SpecialValue& special, std::span<ChannelRecord> records) {
    bool found = false;
    for (ChannelRecord& record : records) {
        if (record.view_ident != special.view_ident) continue;
        found = true;
        if (special.updates) {
            Put(special, record);
        } else {
            record.value_type = kNoValue;
        }
    }
    return found;
}

void Append(const SpecialValue& special, ChannelTable& channels) {
    ChannelRecord record = {.view_ident = special.view_ident, .unit = special.unit_when_appended};
    Put(special, record);
    AppendRecord(channels, record);
}

/// A smoke channel of the analyser as the dialog takes it over: smoke numbers with one decimal, the answer by its position.
ChannelRecord TakenOver(ChannelRecord record) {
    if (record.value_type == kNoValue) return record;
    const bool is_answer = record.view_ident == kOilDerivative;
    record.value_type    = kNumber;
    record.resolution    = is_answer ? kWholeNumber : kOneDecimal;
    if (is_answer) record.value = record.value < 0.5F ? 1.0F : 2.0F;
    return record;
}

/// Puts the smoke channels back as the analyser gave them. They are stored and taken back, not left out, so that the heat carrier
/// temperature finds the same room in a nearly full table whatever the fuel.
void TakeBackSmokeChannels(const ChannelTable& given, ChannelTable& channels) {
    const std::size_t standing = UsedRecords(given).size();
    for (std::size_t index = 0; index < standing; ++index) {
        if (IsSmokeChannel(given[index].view_ident)) channels[index] = TakenOver(given[index]);
    }
    const auto appended = channels.begin() + static_cast<std::ptrdiff_t>(standing);
    const auto is_smoke = [](const ChannelRecord& record) { return IsSmokeChannel(record.view_ident); };
    std::fill(std::remove_if(appended, channels.end(), is_smoke), channels.end(), ChannelRecord());
}

/// The fuel's number reaches the exchange file even where the analyser gave it as a text.
void MarkFuelValid(std::span<ChannelRecord> records) {
    for (ChannelRecord& record : records) {
        if (record.view_ident == kFuel) record.value_type = kNumber;
    }
}

}  // namespace

void StoreManualValues(const ManualValues& typed, ChannelTable& channels) {
    const ChannelTable given = channels;
    MarkFuelValid(UsedRecords(channels));
    for (const SpecialValue& special : SpecialValues(typed)) {
        const bool found = Update(special, UsedRecords(channels));
        if (!found && special.appends) Append(special, channels);
    }
    if (!typed.smoke_entered) TakeBackSmokeChannels(given, channels);
}

}  // namespace nelto
