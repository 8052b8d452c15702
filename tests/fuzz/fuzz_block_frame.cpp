// Frame reassembly alone, against a second reassembly that does it the slow way. The first byte is the reply's capacity, the
// second chooses whether a stop is requested (bit 0) and whether repetitions are skipped (bit 1); then blocks: 0..0x7F a block
// whose checksum fits, of this many payload bytes, with index and count (a byte each) before them; 0x80..0xFF this many mod 128
// raw bytes.
#include <array>
#include <atomic>

#include "fuzz.h"
#include "transport/block_conversation.h"

namespace {

using namespace nelto;
using test::ByteSpan;
using test::Require;

constexpr std::uint8_t kUntouched = 0xA5;

std::array<std::uint8_t, 256 + 8> storage;  // eight bytes behind the largest capacity
std::array<std::uint8_t, 256> expected;
std::array<std::uint8_t, kMaxBlockSize> last;  // the last good block of a reply of several
std::size_t last_size = 0;

/// The checksum bit by bit, as it is published.
std::uint16_t SlowChecksum(ByteSpan bytes) {
    unsigned crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0x8408u & (0u - (crc & 1u)));
    }
    return static_cast<std::uint16_t>(crc);
}

BlockEnd SlowFault(ByteSpan frame) {
    if (frame.size() < 8) return BlockEnd::kTooShort;
    if (frame.size() != frame[5] + 8u) return BlockEnd::kWrongLength;
    if (frame[1] * 256 + frame[2] >= frame[3] * 256 + frame[4]) return BlockEnd::kBadIndex;
    return SlowChecksum(frame) == 0 ? BlockEnd::kMore : BlockEnd::kBadChecksum;
}

/// One block into `reply`; false when the reply has ended.
bool Append(ByteSpan frame, ReplyBuffer& reply) {
    const std::size_t before         = reply.length;
    const std::size_t useless_before = reply.useless_blocks;
    const BlockEnd status            = AppendReplyBlock(frame, reply);
    Require(reply.length <= reply.storage.size());
    const BlockEnd fault = SlowFault(frame);
    if (fault != BlockEnd::kMore) {
        Require(status == fault && reply.length == before);
        return false;
    }
    const int index = frame[1] * 256 + frame[2];
    const int count = frame[3] * 256 + frame[4];
    const bool is_repeated =
        reply.skip_repetitions && count > 1 && std::ranges::equal(frame, ByteSpan(last).first(last_size));
    if (count > 1) last_size = static_cast<std::size_t>(std::ranges::copy(frame, last.begin()).out - last.begin());
    const ByteSpan payload  = is_repeated ? ByteSpan() : frame.subspan(6, frame[5]);
    const std::size_t taken = std::min(payload.size(), reply.storage.size() - before);
    std::copy_n(payload.begin(), taken, expected.begin() + static_cast<std::ptrdiff_t>(before));
    Require(reply.length == before + taken);
    Require(std::memcmp(storage.data(), expected.data(), reply.length) == 0);
    if (taken < payload.size()) return Require(status == BlockEnd::kTooLong), false;
    if (!is_repeated && index + 1 == count) return Require(status == BlockEnd::kComplete), false;
    if (payload.empty() && useless_before == kMaxUselessBlocks) return Require(status == BlockEnd::kEndless), false;
    Require(status == BlockEnd::kMore);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test::Input input(data, size);
    const std::size_t capacity = input.Byte();
    const std::uint8_t choice  = input.Byte();
    const auto behind          = storage.begin() + static_cast<std::ptrdiff_t>(capacity);
    std::fill_n(behind, 8, kUntouched);
    ReplyBuffer reply{.storage = std::span(storage).first(capacity), .skip_repetitions = (choice & 2) != 0};
    last_size = 0;
    for (bool goes_on = true; goes_on && !input.IsEmpty();) {
        const std::uint8_t step = input.Byte();
        std::array<std::uint8_t, kMaxBlockSize> frame;
        ByteSpan block;
        if (step < 0x80) {
            const std::uint8_t index   = input.Byte();
            const std::uint8_t count   = input.Byte();
            const std::size_t of_block = BuildBlock(frame, kAnalyserStart, index, count, input.Take(step));
            block                      = ByteSpan(frame).first(of_block);
            Require(IsWholeBlock(block));
        } else {
            block = input.Take(step % 128);
        }
        goes_on = Append(block, reply);
    }
    Require(std::all_of(behind, behind + 8, [](std::uint8_t byte) { return byte == kUntouched; }));
    return 0;
}
