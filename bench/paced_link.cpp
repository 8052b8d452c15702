#include "paced_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <span>

namespace nelto::bench {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;  // nanoseconds
constexpr int kEndingLookMs    = 50;

std::int64_t Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kSecond + now.tv_nsec;
}

void SleepUntil(std::int64_t moment) {
    const timespec end{.tv_sec = moment / kSecond, .tv_nsec = moment % kSecond};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {}
}

bool MakeRaw(int descriptor) {
    termios line{};
    if (tcgetattr(descriptor, &line) != 0) return false;
    cfmakeraw(&line);
    cfsetspeed(&line, B19200);
    return tcsetattr(descriptor, TCSANOW, &line) == 0;
}

}  // namespace

PseudoTerminal::PseudoTerminal() : wire_side_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (wire_side_ < 0 || grantpt(wire_side_) != 0 || unlockpt(wire_side_) != 0) return;
    path_      = ptsname(wire_side_);
    user_side_ = open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (user_side_ >= 0 && MakeRaw(user_side_)) return;
    if (user_side_ >= 0) close(user_side_);
    user_side_ = -1;
}

PseudoTerminal::~PseudoTerminal() {
    if (user_side_ >= 0) close(user_side_);
    if (wire_side_ >= 0) close(wire_side_);
}

PacedLink::PacedLink(std::uint32_t baud_rate, std::size_t piece)
    : byte_time_ns_(kSecond * kBitsPerByte / baud_rate), piece_(piece) {
    if (!IsOpen()) return;
    outward_  = std::thread([this] { Carry(near_.wire_side(), far_.wire_side()); });
    homeward_ = std::thread([this] { Carry(far_.wire_side(), near_.wire_side()); });
}

PacedLink::~PacedLink() {
    ending_ = true;
    if (outward_.joinable()) outward_.join();
    if (homeward_.joinable()) homeward_.join();
}

void PacedLink::Carry(int from, int to) {
    prctl(PR_SET_TIMERSLACK, 1UL);  // nanoseconds: the wire keeps its time
    std::int64_t free_at = 0;
    while (!ending_) {
        pollfd wanted{.fd = from, .events = POLLIN, .revents = 0};
        if (poll(&wanted, 1, kEndingLookMs) <= 0) continue;
        std::array<std::uint8_t, 256> buffer;
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count <= 0) return;
        free_at = std::max(free_at, Now());
        for (auto rest = std::span(buffer).first(static_cast<std::size_t>(count)); !rest.empty();) {
            const std::size_t size = std::min(piece_, rest.size());
            free_at += byte_time_ns_ * static_cast<std::int64_t>(size);
            SleepUntil(free_at);
            if (write(to, rest.data(), size) != static_cast<ssize_t>(size)) return;
            bytes_carried_ += size;
            rest = rest.subspan(size);
        }
    }
}

}  // namespace nelto::bench
