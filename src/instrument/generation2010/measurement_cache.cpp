#include "instrument/generation2010/measurement_cache.h"

#include "instrument/generation2010/device_call.h"
#include "instrument/generation2010/value_records.h"

namespace nelto {
namespace {

std::uint32_t AddPosition(Session& session, std::uint32_t position, const TextMapper& texts, TableBuilder& channels) {
    const BaseLog& log = session.log;
    RoomyNumber2010<std::uint32_t> number;
    if (CallDevice(session, library::kGetMeasCacheNumberOfValues, position, &number) != 0) {
        return session.Failed(L"Invalid response GetMeasCacheNumberOfValues");
    }
    const std::uint32_t count = number.value;
    log.WriteF(L"MeasCache Position %u, number of values %u", position, count);

    RecordArray records;
    Unread2010 header{};
    if (!records.Allocate(count) || CallDevice(session, library::kGetMeasCacheValues, position, header.data(),
                                               records.Data(), records.Count()) != 0) {
        return session.Failed(L"Invalid response GetMeasCacheValues");
    }
    for (const ValueRecord2010& record : records.Records()) AddRecord2010(record, texts, log, channels);
    return kDone;
}

}  // namespace

std::uint32_t GetMeasCache(Session& session, const TextMapper& texts, TableBuilder& channels) {
    RoomyNumber2010<std::uint32_t> counter;
    if (CallDevice(session, library::kGetMeasCacheCounter, &counter) != 0) {
        return session.Failed(L"Invalid response GetMeasCacheCounter");
    }
    const std::uint32_t positions = counter.value & 0xFF;  // the number is one byte, whatever stands behind it
    session.log.WriteF(L"MeasCache Counter %u", positions);
    for (std::uint32_t position = 0; position < positions; ++position) {
        if (session.StopRequested()) return kBadAnswer;
        const std::uint32_t result = AddPosition(session, position, texts, channels);
        if (result != kDone) return result;
    }
    return kDone;
}

}  // namespace nelto
