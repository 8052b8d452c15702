#include "frame_splitter.h"

#include <algorithm>

#include "transport/block_frame.h"

namespace simulator {
namespace {

constexpr std::uint64_t kSilentGapMs = 500;
constexpr std::size_t kAckSize       = nelto::kProgramAck.size();
constexpr std::size_t kIndexAndCount = 5;  // bytes up to the end of index and count
constexpr std::size_t kNeedsMore     = 0;

bool HasImpossibleIndex(Bytes front) {
    if (front.size() < kIndexAndCount) return false;
    const unsigned index = (unsigned{front[1]} << 8) | front[2];
    const unsigned count = (unsigned{front[3]} << 8) | front[4];
    return index >= count;
}

}  // namespace

void FrameSplitter::Receive(Bytes bytes, std::uint64_t now_ms) {
    if (!received_.empty() && now_ms - last_byte_ms_ >= kSilentGapMs) {
        events_("gave up " + std::to_string(received_.size()) + " bytes of an unfinished frame");
        received_.clear();
    }
    last_byte_ms_ = now_ms;
    received_.insert(received_.end(), bytes.begin(), bytes.end());
}

std::optional<Message> FrameSplitter::Next() {
    while (!received_.empty()) {
        std::size_t used             = 1;
        std::optional<Message> frame = TakeFront(used);
        if (used == kNeedsMore) return std::nullopt;
        received_.erase(received_.begin(), received_.begin() + static_cast<std::ptrdiff_t>(used));
        if (frame) return frame;
    }
    return std::nullopt;
}

/// Tells in `used` how many of the received bytes are done with. It stays one where no frame begins or the frame turns
/// out bad, so that a good frame behind garbage is still found.
std::optional<Message> FrameSplitter::TakeFront(std::size_t& used) {
    const Bytes front(received_);
    if (front[0] != nelto::kProgramStart) return std::nullopt;
    const bool is_acknowledgement = front.size() >= 2 && front[1] == nelto::kAckMark;
    if (!is_acknowledgement && HasImpossibleIndex(front)) return std::nullopt;

    const bool knows_size  = is_acknowledgement || front.size() >= nelto::kBlockHeaderSize;
    const std::size_t size = is_acknowledgement ? kAckSize : knows_size ? front[5] + nelto::kBlockOverhead : 0;
    if (!knows_size || front.size() < size) {
        used = kNeedsMore;
        return std::nullopt;
    }
    const Bytes frame = front.first(size);
    nelto::Block block;
    if (is_acknowledgement) {
        if (!std::ranges::equal(frame, nelto::kProgramAck)) return std::nullopt;
    } else if (nelto::ParseBlock(frame, block) != nelto::BlockFault::kNone) {
        events_("bad checksum, no answer: " + HexText(frame));
        return std::nullopt;
    }
    used = size;
    return Message(frame.begin(), frame.end());
}

}  // namespace simulator
