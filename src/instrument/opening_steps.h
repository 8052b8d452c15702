// The steps of an opening that every transport has its own way of.
#pragma once

#include <cstdint>

#include "core/instrument.h"
#include "instrument/session.h"

namespace nelto {

/// Transport that the "Communication" setting names: 0 USB, 1000 IrDA, any other number a COM port.
[[nodiscard]] constexpr Transport TransportOf(std::uint32_t communication) {
    if (communication == kUsb) return Transport::kUsb;
    return communication == kIrda ? Transport::kIrda : Transport::kSerial;
}

/// An opening on its way.
struct Opening {
    Opening(std::uint32_t setting, StopRequest stop_request)
        : communication(setting), session(TransportOf(setting), stop_request) {}

    /// Ends a step: `log_line` into the base log, unless a stop is the cause; `why` for the user interface.
    bool Failed(const wchar_t* log_line, const char* why) {
        session.Failed(log_line);
        error = why;
        return false;
    }

    /// The same with a number in the line.
    bool Failed(platform::TextFormat<std::uint32_t> format, std::uint32_t number, const char* why) {
        LogLine line{};
        platform::FormatText(line, format, number);
        return Failed(line.data(), why);
    }

    std::uint32_t communication;
    Session session;
    std::uint32_t kind = kKind780;  // until identification knows better
    const char* error  = "";
    Obstacle obstacle  = Obstacle::kNone;
};

/// A step returns false when it fails, having said why.
using OpeningStep = bool (*)(Opening& opening);

/// How one transport opens its link, and finds out which analyser answers on it. What a failed `open` has taken, it has given back.
struct OpeningWay {
    OpeningStep open;
    OpeningStep identify;
};

}  // namespace nelto
