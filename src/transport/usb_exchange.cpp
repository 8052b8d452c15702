#include "transport/usb_exchange.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"
#include "platform/event.h"

namespace nelto {
namespace {

constexpr int kMostLateReads      = 4096;  // a device that never stops sending is left to the exchange's own end
constexpr std::uint32_t kLateWait = 10;    // milliseconds between two looks for a late reply

/// The event by which the driver tells that bytes have come; closed on every way out.
class ReceiveEvent {
public:
    ReceiveEvent() : event_(platform::CreateAutoResetEvent()) {}
    ~ReceiveEvent() { platform::CloseEvent(event_); }
    ReceiveEvent(const ReceiveEvent&)            = delete;
    ReceiveEvent& operator=(const ReceiveEvent&) = delete;

    [[nodiscard]] bool Register(const UsbLink& link) const {
        return event_ != platform::EventHandle::kNone &&
               link.functions.set_event_notification(link.device, d2xx::kEventReceivedChar,
                                                     platform::NativeHandle(event_)) == d2xx::kOk;
    }
    [[nodiscard]] bool Wait(std::uint32_t timeout_ms) const { return platform::WaitForEvent(event_, timeout_ms); }

private:
    platform::EventHandle event_;
};

bool Send(const UsbLink& link, std::span<const std::uint8_t> packet) {
    // The driver's function takes a pointer to writable bytes; it only reads them.
    void* const bytes        = const_cast<std::uint8_t*>(packet.data());
    const auto size          = static_cast<std::uint32_t>(packet.size());
    std::uint32_t written    = 0;
    const d2xx::Status state = link.functions.write(link.device, bytes, size, &written);
    return state == d2xx::kOk && written >= size;
}

/// Fills `room` with bytes that the queue holds; false when there are fewer.
bool Read(const UsbLink& link, std::span<std::uint8_t> room) {
    const auto size          = static_cast<std::uint32_t>(room.size());
    std::uint32_t read       = 0;
    const d2xx::Status state = link.functions.read(link.device, room.data(), size, &read);
    return state == d2xx::kOk && read >= size;
}

/// Takes what the queue holds, as much of it as there is room for; 0 also when the driver fails.
std::size_t ReadQueued(const UsbLink& link, std::span<std::uint8_t> room) {
    std::uint32_t queued = 0;
    if (link.functions.get_queue_status(link.device, &queued) != d2xx::kOk) return 0;
    const std::size_t size = std::min<std::size_t>(queued, room.size());
    return size != 0 && Read(link, room.first(size)) ? size : 0;
}

/// Takes one piece, as much of it as there is room for.
std::uint32_t ReceivePiece(const UsbLink& link, UsbAnswer& answer, std::size_t& total) {
    std::uint32_t queued = 0;
    if (link.functions.get_queue_status(link.device, &queued) != d2xx::kOk || queued == 0) return kUsbDriverFailed;
    const std::size_t size = std::min<std::size_t>(queued, answer.size() - total);
    if (!Read(link, std::span(answer).subspan(total, size))) return kUsbDriverFailed;
    if (answer[0] != kAnalyserStart) return kUsbWrongStart;
    total += size;
    return kUsbOk;
}

/// An acknowledgement, or a whole packet by its own length byte.
bool IsWholeAnswer(std::span<const std::uint8_t> received) {
    return (received.size() == kAnalyserAck.size() && received[1] == kAckMark) || IsWholeBlock(received);
}

}  // namespace

std::uint32_t UsbExchange(const UsbLink& link, std::span<const std::uint8_t> packet, UsbAnswer& answer,
                          std::size_t& received) {
    received = 0;
    const ReceiveEvent event;
    if (!event.Register(link) || !Send(link, packet)) return kUsbDriverFailed;
    // Every round takes a byte at least, and a full buffer that is no whole answer cannot become one: the end is
    // certain.
    std::size_t total = 0;
    while (total < answer.size() && event.Wait(link.timeout_ms)) {
        const std::uint32_t result = ReceivePiece(link, answer, total);
        if (result != kUsbOk) return result;
        if (IsWholeAnswer(std::span(answer).first(total))) {
            received = total;
            return kUsbOk;
        }
    }
    return kUsbTimeout;
}

bool DropLateUsbBytes(UsbLink& link) {
    if (!std::exchange(link.late_bytes_possible, false)) return false;
    UsbAnswer late;
    int round = 0;
    while (round < kMostLateReads && ReadQueued(link, late) != 0) ++round;
    return round != 0;
}

bool LateUsbReplyArrives(const UsbLink& link, std::uint32_t timeout_ms, LateReplies& replies) {
    UsbAnswer late;
    std::size_t total         = 0;
    const std::uint32_t start = platform::TickMilliseconds();
    while (platform::TickMilliseconds() - start < timeout_ms && !IsRequested(link.stop_request)) {
        platform::SleepMilliseconds(kLateWait);
        total += ReadQueued(link, std::span(late).subspan(total));
        if (IsWholeAnswer(std::span(late).first(total))) break;
    }
    if (total != 0) replies.seen = true;
    Block block;
    return ParseBlock(std::span(late).first(total), block) == BlockFault::kNone;
}

}  // namespace nelto
