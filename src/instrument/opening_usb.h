// Opening over USB: the first analyser behind an FTDI converter, else one of generation 2010 by the maker's library.
#pragma once

#include "instrument/opening_steps.h"

namespace nelto {

[[nodiscard]] bool OpenOverUsb(Opening& opening);

/// What the maker's library has opened is known by its product number already.
[[nodiscard]] bool IdentifyOverUsb(Opening& opening);

}  // namespace nelto
