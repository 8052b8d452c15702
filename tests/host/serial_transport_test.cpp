#include "transport/serial_link.h"

#include <tuple>

#include "support.h"

namespace nelto::test {
namespace {

const std::wstring kZivLog = L"ZIVNelto780.txt";

class SerialTransportTest : public HostTest {
protected:
    SerialTransportTest() { World().serial_ports[L"COM5"].device = &peer_; }

    void Open() {
        link_ = SerialLink::Open(5, &stop_);
        ASSERT_NE(link_, nullptr);
    }

    std::uint32_t Transceive(const Bytes& message, std::uint32_t timeout_ms = 200) {
        return SerialResultOf(link_->Transceive(message, reply_, received_, timeout_ms));
    }
    Bytes Reply() const { return {reply_.begin(), reply_.begin() + static_cast<std::ptrdiff_t>(received_)}; }

    ScriptedPeer peer_;
    std::unique_ptr<SerialLink> link_;
    std::atomic<std::uint32_t> stop_{0};
    std::array<std::uint8_t, 256> reply_{};
    std::size_t received_ = 0;
};

TEST_F(SerialTransportTest, OpensThePortWithItsSettingsAndSaysWhatFailed) {
    World().serial_ports[L"\\\\.\\COM10"].device = &peer_;
    ASSERT_NE(SerialLink::Open(10, nullptr), nullptr);
    EXPECT_EQ(World().serial_ports[L"\\\\.\\COM10"].baud_rate, 19200U);
    EXPECT_EQ(LogText(kZivLog), "NeltoRS232Open uPort = 10, \\\\.\\COM10|Port open OK|Serial port closed|");
    EXPECT_EQ(World().debug_lines.at(1), L"Serial port opened");

    const std::pair<void (*)(platform::memory::SerialPortState&), std::string> cases[] = {
        {[](auto& state) { state.open_error = 2; }, "Error Number 2|Port open failed|"},
        {[](auto&) { AlwaysFail(Call::kSerialTimeouts); }, "SetCommTimeouts failed|"},
        {[](auto&) { AlwaysFail(Call::kGetLine); }, "GetCommState failed|"},
        {[](auto&) { AlwaysFail(Call::kSetLine); }, ""},
    };
    for (const auto& [spoil, lines] : cases) {
        platform::memory::ResetWorld();
        spoil(World().serial_ports[L"COM9"]);
        EXPECT_EQ(SerialLink::Open(9, nullptr), nullptr);
        EXPECT_EQ(LogText(kZivLog), "NeltoRS232Open uPort = 9, COM9|" + lines);
    }
}

TEST_F(SerialTransportTest, CarriesAMessageBothWays) {
    Open();
    const Bytes long_reply(250, 0x33);
    const auto blocks = ReplyBlocks(long_reply);
    peer_.answers     = {{Hex("21 80 0f")}, {blocks[0]}, {blocks[1]}, {blocks[2]}};

    EXPECT_EQ(Transceive(Counting(121)), kSerialOk);
    EXPECT_EQ(Reply(), long_reply);
    ASSERT_EQ(peer_.written.size(), 4U);
    EXPECT_EQ(peer_.written[0].size(), 128U);
    EXPECT_EQ(peer_.written[1], Hex("12 00 01 00 02 01 78 16 a9"));
    EXPECT_EQ(peer_.written[2], Hex("12 80 0f"));
    EXPECT_TRUE(LogHas(kZivLog, "SEND: 12 80 0F "));
    EXPECT_TRUE(LogHas(kZivLog, "RECV: 21 80 0F "));
    EXPECT_TRUE(LogHas(kZivLog, "Receive time 10 msec"));
}

TEST_F(SerialTransportTest, EndsEveryFaultWithItsCodeAndLine) {
    const Bytes good = ReplyBlocks(Hex("00 42 00 00"))[0];
    const auto full  = ReplyBlocks(Bytes(256, 1));
    const auto over  = ReplyBlocks(Bytes(257, 1));
    // Name, size of the message, answers, result, last line of the log.
    const std::tuple<const char*, std::size_t, std::deque<ScriptedPeer::Answer>, std::uint32_t, const char*> cases[] = {
        {"silence", 1, {}, 3, "Transceive error 3, number of received bytes 0"},
        {"short", 1, {{Hex("21 00 00 00 01")}}, 3, "Transceive error 3, number of received bytes 5"},
        {"no reply", 1, {{Hex("21 80 0f")}}, 3, "Transceive error 3, number of received bytes 3"},
        {"no acknowledgement", 121, {{good}}, 3, "Transceive error 2"},
        {"wrong acknowledgement", 121, {{Hex("21 80 0e")}}, 3, "Transceive error 2"},
        {"wrong length", 1, {{Hex("21 00 00 00 01 07 00 42 00 00 aa bb")}}, 3, "Transceive error 4"},
        {"index", 1, {{Hex("21 00 01 00 01 00 00 00")}}, 3, "Transceive error 5"},
        {"wrong checksum", 1, {{Hex("21 00 00 00 01 01 07 00 00")}}, 3, "Transceive error 6"},
        {"late", 1, {{good, 201}}, 3, "Transceive error 3, number of received bytes 0"},
        {"too long", 1, {{over[0]}, {over[1]}, {over[2]}}, 5, "Transceive error 7"},
        {"just fits", 1, {{full[0]}, {full[1]}, {full[2]}}, 0, "Receive time 10 msec"},
        {"just in time", 1, {{good, 200}}, 0, "Receive time 200 msec"},
        {"empty message", 0, {}, 3, "Transceive error 3, number of received bytes 0"},
    };
    for (const auto& [name, message_size, answers, result, line] : cases) {
        SCOPED_TRACE(name);
        platform::memory::ResetWorld();
        ScriptedPeer peer;
        World().serial_ports[L"COM5"].device = &peer;
        Open();
        peer.answers = answers;
        EXPECT_EQ(Transceive(Bytes(message_size, 0x42)), result);
        EXPECT_EQ(LogLines(kZivLog).back(), line);
        if (result != 0) EXPECT_EQ(received_, 0U);
        link_.reset();
    }
    SerialLink closed(platform::SerialHandle::kNone, nullptr);
    EXPECT_EQ(closed.Transceive(Hex("42"), reply_, received_, 200), LinkStatus::kNotOpen);
}

TEST_F(SerialTransportTest, NeverTakesALateAnswerForTheNext) {
    Open();
    peer_.answers = {{ReplyBlocks(Hex("00 53 00 00"))[0], 250}};
    EXPECT_EQ(Transceive(Hex("53")), kSerialProtocolFault);
    World().now += 1000;
    peer_.answers = {};
    EXPECT_EQ(Transceive(Hex("53")), kSerialProtocolFault);
}

TEST_F(SerialTransportTest, SaysHowMuchAShortWriteWrote) {
    Open();
    peer_.most_written = 8;
    EXPECT_EQ(Transceive(Hex("42")), kSerialProtocolFault);
    EXPECT_TRUE(LogHas(kZivLog, "Bytes written 8"));
}

TEST_F(SerialTransportTest, WaitsForNoAnswerToWhatAStopKeptFromBeingSent) {
    Open();
    peer_.most_written        = 8;
    stop_                     = 1;
    const std::uint32_t start = World().now;
    EXPECT_EQ(link_->Transceive(Hex("42"), reply_, received_, 3000), LinkStatus::kStopped);
    EXPECT_EQ(World().now, start);
    for (const std::string& line : LogLines(kZivLog)) EXPECT_EQ(line.find("rror"), std::string::npos) << line;
}

}  // namespace
}  // namespace nelto::test
