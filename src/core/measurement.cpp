#include "core/measurement.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "platform/wide_text.h"

namespace nelto {

void TakeSpecialChannels(Measurement& measurement) {
    for (const ChannelRecord& record : measurement.channels) {
        if (record.view_ident == kFuel) measurement.oil_fuel = record.value == 1.0F;
        if (record.view_ident == kDevice) platform::CopyText(measurement.device_name, platform::TextIn(record.text));
    }
}

AnalyserIdentity IdentityOf(const Measurement& measurement) {
    const auto record = std::ranges::find(measurement.channels, kSerialNumber, &ChannelRecord::view_ident);
    const auto serial = record == measurement.channels.end() ? std::wstring_view() : platform::TextIn(record->text);
    return {.kind          = measurement.kind,
            .device_name   = std::wstring(platform::TextIn(measurement.device_name)),
            .serial_number = std::wstring(serial)};
}

Measurement SharedMeasurement::Copy() const {
    const std::scoped_lock guard(lock_);
    return current_;
}

void SharedMeasurement::Publish(const Measurement& measurement) {
    const std::scoped_lock guard(lock_);
    Store(measurement);
}

bool SharedMeasurement::Edit(const Measurement& copy) {
    const std::scoped_lock guard(lock_);
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
