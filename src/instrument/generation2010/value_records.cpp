#include "instrument/generation2010/value_records.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>

#include "instrument/generation2010/library_functions.h"
#include "instrument/generation2010/translation.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::uint32_t kAllValues = 0;

constexpr std::uint32_t kMostRecords = 4096;

constexpr std::array<std::uint32_t, 8> kStatusWords = {128, 129, 130, 131, 132, 133, 138, 0xFFFFFFFF};

/// Label of a new channel; empty when the text mapper has no name for it.
void MakeLabel(std::uint32_t ident_2010, const TextMapper& texts, std::span<wchar_t> label) {
    if (texts.HasViewTexts()) {
        platform::CopyText(label, texts.ViewText(ident_2010));
    } else {
        platform::FormatText(label, L"Id%u", ident_2010);
    }
}

}  // namespace

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

void AddRecord2010(const ValueRecord2010& record, const TextMapper& texts, const BaseLog& log, TableBuilder& channels) {
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

void UpdateChannel2010(std::uint32_t view_ident, const ValueRecord2010& record, ChannelTable& channels) {
    const auto channel = std::ranges::find_if(channels, [&](const ChannelRecord& candidate) {
        return candidate.view_ident == view_ident && candidate.unit == record.unit;
    });
    if (channel == channels.end()) return;
    channel->resolution = record.resolution;
    TakeValue2010(record, *channel);
}

std::uint32_t ReadCurrentValues(Session& session, RecordArray& records) {
    RoomyNumber2010<std::uint32_t> count;
    const std::uint32_t count_error = CallDevice(session, library::kGetNumberOfCurrentViewValues, kAllValues, &count);
    if (count_error != 0) {
        return session.Failed(L"NELTO760SPI_GetNumberOfCurrentViewValues: Error code %d", count_error);
    }
    session.log.WriteF(L"Number of online channels %u", count.value);
    if (!records.Allocate(count.value)) return session.Failed(L"More online channels than any analyser has");
    Unread2010 header{};
    const std::uint32_t error =
        CallDevice(session, library::kGetCurrentViewValues, kAllValues, header.data(), records.Data(), records.Count());
    return error == 0 ? std::uint32_t{kDone}
                      : session.Failed(L"NELTO760SPI_GetCurrentViewValues: Error code %d", error);
}

}  // namespace nelto
