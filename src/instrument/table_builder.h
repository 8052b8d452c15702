// A channel table under construction.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/channel_table.h"
#include "platform/wide_text.h"

namespace nelto {

[[nodiscard]] inline ChannelRecord NumberRecord(std::uint32_t view_ident, std::uint32_t unit, const wchar_t* label,
                                                float value) {
    ChannelRecord record = {
        .view_ident = view_ident, .unit = unit, .resolution = kOneDecimal, .value_type = kNumber, .value = value};
    platform::CopyText(record.label, label);
    return record;
}

[[nodiscard]] inline ChannelRecord TextRecord(std::uint32_t view_ident, std::uint32_t unit, const wchar_t* label,
                                              std::wstring_view text) {
    ChannelRecord record = {.view_ident = view_ident, .unit = unit, .value_type = kText};
    platform::CopyText(record.label, label);
    platform::CopyText(record.text, text);
    return record;
}

/// Clears a table and adds records behind one another, never more than `capacity`. A record counts by its place, whatever its ident.
class TableBuilder {
public:
    /// Free records carry `label`.
    TableBuilder(ChannelTable& table, std::size_t capacity, const wchar_t* label) : table_(table), capacity_(capacity) {
        for (ChannelRecord& record : table_) {
            record = {};
            platform::CopyText(record.label, label);
        }
    }

    [[nodiscard]] std::size_t Count() const { return count_; }
    [[nodiscard]] bool IsFull() const { return count_ >= capacity_; }
    [[nodiscard]] bool Holds(std::uint32_t view_ident, std::uint32_t unit) const {
        return std::ranges::any_of(std::span(table_).first(count_), [&](const ChannelRecord& record) {
            return record.view_ident == view_ident && record.unit == unit;
        });
    }

    /// A full table drops the record.
    void Add(const ChannelRecord& record) {
        if (!IsFull()) table_[count_++] = record;
    }
    /// The next record, with the label of a free one; null when the table is full.
    ChannelRecord* Add(std::uint32_t view_ident, std::uint32_t unit) {
        if (IsFull()) return nullptr;
        ChannelRecord& record = table_[count_++];
        record.view_ident     = view_ident;
        record.unit           = unit;
        return &record;
    }

private:
    ChannelTable& table_;
    std::size_t capacity_;
    std::size_t count_ = 0;
};

}  // namespace nelto
