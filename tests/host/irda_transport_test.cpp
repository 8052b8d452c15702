#include "transport/irda_link.h"

#include <array>
#include <tuple>

#include "fault_stage.h"
#include "instrument/opening.h"
#include "platform/memory/memory_irda_socket.h"

namespace nelto {
namespace {

using namespace platform::memory;

using test::Bytes;
using DebugLines = std::vector<std::wstring>;

constexpr const wchar_t* kLog = L"C:\\IRDALOG.TXT";
const std::string kLongName   = "NELTO T7801";

class IrdaTransport : public testing::Test {
protected:
    void SetUp() override {
        platform::memory::ResetWorld();
        platform::memory::ResetIrdaWorld();
        TheIrdaWorld().device_list = MakeIrdaDeviceList({"NELTO T780"});
    }
    void TearDown() override {
        TheWorld().on_wait = TheIrdaWorld().on_idle = nullptr;
        link_.reset();
        EXPECT_EQ(TheIrdaWorld().open_sockets + TheIrdaWorld().references, 0u);
    }
    void StartAgain() {
        TearDown();
        SetUp();
    }

    IrdaOpenResult Open() {
        IrdaOpenResult result = kIrdaOpenOk;
        link_                 = IrdaLink::Open(&stop_, result);
        EXPECT_EQ(link_ != nullptr, result == kIrdaOpenOk);
        return result;
    }
    void Connect() {
        StartAgain();
        stop_ = 0;
        ASSERT_EQ(Open(), kIrdaOpenOk);
    }

    LinkStatus Transceive(std::size_t capacity, Bytes request = {0xAA}) {
        reply_.assign(capacity, 0xEE);
        received_ = 99;
        return link_->Transceive(request, reply_, received_, 0);
    }

    std::unique_ptr<IrdaLink> link_;
    std::atomic<std::uint32_t> stop_{0};
    Bytes reply_;
    std::size_t received_ = 0;
};

const Bytes kForeignDevices = MakeIrdaDeviceList({"Printer", kLongName, "NELTO T78"});

// clang-format off
// Cause, arrangement, result, log, lines for the debugger.
const std::tuple<const char*, void (*)(IrdaWorld&), std::uint32_t, std::string, DebugLines> kOpenCases[] = {
    {"no Winsock",      [](IrdaWorld&) { AlwaysFail(Call::kStartSockets); }, 1, "Error 1\r\n", {}},
    {"no infrared",     [](IrdaWorld&) { AlwaysFail(Call::kOpenSocket); }, 1, "Error 1\r\n", {}},
    {"not blocking",    [](IrdaWorld&) { AlwaysFail(Call::kSetBlocking); }, 2, "Error 2\r\n", {}},
    {"no listing",      [](IrdaWorld&) { AlwaysFail(Call::kListDevices); }, 3, "Error 3\r\n", {}},
    {"nobody there",    [](IrdaWorld& world) { world.device_list.clear(); }, 4,
             "Error 4: no IrDA device in range\r\n", {L"ZIVNELTO780: no IrDA device in range"}},
    {"foreign devices", [](IrdaWorld& world) { world.device_list = kForeignDevices; }, 5,
             "Device name Printer\r\nDevice name NELTO T7801\r\nDevice name NELTO T78\r\n", {}},
    {"refused",         [](IrdaWorld& world) { world.connect_error = 10061; }, 6,
             "Device name NELTO T780\r\nError 6: connect failed 10061\r\n",
             {L"Error connect 1", L"connect failed", L"Error 10061"}},
};
// clang-format on

TEST_F(IrdaTransport, FailedOpeningsTellTheirCauseAndLeaveNothingOpen) {
    for (const auto& [cause, arrange, result, log, debug_lines] : kOpenCases) {
        SCOPED_TRACE(cause);
        StartAgain();
        arrange(TheIrdaWorld());
        EXPECT_EQ(Open(), result);
        EXPECT_EQ(TheWorld().files[kLog], log);
        EXPECT_EQ(TheWorld().debug_lines, debug_lines);
        EXPECT_EQ(TheIrdaWorld().open_sockets + TheIrdaWorld().references, 0u);

        ProgramState state{.communication = kIrda};
        EXPECT_EQ(test::Nelto780Open(state), nullptr);
        EXPECT_EQ(TheWorld().files[kLog], log);  // written anew
        EXPECT_EQ(TheIrdaWorld().open_sockets + TheIrdaWorld().references, 0u);
        EXPECT_STREQ(state.last_error, "open analyzer connection via IrDA failed");
        EXPECT_TRUE(test::LogHas(L"Nelto780Base.txt",
                                 "Instrument opening via IRDA failed, Error code " + std::to_string(result)));
    }
}

TEST_F(IrdaTransport, WorksWithoutItsLog) {
    TheWorld().unwritable_files.insert(kLog);
    TheIrdaWorld().device_list.clear();
    EXPECT_EQ(Open(), kIrdaNoDevice);
    EXPECT_EQ(TheWorld().debug_lines, DebugLines{L"ZIVNELTO780: no IrDA device in range"});
    StartAgain();
    TheWorld().unwritable_files.insert(kLog);
    ASSERT_EQ(Open(), kIrdaOpenOk);
    TheIrdaWorld().pieces = {Bytes{0, 0xAA, 4, 0}};
    EXPECT_EQ(Transceive(4096), LinkStatus::kOk);
    EXPECT_TRUE(TheWorld().files.empty());
}

TEST_F(IrdaTransport, TheFirstDeviceWithAnAcceptedNameIsConnected) {
    // Names, and which one is chosen, counted from 1; 0 none.
    const std::pair<std::vector<std::string>, std::uint8_t> cases[] = {
        {{"NELTO T780"}, 1},
        {{"NELTO T785"}, 1},
        {{"NELTO T785", "NELTO T780"}, 1},
        {{"Printer", kLongName, "NELTO T780", "NELTO T785"}, 3},
        {{std::string("NELTO T780\0x", 12)}, 1},
        {{"nelto t780", "NELTO T790", "NELTO T78", "", "A name of 22 bytes all"}, 0},
    };
    for (const auto& [names, chosen] : cases) {
        StartAgain();
        TheIrdaWorld().device_list = MakeIrdaDeviceList(names);
        EXPECT_EQ(Open(), chosen != 0 ? kIrdaOpenOk : kIrdaNoAcceptedName);
        EXPECT_EQ(TheIrdaWorld().device[0], chosen) << names.front();
        if (chosen != 0) EXPECT_EQ(TheIrdaWorld().service, names[chosen - 1u].c_str());
    }
}

TEST_F(IrdaTransport, ADeviceCountBeyondTheListIsCut) {
    std::vector<std::string> names(69, "Printer");
    names.emplace_back("NELTO T780");
    TheIrdaWorld().device_list    = MakeIrdaDeviceList(names);
    TheIrdaWorld().device_list[3] = 0xFF;  // thousands of millions
    EXPECT_EQ(Open(), kIrdaOpenOk);
    EXPECT_EQ(TheIrdaWorld().list_space, 2048u);
    EXPECT_EQ(TheIrdaWorld().device, (platform::IrdaDeviceId{70, 0, 0, 0x0A}));
}

const Bytes kTwelve = {0x00, 0x90, 0x0C, 0x00, 1, 2, 3, 4, 5, 6, 7, 8};
const IrdaPiece kGone{Bytes{}};

constexpr auto kGood = LinkStatus::kOk;
constexpr auto kLost = LinkStatus::kDriverFailed;
constexpr auto kBad  = LinkStatus::kProtocolFault;

IrdaPiece Part(std::ptrdiff_t from, std::ptrdiff_t to) { return Bytes(kTwelve.begin() + from, kTwelve.begin() + to); }

TEST_F(IrdaTransport, AReplyIsWholeWhenItsOwnLengthHasArrived) {
    // What, pieces, capacity, result, size of the reply, lines for the debugger, receive calls.
    const std::tuple<const char*, std::deque<IrdaPiece>, std::size_t, LinkStatus, std::size_t, DebugLines, std::size_t>
        cases[] = {
            {"at once", {kTwelve}, 4096, kGood, 12, {}, 1},
            {"as long as its capacity", {kTwelve}, 12, kGood, 12, {}, 1},
            {"header alone", {Bytes{0, 0x20, 4, 0}}, 4, kGood, 4, {}, 1},
            {"header split", {Part(0, 1), Part(1, 3), Part(3, 12)}, 4096, kGood, 12, {}, 3},
            {"behind the header", {Part(0, 4), Part(4, 11), Part(11, 12)}, 4096, kGood, 12, {}, 3},
            {"split, all of its capacity", {Part(0, 2), Part(2, 12)}, 12, kGood, 12, {}, 2},
            {"too long at first sight", {Bytes{0, 0x90, 13, 0}}, 12, kBad, 0, {L"1"}, 1},
            {"too long by its high byte", {Bytes{0, 0x90, 0, 0x10, 1}}, 4095, kBad, 0, {L"1"}, 1},
            {"no room for a header", {Bytes{0, 0x20, 3}}, 3, kBad, 0, {L"1"}, 1},
            {"too long, seen later", {Bytes{0, 0x90, 13}, Bytes{0}}, 12, kBad, 0, {L"3"}, 2},
            {"length 0", {Bytes{0, 0x90, 0, 0}}, 4096, kBad, 0, {L"3"}, 1},
            {"length 3, seen later", {Bytes{0, 0x90, 3}, Bytes{0}}, 4096, kBad, 0, {L"3"}, 2},
            {"more than it says", {Bytes{0, 0x90, 5, 0, 1, 2}}, 4096, kBad, 0, {L"3"}, 1},
            {"more than it says, all of its capacity", {Bytes{0, 0x90, 5, 0, 1, 2}}, 6, kBad, 0, {L"3"}, 1},
            {"gone at once", {kGone}, 4096, kLost, 0, {}, 1},
            {"gone on the way", {Part(0, 4), Part(4, 11), kGone}, 4096, kLost, 0, {}, 3},
            {"failure at once", {std::nullopt}, 4096, kLost, 0, {L"2"}, 1},
            {"failure on the way", {Part(0, 11), std::nullopt}, 4096, kLost, 0, {L"2"}, 2},
        };
    for (const auto& [what, pieces, capacity, result, received, debug_lines, receive_calls] : cases) {
        SCOPED_TRACE(what);
        Connect();
        TheIrdaWorld().pieces = pieces;
        EXPECT_EQ(Transceive(capacity), result);
        EXPECT_EQ(received_, received);
        EXPECT_EQ(TheWorld().debug_lines, debug_lines);
        EXPECT_EQ(TheIrdaWorld().receive_calls, receive_calls);
        if (received == 12) EXPECT_TRUE(std::ranges::equal(std::span(reply_).first(12), kTwelve));
    }
}

TEST_F(IrdaTransport, BytesBehindTheReplyAreLeftForTheNextOne) {
    Connect();
    TheIrdaWorld().pieces = {Part(0, 4), Bytes{1, 2, 3, 4, 5, 6, 7, 8, 0, 0x20, 4, 0}};
    EXPECT_EQ(Transceive(4096), LinkStatus::kOk);
    EXPECT_EQ(received_, 12u);
    EXPECT_EQ(reply_[12], 0u);  // the rest of the buffer is zeroed
    EXPECT_EQ(Transceive(4096), LinkStatus::kOk);
    EXPECT_EQ(received_, 4u);
}

TEST_F(IrdaTransport, TheRestOfAReplyThatIsTooLongIsNotTheNextOnes) {
    Connect();
    TheIrdaWorld().pieces = {Part(0, 12), Part(0, 4)};
    EXPECT_EQ(Transceive(11), kBad);
    TheIrdaWorld().on_request = [](const Bytes&) { TheIrdaWorld().pieces.emplace_back(Bytes{0, 0xAA, 5, 0, 1}); };
    EXPECT_EQ(Transceive(11), kGood);
    EXPECT_EQ(received_, 5U);
}

TEST_F(IrdaTransport, ASilentAnalyserIsWaitedForUntilAStop) {
    for (const bool answers_after_all : {false, true}) {
        Connect();
        TheIrdaWorld().is_silent  = true;
        const std::uint32_t start = TheWorld().now;
        TheWorld().on_wait        = [&] {
            const std::uint32_t waited = TheWorld().now - start;
            if (waited >= 60000) stop_ = 1;
            if (waited >= 61000 && answers_after_all) TheIrdaWorld().pieces = {kTwelve};
        };
        EXPECT_EQ(Transceive(4096), answers_after_all ? kGood : LinkStatus::kStopped);
        EXPECT_GE(TheWorld().now - start, 61000U);
        EXPECT_LE(TheWorld().now - start, 61600U);
        EXPECT_TRUE(TheWorld().debug_lines.empty());  // no word of a fault
    }
}

TEST_F(IrdaTransport, AReplyThatIsComingInIsFinishedAfterAStop) {
    for (const std::uint32_t pause : {150U, 400U}) {  // 12 bytes: 1.8 and 4.8 seconds
        Connect();
        TheIrdaWorld().is_silent  = true;
        stop_                     = 1;
        const std::uint32_t start = TheWorld().now;
        std::ptrdiff_t given      = 0;
        TheIrdaWorld().on_idle    = [&] {
            if (given == 12 || TheWorld().now - start < (given + 1) * pause) return;
            TheIrdaWorld().pieces.push_back(Part(given, given + 1));
            ++given;
        };
        EXPECT_EQ(Transceive(4096), pause == 150 ? kGood : LinkStatus::kStopped);
        EXPECT_LE(TheWorld().now - start, 3200U);
    }
}

TEST_F(IrdaTransport, WhatIsLeftOfAReplyIsThrownAwayUntilTheLineIsSilent) {
    Connect();
    const std::uint32_t start = TheWorld().now;
    TheWorld().on_wait        = [&] {
        if (TheWorld().now - start == 500) TheIrdaWorld().pieces = {Part(0, 4), Part(4, 12)};
    };
    EXPECT_TRUE(link_->WaitForSilence(1000));
    EXPECT_TRUE(TheIrdaWorld().pieces.empty());
    EXPECT_EQ(TheWorld().now - start, 1510U);
}

TEST_F(IrdaTransport, SendingThatFailsEndsTheExchange) {
    void (*const causes[])(IrdaLink&) = {[](IrdaLink&) { AlwaysFail(Call::kSend); },
                                         [](IrdaLink&) { TheIrdaWorld().sends_half = true; },
                                         [](IrdaLink& link) { link.Close(); }};
    for (const auto cause : causes) {
        Connect();
        cause(*link_);
        TheIrdaWorld().pieces = {kTwelve};
        EXPECT_EQ(Transceive(4096), LinkStatus::kDriverFailed);
        EXPECT_EQ(received_, 0u);
        EXPECT_EQ(TheIrdaWorld().receive_calls, 0u);
        EXPECT_EQ(TheWorld().debug_lines, DebugLines{L"sending of data failed"});
    }
}

TEST_F(IrdaTransport, TracesSixteenBytesALineAndAnEmptyLineBehindAFullOne) {
    Connect();
    TheIrdaWorld().pieces = {test::Hex("0A 0A 10 00 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A")};
    EXPECT_EQ(Transceive(4096, test::Hex("F0 F1 F2 F3 F4 F5 F6 F7 F8 F9 FA FB FC FD FE FF 00")), LinkStatus::kOk);
    const std::string expected =
        "Device name NELTO T780\r\nSEND 17 Bytes\r\n"
        "F0 F1 F2 F3 F4 F5 F6 F7 F8 F9 FA FB FC FD FE FF \r\n"
        "00 \r\nRECEIVE 16 Bytes\r\n"
        "0A 0A 10 00 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A 0A \r\n\r\n";
    EXPECT_EQ(TheWorld().files[kLog], expected);
    link_->Close();
    EXPECT_EQ(Transceive(4096), LinkStatus::kDriverFailed);
    EXPECT_EQ(TheWorld().files[kLog], expected);
}

TEST_F(IrdaTransport, AnAnalyserIsNeverIdentifiedAndAskedForItsSlaveModeAtTheEnd) {
    test::Stage stage(Transport::kIrda);
    const std::unique_ptr<Instrument> instrument = test::Nelto780Open(stage.state);
    ASSERT_NE(instrument, nullptr);
    EXPECT_EQ(instrument->Kind(), 780u);
    EXPECT_EQ(instrument->SubType(), 0u);
    EXPECT_TRUE(stage.requests.empty());  // no identification, no clock, no sub type
    instrument->Close();
    EXPECT_EQ(stage.requests, (std::vector<Bytes>{{0x90}, {0x20, 0}}));  // before the socket is closed
    EXPECT_EQ(TheIrdaWorld().open_sockets + TheIrdaWorld().references, 0u);
}

}  // namespace
}  // namespace nelto
