// Opening an analyser of generation 2010 over USB, by the maker's library.
#pragma once

#include "instrument/opening_steps.h"

namespace nelto {

[[nodiscard]] bool OpenOverEmUsb(Opening& opening);

}  // namespace nelto
