#include "core/measurement.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/wide_text.h"

namespace nelto {
namespace {

using platform::ShortLockGuard;

std::wstring_view SerialNumberOf(const Measurement& measurement) {
    const auto records = UsedRecords(measurement.channels);
    const auto record  = std::ranges::find(records, kSerialNumber, &ChannelRecord::view_ident);
    return record == records.end() ? std::wstring_view() : platform::TextIn(record->text);
}

void Append(ChannelTable& table, std::span<const ChannelRecord> records) {
    for (const ChannelRecord& record : records) AppendRecord(table, record);
}

/// Up to and with the last record of the quantity; empty when there is none.
std::span<const ChannelRecord> UpToLast(std::uint32_t view_ident, std::span<const ChannelRecord> records) {
    std::size_t count = records.size();
    while (count > 0 && records[count - 1].view_ident != view_ident) --count;
    return records.first(count);
}

}  // namespace

void TakeSpecialChannels(Measurement& measurement) {
    for (const ChannelRecord& record : measurement.channels) {
        if (record.view_ident == kFuel) measurement.oil_fuel = record.value == 1.0F;
        if (record.view_ident == kDevice) platform::CopyText(measurement.device_name, platform::TextIn(record.text));
    }
}

bool IsSameAnalyser(const Measurement& measurement, const Measurement& other) {
    return measurement.kind == other.kind &&
           platform::TextIn(measurement.device_name) == platform::TextIn(other.device_name) &&
           SerialNumberOf(measurement) == SerialNumberOf(other);
}

void ReplaceResults(ChannelTable& results, const ChannelTable& brought) {
    const ChannelTable earlier = results;
    const auto all_brought     = UsedRecords(brought);
    auto left                  = all_brought;
    results                    = {};
    for (const ChannelRecord& record : UsedRecords(earlier)) {
        if (UpToLast(record.view_ident, all_brought).empty()) {
            Append(results, {&record, 1});
            continue;
        }
        const auto next = UpToLast(record.view_ident, left);
        Append(results, next);
        left = left.subspan(next.size());
    }
    Append(results, left);
}

Measurement SharedMeasurement::Copy() const {
    const ShortLockGuard guard(lock_);
    return current_;
}

void SharedMeasurement::Publish(const Measurement& measurement) {
    const ShortLockGuard guard(lock_);
    Store(measurement);
}

bool SharedMeasurement::Edit(const Measurement& copy) {
    const ShortLockGuard guard(lock_);
    if (Busy() || copy.version != current_.version) return false;
    Store(copy);
    return true;
}

void SharedMeasurement::Store(const Measurement& measurement) {
    const std::uint32_t version = current_.version + 1;
    current_                    = measurement;
    current_.version            = version;
}

}  // namespace nelto
