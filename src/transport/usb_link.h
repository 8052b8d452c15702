// Generation-2004 messages over an FTDI USB converter, by FTDI's D2XX library. The same operations are exported to
// other programs (include/NeltoUSB.h). A link is used by one thread at a time; nothing is logged here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "transport/block_frame.h"
#include "transport/d2xx.h"
#include "transport/usb_devices.h"

namespace nelto {

/// One open link. Made by NeltoUSBOpen, released by NeltoUSBClose only.
struct UsbLink {
    bool open                        = false;  // state 1: the open procedure has run
    platform::LibraryHandle library  = platform::LibraryHandle::kNone;
    d2xx::Device device              = nullptr;
    std::uint32_t timeout_ms         = 0;  // for each piece of a reply
    std::size_t packet_payload_limit = kUsbPayloadLimit;
    StopRequest stop_request         = nullptr;  // ends a reply between two packets
    bool skip_repetitions            = false;    // of a packet; the exported functions take them as they come
    bool late_bytes_possible         = false;    // the last message's answer was not taken whole: it may be on the way
    d2xx::LinkFunctions functions;
};

/// Lists the serial numbers of the attached analysers of `device_type` (2, 9 or 16) in the order of the device index;
/// `count` says how many were stored. What does not fit is dropped. Returns a UsbResult, or a UsbStep plus the driver's
/// status with `count` 0.
[[nodiscard]] std::uint32_t NeltoUSBGetDevices(std::uint32_t device_type, std::span<std::uint32_t> serials,
                                               std::uint32_t& count);

/// Opens the first analyser of `device_type` with this serial number, 0 for any. Returns a UsbResult; `handle` is null
/// unless it is kUsbOk. Libraries of version 3 and above do not compare the serial number, on purpose.
[[nodiscard]] std::uint32_t NeltoUSBOpen(std::uint32_t device_type, std::uint32_t serial_number, UsbLink*& handle);

/// Sends `request` in packets and gathers the whole reply. `timeout_ms` holds for each piece of the reply, and stays.
/// Returns a UsbResult; `reply_length` is 0 unless it is kUsbOk. A failure leaves the link open.
[[nodiscard]] std::uint32_t NeltoUSBTransceive(UsbLink* handle, std::span<const std::uint8_t> request,
                                               std::span<std::uint8_t> reply, std::size_t& reply_length,
                                               std::uint32_t timeout_ms);

/// Throws away what came after a message had timed out or the driver had failed, so that it cannot pass for the answer to the next
/// one; nothing is asked of the driver otherwise. True when there was anything. For the program's own conversations.
bool DropLateUsbBytes(UsbLink& link);

/// Waits at most `timeout_ms`, or until a stop is requested, for an answer that nobody asks for any more, and throws it away.
/// True for a whole packet; it is `seen` whatever came. For the program's own conversations.
[[nodiscard]] bool LateUsbReplyArrives(const UsbLink& link, std::uint32_t timeout_ms, LateReplies& replies);

/// Closes the link; the handle is gone whatever the result. Returns a UsbResult.
std::uint32_t NeltoUSBClose(UsbLink* handle);

/// Returns a UsbResult.
std::uint32_t NeltoUSBSetTimeout(UsbLink* handle, std::uint32_t timeout_ms);

}  // namespace nelto
