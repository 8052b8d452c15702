#include "transport/block_frame.h"

#include <algorithm>

namespace nelto {
namespace {

constexpr std::uint16_t kReflectedPolynomial = 0x8408;

/// Row k holds the effect of a byte that k further bytes follow, so that four bytes are folded in one step.
constexpr std::size_t kSlices = 4;
using ChecksumTables          = std::array<std::array<std::uint16_t, 256>, kSlices>;

constexpr ChecksumTables MakeChecksumTables() {
    ChecksumTables tables{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        unsigned value = byte;
        for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) != 0 ? kReflectedPolynomial : 0u);
        tables[0][byte] = static_cast<std::uint16_t>(value);
    }
    for (std::size_t slice = 1; slice < kSlices; ++slice) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const unsigned shorter = tables[slice - 1][byte];
            tables[slice][byte]    = static_cast<std::uint16_t>((shorter >> 8) ^ tables[0][shorter & 0xFF]);
        }
    }
    return tables;
}

constexpr ChecksumTables kChecksumTables = MakeChecksumTables();

constexpr std::uint16_t BigEndian16(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>((bytes[offset] << 8) | bytes[offset + 1]);
}

}  // namespace

std::uint16_t BlockChecksum(std::span<const std::uint8_t> bytes) {
    const ChecksumTables& table = kChecksumTables;
    unsigned crc                = 0xFFFF;
    while (bytes.size() >= kSlices) {
        crc = table[3][bytes[0] ^ (crc & 0xFF)] ^ table[2][bytes[1] ^ (crc >> 8)] ^ table[1][bytes[2]] ^
              table[0][bytes[3]];
        bytes = bytes.subspan(kSlices);
    }
    for (const std::uint8_t byte : bytes) crc = (crc >> 8) ^ table[0][(crc ^ byte) & 0xFF];
    return static_cast<std::uint16_t>(crc);
}

std::size_t BuildBlock(std::span<std::uint8_t, kMaxBlockSize> frame, std::uint8_t start, std::uint16_t index,
                       std::uint16_t count, std::span<const std::uint8_t> payload) {
    const std::size_t length = std::min<std::size_t>(payload.size(), 255);
    frame[0]                 = start;
    frame[1]                 = static_cast<std::uint8_t>(index >> 8);
    frame[2]                 = static_cast<std::uint8_t>(index);
    frame[3]                 = static_cast<std::uint8_t>(count >> 8);
    frame[4]                 = static_cast<std::uint8_t>(count);
    frame[5]                 = static_cast<std::uint8_t>(length);
    std::copy_n(payload.begin(), length, frame.begin() + kBlockHeaderSize);
    const std::uint16_t checksum         = BlockChecksum(frame.first(kBlockHeaderSize + length));
    frame[kBlockHeaderSize + length]     = static_cast<std::uint8_t>(checksum);
    frame[kBlockHeaderSize + length + 1] = static_cast<std::uint8_t>(checksum >> 8);
    return length + kBlockOverhead;
}

BlockFault ParseBlock(std::span<const std::uint8_t> frame, Block& block) {
    if (frame.size() < kBlockOverhead) return BlockFault::kTooShort;
    if (!IsWholeBlock(frame)) return BlockFault::kWrongLength;
    block.index = BigEndian16(frame, 1);
    block.count = BigEndian16(frame, 3);
    if (block.index >= block.count) return BlockFault::kBadIndex;
    if (BlockChecksum(frame) != 0) return BlockFault::kBadChecksum;
    block.payload = frame.subspan(kBlockHeaderSize, frame[5]);
    return BlockFault::kNone;
}

}  // namespace nelto
