// What the technician typed becomes records of the channel table.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "core/channel_table.h"

namespace nelto {

struct ManualValues {
    std::array<std::wstring, 3> smoke_numbers;
    std::wstring heat_carrier_temperature;  // degrees Celsius
    std::uint32_t oil_derivative = 0;       // position of the chosen answer: 0 "-", 1 no, 2 yes
};

/// Updates the special channels that the table holds and appends the missing ones that have a value; one that finds no free
/// record is dropped. Dialog thread, once the worker has ended.
void StoreManualValues(const ManualValues& typed, ChannelTable& channels);

}  // namespace nelto
