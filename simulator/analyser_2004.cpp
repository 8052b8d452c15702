#include "analyser_2004.h"

#include <algorithm>
#include <array>

#include "heating_check.h"

namespace simulator {
namespace {

constexpr std::uint8_t kGetIdent             = 0x42;
constexpr std::uint8_t kReadValuesConfig4    = 0x9C;
constexpr std::uint8_t kMeasuringConfig4     = 4;
constexpr std::size_t kSlaveModeAnswerLength = 12;

struct IdentRow {
    unsigned model;
    std::size_t length;
    std::array<std::uint8_t, 10> answer;
};

constexpr std::array kIdents = {
    IdentRow{780, 9, {0x00, 0x42, 0x00, 0x00, 'T', '7', '8', '0', 0x01}},
    IdentRow{790, 9, {0x00, 0x42, 0x00, 0x00, 'T', '7', '9', '0', 0x01}},
    IdentRow{710, 10, {0x00, 0x42, 0x00, 0x00, 'T', '7', '1', '0', 0x01, 0x00}},
    IdentRow{781, 6, {0x00, 0x42, 0x00, 0x00, 0x4B, 0x01}},
    IdentRow{752, 6, {0x00, 0x42, 0x00, 0x00, 0x3A, 0x01}},
    IdentRow{745, 6, {0x00, 0x42, 0x00, 0x00, 0x40, 0x01}},
    IdentRow{711, 6, {0x00, 0x42, 0x00, 0x00, 0x2C, 0x01}},
    IdentRow{746, 6, {0x00, 0x42, 0x00, 0x00, 0x41, 0x01}},
};

const IdentRow* FindIdent(unsigned model) {
    const auto row = std::ranges::find(kIdents, model, &IdentRow::model);
    return row == kIdents.end() ? nullptr : &*row;
}

constexpr bool IsDate(unsigned month, unsigned day) { return month >= 1 && month <= 12 && day >= 1 && day <= 31; }

constexpr bool IsTime(unsigned hour, unsigned minute, unsigned second) {
    return hour < 24 && minute < 60 && second < 60;
}

/// What a command works on. A handler appends the payload of the answer behind its header; false refuses the request.
struct Context {
    AnalyserData& data;
    ClockSetting& clock;
    std::uint64_t now_ms;
};

void AppendRecords(const Context& context, const std::vector<Channel>& channels, Message& answer) {
    for (const Channel& channel : channels) {
        Append32(answer, channel.ident);
        AppendValue(answer, ValueAt(channel.value, context.data.seed, channel.ident, context.now_ms));
        Append8(answer, channel.unit);
        AppendZeros(answer, 1);
        Append8(answer, channel.format);
        AppendZeros(answer, 4);
    }
}

const Fuel* FindFuel(const Context& context, unsigned number) {
    const auto fuel = std::ranges::find(context.data.fuels, number, &Fuel::number);
    return fuel == context.data.fuels.end() ? nullptr : &*fuel;
}

bool VisibleIdents(Context& context, Bytes request, Message& answer) {
    if (request[1] != 2 || request[2] != 0 || request[3] != 0 || request[4] != 0) return false;
    for (const VisibleIdent& visible : context.data.visible) {
        Append32(answer, visible.ident);
        AppendZeros(answer, 4);
        Append16(answer, visible.key);
        AppendZeros(answer, 2);
    }
    return true;
}

bool MeasuringConfiguration(Context& context, Bytes, Message& answer) {
    Append8(answer, context.data.measuring_configuration);
    AppendZeros(answer, 3);
    return true;
}

bool Values(Context& context, Bytes request, Message& answer) {
    const bool for_config_4 = request[0] == kReadValuesConfig4;
    if (for_config_4 != (context.data.measuring_configuration == kMeasuringConfig4)) return false;
    AppendRecords(context, context.data.channels, answer);
    return true;
}

bool ZeroFlag(Context& context, Bytes, Message& answer) {
    const auto running = [&](const TimeWindow& window) { return window.Contains(context.now_ms); };
    Append8(answer, std::ranges::any_of(context.data.zeroing, running) ? 0 : 1);
    return true;
}

bool AdditionalValues(Context& context, Bytes, Message& answer) {
    AppendRecords(context, context.data.additional, answer);
    return true;
}

bool Text(Context& context, Bytes request, Message& answer) {
    const auto text = std::ranges::find(context.data.texts, Read16(request, 1), &ViewText::key);
    if (text == context.data.texts.end()) return false;
    AppendText(answer, text->text);
    return true;
}

bool FuelSelection(Context& context, Bytes, Message& answer) {
    Append8(answer, context.data.active_fuel);
    return true;
}

bool FuelEntry(Context& context, Bytes request, Message& answer) {
    const Fuel* fuel = FindFuel(context, request[1]);
    if (fuel == nullptr) return false;
    Append16(answer, fuel->key);
    return true;
}

bool FuelParameters(Context& context, Bytes request, Message& answer) {
    const Fuel* fuel = FindFuel(context, request[1]);
    if (fuel == nullptr) return false;
    AppendValue(answer, fuel->co2_max);
    AppendValue(answer, fuel->o2_reference);
    return true;
}

bool DeviceType(Context& context, Bytes, Message& answer) {
    Append8(answer, context.data.device_type);
    return true;
}

bool FirmwareVersion(Context& context, Bytes, Message& answer) {
    AppendZeros(answer, 2);
    Append8(answer, context.data.firmware_minor);
    Append8(answer, context.data.firmware_major);
    return true;
}

bool SerialNumber(Context& context, Bytes, Message& answer) {
    Append32(answer, context.data.serial_number);
    return true;
}

bool SmokePump(Context& context, Bytes, Message& answer) {
    AppendText(answer, context.data.smoke_pump);
    return true;
}

bool SetClock(Context& context, Bytes request, Message&) {
    if (!IsTime(request[1], request[2], request[3]) || !IsDate(request[7], request[8])) return false;
    context.clock = {.year   = Read16(request, 5),
                     .month  = request[7],
                     .day    = request[8],
                     .hour   = request[1],
                     .minute = request[2],
                     .second = request[3]};
    return true;
}

bool GetSlaveMode(Context& context, Bytes, Message& answer) {
    Append8(answer, context.data.slave_mode);
    AppendZeros(answer, kSlaveModeAnswerLength - answer.size());
    return true;
}

bool SetSlaveMode(Context& context, Bytes request, Message&) {
    context.data.slave_mode = request[1];
    return true;
}

bool HeatingCheck(Context& context, Bytes request, Message& answer) {
    return AnswerHeatingCheck(context.data.check_blocks, request, answer);
}

bool SetDate710(Context& context, Bytes request, Message&) {
    if (!IsDate(request[2], request[1])) return false;
    context.clock.day   = request[1];
    context.clock.month = request[2];
    context.clock.year  = 1900u + request[3];
    return true;
}

bool SetTime710(Context& context, Bytes request, Message&) {
    if (!IsTime(request[1], request[2], request[3])) return false;
    context.clock.hour   = request[1];
    context.clock.minute = request[2];
    context.clock.second = request[3];
    return true;
}

enum class Models : std::uint8_t { k780, k710 };  // the 790 is spoken to as a 780

struct Command {
    std::uint8_t code;
    std::size_t length;
    std::size_t other_length;  // a second length that is accepted too
    Models models;
    std::string_view name;
    bool (*handler)(Context& context, Bytes request, Message& answer);
};

// clang-format off
constexpr std::array kCommands = {
    Command{0xA7,  5,  5, Models::k780, "GET_ALLVISIBLEVIEWIDENTS",       &VisibleIdents},
    Command{0x53,  1,  1, Models::k780, "get MeasConfig",                 &MeasuringConfiguration},
    Command{0x9C,  1,  1, Models::k780, "read values (configuration 4)",  &Values},
    Command{0xC2,  1,  1, Models::k780, "read values (other configuration)", &Values},
    Command{0xAA,  1,  1, Models::k780, "GET_MEAS_ZEROFLAG",              &ZeroFlag},
    Command{0xA2,  1,  1, Models::k780, "read additional-channel values", &AdditionalValues},
    Command{0xB1,  3,  3, Models::k780, "read view text",                 &Text},
    Command{0xB8,  1,  1, Models::k780, "read fuel selection",            &FuelSelection},
    Command{0xB0,  2,  2, Models::k780, "read fuel entry",                &FuelEntry},
    Command{0xB9,  2,  2, Models::k780, "read fuel parameters",           &FuelParameters},
    Command{0x85,  1,  9, Models::k780, "get device type",                &DeviceType},
    Command{0x40,  1,  1, Models::k780, "get firmware version",           &FirmwareVersion},
    Command{0x7F,  1,  1, Models::k780, "get serial number",              &SerialNumber},
    Command{0xB7,  1,  1, Models::k780, "get smoke pump number",          &SmokePump},
    Command{0x33,  9,  9, Models::k780, "set clock",                      &SetClock},
    Command{0x90,  1,  1, Models::k780, "get slave mode",                 &GetSlaveMode},
    Command{0x20,  2,  2, Models::k780, "set slave mode",                 &SetSlaveMode},
    Command{0x49, 11, 11, Models::k780, "open heating-check view list",   &HeatingCheck},
    Command{0xA5,  9, 13, Models::k780, "block read",                     &HeatingCheck},
    Command{0x0C,  5,  5, Models::k710, "set date",                       &SetDate710},
    Command{0x0D,  5,  5, Models::k710, "set time",                       &SetTime710},
};
// clang-format on

const Command* FindCommand(std::uint8_t code) {
    const auto row = std::ranges::find(kCommands, code, &Command::code);
    return row == kCommands.end() ? nullptr : &*row;
}

}  // namespace

std::string_view CommandName(std::uint8_t code) {
    if (code == kGetIdent) return "GET_IDENT";
    const Command* command = FindCommand(code);
    return command == nullptr ? "unknown command" : command->name;
}

bool IsKnownModel(unsigned model) { return FindIdent(model) != nullptr; }

std::optional<Message> Analyser2004::Answer(Bytes request, std::uint64_t now_ms) {
    const IdentRow* ident = FindIdent(data_.model);
    if (request.empty() || ident == nullptr) return std::nullopt;
    if (request[0] == kGetIdent && request.size() == 1) {
        return Message(ident->answer.begin(), ident->answer.begin() + static_cast<std::ptrdiff_t>(ident->length));
    }
    if (ident->length == 6) return std::nullopt;  // the rest of a generation-2010 analyser speaks another language

    Context context{data_, clock_, now_ms};
    const Models models    = data_.model == 710 ? Models::k710 : Models::k780;
    const Command* command = FindCommand(request[0]);
    Message answer         = {0, request[0], 0, 0};
    if (command != nullptr && command->models == models &&
        (request.size() == command->length || request.size() == command->other_length) &&
        command->handler(context, request, answer)) {
        return answer;
    }
    return Message{1, request[0], 0, 0};
}

}  // namespace simulator
