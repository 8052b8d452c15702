#include "core/acquisition_worker.h"

#include "core/labels.h"
#include "platform/clock.h"

namespace nelto {
namespace {

constexpr int kPausePasses               = 10;
constexpr std::uint32_t kPausePassLength = 100;  // milliseconds

enum class Next : std::uint8_t { kSearchAgain, kReadValues, kEnd };

class Worker {
public:
    Worker(ProgramState& state, OpenInstrument open)
        : state_(state), open_(open), configured_(state.measurement.Copy()) {}

    /// One connection from open to close.
    Next SearchOnce();

private:
    [[nodiscard]] bool Pause() const;
    Next GiveUp(Instrument& instrument) const;
    void Announce(const Instrument& instrument);
    std::uint32_t ReadConfiguration(Instrument& instrument);
    void ReadHeatingCheck(Instrument& instrument);
    std::uint32_t ReadValues(Instrument& instrument);
    Next ReadValuesOnce(Instrument& instrument);

    ProgramState& state_;
    OpenInstrument open_;
    /// The analyser that was configured last. It is published with its first values, so that the last whole measurement stays
    /// until there is another one.
    Measurement configured_;
    bool is_published_ = false;
};

/// Waits about a second; false as soon as a stop is requested.
bool Worker::Pause() const {
    for (int pass = 0; pass < kPausePasses; ++pass) {
        if (state_.stop_request != 0) return false;
        platform::SleepMilliseconds(kPausePassLength);
    }
    return true;
}

/// Every failure of an open connection ends here: close, wait a second, search again. A stop during the wait closes the
/// same connection once more, which close puts up with.
Next Worker::GiveUp(Instrument& instrument) const {
    instrument.Close();
    if (Pause()) return Next::kSearchAgain;
    instrument.Close();
    return Next::kEnd;
}

void Worker::Announce(const Instrument& instrument) {
    state_.instrument_kind = instrument.Kind();
    state_.sub_type        = instrument.SubType();
    // After a failure status 3 or 4 stays until values arrive again.
    if (state_.status == kSearching) state_.status = kReading;
}

/// Starts from empty tables: nothing of another analyser is left in them. A configuration that fails or is cut short changes
/// nothing.
std::uint32_t Worker::ReadConfiguration(Instrument& instrument) {
    Measurement fresh{.kind = instrument.Kind(), .oil_fuel = configured_.oil_fuel};
    state_.measurement.SetBusy(true);
    instrument.SetActiveFuel(state_.fuel_choice);
    const std::uint32_t result = instrument.ReadConfiguration(fresh.channels);
    state_.measurement.SetBusy(false);
    if (result != 0) return result;
    LabelChannelTable(fresh.channels);
    TakeSpecialChannels(fresh);
    // Another analyser may have been configured meanwhile, without values.
    const AnalyserIdentity identity = IdentityOf(fresh);
    for (const Measurement& known : {state_.measurement.Copy(), configured_}) {
        // One without a serial number is never known again.
        if (!identity.serial_number.empty() && IdentityOf(known) == identity) fresh.heating_check = known.heating_check;
    }
    configured_   = fresh;
    is_published_ = false;
    return result;
}

void Worker::ReadHeatingCheck(Instrument& instrument) {
    if (state_.heating_check != 0) instrument.ReadHeatingCheck(configured_.heating_check);
    LabelHeatingCheckTable(configured_.heating_check);
}

/// Publishes what was read whole. A read that fails or is cut short changes nothing.
std::uint32_t Worker::ReadValues(Instrument& instrument) {
    state_.measurement.SetBusy(true);
    // What is published already may hold an edit of the dialog.
    Measurement measurement    = is_published_ ? state_.measurement.Copy() : configured_;
    const std::uint32_t result = instrument.ReadValues(measurement.channels);
    if (result == 0) state_.measurement.Publish(measurement);
    is_published_ |= result == 0;
    state_.measurement.SetBusy(false);
    return result;
}

Next Worker::ReadValuesOnce(Instrument& instrument) {
    if (state_.stop_request != 0) {
        instrument.Close();
        return Next::kEnd;
    }
    const std::uint32_t result = ReadValues(instrument);
    if (result != 0) {
        state_.status = result == kZeroing ? kNoValidValues : kBroken;
        return GiveUp(instrument);
    }
    state_.status = kValuesAvailable;
    static_cast<void>(Pause());  // a stop during it is seen at the start of the next read
    return Next::kReadValues;
}

Next Worker::SearchOnce() {
    OpenFailure failure;
    const std::unique_ptr<Instrument> instrument = open_(state_.communication, state_.stop_request, failure);
    state_.last_error                            = failure.text;
    state_.obstacle                              = failure.obstacle;
    if (instrument == nullptr) return Pause() ? Next::kSearchAgain : Next::kEnd;
    if (state_.stop_request != 0) {
        instrument->Close();
        return Next::kEnd;
    }
    Announce(*instrument);
    if (ReadConfiguration(*instrument) != 0) return GiveUp(*instrument);
    ReadHeatingCheck(*instrument);
    Next next = Next::kReadValues;
    while (next == Next::kReadValues) next = ReadValuesOnce(*instrument);
    return next;
}

}  // namespace

std::uint32_t AcquisitionWorker(ProgramState& state, OpenInstrument open) {
    state.status = kSearching;
    if (state.stop_request != 0) return 0;
    Worker worker(state, open);
    while (worker.SearchOnce() != Next::kEnd && state.stop_request == 0) {}
    return 0;
}

}  // namespace nelto
