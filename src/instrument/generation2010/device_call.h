// Library calls that concern the analyser of a connection.
#pragma once

#include "instrument/generation2010/library_functions.h"
#include "instrument/instrument_connection.h"

namespace nelto {

/// CallLibrary with the connection's device handle as first argument.
template <typename... Arguments>
std::uint32_t CallDevice(const InstrumentConnection& connection,
                         const LibraryFunction<DeviceHandle, Arguments...>& function,
                         std::type_identity_t<Arguments>... arguments) {
    return CallLibrary(function, static_cast<DeviceHandle>(connection.library_handle), arguments...);
}

}  // namespace nelto
