// Plays the analyser's side of a recorded connection: requests are answered with what the analyser answered then.
#pragma once

#include <deque>
#include <map>

#include "byte_session.h"
#include "frame_splitter.h"
#include "recorded_connection.h"

namespace simulator {

/// A request is known by the bytes of its first block, or by its command alone where it carries the time of day. Each one
/// gives its recorded replies in their order and then the last of them again and again, so that values move as they did
/// and stay as they ended. With GET_IDENT a program searches anew: everything begins again.
class ReplaySession final : public ByteSession {
public:
    /// `connection` must outlive the session. With `with_times` a reply takes as long as it took then.
    ReplaySession(const RecordedConnection& connection, bool with_times, EventSink events);

    void Receive(Bytes bytes, std::uint64_t now_ms) override;
    [[nodiscard]] std::optional<Message> TakeOutput(std::uint64_t now_ms) override;
    [[nodiscard]] bool HasOutput() const override { return !output_.empty(); }
    void Reset() override;

private:
    struct Replies {
        std::vector<const RecordedMessage*> recorded;
        std::size_t next     = 0;
        bool has_told_repeat = false;
    };
    struct Output {
        std::uint64_t due_ms = 0;
        Message bytes;
    };

    void TakeFrame(Bytes frame, std::uint64_t now_ms);
    [[nodiscard]] const RecordedMessage* MessageFor(Bytes frame);
    void Rewind();
    void Play(const RecordedExchange& exchange, std::uint64_t now_ms);

    bool with_times_;
    EventSink events_;
    FrameSplitter splitter_{events_};
    std::map<std::string, Replies> replies_;    // by request
    const RecordedMessage* message_ = nullptr;  // being played
    std::size_t next_exchange_      = 0;        // of it
    std::deque<Output> output_;
};

}  // namespace simulator
