// One packet over an open USB link, and the answer to it.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "transport/usb_link.h"

namespace nelto {

/// Most bytes of one answer packet.
constexpr std::size_t kUsbAnswerSize = 256;

using UsbAnswer = std::array<std::uint8_t, kUsbAnswerSize>;

/// Sends a packet or an acknowledgement and receives one answer, an acknowledgement or a whole packet by its own length
/// byte, in pieces as the driver signals them. Returns a UsbResult; `received` is 0 unless it is kUsbOk. What the
/// answer says, its start byte apart, is not looked at.
[[nodiscard]] std::uint32_t UsbExchange(const UsbLink& link, std::span<const std::uint8_t> packet, UsbAnswer& answer,
                                        std::size_t& received);

}  // namespace nelto
