// Generation-2004 messages over a COM port: a cable, or the virtual port of a Bluetooth serial link. Every exchange is
// traced in the ZIV log. Worker thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/serial_port.h"
#include "transport/block_frame.h"

namespace nelto {

/// Result codes of the serial link.
enum SerialResult : std::uint32_t {
    kSerialOk            = 0,
    kSerialOpenFailed    = 1,
    kSerialNotOpen       = 2,
    kSerialProtocolFault = 3,  // missing acknowledgement, short answer, wrong length, bad index, bad checksum
    kSerialReplyTooLong  = 5,
};

/// Room for one raw reply.
constexpr std::size_t kSerialReplySize = 1024;

/// Opens COM port `port_number` at 19200 baud, 8 data bits, no parity, one stop bit. Returns 0 and the port, or
/// kSerialOpenFailed and no port.
[[nodiscard]] std::uint32_t SerialOpen(std::uint32_t port_number, platform::SerialHandle& port);

/// One raw write and read: ends with an acknowledgement, with a whole frame or after `timeout_ms`. Always returns 0; the
/// bytes received, possibly none, are in `reply` and counted in `received`.
std::uint32_t SerialExchange(platform::SerialHandle port, std::span<const std::uint8_t> request,
                             std::span<std::uint8_t, kSerialReplySize> reply, std::size_t& received,
                             std::uint32_t timeout_ms);

/// Sends a whole message in blocks and gathers the whole reply. `timeout_ms` holds for each single exchange; a stop request
/// ends the reply between two blocks. What came after an earlier exchange had ended is thrown away first. Returns a
/// SerialResult; `received` is 0 unless it is kSerialOk. `late` may be null.
[[nodiscard]] std::uint32_t SerialTransceive(platform::SerialHandle port, std::span<const std::uint8_t> message,
                                             std::span<std::uint8_t> reply, std::size_t& received,
                                             std::uint32_t timeout_ms, StopRequest stop_request = nullptr,
                                             LateReplies* late = nullptr);

/// Waits at most `timeout_ms`, or until a stop is requested, for an answer that nobody asks for any more, and throws it away.
/// True for a whole block; it is `seen` whatever came.
[[nodiscard]] bool LateSerialReplyArrives(platform::SerialHandle port, std::uint32_t timeout_ms,
                                          StopRequest stop_request, LateReplies& late);

}  // namespace nelto
