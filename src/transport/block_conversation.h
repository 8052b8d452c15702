// One message and its reply in blocks, as the serial and the USB link carry them: the request block by block, each but the last
// acknowledged by the analyser; then the reply, block by block, each but the last acknowledged by the program.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "transport/block_frame.h"
#include "transport/link.h"

namespace nelto {

/// Blocks without anything new, empty or repeated, that a reply may hold before it is given up; the others fill its buffer, so
/// that every reply ends.
constexpr std::size_t kMaxUselessBlocks = 64;

/// What a message in blocks is given after a stop: the time-out of the longest exchange.
constexpr std::uint32_t kBlockStopPatience = 3000;  // milliseconds

/// Where a conversation ended.
enum class BlockEnd : std::uint8_t {
    kMore,  // not yet
    kComplete,
    kExchangeFailed,   // the line's own status says why
    kNoMessage,        // nothing to send, or more than block numbers can count
    kNotAcknowledged,  // a request block
    kTooShort,         // from here on: the reply
    kWrongLength,
    kBadIndex,
    kBadChecksum,
    kTooLong,
    kEndless,  // more than kMaxUselessBlocks
    kStopped,
};

/// A reply message under assembly in the caller's buffer.
struct ReplyBuffer {
    std::span<std::uint8_t> storage;
    bool skip_repetitions      = false;  // of the block before, byte for byte
    std::size_t length         = 0;
    std::size_t useless_blocks = 0;
    std::array<std::uint8_t, kMaxBlockSize> last_block{};
    std::size_t last_block_size = 0;
};

/// Takes the next block of a reply: checks it and appends its payload. kMore asks for an acknowledgement and the next block. Block
/// indexes are not checked for sequence, only against the count, on purpose; an exact repetition of the block before is another
/// matter, since taking it would move everything behind it.
[[nodiscard]] BlockEnd AppendReplyBlock(std::span<const std::uint8_t> frame, ReplyBuffer& reply);

/// The line under a conversation.
class BlockLine {
public:
    /// Sends one frame and receives one answer, which stays in the line's own memory until the next call; `answer` says
    /// where, and may be short or empty.
    [[nodiscard]] virtual LinkStatus Exchange(std::span<const std::uint8_t> frame,
                                              std::span<const std::uint8_t>& answer) = 0;

protected:
    ~BlockLine() = default;
};

/// What came of a conversation.
struct BlockResult {
    BlockEnd end            = BlockEnd::kNoMessage;
    LinkStatus exchange     = LinkStatus::kOk;  // of the last exchange
    std::size_t answer_size = 0;                // bytes of the last answer
};

/// Sends `message` in blocks of at most `payload_limit` bytes and assembles its reply in `reply`, whose `length` counts only when
/// the end is kComplete. `patience` is looked at between two blocks.
[[nodiscard]] BlockResult ConverseInBlocks(BlockLine& line, std::size_t payload_limit, StopPatience& patience,
                                           std::span<const std::uint8_t> message, ReplyBuffer& reply);

}  // namespace nelto
