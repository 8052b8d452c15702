// Opening over a COM port, whose number is the setting: the analyser is known by its answer.
#pragma once

#include "instrument/opening_steps.h"

namespace nelto {

[[nodiscard]] bool OpenOverSerial(Opening& opening);

}  // namespace nelto
