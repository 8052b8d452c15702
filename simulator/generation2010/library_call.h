// What the drop-in libraries share: the analyser of their scenario, and the frame of every call.
#pragma once

#include <string>
#include <string_view>

#include "analyser_2010.h"
#include "drop_in.h"

#if defined(_WIN32)
#define NELTO_LIBRARY_EXPORT extern "C" __declspec(dllexport)
#else
#define NELTO_LIBRARY_EXPORT extern "C"
#endif

namespace simulator {

/// Handle of the analyser on the USB bus; that of a pipe is the handle of its COM port.
constexpr std::uint32_t kUsbDevice = 0x07600001;

// Errors of the libraries besides those of the scenario.
constexpr std::uint32_t kNoScenario = 1;
constexpr std::uint32_t kNotThere   = 21;
constexpr std::uint32_t kBadHandle  = 6;
constexpr std::uint32_t kBadValue   = 87;

/// The analyser of the scenario in the file that NELTO_SIMULATOR_2010 names, else in scenario2010.txt beside the library, else
/// of the default one; null, and told, when that file cannot be used. Each library has its own, made at its first call.
[[nodiscard]] Analyser2010* TheAnalyser2010();

/// False while the scenario or a file unplugged2010.txt beside the library takes the analyser away.
[[nodiscard]] bool IsPlugged(const Analyser2010& analyser);

/// Runs `body(analyser, told)` unless the scenario wants an error here, tells the call with what the body adds to `told`, and
/// returns its result.
template <typename Body>
std::uint32_t Call(std::string_view function, Body body) {
    Analyser2010* const analyser = TheAnalyser2010();
    std::string told(function);
    std::uint32_t result = analyser == nullptr ? kNoScenario : analyser->Begin(function);
    if (result == 0) result = body(*analyser, told);
    DropInTell(result == 0 ? told : told + " -> error " + std::to_string(result));
    return result;
}

/// The same for a function that needs the open analyser.
template <typename Body>
std::uint32_t CallDevice(std::string_view function, std::uint32_t device, Body body) {
    return Call(function, [&](Analyser2010& analyser, std::string& told) {
        if (device == 0) return kBadHandle;
        return IsPlugged(analyser) ? body(analyser, told) : kNotThere;
    });
}

/// Copies the text with its NUL, cut at `capacity`.
void GiveText(std::u16string_view text, wchar_t* out, std::uint32_t capacity);

/// Adds ` number` to what is told.
void TellNumber(std::string& told, std::uint64_t number);

}  // namespace simulator
