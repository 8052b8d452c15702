// Opening over a COM port, whose number is the setting: the analyser is known by its answer.
#pragma once

#include "instrument/opening_steps.h"

namespace nelto {

[[nodiscard]] bool OpenOverSerial(Opening& opening);

/// An analyser of generation 2010 is handed to the maker's library, which takes the port over and gives a handle of its own for it.
/// Where it does not, the port is closed and the analyser left without a handle: its first library call tells why.
[[nodiscard]] bool IdentifyOverSerial(Opening& opening);

}  // namespace nelto
