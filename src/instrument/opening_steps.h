// The openings over the transports, one file each, and what they have in common.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

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
        failure.text = why;
        return false;
    }

    /// The same with a number in the line.
    bool Failed(platform::TextFormat<std::uint32_t> format, std::uint32_t number, const char* why) {
        return Failed(platform::Formatted<std::uint32_t>(format, number).c_str(), why);
    }

    std::uint32_t communication;
    Session session;
    std::uint32_t kind = kKind780;  // until identification knows better
    OpenFailure failure;
};

/// True for the answer of an analyser of generation 2004 that tells this model: so long, and with its letters from byte 4 on.
[[nodiscard]] inline bool NamesModel(std::span<const std::uint8_t> answer, std::size_t length, std::string_view model) {
    return answer.size() == length && std::ranges::equal(answer.subspan(4, model.size()), model);
}

/// Over a COM port, whose number is the setting: the analyser is known by its answer.
[[nodiscard]] bool OpenOverSerial(Opening& opening);

/// Over USB: the first analyser behind an FTDI converter, known by its answer, else what OpenOverEmUsb finds.
[[nodiscard]] bool OpenOverUsb(Opening& opening);

/// By the maker's library, an analyser of generation 2010: it is known by its product number already.
[[nodiscard]] bool OpenOverEmUsb(Opening& opening);

}  // namespace nelto
