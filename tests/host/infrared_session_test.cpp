#include "infrared_session.h"

#include <gtest/gtest.h>

#include "scenario.h"

namespace simulator {
namespace {

/// A session of a scenario, connected to its first device.
class Infrared {
    static Scenario Parse(const std::string& text) {
        std::string error;
        std::optional<Scenario> scenario = ParseScenario(text, error);
        EXPECT_TRUE(scenario) << error;
        return scenario.value_or(Scenario());
    }

    Scenario scenario_;
    Analyser2004 analyser_{scenario_.analyser};
    FaultScript faults_{scenario_.faults};

public:
    explicit Infrared(const std::string& text) : scenario_(Parse(text)) {}

    InfraredSession session{analyser_, faults_, scenario_.infrared, [](const std::string&) {}};

    bool Connect(std::uint64_t now_ms = 0) {
        const std::vector<std::string> devices = session.Devices(now_ms);
        return !devices.empty() && session.Connect(0, devices[0], now_ms);
    }

    /// What the next look gives: bytes as hex, "nothing yet" or "gone".
    std::string Look(std::uint64_t now_ms = 0) {
        std::array<std::uint8_t, 16> buffer{};
        std::size_t size = 0;
        switch (session.Receive(buffer, size, now_ms)) {
            case InfraredSession::Arrival::kBytes: return HexText(Bytes(buffer).first(size));
            case InfraredSession::Arrival::kNothingYet: return "nothing yet";
            case InfraredSession::Arrival::kGone: return "gone";
        }
        return "?";
    }
};

constexpr std::array<std::uint8_t, 1> kConfiguration = {0x53};

struct ReplyCase {
    std::string scenario;
    std::vector<std::string> looks;
};

TEST(InfraredSession, RepliesComeInPiecesAndAsFaultsHaveThem) {
    const std::array cases = {
        ReplyCase{"", {"00 53 08 00 04 00 00 00", "nothing yet"}},
        ReplyCase{"infrared_piece 5", {"00 53 08 00 04", "00 00 00", "nothing yet"}},
        ReplyCase{"fault wrong_length 300", {"00 53 34 01 04 00 00 00", "nothing yet"}},
        ReplyCase{"fault short_answer 2", {"00 53 06 00 04 00", "nothing yet"}},
        ReplyCase{"fault lost_byte 4", {"00 53 08 00 00 00 00", "nothing yet"}},
        ReplyCase{"fault silence", {"nothing yet"}},
        ReplyCase{"fault delay 10", {"nothing yet"}},
        ReplyCase{"infrared_piece 5\nfault link_gone block 1", {"00 53 08 00 04", "gone", "gone"}},
        ReplyCase{"infrared_piece 5\nfault silence block 1", {"00 53 08 00 04", "nothing yet"}},
    };
    for (const ReplyCase& row : cases) {
        SCOPED_TRACE(row.scenario);
        Infrared infrared(row.scenario);
        ASSERT_TRUE(infrared.Connect());
        ASSERT_TRUE(infrared.session.Send(kConfiguration, 0));
        for (const std::string& look : row.looks) EXPECT_EQ(infrared.Look(), look);
    }
}

TEST(InfraredSession, ADelayedReplyComesWhenItIsDue) {
    Infrared infrared("fault delay 10");
    ASSERT_TRUE(infrared.Connect());
    ASSERT_TRUE(infrared.session.Send(kConfiguration, 0));
    EXPECT_EQ(infrared.Look(9), "nothing yet");
    EXPECT_EQ(infrared.Look(10), "00 53 08 00 04 00 00 00");
}

TEST(InfraredSession, ALinkThatIsGoneTakesTheDevicesOutOfRangeForItsTime) {
    Infrared infrared("fault link_gone 2 request 1");
    ASSERT_TRUE(infrared.Connect());
    ASSERT_TRUE(infrared.session.Send(kConfiguration, 0));
    EXPECT_EQ(infrared.Look(), "gone");
    EXPECT_FALSE(infrared.session.Send(kConfiguration, 1999));
    EXPECT_FALSE(infrared.Connect(1999));
    EXPECT_TRUE(infrared.Connect(2000));
}

TEST(InfraredSession, OnlyADeviceInRangeIsConnectedAndOnlyUnderItsName) {
    Infrared infrared("infrared_device \"Printer\"\ninfrared_device \"NELTO T785\"\ninfrared_fault refused 5 6");
    EXPECT_EQ(infrared.session.Devices(0), (std::vector<std::string>{"Printer", "NELTO T785"}));
    EXPECT_FALSE(infrared.session.Connect(1, "Printer", 0));
    EXPECT_FALSE(infrared.session.Connect(2, "NELTO T785", 0));
    EXPECT_FALSE(infrared.session.Connect(1, "NELTO T785", 5000));
    EXPECT_TRUE(infrared.session.Connect(1, "NELTO T785", 6000));
    EXPECT_FALSE(infrared.session.Connect(1, "NELTO T785", 6000));  // one conversation at a time
}

}  // namespace
}  // namespace simulator
