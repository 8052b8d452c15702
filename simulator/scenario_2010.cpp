#include "scenario_2010.h"

#include <algorithm>
#include <array>

#include "scenario_line.h"
#include "scenario_parts.h"

namespace simulator {
namespace {

constexpr std::size_t kMostPositions = 255;
constexpr std::uint32_t kMostVersion = 0xFF;

constexpr std::array<std::string_view, 28> kFunctions = {
#define NELTO_EXPORT(library, name, arguments) #name,
#include "generation2010/exports.inc"
#undef NELTO_EXPORT
};

class Reader2010 {
public:
    using Statement = bool (Reader2010::*)();

    [[nodiscard]] bool ReadLine(std::string_view text);
    [[nodiscard]] bool Finish();
    [[nodiscard]] const std::string& Error() const { return line_.Error(); }
    [[nodiscard]] AnalyserData2010& Result() { return data_; }

    bool Kind();
    bool Seed() { return line_.ReadNumber(data_.seed); }
    bool Devices();
    bool UsbSerial() { return line_.ReadText(data_.usb_serial_number); }
    bool DeviceType() { return line_.ReadNumber(data_.device_type.emplace()); }
    bool DeviceName() { return line_.ReadText(data_.device_name.emplace()); }
    bool Firmware();
    bool SerialNumber() { return line_.ReadNumber(data_.serial_number); }
    bool SmokePump() { return line_.ReadText(data_.smoke_pump); }
    bool Measurement() { return line_.ReadNumber(data_.measurement); }
    bool ActiveFuel() { return line_.ReadNumber(data_.active_fuel); }
    bool AddFuel();
    bool AddValue() { return ReadValue(data_.values.emplace_back()); }
    bool AddPosition();
    bool AddCached();
    bool AddText();
    bool AddUnit();
    bool AddError();
    bool AddUnplugged() { return ReadWindow(line_, data_.unplugged.emplace_back()); }

private:
    [[nodiscard]] bool Holds(std::uint32_t fuel) const {
        return std::ranges::find(data_.fuels, fuel, &Fuel2010::id) != data_.fuels.end();
    }
    bool ReadValue(Value2010& value);

    AnalyserData2010 data_;
    ScenarioLine line_;
};

struct StatementRow {
    std::string_view word;
    Reader2010::Statement read;
};

// clang-format off
constexpr std::array kStatements = {
    StatementRow{"kind",          &Reader2010::Kind},
    StatementRow{"seed",          &Reader2010::Seed},
    StatementRow{"devices",       &Reader2010::Devices},
    StatementRow{"usb_serial",    &Reader2010::UsbSerial},
    StatementRow{"device_type",   &Reader2010::DeviceType},
    StatementRow{"device_name",   &Reader2010::DeviceName},
    StatementRow{"firmware",      &Reader2010::Firmware},
    StatementRow{"serial_number", &Reader2010::SerialNumber},
    StatementRow{"smoke_pump",    &Reader2010::SmokePump},
    StatementRow{"measurement",   &Reader2010::Measurement},
    StatementRow{"active_fuel",   &Reader2010::ActiveFuel},
    StatementRow{"fuel",          &Reader2010::AddFuel},
    StatementRow{"value",         &Reader2010::AddValue},
    StatementRow{"position",      &Reader2010::AddPosition},
    StatementRow{"cached",        &Reader2010::AddCached},
    StatementRow{"text",          &Reader2010::AddText},
    StatementRow{"unit",          &Reader2010::AddUnit},
    StatementRow{"error",         &Reader2010::AddError},
    StatementRow{"unplugged",     &Reader2010::AddUnplugged},
};
// clang-format on

bool Reader2010::ReadLine(std::string_view text) {
    line_ = ScenarioLine();
    if (!line_.Split(text)) return false;
    if (line_.AtEnd()) return true;
    std::string word;
    if (!line_.ReadWord(word)) return false;
    const auto* row = std::ranges::find(kStatements, word, &StatementRow::word);
    if (row == kStatements.end()) return line_.Fail("unknown word \"" + word + "\"");
    if (!(this->*row->read)()) return false;
    return line_.ReadAttributes({});  // whatever is left over on the line is unknown
}

bool Reader2010::Finish() {
    line_ = ScenarioLine();
    if (data_.fuels.empty() || Holds(data_.active_fuel)) return true;
    return line_.Fail("the active fuel is not among the fuels");
}

bool Reader2010::Kind() {
    if (!line_.ReadNumber(data_.kind)) return false;
    return FindKind2010(data_.kind) != nullptr || line_.Fail("unknown kind");
}

bool Reader2010::Devices() {
    std::uint32_t product = 0;
    return line_.ReadNumber(product) && line_.ReadNumber(data_.devices[product]);
}

bool Reader2010::Firmware() {
    std::uint32_t high = 0;
    std::uint32_t low  = 0;
    if (!line_.ReadNumber(high, 0U, kMostVersion) || !line_.ReadNumber(low, 0U, kMostVersion)) return false;
    data_.firmware = high << 8 | low;
    return true;
}

bool Reader2010::AddFuel() {
    Fuel2010 fuel;
    if (!line_.ReadNumber(fuel.id) || !line_.ReadText(fuel.name)) return false;
    if (Holds(fuel.id)) return line_.Fail("fuel " + std::to_string(fuel.id) + " stands twice");
    Fuel2010& added = data_.fuels.emplace_back(std::move(fuel));
    return line_.ReadAttributes({{"co2max", [&] { return line_.ReadFloat(added.co2_max); }},
                                 {"o2ref", [&] { return line_.ReadFloat(added.o2_reference); }}});
}

bool Reader2010::AddPosition() {
    if (data_.cache.size() == kMostPositions) return line_.Fail("too many positions");
    data_.cache.emplace_back();
    return true;
}

bool Reader2010::AddCached() {
    if (data_.cache.empty()) return line_.Fail("cached before any position");
    return ReadValue(data_.cache.back().emplace_back());
}

bool Reader2010::AddText() {
    Text2010& text = data_.texts.emplace_back();
    if (!line_.ReadNumber(text.ident) || !line_.ReadText(text.english)) return false;
    return line_.AtEnd() || line_.ReadText(text.german);
}

bool Reader2010::AddUnit() {
    std::uint16_t unit = 0;
    return line_.ReadNumber(unit) && line_.ReadText(data_.units[unit]);
}

bool Reader2010::AddError() {
    FunctionError error;
    if (!line_.ReadWord(error.function)) return false;
    if (std::ranges::find(kFunctions, error.function) == kFunctions.end() || !error.function.starts_with("NELTO"))
        return line_.Fail("unknown function");
    if (!line_.ReadNumber(error.code, 1U)) return false;
    if (!line_.ReadAttributes({{"from", [&] { return line_.ReadNumber(error.from, 1U); }},
                               {"to", [&] { return line_.ReadNumber(error.to, 1U); }}})) {
        return false;
    }
    data_.errors.push_back(std::move(error));
    return true;
}

bool Reader2010::ReadValue(Value2010& value) {
    return line_.ReadNumber(value.ident) &&
           line_.ReadAttributes({{"unit", [&] { return line_.ReadNumber(value.unit); }},
                                 {"resolution", [&] { return line_.ReadNumber(value.resolution); }},
                                 {"status", [&] { return line_.ReadNumber(value.status); }},
                                 {"value", [&] { return ReadCourse(line_, value.value); }},
                                 {"noise", [&] { return line_.ReadPositive(value.value.noise); }}});
}

}  // namespace

std::optional<AnalyserData2010> ParseScenario2010(std::string_view text, std::string& error, const std::string& path) {
    Reader2010 reader;
    if (!ReadScenarioLines(text, {path}, reader, error)) return std::nullopt;
    if (reader.Finish()) return std::move(reader.Result());
    error = "at the end: " + reader.Error();
    return std::nullopt;
}

std::optional<AnalyserData2010> LoadScenario2010(const std::string& path, std::string& error) {
    std::string text;
    if (ReadScenarioFile(path, text)) return ParseScenario2010(text, error, path);
    error = "cannot be read";
    return std::nullopt;
}

}  // namespace simulator
