// The analyser's side of the links, speaking what the input says.
#pragma once

#include <array>
#include <functional>

#include "fuzz.h"
#include "transport/block_frame.h"

namespace nelto::test {

/// Bytes on their way to the program, given in pieces of at most `piece_size`.
class Outgoing {
public:
    std::size_t piece_size = SIZE_MAX;

    /// What does not fit into the wire's few kilobytes is lost.
    void Add(ByteSpan bytes) {
        const std::size_t size = std::min(bytes.size(), bytes_.size() - end_);
        std::copy_n(bytes.begin(), size, bytes_.begin() + static_cast<std::ptrdiff_t>(end_));
        end_ += size;
    }
    void AddBlock(std::uint16_t index, std::uint16_t count, ByteSpan payload) {
        std::array<std::uint8_t, kMaxBlockSize> frame;
        const std::size_t size = BuildBlock(frame, kAnalyserStart, index, count, payload);
        Add(ByteSpan(frame).first(size));
    }
    std::size_t Give(std::span<std::uint8_t> room) {
        const std::size_t size = std::min({room.size(), end_ - begin_, piece_size});
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(begin_), size, room.begin());
        begin_ += size;
        if (begin_ == end_) begin_ = end_ = 0;
        return size;
    }
    [[nodiscard]] std::size_t Waiting() const { return end_ - begin_; }

private:
    std::array<std::uint8_t, 4800> bytes_;
    std::size_t begin_ = 0;
    std::size_t end_   = 0;
};

/// Makes one step of the input for each write of the program:
///   0..0x7F       a block whose checksum fits: this many mod 100 payload bytes, before them index and count (a byte each)
///   0x80..0xBF    raw bytes: this many mod 64
///   0xC0..0xDF    a block as above of 200 + this many mod 56 payload bytes, all zero
///   0xE0..0xE7    an acknowledgement
///   0xE8..0xEB    nothing comes
///   0xEC..0xEF    more noise than any answer has room for
///   0xF0..0xFF    from now on calls of the driver fail
class StepPeer final : public SerialDevice {
public:
    explicit StepPeer(Input& input) : input_(input) { outgoing_.piece_size = 1u + input.Byte(); }

    std::size_t writes = 0;
    bool is_cut        = false;  // what is written does not come whole
    /// Told of the steps 0xF0 and above, from 0.
    std::function<void(std::uint32_t failure)> on_failure = [](std::uint32_t) {};

    std::size_t Write(ByteSpan bytes) override {
        Block block;
        Require(is_cut || std::ranges::equal(bytes, kProgramAck) ||
                (bytes[0] == kProgramStart && ParseBlock(bytes, block) == BlockFault::kNone));
        ++writes;
        if (!input_.IsEmpty()) Step(input_.Byte());
        return bytes.size();
    }
    std::size_t Read(std::span<std::uint8_t> room) override { return outgoing_.Give(room); }

private:
    void Step(std::uint8_t step) {
        if (step < 0x80) return SendBlock(step % 100, 0);
        if (step < 0xC0) return outgoing_.Add(input_.Take(step % 64));
        if (step < 0xE0) return SendBlock(0, 200u + step % 56);
        if (step < 0xE8) return outgoing_.Add(kAnalyserAck);
        if (step >= 0xEC && step < 0xF0) return outgoing_.Add(kNoise);
        if (step >= 0xF0) on_failure(step % 16U);
    }
    static constexpr std::array<std::uint8_t, 1100> kNoise = {kAnalyserStart, 1, 2, 3, 4, 5, 6};

    void SendBlock(std::size_t taken, std::size_t repeated) {
        static constexpr std::array<std::uint8_t, 255> kSame = {};
        const std::uint8_t index                             = input_.Byte();
        const std::uint8_t count                             = input_.Byte();
        outgoing_.AddBlock(index, count, repeated != 0 ? ByteSpan(kSame).first(repeated) : input_.Take(taken));
    }

    Input& input_;
    Outgoing outgoing_;
};

/// Answers each request with the next message of the input, a two-byte number before its payload: 12 bits for the size,
/// then one bit each for a message with a header of its own, for raw bytes without any frame, for a small block size,
/// and for no answer at all. What the program leaves of an answer is there when it reads the next one.
class Analyser final : public SerialDevice {
public:
    explicit Analyser(Input& input) : input_(input) {}

    bool infrared        = false;
    std::size_t requests = 0;

    void SetPieceSize(std::size_t size) { outgoing_.piece_size = size; }
    std::size_t Write(ByteSpan bytes) override {
        if (!infrared && std::ranges::equal(bytes, kProgramAck)) return NextBlock(), bytes.size();
        Block block{.index = 0, .count = 1, .payload = bytes};
        Require(infrared || ParseBlock(bytes, block) == BlockFault::kNone);
        Require(!block.payload.empty() && block.payload.size() <= 13 && block.count == 1);
        ++requests;
        if (!input_.IsEmpty()) Answer(block.payload.front());
        return bytes.size();
    }
    std::size_t Read(std::span<std::uint8_t> room) override { return outgoing_.Give(room); }

    /// Puts this analyser, and no other, in range of the infrared world.
    void Appear() {
        static const auto devices  = MakeIrdaDeviceList({"NELTO T785"});
        TheIrdaWorld().device_list = devices;
        TheIrdaWorld().on_request  = [this](ByteSpan request) { Write(request); };
        TheIrdaWorld().on_idle     = [this] {
            std::vector<std::uint8_t> piece(outgoing_.Waiting());
            piece.resize(Read(piece));
            TheIrdaWorld().pieces.emplace_back(std::move(piece));  // an empty one: the other side has closed
        };
    }

private:
    void Answer(std::uint8_t command) {
        const auto head        = input_.Take<std::uint16_t>();
        const ByteSpan payload = input_.Take(head & 0x0FFF);
        const bool raw         = (head & 0x2000) != 0;
        if ((head & 0x8000) != 0) return;
        if (raw) return outgoing_.Add(payload);
        const std::size_t header = (head & 0x1000) != 0 ? 0 : 4;
        size_                    = header + payload.size();
        message_[0]              = 0;
        message_[1]              = command;
        message_[2]              = static_cast<std::uint8_t>(infrared ? size_ : 0);
        message_[3]              = static_cast<std::uint8_t>(infrared ? size_ >> 8 : 0);
        std::ranges::copy(payload, message_.begin() + static_cast<std::ptrdiff_t>(header));
        if (infrared) return outgoing_.Add(ByteSpan(message_).first(size_));
        limit_ = (head & 0x4000) != 0 ? 7 : 120;
        index_ = 0;
        NextBlock();
    }
    void NextBlock() {
        const std::size_t count = std::max<std::size_t>(1, BlockCount(size_, limit_));
        if (index_ >= count) return;
        const ByteSpan rest = ByteSpan(message_).first(size_).subspan(index_ * limit_);
        outgoing_.AddBlock(static_cast<std::uint16_t>(index_), static_cast<std::uint16_t>(count),
                           rest.first(std::min(limit_, rest.size())));
        ++index_;
    }

    Input& input_;
    std::array<std::uint8_t, 4100> message_;
    std::size_t size_  = 0;
    std::size_t limit_ = 120;
    std::size_t index_ = 0;
    Outgoing outgoing_;
};

}  // namespace nelto::test
