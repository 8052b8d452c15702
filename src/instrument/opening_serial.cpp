#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "instrument/generation2004/commands.h"
#include "instrument/generation2010/library_functions.h"
#include "instrument/opening_steps.h"
#include "platform/clock.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"
#include "transport/serial_link.h"

namespace nelto {
namespace {

// After opening the port, whatever the result: a second, in steps so that a stop is seen.
constexpr int kSettlePasses               = 10;
constexpr std::uint32_t kSettlePassLength = 100;  // milliseconds

/// An analyser of generation 2004 answers with its model in letters.
struct ModelRow {
    std::size_t answer_length;
    std::string_view model;
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
    return NamesModel(answer, row.answer_length, row.model);
}

bool Matches(const CodeRow& row, std::span<const std::uint8_t> answer) {
    return answer.size() == kCodeAnswerLength && answer[0] == 0 && answer[4] == row.code && answer[5] == 1;
}

template <typename Row, std::size_t Count>
bool FindKind(const std::array<Row, Count>& rows, std::span<const std::uint8_t> answer, Opening& opening) {
    const auto row = std::ranges::find_if(rows, [answer](const Row& candidate) { return Matches(candidate, answer); });
    if (row == rows.end()) return false;
    opening.kind = row->kind;
    opening.session.log.Write(row->log_line);
    return true;
}

void Settle(const Session& session) {
    for (int pass = 0; pass < kSettlePasses && !session.StopRequested(); ++pass) {
        platform::SleepMilliseconds(kSettlePassLength);
    }
}

Obstacle ObstacleOf(std::uint32_t error) {
    if (error == platform::kPortMissing) return Obstacle::kNoPort;
    return error == platform::kPortDenied || error == platform::kPortShared ? Obstacle::kInUse : Obstacle::kNone;
}

void SwitchToPipe(Session& session, platform::SerialHandle port) {
    StartLibraryLog();
    RoomyNumber2010<library::Handle> pipe;
    const std::uint32_t error = CallLibrary(library::kOpenBluetoothFromPipe, static_cast<library::Handle>(port), &pipe);
    if (error != 0) session.Failed(L"NELTORS232_OpenBluetoothFromPipe: Error code %d", error);
    // A port that the pipe works on is the library's: it stays open here, also when the connection is closed.
    if (pipe.value == 0) platform::CloseSerialPort(port);
    session.library_handle = pipe.value;
}

/// An analyser of generation 2010 is handed to the maker's library, which takes the port over and gives a handle of its own for it.
/// Where it does not, the port is closed and the analyser left without a handle: its first library call tells why.
bool IdentifyOverSerial(Opening& opening) {
    Session& session = opening.session;
    if (session.StopRequested()) return false;
    DirectAnswer answer;
    std::size_t received    = 0;
    const LinkStatus status = session.Transceive(kGetIdent, answer, received, kGetIdentTimeoutSerial);
    if (status != LinkStatus::kOk) {
        return opening.Failed(L"GET_IDENT [Bluetooth] failed, Error code %u", SerialResultOf(status),
                              "GET_IDENT [Bluetooth] failed");
    }
    session.log.Write(L"GET_IDENT [Bluetooth] OK");
    session.log.WriteF(L"RS232 dwReceived %u number of Byte", static_cast<unsigned>(received));

    const std::span<const std::uint8_t> ident = std::span(answer).first(received);
    if (FindKind(kModels, ident, opening)) return true;
    if (FindKind(kCodes, ident, opening)) {
        SwitchToPipe(session, static_cast<SerialLink&>(*session.link).Release());
        session.link.reset();
        return true;
    }
    return opening.Failed(L"GET_IDENT [Bluetooth] failed: wrong ident", "GET_IDENT [Bluetooth] failed: wrong ident");
}

}  // namespace

bool OpenOverSerial(Opening& opening) {
    std::uint32_t error        = 0;
    auto link                  = SerialLink::Open(opening.communication, opening.session.stop_request, &error);
    const std::uint32_t result = link == nullptr ? kSerialOpenFailed : kSerialOk;
    platform::DebugOutput(platform::Formatted(L"NeltoRS232 return code: %u", result).c_str());
    Settle(opening.session);
    if (link == nullptr) {
        opening.session.is_cut   = opening.session.StopRequested();  // the call may have been cancelled
        opening.failure.obstacle = ObstacleOf(error);
        return opening.Failed(L"Instrument opening via Bluetooth failed, Error code %u", result,
                              "open analyzer connection via Bluetooth SPP failed");
    }
    opening.session.link = std::move(link);
    opening.session.log.Write(L"Instrument opened via Bluetooth");
    return IdentifyOverSerial(opening);
}

}  // namespace nelto
