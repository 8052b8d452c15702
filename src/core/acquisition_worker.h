// The one background thread: search, open, configure, read values once a second, search again after a failure.
#pragma once

#include <cstdint>
#include <memory>

#include "core/channel_table.h"
#include "core/program_state.h"

namespace nelto {

/// Result of a value read by an analyser that is zeroing its sensors; every other non-zero result is a broken connection.
constexpr std::uint32_t kZeroing = 6;

/// What the worker asks of an open analyser. All calls come from the worker thread and return 0 on success.
class Instrument {
public:
    virtual ~Instrument()                    = default;
    Instrument()                             = default;
    Instrument(const Instrument&)            = delete;
    Instrument& operator=(const Instrument&) = delete;

    [[nodiscard]] virtual std::uint32_t Kind() const    = 0;
    [[nodiscard]] virtual std::uint32_t SubType() const = 0;

    /// Makes the fuel with this number the active one.
    virtual std::uint32_t SetActiveFuel(std::int32_t fuel_number) = 0;
    /// Fills the channel table from its start.
    [[nodiscard]] virtual std::uint32_t ReadConfiguration(ChannelTable& channels) = 0;
    /// Fills free records of the heating-check table.
    virtual std::uint32_t ReadHeatingCheck(ChannelTable& heating_check) = 0;
    /// Updates the values of the channel table; kZeroing when the analyser has none.
    [[nodiscard]] virtual std::uint32_t ReadValues(ChannelTable& channels) = 0;
    /// Releases all that the connection holds. A second call finds nothing to release and returns 0.
    virtual std::uint32_t Close() = 0;
};

/// Searches for an analyser over the link that the settings name; null when none was found.
using OpenInstrument = std::unique_ptr<Instrument> (*)(ProgramState& state);

/// Thread body of the worker: runs until the stop request is set and returns 0. A stop takes effect within 100 ms plus the
/// instrument call under way.
std::uint32_t AcquisitionWorker(ProgramState& state, OpenInstrument open);

}  // namespace nelto
