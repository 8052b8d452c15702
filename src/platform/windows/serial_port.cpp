#include "platform/serial_port.h"

#include <windows.h>

namespace nelto::platform {
namespace {

HANDLE ToHandle(SerialHandle port) { return reinterpret_cast<HANDLE>(port); }

}  // namespace

SerialHandle OpenSerialPort(const wchar_t* path, std::uint32_t& error) {
    const HANDLE port = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    error             = port == INVALID_HANDLE_VALUE ? GetLastError() : 0;
    return port == INVALID_HANDLE_VALUE ? SerialHandle::kNone
                                        : static_cast<SerialHandle>(reinterpret_cast<UINT_PTR>(port));
}

bool SetImmediateReads(SerialHandle port) {
    COMMTIMEOUTS timeouts        = {};
    timeouts.ReadIntervalTimeout = MAXDWORD;
    return SetCommTimeouts(ToHandle(port), &timeouts) != 0;
}

LineResult SetLine(SerialHandle port, std::uint32_t baud_rate) {
    DCB line       = {};
    line.DCBlength = sizeof(line);
    if (GetCommState(ToHandle(port), &line) == 0) return LineResult::kGetStateFailed;
    line.BaudRate = baud_rate;
    line.ByteSize = 8;
    line.Parity   = NOPARITY;
    line.StopBits = ONESTOPBIT;
    return SetCommState(ToHandle(port), &line) != 0 ? LineResult::kOk : LineResult::kSetStateFailed;
}

std::size_t WriteSerial(SerialHandle port, std::span<const std::uint8_t> bytes) {
    DWORD written = 0;
    WriteFile(ToHandle(port), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return written;
}

std::size_t ReadSerial(SerialHandle port, std::span<std::uint8_t> bytes) {
    DWORD received = 0;
    if (bytes.empty()) return 0;
    if (ReadFile(ToHandle(port), bytes.data(), static_cast<DWORD>(bytes.size()), &received, nullptr) == 0) return 0;
    return received;
}

void CloseSerialPort(SerialHandle port) { CloseHandle(ToHandle(port)); }

}  // namespace nelto::platform
