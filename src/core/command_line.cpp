#include "core/command_line.h"

#include <limits>

#include "core/program_state.h"
#include "platform/number_text.h"

namespace nelto {
namespace {

constexpr std::wstring_view kFuelOption = L"6420=";

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

}  // namespace nelto
