#include "library_call.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "scenario_2010.h"

namespace simulator {
namespace {

const void* Inside() { return reinterpret_cast<const void*>(&TheAnalyser2010); }

std::unique_ptr<Analyser2010> MakeAnalyser() {
    const std::string path = DropInFile(Inside(), "NELTO_SIMULATOR_2010", "scenario2010.txt");
    std::string error;
    std::optional<AnalyserData2010> data =
        path.empty() ? ParseScenario2010(DefaultScenario2010Text(), error) : LoadScenario2010(path, error);
    if (!data) {
        DropInTell("scenario " + path + ": " + error);
        return nullptr;
    }
    return std::make_unique<Analyser2010>(std::move(*data));
}

}  // namespace

Analyser2010* TheAnalyser2010() {
    static const std::unique_ptr<Analyser2010> analyser = MakeAnalyser();
    return analyser.get();
}

bool IsPlugged(const Analyser2010& analyser) {
    return analyser.IsThere(DropInNowMs()) &&
           DropInFile(Inside(), "NELTO_SIMULATOR_UNPLUGGED_2010", "unplugged2010.txt").empty();
}

std::uint32_t BeginCall(std::string_view function) {
    Analyser2010* const analyser = TheAnalyser2010();
    return analyser == nullptr ? kNoScenario : analyser->Begin(function);
}

std::uint32_t EndCall(const std::string& told, std::uint32_t result) {
    DropInTell(result == 0 ? told : told + " -> error " + std::to_string(result));
    return result;
}

void GiveNumber(std::size_t number, NumberOut out, std::string& told) {
    out->value = static_cast<std::uint32_t>(number);
    TellNumber(told, number);
}

void GiveByte(std::size_t number, NumberOut out, std::string& told) {
    const auto byte = static_cast<std::uint8_t>(number);
    std::memcpy(&out->value, &byte, sizeof(byte));
    TellNumber(told, byte);
}

void GiveHandle(std::uintptr_t handle, HandleOut out) { out->value = handle; }

void GiveText(std::u16string_view text, wchar_t* out, std::uint32_t capacity) {
    if (capacity == 0) return;
    const std::size_t length = std::min<std::size_t>(text.size(), capacity - 1);
    std::copy_n(text.begin(), length, out);
    out[length] = L'\0';
}

void GiveMapped(std::u16string_view text, wchar_t* out, wchar_t* scratch, std::uint32_t capacity) {
    GiveText(text, scratch, capacity);
    GiveText(text, out, capacity);
}

void GiveRecords(const Analyser2010::Records& records, nelto::ValueRecord2010* out, std::uint32_t count,
                 std::string& told) {
    const std::size_t given = std::min<std::size_t>(records.size(), count);
    std::copy_n(records.begin(), given, out);
    TellNumber(told, given);
}

void GiveFuel(const Fuel2010& fuel, nelto::FuelData2010* out) {
    out->maximum_carbon_dioxide = fuel.co2_max;
    out->reference_oxygen       = fuel.o2_reference;
}

void GiveUnread(void* out) { std::memset(out, 0, sizeof(std::uint32_t)); }

}  // namespace simulator
