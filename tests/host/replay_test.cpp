// A session of the program with the simulated analyser, and the same session again from its ZIV log.
#include <random>
#include <sstream>

#include "block_session.h"
#include "core/value_text.h"
#include "instrument/opening.h"
#include "platform/wide_text.h"
#include "replay_session.h"
#include "scenario.h"
#include "support.h"
#include "ziv_log.h"

namespace nelto::test {
namespace {

using simulator::RecordedConnection;
using Lines = std::vector<std::string>;

constexpr std::string_view kCheck = "\ncheck_block 21\ncheck_list\ncheck_entry 0xFF2E unit 255 format 255 values 4.5\n";

void Tell(Lines& shown, const ChannelTable& table) {
    for (const ChannelRecord& record : UsedRecords(table)) {
        std::string line;
        for (const wchar_t letter : std::wstring(platform::TextIn(record.label)) + L"=" + RecordValueText(record, L'.'))
            line += static_cast<char>(letter);
        shown.push_back(line + " " + std::to_string(record.unit));
    }
}

/// What the user sees while the program connects and reads values some times: each label, value and unit, each failure.
Lines Connect(int reads) {
    ProgramState state;
    state.communication = 5;
    Lines shown;
    const auto connection = Nelto780Open(state);
    if (connection == nullptr) return {state.last_error.load()};
    ChannelTable channels{}, heating_check{};
    shown.push_back("configuration " + std::to_string(connection->ReadConfiguration(channels)));
    shown.push_back("heating check " + std::to_string(connection->ReadHeatingCheck(heating_check)));
    Tell(shown, heating_check);
    for (std::uint32_t result = 0; reads > 0 && result == 0; --reads) {
        result = connection->ReadValues(channels);
        shown.push_back("values " + std::to_string(result));
        Tell(shown, channels);
        World().now += 1000;
    }
    connection->Close();
    return shown;
}

RecordedConnection Choose(const std::string& log, std::optional<std::size_t> number = {}, Lines* faults = nullptr) {
    std::istringstream in(log);
    auto chosen = simulator::ChooseConnection(in, number, [faults](const std::string& line) {
        faults != nullptr ? faults->push_back(line) : (ADD_FAILURE() << line, void());
    });
    return chosen.value_or(RecordedConnection{});
}

class ReplayTest : public HostTest {
protected:
    /// Two connections with an analyser that falls silent in the first: what was shown in each; the log.
    void Record(const std::string& scenario_text) {
        std::string error;
        const auto scenario = simulator::ParseScenario(scenario_text, error);
        ASSERT_TRUE(scenario) << error;
        simulator::BlockSession session(
            std::make_shared<simulator::ScriptedAnalyser>(scenario->analyser, scenario->faults), 50,
            [](const std::string&) {});
        SessionPort port(session);
        World().serial_ports[L"COM5"].device     = &port;
        first_                                   = Connect(6);
        World().serial_ports[L"COM5"].open_error = 2;
        Connect(1);
        Connect(1);
        World().serial_ports[L"COM5"].open_error = 0;
        second_                                  = Connect(4);
        log_                                     = World().files[World().temp_directory + L"ZIVNelto780.txt"];
    }

    /// The program once more, a year later, with the log at the other end.
    Lines Replayed(const RecordedConnection& connection, int reads, bool with_times = false) {
        platform::memory::ResetWorld();
        World().calendar = {.year = 2012, .month = 4, .day = 8, .hour = 15, .minute = 6, .second = 10};
        told_.clear();
        simulator::ReplaySession session(connection, with_times,
                                         [&](const std::string& line) { told_.push_back(line); });
        SessionPort port(session);
        World().serial_ports[L"COM5"].device = &port;
        Lines shown                          = Connect(reads);
        session.Reset();
        again_ = Connect(reads);
        return shown;
    }

    Lines first_, second_, again_, told_;
    std::string log_;
};

TEST_F(ReplayTest, ShowsWhatTheRecordedSessionShowed) {
    Record(std::string(simulator::DefaultScenarioText()) + std::string(kCheck) +
           "fault silence command 0x9C request 5\nfault flip_bit 60 command 0x9C request 9 block 1\n");
    ASSERT_GT(first_.size(), 60U);
    EXPECT_EQ(std::ranges::count(first_, "values 0"), 3);  // the first 9C is that of the configuration
    EXPECT_EQ(std::ranges::count(first_, "values 2"), 1);
    EXPECT_EQ(Replayed(Choose(log_, 1), 6), first_);
    EXPECT_EQ(again_, first_);  // a new search plays the connection again
    EXPECT_EQ(Replayed(Choose(log_), 4, true), second_);
    EXPECT_EQ(std::ranges::count(second_, "values 2"), 1);

    // Values that are asked for longer than they were recorded stay as they ended; the rest is not in the log.
    RecordedConnection shorter = Choose(log_, 1);
    shorter.messages.resize(shorter.messages.size() - 4);
    Replayed(shorter, 9);
    EXPECT_EQ(std::ranges::count(again_, "values 0"), 9);
    const auto end_of_values = std::ranges::find(first_, "values 2");
    EXPECT_EQ(Lines(again_.end() - 16, again_.end()), Lines(end_of_values - 16, end_of_values));
    EXPECT_EQ(std::ranges::count_if(told_, [](const auto& line) { return line.starts_with("the log holds no later"); }),
              3);
    std::erase_if(shorter.messages, [](const auto& message) { return message[0].request[6] == 0xA2; });
    EXPECT_EQ(Replayed(shorter, 1)[0], "configuration 2");
    EXPECT_TRUE(
        std::ranges::any_of(told_, [](const auto& line) { return line.starts_with("not in the log, no reply"); }));

    Lines list;
    std::istringstream in(log_);
    simulator::ReadZivLog(in,
                          {[&](const RecordedConnection& connection) { list.push_back(connection.Summary()); },
                           [&](const std::string& line) { list.push_back(line); }, [](const std::string&) { FAIL(); }});
    ASSERT_EQ(list.size(), 3U);
    EXPECT_TRUE(list[0].starts_with("connection 1, lines 2 to ")) << list[0];
    EXPECT_TRUE(
        list[0].ends_with("requests, 1 exchange unanswered, closed, last error: Transceive error 3, number of "
                          "received bytes 0"))
        << list[0];
    EXPECT_EQ(list[1], "2 openings of COM5 failed: Error Number 2, Port open failed");
    EXPECT_NE(list[2].find(": COM5, T780, "), std::string::npos) << list[2];
}

TEST_F(ReplayTest, AnswersClockCommandsWhateverTheTime) {
    Record("ident 710");
    EXPECT_EQ(first_.at(0), "configuration 0");
    EXPECT_EQ(Replayed(Choose(log_), 6), first_);
    EXPECT_TRUE(
        std::ranges::any_of(told_, [](const auto& line) { return line.find("0C 08 04 70") != std::string::npos; }));
}

// Frames of a log: two requests of one block, a reply of one block and one of two.
const std::string kIdent = "SEND: 12 00 00 00 01 01 42 EF D3 \r\n";
const std::string kZero  = "SEND: 12 00 00 00 01 01 AA A9 B8 \r\n";
const std::string kAck   = "SEND: 12 80 0F \r\n";
const std::string kOne   = "RECV: 21 00 00 00 01 04 00 AA 00 00 83 49 \r\nReceive time 40 msec\r\n";
const std::string kFirst = "RECV: 21 00 00 00 02 02 00 42 1B A6 \r\n";
const std::string kLast  = "RECV: 21 00 01 00 02 01 00 FD 28 \r\n";

TEST_F(ReplayTest, AnswersAsLateAsThenOnlyOnWish) {
    const RecordedConnection connection = Choose(kZero + kOne);
    for (const bool with_times : {true, false}) {
        simulator::ReplaySession session(connection, with_times, [](const std::string&) {});
        session.Receive(Hex("12 00 00 00 01 01 AA A9 B8"), 1000);
        EXPECT_EQ(session.TakeOutput(1039).has_value(), !with_times);
        EXPECT_EQ(session.TakeOutput(1040).has_value(), with_times);
    }
}

struct LogCase {
    std::string log;
    Lines faults;
    std::vector<std::size_t> exchanges;  // of each message of the last connection
};

TEST_F(ReplayTest, PassesOverWhatIsCutOrCorrupt) {
    const LogCase cases[] = {
        {"", {}, {}},
        {"RECV: 21 \r\nReceive time 10 msec\r\n", {"line 1: no SEND before it"}, {}},
        {kIdent + kFirst + kAck + kLast + kZero + kOne, {}, {2, 1}},
        {"Port open OK\n" + kIdent + "Bytes written 4\nRECV:\nReceive time 3000 msec\n", {}, {1}},  // line feeds alone
        {kAck + kLast + kZero + kOne, {"line 2: belongs to no request"}, {1}},  // the beginning is cut off
        {kIdent + kZero + kOne, {"line 1: no RECV follows"}, {1}},
        {kIdent + kFirst + kAck + "Serial port closed\r\n", {"line 3: no RECV follows"}, {}},
        {kIdent + kFirst + "SEND: 12 8\r\n" + kLast + kZero + kOne,
         {"line 3: no bytes that a program sends", "line 4: no SEND before it"},
         {1}},
        {kZero + kOne + "SEND: 12 8G 0F \r\n", {"line 4: no bytes that a program sends"}, {1}},  // what is whole stays
        {kIdent + kFirst + "Transceive error 7\r\n" + kZero + kOne, {}, {1, 1}},  // given up, as far as it went
        {kIdent + kFirst + kZero + kOne, {}, {1}},                                // given up without a word
        {kIdent + "RECV: 21 80 0FF \r\n" + kZero + kOne, {"line 2: no bytes that a program received"}, {1}},
        {kZero + kOne + kIdent + "RECV: 21 00 00", {"line 5: cut off or too long", "line 4: no RECV follows"}, {1}},
        {kZero + "RECV: " + std::string(3 * 1024 + 3, ' ') + "\r\n" + kZero + kOne,
         {"line 2: cut off or too long", "line 1: no RECV follows"},
         {1}},
        {kZero + kOne + "Receive time x msec\r\nNelto780Open\r\n", {"line 4: no time", "line 5: not understood"}, {1}},
    };
    for (const LogCase& row : cases) {
        SCOPED_TRACE(row.log);
        Lines faults;
        const RecordedConnection connection = Choose(row.log, {}, &faults);
        EXPECT_EQ(faults, row.faults);
        std::vector<std::size_t> exchanges;
        for (const auto& message : connection.messages) exchanges.push_back(message.size());
        EXPECT_EQ(exchanges, row.exchanges);
    }
}

TEST_F(ReplayTest, SurvivesAnyLog) {
    Record(std::string(simulator::DefaultScenarioText()) + "fault wrong_length 3 every 50\n");
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::string log = log_.substr(random() % log_.size(), random() % log_.size());
        for (int changes = 0; changes < 40 && !log.empty(); ++changes) {
            const std::size_t place = random() % log.size();
            if (changes % 2 == 0) log[place] = static_cast<char>(random());
            if (changes % 2 != 0) log.erase(place, random() % 300);
        }
        Lines faults;
        const RecordedConnection connection = Choose(log, {}, &faults);
        EXPECT_FALSE(connection.Summary().empty());
        simulator::ReplaySession session(connection, true, [](const std::string&) {});
        for (const auto& message : connection.messages) {
            ASSERT_FALSE(message.empty());
            for (const auto& exchange : message) session.Receive(exchange.request, 0);
        }
    }
}

}  // namespace
}  // namespace nelto::test
