// Hostile libraries of the maker: every count, record, number and text that they give, and the opening over USB. The first byte
// chooses the instrument kind, whether there is a text mapper, and whether the devices are counted and opened. From then on every
// call of a library takes its answer from the input: one byte for its result, 0xF0 and above a failure, then what it gives.
#include <array>
#include <memory>
#include <utility>

#include "fuzz.h"
#include "instrument/generation2010/analyser_2010.h"
#include "instrument/opening_steps.h"
#include "library_call.h"
#include "platform/memory/memory_dynamic_library.h"

namespace {

using namespace nelto;
using simulator::kUsbDevice;
using test::Input;
using test::Require;

constexpr std::array<std::uint32_t, 6> kKinds = {781, 745, 760, 752, 711, 746};

Input* answers   = nullptr;
std::size_t open = 0;

/// Most numbers are small; behind 0xF0 and above comes one of 32 bits.
std::uint32_t NextNumber() {
    const std::uint8_t number = answers->Byte();
    return number < 0xF0 ? number : answers->Take<std::uint32_t>();
}

}  // namespace

// What the libraries give, from the input instead of the analyser.
namespace simulator {

Analyser2010* TheAnalyser2010() {
    static Analyser2010 analyser({.fuels = {{}}, .cache = std::vector<std::vector<Value2010>>(255)});
    return &analyser;
}
bool IsPlugged(const Analyser2010&) { return true; }
bool IsPipe(std::uint32_t) { return false; }
void ClosePipe(std::uint32_t) {}
std::uint64_t DropInNowMs() { return 0; }

std::uint32_t BeginCall(std::string_view) { return 0; }
std::uint32_t EndCall(const std::string& told, std::uint32_t result) {
    Require(result != kBadHandle);
    if (told.starts_with("NELTO760SPI_StartLogging")) return 0;
    if (told.starts_with("NELTO760SPI_Close")) Require(open-- == 1);
    const std::uint8_t hostile = answers->Byte();
    if (told.starts_with("NELTOEMUSB_Open") && hostile < 0xF0) ++open;
    return hostile < 0xF0 ? 0 : hostile;
}

/// Whatever fuel is told, the analyser has it.
void GiveNumber(std::size_t, NumberOut out, std::string&) {
    out->value                                 = NextNumber();
    TheAnalyser2010()->Data().fuels.front().id = out->value;
}
/// A few positions, or all that their one byte can count; what stands above that byte does not count.
void GiveByte(std::size_t, NumberOut out, std::string&) {
    out->value = NextNumber();
    if (out->value != 0xFFFFFFFF) out->value &= 0xFFFFFF07;
}
void GiveHandle(std::uintptr_t handle, HandleOut out) { out->value = handle; }
/// As long as there is room; the longest one fills it without an end.
void GiveText(std::u16string_view, wchar_t* out, std::uint32_t capacity) {
    const std::uint32_t size = answers->Byte();
    for (std::uint32_t index = 0; index < size; ++index) {
        const auto letter = answers->Take<std::uint16_t>();
        if (index < capacity) out[index] = letter;
    }
    if (size == 255 && size < capacity) std::fill_n(out + size, capacity - size, L'x');
    if (size < 255 && size < capacity) out[size] = L'\0';
    if (capacity == kUsbSerialCapacity)
        TheAnalyser2010()->Data().usb_serial_number.assign(out, std::find(out, out + capacity, L'\0'));
}
/// One that does not care about the capacity.
void GiveMapped(std::u16string_view text, wchar_t* out, wchar_t* scratch, std::uint32_t) {
    GiveText(text, out, 511);
    scratch[0] = L'\0';
}
void GiveRecords(const Analyser2010::Records&, ValueRecord2010* out, std::uint32_t count, std::string&) {
    const test::ByteSpan bytes = answers->Take(count * sizeof(ValueRecord2010));
    std::ranges::copy(bytes, reinterpret_cast<std::uint8_t*>(out));
}
void GiveFuel(const Fuel2010&, FuelData2010* out) { *out = answers->Take<FuelData2010>(); }
void GiveUnread(void* out) { static_cast<std::uint8_t*>(out)[63] = 0xEE; }

}  // namespace simulator

namespace {

constexpr std::array kMappers = {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"};

/// Every library but the second one of the device, with or without the text mappers.
void Install(bool with_mappers) {
    static const test::LibraryFunctions functions = {
#define NELTO_EXPORT(library, function, arguments) {#function, reinterpret_cast<void*>(&(function))},
#include "exports.inc"
#undef NELTO_EXPORT
    };
    static int installed = -1;
    if (std::exchange(installed, with_mappers ? 1 : 0) == (with_mappers ? 1 : 0)) return;
    for (const wchar_t* name : {L"nelto7XXE.dll", L"neltoEmUSB.dll", L"neltoRS232.dll"})
        test::InstallLibrary(name, functions);
    for (const wchar_t* name : kMappers) {
        test::InstallLibrary(name, functions);
        if (!with_mappers) test::RemoveLibrary(name);
    }
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
    test::FreshWorld();
    Install(choice / kKinds.size() % 2 == 0);
    {
        Opening opening(kUsb, nullptr);
        opening.kind                   = kKinds[choice % kKinds.size()];
        opening.session.library_handle = kUsbDevice;
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
