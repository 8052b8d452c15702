#include <bit>
#include <cstring>

#include "instrument/analyser.h"
#include "instrument/opening.h"
#include "platform/wide_text.h"
#include "support.h"

namespace nelto::test {
namespace {

const std::wstring kBaseLogName = L"Nelto780Base.txt";
const std::wstring kZivLogName  = L"ZIVNelto780.txt";

std::wstring Label(const ChannelRecord& record) { return std::wstring(platform::TextIn(record.label)); }
std::wstring Text(const ChannelRecord& record) { return std::wstring(platform::TextIn(record.text)); }

class Generation2004Test : public HostTest {
protected:
    Generation2004Test() {
        state_.communication                 = 5;
        World().serial_ports[L"COM5"].device = &peer_;
        FillSmallAnalyser(peer_);
    }

    void Open() {
        connection_ = Nelto780Open(state_);
        ASSERT_NE(connection_, nullptr) << state_.last_error;
    }
    Analyser& Opened() { return static_cast<Analyser&>(*connection_); }
    std::uint32_t Configure() { return connection_->ReadConfiguration(channels_); }
    std::uint32_t ReadValues() { return connection_->ReadValues(channels_); }

    /// `count` value records in hex, idents from `first` on, all with value 1.0.
    static std::string ValueRecords(std::size_t count, std::uint32_t first) {
        std::string text;
        for (std::uint32_t ident = first; ident < first + count; ++ident) {
            char record[64];
            std::snprintf(record, sizeof(record), "%02x %02x 00 00 00 00 80 3f 01 00 ff 00 00 00 00 ", ident & 0xFF,
                          ident >> 8);
            text += record;
        }
        return text;
    }

    MessagePeer peer_;
    ProgramState state_;
    std::unique_ptr<Instrument> connection_;
    ChannelTable channels_{};
};

struct IdentCase {
    const char* answer;
    std::uint32_t kind;  // 0: refused
    const char* line;
};

TEST_F(Generation2004Test, IdentifiesTheAnalyserOnTheSerialLink) {
    const IdentCase cases[] = {
        {"00 42 00 00 54 37 38 30 01", 780, "nelto 780 2004 found"},
        {"00 42 00 00 54 37 39 30 01", 780, "nelto 790 found"},
        {"00 42 00 00 54 37 31 30 01 00", 710, "nelto 710 found"},
        {"00 42 00 00 54 37 38 30", 0, "GET_IDENT [Bluetooth] failed: wrong ident"},
        {"00 42 00 00 54 37 31 30 01", 0, "GET_IDENT [Bluetooth] failed: wrong ident"},
        {"00 42 00 00 4b 02", 0, "GET_IDENT [Bluetooth] failed: wrong ident"},
        {"01 42 00 00 4b 01", 0, "GET_IDENT [Bluetooth] failed: wrong ident"},
    };
    peer_.Answer("0C", "");
    peer_.Answer("0D", "");
    for (const IdentCase& row : cases) {
        SCOPED_TRACE(row.answer);
        peer_.answers[Hex("42")] = Hex(row.answer);
        connection_              = Nelto780Open(state_);
        EXPECT_EQ(connection_ != nullptr, row.kind != 0);
        if (connection_ != nullptr) EXPECT_EQ(connection_->Kind(), row.kind);
        EXPECT_TRUE(LogHas(kBaseLogName, row.line));
        EXPECT_STREQ(state_.last_error, row.kind != 0 ? "" : row.line);
        if (connection_ != nullptr) connection_->Close();
        EXPECT_EQ(World().serial_ports[L"COM5"].open_handles, 0U);
    }
}

TEST_F(Generation2004Test, OpensInItsStepsAndClosesOnce) {
    Open();
    EXPECT_EQ(connection_->SubType(), 2U);
    const std::vector<std::string> expected = {"=== Start ===",
                                               "Nelto780Open",
                                               "Instrument opened via Bluetooth",
                                               "GET_IDENT [Bluetooth] OK",
                                               "RS232 dwReceived 9 number of Byte",
                                               "nelto 780 2004 found",
                                               "synchronize clock",
                                               "get SubType",
                                               "GetSubType2004 (Bluetooth)",
                                               "Nelto 780 Open OK"};
    std::vector<std::string> lines          = LogLines(kBaseLogName);
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t index = 0; index < lines.size(); ++index) {
        EXPECT_EQ(lines[index], "07.03.2011 14:05:09 " + expected[index]);
    }
    EXPECT_EQ(connection_->Close(), 0U);
    EXPECT_EQ(peer_.requests.back(), Hex("90"));
    EXPECT_TRUE(LogHas(kZivLogName, "Serial port closed"));
    lines = LogLines(kBaseLogName);
    EXPECT_EQ(connection_->Close(), 0U);
    EXPECT_EQ(LogLines(kBaseLogName), lines);
}

TEST_F(Generation2004Test, LeavesTheErrorTextOfEachFailedStep) {
    peer_.answers.erase(Hex("85"));
    EXPECT_EQ(Nelto780Open(state_), nullptr);
    EXPECT_STREQ(state_.last_error, "Nelto 780 Open: GetSubType failed");
    peer_.answers.clear();
    EXPECT_EQ(Nelto780Open(state_), nullptr);
    EXPECT_STREQ(state_.last_error, "GET_IDENT [Bluetooth] failed");
    EXPECT_TRUE(LogHas(kBaseLogName, "GET_IDENT [Bluetooth] failed, Error code 3"));
    World().serial_ports[L"COM5"].open_error = 5;
    const std::uint32_t before               = World().now;
    EXPECT_EQ(Nelto780Open(state_), nullptr);
    EXPECT_EQ(World().now - before, 1000U);
    EXPECT_STREQ(state_.last_error, "open analyzer connection via Bluetooth SPP failed");
    EXPECT_TRUE(LogHas(kBaseLogName, "Instrument opening via Bluetooth failed, Error code 1"));
}

TEST_F(Generation2004Test, AStopEndsTheOpeningBeforeTheNextRequest) {
    struct Row {
        std::uint8_t last, next;  // requests; 0 none
    };
    for (const Row& row : {Row{0, 0x42}, Row{0x0C, 0x0D}}) {
        peer_.requests.clear();
        peer_.answers       = {{Hex("42"), Hex("00 42 00 00 54 37 31 30 01 00")}, {Hex("0C"), Hex("00 0C 00 00")}};
        state_.stop_request = 0;
        // In the wait before the first request, or between date and time of a 710.
        World().on_wait = [&, start = World().now] {
            const bool is_due = row.last == 0 ? World().now - start >= 1000 : peer_.RequestsOf(row.last) != 0;
            if (is_due) state_.stop_request = 1;
        };
        EXPECT_EQ(Nelto780Open(state_), nullptr);
        EXPECT_EQ(peer_.RequestsOf(row.last), row.last == 0 ? 0U : 1U);
        EXPECT_EQ(peer_.RequestsOf(row.next), 0U);
    }
    World().on_wait = nullptr;
}

TEST_F(Generation2004Test, BuildsTheWholeTable) {
    Open();
    ASSERT_EQ(Configure(), 0U);
    struct Row {
        std::uint32_t ident, unit, type;
        const wchar_t* label;
        float value;
        const wchar_t* text;
    };
    const Row rows[] = {
        {0x0901, 130, 0, L"lambdaO2", 0.0F, L""},
        {0x0902, 131, 0, L"CO", 0.0F, L""},
        {0xFF01, 1, 1, L"?", 60.0F, L""},
        {0xFF06, 0, 1, L"?", 1.0F, L""},
        {0xFFF0, 255, 2, L"Fuel type", 1.0F, L"Oil"},
        {0x0910, 130, 1, L"CO2max", 15.4F, L""},
        {0x090F, 130, 1, L"O2Ref", 3.0F, L""},
        {0xFFF1, 255, 2, L"Device", 0.0F, L"nelto 780-2"},
        {0xFFF2, 255, 2, L"Version", 0.0F, L"2.15"},
        {0xFFF3, 255, 2, L"SerNo", 0.0F, L"00012345"},
        {0xFFF4, 255, 2, L"SmokeP", 0.0F, L"SP1"},
    };
    ASSERT_EQ(UsedRecords(channels_).size(), std::size(rows));
    for (std::size_t index = 0; index < std::size(rows); ++index) {
        const ChannelRecord& record = channels_[index];
        EXPECT_EQ(record.view_ident, rows[index].ident);
        EXPECT_EQ(record.unit, rows[index].unit) << index;
        EXPECT_EQ(record.value_type, rows[index].type) << index;
        EXPECT_EQ(Label(record), rows[index].label);
        EXPECT_FLOAT_EQ(record.value, rows[index].value) << index;
        EXPECT_EQ(Text(record), rows[index].text) << index;
    }
    EXPECT_EQ(peer_.requests.back(), Hex("B7"));
    EXPECT_TRUE(LogHas(kBaseLogName, "Number of channels: 2"));
    EXPECT_TRUE(LogHas(kBaseLogName, "Nelto780GetOnlineConfiguration2004 finished"));
}

TEST_F(Generation2004Test, FillsTheTableOnlyWhileThereIsRoom) {
    struct Case {
        std::size_t measured, records, additional_asked, fuel_asked, device_asked, pump_asked;
    };
    const Case cases[] = {{57, 63, 1, 1, 1, 0}, {58, 63, 1, 1, 1, 0}, {60, 63, 1, 1, 0, 0},
                          {61, 63, 1, 0, 1, 0}, {63, 63, 1, 0, 0, 0}, {70, 64, 1, 0, 0, 0}};
    Open();
    for (const Case& row : cases) {
        SCOPED_TRACE(row.measured);
        peer_.Answer("C2", ValueRecords(row.measured, 0x2000));
        peer_.requests.clear();
        ASSERT_EQ(Configure(), 0U);
        EXPECT_EQ(UsedRecords(channels_).size(), row.records);
        EXPECT_EQ(peer_.RequestsOf(0xA2), row.additional_asked);
        EXPECT_EQ(peer_.RequestsOf(0xB8), row.fuel_asked);
        EXPECT_EQ(peer_.RequestsOf(0x85), row.device_asked);
        EXPECT_EQ(Label(channels_[0]), L"?");
    }
}

TEST_F(Generation2004Test, TreatsEveryShortAnswerAsABadOne) {
    Open();
    for (const char* command : {"A7", "53", "C2", "A2", "B8", "B0 00", "B9 00", "85", "40", "7F", "B7", "AA"}) {
        SCOPED_TRACE(command);
        const auto keep = peer_.answers;
        peer_.answers.erase(Hex(command));
        const bool in_configuration = std::strcmp(command, "AA") != 0;
        EXPECT_EQ(in_configuration ? Configure() : ReadValues(), 2U);
        if (std::strcmp(command, "A7") != 0 && std::strcmp(command, "C2") != 0 && std::strcmp(command, "A2") != 0 &&
            std::strcmp(command, "B7") != 0) {
            peer_.Answer(command, "");
            EXPECT_EQ(in_configuration ? Configure() : ReadValues(), 2U);
        }
        peer_.answers = keep;
    }
    EXPECT_EQ(Configure(), 0U);
}

TEST_F(Generation2004Test, ChecksTheHeaderOfEveryAnswer) {
    Open();
    for (const char* answer : {"01 AA 00 00 01", "00 AB 00 00 01", "00 AA 01 00 01", "00 AA 00 01 01", "00 AA 00"}) {
        peer_.answers[Hex("AA")] = Hex(answer);
        World().files.clear();
        EXPECT_EQ(ReadValues(), 2U) << answer;
        EXPECT_TRUE(LogHas(kBaseLogName, "Nelto780GetOnlineValues2004 error GET_MEAS_ZEROFLAG (null)"));
    }
}

TEST_F(Generation2004Test, GivesTheFuelItsClass) {
    struct Case {
        const char* number;
        float fuel_class;
        std::uint32_t type;
    };
    const Case cases[] = {{"00", 1, 2}, {"02", 2, 2}, {"05", 9, 2},  {"06", 8, 2},  {"07", 4, 2},
                          {"08", 3, 2}, {"0C", 5, 2}, {"0D", 11, 2}, {"0E", 11, 2}, {"11", 8, 2},
                          {"01", 0, 0}, {"12", 0, 0}, {"FF", 0, 0}};
    Open();
    for (const Case& row : cases) {
        peer_.Answer("B8", row.number);
        peer_.Answer(std::string("B0 ") + row.number, "40 00");
        peer_.Answer(std::string("B9 ") + row.number, "66 66 76 41 00 00 40 40");
        ASSERT_EQ(Configure(), 0U);
        EXPECT_EQ(channels_[4].view_ident, kFuel);
        EXPECT_EQ(channels_[4].value, row.fuel_class) << row.number;
        EXPECT_EQ(channels_[4].value_type, row.type) << row.number;
        EXPECT_EQ(Text(channels_[4]), L"Oil");
    }
}

TEST_F(Generation2004Test, AddsTheAdditionalChannelsInOrderOfTheirIdents) {
    peer_.Answer("A2",
                 "06 FF 00 00 00 00 00 40 00 00 00 00 00 00 00  02 FF 00 00 00 00 80 4F 00 00 00 00 00 00 00 "
                 "02 FF 00 00 FF FF FF FF 00 00 00 00 00 00 00  01 FF 00 00 00 00 70 42 01 00 FF 00 00 00 00");
    Open();
    ASSERT_EQ(Configure(), 0U);
    const std::uint32_t idents[] = {0xFF01, 0xFF02, 0xFF02, 0xFF06};
    const std::uint32_t types[]  = {1, 0, 0, 0};
    for (std::size_t index = 0; index < 4; ++index) {
        EXPECT_EQ(channels_[2 + index].view_ident, idents[index]);
        EXPECT_EQ(channels_[2 + index].value_type, types[index]);
        EXPECT_EQ(channels_[2 + index].resolution, 0U);
    }
    EXPECT_EQ(channels_[3].value, -1.0F);
    EXPECT_EQ(channels_[5].value, 2.0F);
}

TEST_F(Generation2004Test, CutsALongLabelInsideItsField) {
    std::string text;
    for (int index = 0; index < 40; ++index) text += "BB 03 ";
    peer_.Answer("B1 05", text);
    Open();
    ASSERT_EQ(Configure(), 0U);
    EXPECT_EQ(Label(channels_[0]), std::wstring(L"lambdalambdalambdalambdalambdalambda").substr(0, 31));
    peer_.Answer("B1 05", "4F 00 32");
    ASSERT_EQ(Configure(), 0U);
    EXPECT_EQ(Label(channels_[0]), L"O2");
}

TEST_F(Generation2004Test, ReadsValuesIntoTheirChannels) {
    Open();
    ASSERT_EQ(Configure(), 0U);
    channels_[1].value      = 17.0F;
    channels_[1].resolution = 254;
    channels_[1].value_type = kNumber;
    ASSERT_EQ(ReadValues(), 0U);
    EXPECT_FLOAT_EQ(channels_[0].value, 20.8F);
    EXPECT_EQ(channels_[0].value_type, kNumber);
    EXPECT_EQ(channels_[0].resolution, 255U);
    EXPECT_EQ(channels_[1].value_type, kNoValue);
    EXPECT_EQ(channels_[1].value, 17.0F);
    EXPECT_EQ(channels_[1].resolution, 254U);

    peer_.Answer("53", "04 00 00 00");
    EXPECT_EQ(ReadValues(), 2U);
    EXPECT_EQ(peer_.requests.back(), Hex("9C"));
    EXPECT_TRUE(LogHas(kBaseLogName, "Nelto780GetOnlineValues2004 error 7"));
    peer_.Answer("53", "01 00 00 00 00");
    EXPECT_EQ(ReadValues(), 2U);
    EXPECT_TRUE(LogHas(kBaseLogName, "Nelto780GetOnlineValues2004 error 6"));
    peer_.Answer("AA", "00");
    peer_.requests.clear();
    EXPECT_EQ(ReadValues(), 6U);
    EXPECT_EQ(peer_.requests.size(), 1U);
}

TEST_F(Generation2004Test, SwitchesTheSlaveModeOnlyWhenItDiffers) {
    struct Case {
        const char* mode_answer;
        bool on;
        std::uint32_t result;
        const char* last_request;
    };
    const Case cases[] = {
        {"05 00 00 00 00 00 00 00", true, 0, "90"},     {"00 00 00 00 00 00 00 00", false, 0, "90"},
        {"01 00 00 00 00 00 00 00", false, 0, "20 00"}, {"00 00 00 00 00 00 00 00", true, 0, "20 01"},
        {"00 00 00 00 00 00 00", false, 2, "90"},
    };
    Open();
    peer_.Answer("20", "");
    for (const Case& row : cases) {
        peer_.Answer("90", row.mode_answer);
        EXPECT_EQ(Opened().SetSlaveMode(row.on), row.result) << row.mode_answer;
        EXPECT_EQ(peer_.requests.back(), Hex(row.last_request));
    }
    peer_.answers.erase(Hex("20"));
    peer_.Answer("90", "01 00 00 00 00 00 00 00");
    EXPECT_EQ(Opened().SetSlaveMode(false), 3U);
    peer_.answers.erase(Hex("90"));
    EXPECT_EQ(Opened().SetSlaveMode(false), 1U);
}

TEST_F(Generation2004Test, SetsTheClockOfA710AndReadsNothingElse) {
    peer_.answers[Hex("42")] = Hex("00 42 00 00 54 37 31 30 01 00");
    peer_.Answer("0C", "");
    peer_.Answer("0D", "");
    World().calendar = {.year = 2026, .month = 11, .day = 21, .hour = 10, .minute = 26, .second = 5};
    Open();
    EXPECT_EQ(peer_.requests[1], Hex("0C 15 0B 7E 00"));
    EXPECT_EQ(peer_.requests[2], Hex("0D 0A 1A 05 00"));
    EXPECT_EQ(Configure(), 0U);
    EXPECT_EQ(ReadValues(), 0U);
    const auto lines = LogLines(kZivLogName);
    EXPECT_EQ(std::ranges::count(lines, "nelto 710 GetOnlineConfiguration"), 2);
    EXPECT_EQ(std::ranges::count(lines, "nelto 710 GetOnlineValues"), 2);
    EXPECT_TRUE(UsedRecords(channels_).empty());

    peer_.answers[Hex("0D")] = Hex("01 0D 00 00");
    EXPECT_EQ(Opened().SynchronizeClock(), 2U);
}

TEST_F(Generation2004Test, ReadsTheHeatingCheckList) {
    peer_.Answer("49", "01 02 03 04 05 06");
    peer_.Answer("A5 10",
                 "00 00 "
                 "15 00 00 00 1A 00 00 00 0A 0B 0C 0D 0E 0F FF FF 00 00 00 00 FF FF 00 00 00 00 "
                 "15 00 00 00 00 00 00 00 0A 0B 0C 0D 0E 0F FF FF 00 00 00 00 FF FF 00 00 00 00");
    peer_.Answer("A5 08 00 0A 0B 0C 0D 0E 0F",
                 "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 00 "
                 "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    peer_.Answer("A5 0A 00 0A 0B 0C 0D 0E 0F",
                 "2E FF 00 00 FF 00 FF 00 00 00 00 00  01 01 00 00 01 00 00 00 00 00 00 00");
    peer_.Answer("A5 09 00 0A 0B 0C 0D 0E 0F 00 00 02 00", "00 00 A0 40 FF FF FF FF 00 00 C0 40 00 00 E0 40");
    Open();
    ChannelTable results{};
    ASSERT_EQ(connection_->ReadHeatingCheck(results), 0U);
    // The second block of length 0 is read once and ends the walk; for empty references nothing is asked.
    EXPECT_EQ(peer_.RequestsOf(0xA5), 7U);
    ASSERT_EQ(UsedRecords(results).size(), 6U);
    EXPECT_EQ(Label(results[0]), L"ID_FF2E");
    EXPECT_EQ(results[0].value, 5.0F);
    EXPECT_EQ(results[1].value, 6.0F);
    EXPECT_EQ(results[2].view_ident, 0x0101U);
    EXPECT_EQ(results[2].value, 7.0F);

    peer_.Answer("49", "01 02 03 04 05 06 07");
    EXPECT_EQ(connection_->ReadHeatingCheck(results), 2U);
    peer_.answers.erase(Hex("49"));
    EXPECT_EQ(connection_->ReadHeatingCheck(results), 1U);
    EXPECT_EQ(UsedRecords(results).size(), 6U);  // as they were
}

/// Two lists, of reference 1 and 2, that hold the same quantity and one of their own each.
TEST_F(Generation2004Test, KeepsOfTheHeatingCheckTheListsThatCannotBeReadAndNoOthers) {
    const std::string header = std::string("00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 ") +
                               "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
    const auto list = [&](const std::string& reference, const std::string& entry, const std::string& values) {
        peer_.Answer("A5 08 00 " + reference, header);
        peer_.Answer("A5 0A 00 " + reference, "01 01 00 00 01 00 FF 00 00 00 00 00 " + entry);
        peer_.Answer("A5 09 00 " + reference + " 00 00 01 00", values);
    };
    const std::string first = "01 01 01 01 01 01", second = "02 02 02 02 02 02";
    peer_.Answer("49", "01 02 03 04 05 06");
    peer_.Answer("A5 10", "00 00 15 00 00 00 1A 00 00 00 " + first + " " + second + " FF FF 00 00 00 00");
    list(first, "2E FF 00 00 FF 00 FF 00 00 00 00 00", "00 00 80 3F 00 00 80 3F");
    list(second, "02 01 00 00 FF 00 FF 00 00 00 00 00", "00 00 00 40 00 00 00 40");
    Open();
    ChannelTable results{};
    const auto shown = [&] {
        connection_->ReadHeatingCheck(results);
        std::string text;
        for (const ChannelRecord& record : UsedRecords(results)) {
            text +=
                std::to_string(record.view_ident & 0xFF) + "=" + std::to_string(static_cast<int>(record.value)) + " ";
        }
        return text;
    };
    EXPECT_EQ(shown(), "1=1 46=1 1=2 2=2 ");
    peer_.answers.erase(Hex("A5 0A 00 " + first));
    list(second, "02 01 00 00 FF 00 FF 00 00 00 00 00", "00 00 40 40 FF FF FF FF");  // and one value less
    EXPECT_EQ(shown(), "1=1 46=1 1=3 ");
    peer_.answers.erase(Hex("A5 08 00 " + second));
    EXPECT_EQ(shown(), "1=1 46=1 1=3 ");
    peer_.Answer("A5 10", "00 00 15 00 00 00 1A 00 00 00 " + second + " FF FF 00 00 00 00 FF FF 00 00 00 00");
    EXPECT_EQ(shown(), "1=3 ");
}

TEST_F(Generation2004Test, AsksForNoMoreHeatingCheckListsThanATableHolds) {
    std::string blocks = "00 00 ";
    for (int index = 0; index < 600; ++index) blocks += "15 00 00 00 06 00 ";
    peer_.Answer("49", "01 02 03 04 05 06");
    peer_.Answer("A5 10", blocks);
    Open();
    peer_.requests.clear();
    ChannelTable results{};
    EXPECT_EQ(connection_->ReadHeatingCheck(results), 0U);
    EXPECT_LE(peer_.requests.size(), 70U);
}

}  // namespace
}  // namespace nelto::test
