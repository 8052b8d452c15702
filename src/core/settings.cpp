#include "core/settings.h"

#include <array>
#include <limits>

#include "platform/files.h"
#include "platform/number_text.h"
#include "platform/registry.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::wstring_view kFuelOption = L"6420=";

/// The temporary directory ends in a backslash and the name begins with one: both are
/// kept on purpose.
void NameExchangeFile(std::span<wchar_t> path) {
    std::array<wchar_t, 256> directory{};
    platform::TempDirectory(directory);
    platform::CopyText(path, platform::TextIn(directory));
    platform::AppendText(path, L"\\NeltoStackWatcher.txt");
}

}  // namespace

std::wstring CallerWord(std::wstring_view command_line) {
    return std::wstring(command_line.substr(0, command_line.find(L' ')));
}

std::int32_t FuelChoice(std::wstring_view command_line) {
    if (command_line.size() <= kFuelOption.size()) return kNoFuelChoice;
    // The last character is left out of the search, so that one at least follows the option.
    const std::size_t option = command_line.substr(0, command_line.size() - 1).find(kFuelOption);
    if (option == std::wstring_view::npos) return kNoFuelChoice;
    return static_cast<std::int32_t>(platform::LeadingNumber(command_line.substr(option + kFuelOption.size()),
                                                             std::numeric_limits<std::int32_t>::max()));
}

void StartProgram(ProgramState& state, std::wstring_view command_line) {
    state.communication      = platform::RegReadDword(kCommunicationSetting, 0);
    state.heating_check      = platform::RegReadDword(kHeatingCheckSetting, 0);
    state.serial_output      = platform::RegReadDword(kSerialOutputSetting, 0);
    state.serial_output_port = platform::RegReadDword(kSerialOutputPortSetting, 1);
    state.decimal_separator  = platform::DecimalSeparator();
    state.caller_word        = CallerWord(command_line);
    state.fuel_choice        = FuelChoice(command_line);
    NameExchangeFile(state.exchange_file);
    platform::RemoveFile(state.exchange_file.data());
}

void ChangeSetting(std::atomic<std::uint32_t>& setting, const wchar_t* name, std::uint32_t number) {
    setting = number;
    static_cast<void>(platform::RegWriteDword(name, number));
}

}  // namespace nelto
