// An analyser's FTDI USB converter, by FTDI's D2XX library: listing, opening, messages, closing. The functions are those that are
// exported to other programs (include/NeltoUSB.h). A port is used by one thread at a time; nothing is logged here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "transport/block_frame.h"
#include "transport/d2xx.h"
#include "transport/link.h"
#include "transport/usb_devices.h"

namespace nelto {

/// One open port. Made by NeltoUSBOpen, released by NeltoUSBClose only.
struct UsbPort {
    bool open                        = false;  // state 1: the open procedure has run
    platform::LibraryHandle library  = platform::LibraryHandle::kNone;
    d2xx::Device device              = nullptr;
    std::uint32_t timeout_ms         = 0;  // for each piece of a reply
    std::size_t packet_payload_limit = kUsbPayloadLimit;
    d2xx::LinkFunctions functions;
};

/// Lists the serial numbers of the attached analysers of `device_type` (2, 9 or 16) in the order of the device index;
/// `count` says how many were stored. What does not fit is dropped. Returns a UsbResult, or a UsbStep plus the driver's
/// status with `count` 0.
[[nodiscard]] std::uint32_t NeltoUSBGetDevices(std::uint32_t device_type, std::span<std::uint32_t> serials,
                                               std::uint32_t& count);

/// Opens the first analyser of `device_type` with this serial number, 0 for any. Returns a UsbResult; `handle` is null
/// unless it is kUsbOk. Libraries of version 3 and above do not compare the serial number, on purpose.
[[nodiscard]] std::uint32_t NeltoUSBOpen(std::uint32_t device_type, std::uint32_t serial_number, UsbPort*& handle);

/// What OpenUsbPort returns for a device that another program seems to have.
constexpr std::uint32_t kUsbHeldElsewhere = 10;

/// The same, but tells kUsbHeldElsewhere from other failures of the driver.
[[nodiscard]] std::uint32_t OpenUsbPort(std::uint32_t device_type, std::uint32_t serial_number, UsbPort*& handle);

/// Sends `request` in packets and gathers the whole reply. `timeout_ms` holds for each piece of the reply, and stays.
/// Returns a UsbResult; `reply_length` is 0 unless it is kUsbOk. A failure leaves the port open.
[[nodiscard]] std::uint32_t NeltoUSBTransceive(UsbPort* handle, std::span<const std::uint8_t> request,
                                               std::span<std::uint8_t> reply, std::size_t& reply_length,
                                               std::uint32_t timeout_ms);

/// Closes the port; the handle is gone whatever the result. Returns a UsbResult.
std::uint32_t NeltoUSBClose(UsbPort* handle);

/// Returns a UsbResult.
std::uint32_t NeltoUSBSetTimeout(UsbPort* handle, std::uint32_t timeout_ms);

}  // namespace nelto
