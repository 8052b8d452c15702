// Hostile libraries of the maker: every count, record, number and text that they give. The first byte chooses the
// instrument kind and whether there is a text mapper, the second the call that fails first (0 none); the rest is taken in the order of
// the calls: 4 bytes a number, 16 a record, for a text one length byte and 2 bytes a character. Where nothing is left, zeros.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

#include "instrument/dispatch.h"
#include "instrument/generation2010/library_records.h"
#include "instrument/instrument_connection.h"
#include "platform/memory/memory_dynamic_library.h"

namespace {

using nelto::ChannelRecord;
using nelto::ValueRecord2010;

constexpr std::array<std::uint32_t, 6> kKinds = {781, 745, 760, 752, 711, 746};

std::span<const std::uint8_t> rest;
std::uint32_t calls_left = 0;

void Require(bool condition) {
    if (!condition) std::abort();
}

std::size_t Take(void* out, std::size_t size) {
    const std::size_t taken = std::min(size, rest.size());
    if (taken > 0) std::memcpy(out, rest.data(), taken);
    rest = rest.subspan(taken);
    return taken;
}

std::uint32_t TakeByte() {
    std::uint8_t byte = 0;
    Take(&byte, 1);
    return byte;
}

std::uint32_t Result() {
    if (calls_left == 0) return 0;
    return --calls_left == 0 ? 5 : 0;
}

std::uint32_t GiveNumber(std::uint32_t* out) {
    *out = 0;
    Take(out, sizeof(*out));
    return Result();
}

std::uint32_t GiveText(wchar_t* out, std::uint32_t capacity) {
    const std::uint32_t length = std::min(TakeByte(), capacity);
    for (std::uint32_t index = 0; index < length; ++index)
        out[index] = static_cast<wchar_t>(TakeByte() | TakeByte() << 8);
    return Result();
}

std::uint32_t GiveRecords(ValueRecord2010* out, std::uint32_t count) {
    for (std::uint32_t index = 0; index < count && !rest.empty(); ++index) Take(&out[index], sizeof(*out));
    return Result();
}

std::uint32_t Number(std::uint32_t, std::uint32_t* out) { return GiveNumber(out); }
std::uint32_t NumberOf(std::uint32_t, std::uint32_t, std::uint32_t* out) { return GiveNumber(out); }
std::uint32_t Text(std::uint32_t, void*, wchar_t* out, std::uint32_t capacity) { return GiveText(out, capacity); }
std::uint32_t Records(std::uint32_t, std::uint32_t, void* header, ValueRecord2010* out, std::uint32_t count) {
    std::memset(header, 0xEE, 64);
    return GiveRecords(out, count);
}
std::uint32_t Done(std::uint32_t) { return Result(); }
std::uint32_t Set(std::uint32_t, std::uint32_t) { return Result(); }
std::uint32_t SetDateTime(std::uint32_t, nelto::DateTime2010) { return Result(); }
std::uint32_t FuelData(std::uint32_t, std::uint32_t, nelto::FuelData2010* out) {
    Take(out, 8);
    return Result();
}
std::uint32_t MappedText(const wchar_t*, std::uint32_t, wchar_t* text, wchar_t* scratch, std::uint32_t capacity) {
    GiveText(scratch, capacity);
    return GiveText(text, capacity);
}

template <typename Function>
void* Export(Function* function) {
    return reinterpret_cast<void*>(function);
}

void InstallLibraries(bool has_mapper) {
    using nelto::platform::memory::InstallLibrary;
    InstallLibrary(L"nelto7XXE.dll", {{"NELTO760SPI_Close", Export(Done)},
                                      {"NELTO760SPI_SetDeviceMode", Export(Set)},
                                      {"NELTO760SPI_SetDateTime", Export(SetDateTime)},
                                      {"NELTO760SPI_SetShutdown", Export(Set)},
                                      {"NELTO760SPI_GetDeviceType", Export(Number)},
                                      {"NELTO760SPI_GetDeviceName", Export(Text)},
                                      {"NELTO760SPI_GetFirmwareVersion", Export(Number)},
                                      {"NELTO760SPI_GetSerialNumberBox", Export(Number)},
                                      {"NELTO760SPI_GetSmokePumpNumber", Export(Text)},
                                      {"NELTO760SPI_GetNumberOfCurrentViewValues", Export(NumberOf)},
                                      {"NELTO760SPI_GetCurrentViewValues", Export(Records)},
                                      {"NELTO760SPI_GetCurrentMeasurement", Export(Number)},
                                      {"NELTO760SPI_SetCurrentMeasurement", Export(Set)},
                                      {"NELTO760SPI_GetMeasCacheCounter", Export(Number)},
                                      {"NELTO760SPI_GetMeasCacheNumberOfValues", Export(NumberOf)},
                                      {"NELTO760SPI_GetMeasCacheValues", Export(Records)},
                                      {"NELTO760SPI_GetActiveFuelID", Export(Number)},
                                      {"NELTO760SPI_SetActiveFuelID", Export(Set)},
                                      {"NELTO760SPI_GetAppFuelData", Export(FuelData)}});
    if (!has_mapper) return;
    for (const wchar_t* mapper : {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"}) {
        InstallLibrary(mapper, {{"GetViewString", Export(MappedText)}, {"GetFuelString", Export(MappedText)}});
    }
}

void CheckTable(const nelto::ChannelTable& channels) {
    const auto used = nelto::UsedRecords(channels);
    Require(used.size() <= 63);
    for (const ChannelRecord& channel : channels) {
        Require(channel.label.back() == L'\0' && channel.text.back() == L'\0');
        Require(channel.value_type <= nelto::kText);
    }
    for (const ChannelRecord& channel : std::span(channels).subspan(used.size())) {
        Require(channel.view_ident == nelto::kFreeRecord && channel.label.front() == L'\0');
    }
}

/// Without the opening, and without a log file: its lines are made all the same.
void TryAnalyser(std::uint32_t kind) {
    nelto::InstrumentConnection connection;
    connection.kind           = kind;
    connection.open           = true;
    connection.generation2010 = std::make_unique<nelto::CNelto780Base2010>(connection);
    static_cast<void>(nelto::SynchronizeClock(connection));
    static_cast<void>(nelto::GetSubType(connection));
    nelto::SetActiveFuel(connection, 1);

    nelto::ChannelTable channels{};
    if (nelto::GetOnlineConfiguration(connection, channels) == nelto::kDone) {
        CheckTable(channels);
        const std::size_t used = nelto::UsedRecords(channels).size();
        static_cast<void>(nelto::GetOnlineValues(connection, channels));
        Require(nelto::UsedRecords(channels).size() == used);
    }
    CheckTable(channels);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    nelto::platform::memory::ResetLibraries();
    InstallLibraries(data[0] / kKinds.size() % 2 == 0);
    calls_left = data[1];
    rest       = std::span(data, size).subspan(2);
    TryAnalyser(kKinds[data[0] % kKinds.size()]);
    return 0;
}
