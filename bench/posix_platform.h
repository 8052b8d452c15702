// Control of the platform room in real time: the same services on a POSIX machine, for measurements. It is linked in front of
// the in-memory platform, which stays in use for what knows no time (libraries, file versions, infrared sockets).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace nelto::platform::posix {

/// Makes a fresh temporary directory the program's own for the life of this object, and removes it with its files.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&)            = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Makes COM port `port_number` stand for this tty.
void ConnectPort(std::uint32_t port_number, const std::string& tty);

/// What the program did with its serial port between one write and the next.
struct SerialExchangeCount {
    std::size_t bytes_written = 0;
    std::size_t bytes_read    = 0;
    std::size_t waits         = 0;
};

/// The exchanges since the caller last emptied the list.
[[nodiscard]] std::vector<SerialExchangeCount>& SerialExchanges();

/// Signals the event that `native_handle` stands for. Any thread.
void SignalEvent(void* native_handle);

}  // namespace nelto::platform::posix
