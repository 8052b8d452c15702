#include "instrument/opening.h"
#include "transport/irda_transport.h"

namespace nelto {

bool OpenOverIrda(InstrumentConnection& connection, const char*& error) {
    const std::uint32_t result = IrdaOpen();
    if (result != kIrdaOpenOk) {
        connection.log.WriteF(L"Instrument opening via IRDA failed, Error code %u", result);
        error = "open analyzer connection via IrDA failed";
        return false;
    }
    connection.log.Write(L"Instrument opened via IrDA");
    return true;
}

// Infrared reaches the 780 of firmware 2004 alone, so it is never asked: the kind stays 780 and the sub type 0.
bool IdentifyOverIrda(InstrumentConnection&, const char*&) { return true; }

}  // namespace nelto
