// The FTDI driver and the infrared neighbourhood on the fuzzers' platform: one analyser behind each.
#pragma once

#include "platform/quick/quick_platform.h"
#include "transport/usb_port.h"

namespace nelto::rigs {

/// An open port over the FTDI driver of the quick world, for NeltoUSBClose to release.
[[nodiscard]] UsbPort* OpenQuickUsbPort();
/// The functions of an FTDI driver with one analyser of type 2 attached, by their published names; null for any other.
[[nodiscard]] void* FindDriverFunction(std::string_view name);

/// Device list with one analyser in range.
[[nodiscard]] platform::quick::ByteSpan OneIrdaAnalyser();

}  // namespace nelto::rigs
