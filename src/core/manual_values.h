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
    bool smoke_entered           = true;    // false: the fields of smoke numbers and oil derivative were disabled
};

/// Updates the special channels that the table holds and appends the missing ones that have a value; one that finds no free
/// record is dropped. Smoke channels that were not entered are left as the analyser gave them. Dialog thread.
void StoreManualValues(const ManualValues& typed, ChannelTable& channels);

}  // namespace nelto
