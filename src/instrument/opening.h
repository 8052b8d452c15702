// Opening and identifying, transport by transport. Each step writes its line to the base log; a step that fails leaves the text
// for the user interface in `error` and returns false.
#pragma once

#include "instrument/instrument_connection.h"

namespace nelto {

/// How one transport opens its link and finds out which analyser answers on it.
struct TransportOpening {
    Transport transport;
    bool (*open)(InstrumentConnection& connection, const char*& error);
    bool (*identify)(InstrumentConnection& connection, const char*& error);
};

/// The row of a transport, or null for one that this build does not have.
[[nodiscard]] const TransportOpening* OpeningFor(Transport transport);

/// Serial: COM port number in `connection.communication`.
[[nodiscard]] bool OpenOverSerial(InstrumentConnection& connection, const char*& error);
[[nodiscard]] bool IdentifyOverSerial(InstrumentConnection& connection, const char*& error);

/// USB: the first analyser behind an FTDI converter, else one of generation 2010 by the maker's library.
[[nodiscard]] bool OpenOverUsb(InstrumentConnection& connection, const char*& error);
[[nodiscard]] bool OpenOverEmUsb(InstrumentConnection& connection, const char*& error);
[[nodiscard]] bool IdentifyOverUsb(InstrumentConnection& connection, const char*& error);

/// Serial, once an analyser of generation 2010 has answered: the maker's library takes the port over and gives a handle of its
/// own for it. Where it does not, the port is closed here and the connection left without a handle: its first library call
/// tells why.
void SwitchToPipe(InstrumentConnection& connection);

/// IrDA: the analyser in range.
[[nodiscard]] bool OpenOverIrda(InstrumentConnection& connection, const char*& error);
[[nodiscard]] bool IdentifyOverIrda(InstrumentConnection& connection, const char*& error);

/// Writes `text` to the base log and leaves `why` for the user interface; false, so that a step can end with it.
bool OpeningFailed(const InstrumentConnection& connection, const char*& error, const wchar_t* text, const char* why);

}  // namespace nelto
