#include "instrument/generation2004/heating_check.h"

#include <algorithm>
#include <array>
#include <vector>

#include "instrument/generation2004/exchange.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::size_t kReferenceSize     = 6;
constexpr std::size_t kOpenAnswerSize    = 10;
constexpr std::size_t kFirstBlockOffset  = 6;
constexpr std::size_t kShortestViewList  = 7;
constexpr std::size_t kShortestHeader    = 40;
constexpr std::size_t kRecordCountOffset = 20;
constexpr std::size_t kEntrySize         = 12;
constexpr std::size_t kValueSize         = 4;
constexpr std::uint16_t kResultBlock     = 21;
constexpr std::uint16_t kNoReference     = 0xFFFF;

constexpr std::array<std::size_t, 3> kReferenceOffsets = {8, 14, 20};

using Reference = std::array<std::uint8_t, kReferenceSize>;

/// One quantity of a result list.
struct Entry {
    std::uint32_t view_ident;
    std::uint16_t unit;
    std::uint8_t resolution;
};

/// Command A5: sub-command, 0, reference, and for the records four bytes more.
template <std::size_t Size>
std::array<std::uint8_t, Size> BlockCommand(std::uint8_t sub_command, std::span<const std::uint8_t> reference) {
    std::array<std::uint8_t, Size> command = {kReadBlock, sub_command, 0x00};
    std::copy_n(reference.begin(), std::min(reference.size(), kReferenceSize), command.begin() + 3);
    return command;
}

/// The references of all result blocks in a view list; no more than a table could take results from.
std::vector<Reference> FindReferences(const ByteView& list) {
    std::vector<Reference> references;
    std::size_t position = kFirstBlockOffset;
    while (position < list.Size() && references.size() < kChannelCapacity) {
        const ByteView block       = list.Part(position);
        const std::uint16_t length = block.Word(4);
        for (const std::size_t offset : kReferenceOffsets) {
            if (block.Word(0) != kResultBlock || !block.Covers(offset, kReferenceSize)) continue;
            if (block.Word(offset) == kNoReference) continue;
            Reference& reference = references.emplace_back();
            std::ranges::copy(block.Part(offset, kReferenceSize).Bytes(), reference.begin());
        }
        if (length == 0) break;  // the walk would never advance
        position += length;
    }
    return references;
}

void StoreResult(ChannelTable& table, const Entry& entry, float value) {
    ChannelRecord* record = FirstFreeRecord(table);
    if (record == nullptr) return;
    record->view_ident = entry.view_ident;
    record->unit       = entry.unit;
    record->resolution = entry.resolution;
    record->value_type = kNumber;
    record->value      = value;
    platform::FormatText(record->label, L"ID_%04X", entry.view_ident);
}

std::vector<Entry> TakeEntries(const Conversation2004& talk) {
    std::vector<Entry> entries;
    for (std::size_t index = 0; index < talk.RecordCount(kEntrySize); ++index) {
        const ByteView entry = talk.Record(index, kEntrySize);
        entries.push_back({.view_ident = entry.Long(0), .unit = entry.Word(4), .resolution = entry.Byte(6)});
    }
    return entries;
}

/// One read of the heating check. All requests for results have the same code, and only that code stands in an answer: one that
/// missed its time-out would pass for the answer to the next request, and all later values for those of other quantities. So a
/// reply that has not come in time is waited for as long once more, without asking for anything. If it is still owed then, the
/// next result list is believed only after the line has stayed silent for that time again, and else read a second time.
class HeatingCheckReader {
public:
    HeatingCheckReader(const InstrumentConnection& connection, ChannelTable& table)
        : link_(connection.link), talk_(connection), table_(table) {}

    std::uint32_t Read();

private:
    static constexpr int kAttempts = 2;

    bool Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms = kAnswerTimeout);
    bool IsInStep();
    void ReadReference(const Reference& reference);
    void TakeResults(const Reference& reference, ChannelTable& table);

    const Link& link_;
    Conversation2004 talk_;
    ChannelTable& table_;
    std::size_t owed_ = 0;  // replies that came neither in time nor in as much time again
};

std::uint32_t HeatingCheckReader::Read() {
    if (!Ask(kOpenHeatingCheckList, kShortTimeout)) return kTransportFailure;
    if (talk_.Answer().Size() != kOpenAnswerSize) return kBadAnswer;

    const auto list_command = BlockCommand<9>(kReadViewList, talk_.Payload().Bytes());
    if (!Ask(list_command, kShortTimeout)) return kTransportFailure;
    if (talk_.Answer().Size() < kShortestViewList) return kDone;

    for (const Reference& reference : FindReferences(talk_.Answer())) {
        if (FirstFreeRecord(table_) == nullptr) break;  // nothing more could be stored
        ReadReference(reference);
    }
    return kDone;
}

bool HeatingCheckReader::Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms) {
    if (talk_.Ask(command, timeout_ms)) return true;
    if (link_.late.owed && !LateReplyArrives(link_, timeout_ms)) ++owed_;
    return false;
}

/// Listens for what is left of owed replies, of which the later ones have passed for earlier ones; false when there is anything.
bool HeatingCheckReader::IsInStep() {
    while (owed_ > 0 && LateReplyArrives(link_, kAnswerTimeout)) --owed_;
    if (link_.late.seen || IsRequested(link_.stop_request)) return false;
    owed_ = 0;  // lost: the analyser answers in order
    return true;
}

void HeatingCheckReader::ReadReference(const Reference& reference) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        ChannelTable results = table_;
        link_.late.seen      = false;
        TakeResults(reference, results);
        if (link_.late.owed) return;
        if (owed_ != 0 && !IsInStep()) continue;
        table_ = results;
        return;
    }
}

/// Reads one result list: its header, its quantities, and its records with one value for each quantity. Whatever fails ends
/// this list alone.
void HeatingCheckReader::TakeResults(const Reference& reference, ChannelTable& table) {
    if (!Ask(BlockCommand<9>(kReadHeader, reference)) || talk_.Answer().Size() < kShortestHeader) return;
    const std::uint16_t record_count = talk_.Answer().Word(kRecordCountOffset);

    if (!Ask(BlockCommand<9>(kReadEntries, reference))) return;
    const std::vector<Entry> entries = TakeEntries(talk_);

    auto read_records = BlockCommand<13>(kReadRecords, reference);
    read_records[11]  = static_cast<std::uint8_t>(record_count);
    if (!Ask(read_records) || record_count == 0 || entries.empty()) return;
    // While a reply is owed, this may be an earlier one: then its size tells.
    const std::size_t expected = std::size_t{read_records[11]} * entries.size() * kValueSize;
    if (owed_ != 0 && talk_.Payload().Size() != expected) return;

    const std::size_t values = std::min(talk_.RecordCount(kValueSize), std::size_t{record_count} * entries.size());
    for (std::size_t index = 0; index < values; ++index) {
        const ByteView value = talk_.Record(index, kValueSize);
        const Entry& entry   = entries[index % entries.size()];
        if (value.Long(0) != kNoValueMark && entry.view_ident != kFreeRecord)
            StoreResult(table, entry, value.Single(0));
    }
}

}  // namespace

std::uint32_t ReadHeatingCheck2004(const InstrumentConnection& connection, ChannelTable& heating_check) {
    return HeatingCheckReader(connection, heating_check).Read();
}

}  // namespace nelto
