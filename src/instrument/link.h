// The byte link under a generation-2004 conversation: one call for every transport.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/serial_port.h"
#include "transport/usb_link.h"

namespace nelto {

enum class Transport : std::uint8_t { kUsb, kIrda, kSerial };

/// Transport that the "Communication" setting names: 0 USB, 1000 IrDA, any other number a COM port.
[[nodiscard]] Transport TransportOf(std::uint32_t communication);

/// What a connection holds of its link. Of the handles only the one of its transport is set, and none for an analyser that is
/// reached through the maker's libraries.
struct Link {
    Transport transport                = Transport::kUsb;
    platform::SerialHandle serial_port = platform::SerialHandle::kNone;
    UsbLink* usb_link                  = nullptr;  // analyser behind an FTDI converter
    StopRequest stop_request           = nullptr;  // the program's: ends a long reply between two blocks
    mutable LateReplies late;                      // what the last exchanges have shown of them
};

/// Sends `request` whole and receives the whole reply. Returns 0, or the transport's own result code; `received` is 0 unless
/// the result is 0. A link without a handle of its transport fails before anything is sent. Infrared has no time-out.
[[nodiscard]] std::uint32_t LinkTransceive(const Link& link, std::span<const std::uint8_t> request,
                                           std::span<std::uint8_t> reply, std::size_t& received,
                                           std::uint32_t timeout_ms);

/// Waits at most `timeout_ms`, or until a stop is requested, for a reply that missed the time-out of its request, and throws it
/// away. True when a whole one came. Nothing is sent. Over infrared, where nothing times out, false at once.
[[nodiscard]] bool LateReplyArrives(const Link& link, std::uint32_t timeout_ms);

/// Releases the link. A second call finds nothing to release.
void CloseLink(Link& link);

}  // namespace nelto
