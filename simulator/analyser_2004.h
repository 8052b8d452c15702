// A flue-gas analyser of generation 2004 as a program sees it: requests in, answers out. It knows neither a clock nor a
// link. On infrared, bytes 2 and 3 of an answer carry its length; the front end of that link puts it there.
#pragma once

#include <optional>
#include <string_view>

#include "analyser_data.h"
#include "message.h"

namespace simulator {

struct ClockSetting {
    unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};

/// "GET_IDENT", "read values (configuration 4)" ..., or "unknown command".
[[nodiscard]] std::string_view CommandName(std::uint8_t code);

/// True for the models that the simulator can answer as: 780, 790, 710, and by their ident alone 781, 752, 745, 711,
/// 746.
[[nodiscard]] bool IsKnownModel(unsigned model);

class Analyser2004 {
public:
    explicit Analyser2004(AnalyserData data) : data_(std::move(data)) {}

    /// The answer to one whole request at `now_ms` after the start. None for an empty request, and for every request
    /// but GET_IDENT while the model is one of generation 2010. A command that the model does not have, or that has a
    /// wrong length or parameter, is answered with status 1 (01, command, 00, 00).
    [[nodiscard]] std::optional<Message> Answer(Bytes request, std::uint64_t now_ms);

    [[nodiscard]] const AnalyserData& Data() const { return data_; }
    [[nodiscard]] const ClockSetting& Clock() const { return clock_; }

private:
    AnalyserData data_;
    ClockSetting clock_;
};

}  // namespace simulator
