#include <random>
#include <tuple>

#include "support.h"
#include "transport/block_conversation.h"

namespace nelto::test {
namespace {

/// The published bit-by-bit procedure: bits least significant first into the top of a left-shifting register, reversed at
/// the end.
std::uint16_t BitByBitChecksum(const Bytes& bytes) {
    unsigned reg = 0xFFFF;
    for (const unsigned byte : bytes) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const unsigned feedback = (reg >> 15) ^ ((byte >> bit) & 1);
            reg                     = (reg << 1) & 0xFFFF;
            if (feedback != 0) reg ^= 0x1021;
        }
    }
    unsigned reversed = 0;
    for (unsigned bit = 0; bit < 16; ++bit) reversed |= ((reg >> bit) & 1) << (15 - bit);
    return static_cast<std::uint16_t>(reversed);
}

TEST(BlockChecksum, IsCrc16Mcrf4xx) {
    const std::string digits = "123456789";
    EXPECT_EQ(BlockChecksum(Bytes(digits.begin(), digits.end())), 0x6F91);
    std::mt19937 random(1);
    for (std::size_t length = 0; length < 300; ++length) {
        Bytes bytes(length);
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        ASSERT_EQ(BlockChecksum(bytes), BitByBitChecksum(bytes)) << length;
    }
}

// Frames worked out by hand from the layout and the bit-by-bit procedure, so that no side proves itself.
TEST(BlockFrame, BuildsTheBytesOnTheWire) {
    std::array<std::uint8_t, kMaxBlockSize> frame{};
    ASSERT_EQ(BuildBlock(frame, kProgramStart, 0, 1, Hex("42")), 9U);
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 9), Hex("12 00 00 00 01 01 42 ef d3"));
    ASSERT_EQ(BuildBlock(frame, kProgramStart, 1, 2, Hex("78")), 9U);
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 9), Hex("12 00 01 00 02 01 78 16 a9"));
    EXPECT_EQ(BlockCount(0, kSerialPayloadLimit), 0U);
    EXPECT_EQ(BlockCount(120, kSerialPayloadLimit), 1U);
    EXPECT_EQ(BlockCount(121, kSerialPayloadLimit), 2U);
    EXPECT_EQ(BlockCount(250, kUsbPayloadLimit), 3U);
}

TEST(BlockFrame, TakesAReplyOnlyIfItIsWholeAndFits) {
    const Bytes good = Hex("21 00 00 00 01 09 00 42 00 00 54 37 38 30 01 66 1c");
    std::array<std::uint8_t, 9> storage{};
    ReplyBuffer reply{.storage = storage};
    EXPECT_EQ(AppendReplyBlock(good, reply), BlockEnd::kComplete);
    EXPECT_EQ(Bytes(storage.begin(), storage.end()), Hex("00 42 00 00 54 37 38 30 01"));

    ReplyBuffer smaller{.storage = std::span(storage).first(8)};
    EXPECT_EQ(AppendReplyBlock(good, smaller), BlockEnd::kTooLong);
    for (std::size_t size = 0; size < good.size(); ++size) {
        ReplyBuffer cut{.storage = storage};
        const BlockEnd expected = size < 8 ? BlockEnd::kTooShort : BlockEnd::kWrongLength;
        EXPECT_EQ(AppendReplyBlock(std::span(good).first(size), cut), expected) << size;
    }
}

TEST(BlockFrame, EndsAReplyThatBringsNothingNew) {
    // Name, block, whether repetitions are skipped, length of what was taken.
    const std::tuple<const char*, Bytes, bool, std::size_t> cases[] = {
        {"empty", Packet(0, 0xFFFF, {}), false, 0},
        {"empty and repeated", Packet(0, 0xFFFF, {}), true, 0},
        {"repeated", Packet(0, 0xFFFF, Bytes{1, 2}), true, 2},
    };
    for (const auto& [name, block, skip_repetitions, length] : cases) {
        SCOPED_TRACE(name);
        std::array<std::uint8_t, 16> storage{};
        ReplyBuffer reply{.storage = storage, .skip_repetitions = skip_repetitions};
        BlockEnd status    = BlockEnd::kMore;
        std::size_t blocks = 0;
        while (status == BlockEnd::kMore && ++blocks < 100) status = AppendReplyBlock(block, reply);
        EXPECT_EQ(status, BlockEnd::kEndless);
        EXPECT_EQ(blocks, kMaxUselessBlocks + (length == 0 ? 1 : 2));
        EXPECT_EQ(reply.length, length);
    }
}

TEST(BlockFrame, SkipsOnlyWhatRepeatsTheBlockBefore) {
    // Neither equal payload nor an equal index alone makes a repetition.
    std::array<std::uint8_t, 30> storage{};
    ReplyBuffer reply{.storage = storage, .skip_repetitions = true};
    for (const Bytes& block : {Packet(0, 3, Bytes{7}), Packet(1, 3, Bytes{7}), Packet(1, 3, Bytes{8})})
        EXPECT_EQ(AppendReplyBlock(block, reply), BlockEnd::kMore);
    EXPECT_EQ(reply.length, 3U);
}

}  // namespace
}  // namespace nelto::test
