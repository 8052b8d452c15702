// What the drop-in libraries share: the analyser of their scenario, and the frame of every call.
#pragma once

#include <string>
#include <string_view>

#include "analyser_2010.h"
#include "drop_in.h"
#include "pipe.h"

#if defined(_WIN32)
#define NELTO_LIBRARY_EXPORT extern "C" __declspec(dllexport)
#else
#define NELTO_LIBRARY_EXPORT extern "C"
#endif

namespace simulator {

using NumberOut = nelto::RoomyNumber2010<std::uint32_t>*;
using HandleOut = nelto::RoomyNumber2010<std::uintptr_t>*;

// Errors of the libraries besides those of the scenario.
constexpr std::uint32_t kNoScenario = 1;
constexpr std::uint32_t kNotThere   = 21;
constexpr std::uint32_t kBadHandle  = 6;
constexpr std::uint32_t kBadValue   = 87;

// What the drop-ins do in one way and the tests of the program in others, for instance lying, stands in another file for each.

/// The analyser of the scenario in the file that NELTO_SIMULATOR_2010 names, else in scenario2010.txt beside the library, else
/// of the default one; null, and told, when that file cannot be used. Each library has its own, made at its first call.
[[nodiscard]] Analyser2010* TheAnalyser2010();
/// False while the scenario or a file unplugged2010.txt beside the library takes the analyser away.
[[nodiscard]] bool IsPlugged(const Analyser2010& analyser);

/// The error code that this call is to give instead of doing anything, or 0.
[[nodiscard]] std::uint32_t BeginCall(std::string_view function);
/// Tells a call, which came to this result; the one that it returns.
[[nodiscard]] std::uint32_t EndCall(const std::string& told, std::uint32_t result);

// Outputs of a call. What is given is told as well, as ` number`.
void GiveNumber(std::size_t number, NumberOut out, std::string& told);
/// As one byte, the least that a caller has to cope with.
void GiveByte(std::size_t number, NumberOut out, std::string& told);
void GiveHandle(std::uintptr_t handle, HandleOut out);
/// Copies the text with its NUL, cut at `capacity`.
void GiveText(std::u16string_view text, wchar_t* out, std::uint32_t capacity);
/// The text mappers write the same text twice.
void GiveMapped(std::u16string_view text, wchar_t* out, wchar_t* scratch, std::uint32_t capacity);
void GiveRecords(const Analyser2010::Records& records, nelto::ValueRecord2010* out, std::uint32_t count,
                 std::string& told);
void GiveFuel(const Fuel2010& fuel, nelto::FuelData2010* out);
/// An output that nobody knows.
void GiveUnread(void* out);

/// True for the handle of the analyser, on USB or over a COM port.
[[nodiscard]] inline bool IsOpen(std::uint32_t device) { return device == kUsbDevice || IsPipe(device); }

/// Adds ` number` to what is told.
inline void TellNumber(std::string& told, std::uint64_t number) { told += ' ' + std::to_string(number); }

/// Runs `body(analyser, told)` unless an error is wanted here, tells the call with what the body adds to `told`, and
/// returns its result.
template <typename Body>
std::uint32_t Call(std::string_view function, Body body) {
    std::string told(function);
    std::uint32_t result = BeginCall(function);
    if (result == 0) result = body(*TheAnalyser2010(), told);
    return EndCall(told, result);
}

/// The same for a function that needs the open analyser.
template <typename Body>
std::uint32_t CallDevice(std::string_view function, std::uint32_t device, Body body) {
    return Call(function, [&](Analyser2010& analyser, std::string& told) {
        if (!IsOpen(device)) return kBadHandle;
        return IsPlugged(analyser) ? body(analyser, told) : kNotThere;
    });
}

}  // namespace simulator

// The exported functions.
#define NELTO_EXPORT(library, name, arguments) NELTO_LIBRARY_EXPORT std::uint32_t name arguments;
#include "exports.inc"
#undef NELTO_EXPORT
