// Opening over USB: the first analyser behind an FTDI converter, else one of generation 2010 by the maker's library.
#pragma once

#include "instrument/opening_steps.h"

namespace nelto {

/// An analyser behind an FTDI converter is known by its answer.
[[nodiscard]] bool OpenOverUsb(Opening& opening);

/// What the maker's library opens is known by its product number already.
[[nodiscard]] bool OpenOverEmUsb(Opening& opening);

}  // namespace nelto
