#include "transport/usb_link.h"

#include <array>
#include <utility>

#include "transport/usb_exchange.h"

namespace nelto {
namespace {

constexpr std::uint32_t kAnySerialNumber = 0;
constexpr std::uint32_t kRestWait        = 20;  // milliseconds in which the rest of a packet comes in

}  // namespace

std::unique_ptr<UsbLink> UsbLink::Open(std::uint32_t device_type, StopRequest stop_request, bool* is_held) {
    UsbPort* port              = nullptr;
    const std::uint32_t result = OpenUsbPort(device_type, kAnySerialNumber, port);
    if (is_held != nullptr) *is_held = result == kUsbHeldElsewhere;
    if (result != kUsbOk) return nullptr;
    return std::make_unique<UsbLink>(port, stop_request);
}

LinkStatus UsbLink::Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                               std::size_t& received, std::uint32_t timeout_ms) {
    received = 0;
    if (port_ == nullptr) return LinkStatus::kNotOpen;
    port_->timeout_ms = timeout_ms;
    DropLateBytes();

    StopPatience patience(stop_request_, kBlockStopPatience);
    UsbLine line(*port_, &patience);
    ReplyBuffer assembly{.storage = reply, .skip_repetitions = true};
    const LinkStatus status = UsbStatusOf(ConverseInBlocks(line, kUsbPayloadLimit, patience, request, assembly));
    late_bytes_possible_    = status != LinkStatus::kOk;
    if (status == LinkStatus::kOk) received = assembly.length;
    return status;
}

/// The driver is asked only when there may be something: after a message that failed.
void UsbLink::DropLateBytes() {
    if (!std::exchange(late_bytes_possible_, false)) return;
    static_cast<void>(ListenUntilSilent(kRestWait, nullptr, [this] { return DropQueued(); }));
}

std::ptrdiff_t UsbLink::DropQueued() {
    std::array<std::uint8_t, kUsbAnswerSize> late;
    return ReadQueuedUsb(*port_, late);
}

bool UsbLink::WaitForSilence(std::uint32_t silence_ms) {
    if (port_ == nullptr) return false;
    return ListenUntilSilent(silence_ms, stop_request_, [this] { return DropQueued(); });
}

void UsbLink::Close() { CloseUsbPort(std::exchange(port_, nullptr)); }

}  // namespace nelto
