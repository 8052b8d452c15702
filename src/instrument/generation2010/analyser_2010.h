// An analyser of generation 2010, reached through the maker's libraries. The read of its configuration stands in a file of its own.
#pragma once

#include <cstdint>
#include <memory>

#include "instrument/analyser.h"
#include "instrument/generation2010/text_mapper.h"

namespace nelto {

/// Every operation returns kDone, or kBadAnswer when a library reports an error, with the cause in the base log.
class Analyser2010 final : public Analyser {
public:
    /// Loads the texts for its kind.
    Analyser2010(Session session, std::uint32_t kind);

    std::uint32_t SetActiveFuel(std::int32_t fuel_number) override;
    /// Measurement cache, current values, fuel with CO2max and O2Ref, device, version, serial number and smoke pump, as far as there
    /// is room.
    [[nodiscard]] std::uint32_t ReadConfiguration(ChannelTable& channels) override;
    /// It has none: returns kTransportFailure.
    std::uint32_t ReadHeatingCheck(ChannelTable& heating_check) override;
    /// Updates the channels that the analyser reports now; all others stay.
    [[nodiscard]] std::uint32_t ReadValues(ChannelTable& channels) override;

    [[nodiscard]] std::uint32_t SynchronizeClock() override;
    /// 1 to 4 for the variants of the 780, 20 for a 745, 0 for any other.
    [[nodiscard]] std::uint32_t GetSubType() override;
    std::uint32_t SetSlaveMode(bool on) override;
    std::uint32_t WakeUp();

private:
    /// A 760 is woken up.
    void StartUp() override;
    void Release() override;

    std::unique_ptr<TextMapper> texts_;
};

}  // namespace nelto
