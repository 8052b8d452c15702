// The functions of the maker's instrument libraries, one row each, and the calling of them.
#pragma once

#include <cstdint>
#include <type_traits>

#include "diag/log_place.h"
#include "instrument/generation2010/library_records.h"
#include "instrument/session.h"

namespace nelto {

/// Results of a call that finds no library, or no such function in it.
constexpr std::uint32_t kLibraryMissing  = 126;
constexpr std::uint32_t kFunctionMissing = 127;

namespace library {

enum Family : std::uint8_t {
    kInstrument,  // "nelto7XXE.dll", then "nelto7XXT.dll"
    kEmUsb,       // "neltoEmUSB.dll"
    kRs232,       // "neltoRS232.dll"
};

/// A function and the types of its arguments; its result is 0 for success, otherwise an error code.
template <typename... Arguments>
struct Row {
    Family family;
    const char* name;
};

using Handle   = std::uintptr_t;  // of a COM port, a pipe or a USB device; a library may set the low 32 bits alone
using Device   = DeviceHandle;
using Product  = std::uint32_t;
using Index    = std::uint32_t;
using Count    = std::uint32_t;
using Capacity = std::uint32_t;
using Code     = std::uint32_t;
using Unread   = void*;  // an output that nobody looks into, with room for an Unread2010
using Records  = ValueRecord2010*;

// Numbers that come back, each with room for 64 bits.
using CountOut  = RoomyNumber2010<Count>*;
using CodeOut   = RoomyNumber2010<Code>*;
using HandleOut = RoomyNumber2010<Handle>*;

// clang-format off

// Finding and opening. A product is a USB product number; devices of one product are counted from 0.
constexpr Row<Product, CountOut>                     kGetNumberOfDevices           {kEmUsb, "NELTOEMUSB_GetNumberOfDevices"};
constexpr Row<Index, wchar_t*, Capacity>             kGetUsbSerialNumber           {kEmUsb, "NELTOEMUSB_GetSerialNumber"};
constexpr Row<const wchar_t*, HandleOut>             kOpenBySerialNumber           {kEmUsb, "NELTOEMUSB_OpenBySerialNumber"};
constexpr Row<Handle, HandleOut>                     kOpenBluetoothFromPipe        {kRs232, "NELTORS232_OpenBluetoothFromPipe"};
constexpr Row<Code>                                  kStartLogging                 {kInstrument, "NELTO760SPI_StartLogging"};
constexpr Row<Device, CodeOut>                       kGetIdent                     {kInstrument, "NELTO760SPI_GetIdent"};
constexpr Row<Device>                                kClose                        {kInstrument, "NELTO760SPI_Close"};

// Modes and device data. The first output of the two texts is not read.
constexpr Row<Device, Code>                          kSetDeviceMode                {kInstrument, "NELTO760SPI_SetDeviceMode"};
constexpr Row<Device, DateTime2010>                  kSetDateTime                  {kInstrument, "NELTO760SPI_SetDateTime"};
constexpr Row<Device, Code>                          kSetShutdown                  {kInstrument, "NELTO760SPI_SetShutdown"};
constexpr Row<Device, CodeOut>                       kGetDeviceType                {kInstrument, "NELTO760SPI_GetDeviceType"};
constexpr Row<Device, Unread, wchar_t*, Capacity>    kGetDeviceName                {kInstrument, "NELTO760SPI_GetDeviceName"};
constexpr Row<Device, CodeOut>                       kGetFirmwareVersion           {kInstrument, "NELTO760SPI_GetFirmwareVersion"};
constexpr Row<Device, CodeOut>                       kGetSerialNumberBox           {kInstrument, "NELTO760SPI_GetSerialNumberBox"};
constexpr Row<Device, Unread, wchar_t*, Capacity>    kGetSmokePumpNumber           {kInstrument, "NELTO760SPI_GetSmokePumpNumber"};

// Current values. The code before the outputs is always 0.
constexpr Row<Device, Code, CountOut>                kGetNumberOfCurrentViewValues {kInstrument, "NELTO760SPI_GetNumberOfCurrentViewValues"};
constexpr Row<Device, Code, Unread, Records, Count>  kGetCurrentViewValues         {kInstrument, "NELTO760SPI_GetCurrentViewValues"};
constexpr Row<Device, CodeOut>                       kGetCurrentMeasurement        {kInstrument, "NELTO760SPI_GetCurrentMeasurement"};
constexpr Row<Device, Code>                          kSetCurrentMeasurement        {kInstrument, "NELTO760SPI_SetCurrentMeasurement"};

// Measurement cache. Positions are counted from 0; the library may write their number as one byte only.
constexpr Row<Device, CountOut>                      kGetMeasCacheCounter          {kInstrument, "NELTO760SPI_GetMeasCacheCounter"};
constexpr Row<Device, Index, CountOut>               kGetMeasCacheNumberOfValues   {kInstrument, "NELTO760SPI_GetMeasCacheNumberOfValues"};
constexpr Row<Device, Index, Unread, Records, Count> kGetMeasCacheValues           {kInstrument, "NELTO760SPI_GetMeasCacheValues"};

// Fuels, by the libraries' own ids.
constexpr Row<Device, CodeOut>                       kGetActiveFuelId              {kInstrument, "NELTO760SPI_GetActiveFuelID"};
constexpr Row<Device, Code>                          kSetActiveFuelId              {kInstrument, "NELTO760SPI_SetActiveFuelID"};
constexpr Row<Device, Code, FuelData2010*>           kGetAppFuelData               {kInstrument, "NELTO760SPI_GetAppFuelData"};

// clang-format on

/// Address of the function, or null with the reason in `error`. A library is looked for by its bare name each time that it
/// is needed and not there yet; once found it stays for the rest of the process, so that a search of hours
/// loads nothing twice and leaves nothing behind.
[[nodiscard]] void* Find(Family family, const char* name, std::uint32_t& error);

}  // namespace library

/// Calls a row of the table and returns the library's result; kLibraryMissing or kFunctionMissing, with the outputs as they
/// were, when it is not there. Worker thread.
template <typename... Arguments>
std::uint32_t CallLibrary(const library::Row<Arguments...>& function, std::type_identity_t<Arguments>... arguments) {
    using Pointer       = std::uint32_t(NELTO_LIBRARY_CALL*)(Arguments...);
    std::uint32_t error = 0;
    void* const address = library::Find(function.family, function.name, error);
    return address == nullptr ? error : reinterpret_cast<Pointer>(address)(arguments...);
}

/// The same with the device handle of the connection as first argument.
template <typename... Arguments>
std::uint32_t CallDevice(Session& session, const library::Row<DeviceHandle, Arguments...>& function,
                         std::type_identity_t<Arguments>... arguments) {
    return CallLibrary(function, static_cast<DeviceHandle>(session.library_handle), arguments...);
}

/// CallDevice of a function that gives a number. `number` stays as it is when the library does not write it.
inline std::uint32_t AskDevice(Session& session, const library::Row<DeviceHandle, library::CodeOut>& function,
                               std::uint32_t& number) {
    RoomyNumber2010<std::uint32_t> told{.value = number};
    const std::uint32_t error = CallDevice(session, function, &told);
    number                    = told.value;
    return error;
}

/// Lets the libraries keep a log of their own, where logs are wanted.
inline void StartLibraryLog() {
    constexpr std::uint32_t kOn = 1;
    if (AreLogsKept()) CallLibrary(library::kStartLogging, kOn);
}

}  // namespace nelto
