// The framed exchange: one command out, one answer in, its header checked. Worker thread only, one at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "instrument/generation2004/answer.h"
#include "instrument/generation2004/commands.h"
#include "instrument/session.h"

namespace nelto {

/// Sends `command` and receives its answer: byte 0 is 0, byte 1 repeats the command, and on USB and serial bytes 2 and 3 are 0
/// (over infrared they hold the frame's length). Returns kDone and the received length, or kBadAnswer and 0; `status` is what the
/// link said, kOk also for an answer with a bad header. Once a stop is requested nothing is sent any more.
[[nodiscard]] std::uint32_t Exchange2004(Session& session, std::span<const std::uint8_t> command,
                                         std::span<std::uint8_t> answer, std::size_t& received,
                                         std::uint32_t timeout_ms, LinkStatus& status);

/// A conversation through Exchange2004 that keeps the last answer.
class Conversation2004 {
public:
    explicit Conversation2004(Session& session) : session_(session) {}

    /// True when the command was answered; the answer replaces the last one.
    [[nodiscard]] bool Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms = kAnswerTimeout,
                           std::size_t capacity = kAnswerCapacity);

    /// What the link said of the last question.
    [[nodiscard]] LinkStatus Status() const { return status_; }
    /// The last answer, its four header bytes included.
    [[nodiscard]] ByteView Answer() const { return ByteView(std::span(storage_).first(received_)); }
    [[nodiscard]] ByteView Payload() const { return Answer().Part(kAnswerHeaderSize); }
    /// Payload record `index` of records of `size` bytes; empty behind the last whole one.
    [[nodiscard]] ByteView Record(std::size_t index, std::size_t size) const;
    /// Whole records of `size` bytes in the payload.
    [[nodiscard]] std::size_t RecordCount(std::size_t size) const { return Payload().Size() / size; }

private:
    Session& session_;
    LinkStatus status_ = LinkStatus::kOk;
    std::array<std::uint8_t, kAnswerCapacity> storage_{};
    std::size_t received_ = 0;
};

}  // namespace nelto
