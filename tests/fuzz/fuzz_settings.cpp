// Stored settings of any number, through to what uses them: links, ports, texts and outputs. Input: two bytes with the calls that
// fail, the four settings, how long the temporary directory is; then the analyser's messages, as in a conversation.
#include "core/dialog_view.h"
#include "core/serial_output.h"
#include "core/settings.h"
#include "instrument/opening.h"
#include "peers.h"
#include "platform/serial_port.h"
#include "platform/wide_text.h"
#include "quick_driver.h"

namespace {

using namespace nelto;
using test::Input;
using test::Quick;
using test::Require;

constexpr std::array kNames = {kCommunicationSetting, kHeatingCheckSetting, kSerialOutputSetting,
                               kSerialOutputPortSetting};

/// The port of that number by the one path that every Windows knows it by.
void CheckPath(std::uint32_t port) {
    const std::wstring number = std::to_wstring(port);
    std::array<wchar_t, platform::kSerialPathSize> path{};
    platform::SerialPath(port, path);
    Require(platform::TextIn(path) == (port < 10 ? L"COM" : L"\\\\.\\COM") + number);
    Require(platform::TextIn(path).size() < path.size());
}

void TryStart(ProgramState& state, const std::array<std::uint32_t, 4>& numbers) {
    StartProgram(state, L"JOB17 6420=3");
    Require(state.communication == numbers[0] && state.heating_check == numbers[1]);
    Require(state.serial_output == numbers[2] && state.serial_output_port == numbers[3]);
    Require(state.exchange_file.back() == L'\0');
    const std::wstring_view name = platform::TextIn(state.exchange_file);
    Require(name.ends_with(L"\\NeltoStackWatcher.txt") || name.size() + 1 == state.exchange_file.size());
    const std::wstring text = ConnectionText(state.communication);
    Require(text.find(L"COM") != std::wstring::npos || state.communication == kUsb || state.communication == kIrda);
}

void TrySerialOutput(const ProgramState& state) {
    static const Measurement kNothing{};
    SerialOutput output;
    if (output.Begin(state, kNothing)) output.Write();
    CheckPath(state.serial_output_port);
    CheckPath(state.communication);
    Require(Quick().ports_open == 0);
}

void TryConnection(ProgramState& state) {
    OpenFailure failure;
    const auto connection = Nelto780Open(state.communication, state.stop_request, failure);
    Require((connection == nullptr) == (*failure.text != '\0'));
    if (connection != nullptr) {
        Require(connection->Kind() >= kKind710 && connection->Kind() <= kKind781 && connection->SubType() <= 0xFF);
        Require(connection->Close() == 0);
    }
    Require(Quick().sockets == 0 && Quick().winsock == 0 && Quick().events == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ProgramState state;
    Input input(data, size);
    test::Analyser analyser(input);
    test::ResetQuick(&analyser, input.Take<std::uint16_t>());
    std::array<std::uint32_t, 4> numbers{};
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        const std::uint8_t small = input.Byte();  // most stored numbers are small
        numbers[index]           = small < 0xF0 ? small : input.Take<std::uint32_t>();
        if (small == 0xEF) numbers[index] = kIrda;
        Quick().settings[index] = {.name = kNames[index], .number = numbers[index]};
    }
    static const std::wstring kDirectory(300, L'd');
    Quick().temp_directory = std::wstring_view(kDirectory).substr(0, input.Byte());
    Quick().has_library    = [](std::wstring_view name) { return name == L"FTD2XX.DLL"; };
    Quick().find_function  = rigs::FindDriverFunction;
    Quick().driver_version = L"3.02.11";
    Quick().irda_devices   = rigs::OneIrdaAnalyser();

    TryStart(state, numbers);
    TrySerialOutput(state);
    analyser.infrared = state.communication == kIrda;
    TryConnection(state);

    const std::uint32_t chosen = input.Take<std::uint32_t>();
    ChangeSetting(state.communication, kCommunicationSetting, chosen);
    Require(state.communication == chosen);
    if (!Quick().Fails(test::kFailRegistry)) Require(Quick().settings.front().number == chosen);
    return 0;
}
