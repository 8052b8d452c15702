// One analyser of generation 2010, reached through the maker's libraries.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/generation2010/text_mapper.h"

namespace nelto {

struct InstrumentConnection;

/// Lives from identification until its connection is closed. Every operation returns kDone, or kBadAnswer when a library reports
/// an error, with the cause in the connection's base log. Worker thread.
class CNelto780Base2010 {
public:
    /// Keeps `connection`, which outlives it and holds the device handle, and loads the texts for its instrument kind.
    explicit CNelto780Base2010(InstrumentConnection& connection);

    /// Sets the connection's sub type: 1 to 4 for the variants of the 780, 20 for a 745, 0 for any other.
    [[nodiscard]] std::uint32_t GetSubType();
    std::uint32_t SetSlaveMode(bool on);
    /// Sets the analyser's clock to the computer's local time.
    [[nodiscard]] std::uint32_t SynchronizeClock();
    std::uint32_t WakeUp();

    /// Clears the table and fills it: measurement cache, current values, fuel, device data. `model` is an instrument kind.
    /// After an error the channels added so far stay.
    [[nodiscard]] std::uint32_t GetOnlineConfiguration(ChannelTable& channels, std::uint32_t model);
    /// Updates the channels that the analyser reports now; all others stay.
    [[nodiscard]] std::uint32_t GetOnlineValues(ChannelTable& channels);

    /// Makes the fuel with this number of the program's own the active one.
    std::uint32_t SetActualFuel(std::int32_t fuel_number);

private:
    /// Logs `format`, filled with the error code.
    std::uint32_t Failed(platform::TextFormat<int> format, std::uint32_t error) const;

    InstrumentConnection& connection_;
    TextMapper texts_;
};

}  // namespace nelto
