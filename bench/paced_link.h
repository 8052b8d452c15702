// A serial cable with the speed of a real one: two ttys, and between them a wire on which a byte takes ten bit times.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>

namespace nelto::bench {

constexpr std::uint32_t kBitsPerByte = 10;  // start bit, eight data bits, stop bit

/// A pseudo terminal whose user side is a raw tty.
class PseudoTerminal {
public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&)            = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    [[nodiscard]] bool IsOpen() const { return user_side_ >= 0; }
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] int wire_side() const { return wire_side_; }

private:
    int wire_side_ = -1;
    int user_side_ = -1;  // held so that the pair outlives its users
    std::string path_;
};

class PacedLink {
public:
    /// Bytes arrive in pieces of up to `piece` bytes, each when its last byte has come: 1 is a line that reports every byte,
    /// 8 a receiver with a buffer, as in most serial chips.
    PacedLink(std::uint32_t baud_rate, std::size_t piece);
    ~PacedLink();
    PacedLink(const PacedLink&)            = delete;
    PacedLink& operator=(const PacedLink&) = delete;

    [[nodiscard]] bool IsOpen() const { return near_.IsOpen() && far_.IsOpen(); }
    [[nodiscard]] const std::string& near_path() const { return near_.path(); }
    [[nodiscard]] const std::string& far_path() const { return far_.path(); }
    /// Bytes carried so far, both ways together.
    [[nodiscard]] std::size_t bytes_carried() const { return bytes_carried_; }

private:
    void Carry(int from, int to);

    const std::int64_t byte_time_ns_;
    const std::size_t piece_;
    PseudoTerminal near_;
    PseudoTerminal far_;
    std::atomic<bool> ending_{false};
    std::atomic<std::size_t> bytes_carried_{0};
    std::thread outward_;
    std::thread homeward_;
};

}  // namespace nelto::bench
