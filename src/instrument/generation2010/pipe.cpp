#include "instrument/generation2010/library_functions.h"
#include "instrument/opening.h"

namespace nelto {

void SwitchToPipe(InstrumentConnection& connection) {
    constexpr std::uint32_t kOn = 1;

    CallLibrary(library::kStartLogging, kOn);
    RoomyNumber2010<library::Handle> pipe;
    const std::uint32_t error =
        CallLibrary(library::kOpenBluetoothFromPipe, static_cast<library::Handle>(connection.link.serial_port), &pipe);
    if (error != 0) connection.log.WriteF(L"NELTORS232_OpenBluetoothFromPipe: Error code %d", error);
    // A port that the pipe works on is the library's: it stays open here, also when the connection is closed.
    if (pipe.value == 0) platform::CloseSerialPort(connection.link.serial_port);
    connection.link.serial_port = platform::SerialHandle::kNone;
    connection.library_handle   = pipe.value;
}

}  // namespace nelto
