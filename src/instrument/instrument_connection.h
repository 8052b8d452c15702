// The instrument connection: the object through which the worker reaches one analyser, from open to close.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/instrument.h"
#include "diag/trace_log.h"
#include "instrument/generation2010/base_2010.h"
#include "instrument/link.h"

namespace nelto {

/// Result codes of the instrument operations.
enum InstrumentResult : std::uint32_t {
    kDone              = 0,
    kTransportFailure  = 1,  // also: no connection
    kBadAnswer         = 2,  // also: any error of the maker's libraries
    kModeChangeFailed  = 3,
    kNoValuesZeroing   = kZeroing,
    kUnknownInstrument = 7,
};

struct InstrumentConnection {
    BaseLog log;
    std::uint32_t communication = kUsb;  // the setting that the connection was opened with
    std::uint32_t kind          = kKind780;
    std::uint32_t sub_type      = 0;
    Link link;
    std::uintptr_t library_handle = 0;  // the analyser's, where the maker's libraries have opened it
    std::unique_ptr<CNelto780Base2010> generation2010;
    bool open = false;

    /// True once the user wants to end: conversations stop between two exchanges.
    [[nodiscard]] bool StopRequested() const { return link.stop_request != nullptr && *link.stop_request != 0; }
};

/// Finds, identifies and prepares the analyser on the link that the "Communication" setting names: clock set, sub type read.
/// Null on failure, with a short text in `error` and the cause in the base log.
[[nodiscard]] std::unique_ptr<InstrumentConnection> Nelto780Open(std::uint32_t communication,
                                                                 const std::atomic<std::uint32_t>& stop_request,
                                                                 const char*& error);

/// Leaves slave mode and releases all that the connection holds. Returns 0, also for a connection that is closed already, and 1
/// for null. The object itself stays its owner's.
std::uint32_t Nelto780Close(InstrumentConnection* connection);

/// Nelto780Open for the worker.
[[nodiscard]] std::unique_ptr<Instrument> OpenInstrumentConnection(std::uint32_t communication,
                                                                   const std::atomic<std::uint32_t>& stop_request,
                                                                   const char*& error);

}  // namespace nelto
