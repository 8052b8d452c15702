#include <random>

#include "support.h"
#include "transport/block_frame.h"

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
    const auto build = [&frame](std::uint16_t index, std::uint16_t count, const Bytes& payload) {
        const std::size_t size = BuildBlock(frame, kProgramStart, index, count, payload);
        return Bytes(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size));
    };
    EXPECT_EQ(build(0, 1, Hex("42")), Hex("12 00 00 00 01 01 42 ef d3"));
    EXPECT_EQ(build(1, 2, Hex("78")), Hex("12 00 01 00 02 01 78 16 a9"));
    EXPECT_EQ(BlockCount(0, kSerialPayloadLimit), 0U);
    EXPECT_EQ(BlockCount(120, kSerialPayloadLimit), 1U);
    EXPECT_EQ(BlockCount(121, kSerialPayloadLimit), 2U);
    EXPECT_EQ(BlockCount(250, kUsbPayloadLimit), 3U);
}

TEST(BlockFrame, TakesAWholeReplyAndRefusesEveryDamage) {
    const Bytes good = Hex("21 00 00 00 01 09 00 42 00 00 54 37 38 30 01 66 1c");
    std::array<std::uint8_t, 9> storage{};
    ReplyBuffer reply{.storage = storage};
    EXPECT_EQ(AppendReplyBlock(good, reply), ReplyStatus::kComplete);
    EXPECT_EQ(Bytes(storage.begin(), storage.end()), Hex("00 42 00 00 54 37 38 30 01"));

    ReplyBuffer smaller{.storage = std::span(storage).first(8)};
    EXPECT_EQ(AppendReplyBlock(good, smaller), ReplyStatus::kTooLong);
    for (std::size_t size = 0; size < good.size(); ++size) {
        ReplyBuffer cut{.storage = storage};
        const ReplyStatus expected = size < 8 ? ReplyStatus::kTooShort : ReplyStatus::kWrongLength;
        EXPECT_EQ(AppendReplyBlock(std::span(good).first(size), cut), expected) << size;
    }
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
        Bytes damaged = good;
        damaged[bit / 8] ^= static_cast<std::uint8_t>(1 << (bit % 8));
        ReplyBuffer untouched{.storage = storage};
        const ReplyStatus status = AppendReplyBlock(damaged, untouched);
        EXPECT_NE(status, ReplyStatus::kComplete) << bit;
        EXPECT_NE(status, ReplyStatus::kMore) << bit;
        EXPECT_EQ(untouched.length, 0U);
    }
}

TEST(BlockFrame, EndsAReplyOfEmptyBlocks) {
    std::array<std::uint8_t, 16> storage{};
    ReplyBuffer reply{.storage = storage};
    std::array<std::uint8_t, kMaxBlockSize> frame{};
    const std::size_t size = BuildBlock(frame, kAnalyserStart, 0, 0xFFFF, {});
    ReplyStatus status     = ReplyStatus::kMore;
    int blocks             = 0;
    while (status == ReplyStatus::kMore && ++blocks < 100)
        status = AppendReplyBlock(std::span(frame).first(size), reply);
    EXPECT_EQ(status, ReplyStatus::kEndless);
}

}  // namespace
}  // namespace nelto::test
