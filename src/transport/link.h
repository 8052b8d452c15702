// A link to an analyser: what every transport offers to the conversations above it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/clock.h"

namespace nelto {

enum class Transport : std::uint8_t { kUsb, kIrda, kSerial };

/// How a message ended. The numbers that logs and callers see are made from it where they are written.
enum class LinkStatus : std::uint8_t {
    kOk,
    kTimeOut,        // the answer, or the rest of it, did not come in time
    kProtocolFault,  // it came, and is not what the frame asks for
    kWrongStart,     // the same, known by the first byte
    kDriverFailed,   // a port, driver or socket refused a call, or the device is gone
    kReplyTooLong,   // for the caller's room
    kNotOpen,
    kStopped,  // given up because the user wants to end
};

/// Set by whoever wants to end; null where nobody does.
using StopRequest = const std::atomic<std::uint32_t>*;

[[nodiscard]] inline bool IsRequested(StopRequest stop_request) {
    return stop_request != nullptr && *stop_request != 0;
}

/// How much longer a message may go on after a stop: what is coming in is finished, and so are the messages by which an analyser
/// is left, but an analyser that never comes to an end is given up. One object a message.
class StopPatience {
public:
    StopPatience(StopRequest stop_request, std::uint32_t milliseconds)
        : stop_request_(stop_request), milliseconds_(milliseconds) {}

    /// Looks at the stop request; the time counts from the first look that finds it set. To be called again and again.
    void Look() {
        if (seen_ || !IsRequested(stop_request_)) return;
        seen_  = true;
        since_ = platform::TickMilliseconds();
    }
    [[nodiscard]] bool IsOver() const { return seen_ && platform::TickMilliseconds() - since_ >= milliseconds_; }

private:
    StopRequest stop_request_;
    std::uint32_t milliseconds_;
    bool seen_           = false;
    std::uint32_t since_ = 0;
};

/// Calls `take`, which throws away what has come and says how many bytes that were, until nothing has come for `silence_ms`. False
/// when `take` says less than 0, for a link that has failed, when a stop is requested meanwhile, or after ten times as long.
template <typename Take>
[[nodiscard]] bool ListenUntilSilent(std::uint32_t silence_ms, StopRequest stop_request, Take take) {
    constexpr std::uint32_t kLook         = 10;  // milliseconds between two looks
    constexpr std::uint32_t kMostSilences = 10;
    const std::uint32_t start             = platform::TickMilliseconds();
    std::uint32_t last                    = start;
    while (platform::TickMilliseconds() - last < silence_ms) {
        if (IsRequested(stop_request) || platform::TickMilliseconds() - start >= kMostSilences * silence_ms)
            return false;
        platform::SleepMilliseconds(kLook);
        const std::ptrdiff_t taken = take();
        if (taken < 0) return false;
        if (taken > 0) last = platform::TickMilliseconds();
    }
    return true;
}

/// An open link. One message at a time, worker thread only.
class Link {
public:
    Link()                       = default;
    virtual ~Link()              = default;
    Link(const Link&)            = delete;
    Link& operator=(const Link&) = delete;

    /// Sends `request` whole and receives the whole reply. `timeout_ms` holds for each answer of the analyser, not for the message;
    /// infrared has none. `received` is 0 unless the result is kOk.
    [[nodiscard]] virtual LinkStatus Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                                std::size_t& received, std::uint32_t timeout_ms) = 0;

    /// Throws away what comes until nothing has come for `silence_ms`, and sends nothing. False when a stop is requested
    /// meanwhile, the link fails or the other side never falls silent.
    [[nodiscard]] virtual bool WaitForSilence(std::uint32_t silence_ms) = 0;

    /// Releases the link. A second call finds nothing to release.
    virtual void Close() = 0;
};

}  // namespace nelto
