#include "transport/usb_exchange.h"
#include "transport/usb_port.h"

namespace nelto {
namespace {

std::uint32_t ResultOf(LinkStatus status) {
    switch (status) {
        case LinkStatus::kOk: return kUsbOk;
        case LinkStatus::kTimeOut: return kUsbTimeout;
        case LinkStatus::kWrongStart: return kUsbWrongStart;
        case LinkStatus::kDriverFailed: return kUsbDriverFailed;
        case LinkStatus::kReplyTooLong: return kUsbReplyTooLong;
        case LinkStatus::kNotOpen: return kUsbNotAvailable;
        default: return kUsbProtocolFault;
    }
}

}  // namespace

LinkStatus UsbStatusOf(const BlockResult& result) {
    switch (result.end) {
        case BlockEnd::kComplete: return LinkStatus::kOk;
        case BlockEnd::kExchangeFailed: return result.exchange;
        case BlockEnd::kTooLong: return LinkStatus::kReplyTooLong;
        case BlockEnd::kStopped: return LinkStatus::kStopped;
        default: return LinkStatus::kProtocolFault;
    }
}

std::uint32_t NeltoUSBTransceive(UsbPort* handle, std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                 std::size_t& reply_length, std::uint32_t timeout_ms) {
    reply_length = 0;
    if (handle == nullptr) return kUsbNoHandle;
    handle->timeout_ms = timeout_ms;

    UsbLine line(*handle);
    StopPatience nobody_stops(nullptr, 0);
    ReplyBuffer assembly{.storage = reply};
    const std::uint32_t result =
        ResultOf(UsbStatusOf(ConverseInBlocks(line, handle->packet_payload_limit, nobody_stops, request, assembly)));
    if (result == kUsbOk) reply_length = assembly.length;
    return result;
}

}  // namespace nelto
