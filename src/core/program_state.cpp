#include "core/program_state.h"

namespace nelto {

using platform::ShortLockGuard;

Measurement SharedMeasurement::BeginUpdate() {
    const ShortLockGuard guard(lock_);
    busy_ = 1;
    return current_;
}

void SharedMeasurement::EndUpdate(const Measurement& measurement) {
    const ShortLockGuard guard(lock_);
    Store(measurement);
    busy_ = 0;
}

Measurement SharedMeasurement::Copy() const {
    const ShortLockGuard guard(lock_);
    return current_;
}

void SharedMeasurement::Replace(const Measurement& measurement) {
    const ShortLockGuard guard(lock_);
    Store(measurement);
}

bool SharedMeasurement::Read(Measurement& copy) const {
    const ShortLockGuard guard(lock_);
    if (Busy()) return false;
    copy = current_;
    return true;
}

bool SharedMeasurement::Edit(const Measurement& copy) {
    const ShortLockGuard guard(lock_);
    if (Busy() || copy.version != current_.version) return false;
    Store(copy);
    return true;
}

std::array<wchar_t, 256> SharedMeasurement::DeviceName() const {
    const ShortLockGuard guard(lock_);
    return current_.device_name;
}

void SharedMeasurement::Store(const Measurement& measurement) {
    const std::uint32_t version = current_.version + 1;
    current_                    = measurement;
    current_.version            = version;
}

}  // namespace nelto
