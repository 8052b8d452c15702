// Everything that the dialog thread and the acquisition worker share, and what the program keeps from its start.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "core/instrument.h"
#include "platform/lock.h"

namespace nelto {

enum AcquisitionStatus : std::uint32_t {
    kSearching       = 0,
    kReading         = 1,
    kValuesAvailable = 2,
    kBroken          = 3,
    kNoValidValues   = 4,
};

constexpr std::int32_t kNoFuelChoice = -1;

/// What the worker shows of an analyser, handed over whole.
struct Measurement {
    MeasurementTables tables;
    std::array<wchar_t, 256> device_name{};
    std::uint32_t version = 0;  // counts the hand-overs; kept by SharedMeasurement
};

/// The hand-over of the measurement between the two threads. The worker reads an analyser into a copy of its own and puts it
/// back whole, so that the dialog never sees a half-filled table; while a read is under way (the busy flag) the dialog
/// keeps away and comes back with its next tick.
class SharedMeasurement {
public:
    /// Worker: raises the busy flag and takes a copy to fill.
    [[nodiscard]] Measurement BeginUpdate();
    /// Worker: puts the copy back and lowers the busy flag.
    void EndUpdate(const Measurement& measurement);
    /// Worker, or the dialog once the worker has ended: takes a copy, and puts one back, outside an update.
    [[nodiscard]] Measurement Copy() const;
    void Replace(const Measurement& measurement);

    /// Dialog: takes a copy; false, and nothing taken, while the busy flag is raised.
    [[nodiscard]] bool Read(Measurement& copy) const;
    /// Dialog: puts an edited copy back; false, and nothing changed, while the busy flag is raised or when the worker has
    /// put back another one since `copy` was read.
    [[nodiscard]] bool Edit(const Measurement& copy);
    /// Either: the instrument name alone, whatever the worker does.
    [[nodiscard]] std::array<wchar_t, 256> DeviceName() const;
    /// Either: the busy flag.
    [[nodiscard]] bool Busy() const { return busy_ != 0; }

private:
    void Store(const Measurement& measurement);

    mutable platform::ShortLock lock_;
    std::atomic<std::uint32_t> busy_{0};
    Measurement current_;
};

/// The one program-wide state. Every shared word is a lock-free atomic.
struct ProgramState {
    // Written by the dialog.
    std::atomic<std::uint32_t> stop_request{0};
    std::atomic<std::uint32_t> communication{kUsb};
    std::atomic<std::uint32_t> heating_check{0};
    std::atomic<std::uint32_t> serial_output{0};
    std::atomic<std::uint32_t> serial_output_port{1};

    // Written by the worker; the dialog sets the status to 0 before the start.
    std::atomic<std::uint32_t> status{kSearching};
    std::atomic<std::uint32_t> instrument_kind{kKind710};
    std::atomic<std::uint32_t> sub_type{0};
    std::atomic<std::uint32_t> oil_fuel{0};
    std::atomic<const char*> last_error{""};
    SharedMeasurement measurement;

    // Set at start, before the worker runs, and never again.
    std::int32_t fuel_choice  = kNoFuelChoice;
    wchar_t decimal_separator = L'.';
    std::wstring caller_word;
    std::array<wchar_t, 128> exchange_file{};
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free && std::atomic<const char*>::is_always_lock_free);

}  // namespace nelto
