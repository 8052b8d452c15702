#include "instrument/generation2004/values.h"

#include <algorithm>

#include "instrument/generation2004/exchange.h"

namespace nelto {
namespace {

std::uint32_t Failed(const InstrumentConnection& connection, const wchar_t* text) {
    connection.log.Write(text);
    return kBadAnswer;
}

/// A channel without a value keeps its last number and resolution.
void TakeValue(const ByteView& value_record, ChannelRecord& channel) {
    if (value_record.Long(4) == kNoValueMark) {
        channel.value_type = kNoValue;
        return;
    }
    channel.value_type = kNumber;
    channel.value      = value_record.Single(4);
    channel.resolution = value_record.Byte(10);
}

}  // namespace

std::uint32_t Nelto780GetOnlineValues2004(const InstrumentConnection& connection, ChannelTable& channels) {
    Conversation2004 talk(connection);
    connection.log.Write(L"Nelto780GetOnlineValues2004 begin");

    if (!talk.Ask(kGetMeasZeroFlag)) {
        return Failed(connection, L"Nelto780GetOnlineValues2004 error GET_MEAS_ZEROFLAG (null)");
    }
    if (!talk.Answer().Covers(4, 1)) {
        return Failed(connection, L"Nelto780GetOnlineValues2004 error GET_MEAS_ZEROFLAG (length)");
    }
    if (talk.Answer().Byte(4) == 0) {
        connection.log.Write(L"Nelto780GetOnlineValues2004: zeroing");
        return kNoValuesZeroing;
    }

    if (!talk.Ask(kGetMeasConfig)) {
        return Failed(connection, L"Nelto780GetOnlineValues2004 error get MeasConfig");
    }
    if (talk.Answer().Size() != kMeasConfigAnswer) {
        return Failed(connection, L"Nelto780GetOnlineValues2004 error 6");
    }
    if (!talk.Ask(talk.Answer().Byte(4) == kMeasConfig4 ? kReadValuesConfig4 : kReadValues)) {
        return Failed(connection, L"Nelto780GetOnlineValues2004 error 7");
    }

    const std::size_t count = std::min(talk.RecordCount(kValueRecordSize), channels.size());
    for (std::size_t index = 0; index < count; ++index) {
        TakeValue(talk.Record(index, kValueRecordSize), channels[index]);
    }
    connection.log.Write(L"Nelto780GetOnlineValues2004 end");
    return kDone;
}

}  // namespace nelto
