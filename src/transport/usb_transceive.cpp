#include <algorithm>
#include <limits>

#include "transport/usb_exchange.h"
#include "transport/usb_link.h"

namespace nelto {
namespace {

constexpr std::size_t kMostPackets = std::numeric_limits<std::uint16_t>::max();

std::uint32_t Exchange(const UsbLink& link, std::span<const std::uint8_t> packet, UsbAnswer& answer,
                       std::size_t& received) {
    return link.open ? UsbExchange(link, packet, answer, received) : std::uint32_t{kUsbNotAvailable};
}

/// Sends the request packets; `answer` then holds the answer to the last one. Every packet but the last is
/// acknowledged.
std::uint32_t SendRequest(const UsbLink& link, std::span<const std::uint8_t> request, UsbAnswer& answer,
                          std::size_t& received) {
    const std::size_t limit = link.packet_payload_limit;
    const std::size_t count = BlockCount(request.size(), limit);
    if (count == 0 || count > kMostPackets) return kUsbProtocolFault;
    for (std::size_t index = 0; index < count; ++index) {
        const auto rest    = request.subspan(index * limit);
        const auto payload = rest.first(std::min(rest.size(), limit));
        std::array<std::uint8_t, kMaxBlockSize> packet;
        const std::size_t size     = BuildBlock(packet, kProgramStart, static_cast<std::uint16_t>(index),
                                                static_cast<std::uint16_t>(count), payload);
        const std::uint32_t result = Exchange(link, std::span(packet).first(size), answer, received);
        if (result != kUsbOk || index + 1 == count) return result;
        if (!std::ranges::equal(std::span(answer).first(received), kAnalyserAck)) return kUsbProtocolFault;
    }
    return kUsbOk;
}

/// Takes the answer to the request as the first packet of the reply and asks for the others.
std::uint32_t GatherReply(const UsbLink& link, UsbAnswer& answer, std::size_t answer_size, ReplyBuffer& reply) {
    while (true) {
        switch (AppendReplyBlock(std::span(answer).first(answer_size), reply)) {
            case ReplyStatus::kComplete: return kUsbOk;
            case ReplyStatus::kTooLong: return kUsbReplyTooLong;
            case ReplyStatus::kMore: break;
            default: return kUsbProtocolFault;
        }
        const std::uint32_t result = Exchange(link, kProgramAck, answer, answer_size);
        if (result != kUsbOk) return result;
    }
}

std::uint32_t Transceive(const UsbLink& link, std::span<const std::uint8_t> request, ReplyBuffer& reply) {
    UsbAnswer answer;
    std::size_t answer_size    = 0;
    const std::uint32_t result = SendRequest(link, request, answer, answer_size);
    return result == kUsbOk ? GatherReply(link, answer, answer_size, reply) : result;
}

}  // namespace

std::uint32_t NeltoUSBTransceive(UsbLink* handle, std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                 std::size_t& reply_length, std::uint32_t timeout_ms) {
    reply_length = 0;
    if (handle == nullptr) return kUsbNoHandle;
    handle->timeout_ms = timeout_ms;

    ReplyBuffer assembly{
        .storage = reply, .stop_request = handle->stop_request, .skip_repetitions = handle->skip_repetitions};
    const std::uint32_t result  = Transceive(*handle, request, assembly);
    handle->late_bytes_possible = result == kUsbTimeout || result == kUsbDriverFailed;
    if (result == kUsbOk) reply_length = assembly.length;
    return result;
}

}  // namespace nelto
