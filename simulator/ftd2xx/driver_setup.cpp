#include "driver_setup.h"

#include <algorithm>
#include <array>

#include "scenario_line.h"
#include "scenario_parts.h"

namespace simulator {
namespace {

constexpr std::size_t kMostPayload   = 255;
constexpr std::size_t kMostPiece     = 263;
constexpr std::uint32_t kMostLatency = 60000;  // and of every other time

constexpr std::array<std::string_view, 10> kFunctions = {
    "FT_ListDevices",          "FT_OpenEx",         "FT_Close", "FT_EE_Read",
    "FT_GetDeviceInfo",        "FT_SetBaudRate",    "FT_Write", "FT_Read",
    "FT_SetEventNotification", "FT_GetQueueStatus",
};

class SetupReader {
public:
    using Statement = bool (SetupReader::*)();

    [[nodiscard]] bool ReadLine(std::string_view text);
    [[nodiscard]] const std::string& Error() const { return line_.Error(); }
    [[nodiscard]] DriverSetup& Setup() { return setup_; }

    bool Converter();
    bool Nothing();
    bool Status();
    bool ShortWrite() { return Fault(CallFaultKind::kShortWrite, "FT_Write"); }
    bool ShortRead() { return Fault(CallFaultKind::kShortRead, "FT_Read"); }
    bool EmptyQueue() { return Fault(CallFaultKind::kEmptyQueue, "FT_GetQueueStatus"); }
    bool Trickle() { return TimedFault(CallFaultKind::kTrickle); }
    bool EarlySignal() { return TimedFault(CallFaultKind::kEarlySignal); }
    bool Payload() { return line_.ReadNumber<std::size_t>(setup_.payload, 1, kMostPayload); }
    bool Pieces() { return line_.ReadNumber<std::size_t>(setup_.piece, 1, kMostPiece); }
    bool Latency() { return line_.ReadNumber<std::uint32_t>(setup_.latency_ms, 0, kMostLatency); }

private:
    void ForgetUsualConverter();
    bool Fault(CallFaultKind kind, std::string_view function);
    bool TimedFault(CallFaultKind kind);
    bool ReadCalls(CallFault& fault);
    bool ReadPlainText(std::string& text) { return line_.ReadPlainText(text); }
    bool ReadPlainText(std::optional<std::string>& text) { return line_.ReadPlainText(text.emplace()); }

    DriverSetup setup_;
    ScenarioLine line_;
    bool has_own_converters_ = false;
};

struct StatementRow {
    std::string_view word;
    SetupReader::Statement read;
};

// clang-format off
constexpr std::array kStatements = {
    StatementRow{"converter",    &SetupReader::Converter},
    StatementRow{"nothing",      &SetupReader::Nothing},
    StatementRow{"status",       &SetupReader::Status},
    StatementRow{"short_write",  &SetupReader::ShortWrite},
    StatementRow{"short_read",   &SetupReader::ShortRead},
    StatementRow{"empty_queue",  &SetupReader::EmptyQueue},
    StatementRow{"trickle",      &SetupReader::Trickle},
    StatementRow{"early_signal", &SetupReader::EarlySignal},
    StatementRow{"payload",      &SetupReader::Payload},
    StatementRow{"pieces",       &SetupReader::Pieces},
    StatementRow{"latency",      &SetupReader::Latency},
};
// clang-format on

bool SetupReader::ReadLine(std::string_view text) {
    line_ = ScenarioLine();
    if (!line_.Split(text)) return false;
    if (line_.AtEnd()) return true;
    std::string word;
    if (!line_.ReadWord(word)) return false;
    const auto* row = std::ranges::find(kStatements, word, &StatementRow::word);
    if (row == kStatements.end()) return line_.Fail("unknown word \"" + word + "\"");
    return (this->*row->read)() && line_.ReadAttributes({});  // whatever is left over on the line is unknown
}

void SetupReader::ForgetUsualConverter() {
    if (!has_own_converters_) setup_.converters.clear();
    has_own_converters_ = true;
}

bool SetupReader::Converter() {
    ForgetUsualConverter();
    ConverterSetup& converter = setup_.converters.emplace_back();
    return line_.ReadAttributes({
        {"vendor", [&] { return line_.ReadNumber(converter.vendor_id); }},
        {"type", [&] { return line_.ReadNumber(converter.product_id); }},
        {"serial", [&] { return ReadPlainText(converter.serial); }},
        {"told_serial", [&] { return ReadPlainText(converter.told_serial); }},
        {"scenario", [&] { return ReadPlainText(converter.scenario); }},
        {"unplugged", [&] { return ReadWindow(line_, converter.unplugged.emplace()); }},
    });
}

bool SetupReader::Nothing() {
    ForgetUsualConverter();
    return true;
}

bool SetupReader::Status() {
    CallFault& fault = setup_.faults.emplace_back();
    if (!line_.ReadWord(fault.function)) return false;
    if (std::ranges::find(kFunctions, fault.function) == kFunctions.end()) {
        return line_.Fail("unknown function \"" + fault.function + "\"");
    }
    return line_.ReadNumber<std::uint32_t>(fault.status, 1) && ReadCalls(fault);
}

bool SetupReader::Fault(CallFaultKind kind, std::string_view function) {
    CallFault& fault = setup_.faults.emplace_back();
    fault.kind       = kind;
    fault.function   = function;
    return ReadCalls(fault);
}

/// What comes of a call of FT_Write: the time, then the calls.
bool SetupReader::TimedFault(CallFaultKind kind) {
    CallFault& fault = setup_.faults.emplace_back();
    fault.kind       = kind;
    fault.function   = "FT_Write";
    return line_.ReadNumber<std::uint32_t>(fault.status, 1, kMostLatency) && ReadCalls(fault);
}

bool SetupReader::ReadCalls(CallFault& fault) {
    return line_.ReadAttributes({
        {"from", [&] { return line_.ReadNumber<std::uint32_t>(fault.first, 1); }},
        {"calls", [&] { return line_.ReadNumber<std::uint32_t>(fault.calls, 1); }},
    });
}

/// D2XX texts are plain 8-bit ones.
}  // namespace

std::optional<DriverSetup> ParseDriverSetup(std::string_view text, std::string& error, const std::string& path) {
    SetupReader reader;
    if (!ReadScenarioLines(text, {path}, reader, error)) return std::nullopt;
    return std::move(reader.Setup());
}

std::optional<DriverSetup> LoadDriverSetup(const std::string& path, std::string& error) {
    std::string text;
    if (ReadScenarioFile(path, text)) return ParseDriverSetup(text, error, path);
    error = "cannot be read";
    return std::nullopt;
}

}  // namespace simulator
