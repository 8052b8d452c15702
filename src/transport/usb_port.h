// An analyser's FTDI USB converter, by FTDI's D2XX library: listing, opening, closing. A port is used by one thread at a time; nothing
// is logged here.
#pragma once

#include <cstdint>
#include <span>

#include "transport/d2xx.h"
#include "transport/usb_devices.h"

namespace nelto {

/// One open port. Made by OpenUsbPort, released by CloseUsbPort only.
struct UsbPort {
    d2xx::Library library;
    d2xx::Device device      = nullptr;
    std::uint32_t timeout_ms = 250;  // for each piece of a reply
    d2xx::LinkFunctions functions;
};

/// Lists the serial numbers of the attached analysers of `device_type` (2, 9 or 16) in the order of the device index;
/// `count` says how many were stored. What does not fit is dropped. Returns a UsbResult, or a UsbStep plus the driver's
/// status with `count` 0.
[[nodiscard]] std::uint32_t ListUsbDevices(std::uint32_t device_type, std::span<std::uint32_t> serials,
                                           std::uint32_t& count);

/// What OpenUsbPort returns for a device that another program seems to have.
constexpr std::uint32_t kUsbHeldElsewhere = 10;

/// Opens the first analyser of `device_type` with this serial number, 0 for any. Returns a UsbResult or kUsbHeldElsewhere; `handle`
/// is null unless it is kUsbOk. Libraries of version 3 and above do not compare the serial number, on purpose.
[[nodiscard]] std::uint32_t OpenUsbPort(std::uint32_t device_type, std::uint32_t serial_number, UsbPort*& handle);

/// Closes the port; the handle is gone whatever the result. Returns a UsbResult.
std::uint32_t CloseUsbPort(UsbPort* handle);

}  // namespace nelto
