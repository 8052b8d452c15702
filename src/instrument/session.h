// What the conversations with one analyser have in common: its log, the way to it, and the user's wish to end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "diag/trace_log.h"
#include "transport/link.h"

namespace nelto {

/// Result codes of the instrument operations.
enum InstrumentResult : std::uint32_t {
    kDone             = 0,
    kTransportFailure = 1,
    kBadAnswer        = 2,  // also: any error of the maker's libraries
    kModeChangeFailed = 3,
    kNoValuesZeroing  = 6,
};

/// Worker thread.
struct Session {
    Session(Transport way, StopRequest stop) : transport(way), stop_request(stop) {}

    [[nodiscard]] bool StopRequested() const { return IsRequested(stop_request); }

    /// One message over the link. Notes what closing and the logs must know of it.
    [[nodiscard]] LinkStatus Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                        std::size_t& received, std::uint32_t timeout_ms) {
        const LinkStatus status = link->Transceive(request, reply, received, timeout_ms);
        is_cut                  = status == LinkStatus::kStopped;
        is_answer_owed          = is_cut || status == LinkStatus::kTimeOut;
        return status;
    }

    /// Result of an operation that failed: kBadAnswer, with the line in the log. When a stop has cut it short, which is no fault of
    /// the analyser, without it.
    std::uint32_t Failed(const wchar_t* log_line) const {
        if (!is_cut) log.Write(log_line);
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
    std::unique_ptr<Link> link;             // null for an analyser that the maker's libraries reach
    std::uintptr_t library_handle = 0;      // the analyser's, where they do
    bool is_cut                   = false;  // the last message, or one that was not even begun, by a stop
    bool is_answer_owed           = false;  // that to the last message may still come
};

}  // namespace nelto
