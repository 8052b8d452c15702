// A COM port, opened for this program alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/wide_text.h"

namespace nelto::platform {

enum class SerialHandle : std::uintptr_t { kNone = 0 };

/// The system's error numbers for a port that is not there, and for one that another program has.
constexpr std::uint32_t kPortMissing = 2, kPortDenied = 5, kPortShared = 32;

enum class LineResult : std::uint8_t { kOk, kGetStateFailed, kSetStateFailed };

/// Device path of a COM port number; from 10 on only the device name space knows the port.
[[nodiscard]] inline std::wstring SerialPath(std::uint32_t port_number) {
    using Format = TextFormat<std::uint32_t>;
    return Formatted<std::uint32_t>(port_number < 10 ? Format(L"COM%u") : Format(L"\\\\.\\COM%u"), port_number);
}

/// Opens an existing port by its device path, read and write, no sharing. Returns kNone on failure, with the system's
/// error number in `error`.
[[nodiscard]] SerialHandle OpenSerialPort(const wchar_t* path, std::uint32_t& error);

/// Lets reads return at once with what has arrived, and writes wait as long as they take.
[[nodiscard]] bool SetImmediateReads(SerialHandle port);

/// Sets baud rate, 8 data bits, no parity, one stop bit; everything else stays as the driver reports it.
[[nodiscard]] LineResult SetLine(SerialHandle port, std::uint32_t baud_rate);

/// Writes `bytes`; returns how many were written.
std::size_t WriteSerial(SerialHandle port, std::span<const std::uint8_t> bytes);

/// Reads what has arrived, at most the size of `bytes`; returns how many. 0 when nothing is there or the port failed.
std::size_t ReadSerial(SerialHandle port, std::span<std::uint8_t> bytes);

void CloseSerialPort(SerialHandle port);

}  // namespace nelto::platform
