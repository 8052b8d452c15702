#include "fake_maker_libraries.h"

#include <algorithm>
#include <cstring>

#include "library_call.h"
#include "platform/memory/memory_platform.h"
#include "platform/wide_text.h"
#include "scenario_2010.h"

namespace nelto::doubles {
namespace {

using platform::memory::InstallLibrary;
using platform::memory::LibraryFunctions;

constexpr std::string_view kScenario = R"(
include generation2010
serial_number 12345
device_type 0
active_fuel 104
devices 37 0)";

const simulator::AnalyserData2010& Simulated() {
    static const simulator::AnalyserData2010 simulated = [error = std::string()]() mutable {
        simulator::AnalyserData2010 data = simulator::ParseScenario2010(kScenario, error).value();
        data.values = {}, data.cache = {}, data.texts = {};
        return data;
    }();
    return simulated;
}

const std::map<std::string, LibraryFunctions>& Libraries() {
    static const std::map<std::string, LibraryFunctions> libraries = [] {
        std::map<std::string, LibraryFunctions> all;
#define NELTO_EXPORT(library, name, arguments) all[#library][#name] = reinterpret_cast<void*>(&(name));
#include "exports.inc"
#undef NELTO_EXPORT
        return all;
    }();
    return libraries;
}

/// Without the prefix that names the library.
std::string ShortName(std::string_view told) { return std::string(told.substr(told.find('_') + 1)); }

/// The number that is given; 32 bits more are written than the program reads.
std::uint64_t Spoilt(std::size_t number, const std::string& told) {
    const auto lie = Maker().numbers.find(ShortName(told.substr(0, told.find(' '))));
    return 0xEEEEEEEE00000000 | static_cast<std::uint32_t>(lie == Maker().numbers.end() ? number : lie->second);
}

}  // namespace

FakeMaker::FakeMaker() : Analyser2010(Simulated()) {}

std::size_t FakeMaker::CallsOf(const std::string& name) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        calls, [&](const std::string& call) { return call == name || call.starts_with(name + ' '); }));
}

FakeMaker& Maker() {
    static FakeMaker maker;
    return maker;
}

LibraryFunctions InstrumentFunctions() {
    LibraryFunctions both = Libraries().at("nelto7XXE");
    both.insert(Libraries().at("nelto7XXT").begin(), Libraries().at("nelto7XXT").end());
    return both;
}

void InstallFakeMaker() {
    Maker() = {};
    InstallLibrary(L"nelto7XXE.dll", InstrumentFunctions());
    InstallLibrary(L"neltoEmUSB.dll", Libraries().at("neltoEmUSB"));
    InstallLibrary(L"neltoRS232.dll", Libraries().at("neltoRS232"));
    for (const wchar_t* mapper : {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"}) {
        InstallLibrary(mapper, Libraries().at("IDTEXTMAPPER"));
    }
}

void LieAboutCounts(std::uint32_t count) {
    for (const char* function : {"GetNumberOfCurrentViewValues", "GetMeasCacheNumberOfValues"})
        Maker().numbers[function] = count;
}

void DivideInstrumentFunctions(const std::string& name, bool to_the_first) {
    LibraryFunctions others    = InstrumentFunctions();
    const auto alone           = others.extract(name);
    const LibraryFunctions one = {{alone.key(), alone.mapped()}};
    InstallLibrary(L"nelto7XXE.dll", to_the_first ? one : others);
    InstallLibrary(L"nelto7XXT.dll", to_the_first ? others : one);
}

simulator::Value2010 BitsRecord(std::uint32_t ident, std::uint32_t bits, std::uint16_t unit) {
    auto& texts = Maker().Data().texts;
    if (std::ranges::find(texts, ident, &simulator::Text2010::ident) == texts.end()) {
        wchar_t usual[16] = {};
        platform::FormatText(usual, L"V%x", ident);
        texts.push_back({ident, std::u16string(usual, std::ranges::find(usual, L'\0')), {}});
    }
    return {.ident = ident, .unit = unit, .resolution = 254, .status = bits, .value = {}};
}

}  // namespace nelto::doubles

// What the libraries leave open.
namespace simulator {

using nelto::doubles::FakeMaker;
using nelto::doubles::Maker;

Analyser2010* TheAnalyser2010() { return &Maker(); }
bool IsPlugged(const Analyser2010& analyser) { return analyser.IsThere(DropInNowMs()); }
std::uint64_t DropInNowMs() { return nelto::platform::memory::World().now; }

bool IsPipe(std::uint32_t pipe) { return pipe == FakeMaker::kPipe; }
void ClosePipe(std::uint32_t) {}

std::uint32_t BeginCall(std::string_view function) {
    if (Maker().before_call) Maker().before_call();
    if (Maker().calls.size() + 1 == Maker().failing_call) return kNotThere;
    const auto forced = Maker().results.find(nelto::doubles::ShortName(function));
    return forced == Maker().results.end() ? Maker().Begin(function) : forced->second;
}

std::uint32_t EndCall(const std::string& told, std::uint32_t result) {
    Maker().calls.push_back(nelto::doubles::ShortName(told) +
                            (result == 0 ? "" : " -> error " + std::to_string(result)));
    return told.starts_with("NELTOEMUSB_GetNumberOfDevices") ? 77 : result;  // only the number counts there
}

void GiveNumber(std::size_t number, NumberOut out, std::string& told) {
    const std::uint64_t spoilt = nelto::doubles::Spoilt(number, told);
    std::memcpy(out, &spoilt, sizeof(spoilt));
    TellNumber(told, number);
}

void GiveByte(std::size_t number, NumberOut out, std::string& told) { GiveNumber(0xEEEEEE00 | number, out, told); }

/// Of a handle the program hands back the lower 32 bits.
void GiveHandle(std::uintptr_t handle, HandleOut out) {
    if (handle != kUsbDevice && !Maker().gives_pipe) return;
    const std::uint64_t spoilt = 0x1122334400000000 | (handle == kUsbDevice ? kUsbDevice : FakeMaker::kPipe);
    std::memcpy(out, &spoilt, sizeof(spoilt));
}

/// One that fills its room has no end.
void GiveText(std::u16string_view text, wchar_t* out, std::uint32_t capacity) {
    std::ranges::copy(text.substr(0, capacity), out);
    if (text.size() < capacity) out[text.size()] = L'\0';
}

/// Longer than is asked for.
void GiveMapped(std::u16string_view text, wchar_t* out, wchar_t* scratch, std::uint32_t) {
    std::ranges::copy(text, out);
    std::ranges::copy(text, scratch);
}

void GiveRecords(const Analyser2010::Records& records, nelto::ValueRecord2010* out, std::uint32_t count,
                 std::string& told) {
    const std::size_t given = std::min<std::size_t>(records.size(), count);
    std::copy_n(records.begin(), given, out);
    TellNumber(told, count);
}

void GiveFuel(const Fuel2010& fuel, nelto::FuelData2010* out) {
    std::memset(out, 0xEE, sizeof(*out));
    out->maximum_carbon_dioxide = fuel.co2_max;
    out->reference_oxygen       = fuel.o2_reference;
}

void GiveUnread(void* out) { std::memset(out, 0xEE, 64); }

}  // namespace simulator
