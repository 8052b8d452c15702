#include "instrument/generation2010/measurement_cache.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>

#include "instrument/generation2010/device_call.h"
#include "instrument/generation2010/ident_translation.h"
#include "instrument/instrument_connection.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

/// Far beyond what an analyser measures or remembers.
constexpr std::uint32_t kMostRecords = 4096;

constexpr std::array<std::uint32_t, 8> kStatusWords = {128, 129, 130, 131, 132, 133, 138, 0xFFFFFFFF};

std::uint32_t Failed(const BaseLog& log, const wchar_t* text) {
    log.Write(text);
    return kBadAnswer;
}

/// Label of a new channel; empty when the text mapper has no name for it.
void MakeLabel(std::uint32_t ident_2010, const TextMapper& texts, std::span<wchar_t> label) {
    if (texts.HasViewTexts()) {
        platform::CopyText(label, texts.ViewText(ident_2010));
    } else {
        platform::FormatText(label, L"Id%u", ident_2010);
    }
}

std::uint32_t AddPosition(const InstrumentConnection& connection, std::uint32_t position, const TextMapper& texts,
                          ChannelFiller& channels) {
    const BaseLog& log = connection.log;
    RoomyNumber2010<std::uint32_t> number;
    if (CallDevice(connection, library::kGetMeasCacheNumberOfValues, position, &number) != 0) {
        return Failed(log, L"Invalid response GetMeasCacheNumberOfValues");
    }
    const std::uint32_t count = number.value;
    log.WriteF(L"MeasCache Position %u, number of values %u", position, count);

    RecordArray records;
    Unread2010 header{};
    if (!records.Allocate(count) || CallDevice(connection, library::kGetMeasCacheValues, position, header.data(),
                                               records.Data(), records.Count()) != 0) {
        return Failed(log, L"Invalid response GetMeasCacheValues");
    }
    for (const ValueRecord2010& record : records.Records()) AddRecord2010(record, texts, log, channels);
    return kDone;
}

}  // namespace

bool ChannelFiller::Holds(std::uint32_t view_ident, std::uint32_t unit) const {
    return std::ranges::any_of(std::span(table_).first(used_), [&](const ChannelRecord& channel) {
        return channel.view_ident == view_ident && channel.unit == unit;
    });
}

void ChannelFiller::Add(const ChannelRecord& record) {
    if (!IsFull()) table_[used_++] = record;
}

bool RecordArray::Allocate(std::uint32_t count) {
    if (count > kMostRecords) return false;
    records_.reset(new (std::nothrow) ValueRecord2010[count + 1]());
    count_ = records_ == nullptr ? 0 : count;
    return records_ != nullptr;
}

bool IsStatusWord(std::uint32_t value) { return std::ranges::find(kStatusWords, value) != kStatusWords.end(); }

void TakeValue2010(const ValueRecord2010& record, ChannelRecord& channel) {
    channel.value_type = kNoValue;
    if (IsStatusWord(record.value)) return;
    channel.value_type = kNumber;
    channel.value      = std::bit_cast<float>(std::uint32_t{record.value});
}

void AddRecord2010(const ValueRecord2010& record, const TextMapper& texts, const BaseLog& log,
                   ChannelFiller& channels) {
    ChannelRecord channel = {
        .view_ident = ViewIdentOf(record.ident), .unit = record.unit, .resolution = record.resolution};
    if (channel.view_ident == kFreeRecord || channels.Holds(channel.view_ident, channel.unit) || channels.IsFull())
        return;
    MakeLabel(record.ident, texts, channel.label);
    if (channel.label.front() == L'\0') return;
    TakeValue2010(record, channel);
    log.WriteF(L"ViewIdent %08X, Ident2010 %08x, Unit %u, Type %u, Value %f Ident %ls", channel.view_ident,
               record.ident, channel.unit, channel.value_type, static_cast<double>(channel.value),
               channel.label.data());
    channels.Add(channel);
}

std::uint32_t GetMeasCache(const InstrumentConnection& connection, const TextMapper& texts, ChannelFiller& channels) {
    RoomyNumber2010<std::uint32_t> counter;
    if (CallDevice(connection, library::kGetMeasCacheCounter, &counter) != 0) {
        return Failed(connection.log, L"Invalid response GetMeasCacheCounter");
    }
    const std::uint32_t positions = counter.value & 0xFF;  // the number is one byte, whatever stands behind it
    connection.log.WriteF(L"MeasCache Counter %u", positions);
    for (std::uint32_t position = 0; position < positions; ++position) {
        if (connection.StopRequested()) return kBadAnswer;
        const std::uint32_t result = AddPosition(connection, position, texts, channels);
        if (result != kDone) return result;
    }
    return kDone;
}

}  // namespace nelto
