// Labels, value text, exchange file, serial output, settings, command line and trace logs.
#include <cmath>
#include <limits>
#include <tuple>

#include "core/exchange_file.h"
#include "core/labels.h"
#include "core/serial_output.h"
#include "core/settings.h"
#include "core/value_text.h"
#include "diag/trace_log.h"
#include "platform/wide_text.h"
#include "support.h"

namespace nelto::test {
namespace {

using CoreTest = HostTest;

ChannelRecord Number(std::uint32_t ident, std::uint32_t unit, float value, std::uint32_t resolution) {
    return {.view_ident = ident, .unit = unit, .resolution = resolution, .value_type = kNumber, .value = value};
}

ChannelRecord WithText(std::uint32_t ident, const wchar_t* text) {
    ChannelRecord record{.view_ident = ident, .unit = kNoUnit, .value_type = kText};
    platform::CopyText(record.text, text);
    return record;
}

TEST_F(CoreTest, FormatsAValueByItsResolution) {
    constexpr float kInfinity                                    = std::numeric_limits<float>::infinity();
    const std::tuple<float, std::uint32_t, std::wstring> cases[] = {
        {2.5F, 0, L"3"},           {-2.5F, 0, L"-3"},           {0.49999997F, 0, L"0"},     {-0.4F, 0, L"0"},
        {1e30F, 0, L"2147483647"}, {-1e30F, 0, L"-2147483648"}, {kInfinity, 0, L"-"},       {-kInfinity, 0, L"-"},
        {kInfinity, 255, L"-"},    {-kInfinity, 252, L"-"},     {1.5F, 252, L"1.5000"},     {1.5F, 253, L"1.500"},
        {1.5F, 254, L"1.50"},      {20.86F, 255, L"20.9"},      {-0.12F, 253, L"-0.120"},   {1.5F, 251, L"-"},
        {1.5F, 256, L"-"},         {std::nanf(""), 0, L"-"},    {std::nanf(""), 255, L"-"},
    };
    for (const auto& [value, resolution, expected] : cases) {
        EXPECT_EQ(NumberText(value, resolution, L'.'), expected) << value;
    }
}

TEST_F(CoreTest, NamesEveryUnitAndNumbersTheOthers) {
    const std::pair<std::uint32_t, const wchar_t*> cases[] = {
        {1, L"\u00B0C"}, {10, L"cm\u00B2"}, {33, L"m\u00B3/h"}, {139, L"mg/m\u00B3"}, {0, L""},
        {255, L""},      {3, L"Unit 3"},    {256, L"Unit 256"}, {209, L"Unit 209"},
    };
    for (const auto& [unit, expected] : cases) {
        EXPECT_EQ(UnitText(unit), expected);
    }
}

TEST_F(CoreTest, ParsesTypedNumbersWithTheUsersSeparator) {
    World().decimal_separator = L',';
    // clang-format off
    const std::pair<const wchar_t*, float> cases[] = {
        {L"1,5", 1.5F}, {L"60", 60.0F}, {L",", 0.0F}, {L",25", 0.25F}, {L"7,", 7.0F}, {L"999,9", 999.9F},
        {L"", kInvalidNumber}, {L"1.5", kInvalidNumber}, {L"1,2,3", kInvalidNumber}, {L"-1", kInvalidNumber},
        {L" 1", kInvalidNumber}};
    // clang-format on
    for (const auto& [text, expected] : cases) EXPECT_FLOAT_EQ(ParseNumber(text), expected);
}

TEST_F(CoreTest, TakesCallerWordAndFuelFromTheCommandLine) {
    // clang-format off
    const std::tuple<const wchar_t*, const wchar_t*, int> cases[] = {
        {L"", L"", -1},              {L"JOB17 6420=3", L"JOB17", 3},  {L"6420=", L"6420=", -1},
        {L"6420=7", L"6420=7", 7},   {L"A 6420=", L"A", -1},          {L"A 6420= 5", L"A", 0},
        {L"A 6420=12x", L"A", 12},   {L"A 6420=x 6420=4", L"A", 0},   {L" B", L"", -1},
        {L"A x6420=2y", L"A", 2},    {L"A 6420=99999999999", L"A", 2147483647}};
    // clang-format on
    for (const auto& [line, word, fuel] : cases) {
        EXPECT_EQ(CallerWord(line), word);
        EXPECT_EQ(FuelChoice(line), fuel) << testing::PrintToString(std::wstring(line));
    }
}

TEST_F(CoreTest, StartsFromTheStoreAndRemovesAStaleExchangeFile) {
    ProgramState state;
    const auto settings = [&] {
        return std::vector<std::uint32_t>{state.communication, state.heating_check, state.serial_output,
                                          state.serial_output_port};
    };
    StartProgram(state, L"");
    EXPECT_EQ(settings(), (std::vector<std::uint32_t>{0, 0, 0, 1}));
    World().registry          = {{L"Communication", 7}, {L"HeatingCheck", 2}, {L"EnableRS232", 3}, {L"RS232Port", 4}};
    World().decimal_separator = L',';
    const std::wstring path   = L"C:\\Temp\\\\NeltoStackWatcher.txt";
    World().files[path]       = "old";
    StartProgram(state, L"JOB 6420=2");
    EXPECT_EQ(settings(), (std::vector<std::uint32_t>{7, 2, 3, 4}));
    EXPECT_EQ(state.decimal_separator, L',');
    EXPECT_EQ(std::wstring(state.exchange_file.data()), path);
    EXPECT_FALSE(World().files.contains(path));

    World().temp_directory = L"C:\\" + std::wstring(120, L'd') + L"\\";
    StartProgram(state, L"");
    EXPECT_EQ(std::wstring(state.exchange_file.data()).size(), 127U);
    AlwaysFail(platform::memory::Call::kWriteRegistry);
    ChangeSetting(state.communication, kCommunicationSetting, 12);
    EXPECT_EQ(state.communication, 12U);
}

TEST_F(CoreTest, LabelsTheSpecialChannels) {
    World().texts = {{676, L"Brennstoff"}, {679, L"Ger\u00E4t"}, {700, L"PointsFluegasLoss"}, {736, L"TempRearUpper"}};
    Measurement measurement;
    ChannelTable& channels = measurement.channels;
    channels[2]            = Number(kFuel, 0, 1, 0);
    channels[63]           = WithText(kDevice, L"nelto 780-2");  // behind free records
    LabelChannelTable(channels);
    TakeSpecialChannels(measurement);
    EXPECT_TRUE(measurement.oil_fuel);
    EXPECT_EQ(platform::TextIn(measurement.device_name), L"nelto 780-2");
    EXPECT_EQ(std::wstring(channels[2].label.data()), L"Brennstoff");
    EXPECT_EQ(std::wstring(channels[63].label.data()), L"Ger\u00E4t");

    ChannelTable results = {
        {Number(0xFF2E, 0, 1, 0), Number(0xFF44, 0, 1, 0), Number(0x1234, 0, 1, 0), {}, Number(0xFF2E, 0, 1, 0)}};
    platform::CopyText(results[2].label, L"ID_1234");
    LabelHeatingCheckTable(results);
    EXPECT_EQ(std::wstring(results[0].label.data()), L"PointsFluegasLo");
    EXPECT_EQ(std::wstring(results[1].label.data()), L"TempRearUpper");
    EXPECT_EQ(std::wstring(results[2].label.data()), L"ID_1234");
    EXPECT_EQ(results[4].label[0], L'\0');
}

class OutputTest : public HostTest {
protected:
    OutputTest() {
        state_.decimal_separator = L',';
        platform::CopyText(state_.exchange_file, kPath);
        measurement_.channels      = {{
                 Number(0x0901, 130, 20.94F, 255),
                 Number(0x0301, 24, -0.125F, 253),
                 Number(0x0902, 139, 5, 0),  // a unit without a key
                 Number(kSmokeNumber1, 0, 1.5F, 255),
                 Number(kOilDerivative, 0, 1, 0),
                 Number(kSmokeNumberMean, 0, 2, 255),
                 Number(kFuel, kNoUnit, 1, 0),
                 WithText(kDevice, L"nelto\r\n9000=x \u03BB"),
                 {.view_ident = 0x0916, .unit = 99, .value = 1},
        }};
        measurement_.heating_check = {{Number(0xFF2E, 255, 7, 0), Number(0xFF32, 255, 7, 0)}};
    }

    const std::string& Written() {
        WriteExchangeFile(state_, measurement_);
        return World().files[kPath];
    }

    /// As the dialog's refresh does it, but that nobody goes on meanwhile.
    void Send() {
        if (output_.Begin(state_, measurement_)) output_.Write();
    }

    std::string Sent() const {
        std::string bytes;
        for (const Bytes& piece : peer_.written) bytes.append(piece.begin(), piece.end());
        return bytes;
    }

    static constexpr const wchar_t* kPath = L"C:\\Temp\\\\NeltoStackWatcher.txt";
    ScriptedPeer peer_;
    ProgramState state_;
    Measurement measurement_;
    SerialOutput output_;
};

TEST_F(OutputTest, WritesTheExchangeFileByteForByte) {
    state_.caller_word = L"JOB17";
    EXPECT_EQ(Written(),
              "JOB17\r\n2003=20,9\r\n4010=-0,125\r\n6420=1\r\n9000=nelto  9000=x ?\r\n5020=-\r\n9050263=7\r\n");
    EXPECT_EQ(World().debug_lines.at(0), L"GetIdent 00000901, Unit 130, ID 2003");
    EXPECT_EQ(World().debug_lines.at(2), L"GetIdent 00000902, Unit 139, ID 0");
    measurement_.oil_fuel = true;
    state_.caller_word    = {};
    EXPECT_EQ(Written(),
              "2003=20,9\r\n4010=-0,125\r\n6020=1,5\r\n6320=1\r\n6520=2,0\r\n6420=1\r\n"
              "9000=nelto  9000=x ?\r\n5020=-\r\n9050263=7\r\n");
}

TEST_F(OutputTest, LeavesNoHalfExchangeFileAndNoTraceOfTheFailure) {
    const std::size_t size = Written().size();
    for (std::size_t space = 0; space < size; ++space) {
        World().disk_space = space;
        WriteExchangeFile(state_, measurement_);
        EXPECT_TRUE(World().files.empty()) << space;
    }
    World().disk_space = size;
    EXPECT_EQ(Written().size(), size);
    World().unwritable_files.insert(kPath);  // in use by another program, say: not ours to delete
    World().files[kPath] = "older";
    EXPECT_EQ(Written(), "older");
    EXPECT_EQ(World().files.size(), 1U);
    EXPECT_EQ(World().open_files, 0U);
}

TEST_F(OutputTest, SendsTheSerialBlockByteForByte) {
    World().serial_ports[L"\\\\.\\COM12"].device = &peer_;
    state_.serial_output_port                    = 12;
    Send();
    EXPECT_TRUE(peer_.written.empty());
    state_.serial_output = 1;
    Send();
    EXPECT_EQ(Sent(),
              "NELTO\n\r00000901:130=20.9\n\r00000301:024=-0.125\n\r00000902:139=5\n\r00000916:099=\n\rEND\n\r");
    EXPECT_EQ(World().serial_ports[L"\\\\.\\COM12"].baud_rate, 0U);  // the port is used as the system has it set
    EXPECT_EQ(World().serial_ports[L"\\\\.\\COM12"].open_handles, 0U);
    EXPECT_EQ(SerialOutputBlock({}), "NELTO\n\rEND\n\r");
    measurement_.oil_fuel = true;
    EXPECT_NE(SerialOutputBlock(measurement_).find("0000FF06:000=1\n\r"), std::string::npos);
    Measurement letters;
    letters.channels[0] = WithText(0x0901, L"a\u010D\u010Ab\nc");  // letters whose low bits are line ends
    EXPECT_EQ(SerialOutputBlock(letters), "NELTO\n\r00000901:255=a  b c\n\rEND\n\r");
}

TEST_F(OutputTest, PutsUpWithEveryFaultOfTheOutputPortInSilence) {
    auto& port                = World().serial_ports[L"COM7"];
    port.device               = &peer_;
    state_.serial_output      = 1;
    state_.serial_output_port = 3;  // missing
    Send();
    state_.serial_output_port     = 7;
    std::uint32_t error           = 0;
    const auto analysers_own_port = platform::OpenSerialPort(L"COM7", error);
    Send();
    EXPECT_EQ(port.times_opened, 1U);
    platform::CloseSerialPort(analysers_own_port);

    const std::uint32_t start = World().now;
    port.stands_still         = true;
    Send();
    EXPECT_EQ(World().now - start, 500 + 7 * 40U);  // for the first line, and none after it
    EXPECT_TRUE(peer_.written.empty());
    port.stands_still  = false;
    peer_.most_written = 3;
    Send();
    EXPECT_EQ(Sent(), SerialOutputBlock(measurement_));  // counts are not looked at
    EXPECT_EQ(port.open_handles, 0U);
    EXPECT_TRUE(World().files.empty() && World().debug_lines.empty());
}

TEST_F(OutputTest, SendsNothingWhileABlockIsUnderWayAndNoLineMoreOnceItIsCancelled) {
    World().serial_ports[L"COM1"].device = &peer_;
    state_.serial_output                 = 1;
    ASSERT_TRUE(output_.Begin(state_, measurement_));
    const std::string begun   = SerialOutputBlock(measurement_);
    measurement_.channels[0]  = Number(0x0901, 130, 3, 255);
    state_.serial_output_port = 2;
    EXPECT_FALSE(output_.Begin(state_, measurement_));
    output_.Write();
    EXPECT_EQ(Sent(), begun);  // of the moment at which it was begun, to the port of that moment
    ASSERT_TRUE(output_.Begin(state_, measurement_));
    output_.Drop();
    state_.serial_output_port = 1;
    EXPECT_TRUE(output_.Begin(state_, measurement_));
    output_.Cancel();
    output_.Write();
    EXPECT_EQ(Sent(), begun);
    EXPECT_EQ(World().serial_ports[L"COM1"].open_handles, 0U);
}

TEST_F(CoreTest, KeepsWideTextInEveryLogWriter) {
    const std::wstring path = World().temp_directory + L"log.txt";
    World().calendar        = {.year = 2027, .month = 1, .day = 1, .hour = 0, .minute = 0, .second = 0};
    WriteTraceLine(path.c_str(), L"Ger\u00E4t \u03BB");
    WriteTraceLine(path.c_str(), L"two\nlines");
    EXPECT_EQ(World().files[path], "01.01.2027 00:00:00 Ger\xE4t ?\r\n01.01.2027 00:00:00 two\r\nlines\r\n");
    EXPECT_EQ(WriteTraceLine(nullptr, L"nothing"), 0U);
    World().unwritable_files.insert(path);
    EXPECT_EQ(WriteTraceLine(path.c_str(), L"dropped"), 5U);

    ZivLogF(L"wide %ls", L"Me\u00DFger\u00E4t");
    ZivLogF(L"%ls", std::wstring(600, L'x').c_str());
    EXPECT_EQ(LogLines(L"ZIVNelto780.txt"), (std::vector<std::string>{"wide Me\xDFger\xE4t", std::string(511, 'x')}));
    EXPECT_EQ(World().debug_lines.at(0), L"wide Me\u00DFger\u00E4t");

    BaseLog log;
    log.WriteF(L"before the start %u", 1U);
    log.Start();
    log.WriteF(L"wide %ls", L"\u00FC");
    EXPECT_EQ(LogLines(L"Nelto780Base.txt").size(), 2U);
    EXPECT_TRUE(LogHas(L"Nelto780Base.txt", "wide \xFC"));
}

}  // namespace
}  // namespace nelto::test
