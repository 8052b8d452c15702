// nelto7XXE.dll: modes and data of the device.
#include "library_call.h"
#include "pipe.h"

using nelto::DateTime2010;
using simulator::Analyser2010;
using simulator::CallDevice;
using simulator::GiveNumber;
using simulator::TellNumber;

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_StartLogging(std::uint32_t on) {
    return simulator::Call("NELTO760SPI_StartLogging", [&](const Analyser2010&, std::string& told) {
        TellNumber(told, on);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetIdent(std::uint32_t device, simulator::NumberOut ident) {
    return CallDevice("NELTO760SPI_GetIdent", device, [&](const Analyser2010& analyser, std::string& told) {
        GiveNumber(analyser.Data().kind, ident, told);
        return 0U;
    });
}

/// Closes also an analyser that is not there any more.
NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_Close(std::uint32_t device) {
    return simulator::Call("NELTO760SPI_Close", [&](const Analyser2010&, std::string&) {
        if (!simulator::IsOpen(device)) return simulator::kBadHandle;
        if (device != simulator::kUsbDevice) simulator::ClosePipe(device);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_SetDeviceMode(std::uint32_t device, std::uint32_t mode) {
    return CallDevice("NELTO760SPI_SetDeviceMode", device, [&](const Analyser2010&, std::string& told) {
        TellNumber(told, mode);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_SetDateTime(std::uint32_t device, DateTime2010 date_time) {
    return CallDevice("NELTO760SPI_SetDateTime", device, [&](const Analyser2010&, std::string& told) {
        for (const unsigned number :
             {unsigned{date_time.day}, unsigned{date_time.month}, unsigned{date_time.year}, unsigned{date_time.hour},
              unsigned{date_time.minute}, unsigned{date_time.second}}) {
            TellNumber(told, number);
        }
        const bool is_time =
            date_time.hour < 24 && date_time.minute < 60 && date_time.second < 61 && date_time.zero == 0;
        const bool is_date = date_time.day >= 1 && date_time.day <= 31 && date_time.month >= 1 && date_time.month <= 12;
        return is_time && is_date && date_time.year >= 2000 ? 0U : simulator::kBadValue;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_SetShutdown(std::uint32_t device, std::uint32_t mode) {
    return CallDevice("NELTO760SPI_SetShutdown", device, [&](const Analyser2010&, std::string& told) {
        TellNumber(told, mode);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetDeviceType(std::uint32_t device, simulator::NumberOut type) {
    return CallDevice("NELTO760SPI_GetDeviceType", device, [&](const Analyser2010& analyser, std::string& told) {
        GiveNumber(analyser.DeviceType(), type, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetDeviceName(std::uint32_t device, void* unknown, wchar_t* name,
                                                             std::uint32_t capacity) {
    return CallDevice("NELTO760SPI_GetDeviceName", device, [&](const Analyser2010& analyser, std::string&) {
        simulator::GiveUnread(unknown);
        simulator::GiveText(analyser.DeviceName(), name, capacity);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetFirmwareVersion(std::uint32_t device, simulator::NumberOut version) {
    return CallDevice("NELTO760SPI_GetFirmwareVersion", device, [&](const Analyser2010& analyser, std::string& told) {
        GiveNumber(analyser.Data().firmware, version, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetSerialNumberBox(std::uint32_t device, simulator::NumberOut number) {
    return CallDevice("NELTO760SPI_GetSerialNumberBox", device, [&](const Analyser2010& analyser, std::string& told) {
        GiveNumber(analyser.Data().serial_number, number, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetSmokePumpNumber(std::uint32_t device, void* unknown, wchar_t* text,
                                                                  std::uint32_t capacity) {
    return CallDevice("NELTO760SPI_GetSmokePumpNumber", device, [&](const Analyser2010& analyser, std::string&) {
        simulator::GiveUnread(unknown);
        simulator::GiveText(analyser.Data().smoke_pump, text, capacity);
        return 0U;
    });
}
