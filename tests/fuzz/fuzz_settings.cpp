// Stored settings of any number, through to what uses them: links, ports, texts and outputs. Input: two bytes with the calls that
// fail, the four settings, how long the temporary directory is; then the analyser's messages, as in a conversation.
#include "core/dialog_view.h"
#include "core/serial_output.h"
#include "core/settings.h"
#include "fake_d2xx.h"
#include "instrument/opening.h"
#include "peers.h"
#include "platform/memory/memory_event.h"
#include "platform/serial_port.h"
#include "platform/wide_text.h"

namespace {

using namespace nelto;
using test::Call;
using test::Input;
using test::Require;

constexpr std::array kNames = {kCommunicationSetting, kHeatingCheckSetting, kSerialOutputSetting,
                               kSerialOutputPortSetting};

/// The one path that every Windows knows the port by.
std::wstring PathOf(std::uint32_t port) { return (port < 10 ? L"COM" : L"\\\\.\\COM") + std::to_wstring(port); }

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

/// Takes whole lines.
class Receiver final : public test::SerialDevice {
public:
    std::size_t Write(test::ByteSpan bytes) override {
        Require(bytes.size() >= 2 && bytes[bytes.size() - 2] == '\n' && bytes.back() == '\r');
        return bytes.size();
    }
    std::size_t Read(std::span<std::uint8_t>) override { return 0; }
};

void TrySerialOutput(const ProgramState& state) {
    static const Measurement kNothing{};
    SerialOutput output;
    if (output.Begin(state, kNothing)) output.Write();
    for (const auto& [path, port] : test::TheWorld().serial_ports) Require(port.open_handles == 0);
}

void TryConnection(ProgramState& state) {
    OpenFailure failure;
    const auto connection = Nelto780Open(state.communication, state.stop_request, failure);
    Require((connection == nullptr) == (*failure.text != '\0'));
    if (connection != nullptr) {
        Require(connection->Kind() >= kKind710 && connection->Kind() <= kKind781 && connection->SubType() <= 0xFF);
        Require(connection->Close() == 0);
    }
    Require(test::TheIrdaWorld().open_sockets == 0 && test::TheIrdaWorld().references == 0 && test::OpenEvents() == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ProgramState state;
    Input input(data, size);
    constexpr std::array kCalls = {Call::kOpenSerial,  Call::kSerialTimeouts, Call::kGetLine,     Call::kSetLine,
                                   Call::kWriteSerial, Call::kStartSockets,   Call::kOpenSocket,  Call::kSetBlocking,
                                   Call::kListDevices, Call::kConnect,        Call::kSend,        Call::kReceive,
                                   Call::kCreateEvent, Call::kLoadLibrary,    Call::kFileVersion, Call::kWriteRegistry};
    test::Analyser analyser(input);
    Receiver receiver;
    test::SerialDevice* output   = &receiver;
    test::World& world           = test::FreshWorld();
    const std::uint32_t failures = input.Take<std::uint16_t>();
    test::FailCalls(failures, kCalls);
    test::AlwaysFail(Call::kOpenFile);  // the infrared log
    std::array<std::uint32_t, 4> numbers{};
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        const std::uint8_t small = input.Byte();  // most stored numbers are small
        numbers[index]           = small < 0xF0 ? small : input.Take<std::uint32_t>();
        if (small == 0xEF) numbers[index] = kIrda;
        world.registry[kNames[index]] = numbers[index];
    }
    static const std::wstring kDirectory(300, L'd');
    world.temp_directory                          = kDirectory.substr(0, input.Byte());
    world.serial_ports[PathOf(numbers[0])].device = &analyser;
    doubles::FakeD2xx driver;
    driver.Attach(2, "1", &analyser);
    analyser.Appear();
    TryStart(state, numbers);
    std::swap(world.serial_ports[PathOf(numbers[3])].device, output);
    TrySerialOutput(state);
    std::swap(world.serial_ports[PathOf(numbers[3])].device, output);
    analyser.infrared = state.communication == kIrda;
    TryConnection(state);

    const std::uint32_t chosen = input.Take<std::uint32_t>();
    ChangeSetting(state.communication, kCommunicationSetting, chosen);
    Require(state.communication == chosen);
    if (failures >> 15 == 0) Require(world.registry[kCommunicationSetting] == chosen);
    return 0;
}
