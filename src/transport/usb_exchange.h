// One packet over an open USB port, and the answer to it.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "platform/event.h"
#include "transport/block_conversation.h"
#include "transport/usb_port.h"

namespace nelto {

/// Most bytes of one answer packet.
constexpr std::size_t kUsbAnswerSize = 256;

/// What the driver holds is taken without waiting, as much of it as there is room for. Returns its size, less than 0 when the
/// driver fails.
std::ptrdiff_t ReadQueuedUsb(const UsbPort& port, std::span<std::uint8_t> room);

/// How a conversation over USB ended.
[[nodiscard]] LinkStatus UsbStatusOf(const BlockResult& result);

/// A port as the line under a conversation. Sends a packet or an acknowledgement and receives one answer, an acknowledgement or a
/// whole packet by its own length byte, in pieces as the driver signals them. What the answer says, its start byte apart,
/// is not looked at.
class UsbLine final : public BlockLine {
public:
    /// With a `patience` a signal that finds no bytes is waited on within the same time-out, and a stop is seen between any two
    /// pieces; without one such a signal is a failure of the driver, as the exported functions answer it.
    explicit UsbLine(const UsbPort& port, StopPatience* patience = nullptr) : port_(port), patience_(patience) {}

    [[nodiscard]] LinkStatus Exchange(std::span<const std::uint8_t> frame,
                                      std::span<const std::uint8_t>& answer) override;

private:
    /// The steps of receiving an answer: `total_` bytes of it are there.
    [[nodiscard]] LinkStatus Receive(const platform::Event& event);
    [[nodiscard]] LinkStatus WaitForPiece(const platform::Event& event, std::uint32_t& queued) const;
    [[nodiscard]] LinkStatus WaitPatiently(const platform::Event& event, std::uint32_t& queued) const;
    [[nodiscard]] LinkStatus TakePiece(std::uint32_t queued);

    const UsbPort& port_;
    StopPatience* patience_;
    std::size_t total_ = 0;
    std::array<std::uint8_t, kUsbAnswerSize> answer_{};
};

}  // namespace nelto
