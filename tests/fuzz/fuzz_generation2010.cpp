// Hostile libraries of the maker: every count, record, number and text that they give, and the opening over USB. The first byte
// chooses the instrument kind, whether there is a text mapper, and whether the devices are counted and opened. From then on every
// call of a library takes its answer from the input: one byte for its result, 0xF0 and above a failure, then what it gives.
#include <array>
#include <memory>

#include "fuzz.h"
#include "instrument/generation2010/analyser_2010.h"
#include "instrument/opening_emusb.h"
#include "platform/memory/memory_dynamic_library.h"

namespace {

using namespace nelto;
using test::Input;
using test::Require;
using NumberOut = RoomyNumber2010<std::uint32_t>*;

constexpr std::array<std::uint32_t, 6> kKinds = {781, 745, 760, 752, 711, 746};
constexpr std::uint32_t kDevice2010           = 7;

Input* answers   = nullptr;
bool has_mapper  = false;
std::size_t open = 0;

std::uint32_t NextResult() {
    const std::uint8_t result = answers->Byte();
    return result < 0xF0 ? 0 : result;
}
/// Most numbers are small; behind 0xF0 and above comes one of 32 bits.
std::uint32_t NextNumber() {
    const std::uint8_t number = answers->Byte();
    return number < 0xF0 ? number : answers->Take<std::uint32_t>();
}
/// As long as there is room; the longest one fills it without an end.
void GiveText(wchar_t* room, std::uint32_t capacity) {
    const std::uint32_t size = answers->Byte();
    for (std::uint32_t index = 0; index < size; ++index) {
        const auto letter = answers->Take<std::uint16_t>();
        if (index < capacity) room[index] = letter;
    }
    if (size == 255 && size < capacity) return static_cast<void>(std::fill_n(room + size, capacity - size, L'x'));
    if (size < capacity) room[size] = L'\0';
}

std::uint32_t DoNothing(std::uint32_t device) { return device == kDevice2010 ? NextResult() : 999; }
std::uint32_t SetNumber(std::uint32_t device, std::uint32_t) { return DoNothing(device); }
std::uint32_t SetDateTime(std::uint32_t device, DateTime2010) { return DoNothing(device); }
std::uint32_t StartLogging(std::uint32_t) { return 0; }
std::uint32_t Close(std::uint32_t device) {
    Require(device == kDevice2010 && open-- == 1);
    return NextResult();
}
std::uint32_t GetNumber(std::uint32_t device, NumberOut number) {
    number->value = NextNumber();
    return DoNothing(device);
}
/// A few positions, or all that their one byte can count; what stands above that byte does not count.
std::uint32_t CountPositions(std::uint32_t device, NumberOut positions) {
    positions->value = NextNumber();
    if (positions->value != 0xFFFFFFFF) positions->value &= 0xFFFFFF07;
    return DoNothing(device);
}
std::uint32_t GetText(std::uint32_t device, void* unread, wchar_t* text, std::uint32_t capacity) {
    static_cast<std::uint8_t*>(unread)[63] = 0xEE;
    GiveText(text, capacity);
    return DoNothing(device);
}
std::uint32_t CountRecords(std::uint32_t device, std::uint32_t, NumberOut count) { return GetNumber(device, count); }
std::uint32_t GetRecords(std::uint32_t device, std::uint32_t, void* header, ValueRecord2010* records,
                         std::uint32_t count) {
    static_cast<std::uint8_t*>(header)[63] = 0xEE;
    const test::ByteSpan bytes             = answers->Take(count * sizeof(ValueRecord2010));
    std::ranges::copy(bytes, reinterpret_cast<std::uint8_t*>(records));
    return DoNothing(device);
}
std::uint32_t GetAppFuelData(std::uint32_t device, std::uint32_t, FuelData2010* data) {
    *data = answers->Take<FuelData2010>();
    return DoNothing(device);
}
std::uint32_t GetNumberOfDevices(std::uint32_t, NumberOut count) {
    count->value = NextNumber();
    return NextResult();
}
std::uint32_t GetUsbSerialNumber(std::uint32_t, wchar_t* text, std::uint32_t capacity) {
    GiveText(text, capacity);
    return NextResult();
}
std::uint32_t OpenBySerialNumber(const wchar_t* text, RoomyNumber2010<std::uintptr_t>* device) {
    Require(std::wstring_view(text).size() <= kUsbSerialCapacity);
    device->value              = kDevice2010;
    const std::uint32_t result = NextResult();
    if (result == 0) ++open;
    return result;
}
/// One that does not care about the capacity.
std::uint32_t GetMappedText(const wchar_t* language, std::uint32_t, wchar_t* text, wchar_t* scratch, std::uint32_t) {
    Require(std::wstring_view(language) == L"de-DE");
    GiveText(text, 511);
    scratch[0] = L'\0';
    return 4711;
}

template <typename Function>
void* Export(Function* function) {
    return reinterpret_cast<void*>(function);
}

constexpr std::array kMappers = {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"};

/// Every library but the second one of the device, with or without the text mappers.
void Install(bool with_mappers) {
    static const test::LibraryFunctions kFunctions = {
        {"NELTO760SPI_StartLogging", Export(StartLogging)},
        {"NELTO760SPI_GetIdent", Export(GetNumber)},
        {"NELTO760SPI_Close", Export(Close)},
        {"NELTO760SPI_SetDeviceMode", Export(SetNumber)},
        {"NELTO760SPI_SetDateTime", Export(SetDateTime)},
        {"NELTO760SPI_SetShutdown", Export(SetNumber)},
        {"NELTO760SPI_GetDeviceType", Export(GetNumber)},
        {"NELTO760SPI_GetDeviceName", Export(GetText)},
        {"NELTO760SPI_GetFirmwareVersion", Export(GetNumber)},
        {"NELTO760SPI_GetSerialNumberBox", Export(GetNumber)},
        {"NELTO760SPI_GetSmokePumpNumber", Export(GetText)},
        {"NELTO760SPI_GetNumberOfCurrentViewValues", Export(CountRecords)},
        {"NELTO760SPI_GetCurrentViewValues", Export(GetRecords)},
        {"NELTO760SPI_GetCurrentMeasurement", Export(GetNumber)},
        {"NELTO760SPI_SetCurrentMeasurement", Export(SetNumber)},
        {"NELTO760SPI_GetMeasCacheCounter", Export(CountPositions)},
        {"NELTO760SPI_GetMeasCacheNumberOfValues", Export(CountRecords)},
        {"NELTO760SPI_GetMeasCacheValues", Export(GetRecords)},
        {"NELTO760SPI_GetActiveFuelID", Export(GetNumber)},
        {"NELTO760SPI_SetActiveFuelID", Export(SetNumber)},
        {"NELTO760SPI_GetAppFuelData", Export(GetAppFuelData)},
        {"NELTOEMUSB_GetNumberOfDevices", Export(GetNumberOfDevices)},
        {"NELTOEMUSB_GetSerialNumber", Export(GetUsbSerialNumber)},
        {"NELTOEMUSB_OpenBySerialNumber", Export(OpenBySerialNumber)},
        {"GetViewString", Export(GetMappedText)},
        {"GetFuelString", Export(GetMappedText)},
    };
    static bool is_there = false;
    static bool mapped   = false;
    if (std::exchange(is_there, true) && std::exchange(mapped, with_mappers) == with_mappers) return;
    for (const wchar_t* name : {L"nelto7XXE.dll", L"neltoEmUSB.dll"}) test::InstallLibrary(name, kFunctions);
    for (const wchar_t* name : kMappers) {
        test::InstallLibrary(name, kFunctions);
        if (!with_mappers) test::RemoveLibrary(name);
    }
    mapped = with_mappers;
}

/// Of the records that the library gave, before those that the program adds, each quantity and unit is there once.
void CheckOnce(std::span<const ChannelRecord> used) {
    for (std::size_t index = 0; index < used.size(); ++index) {
        const std::wstring_view label = used[index].label.data();
        if (label == L"Fuel type" || label == L"Device") return;
        for (const ChannelRecord& other : used.first(index)) {
            Require(other.view_ident != used[index].view_ident || other.unit != used[index].unit);
        }
    }
}

/// The used records come first, and at least the last one is free.
void CheckTable(const ChannelTable& channels) {
    test::CheckTable(channels);
    const auto used = UsedRecords(channels);
    Require(used.size() <= 63);
    CheckOnce(used);
    for (const ChannelRecord& channel : used) {
        Require(channel.label.front() != L'\0' || channel.view_ident == kSmokePump);
        Require(channel.value_type != kText || channel.view_ident >= kFuel);
    }
    for (const ChannelRecord& channel : std::span(channels).subspan(used.size())) {
        Require(channel.view_ident == kFreeRecord && channel.label.front() == L'\0');
    }
}

void TryAnalyser(Analyser2010& analyser) {
    static ChannelTable channels;
    channels = {};
    Require(analyser.SynchronizeClock() <= kBadAnswer);
    Require(analyser.GetSubType() <= kBadAnswer && analyser.SubType() <= 20);
    Require(analyser.SetActiveFuel(answers->Byte() - 2) <= kBadAnswer);
    const std::uint32_t configured = analyser.ReadConfiguration(channels);
    Require(configured == kDone || configured == kBadAnswer);
    CheckTable(channels);
    const std::size_t used = UsedRecords(channels).size();
    for (int round = 0; round < 2; ++round) {
        const std::uint32_t result = analyser.ReadValues(channels);
        Require(result == kDone || result == kBadAnswer);
        Require(UsedRecords(channels).size() == used);
        test::CheckTable(channels);
    }
    static_cast<void>(analyser.WakeUp());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    answers                   = &input;
    open                      = 0;
    const std::uint8_t choice = input.Byte();
    has_mapper                = choice / kKinds.size() % 2 == 0;
    test::FreshWorld();
    Install(has_mapper);
    {
        Opening opening(kUsb, nullptr);
        opening.kind                   = kKinds[choice % kKinds.size()];
        opening.session.library_handle = kDevice2010;
        if (choice >= 248) opening.session.log.Start();
        if (choice % 4 == 3 && !OpenOverEmUsb(opening)) return Require(open == 0), 0;
        Analyser2010 analyser(std::move(opening.session), opening.kind);
        TryAnalyser(analyser);
        if (open != 0) Require(analyser.Close() == kDone);
    }
    Require(open == 0);
    for (const wchar_t* name : kMappers) Require(test::TimesLoaded(name) == 0);
    return 0;
}
