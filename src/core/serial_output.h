// The serial output: the current values as lines on a COM port, once a display refresh.
#pragma once

#include <string>

#include "core/program_state.h"

namespace nelto {

/// The bytes of one block: "NELTO", a line per value, "END".
[[nodiscard]] std::string SerialOutputBlock(const ChannelTable& channels, bool oil_fuel);

/// Sends one block when the setting asks for it. A port that cannot be opened is left out silently, and so is the rest of a
/// block after a line for which the port takes longer than any receiver's speed explains. Dialog thread.
void SendSerialOutput(const ProgramState& state, const ChannelTable& channels);

}  // namespace nelto
