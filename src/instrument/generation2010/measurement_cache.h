// Records of the maker's libraries as channels: the table that is being filled, and the rules by which a record enters it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "core/channel_table.h"
#include "diag/trace_log.h"
#include "instrument/generation2010/library_records.h"
#include "instrument/generation2010/text_mapper.h"

namespace nelto {

struct InstrumentConnection;

/// Records that a channel table takes from an analyser of generation 2010; the last one stays free.
constexpr std::size_t kMostChannels2010 = 63;

/// A channel table that is cleared and then filled from its first record on.
class ChannelFiller {
public:
    explicit ChannelFiller(ChannelTable& table) : table_(table) { table_ = {}; }

    [[nodiscard]] std::size_t Used() const { return used_; }
    [[nodiscard]] bool IsFull() const { return used_ >= kMostChannels2010; }
    [[nodiscard]] bool Holds(std::uint32_t view_ident, std::uint32_t unit) const;
    /// Appends the record; a full table drops it.
    void Add(const ChannelRecord& record);

private:
    ChannelTable& table_;
    std::size_t used_ = 0;
};

/// Room for the records that a library announces. A number that no analyser reaches is refused, whatever the library says.
class RecordArray {
public:
    /// False when the room is refused.
    [[nodiscard]] bool Allocate(std::uint32_t count);

    [[nodiscard]] std::uint32_t Count() const { return count_; }
    /// Never null after Allocate, also for a count of 0. What a library leaves out stays zero.
    [[nodiscard]] ValueRecord2010* Data() { return records_.get(); }
    [[nodiscard]] std::span<const ValueRecord2010> Records() const { return {records_.get(), count_}; }

private:
    std::unique_ptr<ValueRecord2010[]> records_;
    std::uint32_t count_ = 0;
};

/// True for a word that stands in the value field instead of a value.
[[nodiscard]] bool IsStatusWord(std::uint32_t value);

/// Takes value type and value over from a library record; with a status word the number stays as it is.
void TakeValue2010(const ValueRecord2010& record, ChannelRecord& channel);

/// Adds one library record under its translated ident, its label from the text mapper. Dropped are an ident of 0, a quantity and
/// unit that the table holds already, an empty label, and whatever finds the table full.
void AddRecord2010(const ValueRecord2010& record, const TextMapper& texts, const BaseLog& log, ChannelFiller& channels);

/// Adds all values of the analyser's measurement cache, position by position. Returns kDone or kBadAnswer; what was added before
/// an error stays. Worker thread.
[[nodiscard]] std::uint32_t GetMeasCache(const InstrumentConnection& connection, const TextMapper& texts,
                                         ChannelFiller& channels);

}  // namespace nelto
