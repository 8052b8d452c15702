#include <array>
#include <map>
#include <vector>

#include "generation2010_fixture.h"

namespace nelto::test {
namespace {

using platform::memory::LoadsEver;
using platform::memory::RemoveLibrary;
using platform::memory::TimesLoaded;

/// A search by the "Communication" setting, from its start.
class Search2010Test : public Generation2010Test {
protected:
    std::unique_ptr<Instrument> Open(std::uint32_t communication) {
        state_.communication = communication;
        return Nelto780Open(state_);
    }

    ProgramState state_;
};

// Search over USB.

struct UsbCase {
    std::map<std::uint32_t, std::uint32_t> devices;  // number by product
    std::uint32_t ident;
    std::uint32_t kind;  // 0: none found
    std::vector<std::string> lines;
};

// clang-format off
const std::array kUsbCases = {
    UsbCase{{{20, 1}},                                       0,   781, {"Instrument nelto 780 (2010): Try to open via USB",
                                                                       "Instrument nelto 780 (2010) opened (via USB)"}},
    UsbCase{{{4116, 1}, {37, 1}},                            0,   781, {"Instrument nelto 780 (2010) opened (via USB)"}},
    UsbCase{{{20, 1}, {4116, 1}, {37, 1}},                   745, 745, {"nelto 745 found",
                                                                       "nelto 745 or nelto 760 with ident 745 opened via USB"}},
    UsbCase{{{20, 2}, {37, 2}, {15, 1}},                     760, 760, {"nelto 760 found", "CNelto780Base2010::WakeUp"}},
    UsbCase{{{20, 2}, {4116, 0xFFFFFFFF}, {36, 1}, {49, 1}}, 1,   752, {"nelto 752 found",
                                                                       "nelto 745 or nelto 760 with ident 1 opened via USB"}},
    UsbCase{{{49, 1}},                                       711, 711, {"nelto 710 version 2018 found"}},
    UsbCase{{{37, 1}},                                       746, 746, {"nelto 745 found"}},
    UsbCase{{{37, 2}, {15, 0xFFFFFFFF}},                     745, 0,   {"no nelto fluegas instrument (nelto 745/780) found at USB"}},
    UsbCase{{},                                              745, 0,   {"no nelto fluegas instrument (nelto 745/780) found at USB"}},
};
// clang-format on

TEST_F(Search2010Test, TheProductOnTheBusTellsTheKind) {
    for (const UsbCase& row : kUsbCases) {
        SCOPED_TRACE(row.lines.front());
        InstallFakeMaker();
        Maker().Data().devices = row.devices;
        Maker().Data().devices.try_emplace(37, 0);
        Maker().numbers["GetIdent"]    = row.ident;
        Maker().results["SetShutdown"] = 4;  // a wake-up that fails does not matter
        const auto opened              = Open(kUsb);
        ASSERT_EQ(opened != nullptr, row.kind != 0);
        for (const std::string& line : row.lines) EXPECT_TRUE(Logged(line)) << line;
        EXPECT_EQ(Maker().CallsOf("SetShutdown"), row.kind == kKind760 ? 1U : 0U);
        if (opened == nullptr) {
            EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
            continue;
        }
        EXPECT_EQ(opened->Kind(), row.kind);
        EXPECT_EQ(opened->Close(), 0U);
        EXPECT_TRUE(Logged("Connection closed (USB to nelto 780 2010)"));
        EXPECT_EQ(Maker().calls.back(), "Close") << "by the low 32 bits of the handle";
    }
}

struct OrderCase {
    std::map<std::uint32_t, std::uint32_t> devices;
    std::vector<std::string> calls;  // the first ones
};

TEST_F(Search2010Test, TheLibrariesAreCalledInOrder) {
    const auto one  = [](int product) { return "GetNumberOfDevices product " + std::to_string(product) + ": 1"; };
    const auto none = [](int product) { return "GetNumberOfDevices product " + std::to_string(product) + ": 0"; };
    const std::vector<std::string> open  = {"GetSerialNumber 0 256", "OpenBySerialNumber"};
    const std::array<OrderCase, 4> cases = {{
        {{{20, 1}}, {one(20), none(4116), "StartLogging 1", one(20)}},
        {{{4116, 1}}, {none(20), one(4116), "StartLogging 1", one(4116)}},
        {{{15, 1}}, {none(20), none(4116), none(37), one(15), "StartLogging 1"}},
        {{{49, 1}}, {none(20), none(4116), none(37), none(15), none(36), one(49), "StartLogging 1"}},
    }};
    for (const OrderCase& row : cases) {
        InstallFakeMaker();
        Maker().Data().devices = row.devices;
        Maker().Data().devices.try_emplace(37, 0);
        EXPECT_NE(Open(kUsb), nullptr);
        std::vector<std::string> wanted = row.calls;
        wanted.insert(wanted.end(), open.begin(), open.end());
        Maker().calls.resize(wanted.size());
        EXPECT_EQ(Maker().calls, wanted);
    }
}

struct UsbFailure {
    std::uint32_t product;
    const char* function;
    const char* last_error;
    const char* last_line;
};

TEST_F(Search2010Test, FailuresOverUsbTellTheirCause) {
    constexpr std::array kCases = std::to_array<UsbFailure>({
        {20, "GetSerialNumber", "get serial number from USB Segger (nelto780) failed",
         "[1] Instrument nelto 780 (2010): GetSerialNumber failed"},
        {20, "OpenBySerialNumber", "open by serial number Segger USB to nelto 780 failed",
         "Instrument nelto 780 (2010): OpenBySerialNumber failed"},
        {37, "GetSerialNumber", "get USB serial number failed (Segger USB)", "nelto 745 found"},
        {37, "OpenBySerialNumber", "open by serial number Segger USB failed", "nelto 745 found"},
        {37, "SetDateTime", "Nelto 780 Open: Error synchronizing clock", "Connection closed (USB to nelto 780 2010)"},
        {37, "GetDeviceType", "Nelto 780 Open: GetSubType failed", "Connection closed (USB to nelto 780 2010)"},
    });
    for (const UsbFailure& row : kCases) {
        SCOPED_TRACE(row.last_error);
        InstallFakeMaker();
        Maker().Data().devices[row.product] = 1;
        Maker().results[row.function]       = 4;
        EXPECT_EQ(Open(kUsb), nullptr);
        EXPECT_STREQ(state_.last_error, row.last_error);
        EXPECT_TRUE(LogLines(kLog).back().ends_with(row.last_line)) << LogLines(kLog).back();
    }
}

// Search over a COM port.

struct CodeCase {
    const char* answer;
    std::uint32_t kind;
    const char* line;
};

TEST_F(Search2010Test, TheCodeOnTheSerialLinkTellsTheKind) {
    constexpr std::array kCases = std::to_array<CodeCase>({
        {"00 42 00 00 4B 01", kKind781, "nelto 780 2010 found"},
        {"00 42 00 00 3A 01", kKind752, "nelto 752 found"},
        {"00 42 00 00 40 01", kKind745, "nelto 745 found"},
        {"00 42 00 00 2C 01", kKind711, "nelto 710 2018 found"},
        {"00 42 00 00 41 01", kKind746, "nelto 745 basic found"},
    });
    MessagePeer peer;
    World().serial_ports[L"COM5"].device = &peer;
    for (const CodeCase& row : kCases) {
        SCOPED_TRACE(row.line);
        InstallFakeMaker();
        World().serial_ports[L"COM5"].open_handles = 0;
        peer.answers[Hex("42")]                    = Hex(row.answer);
        const auto opened                          = Open(5);
        ASSERT_NE(opened, nullptr) << state_.last_error;
        EXPECT_EQ(opened->Kind(), row.kind);
        EXPECT_TRUE(Logged(row.line));
        EXPECT_EQ(Maker().calls[0], "StartLogging 1");
        EXPECT_EQ(Maker().calls[1], "OpenBluetoothFromPipe");

        const std::uint32_t handles = World().serial_ports[L"COM5"].open_handles;
        EXPECT_EQ(opened->Close(), 0U);
        EXPECT_EQ(Maker().calls.back(), "Close");
        EXPECT_EQ(World().serial_ports[L"COM5"].open_handles, handles)
            << "the pipe's port is not the program's any more";
        EXPECT_FALSE(Logged("Connection closed (USB to nelto 780 2010)"));
    }
}

TEST_F(Search2010Test, APortThatNoPipeTakesIsClosed) {
    MessagePeer peer;
    peer.answers[Hex("42")]              = Hex("00 42 00 00 40 01");
    World().serial_ports[L"COM5"].device = &peer;
    for (const bool has_library : {true, false}) {
        Maker().gives_pipe = false;
        if (!has_library) RemoveLibrary(L"neltoRS232.dll");
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(Open(5), nullptr);
            EXPECT_STREQ(state_.last_error, "Nelto 780 Open: Error synchronizing clock");
            EXPECT_EQ(World().serial_ports[L"COM5"].open_handles, 0U);
        }
    }
}

TEST_F(Search2010Test, TheHeatingCheckIsNotAskedForOverTheBytesOfALink) {
    MessagePeer peer;
    peer.answers[Hex("42")]              = Hex("00 42 00 00 40 01");
    World().serial_ports[L"COM5"].device = &peer;
    for (const std::uint32_t communication : {std::uint32_t{kUsb}, std::uint32_t{5}}) {
        InstallFakeMaker();
        Maker().Data().devices[37] = 1;
        state_.communication       = communication;
        const auto opened          = Nelto780Open(state_);
        ASSERT_NE(opened, nullptr) << state_.last_error;
        const std::size_t requests = peer.requests.size();
        const std::size_t calls    = Maker().calls.size();
        ChannelTable heating_check{};
        EXPECT_NE(opened->ReadHeatingCheck(heating_check), 0U);
        EXPECT_EQ(peer.requests.size(), requests);
        EXPECT_EQ(Maker().calls.size(), calls);
        opened->Close();
    }
}

// A whole session.

constexpr std::size_t kCallsOfASearch = 7;

TEST_F(Search2010Test, AfterAStopOrAFailureAtAnyCallTheAnalyserIsLeftInOrder) {
    for (const bool stops : {true, false}) {
        bool struck = true;
        for (std::size_t call = 1; struck; ++call) {
            SCOPED_TRACE((stops ? "stop at call " : "failure of call ") + std::to_string(call));
            InstallFakeMaker();
            Maker().Data().devices = {{37, 1}};
            Maker().Data().cache   = {{Record(0x0101, 1.0F)}, {Record(0x0102, 1.0F)}};
            FillValues(2);
            state_.stop_request = 0;
            if (!stops) Maker().failing_call = call;
            Maker().before_call = [&] {
                if (stops && Maker().calls.size() + 1 == call) state_.stop_request = 1;
            };
            const auto opened = Open(kUsb);
            if (opened != nullptr && opened->ReadConfiguration(channels_) == kDone && state_.stop_request == 0) {
                static_cast<void>(opened->ReadValues(channels_));
            }
            if (opened != nullptr) opened->Close();
            struck                  = call <= Maker().calls.size();
            const std::size_t taken = static_cast<std::size_t>(std::ranges::count(Maker().calls, "OpenBySerialNumber"));
            EXPECT_EQ(Maker().CallsOf("Close"), taken);
            // The search and what a step has begun are finished; leaving is two calls.
            if (stops && struck) EXPECT_LE(Maker().calls.size(), std::max<std::size_t>(call, kCallsOfASearch) + 3);
        }
    }
}

// Hours of searching.

TEST_F(Search2010Test, NothingGrowsWithLibrariesOrWithout) {
    for (int round = 0; round < 200; ++round) {
        Maker().Data().devices = {{37, 1}};
        const auto opened      = Open(kUsb);
        ASSERT_NE(opened, nullptr);
        opened->Close();
        EXPECT_EQ(opened->Close(), 0U);  // a second close finds nothing
        Maker().calls.clear();
        Maker().Data().devices = {{37, 0}};
        EXPECT_EQ(Open(kUsb), nullptr);
        EXPECT_TRUE(Maker().CallsOf("Close") == 0);
    }
    for (const wchar_t* name : {L"nelto7XXE.dll", L"neltoEmUSB.dll"}) EXPECT_EQ(TimesLoaded(name), 1U);
    EXPECT_EQ(TimesLoaded(L"IDTEXTMAPPER_T780.DLL"), 0U);
    EXPECT_EQ(LoadsEver(L"IDTEXTMAPPER_T780.DLL"), 200U);

    platform::memory::ResetLibraries();
    for (int round = 0; round < 200; ++round) EXPECT_EQ(Open(kUsb), nullptr);
    EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
    InstallFakeMaker();  // and once they are there, they are found
    Maker().Data().devices = {{37, 1}};
    EXPECT_NE(Open(kUsb), nullptr);
}

}  // namespace
}  // namespace nelto::test
