#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "port.h"

namespace simulator {
namespace {

constexpr int kWriteWaitMs = 1000;

int Descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

bool IsPassing(int error) { return error == EAGAIN || error == EINTR; }

bool SetUpLine(int descriptor) {
    termios line{};
    if (tcgetattr(descriptor, &line) != 0) return false;
    cfmakeraw(&line);
    line.c_cflag |= CLOCAL | CREAD;
    cfsetispeed(&line, B19200);
    cfsetospeed(&line, B19200);
    return tcsetattr(descriptor, TCSANOW, &line) == 0;
}

}  // namespace

bool Port::Open(const std::string& name) {
    Close();
    const int descriptor = open(name.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return false;
    handle_ = descriptor;
    if (SetUpLine(descriptor)) return true;
    Close();
    return false;
}

std::optional<std::size_t> Port::Read(std::span<std::uint8_t> buffer, std::uint32_t wait_ms) {
    pollfd wanted{Descriptor(handle_), POLLIN, 0};
    if (poll(&wanted, 1, static_cast<int>(wait_ms)) == 0) return 0;
    const ssize_t count = read(Descriptor(handle_), buffer.data(), buffer.size());
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0 && IsPassing(errno)) return 0;
    return std::nullopt;
}

bool Port::Write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        pollfd wanted{Descriptor(handle_), POLLOUT, 0};
        if (poll(&wanted, 1, kWriteWaitMs) == 0) return true;  // nobody reads: the rest is lost, as on a cable
        const ssize_t count = write(Descriptor(handle_), bytes.data(), bytes.size());
        if (count < 0 && !IsPassing(errno)) return false;
        if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

void Port::Close() {
    if (handle_ != kClosed) close(Descriptor(handle_));
    handle_ = kClosed;
}

void Rest(std::uint32_t milliseconds) { poll(nullptr, 0, static_cast<int>(milliseconds)); }

}  // namespace simulator
