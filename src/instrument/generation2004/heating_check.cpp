// The results of the analyser's heating check.
#include <algorithm>
#include <array>
#include <vector>

#include "instrument/generation2004/analyser_2004.h"
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
constexpr int kMostUnanswered            = 2;
constexpr std::uint32_t kLeastSilence    = 1500;  // milliseconds
constexpr std::uint32_t kSpare           = 100;   // milliseconds: an answer that is due now takes a moment to come in

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

/// The reference as a number, by which a record tells its list.
std::uint64_t SourceOf(const Reference& reference) {
    std::uint64_t source = 0;
    for (const std::uint8_t byte : reference) source = (source << 8) | byte;
    return source;
}

void StoreResult(ChannelTable& table, std::uint64_t source, const Entry& entry, float value) {
    ChannelRecord record = {.view_ident = entry.view_ident,
                            .unit       = entry.unit,
                            .resolution = entry.resolution,
                            .value_type = kNumber,
                            .value      = value,
                            .source     = source};
    platform::FormatText(record.label, L"ID_%04X", entry.view_ident);
    AppendRecord(table, record);
}

std::vector<Entry> TakeEntries(const Conversation2004& talk) {
    std::vector<Entry> entries;
    for (std::size_t index = 0; index < talk.RecordCount(kEntrySize); ++index) {
        const ByteView entry = talk.Record(index, kEntrySize);
        entries.push_back({.view_ident = entry.Long(0), .unit = entry.Word(4), .resolution = entry.Byte(6)});
    }
    return entries;
}

/// One read of the heating check. All its requests have the same code, and only that code stands in an answer: a late answer
/// would pass for that to the next request. So when an answer is missing or damaged, nothing more is asked until the line has been
/// silent for a little more than twice its time-out; what comes meanwhile is thrown away. A link that has failed itself ends the
/// read, and so do a stop and two lists in a row that get no answer: nobody is there any more.
class HeatingCheckReader {
public:
    HeatingCheckReader(Session& session, const ChannelTable& earlier, ChannelTable& results)
        : link_(*session.link), talk_(session), earlier_(earlier), results_(results) {}

    std::uint32_t Read();

private:
    bool Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms = kAnswerTimeout);
    [[nodiscard]] bool GetInStep(std::uint32_t timeout_ms);
    [[nodiscard]] bool ReadList(const Reference& reference);
    void KeepList(const Reference& reference);

    Link& link_;
    Conversation2004 talk_;
    const ChannelTable& earlier_;
    ChannelTable& results_;
    bool is_ended_  = false;
    int unanswered_ = 0;  // lists in a row
};

std::uint32_t HeatingCheckReader::Read() {
    if (!Ask(kOpenHeatingCheckList, kShortTimeout)) return kTransportFailure;
    if (talk_.Answer().Size() != kOpenAnswerSize) return kBadAnswer;

    const auto list_command = BlockCommand<9>(kReadViewList, talk_.Payload().Bytes());
    if (!Ask(list_command, kShortTimeout)) return kTransportFailure;
    if (talk_.Answer().Size() < kShortestViewList) return kDone;

    for (const Reference& reference : FindReferences(talk_.Answer())) {
        if (IsFull(results_)) break;  // nothing more could be stored
        if (is_ended_ || !ReadList(reference)) KeepList(reference);
        unanswered_ = talk_.Status() == LinkStatus::kTimeOut ? unanswered_ + 1 : 0;
        if (unanswered_ == kMostUnanswered) is_ended_ = true;
    }
    return kDone;
}

/// What was read earlier of a list that cannot be read now.
void HeatingCheckReader::KeepList(const Reference& reference) {
    const std::uint64_t source = SourceOf(reference);
    if (std::ranges::find(results_, source, &ChannelRecord::source) != results_.end()) return;
    for (const ChannelRecord& record : UsedRecords(earlier_)) {
        if (record.source == source) AppendRecord(results_, record);
    }
}

bool HeatingCheckReader::Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms) {
    if (talk_.Ask(command, timeout_ms)) return true;
    is_ended_ = !GetInStep(timeout_ms);
    return false;
}

/// After a question that failed: true once the next one can be asked.
bool HeatingCheckReader::GetInStep(std::uint32_t timeout_ms) {
    switch (talk_.Status()) {
        case LinkStatus::kOk: return true;  // refused, but answered
        case LinkStatus::kDriverFailed:
        case LinkStatus::kNotOpen:
        case LinkStatus::kStopped: return false;
        default: return link_.WaitForSilence(std::max(2 * timeout_ms, kLeastSilence) + kSpare);
    }
}

/// Reads one result list: its header, its quantities, and its records with one value for each quantity. False when that fails,
/// which ends this list alone; a list whose header is too short is read, and empty.
bool HeatingCheckReader::ReadList(const Reference& reference) {
    if (!Ask(BlockCommand<9>(kReadHeader, reference))) return false;
    if (talk_.Answer().Size() < kShortestHeader) return true;
    const std::uint16_t record_count = talk_.Answer().Word(kRecordCountOffset);

    if (!Ask(BlockCommand<9>(kReadEntries, reference))) return false;
    const std::vector<Entry> entries = TakeEntries(talk_);

    auto read_records = BlockCommand<13>(kReadRecords, reference);
    read_records[11]  = static_cast<std::uint8_t>(record_count);
    if (!Ask(read_records)) return false;
    if (record_count == 0 || entries.empty()) return true;

    const std::size_t values = std::min(talk_.RecordCount(kValueSize), std::size_t{record_count} * entries.size());
    for (std::size_t index = 0; index < values; ++index) {
        const ByteView value = talk_.Record(index, kValueSize);
        const Entry& entry   = entries[index % entries.size()];
        if (value.Long(0) != kNoValueMark && entry.view_ident != kFreeRecord)
            StoreResult(results_, SourceOf(reference), entry, value.Single(0));
    }
    return true;
}

}  // namespace

std::uint32_t Analyser2004::ReadHeatingCheck(ChannelTable& heating_check) {
    ChannelTable results{};
    const std::uint32_t result = HeatingCheckReader(session_, heating_check, results).Read();
    if (result == kDone) heating_check = results;
    return result;
}

}  // namespace nelto
