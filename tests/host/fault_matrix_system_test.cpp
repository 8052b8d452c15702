// Every call of the operating system and of the driver failing once, at each place in the life of the worker where it is made.
#include <cstdio>

#include "fault_stage.h"
#include "platform/memory/memory_calls.h"

namespace nelto::test {
namespace {

using platform::memory::TheCalls;

enum class End : std::uint8_t { kRecovers, kStaysLoaded, kStaysLocked };

struct SystemCall {
    const char* name;
    Call call;
    Transport transport;
    End end = End::kRecovers;
};

// clang-format off
constexpr SystemCall kSystemCalls[] = {
    {"open port",           Call::kOpenSerial,     Transport::kSerial},
    {"set port time-outs",  Call::kSerialTimeouts, Transport::kSerial, End::kStaysLocked},
    {"get line",            Call::kGetLine,        Transport::kSerial, End::kStaysLocked},
    {"set line",            Call::kSetLine,        Transport::kSerial, End::kStaysLocked},
    {"write port",          Call::kWriteSerial,    Transport::kSerial},
    {"read port",           Call::kReadSerial,     Transport::kSerial},
    {"append to file",      Call::kAppendFile,     Transport::kSerial},
    {"temporary directory", Call::kTempDirectory,  Transport::kSerial},
    {"load library",        Call::kLoadLibrary,    Transport::kUsb},
    {"find function",       Call::kFindFunction,   Transport::kUsb},
    {"file version",        Call::kFileVersion,    Transport::kUsb, End::kStaysLoaded},
    {"create event",        Call::kCreateEvent,    Transport::kUsb},
    {"start sockets",       Call::kStartSockets,   Transport::kIrda},
    {"open socket",         Call::kOpenSocket,     Transport::kIrda},
    {"set blocking",        Call::kSetBlocking,    Transport::kIrda},
    {"list devices",        Call::kListDevices,    Transport::kIrda},
    {"connect",             Call::kConnect,        Transport::kIrda},
    {"send",                Call::kSend,           Transport::kIrda},
    {"receive",             Call::kReceive,        Transport::kIrda},
    {"open log",            Call::kOpenFile,       Transport::kIrda},
};

constexpr const char* kDriverCalls[] = {
    "FT_ListDevices", "FT_OpenEx", "FT_Close", "FT_GetDeviceInfo", "FT_EE_Read", "FT_SetBaudRate",
    "FT_SetEventNotification", "FT_Write", "FT_GetQueueStatus", "FT_Read",
};
// clang-format on

/// What was wrong in a life of the worker, and how often the call was made in it.
struct Life {
    std::string wrong;
    std::size_t calls = 0;
};

/// The worker's life with the failure that `arrange` makes; `count` tells the calls.
template <typename Arrange, typename Count>
Life Live(Transport transport, End end, const wchar_t* driver_version, const Arrange& arrange, const Count& count) {
    Stage stage(transport, 120, driver_version);
    stage.waits_for_strike = false;
    stage.leaks_by_design  = end != End::kRecovers;
    arrange(stage);
    const std::string trace = stage.RunWorker(20000);
    if (end == End::kStaysLocked) {
        // The port stays open, as it should, and nobody opens it a second time.
        stage.Expect(trace.find_first_not_of('O') == std::string::npos, "trace " + trace);
    } else {
        stage.Expect(trace.find("vvz") != std::string::npos, "trace " + trace);
        stage.Expect(stage.state.status == kValuesAvailable, "status at the end");
    }
    return {stage.Wrong(), count(stage)};
}

/// A life without a failure, then one for each call that was made in it. `live` takes the call that fails, 0 for none, and how
/// many there are.
template <typename LiveWith>
void FailEachCall(const char* name, const LiveWith& live) {
    const Life whole   = live(0, 0);
    std::size_t passed = 0;
    EXPECT_EQ(whole.wrong, "");
    for (std::size_t call = 1; call <= whole.calls; ++call) {
        const Life life = live(call, whole.calls);
        EXPECT_EQ(life.wrong, "") << name << " " << call;
        EXPECT_GE(life.calls, call) << name;
        passed += life.wrong.empty() ? 1 : 0;
    }
    EXPECT_NE(whole.calls, 0U) << name << " is never called";
    std::printf("%-24s fails at each of %zu calls: %zu passed\n", name, whole.calls, passed);
}

TEST(FaultMatrix, EveryCallOfTheSystemFails) {
    for (const SystemCall& row : kSystemCalls) {
        FailEachCall(row.name, [&](std::size_t failing, std::size_t calls) {
            // The last function looked for is FT_Close: without it the device cannot be closed.
            const bool no_close = row.call == Call::kFindFunction && failing != 0 && failing == calls;
            const End usual     = failing == 0 ? End::kRecovers : row.end;
            const End end       = no_close ? End::kStaysLoaded : usual;
            const auto arrange  = [&](Stage&) {
                TheCalls().failing       = row.call;
                TheCalls().failing_count = failing;
            };
            return Live(row.transport, end, L"3.02.11", arrange,
                        [&](const Stage&) { return TheCalls().counts[static_cast<std::size_t>(row.call)]; });
        });
    }
}

TEST(FaultMatrix, EveryCallOfTheDriverFails) {
    for (const char* const name : kDriverCalls) {
        const wchar_t* const version = name == std::string_view("FT_EE_Read") ? L"2.08.14" : L"3.02.11";
        FailEachCall(name, [&](std::size_t failing, std::size_t) {
            const auto arrange = [&](const Stage& stage) {
                const auto first = static_cast<std::uint32_t>(failing);
                if (failing != 0) stage.link->driver->Fail(name, FakeD2xx::kIoError, first, 1);
            };
            return Live(Transport::kUsb, End::kRecovers, version, arrange,
                        [&](const Stage& stage) { return stage.link->driver->driver.CallsOf(name); });
        });
    }
}

}  // namespace
}  // namespace nelto::test
