#include "instrument/generation2010/values.h"

#include <algorithm>
#include <bit>

#include "instrument/generation2010/device_call.h"
#include "instrument/generation2010/ident_translation.h"

namespace nelto {
namespace {

constexpr std::uint32_t kAllValues = 0;

void UpdateChannel(std::uint32_t view_ident, const ValueRecord2010& record, ChannelTable& channels) {
    const auto channel = std::ranges::find_if(channels, [&](const ChannelRecord& candidate) {
        return candidate.view_ident == view_ident && candidate.unit == record.unit;
    });
    if (channel == channels.end()) return;
    channel->resolution = record.resolution;
    TakeValue2010(record, *channel);
}

}  // namespace

std::uint32_t ReadCurrentValues(const InstrumentConnection& connection, RecordArray& records) {
    RoomyNumber2010<std::uint32_t> count;
    const std::uint32_t count_error =
        CallDevice(connection, library::kGetNumberOfCurrentViewValues, kAllValues, &count);
    if (count_error != 0) {
        connection.log.WriteF(L"NELTO760SPI_GetNumberOfCurrentViewValues: Error code %d", count_error);
        return kBadAnswer;
    }
    connection.log.WriteF(L"Number of online channels %u", count.value);
    if (!records.Allocate(count.value)) {
        connection.log.Write(L"More online channels than any analyser has");
        return kBadAnswer;
    }
    Unread2010 header{};
    const std::uint32_t error = CallDevice(connection, library::kGetCurrentViewValues, kAllValues, header.data(),
                                           records.Data(), records.Count());
    if (error == 0) return kDone;
    connection.log.WriteF(L"NELTO760SPI_GetCurrentViewValues: Error code %d", error);
    return kBadAnswer;
}

std::uint32_t GetOnlineValues2010(const InstrumentConnection& connection, ChannelTable& channels) {
    RecordArray records;
    const std::uint32_t result = ReadCurrentValues(connection, records);
    if (result != kDone) return result;
    for (const ValueRecord2010& record : records.Records()) {
        const std::uint32_t view_ident = ViewIdentOf(record.ident);
        if (view_ident == kFreeRecord) break;  // ends the pass: whatever stands behind it is not looked at
        connection.log.WriteF(L"New Online Value: ViewIdent %08X, Value %f", std::uint32_t{record.ident},
                              static_cast<double>(std::bit_cast<float>(std::uint32_t{record.value})));
        UpdateChannel(view_ident, record, channels);
    }
    return kDone;
}

}  // namespace nelto
