#include "transport/usb_link.h"

#include <tuple>
#include <utility>

#include "NeltoUSB.h"
#include "d2xx_exports.h"
#include "fake_d2xx.h"
#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_file_version.h"
#include "support.h"
#include "transport/usb_exchange.h"

namespace nelto::test {
namespace {

using simulator::CallFaultKind;
using Device  = simulator::ConverterSetup;
using Serials = std::vector<std::uint32_t>;

const std::wstring kOldVersion = L"2.08.14";
const std::wstring kNewVersion = L"3.02.11";
constexpr std::uint32_t kAny   = 0;

using Listing = std::pair<std::uint32_t, Serials>;         // result, serial numbers
using Opened  = std::pair<std::uint32_t, std::ptrdiff_t>;  // result, listed serial number or -1 for none

Listing List(std::uint32_t type, std::uint32_t capacity = 8) {
    Serials serials(capacity + 1, 0xEEEEEEEE);
    std::uint32_t count        = 99;
    const std::uint32_t result = NeltoUSBGetDevices(type, serials.data(), capacity, &count);
    EXPECT_LE(count, capacity);
    EXPECT_EQ(serials.back(), 0xEEEEEEEE) << "stored beyond the capacity";
    serials.resize(count);
    return {result, serials};
}

std::uint32_t TimeoutOf(NeltoUSBHandle link) { return reinterpret_cast<const UsbPort*>(link)->timeout_ms; }

/// Opens and closes again.
Opened TryOpen(const FakeD2xx& library, std::uint32_t type, std::uint32_t serial = kAny) {
    UsbPort untouched{};
    auto link                  = reinterpret_cast<NeltoUSBHandle>(&untouched);
    const std::uint32_t result = NeltoUSBOpen(type, serial, &link);
    EXPECT_EQ(link != nullptr, result == kUsbOk);
    if (link == nullptr) return {result, -1};
    const std::ptrdiff_t listed = std::stoi(library.driver.OpenConverters().at(0)->ListedSerial());
    EXPECT_EQ(TimeoutOf(link), 250u);
    EXPECT_EQ(NeltoUSBClose(link), kUsbOk);
    return {result, listed};
}

class UsbDevices : public HostTest {};

void Nothing(FakeD2xx&, Device&) {}
void RemoveTheLibrary(FakeD2xx&, Device&) { platform::memory::RemoveLibrary(L"FTD2XX.DLL"); }
void RemoveItsVersion(FakeD2xx&, Device&) { platform::memory::ResetSystemFileVersions(); }

// clang-format off
using Names = std::vector<const char*>;
// Cause, library version, missing functions (one at a time, none in most rows), arrangement, results of listing and opening, loads left of each of the two.
const std::tuple<const char*, std::wstring, Names, void (*)(FakeD2xx&, Device&), std::uint32_t, std::uint32_t,
                 std::size_t> kFaults[] = {
    {"nothing wrong",      kNewVersion, {""}, Nothing, 0, 0, 0},
    {"no library",         kNewVersion, {""}, RemoveTheLibrary, 2, 2, 0},
    {"no version",         kNewVersion, {""}, RemoveItsVersion, 2, 2, 1},
    {"even if not used",   kNewVersion, {"FT_ListDevices", "FT_OpenEx", "FT_Close", "FT_EE_Read", "FT_GetDeviceInfo"},
     Nothing, 2, 2, 0},
    {"not used",           kOldVersion, {"FT_GetDeviceInfo"}, Nothing, 0, 0, 0},
    {"to open and talk",   kNewVersion,
     {"FT_SetBaudRate", "FT_Write", "FT_Read", "FT_SetEventNotification", "FT_GetQueueStatus"}, Nothing, 0, 2, 0},
    {"no devices",         kNewVersion, {""}, [](FakeD2xx& fake, Device&) { fake.driver.SetUnplugged({""}, 0); }, 0, 5, 0},
    {"another vendor",     kNewVersion, {""}, [](FakeD2xx&, Device& device) { device.vendor_id = 0x0403; }, 0, 5, 0},
    {"another vendor",     kOldVersion, {""}, [](FakeD2xx&, Device& device) { device.vendor_id = 0x0403; }, 0, 5, 0},
    {"another type",       kNewVersion, {""}, [](FakeD2xx&, Device& device) { device.product_id = 9; }, 0, 5, 0},
    {"another type",       kOldVersion, {""}, [](FakeD2xx&, Device& device) { device.product_id = 9; }, 0, 5, 0},
    {"counting",           kNewVersion, {""}, [](FakeD2xx& fake, Device&) { fake.Fail("FT_ListDevices", 7); }, 1007, 3, 0},
    {"opening",            kNewVersion, {""}, [](FakeD2xx& fake, Device&) { fake.Fail("FT_OpenEx", 3); }, 3003, 3, 0},
    {"EEPROM",             kOldVersion, {""}, [](FakeD2xx& fake, Device&) { fake.Fail("FT_EE_Read", 15); }, 4015, 3, 0},
    {"information", kNewVersion, {""}, [](FakeD2xx& fake, Device&) { fake.Fail("FT_GetDeviceInfo", 18); }, 5018, 3, 0},
    {"baud rate",          kNewVersion, {""}, [](FakeD2xx& fake, Device&) { fake.Fail("FT_SetBaudRate", 4); }, 0, 3, 0},
};
// clang-format on

TEST_F(UsbDevices, EachCauseHasItsResultAndReleasesWhatItLoaded) {
    for (const auto& [cause, version, missing, arrange, listed, opened, loads_left] : kFaults) {
        for (const char* function : missing) {
            SCOPED_TRACE(std::string(cause) + function);
            platform::memory::ResetWorld();
            FakeD2xx library(version);
            Device& device = library.Attach(2, "12345678");
            InstallD2xx(function);
            arrange(library, device);
            EXPECT_EQ(List(2).first, listed);
            EXPECT_EQ(library.TimesLoaded(), loads_left);
            EXPECT_EQ(TryOpen(library, 2).first, opened);
            EXPECT_EQ(library.TimesLoaded(), 2 * loads_left);
            EXPECT_EQ(library.driver.OpenCount(), 0U);
        }
    }
}

// The serial number is the second call of FT_ListDevices, that of the second device the third; by then the first device
// has been looked at and must be closed.
TEST_F(UsbDevices, AFailureAtALaterDeviceLosesTheWholeListing) {
    for (const std::uint32_t failing_call : {2u, 3u}) {
        FakeD2xx library;
        library.Attach(9, "1");
        library.Attach(9, "2");
        library.Fail("FT_ListDevices", 6, failing_call);
        EXPECT_EQ(List(9), Listing(2006, {}));
        EXPECT_EQ(library.Held(), 0U);
    }
}

TEST_F(UsbDevices, OtherDeviceTypesAreRefusedBeforeAnythingIsLoaded) {
    FakeD2xx library;
    for (const std::uint32_t type : {0u, 1u, 3u, 15u, 17u, 0x10002u}) {
        EXPECT_EQ(List(type).first, kUsbWrongDeviceType);
        EXPECT_EQ(TryOpen(library, type).first, kUsbWrongDeviceType);
    }
    EXPECT_EQ(platform::memory::LoadsEver(L"FTD2XX.DLL"), 0u);
}

TEST_F(UsbDevices, TheMajorVersionDecidesHowDevicesAreIdentified) {
    constexpr std::pair<const wchar_t*, bool> kRows[] = {
        {L"2.08.14", true}, {L"3.02.11", false}, {L"10.1", false}, {L"3", false},
        {L"2", true},       {L"", true},         {L"v3.1", true},  {L"1.9999", true},
    };
    for (const auto& [version, by_eeprom] : kRows) {
        FakeD2xx library(version);
        library.Attach(16, "5");
        EXPECT_EQ(List(16).second, Serials{5});
        EXPECT_EQ(TryOpen(library, 16).first, kUsbOk);
        EXPECT_EQ(library.driver.CallsOf("FT_EE_Read"), by_eeprom ? 2u : 0u);
        EXPECT_EQ(library.driver.CallsOf("FT_GetDeviceInfo"), by_eeprom ? 0u : 2u);
    }
}

TEST_F(UsbDevices, ListsTheTypeInTheOrderOfTheDevicesAsFarAsTheyFit) {
    // Old libraries leave out what is no decimal number and do not know the told ones.
    const std::tuple<std::wstring, std::uint32_t, std::uint32_t, Serials> rows[] = {
        {kOldVersion, 2, 8, {12345678, 4711, 0xFFFFFFFF}},
        {kNewVersion, 2, 8, {12345678, 0, 4712, 0xFFFFFFFF}},
        {kOldVersion, 9, 8, {77}},
        {kOldVersion, 2, 2, {12345678, 4711}},
        {kNewVersion, 2, 2, {12345678, 0}},
        {kNewVersion, 2, 0, {}},
    };
    for (const auto& [version, type, capacity, serials] : rows) {
        FakeD2xx library(version);
        library.Attach(2, "0012345678");
        library.Attach(2, "A-17").told_serial = "B-17";
        library.Attach(9, "77");
        library.Attach(2, "78").vendor_id     = 0x0403;
        library.Attach(2, "4711").told_serial = "4712";
        library.Attach(2, "99999999999");  // more than 32 bits hold
        EXPECT_EQ(List(type, capacity).second, serials);
        EXPECT_EQ(library.most_open, 1u);
        EXPECT_EQ(library.Held(), 0U);
    }
}

TEST_F(UsbDevices, NullPointersAreNoRoomAndNoLink) {
    FakeD2xx library;
    ScriptedPeer peer;
    library.Attach(2, "5", &peer);
    std::uint32_t serial = 0, number = 99;
    EXPECT_EQ(NeltoUSBGetDevices(2, nullptr, 5, &number) + number, 0U);
    EXPECT_EQ(NeltoUSBGetDevices(2, &serial, 1, nullptr), kUsbOk);
    EXPECT_EQ(serial, 5U);

    NeltoUSBHandle link = nullptr;
    std::array<std::uint8_t, 9> room;
    const std::uint8_t request = 0x42;
    EXPECT_EQ(NeltoUSBOpen(2, kAny, nullptr), kUsbNoHandle);
    EXPECT_EQ(NeltoUSBOpen(2, kAny, &link), kUsbOk);
    EXPECT_EQ(NeltoUSBTransceive(link, nullptr, 1, room.data(), 9, &number, 200), kUsbProtocolFault);
    peer.answers.assign(2, {Packet(0, 1, Counting(9))});
    EXPECT_EQ(NeltoUSBTransceive(link, &request, 1, nullptr, 9, &number, 200), kUsbReplyTooLong);
    EXPECT_EQ(NeltoUSBTransceive(link, &request, 1, room.data(), 9, nullptr, 200), kUsbOk);
    EXPECT_EQ(NeltoUSBClose(link), kUsbOk);
    EXPECT_EQ(NeltoUSBTransceive(nullptr, &request, 1, room.data(), 9, &(number = 99), 200), kUsbNoHandle);
    EXPECT_EQ(number, 0U);
    EXPECT_EQ(NeltoUSBClose(nullptr), kUsbNoHandle);
    EXPECT_EQ(NeltoUSBSetTimeout(nullptr, 1), kUsbNoHandle);
}

TEST_F(UsbDevices, OnlyOldLibrariesCompareTheSerialNumberOnOpening) {
    const std::tuple<std::wstring, std::uint32_t, Opened> rows[] = {
        {kOldVersion, kAny, {kUsbOk, 111}},          {kOldVersion, 222, {kUsbOk, 222}},
        {kOldVersion, 12345678, {kUsbNoDevice, -1}}, {kOldVersion, 99, {kUsbNoDevice, -1}},
        {kNewVersion, kAny, {kUsbOk, 111}},          {kNewVersion, 222, {kUsbOk, 111}},
        {kNewVersion, 12345678, {kUsbOk, 111}},
    };
    for (const auto& [version, serial, opened] : rows) {
        FakeD2xx library(version);
        library.Attach(2, "12345678");
        library.Attach(9, "111");
        library.Attach(9, "222").told_serial = "99";
        EXPECT_EQ(TryOpen(library, 9, serial), opened) << serial;
        EXPECT_EQ(library.Held(), 0U);
    }
}

// The driver takes the rate of each type alone.
TEST_F(UsbDevices, OpeningSetsTheBaudRateOfTheTypeAndTellsTheDebugger) {
    for (const std::uint16_t type : std::initializer_list<std::uint16_t>{2, 9, 16}) {
        platform::memory::ResetWorld();
        FakeD2xx library;
        EXPECT_EQ(TryOpen(library, type).first, kUsbNoDevice);
        EXPECT_TRUE(World().debug_lines.empty());
        library.Attach(type, "1");
        EXPECT_EQ(TryOpen(library, type).first, kUsbOk);
        EXPECT_EQ(library.driver.CallsOf("FT_SetBaudRate"), 1U);
        EXPECT_EQ(World().debug_lines, std::vector<std::wstring>{L"NeltoUSBOpen finished without error"});
    }
}

TEST_F(UsbDevices, ClosingReleasesWhateverTheDriverSays) {
    const std::tuple<void (*)(FakeD2xx&), std::uint32_t, std::size_t> rows[] = {
        {[](FakeD2xx&) {}, kUsbOk, 0},
        {[](FakeD2xx& library) { library.Fail("FT_Close", 1); }, kUsbDriverFailed, 0},
        {[](FakeD2xx&) { InstallD2xx("FT_Close"); }, kUsbNotAvailable, 1},
    };
    for (const auto& [arrange, result, devices_left] : rows) {
        FakeD2xx library;
        library.Attach(2, "1");
        NeltoUSBHandle link = nullptr;
        ASSERT_EQ(NeltoUSBOpen(2, kAny, &link), kUsbOk);
        arrange(library);
        EXPECT_EQ(NeltoUSBClose(link), result);
        EXPECT_EQ(library.TimesLoaded(), 0u);
        EXPECT_EQ(library.driver.OpenCount(), devices_left);
    }
}

/// One open link to a peer that answers packet by packet.
class UsbMessages : public HostTest {
protected:
    UsbMessages() {
        library_.Attach(2, "1", &peer_);
        EXPECT_EQ(NeltoUSBOpen(2, kAny, &link_), kUsbOk);
    }
    void TearDown() override {
        EXPECT_EQ(NeltoUSBClose(link_), kUsbOk);
        EXPECT_EQ(library_.Held(), 0U);
    }

    std::uint32_t Transceive(const Bytes& request, std::uint32_t capacity = 4096, std::uint32_t timeout_ms = 200) {
        reply_.assign(capacity + 1, 0xEE);
        std::uint32_t length = 99;
        const auto size      = static_cast<std::uint32_t>(request.size());
        const std::uint32_t result =
            NeltoUSBTransceive(link_, request.data(), size, reply_.data(), capacity, &length, timeout_ms);
        EXPECT_EQ(reply_.back(), 0xEE) << "written beyond the capacity";
        EXPECT_EQ(platform::memory::OpenEvents(), 0u);
        if (result != kUsbOk) EXPECT_EQ(length, 0u);
        reply_.resize(length);
        return result;
    }

    void Answer(const Bytes& bytes, std::uint32_t delay_ms = 0) { peer_.answers.push_back({bytes, delay_ms}); }
    void AnswerAll(const std::vector<Bytes>& packets) {
        for (const Bytes& packet : packets) Answer(packet);
    }
    /// The reply to a request of one byte; its result must be good.
    const Bytes& ReplyOf(const std::vector<Bytes>& packets) {
        AnswerAll(packets);
        EXPECT_EQ(Transceive(Hex("42")), kUsbOk);
        return reply_;
    }
    /// After whatever happened before, and with its remains thrown away, the link answers as ever.
    void ExpectGoodExchange() {
        World().now += 1000;
        library_.Deliver();
        peer_.answers.clear();
        peer_.written.clear();
        std::array<std::uint8_t, kUsbAnswerSize> rest;
        while (ReadQueuedUsb(*reinterpret_cast<UsbPort*>(link_), rest) > 0) {}
        EXPECT_EQ(ReplyOf({kIdentPacket}), Hex("00 42 00 00 54 37 38 30 01"));
    }

    static inline const Bytes kIdentPacket = Hex("21 00 00 00 01 09 00 42 00 00 54 37 38 30 01 66 1C");
    static inline const Bytes kFirstOfTwo  = Hex("21 00 00 00 02 03 01 02 03 6E 9C");
    static inline const Bytes kSecondOfTwo = Hex("21 00 01 00 02 02 04 05 EB F3");

    ScriptedPeer peer_;
    FakeD2xx library_;
    NeltoUSBHandle link_ = nullptr;
    Bytes reply_;
};

// Frames worked out by hand from the layout and the bit-by-bit checksum procedure.
TEST_F(UsbMessages, BytesOnTheWire) {
    EXPECT_EQ(ReplyOf({kFirstOfTwo, kSecondOfTwo}), Hex("01 02 03 04 05"));
    EXPECT_EQ(peer_.written, (std::vector<Bytes>{Hex("12 00 00 00 01 01 42 EF D3"), Hex("12 80 0F")}));
}

TEST_F(UsbMessages, RequestsAreCutAtAHundredBytes) {
    for (const std::size_t size : {1u, 100u, 101u, 200u, 250u}) {
        const std::vector<Bytes> expected = ReplyBlocks(Counting(size), 100);
        for (std::size_t i = 1; i < expected.size(); ++i) Answer(Hex("21 80 0F"));
        Answer(kIdentPacket);
        peer_.written.clear();
        ASSERT_EQ(Transceive(Counting(size)), kUsbOk) << size;
        ASSERT_EQ(peer_.written.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            Block sent, wanted;
            ASSERT_EQ(ParseBlock(peer_.written[i], sent), BlockFault::kNone);
            ASSERT_EQ(ParseBlock(expected[i], wanted), BlockFault::kNone);
            EXPECT_EQ(std::tuple(peer_.written[i][0], sent.index, sent.count),
                      std::tuple(kProgramStart, wanted.index, wanted.count));
            EXPECT_TRUE(std::ranges::equal(sent.payload, wanted.payload));
        }
    }
}

TEST_F(UsbMessages, RequestsThatCannotBePacketsSendNothing) {
    EXPECT_EQ(Transceive({}), kUsbProtocolFault);
    EXPECT_EQ(Transceive(Bytes(100 * 65535 + 1)), kUsbProtocolFault);
    EXPECT_TRUE(peer_.written.empty());
    ExpectGoodExchange();
}

// clang-format off
TEST_F(UsbMessages, DamagedAnswersHaveTheirResultAndLeaveTheLinkUsable) {
    // Name, size of the request, answers, result.
    const std::tuple<const char*, std::size_t, std::vector<Bytes>, std::uint32_t> rows[] = {
        {"silence",                      1,   {},                                       kUsbTimeout},
        {"wrong start byte",             1,   {Hex("22 00 00 00 01 01 07 00 00")},      kUsbWrongStart},
        {"echo of the program's start",  1,   {Hex("12 80 0F")},                        kUsbWrongStart},
        {"acknowledgement alone",        1,   {Hex("21 80 0F")},                        kUsbProtocolFault},
        {"less than a header",           1,   {Hex("21 00 00")},                        kUsbTimeout},
        {"wrong checksum",               1,   {Hex("21 00 00 00 01 01 07 00 00")},      kUsbProtocolFault},
        {"length byte asks for more",    1,   {Hex("21 00 00 00 01 02 07 00 00")},      kUsbTimeout},
        {"length byte asks for less",    1,   {Hex("21 00 00 00 01 00 07 00 00")},      kUsbTimeout},
        {"wrong acknowledgement",        101, {Hex("21 80 0E")},                        kUsbProtocolFault},
        {"short acknowledgement",        101, {Hex("21 80")},                           kUsbTimeout},
        {"no acknowledgement's middle",  101, {Hex("21 81 0F")},                        kUsbTimeout},
        {"long acknowledgement",         101, {Hex("21 80 0F 00")},                     kUsbTimeout},
        {"packet for acknowledgement",   101, {kIdentPacket},                           kUsbProtocolFault},
        {"silence for the second",       1,   {kFirstOfTwo, {}},                        kUsbTimeout},
        {"wrong start of the second",    1,   {kFirstOfTwo, Hex("22")},                 kUsbWrongStart},
        {"acknowledgement as second",    1,   {kFirstOfTwo, Hex("21 80 0F")},           kUsbProtocolFault},
        {"index of the second",          1,   {kFirstOfTwo, Packet(2, 2, Bytes{1})},    kUsbProtocolFault},
        {"no packets",                   1,   {Packet(0, 0, Bytes{7})},                 kUsbProtocolFault},
        {"index beyond",                 1,   {Packet(1, 1, Bytes{7})},                 kUsbProtocolFault},
        {"index far beyond",             1,   {Packet(0x7FFF, 3, Bytes{7})},            kUsbProtocolFault},
        {"last index, order not asked",  1,   {Packet(4, 5, Bytes{7})},                 kUsbOk},
        {"last index of the most",       1,   {Packet(0xFFFE, 0xFFFF, Bytes{7})},       kUsbOk},
        {"empty packets without end",    1,   std::vector<Bytes>(1000, Packet(0, 2, {})), kUsbProtocolFault},
    };
    // clang-format on
    for (const auto& [name, request_size, answers, result] : rows) {
        SCOPED_TRACE(name);
        AnswerAll(answers);
        EXPECT_EQ(Transceive(Counting(request_size)), result);
        ExpectGoodExchange();
    }
}

TEST_F(UsbMessages, RepliesFitTheCallersBufferOrFail) {
    const std::tuple<std::size_t, std::uint32_t, std::uint32_t> rows[] = {
        {260, 256, kUsbReplyTooLong}, {256, 256, kUsbOk},       {257, 256, kUsbReplyTooLong},
        {4096, 4096, kUsbOk},         {1, 0, kUsbReplyTooLong}, {0, 0, kUsbOk}};
    for (const auto& [size, capacity, result] : rows) {
        AnswerAll(ReplyBlocks(Counting(size), 248));
        EXPECT_EQ(Transceive(Hex("42"), capacity), result) << size;
        EXPECT_EQ(reply_, result == kUsbOk ? Counting(size) : Bytes{});
        ExpectGoodExchange();
    }
}

/// The program's own conversation over the link; `stop` ends it.
class OwnUsbMessages : public UsbMessages {
protected:
    LinkStatus OwnTransceive(std::uint32_t timeout_ms) {
        reply_.resize(64);
        std::size_t length      = 0;
        const LinkStatus status = own_.Transceive(Hex("42"), reply_, length, timeout_ms);
        reply_.resize(length);
        return status;
    }
    void TearDown() override {
        own_.Close();
        EXPECT_EQ(library_.Held(), 0U);
    }

    std::atomic<std::uint32_t> stop_{0};
    UsbLink own_{reinterpret_cast<UsbPort*>(std::exchange(link_, nullptr)), &stop_};
};

TEST_F(UsbMessages, ARepeatedPacketIsTakenAsItComes) {
    EXPECT_EQ(ReplyOf({kFirstOfTwo, kFirstOfTwo, kSecondOfTwo}), Hex("01 02 03 01 02 03 04 05"));
}

TEST_F(OwnUsbMessages, ARepeatedPacketIsSkipped) {
    AnswerAll({kFirstOfTwo, kFirstOfTwo, kSecondOfTwo});
    EXPECT_EQ(OwnTransceive(200), LinkStatus::kOk);
    EXPECT_EQ(reply_, Hex("01 02 03 04 05"));
}

TEST_F(OwnUsbMessages, AnAnswerAfterItsTimeoutIsNotTheNextOnes) {
    Answer(kFirstOfTwo, 250);
    EXPECT_EQ(OwnTransceive(200), LinkStatus::kTimeOut);
    World().now += 100;
    library_.Deliver();
    Answer(kIdentPacket);
    EXPECT_EQ(OwnTransceive(200), LinkStatus::kOk);
}

TEST_F(OwnUsbMessages, ASignalWithoutBytesIsWaitedOnWithinTheSameTimeout) {
    library_.Spoil(CallFaultKind::kEarlySignal, 20);
    Answer(kIdentPacket);
    EXPECT_EQ(OwnTransceive(200), LinkStatus::kOk);
    library_.Spoil(CallFaultKind::kEmptyQueue);  // signals, and nothing ever comes
    const std::uint32_t start = World().now;
    Answer(kIdentPacket);
    EXPECT_EQ(OwnTransceive(200), LinkStatus::kTimeOut);
    EXPECT_EQ(World().now - start, 200U);
}

TEST_F(OwnUsbMessages, AStopEndsAReplyThatTricklesInAndNoShorterOne) {
    for (const std::uint32_t pause : {100U, 900U}) {
        library_.Repair();
        library_.Spoil(CallFaultKind::kTrickle, pause);  // 17 bytes: 1.7 and 15.3 seconds
        Answer(kIdentPacket);
        World().on_wait = [this, before = World().on_wait, at = World().now + 500] {
            before();
            if (World().now >= at) stop_ = 1;
        };
        const std::uint32_t start = World().now;
        const bool is_short       = pause == 100;
        EXPECT_EQ(OwnTransceive(1000), is_short ? LinkStatus::kOk : LinkStatus::kStopped);
        if (!is_short) EXPECT_LE(World().now - start, 500 + kBlockStopPatience + 200);
        stop_ = 0;
    }
    World().on_wait = nullptr;
}

TEST_F(UsbMessages, PacketsComeInPiecesOfAnySize) {
    for (const std::size_t piece : {1u, 2u, 3u, 5u, 6u, 7u, 100u}) {
        library_.driver.Setup().piece = piece;
        EXPECT_EQ(ReplyOf(ReplyBlocks(Counting(600), 248)), Counting(600)) << piece;
    }
}

// 248 payload bytes fill the answer buffer to its last byte; with more the packet can never be whole.
TEST_F(UsbMessages, APacketBeyondTheBufferNeverBecomesWhole) {
    Bytes stream(1000, 0xFF);
    stream.front() = kAnalyserStart;
    for (const std::size_t piece : {1u, 200u, 0u}) {
        library_.driver.Setup().piece = piece;
        EXPECT_EQ(ReplyOf({Packet(0, 1, Counting(248))}), Counting(248));
        for (const Bytes& beyond : {Packet(0, 1, Counting(249)), stream}) {
            Answer(beyond);
            EXPECT_EQ(Transceive(Hex("42")), kUsbTimeout);
            ExpectGoodExchange();
        }
    }
    // A stream is given up with the first byte that there is no room for, long before it ends.
    library_.Spoil(CallFaultKind::kTrickle, 1);
    Answer(stream);
    const std::uint32_t start = World().now;
    EXPECT_EQ(Transceive(Hex("42")), kUsbTimeout);
    EXPECT_LT(World().now - start, 500U);
    library_.Repair();
    ExpectGoodExchange();
}

TEST_F(UsbMessages, TheTimeoutHoldsForEachPieceAndIsTheCalls) {
    Answer(kIdentPacket, 150);
    EXPECT_EQ(Transceive(Hex("42"), 256, 150), kUsbOk);
    Answer(kIdentPacket, 151);
    const std::uint32_t start = World().now;
    EXPECT_EQ(Transceive(Hex("42"), 256, 150), kUsbTimeout);
    EXPECT_EQ(World().now - start, 150u);
    EXPECT_EQ(TimeoutOf(link_), 150u);
    EXPECT_EQ(NeltoUSBSetTimeout(link_, 70), kUsbOk);
    EXPECT_EQ(TimeoutOf(link_), 70u);
}

// clang-format off
TEST_F(UsbMessages, EveryDriverFaultEndsTheMessageAndNotTheLink) {
    constexpr std::pair<const char*, void (*)(FakeD2xx&)> kRows[] = {
        {"event refused", [](FakeD2xx& library) { library.Fail("FT_SetEventNotification"); }},
        {"write refused", [](FakeD2xx& library) { library.Fail("FT_Write"); }},
        {"short write",   [](FakeD2xx& library) { library.Spoil(CallFaultKind::kShortWrite); }},
        {"queue unknown", [](FakeD2xx& library) { library.Fail("FT_GetQueueStatus"); }},
        {"queue empty",   [](FakeD2xx& library) { library.Spoil(CallFaultKind::kEmptyQueue); }},
        {"early signal",  [](FakeD2xx& library) { library.Spoil(CallFaultKind::kEarlySignal, 20); }},
        {"read refused",  [](FakeD2xx& library) { library.Fail("FT_Read"); }},
        {"short read",    [](FakeD2xx& library) { library.Spoil(CallFaultKind::kShortRead); }},
        {"no event",      [](FakeD2xx&) { AlwaysFail(Call::kCreateEvent); }},
    };
    // clang-format on
    for (const auto& [name, arrange] : kRows) {
        SCOPED_TRACE(name);
        arrange(library_);
        Answer(kIdentPacket);
        EXPECT_EQ(Transceive(Hex("42")), kUsbDriverFailed);
        library_.Repair();
        platform::memory::TheCalls() = {};
        platform::memory::ResetEvents();
        ExpectGoodExchange();
    }
}

}  // namespace
}  // namespace nelto::test
