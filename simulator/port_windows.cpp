#include <windows.h>

#include "port.h"

namespace simulator {
namespace {

constexpr DWORD kWriteWaitMs = 1000;

HANDLE Handle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

bool SetUpLine(HANDLE port) {
    COMMTIMEOUTS waits{};
    // Reads give at once what is there. Waiting in the read would be shorter, but Wine then waits to the end.
    waits.ReadIntervalTimeout       = MAXDWORD;
    waits.WriteTotalTimeoutConstant = kWriteWaitMs;
    DCB line{};
    line.DCBlength = sizeof(line);
    if (!SetCommTimeouts(port, &waits) || !GetCommState(port, &line)) return false;
    line.BaudRate = CBR_19200;
    line.ByteSize = 8;
    line.Parity   = NOPARITY;
    line.StopBits = ONESTOPBIT;
    return SetCommState(port, &line) != 0;
}

}  // namespace

bool Port::Open(const std::string& name) {
    Close();
    // Without the prefix Windows finds COM1 to COM9 only.
    const std::string path = name.starts_with("\\\\") ? name : "\\\\.\\" + name;
    const HANDLE port = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (port == INVALID_HANDLE_VALUE) return false;
    handle_ = reinterpret_cast<std::intptr_t>(port);
    if (SetUpLine(port)) return true;
    Close();
    return false;
}

std::optional<std::size_t> Port::Read(std::span<std::uint8_t> buffer, std::uint32_t wait_ms) {
    DWORD count = 0;
    if (!ReadFile(Handle(handle_), buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr))
        return std::nullopt;
    if (count == 0) {
        // The read of a port that is gone may succeed.
        DWORD errors = 0;
        if (!ClearCommError(Handle(handle_), &errors, nullptr)) return std::nullopt;
        Rest(wait_ms);
    }
    return count;
}

bool Port::Write(std::span<const std::uint8_t> bytes) {
    DWORD count = 0;
    // Fewer bytes than asked mean that nobody reads: the rest is lost, as on a cable.
    return WriteFile(Handle(handle_), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) != 0;
}

void Port::Close() {
    if (handle_ != kClosed) CloseHandle(Handle(handle_));
    handle_ = kClosed;
}

void Rest(std::uint32_t milliseconds) { Sleep(milliseconds); }

}  // namespace simulator
