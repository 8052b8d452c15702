#include "replay_session.h"

#include <algorithm>
#include <array>

#include "analyser_2004.h"
#include "transport/block_frame.h"

namespace simulator {
namespace {

constexpr std::uint8_t kGetIdent = 0x42;

/// Clock settings: date and time of a 710, and the one of a 780. Their parameters are never the recorded ones.
constexpr std::array<std::uint8_t, 3> kVolatileCommands = {0x0C, 0x0D, 0x33};

/// The payload of a first block; empty for an acknowledgement and a later block.
Bytes FirstPayload(Bytes frame) {
    nelto::Block block;
    if (frame[1] == nelto::kAckMark || nelto::ParseBlock(frame, block) != nelto::BlockFault::kNone) return {};
    return block.index == 0 ? block.payload : Bytes();
}

std::uint8_t CommandOf(Bytes frame) {
    const Bytes payload = FirstPayload(frame);
    return payload.empty() ? std::uint8_t{0} : payload[0];
}

/// What tells one request from another, as hex.
std::string KeyOf(Bytes frame) {
    const std::uint8_t command = CommandOf(frame);
    if (std::ranges::find(kVolatileCommands, command) != kVolatileCommands.end()) return HexText({&command, 1});
    return HexText(frame);
}

}  // namespace

ReplaySession::ReplaySession(const RecordedConnection& connection, bool with_times, EventSink events)
    : with_times_(with_times), events_(std::move(events)) {
    for (const RecordedMessage& message : connection.messages) {
        replies_[KeyOf(message.front().request)].recorded.push_back(&message);
    }
}

void ReplaySession::Receive(Bytes bytes, std::uint64_t now_ms) {
    if (bytes.empty()) return;
    splitter_.Receive(bytes, now_ms);
    while (const std::optional<Message> frame = splitter_.Next()) TakeFrame(*frame, now_ms);
}

std::optional<Message> ReplaySession::TakeOutput(std::uint64_t now_ms) {
    if (output_.empty() || output_.front().due_ms > now_ms) return std::nullopt;
    Message bytes = std::move(output_.front().bytes);
    output_.pop_front();
    return bytes;
}

void ReplaySession::Reset() {
    splitter_.Clear();
    output_.clear();
    message_ = nullptr;
    Rewind();
}

void ReplaySession::Rewind() {
    for (auto& [request, replies] : replies_) replies.next = 0;
}

void ReplaySession::TakeFrame(Bytes frame, std::uint64_t now_ms) {
    const Bytes payload = FirstPayload(frame);
    if (!payload.empty()) {
        events_("request " + std::string(CommandName(payload[0])) + ": " + HexText(payload));
        message_       = MessageFor(frame);
        next_exchange_ = 0;
    }
    if (message_ == nullptr) return events_("not in the log, no reply: " + HexText(frame));
    const bool is_next = next_exchange_ < message_->size() &&
                         (next_exchange_ == 0 || std::ranges::equal(frame, (*message_)[next_exchange_].request));
    if (!is_next) return events_("not sent at this place of the log, no reply: " + HexText(frame));
    Play((*message_)[next_exchange_++], now_ms);
}

const RecordedMessage* ReplaySession::MessageFor(Bytes frame) {
    if (CommandOf(frame) == kGetIdent) Rewind();
    const auto found = replies_.find(KeyOf(frame));
    if (found == replies_.end()) return nullptr;
    Replies& replies = found->second;
    if (replies.next < replies.recorded.size()) return replies.recorded[replies.next++];
    if (!replies.has_told_repeat) events_("the log holds no later reply to this request: its last one stays");
    replies.has_told_repeat = true;
    return replies.recorded.back();
}

void ReplaySession::Play(const RecordedExchange& exchange, std::uint64_t now_ms) {
    const std::string place = ", line " + std::to_string(exchange.line);
    if (exchange.reply.empty()) return events_("no reply then either" + place);
    events_("reply " + std::to_string(exchange.reply.size()) + " bytes" + place);
    output_.push_back({now_ms + (with_times_ ? exchange.receive_ms : 0), exchange.reply});
}

}  // namespace simulator
