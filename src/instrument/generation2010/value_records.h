// Value records of the maker's libraries, and the rules by which one becomes a channel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "core/channel_table.h"
#include "diag/trace_log.h"
#include "instrument/generation2010/library_records.h"
#include "instrument/generation2010/text_mapper.h"
#include "instrument/session.h"
#include "instrument/table_builder.h"

namespace nelto {

/// Records that a channel table takes from an analyser of generation 2010; the last one stays free.
constexpr std::size_t kMostChannels2010 = 63;

/// Room for the records that a library announces. More than 4096 are refused.
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
void AddRecord2010(const ValueRecord2010& record, const TextMapper& texts, const BaseLog& log, TableBuilder& channels);

/// Reads the records of all current values. Returns kDone or kBadAnswer, the latter also for a number of values that is refused.
/// Worker thread.
[[nodiscard]] std::uint32_t ReadCurrentValues(Session& session, RecordArray& records);

/// Gives the channel that holds this quantity and unit, if there is one, the record's resolution and value.
void UpdateChannel2010(std::uint32_t view_ident, const ValueRecord2010& record, ChannelTable& channels);

}  // namespace nelto
