// The analyser's side of the block frame on a byte link: bytes in, bytes out, no clock and no link of its own. One
// session stands for one link; it is used by one thread.
#pragma once

#include <deque>
#include <memory>

#include "byte_session.h"
#include "frame_splitter.h"
#include "responder.h"
#include "transport/block_frame.h"

namespace simulator {

class BlockSession : public ByteSession {
public:
    /// `analyser` may serve further links. `payload_limit` is the most payload bytes of a reply block, 1 to 255.
    BlockSession(std::shared_ptr<Responder> analyser, std::size_t payload_limit, EventSink events)
        : analyser_(std::move(analyser)), payload_limit_(payload_limit), events_(std::move(events)) {}

    void Receive(Bytes bytes, std::uint64_t now_ms) override;
    [[nodiscard]] std::optional<Message> TakeOutput(std::uint64_t now_ms) override;
    [[nodiscard]] bool HasOutput() const override { return !output_.empty(); }
    void Reset() override;

private:
    struct Output {
        std::uint64_t due_ms = 0;
        Message bytes;
    };

    void TakeFrame(Bytes frame, std::uint64_t now_ms);
    void TakeBlock(const nelto::Block& block, std::uint64_t now_ms);
    void ForgetExchange();
    void SendAcknowledgement(std::uint64_t now_ms);
    void AnswerRequest(bool was_one_block, std::uint64_t now_ms);
    void TakeAcknowledgement(std::uint64_t now_ms);
    void SendNextBlock(std::uint64_t now_ms);
    /// Puts the next block on its way, `from_ms` at the earliest; gives the time at which it goes.
    std::uint64_t PutNextBlock(std::uint64_t from_ms);
    [[nodiscard]] Message ReplyFrame() const;
    [[nodiscard]] std::size_t ReplyBlocks() const;
    [[nodiscard]] std::vector<Strike> StrikesOnNextBlock() const;
    [[nodiscard]] bool HasStrike(FaultKind kind) const;
    void TellFault(const Strike& strike) const;
    void CutLink(std::uint32_t milliseconds, std::uint64_t now_ms);
    [[nodiscard]] bool IsLinkGone(std::uint64_t now_ms);

    std::shared_ptr<Responder> analyser_;
    std::size_t payload_limit_;
    EventSink events_;

    FrameSplitter splitter_{events_};
    Message request_;
    unsigned next_request_block_ = 0;
    std::vector<Strike> strikes_;  // on the request at hand and its reply
    Message reply_;
    std::size_t next_reply_block_ = 0;
    bool is_replying_             = false;
    Message last_frame_;
    std::uint32_t repetitions_ = 0;                  // of the last frame, still to come
    std::optional<std::uint32_t> unasked_pause_ms_;  // before each later block, which comes by itself
    /// What is late or comes by itself comes whatever is asked for meanwhile, and before the answer to it.
    bool keeps_output_ = false;
    std::deque<Output> output_;
    std::optional<std::uint64_t> link_back_ms_;
};

}  // namespace simulator
