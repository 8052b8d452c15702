// neltoEmUSB.dll: the analysers on the USB bus.
#include <algorithm>

#include "library_call.h"

using simulator::Analyser2010;

NELTO_LIBRARY_EXPORT std::uint32_t NELTOEMUSB_GetNumberOfDevices(std::uint32_t product, simulator::NumberOut count) {
    return simulator::Call("NELTOEMUSB_GetNumberOfDevices", [&](const Analyser2010& analyser, std::string& told) {
        told += " product " + std::to_string(product) + ":";
        const bool is_plugged = simulator::IsPlugged(analyser);
        simulator::GiveNumber(is_plugged ? analyser.CountDevices(product, simulator::DropInNowMs()) : 0, count, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTOEMUSB_GetSerialNumber(std::uint32_t device, wchar_t* text,
                                                              std::uint32_t capacity) {
    return simulator::Call("NELTOEMUSB_GetSerialNumber", [&](const Analyser2010& analyser, std::string& told) {
        simulator::TellNumber(told, device);
        simulator::TellNumber(told, capacity);
        simulator::GiveText(analyser.Data().usb_serial_number, text, capacity);
        return simulator::IsPlugged(analyser) ? 0U : simulator::kNotThere;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTOEMUSB_OpenBySerialNumber(const wchar_t* text, simulator::HandleOut device) {
    return simulator::Call("NELTOEMUSB_OpenBySerialNumber", [&](const Analyser2010& analyser, std::string&) {
        const std::u16string& own = analyser.Data().usb_serial_number;
        const bool is_own         = std::equal(own.begin(), own.end(), text) && text[own.size()] == L'\0';
        if (!is_own || !simulator::IsPlugged(analyser)) return simulator::kNotThere;
        simulator::GiveHandle(simulator::kUsbDevice, device);
        return 0U;
    });
}
