// Opening and identifying, transport by transport. Each step writes its line to the base log; a step that fails leaves the text
// for the user interface in `state.last_error` and returns false.
#pragma once

#include "core/program_state.h"
#include "instrument/instrument_connection.h"

namespace nelto {

/// How one transport opens its link and finds out which analyser answers on it.
struct TransportOpening {
    Transport transport;
    bool (*open)(InstrumentConnection& connection, ProgramState& state);
    bool (*identify)(InstrumentConnection& connection, ProgramState& state);
};

/// The row of a transport, or null for one that this build does not have.
[[nodiscard]] const TransportOpening* OpeningFor(Transport transport);

/// Serial: COM port number in `connection.communication`.
[[nodiscard]] bool OpenOverSerial(InstrumentConnection& connection, ProgramState& state);
[[nodiscard]] bool IdentifyOverSerial(InstrumentConnection& connection, ProgramState& state);

/// USB: the first analyser behind an FTDI converter, else one of generation 2010 by the maker's library.
[[nodiscard]] bool OpenOverUsb(InstrumentConnection& connection, ProgramState& state);
[[nodiscard]] bool OpenOverEmUsb(InstrumentConnection& connection, ProgramState& state);
[[nodiscard]] bool IdentifyOverUsb(InstrumentConnection& connection, ProgramState& state);

/// Serial, once an analyser of generation 2010 has answered: the maker's library takes the port over and gives a handle of its
/// own for it. Where it does not, the port is closed here and the connection left without a handle: its first library call
/// tells why.
void SwitchToPipe(InstrumentConnection& connection);

/// IrDA: the analyser in range.
[[nodiscard]] bool OpenOverIrda(InstrumentConnection& connection, ProgramState& state);
[[nodiscard]] bool IdentifyOverIrda(InstrumentConnection& connection, ProgramState& state);

/// Writes `text` to the base log and leaves `error` for the user interface; false, so that a step can end with it.
bool OpeningFailed(const InstrumentConnection& connection, ProgramState& state, const wchar_t* text, const char* error);

}  // namespace nelto
