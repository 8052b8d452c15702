#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "instrument/dispatch.h"
#include "instrument/generation2004/commands.h"
#include "instrument/opening.h"
#include "platform/clock.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"
#include "transport/serial_transport.h"

namespace nelto {
namespace {

// After opening the port, whatever the result: a second, in steps so that a stop is seen.
constexpr int kSettlePasses               = 10;
constexpr std::uint32_t kSettlePassLength = 100;  // milliseconds

/// An analyser of generation 2004 answers with its model in letters.
struct ModelRow {
    std::size_t answer_length;
    std::string_view model;  // bytes 4 to 7
    std::uint32_t kind;
    const wchar_t* log_line;
};

constexpr std::array kModels = {
    ModelRow{9, "T780", kKind780, L"nelto 780 2004 found"},
    ModelRow{9, "T790", kKind780, L"nelto 790 found"},  // driven as a 780
    ModelRow{10, "T710", kKind710, L"nelto 710 found"},
};

/// An analyser of generation 2010 answers with six bytes; byte 0 is 0, byte 4 its code, byte 5 is 1.
struct CodeRow {
    std::uint8_t code;
    std::uint32_t kind;
    const wchar_t* log_line;
};

constexpr std::size_t kCodeAnswerLength = 6;

constexpr std::array kCodes = {
    CodeRow{0x4B, kKind781, L"nelto 780 2010 found"},  CodeRow{0x3A, kKind752, L"nelto 752 found"},
    CodeRow{0x40, kKind745, L"nelto 745 found"},       CodeRow{0x2C, kKind711, L"nelto 710 2018 found"},
    CodeRow{0x41, kKind746, L"nelto 745 basic found"},
};

bool Matches(const ModelRow& row, std::span<const std::uint8_t> answer) {
    return answer.size() == row.answer_length && std::ranges::equal(answer.subspan(4, 4), row.model);
}

bool Matches(const CodeRow& row, std::span<const std::uint8_t> answer) {
    return answer.size() == kCodeAnswerLength && answer[0] == 0 && answer[4] == row.code && answer[5] == 1;
}

template <typename Row, std::size_t Count>
bool FindKind(const std::array<Row, Count>& rows, std::span<const std::uint8_t> answer,
              InstrumentConnection& connection) {
    const auto row = std::ranges::find_if(rows, [answer](const Row& candidate) { return Matches(candidate, answer); });
    if (row == rows.end()) return false;
    connection.kind = row->kind;
    connection.log.Write(row->log_line);
    return true;
}

void Settle(const InstrumentConnection& connection) {
    for (int pass = 0; pass < kSettlePasses && !connection.StopRequested(); ++pass) {
        platform::SleepMilliseconds(kSettlePassLength);
    }
}

}  // namespace

bool OpenOverSerial(InstrumentConnection& connection, const char*& error) {
    const std::uint32_t result = SerialOpen(connection.communication, connection.link.serial_port);
    std::array<wchar_t, 48> text{};
    platform::FormatText(text, L"NeltoRS232 return code: %u", result);
    platform::DebugOutput(text.data());
    Settle(connection);
    if (result != 0) {
        connection.log.WriteF(L"Instrument opening via Bluetooth failed, Error code %u", result);
        error = "open analyzer connection via Bluetooth SPP failed";
        return false;
    }
    connection.log.Write(L"Instrument opened via Bluetooth");
    return true;
}

bool IdentifyOverSerial(InstrumentConnection& connection, const char*& error) {
    if (connection.StopRequested()) return false;
    DirectAnswer answer;
    std::size_t received        = 0;
    const std::uint32_t failure = LinkTransceive(connection.link, kGetIdent, answer, received, kGetIdentTimeoutSerial);
    if (failure != 0) {
        connection.log.WriteF(L"GET_IDENT [Bluetooth] failed, Error code %u", failure);
        error = "GET_IDENT [Bluetooth] failed";
        return false;
    }
    connection.log.Write(L"GET_IDENT [Bluetooth] OK");
    connection.log.WriteF(L"RS232 dwReceived %u number of Byte", static_cast<unsigned>(received));

    const std::span<const std::uint8_t> ident = std::span(answer).first(received);
    if (FindKind(kModels, ident, connection)) return true;
    if (FindKind(kCodes, ident, connection)) {
        SwitchToPipe(connection);
        return true;
    }
    return OpeningFailed(connection, error, L"GET_IDENT [Bluetooth] failed: wrong ident",
                         "GET_IDENT [Bluetooth] failed: wrong ident");
}

}  // namespace nelto
