// Library calls that concern the analyser of a session.
#pragma once

#include "instrument/generation2010/library_functions.h"
#include "instrument/session.h"

namespace nelto {

/// CallLibrary with the connection's device handle as first argument.
template <typename... Arguments>
std::uint32_t CallDevice(Session& session, const LibraryFunction<DeviceHandle, Arguments...>& function,
                         std::type_identity_t<Arguments>... arguments) {
    return CallLibrary(function, static_cast<DeviceHandle>(session.library_handle), arguments...);
}

}  // namespace nelto
