// The block frame that carries generation-2004 messages over the serial and the USB link.
//
//   offset  size  meaning
//        0     1  start byte: 0x12 from the program, 0x21 from the analyser
//        1     2  block index, high byte first, counted from 0
//        3     2  number of blocks in this message, high byte first
//        5     1  payload length n
//        6     n  payload
//      6+n     2  block checksum over offsets 0 to 5+n, low byte first
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nelto {

constexpr std::uint8_t kProgramStart  = 0x12;
constexpr std::uint8_t kAnalyserStart = 0x21;
constexpr std::uint8_t kAckMark       = 0x80;

constexpr std::array<std::uint8_t, 3> kProgramAck  = {kProgramStart, kAckMark, 0x0F};
constexpr std::array<std::uint8_t, 3> kAnalyserAck = {kAnalyserStart, kAckMark, 0x0F};

constexpr std::size_t kBlockHeaderSize    = 6;
constexpr std::size_t kBlockOverhead      = 8;  // header and checksum
constexpr std::size_t kMaxBlockSize       = 255 + kBlockOverhead;
constexpr std::size_t kSerialPayloadLimit = 120;
constexpr std::size_t kUsbPayloadLimit    = 100;

/// CRC-16/MCRF4XX of `bytes` (polynomial 0x1021 reflected, start 0xFFFF, no final exclusive-or; "123456789" gives
/// 0x6F91). Over a whole good frame, its two checksum bytes included, the result is 0.
/// Algorithm: the reflected table-driven CRC of Ross Williams, "A Painless Guide to CRC Error Detection Algorithms".
[[nodiscard]] std::uint16_t BlockChecksum(std::span<const std::uint8_t> bytes);

/// Blocks that a message of `message_length` bytes is sent as; 0 for an empty message.
[[nodiscard]] constexpr std::size_t BlockCount(std::size_t message_length, std::size_t payload_limit) {
    return (message_length + payload_limit - 1) / payload_limit;
}

/// Writes one block into `frame` and returns its size, payload + 8. The payload has at most 255 bytes.
std::size_t BuildBlock(std::span<std::uint8_t, kMaxBlockSize> frame, std::uint8_t start, std::uint16_t index,
                       std::uint16_t count, std::span<const std::uint8_t> payload);

/// One received block; `payload` points into the frame it was read from.
struct Block {
    std::uint16_t index = 0;
    std::uint16_t count = 0;
    std::span<const std::uint8_t> payload;
};

enum class BlockFault : std::uint8_t { kNone, kTooShort, kWrongLength, kBadIndex, kBadChecksum };

/// Reads one received block, checking size, length byte, index below count, and checksum, in this order. The start byte is
/// not looked at: the USB link checks it, the serial link does not.
[[nodiscard]] BlockFault ParseBlock(std::span<const std::uint8_t> frame, Block& block);

/// True once `received` is a whole frame by its own length byte.
[[nodiscard]] constexpr bool IsWholeBlock(std::span<const std::uint8_t> received) {
    return received.size() >= kBlockHeaderSize && received[5] + kBlockOverhead == received.size();
}

}  // namespace nelto
