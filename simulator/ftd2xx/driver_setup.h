// What is attached to the simulated USB and how its driver behaves: one statement a line, README.md describes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analyser_data.h"

namespace simulator {

/// One FTDI converter and the analyser behind it.
struct ConverterSetup {
    std::uint16_t vendor_id  = 0x3C2D;
    std::uint16_t product_id = 2;
    std::optional<std::string> serial;         // none: the analyser's own
    std::optional<std::string> told_serial{};  // by FT_GetDeviceInfo and in the EEPROM; none: the same
    std::string scenario{};                    // file, seen from the folder of the setup; empty: the usual one
    std::optional<TimeWindow> unplugged{};
};

enum class CallFaultKind : std::uint8_t { kStatus, kShortWrite, kShortRead, kEmptyQueue, kTrickle, kEarlySignal };

/// Calls of one function that go wrong: from the `first` on, counted from 1, as many as `calls` says.
struct CallFault {
    CallFaultKind kind = CallFaultKind::kStatus;
    std::string function;
    std::uint32_t status = 0;  // trickle and early signal: milliseconds
    std::uint32_t first  = 1;
    std::uint32_t calls  = 0xFFFFFFFF;
};

struct DriverSetup {
    std::vector<ConverterSetup> converters = {ConverterSetup{}};
    std::vector<CallFault> faults;
    std::size_t payload      = 248;  // of a reply packet
    std::size_t piece        = 0;    // most bytes that are signalled together; 0: whole packets
    std::uint32_t latency_ms = 0;    // of every delivery
};

/// Reads a setup in UTF-8. On the first thing it does not understand it gives none and "line 3: ..." in `error`. What it
/// includes lies beside `path`.
[[nodiscard]] std::optional<DriverSetup> ParseDriverSetup(std::string_view text, std::string& error,
                                                          const std::string& path = {});

/// The same from a file.
[[nodiscard]] std::optional<DriverSetup> LoadDriverSetup(const std::string& path, std::string& error);

}  // namespace simulator
