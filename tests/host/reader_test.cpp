// nelto-read: its options, what it prints, and when it ends.
#include <limits>

#include "diag/trace_log.h"
#include "platform/byte_text.h"
#include "reader/reading.h"
#include "support.h"

namespace nelto::reader {
namespace {

using ReaderTest = test::HostTest;
using doubles::World;

constexpr Moment kNow       = {{2011, 3, 7, 14, 5, 9}, -90};
const std::string kTime     = "2011-03-07T14:05:09-01:30";
constexpr wchar_t kHalves[] = {0xD83D, 0xDE00, L'x', 0xDC00, 0xD800, 0};

ChannelRecord Record(std::uint32_t ident, std::uint32_t type, float value, std::wstring_view text = L"",
                     std::wstring_view label = L"", std::uint32_t unit = kPercent) {
    ChannelRecord record{ident, unit, kOneDecimal, type, value};
    platform::CopyText(record.text, text);
    platform::CopyText(record.label, label);
    return record;
}

Measurement Sample() {
    Measurement sample{.kind = kKind780};
    AppendRecord(sample.channels, Record(0x0901, kNumber, 4.3125F, L"", L"O2"));
    AppendRecord(sample.channels, Record(0x0902, kNoValue, 7.0F, L"", L"CO, \"dry\"", 131));
    AppendRecord(sample.channels, Record(0x0401, kNumber, std::numeric_limits<float>::infinity(), L"", L"v", 5));
    AppendRecord(sample.channels, Record(kSmokeNumber1, kNumber, 1.0F, L"", L"Smoke1", kNoUnit));
    AppendRecord(sample.channels, Record(kHeatCarrierTemperature, kNumber, 62.0F, L"", L"HCT", kCelsius));
    AppendRecord(sample.channels, Record(kFuel, kText, 3.0F, L"Gas\x1f\\", L"Fuel", kNoUnit));
    AppendRecord(sample.channels, Record(kDevice, kText, 0.0F, L"a,b", L"", kNoUnit));
    AppendRecord(sample.channels, Record(kSerialNumber, kText, 0.0F, L"007", L"SerNo", kNoUnit));
    sample.channels[5].resolution = kWholeNumber;
    AppendRecord(sample.heating_check, Record(0xFF47, kNumber, 21.0F, L"", L"Power", 117));
    platform::CopyText(sample.device_name, L"a,b");
    return sample;
}

TEST_F(ReaderTest, TakesTheOptionsThatMakeSenseAndSaysWhichDoNot) {
    struct Row {
        std::vector<const wchar_t*> words;
        const wchar_t* fault;  // empty for none
        Options wanted = {};
    };
    const Row rows[] = {
        {{}, L""},
        {{L"--link", L"USB"}, L"", {.communication = kUsb}},
        {{L"--link", L"irda"}, L"", {.communication = kIrda}},
        {{L"--link=com5"}, L"", {.communication = 5}},
        {{L"--link", L"COM255"}, L"", {.communication = 255}},
        {{L"--link", L"COM0"}, L"--link wants usb, irda or a port from COM1 to COM255, not 'COM0'"},
        {{L"--link", L"COM300"}, L"--link wants usb, irda or a port from COM1 to COM255, not 'COM300'"},
        {{L"--link", L"COM"}, L"--link wants usb, irda or a port from COM1 to COM255, not 'COM'"},
        {{L"--link", L"COM5x"}, L"--link wants usb, irda or a port from COM1 to COM255, not 'COM5x'"},
        {{L"--link"}, L"--link wants usb, irda or a port from COM1 to COM255"},
        {{L"--watch", L"--format", L"JSON"}, L"", {.watch = true, .format = Format::kJson}},
        {{L"--watch=1"}, L"--watch takes no value"},
        {{L"--count", L"3", L"--fuel", L"11"}, L"", {.count = 3, .fuel = 11}},
        {{L"--count", L"0"}, L"--count wants a number from 1 to 1000000, not '0'"},
        {{L"--count=99999999999999999999"}, L"--count wants a number from 1 to 1000000, not '99999999999999999999'"},
        {{L"--count", L"-1"}, L"--count wants a number from 1 to 1000000, not '-1'"},
        {{L"--count", L"2", L"--watch"}, L"--watch and --count do not go together"},
        {{L"--watch", L"--watch"}, L"--watch stands twice"},
        {{L"--format", L"xml"}, L"--format wants table, csv, json or exchange, not 'xml'"},
        {{L"--fuel", L"10"}, L"--fuel wants a fuel number, 1 to 9 or 11, not '10'"},
        {{L"--timeout", L"0", L"--heating-check"}, L"", {.heating_check = true, .timeout_s = 0}},
        {{L"--timeout", L"86401"}, L"--timeout wants a number of seconds from 0 to 86400, not '86401'"},
        {{L"--logs", L"D:\\a=b"}, L"", {.logs = L"D:\\a=b"}},
        {{L"--logs="}, L"--logs wants a folder, not ''"},
        {{L"--Watch"}, L"unknown option '--Watch'; --help shows all"},
        {{L"5"}, L"unknown option '5'; --help shows all"},
        {{L"--count", L"2", L"/?", L"nonsense"}, L"", {.task = Task::kShowHelp, .count = 2}},
        {{L"--version"}, L"", {.task = Task::kShowVersion}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words.empty() ? "" : platform::ToUtf8(row.words.back()));
        Options options;
        std::wstring fault;
        EXPECT_EQ(ReadOptions(row.words, options, fault), *row.fault == L'\0');
        EXPECT_EQ(fault, row.fault);
        if (fault.empty()) EXPECT_EQ(options, row.wanted);
    }
}

TEST_F(ReaderTest, PrintsAMeasurementInEachFormat) {
    World().decimal_separator = L',';
    Measurement sample        = Sample();
    EXPECT_EQ(TableText(sample, L','),
              "O2           4,3  %\n"
              "CO, \"dry\"      -  ppm\n"
              "v              -  m/sec\n"
              "HCT         62,0  °C\n"
              "Fuel       Gas \\\n"
              "             a,b\n"
              "SerNo        007\n"
              "Power       21,0  kW\n");
    EXPECT_EQ(CsvHeader(sample), "time,O2 [%],\"CO, \"\"dry\"\" [ppm]\",v [m/sec],HCT [°C],Fuel,,SerNo,Power [kW]\n");
    EXPECT_EQ(CsvRow(kNow, sample), kTime + ",4.3,,,62.0,Gas \\,\"a,b\",007,21.0\n");
    EXPECT_EQ(ExchangeLines(sample, L','), "2003=4,3\n2204=-\n1401=62,0\n6420=3\n9000=a,b\n9200=007\n8340=21,0\n");

    sample.oil_fuel = true;  // now with the smoke number, and the answer that nobody has given
    EXPECT_NE(ExchangeLines(sample, L',').find("6020=1,0\n"), std::string::npos);
    EXPECT_NE(ExchangeLines(sample, L',').find("6320=0\n"), std::string::npos);
}

TEST_F(ReaderTest, JsonHoldsNumbersAsNumbersAndNullWhereThereIsNone) {
    const std::string object = JsonLine(kNow, kValuesAvailable, Sample());
    for (
        const char* part :
        {R"({"time":"2011-03-07T14:05:09-01:30","status":"values","device":{"name":"a,b","version":null,"serial_number":"007"},"values":[{)",
         R"([{"ident":2305,"key":2003,"name":"O2","value":4.3125,"text":"4.3","unit":"%","unit_code":130},{)",
         R"({"ident":2306,"key":2204,"name":"CO, \"dry\"","value":null,"text":null,"unit":"ppm","unit_code":131})",
         R"({"ident":1025,"key":null,"name":"v","value":null,"text":null,"unit":"m/sec","unit_code":5})",
         R"({"ident":65520,"key":6420,"name":"Fuel","value":3,"text":"Gas \\","unit":null,"unit_code":255})",
         R"("name":null,"value":null,"text":"a,b")", R"("key":8340,"name":"Power","value":21,)"}) {
        EXPECT_NE(object.find(part), std::string::npos) << part << "\n" << object;
    }
    EXPECT_EQ(object.find("Smoke1"), std::string::npos);
    EXPECT_EQ(
        JsonLine({kNow.time, 60}, kNoValidValues, {}),
        R"({"time":"2011-03-07T14:05:09+01:00","status":"no_values","device":{"name":null,"version":null,"serial_number":null},"values":[]})"
        "\n");
    EXPECT_EQ(platform::ToUtf8(kHalves), "\xF0\x9F\x98\x80x\xEF\xBF\xBD\xEF\xBF\xBD");
    Measurement halves = Sample();
    platform::CopyText(halves.device_name, L"\x1F\xFC\x20AC");
    EXPECT_NE(JsonLine(kNow, kBroken, halves).find(R"("name":"\u001fü€")"), std::string::npos);
}

class ReadingTest : public test::HostTest {
protected:
    /// One look after the worker has changed the state; gives what was printed, then what was told.
    std::string Look(Reading& reading, std::uint32_t status, bool measures = false, std::uint32_t wait_ms = 1000) {
        platform::SleepMilliseconds(wait_ms);
        if (measures) state_.measurement.Publish(sample_);
        state_.status   = status;
        const News news = reading.Look(kNow);
        EXPECT_TRUE(news.progress.empty() || news.progress.starts_with("nelto-read: "));
        return news.output + news.progress;
    }

    ProgramState state_;
    Measurement sample_;
};

TEST_F(ReadingTest, EndsWithTheLastMeasurementThatWasAskedFor) {
    Options options{.count = 2, .format = Format::kExchange};
    AppendRecord(sample_.channels, Record(0x0901, kNumber, 4.0F));
    state_.communication = 7;
    Reading reading(options, state_);
    EXPECT_EQ(Look(reading, kSearching), "nelto-read: searching for an analyser on COM7\n");
    EXPECT_EQ(Look(reading, kReading, true),
              "2003=4.0\nnelto-read: an analyser answers, its channels are being read\n");
    EXPECT_EQ(Look(reading, kValuesAvailable), "nelto-read: values are there\n");
    EXPECT_FALSE(reading.IsOver());
    EXPECT_EQ(Look(reading, kValuesAvailable, true), "\n2003=4.0\n");
    EXPECT_TRUE(reading.IsOver());
    EXPECT_EQ(reading.Result(), kPrinted);
    EXPECT_EQ(Look(reading, kValuesAvailable, true), "");
}

TEST_F(ReadingTest, TellsAnAnalyserThatIsMissingFromOneThatIsLost) {
    constexpr std::tuple<std::uint32_t, std::uint32_t, Obstacle, ExitCode, const char*> kRows[] = {
        {0, kSearching, Obstacle::kInUse, kNothingPrinted,
         "no analyser on USB within 30 s: the analyser on USB is in use by another program\n"},
        {0, kSearching, Obstacle::kNone, kNothingPrinted, "no analyser on USB within 30 s\n"},
        {0, kBroken, Obstacle::kNone, kNothingPrinted, "no values on USB within 30 s\n"},
        {0, kNoValidValues, Obstacle::kNone, kNothingPrinted, "no values on USB within 30 s\n"},
        {1, kNoValidValues, Obstacle::kNone, kLostEarly, "lost after 1 of 3 measurements\n"},
        {2, kBroken, Obstacle::kNone, kLostEarly, "lost after 2 of 3 measurements\n"},
    };
    for (const auto& [printed, status, obstacle, result, told] : kRows) {
        SCOPED_TRACE(told);
        const Options options{.count = 3};
        Reading reading(options, state_);
        for (std::uint32_t number = 0; number < printed; ++number) Look(reading, kValuesAvailable, true);
        state_.obstacle = obstacle;
        if (result == kNothingPrinted || status != kBroken) {
            Look(reading, status, false, 29'999);
            EXPECT_FALSE(reading.IsOver());
        }
        EXPECT_TRUE(Look(reading, status, false, 1).ends_with(std::string("nelto-read: ") + told));
        EXPECT_TRUE(reading.IsOver());
        EXPECT_EQ(reading.Result(), result);
    }
    const Options options{.count = 2};
    Reading reading(options, state_);
    for (const ExitCode unwritten : {kNothingPrinted, kLostEarly}) {
        Look(reading, kValuesAvailable, true);
        reading.EndUnwritten();
        EXPECT_EQ(reading.Result(), unwritten);
    }
}

TEST_F(ReadingTest, WatchesThroughABreakAndTellsEachStatusInJson) {
    const Options options{.watch = true, .format = Format::kJson};
    Reading reading(options, state_);
    std::string output;
    for (const std::uint32_t status : {kSearching, kReading}) output += Look(reading, status);
    // At last a slow reader: both in one look.
    for (const std::uint32_t status : {kValuesAvailable, kValuesAvailable, kBroken})
        output += Look(reading, status, true);
    state_.obstacle = Obstacle::kNoPort;
    EXPECT_EQ(Look(reading, kBroken, false, 600'000), "nelto-read: there is no USB\n");
    output += Look(reading, kNoValidValues);
    output += Look(reading, kReading, true);
    std::string told;
    for (std::size_t at = 0; (at = output.find("\"status\":\"", at)) != std::string::npos;) {
        told += output.substr(at += 10, 3) + " ";
    }
    EXPECT_EQ(told, "sea rea val val val bro no_ rea val ");
    EXPECT_FALSE(reading.IsOver());
    reading.End();
    EXPECT_EQ(reading.Result(), kPrinted);
    EXPECT_EQ(Reading(options, state_).Result(), kNothingPrinted);
}

TEST_F(ReadingTest, CsvHasAHeaderForEachSetOfColumns) {
    const Options options{.watch = true, .format = Format::kCsv, .timeout_s = 0};
    Reading reading(options, state_);
    Look(reading, kValuesAvailable, false, 90'000'000);  // no time limit
    AppendRecord(sample_.channels, Record(0x0901, kNumber, 4.0F, L"", L"O2"));
    EXPECT_EQ(Look(reading, kValuesAvailable, true), "time,O2 [%]\n" + kTime + ",4.0\n");
    EXPECT_EQ(Look(reading, kValuesAvailable, true), kTime + ",4.0\n");
    AppendRecord(sample_.channels, Record(0x0902, kNumber, 5.0F, L"", L"CO"));
    EXPECT_EQ(Look(reading, kValuesAvailable, true), "time,O2 [%],CO [%]\n" + kTime + ",4.0,5.0\n");
}

TEST_F(ReaderTest, APortThatIsMissingOrInUseIsToldFromOtherFailures) {
    using enum Obstacle;
    constexpr std::pair<std::uint32_t, Obstacle> kRows[] = {{2, kNoPort}, {5, kInUse}, {32, kInUse}, {31, kNone}};
    ProgramState state;
    state.communication = 5;
    for (const auto& [error, obstacle] : kRows) {
        World().serial_ports[L"COM5"].open_error = error;
        EXPECT_EQ(test::Nelto780Open(state), nullptr);
        EXPECT_EQ(state.obstacle, obstacle) << error;
    }
}

TEST_F(ReaderTest, LogsGoToTheChosenFolderOrNowhere) {
    const auto write_all = [] {
        const bool is_kept = StartProtocolFile();
        ZivLog(L"x");
        BaseLog base;
        base.Start();
        EXPECT_TRUE(!LogPathOf(L"C:\\IRDALOG.TXT", L"IRDALOG.TXT").empty() || !AreLogsKept());
        return is_kept;
    };
    KeepNoLogs();
    EXPECT_TRUE(write_all());
    EXPECT_TRUE(World().files.empty());
    KeepLogsIn(L"D:\\logs");
    EXPECT_TRUE(write_all());
    ASSERT_EQ(World().files.size(), 3U);
    for (const auto& [path, content] : World().files) EXPECT_EQ(path.find(L"D:\\logs\\"), 0U);
    EXPECT_EQ(LogPathOf(L"C:\\IRDALOG.TXT", L"IRDALOG.TXT"), L"D:\\logs\\IRDALOG.TXT");
    World().unwritable_files.insert(L"D:\\logs\\NeltoStackWatcherProtocol.txt");
    EXPECT_FALSE(StartProtocolFile());
    KeepLogsIn(L"");
}

}  // namespace
}  // namespace nelto::reader
