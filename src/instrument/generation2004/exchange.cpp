#include "instrument/generation2004/exchange.h"

#include <algorithm>

#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

bool FramedHeaderIsGood(ByteView answer, std::uint8_t command) {
    return answer.Byte(0) == 0 && answer.Byte(1) == command && answer.Byte(2) == 0 && answer.Byte(3) == 0;
}

/// Bytes 2 and 3 are not checked here: over infrared they hold the length of the frame.
bool InfraredHeaderIsGood(ByteView answer, std::uint8_t command) {
    if (answer.Byte(0) == 0 && answer.Byte(1) == command) return true;
    std::array<wchar_t, 258> text{};
    platform::FormatText(text, L"Invalid header %02x %02x %02x %02x", answer.Byte(0), answer.Byte(1), answer.Byte(2),
                         answer.Byte(3));
    platform::DebugOutput(text.data());
    return false;
}

bool AnswerIsGood(Transport transport, ByteView answer, std::uint8_t command) {
    const bool infrared = transport == Transport::kIrda;
    if (answer.Size() < kAnswerHeaderSize) {
        if (infrared) platform::DebugOutput(L"less 4");
        return false;
    }
    return infrared ? InfraredHeaderIsGood(answer, command) : FramedHeaderIsGood(answer, command);
}

}  // namespace

std::uint32_t Exchange2004(Session& session, std::span<const std::uint8_t> command, std::span<std::uint8_t> answer,
                           std::size_t& received, std::uint32_t timeout_ms, LinkStatus& status) {
    received       = 0;
    status         = LinkStatus::kStopped;
    session.is_cut = session.StopRequested();
    if (session.is_cut || command.empty()) return kBadAnswer;
    std::size_t count = 0;
    status            = session.Transceive(command, answer, count, timeout_ms);
    if (status != LinkStatus::kOk) return kBadAnswer;
    const ByteView view(answer.first(std::min(count, answer.size())));
    if (!AnswerIsGood(session.transport, view, command.front())) return kBadAnswer;
    received = view.Size();
    return kDone;
}

bool Conversation2004::Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms, std::size_t capacity) {
    const auto answer = std::span(storage_).first(std::min(capacity, storage_.size()));
    return Exchange2004(session_, command, answer, received_, timeout_ms, status_) == kDone;
}

ByteView Conversation2004::Record(std::size_t index, std::size_t size) const {
    return index < RecordCount(size) ? Payload().Part(index * size, size) : ByteView();
}

}  // namespace nelto
