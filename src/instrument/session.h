// What the conversations with one analyser have in common: its log, the way to it, and the user's wish to end.
#pragma once

#include <cstdint>
#include <memory>

#include "diag/trace_log.h"
#include "transport/link.h"

namespace nelto {

/// Result codes of the instrument operations.
enum InstrumentResult : std::uint32_t {
    kDone              = 0,
    kTransportFailure  = 1,
    kBadAnswer         = 2,  // also: any error of the maker's libraries
    kModeChangeFailed  = 3,
    kNoValuesZeroing   = 6,
    kUnknownInstrument = 7,
};

/// Worker thread.
struct Session {
    Session(Transport way, StopRequest stop) : transport(way), stop_request(stop) {}

    [[nodiscard]] bool StopRequested() const { return IsRequested(stop_request); }

    /// Result of an operation that failed: kBadAnswer, with the line in the log. After a stop, which is then the cause and no fault of
    /// the analyser, without it.
    std::uint32_t Failed(const wchar_t* log_line) const {
        if (!StopRequested()) log.Write(log_line);
        return kBadAnswer;
    }
    /// The same for an error code of the maker's libraries.
    std::uint32_t Failed(platform::TextFormat<int> format, std::uint32_t error) const {
        log.WriteF(format, static_cast<int>(error));
        return kBadAnswer;
    }

    BaseLog log;
    Transport transport;
    StopRequest stop_request;
    std::unique_ptr<Link> link;         // null for an analyser that the maker's libraries reach
    std::uintptr_t library_handle = 0;  // the analyser's, where they do
};

}  // namespace nelto
