// The settings store, the command line and the program's start values.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/program_state.h"

namespace nelto {

/// Names of the stored settings.
constexpr const wchar_t* kCommunicationSetting    = L"Communication";
constexpr const wchar_t* kHeatingCheckSetting     = L"HeatingCheck";
constexpr const wchar_t* kSerialOutputSetting     = L"EnableRS232";
constexpr const wchar_t* kSerialOutputPortSetting = L"RS232Port";

/// Everything before the first space.
[[nodiscard]] std::wstring CallerWord(std::wstring_view command_line);

/// The number of the first "6420=" option that at least one character follows; kNoFuelChoice without one. Leading digits
/// count, no digits give 0, and a number beyond 31 bits stands at their limit.
[[nodiscard]] std::int32_t FuelChoice(std::wstring_view command_line);

/// Reads the settings and the command line into the state, names the exchange file and deletes the one of an earlier run.
/// Called once, before the dialog.
void StartProgram(ProgramState& state, std::wstring_view command_line);

/// Changes a setting in memory and in the store; a store that cannot be written is left behind silently.
void ChangeSetting(std::atomic<std::uint32_t>& setting, const wchar_t* name, std::uint32_t number);

}  // namespace nelto
