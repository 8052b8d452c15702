#include "faults.h"

#include <algorithm>
#include <array>

#include "transport/block_frame.h"

namespace simulator {
namespace {

struct FaultRow {
    FaultKind kind;
    std::string_view name;
    std::uint32_t usual_amount;
};

// clang-format off
constexpr std::array kFaults = {
    FaultRow{FaultKind::kSilence,        "silence",             0},
    FaultRow{FaultKind::kLostByte,       "lost_byte",           6},  // offset in the frame
    FaultRow{FaultKind::kExtraByte,      "extra_byte",          6},  // offset in the frame
    FaultRow{FaultKind::kFlipBit,        "flip_bit",           48},  // bit of the frame
    FaultRow{FaultKind::kWrongAck,       "wrong_ack",           0},
    FaultRow{FaultKind::kWrongLength,    "wrong_length",        1},  // added to the length byte
    FaultRow{FaultKind::kShortAnswer,    "short_answer",        1},  // bytes
    FaultRow{FaultKind::kLongAnswer,     "long_answer",         1},  // bytes
    FaultRow{FaultKind::kDelay,          "delay",            1000},  // milliseconds
    FaultRow{FaultKind::kLinkGone,       "link_gone",          10},  // seconds
    FaultRow{FaultKind::kDuplicateBlock, "duplicate_block",     1},  // repetitions
    FaultRow{FaultKind::kBadIndex,       "bad_index",           0},  // added to the number of blocks
    FaultRow{FaultKind::kCutBlock,       "cut_block",           1},  // bytes
    FaultRow{FaultKind::kUnasked,        "unasked",            20},  // milliseconds
};
// clang-format on

constexpr std::uint8_t kExtraByteValue = 0x55;

const FaultRow& Row(FaultKind kind) { return *std::ranges::find(kFaults, kind, &FaultRow::kind); }

bool Counts(const Fault& fault, std::uint8_t command, std::uint64_t now_ms) {
    return (!fault.command || *fault.command == command) && (!fault.window || fault.window->Contains(now_ms));
}

bool IsDue(const Fault& fault, std::uint32_t seen) {
    if (fault.request != 0) return seen == fault.request;
    if (fault.every != 0) return seen % fault.every == 0;
    return seen >= fault.from;
}

std::uint32_t Amount(const Fault& fault, std::uint64_t now_ms) {
    const std::uint32_t amount = fault.amount.value_or(Row(fault.kind).usual_amount);
    if (fault.kind != FaultKind::kLinkGone) return amount;
    // A link that is gone in a time window, and for no stated time, comes back at the window's end.
    if (fault.window && !fault.amount) return static_cast<std::uint32_t>(fault.window->to_ms - now_ms);
    return amount * 1000;
}

void RenewChecksum(Message& frame) {
    const std::uint16_t checksum = nelto::BlockChecksum(Bytes(frame).first(frame.size() - 2));
    frame[frame.size() - 2]      = static_cast<std::uint8_t>(checksum);
    frame[frame.size() - 1]      = static_cast<std::uint8_t>(checksum >> 8);
}

void MoveIndexPastCount(Message& frame, std::uint32_t excess) {
    const unsigned count = (unsigned{frame[3]} << 8) | frame[4];
    frame[1]             = static_cast<std::uint8_t>((count + excess) >> 8);
    frame[2]             = static_cast<std::uint8_t>(count + excess);
    RenewChecksum(frame);
}

}  // namespace

std::string_view FaultName(FaultKind kind) { return Row(kind).name; }

std::optional<FaultKind> FaultByName(std::string_view name) {
    const auto row = std::ranges::find(kFaults, name, &FaultRow::name);
    return row == kFaults.end() ? std::nullopt : std::optional(row->kind);
}

std::vector<Strike> FaultScript::Begin(std::uint8_t command, std::uint64_t now_ms) {
    std::vector<Strike> strikes;
    for (Entry& entry : entries_) {
        if (!Counts(entry.fault, command, now_ms) || !IsDue(entry.fault, ++entry.seen)) continue;
        strikes.push_back({entry.fault.kind, Amount(entry.fault, now_ms), entry.fault.block});
    }
    return strikes;
}

bool StrikeMessage(const Strike& strike, Message& answer) {
    switch (strike.kind) {
        case FaultKind::kShortAnswer:
            answer.resize(answer.size() - std::min<std::size_t>(answer.size(), strike.amount));
            return true;
        case FaultKind::kLongAnswer: AppendZeros(answer, strike.amount); return true;
        default: return false;
    }
}

bool StrikesBlock(FaultKind kind) {
    return kind != FaultKind::kShortAnswer && kind != FaultKind::kLongAnswer && kind != FaultKind::kWrongAck;
}

void StrikeFrame(const Strike& strike, Message& frame) {
    const std::size_t offset = std::min<std::size_t>(strike.amount, frame.size() - 1);
    const std::size_t bit    = std::min<std::size_t>(strike.amount, frame.size() * 8 - 1);
    switch (strike.kind) {
        case FaultKind::kLostByte: frame.erase(frame.begin() + static_cast<std::ptrdiff_t>(offset)); break;
        case FaultKind::kExtraByte:
            frame.insert(
                frame.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(strike.amount, frame.size())),
                kExtraByteValue);
            break;
        case FaultKind::kFlipBit: frame[bit / 8] = static_cast<std::uint8_t>(frame[bit / 8] ^ (1u << (bit % 8))); break;
        case FaultKind::kWrongLength:
            frame[5] = static_cast<std::uint8_t>(frame[5] + strike.amount);
            RenewChecksum(frame);
            break;
        case FaultKind::kBadIndex: MoveIndexPastCount(frame, strike.amount); break;
        case FaultKind::kCutBlock:
            frame.resize(frame.size() - std::min<std::size_t>(frame.size(), strike.amount));
            break;
        default: break;
    }
}

}  // namespace simulator
