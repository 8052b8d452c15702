#include "transport/usb_exchange.h"

#include <algorithm>

#include "platform/clock.h"

namespace nelto {
namespace {

constexpr std::uint32_t kLook = 100;  // milliseconds between two looks at the stop

/// From now on the driver tells by the event that bytes have come.
bool Register(const UsbPort& port, const platform::Event& event) {
    return event.Handle() != nullptr &&
           port.functions.set_event_notification(port.device, d2xx::kEventReceivedChar, event.Handle()) == d2xx::kOk;
}

bool Send(const UsbPort& port, std::span<const std::uint8_t> packet) {
    // The driver's function takes a pointer to writable bytes; it only reads them.
    void* const bytes        = const_cast<std::uint8_t*>(packet.data());
    const auto size          = static_cast<std::uint32_t>(packet.size());
    std::uint32_t written    = 0;
    const d2xx::Status state = port.functions.write(port.device, bytes, size, &written);
    return state == d2xx::kOk && written >= size;
}

/// Fills `room` with bytes that the queue holds; false when there are fewer.
bool Read(const UsbPort& port, std::span<std::uint8_t> room) {
    const auto size          = static_cast<std::uint32_t>(room.size());
    std::uint32_t read       = 0;
    const d2xx::Status state = port.functions.read(port.device, room.data(), size, &read);
    return state == d2xx::kOk && read >= size;
}

bool CountQueued(const UsbPort& port, std::uint32_t& queued) {
    return port.functions.get_queue_status(port.device, &queued) == d2xx::kOk;
}

/// An acknowledgement, or a whole packet by its own length byte.
bool IsWholeAnswer(std::span<const std::uint8_t> received) {
    return (received.size() == kAnalyserAck.size() && received[1] == kAckMark) || IsWholeBlock(received);
}

}  // namespace

std::ptrdiff_t ReadQueuedUsb(const UsbPort& port, std::span<std::uint8_t> room) {
    std::uint32_t queued = 0;
    if (!CountQueued(port, queued)) return -1;
    const std::size_t size = std::min<std::size_t>(queued, room.size());
    if (size == 0) return 0;
    return Read(port, room.first(size)) ? static_cast<std::ptrdiff_t>(size) : -1;
}

LinkStatus UsbStatusOf(const BlockResult& result) {
    switch (result.end) {
        case BlockEnd::kComplete: return LinkStatus::kOk;
        case BlockEnd::kExchangeFailed: return result.exchange;
        case BlockEnd::kTooLong: return LinkStatus::kReplyTooLong;
        case BlockEnd::kStopped: return LinkStatus::kStopped;
        default: return LinkStatus::kProtocolFault;
    }
}

LinkStatus UsbLine::Exchange(std::span<const std::uint8_t> frame, std::span<const std::uint8_t>& answer) {
    const platform::Event event;
    if (!Register(port_, event) || !Send(port_, frame)) return LinkStatus::kDriverFailed;
    const LinkStatus status = Receive(event);
    answer                  = std::span(answer_).first(total_);
    return status;
}

/// Every piece has a byte at least, and a full room that is no whole answer cannot become one: the end is certain.
LinkStatus UsbLine::Receive(const platform::Event& event) {
    LinkStatus status = LinkStatus::kOk;
    total_            = 0;
    while (status == LinkStatus::kOk && !IsWholeAnswer(std::span(answer_).first(total_))) {
        if (total_ == answer_.size()) return LinkStatus::kTimeOut;
        std::uint32_t queued = 0;
        status               = WaitForPiece(event, queued);
        if (status == LinkStatus::kOk) status = TakePiece(queued);
    }
    return status;
}

LinkStatus UsbLine::WaitForPiece(const platform::Event& event, std::uint32_t& queued) const {
    if (patience_ != nullptr) return WaitPatiently(event, queued);
    if (!event.Wait(port_.timeout_ms)) return LinkStatus::kTimeOut;
    return CountQueued(port_, queued) && queued != 0 ? LinkStatus::kOk : LinkStatus::kDriverFailed;
}

LinkStatus UsbLine::WaitPatiently(const platform::Event& event, std::uint32_t& queued) const {
    const std::uint32_t start = platform::TickMilliseconds();
    while (true) {
        const std::uint32_t waited = std::min(platform::TickMilliseconds() - start, port_.timeout_ms);
        patience_->Look();
        if (patience_->IsOver()) return LinkStatus::kStopped;
        if (event.Wait(std::min(port_.timeout_ms - waited, kLook))) {
            if (!CountQueued(port_, queued)) return LinkStatus::kDriverFailed;
            if (queued != 0) return LinkStatus::kOk;
        }
        if (waited == port_.timeout_ms) return LinkStatus::kTimeOut;
    }
}

/// As much of the piece as there is room for.
LinkStatus UsbLine::TakePiece(std::uint32_t queued) {
    const std::size_t size = std::min<std::size_t>(queued, answer_.size() - total_);
    if (!Read(port_, std::span(answer_).subspan(total_, size))) return LinkStatus::kDriverFailed;
    if (answer_.front() != kAnalyserStart) return LinkStatus::kWrongStart;
    total_ += size;
    return LinkStatus::kOk;
}

}  // namespace nelto
