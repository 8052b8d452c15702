#include "core/acquisition_worker.h"

#include "core/labels.h"
#include "platform/clock.h"

namespace nelto {
namespace {

constexpr int kPausePasses               = 10;
constexpr std::uint32_t kPausePassLength = 100;  // milliseconds

enum class Next : std::uint8_t { kSearchAgain, kReadValues, kEnd };

/// Waits about a second; false as soon as a stop is requested.
bool Pause(const ProgramState& state) {
    for (int pass = 0; pass < kPausePasses; ++pass) {
        if (state.stop_request != 0) return false;
        platform::SleepMilliseconds(kPausePassLength);
    }
    return true;
}

/// Every failure of an open connection ends here: close, wait a second, search again. A stop during the wait closes the
/// same connection once more, which close puts up with.
Next GiveUp(const ProgramState& state, Instrument& instrument) {
    instrument.Close();
    if (Pause(state)) return Next::kSearchAgain;
    instrument.Close();
    return Next::kEnd;
}

void Announce(ProgramState& state, const Instrument& instrument) {
    state.instrument_kind = instrument.Kind();
    state.sub_type        = instrument.SubType();
    // After a failure status 3 or 4 stays until values arrive again.
    if (state.status == kSearching) state.status = kReading;
}

/// Reads into the worker's copy of the measurement. A read that a stop request cut short is dropped, so that what the user
/// accepts is the last whole one. One that fails leaves what it has read so far, on purpose.
std::uint32_t ReadWhole(ProgramState& state, Measurement& measurement, Instrument& instrument,
                        std::uint32_t (Instrument::*read)(ChannelTable&)) {
    const ChannelTable before  = measurement.tables.channels;
    const std::uint32_t result = (instrument.*read)(measurement.tables.channels);
    if (result != 0 && state.stop_request != 0) measurement.tables.channels = before;
    return result;
}

std::uint32_t ReadConfiguration(ProgramState& state, Instrument& instrument) {
    Measurement measurement = state.measurement.BeginUpdate();
    instrument.SetActiveFuel(state.fuel_choice);
    const std::uint32_t result = ReadWhole(state, measurement, instrument, &Instrument::ReadConfiguration);
    if (result == 0) LabelChannelTable(measurement, state.oil_fuel);
    state.measurement.EndUpdate(measurement);
    return result;
}

/// A new list replaces the earlier one; where none came, or a stop cut it short, the earlier one stays.
void ReadHeatingCheck(ProgramState& state, Instrument& instrument) {
    ChannelTable results{};
    const bool is_read      = state.heating_check != 0 && instrument.ReadHeatingCheck(results);
    Measurement measurement = state.measurement.Copy();
    if (is_read && state.stop_request == 0) measurement.tables.heating_check = results;
    LabelHeatingCheckTable(measurement.tables.heating_check);
    state.measurement.Replace(measurement);
}

Next ReadValuesOnce(ProgramState& state, Instrument& instrument) {
    if (state.stop_request != 0) {
        instrument.Close();
        return Next::kEnd;
    }
    Measurement measurement    = state.measurement.BeginUpdate();
    const std::uint32_t result = ReadWhole(state, measurement, instrument, &Instrument::ReadValues);
    state.measurement.EndUpdate(measurement);
    if (result != 0) {
        state.status = result == kZeroing ? kNoValidValues : kBroken;
        return GiveUp(state, instrument);
    }
    state.status = kValuesAvailable;
    Pause(state);  // a stop during it is seen at the start of the next read
    return Next::kReadValues;
}

/// One connection from open to close.
Next SearchOnce(ProgramState& state, OpenInstrument open) {
    const char* error                            = "";
    const std::unique_ptr<Instrument> instrument = open(state.communication, state.stop_request, error);
    state.last_error                             = error;
    if (instrument == nullptr) return Pause(state) ? Next::kSearchAgain : Next::kEnd;
    if (state.stop_request != 0) {
        instrument->Close();
        return Next::kEnd;
    }
    Announce(state, *instrument);
    if (ReadConfiguration(state, *instrument) != 0) return GiveUp(state, *instrument);
    ReadHeatingCheck(state, *instrument);
    Next next = Next::kReadValues;
    while (next == Next::kReadValues) next = ReadValuesOnce(state, *instrument);
    return next;
}

}  // namespace

std::uint32_t AcquisitionWorker(ProgramState& state, OpenInstrument open) {
    state.status = kSearching;
    if (state.stop_request != 0) return 0;
    while (SearchOnce(state, open) != Next::kEnd && state.stop_request == 0) {}
    return 0;
}

}  // namespace nelto
