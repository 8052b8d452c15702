#include "core/channel_table.h"

#include <algorithm>

namespace nelto {
namespace {

std::size_t UsedCount(const ChannelTable& table) {
    const auto end = std::ranges::find(table, std::uint32_t{kFreeRecord}, &ChannelRecord::view_ident);
    return static_cast<std::size_t>(end - table.begin());
}

}  // namespace

std::span<const ChannelRecord> UsedRecords(const ChannelTable& table) {
    return std::span(table).first(UsedCount(table));
}

std::span<ChannelRecord> UsedRecords(ChannelTable& table) { return std::span(table).first(UsedCount(table)); }

bool IsFull(const ChannelTable& table) { return UsedCount(table) == table.size(); }

void AppendRecord(ChannelTable& table, const ChannelRecord& record) {
    const std::size_t used = UsedCount(table);
    if (used < table.size()) table[used] = record;
}

}  // namespace nelto
