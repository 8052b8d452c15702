// A serial port as the simulator needs it: port_windows.cpp or port_posix.cpp stands behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace simulator {

class Port {
public:
    Port() = default;
    ~Port() { Close(); }
    Port(const Port&)            = delete;
    Port& operator=(const Port&) = delete;

    /// Opens `name` ("COM6"; "/dev/pts/4") at 19200 baud, 8 data bits, no parity, one stop bit.
    [[nodiscard]] bool Open(const std::string& name);

    [[nodiscard]] bool IsOpen() const { return handle_ != kClosed; }

    /// Gives what is there, up to the size of `buffer`; when nothing is, waits up to `wait_ms` and may give 0 bytes.
    /// None when the port is lost.
    [[nodiscard]] std::optional<std::size_t> Read(std::span<std::uint8_t> buffer, std::uint32_t wait_ms);

    /// Sends all bytes; false when the port is lost.
    [[nodiscard]] bool Write(std::span<const std::uint8_t> bytes);

    void Close();

private:
    static constexpr std::intptr_t kClosed = -1;

    std::intptr_t handle_ = kClosed;
};

/// Rests the calling thread.
void Rest(std::uint32_t milliseconds);

}  // namespace simulator
