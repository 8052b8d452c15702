// An analyser as the worker and the dialogs see it, whatever its kind and link.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/channel_table.h"

namespace nelto {

/// Values of the "Communication" setting besides COM port numbers.
enum Communication : std::uint32_t { kUsb = 0, kIrda = 1000 };

enum InstrumentKind : std::uint32_t {
    kKind710 = 710,
    kKind711 = 711,
    kKind745 = 745,
    kKind746 = 746,
    kKind752 = 752,
    kKind760 = 760,
    kKind780 = 780,
    kKind781 = 781,
};

/// Result of a value read by an analyser that is zeroing its sensors; every other non-zero result is a broken connection.
constexpr std::uint32_t kZeroing = 6;

/// An open analyser. All calls come from the worker thread; numbers returned are 0 on success.
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
    /// Fills the empty channel table from its start. After a failure it holds what was read so far.
    [[nodiscard]] virtual std::uint32_t ReadConfiguration(ChannelTable& channels) = 0;
    /// Renews the results of the heating check, list by list: those of a list that could not be read stay as they are, and so does
    /// the whole table when nothing could be read.
    virtual std::uint32_t ReadHeatingCheck(ChannelTable& heating_check) = 0;
    /// Updates the values of the channel table; kZeroing when the analyser has none.
    [[nodiscard]] virtual std::uint32_t ReadValues(ChannelTable& channels) = 0;
    /// Leaves the analyser and releases all that the connection holds. A second call finds nothing to release and returns 0.
    virtual std::uint32_t Close() = 0;
};

/// What kept a link from opening, where that can be told.
enum class Obstacle : std::uint8_t { kNone, kNoPort, kInUse };

/// Why an opening found no analyser: for people, and as far as a program can act on it.
struct OpenFailure {
    const char* text  = "";
    Obstacle obstacle = Obstacle::kNone;
};

/// Searches for an analyser on the link that `communication` names, until one answers, none does, or `stop_request` is set. Null
/// when none was found; then `failure` says why, and is empty otherwise.
using OpenInstrument = std::unique_ptr<Instrument> (*)(std::uint32_t communication,
                                                       const std::atomic<std::uint32_t>& stop_request,
                                                       OpenFailure& failure);

}  // namespace nelto
