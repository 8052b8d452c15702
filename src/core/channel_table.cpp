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

ChannelRecord* FirstFreeRecord(ChannelTable& table) {
    const std::size_t used = UsedCount(table);
    return used < table.size() ? &table[used] : nullptr;
}

}  // namespace nelto
