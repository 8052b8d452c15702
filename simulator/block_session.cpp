#include "block_session.h"

#include <algorithm>

namespace simulator {
namespace {

constexpr std::size_t kMaxRequest      = 4096;
constexpr std::uint8_t kWrongAckEnding = 0x00;

}  // namespace

void BlockSession::Receive(Bytes bytes, std::uint64_t now_ms) {
    if (IsLinkGone(now_ms) || bytes.empty()) return;
    splitter_.Receive(bytes, now_ms);
    while (!IsLinkGone(now_ms)) {
        const std::optional<Message> frame = splitter_.Next();
        if (!frame) return;
        TakeFrame(*frame, now_ms);
    }
}

std::optional<Message> BlockSession::TakeOutput(std::uint64_t now_ms) {
    if (IsLinkGone(now_ms) || output_.empty() || output_.front().due_ms > now_ms) return std::nullopt;
    Message bytes = std::move(output_.front().bytes);
    output_.pop_front();
    return bytes;
}

void BlockSession::Reset() {
    splitter_.Clear();
    keeps_output_ = false;
    ForgetExchange();
}

void BlockSession::ForgetExchange() {
    request_.clear();
    next_request_block_ = 0;
    strikes_.clear();
    is_replying_ = false;
    repetitions_ = 0;
    unasked_pause_ms_.reset();
    if (!keeps_output_) output_.clear();
    keeps_output_ = !output_.empty();
}

void BlockSession::TakeFrame(Bytes frame, std::uint64_t now_ms) {
    if (frame[1] == nelto::kAckMark) return TakeAcknowledgement(now_ms);
    nelto::Block block;
    if (nelto::ParseBlock(frame, block) == nelto::BlockFault::kNone) TakeBlock(block, now_ms);
}

void BlockSession::TakeBlock(const nelto::Block& block, std::uint64_t now_ms) {
    if (block.index == 0) {
        ForgetExchange();
        strikes_ = analyser_->Strikes(block.payload, now_ms);
    }
    if (block.index != next_request_block_ || request_.size() + block.payload.size() > kMaxRequest) {
        events_("request block " + std::to_string(block.index) + " out of turn or too long, no answer");
        return;
    }
    request_.insert(request_.end(), block.payload.begin(), block.payload.end());
    ++next_request_block_;
    if (block.index + 1u < block.count) {
        SendAcknowledgement(now_ms);
    } else {
        AnswerRequest(block.count == 1, now_ms);
    }
}

void BlockSession::SendAcknowledgement(std::uint64_t now_ms) {
    Message acknowledgement(nelto::kAnalyserAck.begin(), nelto::kAnalyserAck.end());
    if (HasStrike(FaultKind::kWrongAck)) {
        events_("fault wrong_ack");
        acknowledgement.back() = kWrongAckEnding;
    }
    output_.push_back({now_ms, std::move(acknowledgement)});
}

void BlockSession::AnswerRequest(bool was_one_block, std::uint64_t now_ms) {
    const std::uint8_t command = request_.empty() ? std::uint8_t{0} : request_[0];
    events_("request " + std::string(CommandName(command)) + ": " + HexText(request_));
    std::optional<Message> answer = analyser_->Answer(request_, now_ms);
    request_.clear();
    next_request_block_ = 0;
    if (!answer) return events_("no reply");
    // A request of one block has no acknowledgement to spoil: one comes in place of the reply.
    if (was_one_block && HasStrike(FaultKind::kWrongAck)) return SendAcknowledgement(now_ms);

    events_("reply " + std::to_string(answer->size()) + " bytes" + ((*answer)[0] != 0 ? " (refused)" : ""));
    for (const Strike& strike : strikes_) {
        if (StrikeMessage(strike, *answer)) TellFault(strike);
    }
    reply_            = std::move(*answer);
    next_reply_block_ = 0;
    is_replying_      = true;
    SendNextBlock(now_ms);
}

void BlockSession::TakeAcknowledgement(std::uint64_t now_ms) {
    if (!is_replying_) return events_("acknowledgement without a reply under way");
    if (repetitions_ == 0) return SendNextBlock(now_ms);
    --repetitions_;
    output_.push_back({now_ms, last_frame_});
}

void BlockSession::SendNextBlock(std::uint64_t now_ms) {
    std::uint64_t sent_ms = PutNextBlock(now_ms);
    while (is_replying_ && unasked_pause_ms_) sent_ms = PutNextBlock(sent_ms + *unasked_pause_ms_);
}

std::uint64_t BlockSession::PutNextBlock(std::uint64_t from_ms) {
    last_frame_            = ReplyFrame();
    std::uint64_t due_ms   = from_ms;
    std::uint32_t repeated = 0;
    bool is_silent         = false;
    for (const Strike& strike : StrikesOnNextBlock()) {
        TellFault(strike);
        if (strike.kind == FaultKind::kLinkGone) {
            CutLink(strike.amount, from_ms);
            return from_ms;
        }
        if (strike.kind == FaultKind::kSilence) is_silent = true;
        if (strike.kind == FaultKind::kDelay) due_ms += strike.amount;
        if (strike.kind == FaultKind::kUnasked) unasked_pause_ms_ = strike.amount;
        keeps_output_ = keeps_output_ || strike.kind == FaultKind::kDelay || strike.kind == FaultKind::kUnasked;
        if (strike.kind == FaultKind::kDuplicateBlock) repeated += strike.amount;
        StrikeFrame(strike, last_frame_);
    }
    if (is_silent) {
        ForgetExchange();
        return from_ms;
    }

    const bool is_last = ++next_reply_block_ == ReplyBlocks();
    output_.push_back({due_ms, last_frame_});
    if (is_last) {
        // Nobody asks for more after the last block: its repetitions come unasked.
        for (std::uint32_t i = 0; i < repeated; ++i) output_.push_back({due_ms, last_frame_});
    }
    repetitions_ = is_last ? 0 : repeated;
    is_replying_ = !is_last;
    return due_ms;
}

Message BlockSession::ReplyFrame() const {
    const Bytes rest    = Bytes(reply_).subspan(next_reply_block_ * payload_limit_);
    const Bytes payload = rest.first(std::min(rest.size(), payload_limit_));
    std::array<std::uint8_t, nelto::kMaxBlockSize> frame;
    const std::size_t size =
        nelto::BuildBlock(frame, nelto::kAnalyserStart, static_cast<std::uint16_t>(next_reply_block_),
                          static_cast<std::uint16_t>(ReplyBlocks()), payload);
    return {frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size)};
}

std::size_t BlockSession::ReplyBlocks() const {
    return std::max<std::size_t>(1, nelto::BlockCount(reply_.size(), payload_limit_));
}

std::vector<Strike> BlockSession::StrikesOnNextBlock() const {
    std::vector<Strike> strikes;
    for (const Strike& strike : strikes_) {
        const bool is_here = std::min<std::size_t>(strike.block, ReplyBlocks() - 1) == next_reply_block_;
        if (is_here && StrikesBlock(strike.kind)) strikes.push_back(strike);
    }
    return strikes;
}

bool BlockSession::HasStrike(FaultKind kind) const {
    return std::ranges::find(strikes_, kind, &Strike::kind) != strikes_.end();
}

void BlockSession::TellFault(const Strike& strike) const {
    std::string line = "fault " + std::string(FaultName(strike.kind)) + " " + std::to_string(strike.amount);
    if (StrikesBlock(strike.kind)) line += ", reply block " + std::to_string(next_reply_block_);
    events_(line);
}

void BlockSession::CutLink(std::uint32_t milliseconds, std::uint64_t now_ms) {
    keeps_output_ = false;
    ForgetExchange();
    link_back_ms_ = now_ms + milliseconds;
}

bool BlockSession::IsLinkGone(std::uint64_t now_ms) {
    if (link_back_ms_ && now_ms >= *link_back_ms_) {
        link_back_ms_.reset();
        splitter_.Clear();
        events_("link back");
    }
    return link_back_ms_.has_value();
}

}  // namespace simulator
