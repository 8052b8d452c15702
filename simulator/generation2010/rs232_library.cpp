// neltoRS232.dll: an analyser behind a COM port that is open already.
#include "library_call.h"

NELTO_LIBRARY_EXPORT std::uint32_t NELTORS232_OpenBluetoothFromPipe(std::uintptr_t com_port,
                                                                    simulator::HandleOut pipe) {
    return simulator::Call(
        "NELTORS232_OpenBluetoothFromPipe", [&](const simulator::Analyser2010& analyser, std::string&) {
            if (com_port == 0) return simulator::kBadHandle;
            if (!simulator::IsPlugged(analyser)) return simulator::kNotThere;
            simulator::GiveHandle(com_port, pipe);  // the libraries are spoken to, not the analyser behind the port
            return 0U;
        });
}
