// Analysers at the far end of an in-memory COM port, and the bytes they speak.
#pragma once

#include <deque>
#include <map>
#include <span>
#include <string_view>
#include <vector>

#include "block_session.h"
#include "session_port.h"
#include "transport/block_frame.h"

namespace nelto::doubles {

using Bytes = std::vector<std::uint8_t>;

/// "12 00 0f" as bytes.
Bytes Hex(std::string_view text);

/// One block of an analyser with a checksum that fits, whatever its header says.
Bytes Packet(std::uint16_t index, std::uint16_t count, std::span<const std::uint8_t> payload);
/// Bytes 0, 1, 2 ...
Bytes Counting(std::size_t size);

/// `payload` in blocks of at most `limit` bytes, as an analyser sends it.
std::vector<Bytes> ReplyBlocks(const Bytes& message, std::size_t limit = 120);

inline platform::memory::World& World() { return platform::memory::TheWorld(); }

/// A peer that gives one scripted raw answer to each write, whatever was written. An answer may come late.
class ScriptedPeer : public platform::memory::SerialDevice {
public:
    struct Answer {
        Bytes bytes;
        std::uint32_t delay_ms = 0;
    };

    std::deque<Answer> answers;
    std::vector<Bytes> written;
    std::size_t most_written = SIZE_MAX;

    std::size_t Write(std::span<const std::uint8_t> bytes) override;
    std::size_t Read(std::span<std::uint8_t> bytes) override;

private:
    Bytes pending_;
    std::uint32_t due_ = 0;
};

/// An analyser that answers whole messages from a table; a command without an answer stays unanswered. The longest matching
/// beginning of the request decides.
class MessagePeer : public SessionPort {
public:
    MessagePeer();

    std::map<Bytes, Bytes> answers;
    std::vector<Bytes> requests;

    /// Sets the answer to requests that begin with `request`, its good header put in front of `payload`.
    void Answer(std::string_view request, std::string_view payload);
    [[nodiscard]] std::size_t RequestsOf(std::uint8_t command) const;

protected:
    /// The whole answer to a request, empty for none.
    [[nodiscard]] virtual Bytes AnswerTo(const Bytes& request);

private:
    struct Table;
    simulator::BlockSession session_;
};

/// A generation-2004 780 with one O2 and one CO channel, oil as fuel and all device data.
void FillSmallAnalyser(MessagePeer& peer);

}  // namespace nelto::doubles
