#include <array>
#include <map>
#include <tuple>

#include "generation2010_fixture.h"

namespace nelto::test {
namespace {

using platform::memory::RemoveLibrary;

/// A search by the "Communication" setting, from its start.
class Search2010Test : public Generation2010Test {
protected:
    std::unique_ptr<Instrument> Open(std::uint32_t communication) {
        state_.communication = communication;
        return Nelto780Open(state_);
    }
    /// These and no others on the bus, by product.
    static void OnTheBus(const std::map<std::uint32_t, std::uint32_t>& devices) {
        InstallFakeMaker();
        Maker().Data().devices = devices;
        Maker().Data().devices.try_emplace(37, 0);
    }
    /// An analyser on COM5 that gives this answer to the question for its ident.
    platform::memory::SerialPortState& OnThePort(const char* answer) {
        peer_.answers[Hex("42")] = Hex(answer);
        auto& port               = World().serial_ports[L"COM5"];
        port.device              = &peer_;
        return port;
    }

    ProgramState state_;
    MessagePeer peer_;
};

// Search over USB.

/// The devices' number by product, the ident, the kind (0: none found), lines of the log.
using UsbCase = std::tuple<std::map<std::uint32_t, std::uint32_t>, std::uint32_t, std::uint32_t, Lines>;

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
    for (const auto& [devices, ident, kind, lines] : kUsbCases) {
        SCOPED_TRACE(lines.front());
        OnTheBus(devices);
        Maker().numbers["GetIdent"]    = ident;
        Maker().results["SetShutdown"] = 4;  // a wake-up that fails does not matter
        const auto opened              = Open(kUsb);
        ASSERT_EQ(opened != nullptr, kind != 0);
        for (const std::string& line : lines) EXPECT_TRUE(Logged(line)) << line;
        EXPECT_EQ(Maker().CallsOf("SetShutdown"), kind == kKind760 ? 1U : 0U);
        if (opened == nullptr) {
            EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
            continue;
        }
        EXPECT_EQ(opened->Kind(), kind);
        EXPECT_EQ(opened->Close(), 0U);
        EXPECT_TRUE(Logged("Connection closed (USB to nelto 780 2010)"));
        EXPECT_EQ(Maker().calls.back(), "Close") << "by the low 32 bits of the handle";
    }
}

TEST_F(Search2010Test, TheLibrariesAreCalledInOrder) {
    const auto one  = [](int product) { return "GetNumberOfDevices product " + std::to_string(product) + ": 1"; };
    const auto none = [](int product) { return "GetNumberOfDevices product " + std::to_string(product) + ": 0"; };
    const std::map<std::uint32_t, Lines> first_calls = {
        {20, {one(20), none(4116), "StartLogging 1", one(20)}},
        {4116, {none(20), one(4116), "StartLogging 1", one(4116)}},
        {15, {none(20), none(4116), none(37), one(15), "StartLogging 1"}},
        {49, {none(20), none(4116), none(37), none(15), none(36), one(49), "StartLogging 1"}}};
    for (auto [product, wanted] : first_calls) {
        OnTheBus({{product, 1}});
        EXPECT_NE(Open(kUsb), nullptr);
        wanted.insert(wanted.end(), {"GetSerialNumber 0 256", "OpenBySerialNumber"});
        Maker().calls.resize(wanted.size());
        EXPECT_EQ(Maker().calls, wanted);
    }
}

TEST_F(Search2010Test, FailuresOverUsbTellTheirCause) {
    constexpr std::tuple<std::uint32_t, const char*, const char*, const char*> kCases[] = {
        {20, "GetSerialNumber", "get serial number from USB Segger (nelto780) failed",
         "[1] Instrument nelto 780 (2010): GetSerialNumber failed"},
        {20, "OpenBySerialNumber", "open by serial number Segger USB to nelto 780 failed",
         "Instrument nelto 780 (2010): OpenBySerialNumber failed"},
        {37, "GetSerialNumber", "get USB serial number failed (Segger USB)", "nelto 745 found"},
        {37, "OpenBySerialNumber", "open by serial number Segger USB failed", "nelto 745 found"},
        {37, "SetDateTime", "Nelto 780 Open: Error synchronizing clock", "Connection closed (USB to nelto 780 2010)"},
        {37, "GetDeviceType", "Nelto 780 Open: GetSubType failed", "Connection closed (USB to nelto 780 2010)"}};
    for (const auto& [product, function, last_error, last_line] : kCases) {
        SCOPED_TRACE(last_error);
        OnTheBus({{product, 1}});
        Maker().results[function] = 4;
        EXPECT_EQ(Open(kUsb), nullptr);
        EXPECT_STREQ(state_.last_error, last_error);
        EXPECT_TRUE(LogLines(kLog).back().ends_with(last_line)) << LogLines(kLog).back();
    }
}

// Search over a COM port.

TEST_F(Search2010Test, TheCodeOnTheSerialLinkTellsTheKind) {
    constexpr std::tuple<const char*, std::uint32_t, const char*> kCases[] = {
        {"00 42 00 00 4B 01", kKind781, "nelto 780 2010 found"},
        {"00 42 00 00 3A 01", kKind752, "nelto 752 found"},
        {"00 42 00 00 40 01", kKind745, "nelto 745 found"},
        {"00 42 00 00 2C 01", kKind711, "nelto 710 2018 found"},
        {"00 42 00 00 41 01", kKind746, "nelto 745 basic found"}};
    for (const auto& [answer, kind, line] : kCases) {
        SCOPED_TRACE(line);
        InstallFakeMaker();
        auto& port        = OnThePort(answer);
        port.open_handles = 0;
        const auto opened = Open(5);
        ASSERT_NE(opened, nullptr) << state_.last_error;
        EXPECT_EQ(opened->Kind(), kind);
        EXPECT_TRUE(Logged(line));
        EXPECT_EQ(Lines(Maker().calls.begin(), Maker().calls.begin() + 2),
                  (Lines{"StartLogging 1", "OpenBluetoothFromPipe"}));
        const std::uint32_t handles = port.open_handles;
        EXPECT_EQ(opened->Close(), 0U);
        EXPECT_EQ(Maker().calls.back(), "Close");
        EXPECT_EQ(port.open_handles, handles) << "the pipe's port is not the program's any more";
        EXPECT_FALSE(Logged("Connection closed (USB to nelto 780 2010)"));
    }
}

TEST_F(Search2010Test, APortThatNoPipeTakesIsClosed) {
    const auto& port = OnThePort("00 42 00 00 40 01");
    for (const bool has_library : {true, false}) {
        Maker().gives_pipe = false;
        if (!has_library) RemoveLibrary(L"neltoRS232.dll");
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(Open(5), nullptr);
            EXPECT_STREQ(state_.last_error, "Nelto 780 Open: Error synchronizing clock");
            EXPECT_EQ(port.open_handles, 0U);
        }
    }
}

TEST_F(Search2010Test, TheHeatingCheckIsNotAskedForOverTheBytesOfALink) {
    OnThePort("00 42 00 00 40 01");
    for (const std::uint32_t communication : {std::uint32_t{kUsb}, std::uint32_t{5}}) {
        OnTheBus({{37, 1}});
        const auto opened = Open(communication);
        ASSERT_NE(opened, nullptr) << state_.last_error;
        const auto said = std::pair(peer_.requests.size(), Maker().calls.size());
        EXPECT_NE(opened->ReadHeatingCheck(channels_), 0U);
        EXPECT_EQ(std::pair(peer_.requests.size(), Maker().calls.size()), said);
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
            OnTheBus({{37, 1}});
            Maker().Data().cache = {{Record(0x0101, 1.0F)}, {Record(0x0102, 1.0F)}};
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

}  // namespace
}  // namespace nelto::test
