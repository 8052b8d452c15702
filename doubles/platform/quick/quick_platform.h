// The twin for fuzzers: one far end for every link, no files, no allocation, so that a run costs what the program's own code does.
// Linked before the in-memory twin, it keeps that one out; a function that is missing here is reported as defined twice.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

namespace nelto::platform::quick {

using ByteSpan = std::span<const std::uint8_t>;

/// What holds for every input; ends the run where it does not.
inline void Require(bool condition) {
    if (!condition) std::abort();
}

/// The far end of whatever link is open.
class Peer {
public:
    virtual ~Peer() = default;
    /// Takes what the program writes.
    virtual void Take(ByteSpan bytes) = 0;
    /// Gives the next piece of what has come; returns its size.
    virtual std::size_t Give(std::span<std::uint8_t> room) = 0;
    /// Bytes that the next piece would give; may be told too low.
    [[nodiscard]] virtual std::size_t Waiting() const { return 0; }
};

/// Calls of the system that fail, as bits.
enum Failure : std::uint32_t {
    kFailOpenPort   = 1u << 0,
    kFailTimeouts   = 1u << 1,
    kFailGetState   = 1u << 2,
    kFailSetState   = 1u << 3,
    kFailShortWrite = 1u << 4,
    kFailWinsock    = 1u << 5,
    kFailSocket     = 1u << 6,
    kFailBlocking   = 1u << 7,
    kFailListing    = 1u << 8,
    kFailConnect    = 1u << 9,
    kFailSend       = 1u << 10,
    kFailReceive    = 1u << 11,  // where nothing is left; otherwise the other side has closed
    kFailIrdaLog    = 1u << 12,
    kFailEvent      = 1u << 13,
    kFailNotify     = 1u << 14,
    kFailQueue      = 1u << 15,
    kFailRead       = 1u << 16,
    kFailShortRead  = 1u << 17,
    kFailWrite      = 1u << 18,
    kFailRegistry   = 1u << 19,
};

struct StoredNumber {
    std::wstring_view name;
    std::uint32_t number = 0;
};

struct QuickWorld {
    Peer* peer             = nullptr;
    std::uint32_t failures = 0;
    std::uint32_t now      = 1000;
    bool idle              = false;  // a look at the port found nothing, and nothing was written since

    std::array<StoredNumber, 4> settings;
    std::wstring_view temp_directory = L"C:\\Temp\\";
    wchar_t decimal_separator        = L'.';
    std::wstring_view port_path;  // what was opened last, as long as the call lasts

    ByteSpan irda_devices;
    std::array<char, 32> irda_service{};

    bool (*has_library)(std::wstring_view name)   = nullptr;
    void* (*find_function)(std::string_view name) = nullptr;
    const wchar_t* driver_version                 = nullptr;
    std::array<std::uint8_t, 600> queue{};  // what the FTDI driver holds
    std::size_t queued = 0;

    // What the program has taken and must give back.
    std::uint32_t ports_open = 0;
    std::uint32_t sockets    = 0;
    std::uint32_t winsock    = 0;
    std::uint32_t events     = 0;
    std::uint32_t libraries  = 0;

    [[nodiscard]] bool Fails(Failure failure) const { return (failures & failure) != 0; }
};

[[nodiscard]] QuickWorld& Quick();

/// A fresh world with this far end.
void ResetQuick(Peer* peer = nullptr, std::uint32_t failures = 0);

}  // namespace nelto::platform::quick
