#include "fake_maker_libraries.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/wide_text.h"

namespace nelto::rigs {
namespace {

using platform::memory::InstallLibrary;
using platform::memory::LibraryFunctions;
using NumberOut = RoomyNumber2010<std::uint32_t>*;
using HandleOut = RoomyNumber2010<std::uintptr_t>*;

constexpr std::uint32_t kUsb  = static_cast<std::uint32_t>(FakeMaker::kUsbHandle);
constexpr std::uint32_t kPipe = static_cast<std::uint32_t>(FakeMaker::kPipeHandle);

/// Notes the call; its result. A call for the analyser without its handle fails.
template <typename... Numbers>
std::uint32_t Called(const std::string& name, Numbers... numbers) {
    Maker().calls.push_back((name + ... + (' ' + std::to_string(numbers))));
    if (Maker().calls.size() == Maker().failing_call) return 5;
    const auto forced = Maker().results.find(name);
    return forced == Maker().results.end() ? 0 : forced->second;
}

template <typename... Numbers>
std::uint32_t CalledFor(std::uint32_t device, const std::string& name, Numbers... numbers) {
    const std::uint32_t result = Called(name, numbers...);
    return device == kUsb || device == kPipe ? result : 999;
}

/// Writes 64 bits, of which the program reads the lower ones.
void Write(void* out, std::uint64_t number) { std::memcpy(out, &number, sizeof(number)); }

std::uint32_t Give(std::uint32_t result, void* out, std::uint32_t number) {
    if (result == 0) Write(out, 0xEEEEEEEE00000000 | number);
    return result;
}

std::uint32_t GiveText(std::uint32_t result, wchar_t* out, std::uint32_t capacity, std::wstring_view text) {
    // As long as there is room, without an end where the text fills it.
    if (result == 0) std::ranges::copy(text.substr(0, capacity), out);
    if (result == 0 && text.size() < capacity) out[text.size()] = L'\0';
    return result;
}

std::uint32_t GiveRecords(std::uint32_t result, void* header, ValueRecord2010* out, std::uint32_t count,
                          const std::vector<ValueRecord2010>& records) {
    static_cast<std::uint8_t*>(header)[63] = 0xEE;
    if (result == 0) std::copy_n(records.begin(), std::min<std::size_t>(count, records.size()), out);
    return result;
}

const std::vector<ValueRecord2010>& CurrentValues(std::uint32_t) { return Maker().values; }

std::uint32_t TrueOrLie(std::size_t count) {
    return Maker().value_count_lie != 0 ? Maker().value_count_lie : static_cast<std::uint32_t>(count);
}

const std::vector<ValueRecord2010>& Position(std::uint32_t position) {
    static const std::vector<ValueRecord2010> none;
    return position < Maker().cache.size() ? Maker().cache[position] : none;
}

/// Name of an instrument function, as an argument of the templates below.
struct Name {
    char text[40] = {};
    /// Implicit, so that a literal can stand as a template argument.
    template <std::size_t size>
    consteval Name(const char (&literal)[size]) {  // NOLINT(google-explicit-constructor)
        std::copy_n(literal, size, text);
    }
};

// The instrument functions by their forms. `kMember` holds what they give.

template <Name kName, auto kMember>
std::uint32_t GetNumber(std::uint32_t device, NumberOut out) {
    return Give(CalledFor(device, kName.text), out, Maker().*kMember);
}
template <Name kName, auto kMember>
std::uint32_t GetText(std::uint32_t device, void* unread, wchar_t* text, std::uint32_t capacity) {
    static_cast<std::uint8_t*>(unread)[3] = 0xEE;
    return GiveText(CalledFor(device, kName.text, capacity), text, capacity, Maker().*kMember);
}
template <Name kName>
std::uint32_t Set(std::uint32_t device, std::uint32_t number) {
    return CalledFor(device, kName.text, number);
}
template <Name kName, auto kRecordsAt>
std::uint32_t CountRecords(std::uint32_t device, std::uint32_t position, NumberOut count) {
    return Give(CalledFor(device, kName.text, position), count, TrueOrLie(kRecordsAt(position).size()));
}
template <Name kName, auto kRecordsAt>
std::uint32_t GetRecords(std::uint32_t device, std::uint32_t position, void* header, ValueRecord2010* records,
                         std::uint32_t count) {
    return GiveRecords(CalledFor(device, kName.text, position, count), header, records, count, kRecordsAt(position));
}

// Those of a form of their own.

std::uint32_t StartLogging(std::uint32_t on) { return Called("StartLogging", on); }
std::uint32_t Close(std::uint32_t device) { return Called("Close", device); }
std::uint32_t SetDateTime(std::uint32_t device, DateTime2010 date_time) {
    Maker().date_time = date_time;
    return CalledFor(device, "SetDateTime");
}
std::uint32_t GetMeasCacheCounter(std::uint32_t device, NumberOut positions) {
    const auto count = static_cast<std::uint32_t>(Maker().cache.size()) | Maker().position_count;
    return Give(CalledFor(device, "GetMeasCacheCounter"), positions, count);
}
std::uint32_t GetAppFuelData(std::uint32_t device, std::uint32_t fuel, FuelData2010* data) {
    const std::uint32_t result = CalledFor(device, "GetAppFuelData", fuel);
    if (result != 0) return result;
    data->maximum_carbon_dioxide = Maker().maximum_carbon_dioxide;
    data->reference_oxygen       = Maker().reference_oxygen;
    return 0;
}

// USB and pipe

std::uint32_t GetNumberOfDevices(std::uint32_t product, NumberOut count) {
    Called("GetNumberOfDevices", product);
    return Give(0, count, Maker().usb_devices[product]) + 77;  // not a result: only the number counts
}
std::uint32_t GetUsbSerialNumber(std::uint32_t device, wchar_t* text, std::uint32_t capacity) {
    return GiveText(Called("GetSerialNumber", device, capacity), text, capacity, Maker().usb_serial_number);
}
std::uint32_t OpenBySerialNumber(const wchar_t* text, HandleOut device) {
    const std::uint32_t result = Called("OpenBySerialNumber");
    if (text != Maker().usb_serial_number) return 5;
    if (result == 0) Write(device, FakeMaker::kUsbHandle);
    return result;
}
std::uint32_t OpenBluetoothFromPipe(std::uintptr_t port, HandleOut pipe) {
    const std::uint32_t result = Called("OpenBluetoothFromPipe");
    if (port != 0 && Maker().gives_pipe) Write(pipe, FakeMaker::kPipeHandle);
    return result;
}

// Text mapper

/// One that does not care about the capacity.
std::uint32_t GiveMapped(const wchar_t* language, wchar_t* text, wchar_t* scratch, const std::wstring& mapped) {
    Maker().languages.emplace_back(language);
    std::ranges::copy(mapped, text);
    std::ranges::copy(mapped, scratch);
    return 4711;
}
std::uint32_t GetViewString(const wchar_t* language, std::uint32_t ident, wchar_t* text, wchar_t* scratch,
                            std::uint32_t) {
    wchar_t usual[16] = {};
    platform::FormatText(usual, L"V%x", ident);
    const auto own = Maker().view_texts.find(ident);
    return GiveMapped(language, text, scratch, own == Maker().view_texts.end() ? std::wstring(usual) : own->second);
}
std::uint32_t GetFuelString(const wchar_t* language, std::uint32_t fuel, wchar_t* text, wchar_t* scratch,
                            std::uint32_t) {
    return GiveMapped(language, text, scratch, Maker().fuel_texts[fuel]);
}
std::uint32_t GetUnitsString(const wchar_t* language, std::uint32_t, wchar_t* text, wchar_t* scratch, std::uint32_t) {
    return GiveMapped(language, text, scratch, L"unit");
}

template <typename Function>
void* Export(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

std::size_t FakeMaker::CallsOf(const std::string& name) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        calls, [&](const std::string& call) { return call == name || call.starts_with(name + ' '); }));
}

FakeMaker& Maker() {
    static FakeMaker maker;
    return maker;
}

const LibraryFunctions& InstrumentFunctions() {
    // clang-format off
    static const LibraryFunctions functions = {
        {"NELTO760SPI_StartLogging", Export(StartLogging)},
        {"NELTO760SPI_GetIdent", Export(GetNumber<"GetIdent", &FakeMaker::ident>)},
        {"NELTO760SPI_Close", Export(Close)},
        {"NELTO760SPI_SetDeviceMode", Export(Set<"SetDeviceMode">)},
        {"NELTO760SPI_SetDateTime", Export(SetDateTime)},
        {"NELTO760SPI_SetShutdown", Export(Set<"SetShutdown">)},
        {"NELTO760SPI_GetDeviceType", Export(GetNumber<"GetDeviceType", &FakeMaker::device_type>)},
        {"NELTO760SPI_GetDeviceName", Export(GetText<"GetDeviceName", &FakeMaker::device_name>)},
        {"NELTO760SPI_GetFirmwareVersion", Export(GetNumber<"GetFirmwareVersion", &FakeMaker::firmware>)},
        {"NELTO760SPI_GetSerialNumberBox", Export(GetNumber<"GetSerialNumberBox", &FakeMaker::serial_number>)},
        {"NELTO760SPI_GetSmokePumpNumber", Export(GetText<"GetSmokePumpNumber", &FakeMaker::smoke_pump>)},
        {"NELTO760SPI_GetNumberOfCurrentViewValues", Export(CountRecords<"GetNumberOfCurrentViewValues", CurrentValues>)},
        {"NELTO760SPI_GetCurrentViewValues", Export(GetRecords<"GetCurrentViewValues", CurrentValues>)},
        {"NELTO760SPI_GetCurrentMeasurement", Export(GetNumber<"GetCurrentMeasurement", &FakeMaker::measurement>)},
        {"NELTO760SPI_SetCurrentMeasurement", Export(Set<"SetCurrentMeasurement">)},
        {"NELTO760SPI_GetMeasCacheCounter", Export(GetMeasCacheCounter)},
        {"NELTO760SPI_GetMeasCacheNumberOfValues", Export(CountRecords<"GetMeasCacheNumberOfValues", Position>)},
        {"NELTO760SPI_GetMeasCacheValues", Export(GetRecords<"GetMeasCacheValues", Position>)},
        {"NELTO760SPI_GetActiveFuelID", Export(GetNumber<"GetActiveFuelID", &FakeMaker::fuel>)},
        {"NELTO760SPI_SetActiveFuelID", Export(Set<"SetActiveFuelID">)},
        {"NELTO760SPI_GetAppFuelData", Export(GetAppFuelData)},
    };
    // clang-format on
    return functions;
}

void InstallFakeMaker() {
    Maker() = {};
    InstallLibrary(L"nelto7XXE.dll", InstrumentFunctions());
    InstallLibrary(L"neltoEmUSB.dll", {{"NELTOEMUSB_GetNumberOfDevices", Export(GetNumberOfDevices)},
                                       {"NELTOEMUSB_GetSerialNumber", Export(GetUsbSerialNumber)},
                                       {"NELTOEMUSB_OpenBySerialNumber", Export(OpenBySerialNumber)}});
    InstallLibrary(L"neltoRS232.dll", {{"NELTORS232_OpenBluetoothFromPipe", Export(OpenBluetoothFromPipe)}});
    for (const wchar_t* mapper : {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"}) {
        InstallLibrary(mapper, {{"GetViewString", Export(GetViewString)},
                                {"GetFuelString", Export(GetFuelString)},
                                {"GetUnitsString", Export(GetUnitsString)}});
    }
}

void DivideInstrumentFunctions(const std::set<std::string>& first) {
    LibraryFunctions parts[2];
    for (const auto& [name, function] : InstrumentFunctions()) parts[first.contains(name) ? 0 : 1][name] = function;
    InstallLibrary(L"nelto7XXE.dll", parts[0]);
    InstallLibrary(L"nelto7XXT.dll", parts[1]);
}

}  // namespace nelto::rigs
