#include "scenario.h"

#include <algorithm>
#include <array>
#include <utility>

#include "analyser_2004.h"
#include "scenario_line.h"
#include "scenario_parts.h"

namespace simulator {
namespace {

constexpr std::size_t kMaxChannels      = 255;
constexpr std::uint16_t kFirstOwnKey    = 0x1000;  // text keys of channels and fuels that name none
constexpr std::uint32_t kMaxFaultAmount = 60000;
constexpr std::size_t kMaxBlockPayload  = 255;
constexpr std::size_t kMaxInfraredPiece = 65535;
constexpr std::size_t kMaxInfraredName  = 22;

class ScenarioReader {
public:
    using Statement = bool (ScenarioReader::*)();

    [[nodiscard]] bool ReadLine(std::string_view text);
    [[nodiscard]] bool Finish();
    [[nodiscard]] const std::string& Error() const { return line_.Error(); }
    [[nodiscard]] Scenario& Result() { return scenario_; }

    bool Ident();
    bool Seed() { return line_.ReadNumber(data_.seed); }
    bool DeviceType() { return line_.ReadNumber(data_.device_type); }
    bool Firmware();
    bool SerialNumber() { return line_.ReadNumber(data_.serial_number); }
    bool SmokePump() { return line_.ReadText(data_.smoke_pump); }
    bool MeasuringConfiguration() { return line_.ReadNumber(data_.measuring_configuration); }
    bool SlaveMode() { return line_.ReadNumber(data_.slave_mode); }
    bool BlockPayload() { return line_.ReadNumber<std::size_t>(scenario_.block_payload, 1, kMaxBlockPayload); }
    bool Zeroing();
    bool ActiveFuel() { return line_.ReadNumber(data_.active_fuel); }
    bool AddFuel();
    bool AddChannel();
    bool AddVisible();
    bool AddAdditional();
    bool AddCheckBlock();
    bool AddCheckList();
    bool AddCheckEntry();
    bool AddFault();
    bool AddInfraredDevice();
    bool AddInfraredFault();
    bool InfraredPiece() { return line_.ReadNumber<std::size_t>(scenario_.infrared.piece, 1, kMaxInfraredPiece); }

private:
    bool AddText(std::uint16_t key, const std::u16string& text);

    Scenario scenario_;
    AnalyserData& data_ = scenario_.analyser;
    ScenarioLine line_;
    std::uint16_t next_own_key_    = kFirstOwnKey;
    bool has_own_infrared_devices_ = false;
};

struct StatementRow {
    std::string_view word;
    ScenarioReader::Statement read;
};

// clang-format off
constexpr std::array kStatements = {
    StatementRow{"ident",                   &ScenarioReader::Ident},
    StatementRow{"seed",                    &ScenarioReader::Seed},
    StatementRow{"device_type",             &ScenarioReader::DeviceType},
    StatementRow{"firmware",                &ScenarioReader::Firmware},
    StatementRow{"serial_number",           &ScenarioReader::SerialNumber},
    StatementRow{"smoke_pump",              &ScenarioReader::SmokePump},
    StatementRow{"measuring_configuration", &ScenarioReader::MeasuringConfiguration},
    StatementRow{"slave_mode",              &ScenarioReader::SlaveMode},
    StatementRow{"block_payload",           &ScenarioReader::BlockPayload},
    StatementRow{"zeroing",                 &ScenarioReader::Zeroing},
    StatementRow{"active_fuel",             &ScenarioReader::ActiveFuel},
    StatementRow{"fuel",                    &ScenarioReader::AddFuel},
    StatementRow{"channel",                 &ScenarioReader::AddChannel},
    StatementRow{"visible",                 &ScenarioReader::AddVisible},
    StatementRow{"additional",              &ScenarioReader::AddAdditional},
    StatementRow{"check_block",             &ScenarioReader::AddCheckBlock},
    StatementRow{"check_list",              &ScenarioReader::AddCheckList},
    StatementRow{"check_entry",             &ScenarioReader::AddCheckEntry},
    StatementRow{"fault",                   &ScenarioReader::AddFault},
    StatementRow{"infrared_device",         &ScenarioReader::AddInfraredDevice},
    StatementRow{"infrared_fault",          &ScenarioReader::AddInfraredFault},
    StatementRow{"infrared_piece",          &ScenarioReader::InfraredPiece},
};
// clang-format on

bool ScenarioReader::ReadLine(std::string_view text) {
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

bool ScenarioReader::Finish() {
    line_ = ScenarioLine();
    if (data_.fuels.empty()) return true;
    if (std::ranges::find(data_.fuels, data_.active_fuel, &Fuel::number) != data_.fuels.end()) return true;
    return line_.Fail("the active fuel is not among the fuels");
}

bool ScenarioReader::Ident() {
    if (!line_.ReadNumber(data_.model)) return false;
    return IsKnownModel(data_.model) || line_.Fail("unknown ident");
}

bool ScenarioReader::Firmware() {
    std::string text;
    if (!line_.ReadWord(text)) return false;
    const std::size_t point = text.find('.');
    if (point == std::string::npos) return line_.Fail("expected a version such as 1.23");
    const char* end  = text.data() + text.size();
    const auto major = std::from_chars(text.data(), text.data() + point, data_.firmware_major, 16);
    const auto minor = std::from_chars(text.data() + point + 1, end, data_.firmware_minor, 16);
    const bool is_ok = major.ec == std::errc() && major.ptr == text.data() + point;
    return (is_ok && minor.ec == std::errc() && minor.ptr == end) || line_.Fail("bad version \"" + text + "\"");
}

bool ScenarioReader::Zeroing() { return ReadWindow(line_, data_.zeroing.emplace_back()); }

bool ScenarioReader::AddFuel() {
    Fuel fuel{.key = next_own_key_};
    std::u16string name;
    if (!line_.ReadNumber(fuel.number) || !line_.ReadText(name)) return false;
    if (!line_.ReadAttributes({{"co2max", [&] { return line_.ReadFloat(fuel.co2_max); }},
                               {"o2ref", [&] { return line_.ReadFloat(fuel.o2_reference); }},
                               {"key", [&] { return line_.ReadNumber(fuel.key); }}})) {
        return false;
    }
    if (std::ranges::find(data_.fuels, fuel.number, &Fuel::number) != data_.fuels.end()) {
        return line_.Fail("fuel " + std::to_string(fuel.number) + " stands twice");
    }
    data_.fuels.push_back(fuel);
    return AddText(fuel.key, name);
}

bool ScenarioReader::AddChannel() {
    if (data_.channels.size() == kMaxChannels) return line_.Fail("too many channels");
    Channel& channel  = data_.channels.emplace_back();
    std::uint16_t key = next_own_key_;
    std::optional<std::u16string> text;
    if (!line_.ReadNumber(channel.ident)) return false;
    if (!line_.ReadAttributes({{"unit", [&] { return line_.ReadNumber(channel.unit); }},
                               {"format", [&] { return line_.ReadNumber(channel.format); }},
                               {"value", [&] { return ReadCourse(line_, channel.value); }},
                               {"noise", [&] { return line_.ReadPositive(channel.value.noise); }},
                               {"text", [&] { return line_.ReadText(text.emplace()); }},
                               {"key", [&] { return line_.ReadNumber(key); }}})) {
        return false;
    }
    if (!text) return true;  // a channel without a text is not among the visible idents
    data_.visible.push_back({channel.ident, key});
    return AddText(key, *text);
}

bool ScenarioReader::AddVisible() {
    VisibleIdent visible{.key = next_own_key_};
    std::u16string text;
    if (!line_.ReadNumber(visible.ident)) return false;
    if (!line_.ReadText(text)) return false;
    if (!line_.ReadAttributes({{"key", [&] { return line_.ReadNumber(visible.key); }}})) return false;
    data_.visible.push_back(visible);
    return AddText(visible.key, text);
}

bool ScenarioReader::AddAdditional() {
    if (data_.additional.size() == kMaxChannels) return line_.Fail("too many additional channels");
    Channel& channel = data_.additional.emplace_back();
    return line_.ReadNumber(channel.ident) &&
           line_.ReadAttributes({{"unit", [&] { return line_.ReadNumber(channel.unit); }},
                                 {"format", [&] { return line_.ReadNumber(channel.format); }},
                                 {"value", [&] { return ReadCourse(line_, channel.value); }},
                                 {"noise", [&] { return line_.ReadPositive(channel.value.noise); }}});
}

bool ScenarioReader::AddCheckBlock() {
    CheckBlock& block = data_.check_blocks.emplace_back();
    return line_.ReadNumber(block.type) &&
           line_.ReadAttributes({{"length", [&] { return line_.ReadNumber(block.length); }}});
}

bool ScenarioReader::AddCheckList() {
    if (data_.check_blocks.empty()) return line_.Fail("check_list before any check_block");
    if (data_.check_blocks.back().lists.size() == kListsPerBlock)
        return line_.Fail("a check_block has three lists at most");
    data_.check_blocks.back().lists.emplace_back();
    return true;
}

bool ScenarioReader::AddCheckEntry() {
    if (data_.check_blocks.empty() || data_.check_blocks.back().lists.empty()) {
        return line_.Fail("check_entry before any check_list");
    }
    CheckEntry& entry = data_.check_blocks.back().lists.back().entries.emplace_back();
    return line_.ReadNumber(entry.ident) &&
           line_.ReadAttributes({{"unit", [&] { return line_.ReadNumber(entry.unit); }},
                                 {"format", [&] { return line_.ReadNumber(entry.format); }},
                                 {"values", [&] { return ReadSteps(line_, entry.values); }}});
}

bool ScenarioReader::AddFault() {
    Fault fault;
    std::string name;
    if (!line_.ReadWord(name)) return false;
    const std::optional<FaultKind> kind = FaultByName(name);
    if (!kind) return line_.Fail("unknown fault \"" + name + "\"");
    fault.kind = *kind;
    if (line_.NextIsValue() && !line_.ReadNumber(fault.amount.emplace(), 0u, kMaxFaultAmount)) return false;
    if (!line_.ReadAttributes({{"command", [&] { return line_.ReadNumber(fault.command.emplace()); }},
                               {"window", [&] { return ReadWindow(line_, fault.window.emplace()); }},
                               {"request", [&] { return line_.ReadNumber(fault.request, 1u); }},
                               {"every", [&] { return line_.ReadNumber(fault.every, 1u); }},
                               {"from", [&] { return line_.ReadNumber(fault.from, 1u); }},
                               {"block", [&] { return line_.ReadNumber(fault.block); }}})) {
        return false;
    }
    if ((fault.request != 0) + (fault.every != 0) + (fault.from != 0) > 1) {
        return line_.Fail("request, every and from exclude each other");
    }
    scenario_.faults.push_back(fault);
    return true;
}

/// The first one takes the place of the usual device.
bool ScenarioReader::AddInfraredDevice() {
    std::u16string text;
    if (!line_.ReadText(text)) return false;
    if (text.size() > kMaxInfraredName) return line_.Fail("an infrared name has 22 characters at most");
    if (!std::exchange(has_own_infrared_devices_, true)) scenario_.infrared.devices.clear();
    std::string& name = scenario_.infrared.devices.emplace_back();
    for (const char16_t unit : text) name += static_cast<char>(unit);
    return true;
}

bool ScenarioReader::AddInfraredFault() {
    InfraredTrouble trouble;
    std::string name;
    if (!line_.ReadWord(name)) return false;
    const std::optional<InfraredFault> fault = InfraredFaultByName(name);
    if (!fault) return line_.Fail("unknown infrared fault \"" + name + "\"");
    trouble.fault = *fault;
    if (!ReadWindow(line_, trouble.window)) return false;
    scenario_.infrared.troubles.push_back(trouble);
    return true;
}

/// A text under a key that has one already must be the same text: two channels may share it.
bool ScenarioReader::AddText(std::uint16_t key, const std::u16string& text) {
    const auto known = std::ranges::find(data_.texts, key, &ViewText::key);
    if (known != data_.texts.end()) return known->text == text || line_.Fail("another text stands under this key");
    data_.texts.push_back({key, text});
    ++next_own_key_;
    return true;
}

}  // namespace

std::optional<Scenario> ParseScenario(std::string_view text, std::string& error, const std::string& path) {
    ScenarioReader reader;
    if (!ReadScenarioLines(text, {path}, reader, error)) return std::nullopt;
    if (reader.Finish()) return std::move(reader.Result());
    error = "at the end: " + reader.Error();
    return std::nullopt;
}

std::optional<Scenario> LoadScenario(const std::string& path, std::string& error) {
    std::string text;
    if (ReadScenarioFile(path, text)) return ParseScenario(text, error, path);
    error = "cannot be read";
    return std::nullopt;
}

}  // namespace simulator
