// The heating check of a generation-2004 analyser: a view list that names stored lists, read in blocks.
#pragma once

#include "analyser_data.h"
#include "message.h"

namespace simulator {

/// Answers the commands 49 (11 bytes) and A5 (9 or 13 bytes): appends the payload behind the 4-byte header in `answer`.
/// False refuses the request: wrong parameters, or a reference that the view list does not hold.
[[nodiscard]] bool AnswerHeatingCheck(const std::vector<CheckBlock>& blocks, Bytes request, Message& answer);

}  // namespace simulator
