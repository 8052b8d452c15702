// Scripted faults: an analyser that misbehaves on purpose, by name, at a chosen request.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "analyser_data.h"
#include "message.h"

namespace simulator {

enum class FaultKind : std::uint8_t {
    kSilence,
    kLostByte,
    kExtraByte,
    kFlipBit,
    kWrongAck,
    kWrongLength,
    kShortAnswer,
    kLongAnswer,
    kDelay,
    kLinkGone,
    kDuplicateBlock,
    kBadIndex,
    kCutBlock,
    kUnasked,
};

/// The fault's word in scenario files, such as "lost_byte".
[[nodiscard]] std::string_view FaultName(FaultKind kind);
[[nodiscard]] std::optional<FaultKind> FaultByName(std::string_view name);

/// One fault and when it happens. `command` and `window` choose the requests that count for it (all, when not given);
/// of these, `request` strikes the n-th only, `every` each n-th, `from` the n-th and all later ones, none of them all.
struct Fault {
    FaultKind kind = FaultKind::kSilence;
    std::optional<std::uint32_t>
        amount;  // up to 60000; its meaning depends on the kind, see README.md; none is the usual one
    std::optional<std::uint8_t> command;
    std::optional<TimeWindow> window;
    std::uint32_t request = 0;
    std::uint32_t every   = 0;
    std::uint32_t from    = 0;
    std::uint32_t block   = 0;  // reply block that is struck, from 0; past the end the last one
};

/// A fault that strikes the request at hand.
struct Strike {
    FaultKind kind       = FaultKind::kSilence;
    std::uint32_t amount = 0;  // as in the fault, but link_gone counts milliseconds here
    std::uint32_t block  = 0;
};

class FaultScript {
public:
    FaultScript() = default;
    explicit FaultScript(const std::vector<Fault>& faults) {
        for (const Fault& fault : faults) Add(fault);
    }

    void Add(const Fault& fault) { entries_.push_back({fault, 0}); }

    /// Counts one request that begins with `command` and gives the faults that strike it.
    [[nodiscard]] std::vector<Strike> Begin(std::uint8_t command, std::uint64_t now_ms);

private:
    struct Entry {
        Fault fault;
        std::uint32_t seen = 0;
    };
    std::vector<Entry> entries_;
};

/// short_answer and long_answer change the message (result true); the other kinds leave it.
bool StrikeMessage(const Strike& strike, Message& answer);

/// True for the kinds that strike one block of the reply: all but short_answer, long_answer and wrong_ack.
[[nodiscard]] bool StrikesBlock(FaultKind kind);

/// lost_byte, extra_byte, flip_bit, cut_block, wrong_length and bad_index change the frame, the last two with a checksum that
/// fits; the other kinds leave it.
void StrikeFrame(const Strike& strike, Message& frame);

}  // namespace simulator
