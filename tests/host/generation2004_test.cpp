#include <cstring>
#include <set>
#include <sstream>
#include <tuple>

#include "fake_d2xx.h"
#include "instrument/analyser.h"
#include "instrument/opening.h"
#include "platform/wide_text.h"
#include "support.h"

namespace nelto::test {
namespace {

const std::wstring kBaseLogName = L"Nelto780Base.txt";
const std::wstring kZivLogName  = L"ZIVNelto780.txt";
const std::string kZeros        = "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ";

std::wstring Label(const ChannelRecord& record) { return std::wstring(platform::TextIn(record.label)); }

/// The records in use: view ident in hex, unit, resolution, type, value, label and text.
std::vector<std::wstring> Lines(const ChannelTable& channels) {
    std::vector<std::wstring> lines;
    for (const ChannelRecord& record : UsedRecords(channels)) {
        std::wostringstream line;
        line << std::hex << record.view_ident << std::dec << L'|' << record.unit << L'|' << record.resolution << L'|'
             << record.value_type << L'|' << record.value << L'|' << Label(record) << L'|' << record.text.data();
        lines.push_back(line.str());
    }
    return lines;
}

class Generation2004Test : public HostTest {
protected:
    Generation2004Test() {
        state_.communication                 = 5;
        World().serial_ports[L"COM5"].device = &peer_;
        FillSmallAnalyser(peer_);
        peer_.Answer("49", "01 02 03 04 05 06");
    }

    void Open() {
        connection_ = Nelto780Open(state_);
        ASSERT_NE(connection_, nullptr) << state_.last_error;
    }
    /// The kind that is opened, and closed again; 0 for none.
    std::uint32_t KindFound() {
        connection_              = Nelto780Open(state_);
        const std::uint32_t kind = connection_ == nullptr ? 0 : connection_->Kind();
        if (kind != 0) EXPECT_EQ(connection_->Close(), 0U);
        return kind;
    }
    Analyser& Opened() { return static_cast<Analyser&>(*connection_); }
    std::uint32_t Configure() { return connection_->ReadConfiguration(channels_); }
    std::uint32_t ReadValues() { return connection_->ReadValues(channels_); }
    void OpenAndConfigure() {
        ASSERT_NO_FATAL_FAILURE(Open());
        ASSERT_EQ(Configure(), 0U);
    }

    /// Reads the heating check into `results_`.
    std::string HeatingCheck() {
        EXPECT_EQ(connection_->ReadHeatingCheck(results_), 0U);
        return ResultsOf(results_);
    }

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
    ChannelTable channels_{}, results_{};
};

TEST_F(Generation2004Test, IdentifiesTheAnalyserOnTheSerialLink) {
    const std::tuple<const char*, std::uint32_t, const char*> cases[] = {
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
    for (const auto& [answer, kind, line] : cases) {
        SCOPED_TRACE(answer);
        peer_.answers[Hex("42")] = Hex(answer);
        EXPECT_EQ(KindFound(), kind);
        EXPECT_TRUE(LogHas(kBaseLogName, line));
        EXPECT_STREQ(state_.last_error, kind != 0 ? "" : line);
        EXPECT_EQ(World().serial_ports[L"COM5"].open_handles, 0U);
    }
}

TEST_F(Generation2004Test, OpensInItsStepsAndClosesOnce) {
    Open();
    EXPECT_EQ(connection_->SubType(), 2U);
    // World's calendar: 7 March 2011, 14:05:09.
    EXPECT_EQ(LogText(kBaseLogName, "07.03.2011 14:05:09 "),
              "=== Start ===|Nelto780Open|Instrument opened via Bluetooth|GET_IDENT [Bluetooth] OK|"
              "RS232 dwReceived 9 number of Byte|nelto 780 2004 found|synchronize clock|get SubType|"
              "GetSubType2004 (Bluetooth)|Nelto 780 Open OK|");
    EXPECT_EQ(connection_->Close(), 0U);
    EXPECT_EQ(peer_.requests.back(), Hex("90"));
    EXPECT_TRUE(LogHas(kZivLogName, "Serial port closed"));
    const auto lines = LogLines(kBaseLogName);
    EXPECT_EQ(connection_->Close(), 0U);
    EXPECT_EQ(LogLines(kBaseLogName), lines);
}

TEST_F(Generation2004Test, LeavesTheErrorTextOfEachFailedStep) {
    for (const Bytes& answer : {Hex("00 85 00 00"), Bytes()}) {
        peer_.answers[Hex("85")] = answer;
        EXPECT_EQ(Nelto780Open(state_), nullptr);
        EXPECT_STREQ(state_.last_error, "Nelto 780 Open: GetSubType failed");
    }
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

/// The same analyser over USB, once it is attached there.
class UsbOpening : public Generation2004Test {
protected:
    UsbOpening() {
        state_.communication = kUsb;
        peer_.Answer("33", "");
    }

    FakeD2xx library_;
};

TEST_F(UsbOpening, AnAnalyserIsIdentifiedSetUpAndClosed) {
    library_.Attach(2, "1", &peer_);
    EXPECT_EQ(KindFound(), kKind780);
    EXPECT_EQ(connection_->SubType(), 2u);
    EXPECT_STREQ(state_.last_error, "");
    EXPECT_EQ(library_.Held(), 0U);

    EXPECT_EQ(peer_.requests, (std::vector<Bytes>{Hex("42"), Hex("33 0E 05 09 00 DB 07 03 07"), Hex("85"), Hex("90")}));
    EXPECT_EQ(LogText(kBaseLogName, "07.03.2011 14:05:09 "),  // World's calendar
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
    library_.Attach(2, "1", &peer_);
    for (const auto& [answer, last_error] : kRows) {
        peer_.answers.erase(Hex("42"));
        if (answer != nullptr) peer_.answers[Hex("42")] = Hex(answer);
        EXPECT_EQ(KindFound(), *last_error == '\0' ? kKind780 : 0U) << answer;
        EXPECT_STREQ(state_.last_error, last_error);
        if (*last_error != '\0') EXPECT_TRUE(LogHas(kBaseLogName, last_error));
        EXPECT_TRUE(LogHas(kBaseLogName, "Connection closed (USB to nelto 780 2004)"));
        EXPECT_EQ(library_.Held(), 0U);
    }
}

TEST_F(UsbOpening, ClockAndSubTypeAreNeeded) {
    library_.Attach(2, "1", &peer_);
    peer_.answers.erase(Hex("85"));
    EXPECT_EQ(KindFound(), 0U);
    EXPECT_STREQ(state_.last_error, "Nelto 780 Open: GetSubType failed");
    EXPECT_TRUE(LogHas(kBaseLogName, "GetSubType2004 error"));
    peer_.answers.erase(Hex("33"));
    EXPECT_EQ(KindFound(), 0U);
    EXPECT_STREQ(state_.last_error, "Nelto 780 Open: Error synchronizing clock");
    EXPECT_EQ(library_.Held(), 0U);
}

TEST_F(UsbOpening, DeviceType2IsTriedBefore16AndNoOther) {
    library_.Attach(9, "1", &peer_);
    EXPECT_EQ(KindFound(), 0U);
    EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
    EXPECT_TRUE(LogHas(kBaseLogName, "no nelto fluegas instrument (nelto 745/780) found at USB"));
    library_.Attach(16, "2", &peer_);
    EXPECT_EQ(KindFound(), kKind780);
    MessagePeer preferred;
    preferred.answers = peer_.answers;
    library_.Attach(2, "3", &preferred);
    EXPECT_EQ(KindFound(), kKind780);
    EXPECT_FALSE(preferred.requests.empty());
    EXPECT_EQ(library_.Held(), 0U);
}

TEST_F(Generation2004Test, AStopEndsTheOpeningBeforeTheNextRequest) {
    // The last request and the one that does not come any more; 0 none.
    for (const auto& [last, next] : {std::pair<std::uint8_t, std::uint8_t>{0, 0x42}, {0x0C, 0x0D}}) {
        peer_.requests.clear();
        peer_.answers       = {{Hex("42"), Hex("00 42 00 00 54 37 31 30 01 00")}, {Hex("0C"), Hex("00 0C 00 00")}};
        state_.stop_request = 0;
        // In the wait before the first request, or between date and time of a 710.
        World().on_wait = [&, last = last, start = World().now] {
            if (last == 0 ? World().now - start >= 1000 : peer_.RequestsOf(last) != 0) state_.stop_request = 1;
        };
        EXPECT_EQ(Nelto780Open(state_), nullptr);
        EXPECT_EQ(peer_.RequestsOf(last), last == 0 ? 0U : 1U);
        EXPECT_EQ(peer_.RequestsOf(next), 0U);
    }
    World().on_wait = nullptr;
}

TEST_F(Generation2004Test, BuildsTheWholeTable) {
    OpenAndConfigure();
    EXPECT_EQ(Lines(channels_),
              std::vector<std::wstring>({L"901|130|0|0|0|lambdaO2|", L"902|131|0|0|0|CO|", L"ff01|1|0|1|60|?|",
                                         L"ff06|0|0|1|1|?|", L"fff0|255|0|2|1|Fuel type|Oil",
                                         L"910|130|255|1|15.4|CO2max|", L"90f|130|255|1|3|O2Ref|",
                                         L"fff1|255|0|2|0|Device|nelto 780-2", L"fff2|255|0|2|0|Version|2.15",
                                         L"fff3|255|0|2|0|SerNo|00012345", L"fff4|255|0|2|0|SmokeP|SP1"}));
    EXPECT_EQ(peer_.requests.back(), Hex("B7"));
    EXPECT_TRUE(LogHas(kBaseLogName, "Number of channels: 2"));
    EXPECT_TRUE(LogHas(kBaseLogName, "Nelto780GetOnlineConfiguration2004 finished"));
}

TEST_F(Generation2004Test, FillsTheTableOnlyWhileThereIsRoom) {
    // Measured channels, all records, and what is asked: additional channels, fuel, device.
    const std::tuple<std::size_t, std::size_t, std::size_t, std::size_t, std::size_t> cases[] = {
        {57, 63, 1, 1, 1}, {58, 63, 1, 1, 1}, {60, 63, 1, 1, 0},
        {61, 63, 1, 0, 1}, {63, 63, 1, 0, 0}, {70, 64, 1, 0, 0},
    };
    Open();
    for (const auto& [measured, records, additional, fuel, device] : cases) {
        peer_.Answer("C2", ValueRecords(measured, 0x2000));
        peer_.requests.clear();
        ASSERT_EQ(Configure(), 0U);
        EXPECT_EQ(std::tuple(measured, UsedRecords(channels_).size(), peer_.RequestsOf(0xA2), peer_.RequestsOf(0xB8),
                             peer_.RequestsOf(0x85)),
                  std::tuple(measured, records, additional, fuel, device));
        EXPECT_EQ(Label(channels_[0]), L"?");
    }
}

TEST_F(Generation2004Test, TreatsEveryShortAnswerAsABadOne) {
    Open();
    const std::set<std::string> may_be_empty = {"A7", "C2", "A2", "B7"};
    for (const char* command : {"A7", "53", "C2", "A2", "B8", "B0 00", "B9 00", "85", "40", "7F", "B7", "AA"}) {
        SCOPED_TRACE(command);
        const auto ask  = [&] { return std::strcmp(command, "AA") != 0 ? Configure() : ReadValues(); };
        const auto keep = peer_.answers;
        Bytes& answer   = peer_.answers.at(Hex(command));
        // Lists may be empty, and end anywhere.
        const std::size_t least = may_be_empty.contains(command) ? 4 : answer.size();
        for (std::size_t size = answer.size(); size-- > 0;) {
            answer.resize(size);
            EXPECT_EQ(ask(), size >= least ? 0U : 2U) << size;
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
    const std::tuple<const char*, int, int> cases[] = {
        {"00", 1, 2},  {"02", 2, 2},  {"05", 9, 2}, {"06", 8, 2}, {"07", 4, 2}, {"08", 3, 2}, {"0C", 5, 2},
        {"0D", 11, 2}, {"0E", 11, 2}, {"11", 8, 2}, {"01", 0, 0}, {"12", 0, 0}, {"FF", 0, 0}};
    Open();
    for (const auto& [number, fuel_class, type] : cases) {
        peer_.Answer("B8", number);
        peer_.Answer(std::string("B0 ") + number, "40 00");
        peer_.Answer(std::string("B9 ") + number, "66 66 76 41 00 00 40 40");
        ASSERT_EQ(Configure(), 0U);
        EXPECT_EQ(Lines(channels_)[4],
                  L"fff0|255|0|" + std::to_wstring(type) + L"|" + std::to_wstring(fuel_class) + L"|Fuel type|Oil")
            << number;
    }
}

TEST_F(Generation2004Test, AddsTheAdditionalChannelsInOrderOfTheirIdents) {
    peer_.Answer("A2",
                 "06 FF 00 00 00 00 00 40 00 00 00 00 00 00 00  02 FF 00 00 00 00 80 4F 00 00 00 00 00 00 00 "
                 "02 FF 00 00 FF FF FF FF 00 00 00 00 00 00 00  01 FF 00 00 00 00 70 42 01 00 FF 00 00 00 00");
    OpenAndConfigure();
    const auto lines = Lines(channels_);
    EXPECT_EQ(
        std::vector(lines.begin() + 2, lines.begin() + 6),
        std::vector<std::wstring>({L"ff01|1|0|1|60|?|", L"ff02|0|0|0|-1|?|", L"ff02|0|0|0|-1|?|", L"ff06|0|0|0|2|?|"}));
}

TEST_F(Generation2004Test, CutsALongLabelInsideItsField) {
    std::string text;
    for (int index = 0; index < 40; ++index) text += "BB 03 ";
    peer_.Answer("B1 05", text);
    OpenAndConfigure();
    EXPECT_EQ(Label(channels_[0]), std::wstring(L"lambdalambdalambdalambdalambdalambda").substr(0, 31));
    peer_.Answer("B1 05", "4F 00 32");
    ASSERT_EQ(Configure(), 0U);
    EXPECT_EQ(Label(channels_[0]), L"O2");
}

TEST_F(Generation2004Test, ReadsValuesIntoTheirChannels) {
    OpenAndConfigure();
    channels_[1].value      = 17.0F;
    channels_[1].resolution = 254;
    channels_[1].value_type = kNumber;
    ASSERT_EQ(ReadValues(), 0U);
    EXPECT_EQ(Lines(channels_)[0], L"901|130|255|1|20.8|lambdaO2|");
    EXPECT_EQ(Lines(channels_)[1], L"902|131|254|0|17|CO|");

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
    // Answer of the mode, the mode wanted, result, last request.
    const std::tuple<const char*, bool, std::uint32_t, const char*> cases[] = {
        {"05 00 00 00 00 00 00 00", true, 0, "90"},     {"00 00 00 00 00 00 00 00", false, 0, "90"},
        {"01 00 00 00 00 00 00 00", false, 0, "20 00"}, {"00 00 00 00 00 00 00 00", true, 0, "20 01"},
        {"00 00 00 00 00 00 00", false, 2, "90"},
    };
    Open();
    peer_.Answer("20", "");
    for (const auto& [answer, on, result, last_request] : cases) {
        peer_.Answer("90", answer);
        EXPECT_EQ(Opened().SetSlaveMode(on), result) << answer;
        EXPECT_EQ(peer_.requests.back(), Hex(last_request));
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
    peer_.Answer("A5 10",
                 "00 00 "
                 "15 00 00 00 1A 00 00 00 0A 0B 0C 0D 0E 0F FF FF 00 00 00 00 FF FF 00 00 00 00 "
                 "15 00 00 00 00 00 00 00 0A 0B 0C 0D 0E 0F FF FF 00 00 00 00 FF FF 00 00 00 00");
    peer_.Answer("A5 08 00 0A 0B 0C 0D 0E 0F", kZeros + "02 00 00 00 " + kZeros);
    peer_.Answer("A5 0A 00 0A 0B 0C 0D 0E 0F",
                 "2E FF 00 00 FF 00 FF 00 00 00 00 00  01 01 00 00 01 00 00 00 00 00 00 00");
    peer_.Answer("A5 09 00 0A 0B 0C 0D 0E 0F 00 00 02 00", "00 00 A0 40 FF FF FF FF 00 00 C0 40 00 00 E0 40");
    Open();
    EXPECT_EQ(HeatingCheck(), "2E:5 2E:6 01:7 2E:5 2E:6 01:7");
    // The second block of length 0 is read once and ends the walk; for empty references nothing is asked.
    EXPECT_EQ(peer_.RequestsOf(0xA5), 7U);
    EXPECT_EQ(Lines(results_)[0], L"ff2e|255|255|1|5|ID_FF2E|");
    EXPECT_EQ(Lines(results_)[2], L"101|1|0|1|7|ID_0101|");

    peer_.Answer("49", "01 02 03 04 05 06 07");
    EXPECT_EQ(connection_->ReadHeatingCheck(results_), 2U);
    peer_.answers.erase(Hex("49"));
    EXPECT_EQ(connection_->ReadHeatingCheck(results_), 1U);
    EXPECT_EQ(UsedRecords(results_).size(), 6U);  // as they were
}

/// Two lists, of reference 1 and 2, that hold the same quantity and one of their own each.
TEST_F(Generation2004Test, KeepsOfTheHeatingCheckTheListsThatCannotBeReadAndNoOthers) {
    const auto list = [&](const std::string& reference, const std::string& entry, const std::string& values) {
        peer_.Answer("A5 08 00 " + reference, kZeros + "01 00 00 00 " + kZeros);
        peer_.Answer("A5 0A 00 " + reference, "01 01 00 00 01 00 FF 00 00 00 00 00 " + entry);
        peer_.Answer("A5 09 00 " + reference + " 00 00 01 00", values);
    };
    const std::string first = "01 01 01 01 01 01", second = "02 02 02 02 02 02";
    peer_.Answer("A5 10", "00 00 15 00 00 00 1A 00 00 00 " + first + " " + second + " FF FF 00 00 00 00");
    list(first, "2E FF 00 00 FF 00 FF 00 00 00 00 00", "00 00 80 3F 00 00 80 3F");
    list(second, "02 01 00 00 FF 00 FF 00 00 00 00 00", "00 00 00 40 00 00 00 40");
    Open();
    EXPECT_EQ(HeatingCheck(), "01:1 2E:1 01:2 02:2");
    peer_.answers.erase(Hex("A5 0A 00 " + first));
    list(second, "02 01 00 00 FF 00 FF 00 00 00 00 00", "00 00 40 40 FF FF FF FF");  // and one value less
    EXPECT_EQ(HeatingCheck(), "01:1 2E:1 01:3");
    peer_.answers.erase(Hex("A5 08 00 " + second));
    EXPECT_EQ(HeatingCheck(), "01:1 2E:1 01:3");
    peer_.Answer("A5 10", "00 00 15 00 00 00 1A 00 00 00 " + second + " FF FF 00 00 00 00 FF FF 00 00 00 00");
    EXPECT_EQ(HeatingCheck(), "01:3");
}

TEST_F(Generation2004Test, AsksForNoMoreHeatingCheckListsThanATableHolds) {
    std::string blocks = "00 00 ";
    for (int index = 0; index < 600; ++index) blocks += "15 00 00 00 06 00 ";
    peer_.Answer("A5 10", blocks);
    Open();
    peer_.requests.clear();
    EXPECT_EQ(HeatingCheck(), "");
    EXPECT_LE(peer_.requests.size(), 70U);
}

}  // namespace
}  // namespace nelto::test
