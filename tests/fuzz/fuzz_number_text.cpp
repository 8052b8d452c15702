// Numbers as text and text as numbers: typed numbers, values and units, exchange file and serial output. Input: decimal separator,
// oil flag, a typed text, then records as they lie in memory, their texts ended as the readers guarantee.
#include <cmath>

#include "core/dialog_view.h"
#include "core/exchange_file.h"
#include "core/manual_values.h"
#include "core/serial_output.h"
#include "core/value_text.h"
#include "fuzz.h"
#include "platform/wide_text.h"

namespace {

using namespace nelto;
using test::Input;
using test::Require;

constexpr std::size_t kLongestText = 64;

constexpr std::array<wchar_t, 4> kSeparators = {L'.', L',', L'\x66B', L' '};

void TryTypedNumber(const std::wstring& text, wchar_t separator) {
    const float number = ParseNumber(text);
    const auto is_good = [=](wchar_t letter) { return letter == separator || (letter >= L'0' && letter <= L'9'); };
    const bool is_number =
        !text.empty() && std::ranges::all_of(text, is_good) && std::ranges::count(text, separator) <= 1;
    // Digits behind the separator may make the very number that stands for none.
    Require(is_number ? number >= 0.0F : number == kInvalidNumber);
}

void TryValue(const ChannelRecord& record, wchar_t separator) {
    const std::wstring shown = NumberText(record.value, record.resolution, L'.');
    Require(!shown.empty() && shown.size() < kLongestText);
    const bool is_value = std::isfinite(record.value) &&
                          (record.resolution == 0 || (record.resolution >= 252 && record.resolution <= 255));
    if (!is_value) Require(shown == L"-");
    if (is_value && record.resolution == 0) Require(shown.find(L'.') == std::wstring_view::npos && shown != L"-");
    if (is_value && record.resolution != 0) Require(shown.size() - shown.find(L'.') == 257 - record.resolution);
    if (separator != L'.' && record.value_type == kNumber)
        Require(RecordValueText(record, separator).find(L'.') == std::wstring::npos);
    Require(UnitText(record.unit).size() <= 15);
}

/// As many lines as there can be records, each a key, "=" and what follows.
void CheckExchangeText(const std::wstring& text, const std::wstring& caller_word, std::size_t records) {
    std::wstring_view rest = text;
    if (!caller_word.empty()) {
        Require(rest.starts_with(caller_word + L'\n'));
        rest.remove_prefix(caller_word.size() + 1);
    }
    std::size_t lines = 0;
    for (; !rest.empty(); ++lines) {
        const std::size_t end    = rest.find(L'\n');
        const std::size_t equals = rest.find(L'=');
        Require(end != std::wstring_view::npos && equals >= 4 && equals <= 7 && equals < end);
        for (const wchar_t letter : rest.substr(0, end)) Require(letter >= L' ');
        rest.remove_prefix(end + 1);
    }
    Require(lines <= records);
}

void CheckSerialOutput(std::string_view block, std::size_t records) {
    Require(block.starts_with("NELTO\n\r") && block.ends_with("END\n\r"));
    block             = block.substr(7, block.size() - 12);
    std::size_t lines = 0;
    for (; !block.empty(); ++lines) {
        const std::size_t end = block.find("\n\r");
        Require(end != std::string_view::npos && end >= 13 && end < 13 + 7 + kValueTextSize);
        Require(block[8] == ':' && block.substr(0, end).find('=') >= 12);
        for (const char letter : block.substr(0, end)) Require(static_cast<unsigned char>(letter) >= ' ');
        block.remove_prefix(end + 2);
    }
    Require(lines <= records);
}

/// What the technician typed lands in the table, whatever is in it already.
void TryManualValues(const std::wstring& text, bool smoke_entered, ChannelTable& channels) {
    const std::size_t used = UsedRecords(channels).size();
    const std::size_t cut  = text.size() / 2;
    std::ranges::fill(std::span(channels).subspan(used), ChannelRecord());
    const ChannelTable given = channels;
    StoreManualValues({.smoke_numbers            = {text, text.substr(0, cut), text.substr(cut)},
                       .heat_carrier_temperature = text,
                       .oil_derivative           = static_cast<std::uint32_t>(text.size() % 3),
                       .smoke_entered            = smoke_entered},
                      channels);
    Require(UsedRecords(channels).size() >= used && UsedRecords(channels).size() <= used + 6);
    for (const ChannelRecord& record : channels) Require(record.text.back() == L'\0');
    for (std::size_t index = 0; !smoke_entered && index < channels.size(); ++index) {
        const bool is_smoke = IsSmokeChannel(channels[index].view_ident);
        if (!is_smoke) continue;
        Require(index < used && (channels[index].value_type == kNoValue) == (given[index].value_type == kNoValue));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ProgramState state;
    static Measurement measurement;
    Input input(data, size);
    auto& world               = test::FreshWorld();
    const wchar_t separator   = kSeparators[input.Byte() % kSeparators.size()];
    const std::uint8_t choice = input.Byte();
    world.decimal_separator   = separator;
    const std::wstring typed  = input.Text();
    TryTypedNumber(typed, separator);

    measurement       = {};
    std::size_t count = 0;
    for (; !input.IsEmpty() && count < kChannelCapacity; ++count) {
        ChannelRecord& record = measurement.channels[count];
        record.view_ident     = input.Take<std::uint16_t>() | (choice & 16u);
        record.unit           = input.Take<std::uint16_t>();
        record.resolution     = input.Byte();
        record.value_type     = input.Byte() % 4u;
        record.value          = input.Take<float>();
        platform::CopyText(record.text, input.Text());
        TryValue(record, separator);
    }
    if ((choice & 4) != 0) measurement.heating_check = measurement.channels;
    measurement.oil_fuel    = (choice & 1u) != 0;
    state.decimal_separator = separator;
    state.caller_word       = typed.substr(0, typed.find_first_of(L" \n"));
    const std::size_t used  = UsedRecords(measurement.channels).size();
    CheckExchangeText(ExchangeText(state.caller_word, state.decimal_separator, measurement), state.caller_word,
                      2 * used);
    if ((choice & 8) != 0) WriteExchangeFile(state, measurement);
    CheckSerialOutput(SerialOutputBlock(measurement), used);
    if ((choice & 32) != 0) {
        Require(ListRows(measurement, separator).size() <= 2 * used);
        static_cast<void>(ViewTypedFields(measurement.channels, separator));
    }
    if ((choice & 2) != 0) TryManualValues(typed, (choice & 64) == 0, measurement.channels);
    return 0;
}
