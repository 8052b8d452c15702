#include "transport/block_conversation.h"

#include <algorithm>
#include <limits>

namespace nelto {
namespace {

constexpr std::size_t kMostBlocks = std::numeric_limits<std::uint16_t>::max();

bool Repeats(std::span<const std::uint8_t> frame, const ReplyBuffer& reply) {
    return std::ranges::equal(frame, std::span(reply.last_block).first(reply.last_block_size));
}

void Remember(std::span<const std::uint8_t> frame, ReplyBuffer& reply) {
    reply.last_block_size = std::min(frame.size(), reply.last_block.size());
    std::copy_n(frame.begin(), reply.last_block_size, reply.last_block.begin());
}

BlockEnd MoreAfterUselessBlock(ReplyBuffer& reply) {
    return ++reply.useless_blocks > kMaxUselessBlocks ? BlockEnd::kEndless : BlockEnd::kMore;
}

BlockEnd EndOf(BlockFault fault) {
    switch (fault) {
        case BlockFault::kTooShort: return BlockEnd::kTooShort;
        case BlockFault::kWrongLength: return BlockEnd::kWrongLength;
        case BlockFault::kBadIndex: return BlockEnd::kBadIndex;
        default: return BlockEnd::kBadChecksum;
    }
}

/// One conversation on its way.
class Conversation {
public:
    Conversation(BlockLine& line, StopPatience& patience) : line_(line), patience_(patience) {}

    BlockResult Run(std::span<const std::uint8_t> message, std::size_t payload_limit, ReplyBuffer& reply) {
        result_.end = SendRequest(message, payload_limit);
        while (result_.end == BlockEnd::kMore) result_.end = TakeAnswer(reply);
        return result_;
    }

private:
    /// kMore when the request is out and the first block of the reply has come.
    BlockEnd SendRequest(std::span<const std::uint8_t> message, std::size_t payload_limit) {
        const std::size_t count = BlockCount(message.size(), payload_limit);
        if (count == 0 || count > kMostBlocks) return BlockEnd::kNoMessage;
        for (std::size_t index = 0; index < count; ++index) {
            const auto rest    = message.subspan(index * payload_limit);
            const auto payload = rest.first(std::min(rest.size(), payload_limit));
            std::array<std::uint8_t, kMaxBlockSize> frame;
            const std::size_t size = BuildBlock(frame, kProgramStart, static_cast<std::uint16_t>(index),
                                                static_cast<std::uint16_t>(count), payload);
            if (!Exchange(std::span(frame).first(size))) return BlockEnd::kExchangeFailed;
            if (index + 1 < count && !std::ranges::equal(answer_, kAnalyserAck)) return BlockEnd::kNotAcknowledged;
        }
        return BlockEnd::kMore;
    }

    BlockEnd TakeAnswer(ReplyBuffer& reply) {
        const BlockEnd end = AppendReplyBlock(answer_, reply);
        if (end != BlockEnd::kMore) return end;
        patience_.Look();
        if (patience_.IsOver()) return BlockEnd::kStopped;
        return Exchange(kProgramAck) ? BlockEnd::kMore : BlockEnd::kExchangeFailed;
    }

    bool Exchange(std::span<const std::uint8_t> frame) {
        answer_             = {};
        result_.exchange    = line_.Exchange(frame, answer_);
        result_.answer_size = answer_.size();
        return result_.exchange == LinkStatus::kOk;
    }

    BlockLine& line_;
    StopPatience& patience_;
    std::span<const std::uint8_t> answer_;
    BlockResult result_;
};

}  // namespace

BlockEnd AppendReplyBlock(std::span<const std::uint8_t> frame, ReplyBuffer& reply) {
    Block block;
    if (const BlockFault fault = ParseBlock(frame, block); fault != BlockFault::kNone) return EndOf(fault);
    if (reply.skip_repetitions && block.count > 1) {
        if (Repeats(frame, reply)) return MoreAfterUselessBlock(reply);
        Remember(frame, reply);
    }
    const std::size_t taken = std::min(block.payload.size(), reply.storage.size() - reply.length);
    std::copy_n(block.payload.begin(), taken, reply.storage.begin() + static_cast<std::ptrdiff_t>(reply.length));
    reply.length += taken;
    if (taken < block.payload.size()) return BlockEnd::kTooLong;
    if (block.index == block.count - 1) return BlockEnd::kComplete;
    return block.payload.empty() ? MoreAfterUselessBlock(reply) : BlockEnd::kMore;
}

BlockResult ConverseInBlocks(BlockLine& line, std::size_t payload_limit, StopPatience& patience,
                             std::span<const std::uint8_t> message, ReplyBuffer& reply) {
    return Conversation(line, patience).Run(message, payload_limit, reply);
}

}  // namespace nelto
