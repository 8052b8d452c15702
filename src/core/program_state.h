// Everything that the dialog thread and the acquisition worker share, and what the program keeps from its start.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "core/instrument.h"
#include "core/measurement.h"

namespace nelto {

enum AcquisitionStatus : std::uint32_t {
    kSearching       = 0,
    kReading         = 1,
    kValuesAvailable = 2,
    kBroken          = 3,
    kNoValidValues   = 4,
};

constexpr std::int32_t kNoFuelChoice = -1;

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
    std::atomic<const char*> last_error{""};
    std::atomic<Obstacle> obstacle{Obstacle::kNone};
    SharedMeasurement measurement;

    // Set at start, before the worker runs, and never again.
    std::int32_t fuel_choice  = kNoFuelChoice;
    wchar_t decimal_separator = L'.';
    std::wstring caller_word;
    std::array<wchar_t, 128> exchange_file{};
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free && std::atomic<const char*>::is_always_lock_free &&
              std::atomic<Obstacle>::is_always_lock_free);

}  // namespace nelto
