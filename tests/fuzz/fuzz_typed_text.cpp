// Texts and numbers that people and other programs hand in: command line, typed numbers, stored settings, values to format.
#include <array>
#include <string>

#include "core/command_line.h"
#include "core/exchange_file.h"
#include "core/serial_output.h"
#include "core/settings.h"
#include "core/value_text.h"
#include "fuzz.h"
#include "platform/memory/memory_platform.h"

namespace {

using nelto::test::Require;

/// The input as a record of any content, but for the ends of its texts, which the readers guarantee.
nelto::ChannelRecord AnyRecord(const std::uint8_t* data, std::size_t size) {
    nelto::ChannelRecord record;
    std::memcpy(&record, data, std::min(size, sizeof(record)));
    record.text.back()  = L'\0';
    record.label.back() = L'\0';
    return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace nelto;
    platform::memory::ResetWorld();
    std::wstring text;
    for (std::size_t index = 0; index < size; ++index) text += static_cast<wchar_t>(data[index]);

    ProgramState state;
    StartProgram(state, text);
    Require(state.fuel_choice >= kNoFuelChoice);
    Require(state.caller_word.find(L' ') == std::wstring::npos);
    const float number = ParseNumber(text);
    Require(number >= 0.0F);

    MeasurementTables tables;
    tables.channels[0]     = AnyRecord(data, size);
    const std::wstring out = ExchangeText(state, tables);
    const auto lines       = static_cast<std::size_t>(std::count(out.begin(), out.end(), L'\n'));
    Require(lines <= 2U + static_cast<std::size_t>(std::count(text.begin(), text.end(), L'\n')));
    const std::string block = SerialOutputBlock(tables.channels, true);
    Require(std::count(block.begin(), block.end(), '\r') <= 3);

    std::array<wchar_t, kValueTextSize> unit{};
    UnitText(tables.channels[0].unit, unit);
    Require(unit.back() == L'\0');
    return 0;
}
