#include "fake_d2xx.h"
#include "instrument/opening.h"
#include "support.h"

namespace nelto::test {
namespace {

constexpr const wchar_t* kBaseLog = L"Nelto780Base.txt";

/// A 780 that can be attached, and the program's state with its stored setting USB.
class UsbOpening : public HostTest {
protected:
    UsbOpening() {
        FillSmallAnalyser(analyser_);
        analyser_.Answer("33", "");
    }

    /// Opens and, where that succeeds, closes again.
    bool Open() {
        const auto connection = Nelto780Open(state_);
        if (connection == nullptr) return false;
        EXPECT_EQ(connection->Close(), 0U);
        return true;
    }

    MessagePeer analyser_;
    FakeD2xx library_;
    ProgramState state_;
};

TEST_F(UsbOpening, AnAnalyserIsIdentifiedSetUpAndClosed) {
    library_.Attach(2, "1", &analyser_);
    const auto connection = Nelto780Open(state_);
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->Kind(), kKind780);
    EXPECT_EQ(connection->SubType(), 2u);
    EXPECT_STREQ(state_.last_error, "");
    EXPECT_EQ(connection->Close(), 0U);
    EXPECT_TRUE(library_.AllReleased());

    EXPECT_EQ(analyser_.requests,
              (std::vector<Bytes>{Hex("42"), Hex("33 0E 05 09 00 DB 07 03 07"), Hex("85"), Hex("90")}));
    EXPECT_EQ(LogText(kBaseLog, "07.03.2011 14:05:09 "),  // World's calendar
              "=== Start ===|Nelto780Open|Instrument nelto 780 (2004)/nelto 790 opened (via USB)|"
              "GET_IDENT [nelto 780 2004] OK|synchronize clock|get SubType|GetSubType2004 (USB)|Nelto 780 Open OK|"
              "Nelto780Base::Nelto780Close|SetSlaveMode|Connection closed (USB to nelto 780 2004)|");
}

TEST_F(UsbOpening, OnlyTheModelsOfGeneration2004AreAccepted) {
    constexpr const char* kOff   = "GET_IDENT [nelto 780 2004] failed: instrument is switched off";
    constexpr const char* kWrong = "GET_IDENT [nelto 780 2004] failed: wrong ident";
    // The answer, and the last error, empty where it opens.
    constexpr std::pair<const char*, const char*> kRows[] = {
        {"00 42 00 00 54 37 38 30 01", ""},
        {"00 42 00 00 54 37 39 30 01", ""},
        {"FF FF FF FF 54 37 38 30 FF", ""},  // the header is not looked at
        {"00 42 00 00 54 37 31 30 01", kWrong},
        {"00 42 00 00 54 37 38 30", kWrong},
        {"00 42 00 00 54 37 38 30 01 00", kWrong},
        {"00 42 00 00 4B 01", kWrong},
        {"00", kWrong},
        {nullptr, kOff},
    };
    library_.Attach(2, "1", &analyser_);
    for (const auto& [answer, last_error] : kRows) {
        analyser_.answers.erase(Hex("42"));
        if (answer != nullptr) analyser_.answers[Hex("42")] = Hex(answer);
        EXPECT_EQ(Open(), *last_error == '\0') << answer;
        EXPECT_STREQ(state_.last_error, last_error);
        if (*last_error != '\0') EXPECT_TRUE(LogHas(kBaseLog, last_error));
        EXPECT_TRUE(LogHas(kBaseLog, "Connection closed (USB to nelto 780 2004)"));
        EXPECT_TRUE(library_.AllReleased());
    }
}

TEST_F(UsbOpening, ClockAndSubTypeAreNeeded) {
    library_.Attach(2, "1", &analyser_);
    analyser_.answers.erase(Hex("85"));
    EXPECT_FALSE(Open());
    EXPECT_STREQ(state_.last_error, "Nelto 780 Open: GetSubType failed");
    EXPECT_TRUE(LogHas(kBaseLog, "GetSubType2004 error"));
    analyser_.answers.erase(Hex("33"));
    EXPECT_FALSE(Open());
    EXPECT_STREQ(state_.last_error, "Nelto 780 Open: Error synchronizing clock");
    EXPECT_TRUE(library_.AllReleased());
}

TEST_F(UsbOpening, DeviceType2IsTriedBefore16AndNoOther) {
    library_.Attach(9, "1", &analyser_);
    EXPECT_FALSE(Open());
    EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
    EXPECT_TRUE(LogHas(kBaseLog, "no nelto fluegas instrument (nelto 745/780) found at USB"));
    library_.Attach(16, "2", &analyser_);
    EXPECT_TRUE(Open());
    MessagePeer preferred;
    preferred.answers = analyser_.answers;
    library_.Attach(2, "3", &preferred);
    EXPECT_TRUE(Open());
    EXPECT_FALSE(preferred.requests.empty());
    EXPECT_TRUE(library_.AllReleased());
}

}  // namespace
}  // namespace nelto::test
