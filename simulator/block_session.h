// The analyser's side of the block frame on a byte link: bytes in, bytes out, no clock and no link of its own. One
// session stands for one link; it is used by one thread.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "analyser_2004.h"
#include "faults.h"
#include "message.h"
#include "transport/block_frame.h"

namespace simulator {

/// Takes one line for people about what happens.
using EventSink = std::function<void(const std::string& line)>;

class BlockSession {
public:
    /// `analyser` and `faults` must outlive the session; they may serve further links. `payload_limit` is the most
    /// payload bytes of a reply block, 1 to 255.
    BlockSession(Analyser2004& analyser, FaultScript& faults, std::size_t payload_limit, EventSink events)
        : analyser_(analyser), faults_(faults), payload_limit_(payload_limit), events_(std::move(events)) {}

    /// Takes what arrived at `now_ms`, in pieces of any size. Bytes that begin no frame are passed over; a piece of a
    /// frame is given up when nothing follows for 500 ms.
    void Receive(Bytes bytes, std::uint64_t now_ms);

    /// The next bytes that are due for sending at `now_ms`, if any. Call until it gives none.
    [[nodiscard]] std::optional<Message> TakeOutput(std::uint64_t now_ms);

    /// True while something waits for its time to be sent.
    [[nodiscard]] bool HasOutput() const { return !output_.empty(); }

    /// Forgets everything under way: the link was closed or lost.
    void Reset();

private:
    struct Output {
        std::uint64_t due_ms = 0;
        Message bytes;
    };

    [[nodiscard]] std::size_t ConsumeFront(std::uint64_t now_ms);
    void TakeBlock(const nelto::Block& block, std::uint64_t now_ms);
    void ForgetExchange();
    void SendAcknowledgement(std::uint64_t now_ms);
    void AnswerRequest(bool was_one_block, std::uint64_t now_ms);
    void TakeAcknowledgement(std::uint64_t now_ms);
    void SendNextBlock(std::uint64_t now_ms);
    [[nodiscard]] Message ReplyFrame() const;
    [[nodiscard]] std::size_t ReplyBlocks() const;
    [[nodiscard]] std::vector<Strike> StrikesOnNextBlock() const;
    [[nodiscard]] bool HasStrike(FaultKind kind) const;
    void TellFault(const Strike& strike) const;
    void CutLink(std::uint32_t milliseconds, std::uint64_t now_ms);
    [[nodiscard]] bool IsLinkGone(std::uint64_t now_ms);

    Analyser2004& analyser_;
    FaultScript& faults_;
    std::size_t payload_limit_;
    EventSink events_;

    Message received_;
    std::uint64_t last_byte_ms_ = 0;
    Message request_;
    unsigned next_request_block_ = 0;
    std::vector<Strike> strikes_;  // on the request at hand and its reply
    Message reply_;
    std::size_t next_reply_block_ = 0;
    bool is_replying_             = false;
    Message last_frame_;
    std::uint32_t repetitions_ = 0;  // of the last frame, still to come
    std::deque<Output> output_;
    std::optional<std::uint64_t> link_back_ms_;
};

}  // namespace simulator
