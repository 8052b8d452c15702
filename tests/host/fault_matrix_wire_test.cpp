// Every bit of every reply flipped, every reply cut at every byte, and every answer that is too short though well framed.
#include <bit>
#include <cstdio>
#include <numeric>

#include "fault_stage.h"
#include "instrument/opening.h"

namespace nelto::test {
namespace {

enum Section : std::size_t { kOpen, kConfiguration, kHeatingCheck, kValues, kClose };

constexpr std::array kSections        = {kOpen, kConfiguration, kHeatingCheck, kValues, kClose};
constexpr std::size_t kListsBehind    = 2;  // exchanges of the heating check before those of its lists, three a list
constexpr std::array kListSizes       = {2U, 4U, 1U};
constexpr std::size_t kMostNewResults = 2;  // records of one quantity

bool Same(const ChannelRecord& a, const ChannelRecord& b) {
    return a.view_ident == b.view_ident && a.unit == b.unit && a.resolution == b.resolution &&
           a.value_type == b.value_type &&
           std::bit_cast<std::uint32_t>(a.value) == std::bit_cast<std::uint32_t>(b.value) && a.text == b.text &&
           a.label == b.label;
}

/// Records of `table` that `whole` does not have.
std::size_t NewRecords(const ChannelTable& table, const ChannelTable& whole) {
    return static_cast<std::size_t>(std::ranges::count_if(UsedRecords(table), [&](const ChannelRecord& record) {
        return std::ranges::none_of(whole, [&](const ChannelRecord& other) { return Same(record, other); });
    }));
}

bool SameTable(const ChannelTable& a, const ChannelTable& b) { return std::ranges::equal(a, b, Same); }

/// One analyser whose conversation is run section by section, as often as one likes.
class Talk {
public:
    Talk(Transport transport, std::size_t block, std::size_t look) : stage(transport, block) {
        stage.link->wire.most_read = look;
        for (const Section section : kSections) {
            Prepare(section);
            stage.replies.clear();
            EXPECT_EQ(Run(section), 0U);
            replies[section] = stage.replies;
            whole[section]   = table;
        }
    }
    ~Talk() {
        if (connection_ != nullptr) connection_->Close();
    }

    /// Brings the connection to where the section begins.
    void Prepare(Section section) {
        if (section == kOpen) {
            if (connection_ != nullptr) connection_->Close();
            connection_.reset();
        } else if (connection_ == nullptr) {
            connection_ = Nelto780Open(stage.state);
        }
        for (auto& [path, text] : World().files) text.clear();
        World().debug_lines.clear();
        if (section == kClose) stage.EnterSlaveMode();
        stage.requests.clear();
        stage.replies.clear();
        stage.link->closes_at_end = false;
        table                     = section == kValues ? whole[kConfiguration] : ChannelTable{};
    }
    std::uint32_t Run(Section section) {
        switch (section) {
            case kOpen: connection_ = Nelto780Open(stage.state); return connection_ == nullptr ? 1 : 0;
            case kConfiguration: return connection_->ReadConfiguration(table);
            case kHeatingCheck: return connection_->ReadHeatingCheck(table);
            case kValues: return connection_->ReadValues(table);
            case kClose: return std::exchange(connection_, nullptr)->Close();
        }
        return 0;
    }

    /// The section with the reply to its exchange `index` spoilt.
    std::uint32_t RunSpoilt(Section section, std::size_t index, Stage::Spoil spoil) {
        Prepare(section);
        stage.SpoilReply({}, index + 1, std::move(spoil));
        return Run(section);
    }

    Stage stage;
    ChannelTable table{};
    std::array<std::vector<Reply>, kSections.size()> replies;
    std::array<ChannelTable, kSections.size()> whole{};

private:
    std::unique_ptr<Instrument> connection_;
};

std::uint8_t CommandOf(const Talk& talk, Section section, std::size_t index) {
    return talk.replies[section][index].message[1];
}

/// True when the section ends as it must without a whole reply to its exchange `index`; one that is `gone` is asked for no more.
bool FailedAsStated(Section section, std::size_t index, std::uint32_t result, const Talk& talk, bool gone) {
    const ChannelTable& whole = talk.whole[section];
    switch (section) {
        case kOpen: return result == 1 && *talk.stage.state.last_error != '\0';
        case kConfiguration:
            // Without its text a channel has no label yet; everything before is as it was.
            return result == 2 && NewRecords(talk.table, whole) <= (CommandOf(talk, section, index) == 0xB1 ? 1 : 0);
        case kValues: return result == 2 && SameTable(talk.table, talk.whole[kConfiguration]);
        case kClose: return result == 0;
        case kHeatingCheck: break;
    }
    if (index < kListsBehind) return result == 1 && UsedRecords(talk.table).empty();
    const std::size_t list = (index - kListsBehind) / 3;
    std::size_t left       = Stage::kListResults - kListSizes[list];
    if (gone)
        left =
            std::accumulate(kListSizes.begin(), kListSizes.begin() + static_cast<std::ptrdiff_t>(list), std::size_t{0});
    return result == 0 && UsedRecords(talk.table).size() == left && NewRecords(talk.table, whole) == 0;
}

bool ValuesAsSent(const Talk& talk) {
    for (std::size_t i = 0; i < Stage::kMeasured; ++i) {
        const std::uint32_t bits = std::bit_cast<std::uint32_t>(talk.table[i].value);
        const bool none          = talk.stage.Sent()[i] == 0xFFFFFFFF;
        if (talk.table[i].value_type == kNumber ? bits != talk.stage.Sent()[i] : !none) return false;
    }
    return true;
}

/// An ident is whole or none, a device type has its byte behind the header, and of the clock's answer nothing is looked at.
bool OpensAsStated(const Talk& talk, std::size_t index, std::uint32_t result, std::size_t size) {
    const std::uint8_t command = CommandOf(talk, kOpen, index);
    const bool opens           = command == 0x85 ? size >= 5 : command != 0x42;
    return opens ? result == 0 : result == 1 && *talk.stage.state.last_error != '\0';
}

constexpr std::size_t kWholeSize = SIZE_MAX;

/// True when the section's result and records are such that the reply to its exchange `index` has brought something else than
/// usual, or only its first `size` bytes.
bool IsOtherButTrue(Section section, std::size_t index, std::uint32_t result, const Talk& talk, std::size_t size) {
    const std::size_t fresh = NewRecords(talk.table, talk.whole[section]);
    const bool shortened    = size != kWholeSize;
    switch (section) {
        case kOpen: return OpensAsStated(talk, index, result, size);
        case kClose: return result == 0;
        // A bit of a view's ident gives its text to another channel; a short list leaves all three without.
        case kConfiguration: return (result == 0 || result == 2) && fresh <= (shortened ? Stage::kMeasured : 2);
        case kHeatingCheck:
            return result == 0 ? fresh <= kMostNewResults : result <= 2 && UsedRecords(talk.table).empty();
        case kValues: break;
    }
    if (result == 2 || result == 6) return SameTable(talk.table, talk.whole[kConfiguration]);
    return result == 0 && (shortened || ValuesAsSent(talk));
}

struct Tally {
    int tried = 0, passed = 0, endless = 0;

    void Count(bool passes, const char* what, Section section, std::size_t index, std::size_t place) {
        ++tried;
        passed += passes ? 1 : 0;
        EXPECT_TRUE(passes) << what << " " << place << " of the reply to exchange " << index << " of section "
                            << section;
    }
    void Print(const char* what) const {
        std::printf("%-52s %d of %d", what, passed, tried);
        if (endless != 0) std::printf(" (%d more would be waited for without limit)", endless);
        std::printf("\n");
    }
};

/// What becomes of the section with this bit of this block flipped.
bool PassesFlipped(Talk& talk, Section section, std::size_t index, std::size_t block, std::size_t bit) {
    const simulator::Strike flip{FaultKind::kFlipBit, static_cast<std::uint32_t>(bit),
                                 static_cast<std::uint32_t>(block)};
    const std::uint32_t result =
        talk.RunSpoilt(section, index, [=](const Stage&, const Reply&) { return StrikeList{flip}; });
    if (talk.stage.link->transport != Transport::kIrda || bit < 32)
        return FailedAsStated(section, index, result, talk, false);
    return IsOtherButTrue(section, index, result, talk, kWholeSize);
}

/// True when the flipped length over infrared announces more than comes, and no more than there is room for.
bool IsEndless(const Talk& talk, Section section, std::size_t size, std::size_t bit) {
    if (talk.stage.link->transport != Transport::kIrda || bit / 8 < 2 || bit / 8 > 3) return false;
    const std::size_t length = size ^ (std::size_t{1} << (bit - 16));
    return length > size && length <= (section == kClose ? 12U : 4096U);
}

struct Wire {
    const char* name;
    Transport transport;
    std::size_t block = 40;
    std::size_t look  = SIZE_MAX;
};

constexpr Wire kWires[] = {
    {"serial", Transport::kSerial}, {"serial, blocks of 7", Transport::kSerial, 7, 9},
    {"USB", Transport::kUsb},       {"serial, 19 bytes a look", Transport::kSerial, 40, 19},
    {"infrared", Transport::kIrda}, {"USB, blocks of 7", Transport::kUsb, 7},
};

/// Does `spoil_reply` with each reply of the whole conversation over each wire.
template <typename SpoilReply>
void WithEveryReply(const std::string& what, const SpoilReply& spoil_reply) {
    for (const Wire& wire : kWires) {
        Talk talk(wire.transport, wire.block, wire.look);
        Tally tally;
        for (const Section section : kSections) {
            const std::vector<Reply> replies = talk.replies[section];
            for (std::size_t index = 0; index < replies.size(); ++index)
                spoil_reply(talk, tally, section, index, replies[index]);
        }
        EXPECT_FALSE(talk.stage.link->blocked);
        tally.Print((what + ", " + wire.name).c_str());
    }
}

TEST(FaultMatrix, EveryBitOfEveryReply) {
    WithEveryReply("every bit", [](Talk& talk, Tally& tally, Section section, std::size_t index, const Reply& reply) {
        for (std::size_t block = 0; block < reply.frames.size(); ++block) {
            for (std::size_t bit = 0; bit < reply.frames[block] * 8; ++bit) {
                if (IsEndless(talk, section, reply.frames[block], bit)) {
                    ++tally.endless;
                } else {
                    tally.Count(PassesFlipped(talk, section, index, block, bit), "bit", section, index, bit);
                }
            }
        }
        talk.Prepare(section);
        tally.Count(talk.Run(section) == 0, "behind the bits", section, index, 0);
    });
}

TEST(FaultMatrix, EveryReplyCutAtEveryByte) {
    const char* const what = "every cut and short answer";
    WithEveryReply(what, [](Talk& talk, Tally& tally, Section section, std::size_t index, const Reply& whole) {
        const bool infrared    = talk.stage.link->transport == Transport::kIrda;
        const std::size_t last = whole.frames.back();
        for (std::size_t size = 0; size < last; ++size) {
            const simulator::Strike cut{FaultKind::kCutBlock, static_cast<std::uint32_t>(last - size), kLastBlock};
            const std::uint32_t result = talk.RunSpoilt(section, index, [=](const Stage& stage, const Reply&) {
                stage.link->closes_at_end = true;
                return StrikeList{cut};
            });
            tally.Count(FailedAsStated(section, index, result, talk, infrared), "cut at byte", section, index, size);
        }
        for (std::size_t size = infrared ? 4 : 0; size < whole.message.size(); ++size) {
            const auto shorten = [=](const Stage&, const Reply& reply) { return StrikeList{reply.Resized(size)}; };
            const std::uint32_t result = talk.RunSpoilt(section, index, shorten);
            tally.Count(IsOtherButTrue(section, index, result, talk, size), "answer of size", section, index, size);
        }
    });
}

}  // namespace
}  // namespace nelto::test
