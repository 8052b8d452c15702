// What the technician typed in the channel table.
#include "core/manual_values.h"

#include <fstream>
#include <sstream>
#include <tuple>

#include "core/exchange_file.h"
#include "core/value_text.h"
#include "support.h"

namespace nelto {
namespace {

using ManualValuesTest = test::HostTest;

/// "-" for no record or no value, else value:resolution:unit.
std::string Stored(const ChannelTable& channels, std::uint32_t view_ident) {
    std::string found;
    for (const ChannelRecord& record : UsedRecords(channels)) {
        if (record.view_ident != view_ident) continue;
        EXPECT_EQ(found, "") << "twice in the table: " << std::hex << view_ident;
        found = "-";
        if (record.value_type == kNoValue) continue;
        EXPECT_EQ(record.value_type, kNumber);
        found = record.value == kInvalidNumber ? "marker" : std::to_string(record.value).substr(0, 5);
        found += ":" + std::to_string(record.resolution) + ":" + std::to_string(record.unit);
    }
    return found.empty() ? "-" : found;
}

/// The smoke numbers, their mean, the heat carrier temperature and the oil derivative.
std::string AllStored(const ChannelTable& channels) {
    std::string all;
    for (const ViewIdent ident :
         {kSmokeNumber1, kSmokeNumber2, kSmokeNumber3, kSmokeNumberMean, kHeatCarrierTemperature, kOilDerivative})
        all += Stored(channels, ident) + " ";
    return all;
}

using Case = std::pair<ManualValues, const char*>;  // what was typed, all that is stored

TEST_F(ManualValuesTest, MissingRecordsAreAppendedWhenTheyHaveAValue) {
    test::World().decimal_separator = L',';
    const Case cases[]              = {
                     {{{L"2", L"3", L"9,5"}, L"999,9"}, "2.000:255:0 3.000:255:0 9.500:255:0 4.833:255:0 999.9:255:1 "},
                     {{{L"2", L"3", L"10"}, L"1000"}, "2.000:255:0 3.000:255:0 - - - "},
                     {{{L"", L"1.5", L"-1"}, L"abc"}, "- - - - - "},
                     {{{L"0", L"0", L"0"}, L"0"}, "0.000:255:0 0.000:255:0 0.000:255:0 0.000:255:0 0.000:255:1 "},
                     {{{L"x", L"1", L"x"}, L"x"}, "- 1.000:255:0 - - - "},
    };
    for (const auto& [typed, stored] : cases) {
        ChannelTable channels{};
        StoreManualValues(typed, channels);
        EXPECT_EQ(AllStored(channels), stored + std::string("0.000:0:0 "));
    }
}

TEST_F(ManualValuesTest, StandingRecordsAreUpdatedOrMarkedInvalid) {
    const Case cases[] = {
        {{{L"1", L"x", L"3"}, L"70", 2}, "1.000:255:2 marker:255:2 3.000:255:2 - 70.00:255:2 "},
        {{{L"x", L"2", L"3"}, L"x", 2}, "- - 3.000:255:2 - - "},
        {{{L"1", L"2", L"3"}, L"70", 2}, "1.000:255:2 2.000:255:2 3.000:255:2 2.000:255:2 70.00:255:2 "},
    };
    for (const auto& [typed, stored] : cases) {
        ChannelTable channels{};
        for (const ViewIdent ident : {kOilDerivative, kSmokeNumberMean, kSmokeNumber3, kSmokeNumber2, kSmokeNumber1,
                                      kHeatCarrierTemperature, kFuel})
            AppendRecord(channels, {.view_ident = ident, .unit = 2, .value_type = kText, .value = 1.0F});
        StoreManualValues(typed, channels);
        EXPECT_EQ(UsedRecords(channels).size(), 7U);
        EXPECT_EQ(AllStored(channels), stored + std::string("2.000:0:2 "));
        EXPECT_EQ(Stored(channels, kFuel), "1.000:0:2");
    }
}

TEST_F(ManualValuesTest, SmokeChannelsThatNobodyCouldEnterStayAsTheyAre) {
    const ManualValues typed = {{L"1", L"2", L"3"}, L"70", 2, false};
    ChannelTable channels{};
    channels[0] = {.view_ident = kFuel, .value_type = kText};
    channels[1] = {.view_ident = kSmokeNumber2, .unit = 9, .value_type = kNumber, .value = 4};
    channels[2] = {.view_ident = kOilDerivative, .value_type = kText, .value = 1};
    StoreManualValues(typed, channels);
    EXPECT_EQ(Stored(channels, kFuel), "0.000:0:0");
    EXPECT_EQ(Stored(channels, kSmokeNumber2), "4.000:255:9");
    EXPECT_EQ(Stored(channels, kOilDerivative), "2.000:0:0");  // yes, by its place in the field
    EXPECT_EQ(Stored(channels, kHeatCarrierTemperature), "70.00:255:1");
    EXPECT_EQ(UsedRecords(channels).size(), 4U);
    // With four smoke channels before it, the temperature finds room or none.
    for (const std::size_t used : {59U, 60U}) {
        channels.fill({.view_ident = 0x0901});
        std::fill(channels.begin() + static_cast<std::ptrdiff_t>(used), channels.end(), ChannelRecord());
        StoreManualValues(typed, channels);
        EXPECT_EQ(UsedRecords(channels).size(), used + (used == 59 ? 1 : 0));
    }
}

TEST_F(ManualValuesTest, ValuesWithoutAFreeRecordAreDropped) {
    ChannelTable channels{};
    channels.fill({.view_ident = 0x0901});
    channels.back() = {};
    StoreManualValues({{L"1", L"2", L"3"}, L"60"}, channels);
    EXPECT_EQ(Stored(channels, kSmokeNumber1), "1.000:255:0");
    EXPECT_EQ(UsedRecords(channels).size(), kChannelCapacity);
    EXPECT_EQ(channels[0].view_ident, 0x0901U);
}

// The Windows tests let the 64-bit and the 32-bit program write the same lines.
TEST_F(ManualValuesTest, TypedNumbersAreWrittenAsTheTableSays) {
    std::ifstream table(TYPED_NUMBERS);
    ProgramState state;
    state.decimal_separator = test::World().decimal_separator = L'.';
    int rows                                                  = 0;
    for (std::string row; std::getline(table, row);) {
        if (row.empty() || row[0] == '#') continue;
        SCOPED_TRACE(row);
        std::array<std::wstring, 9> fields;
        std::wistringstream words(std::wstring(row.begin(), row.end()));
        for (std::wstring& field : fields) words >> field;
        Measurement measurement{};
        measurement.oil_fuel = true;
        StoreManualValues({{fields[0], fields[1], fields[2]}, fields[3]}, measurement.channels);
        std::wstring written;
        std::size_t field = 4;
        for (const wchar_t* key : {L"6020=", L"6120=", L"6220=", L"6520=", L"1401="})
            written.append(key).append(fields[field++]).append(L"\n");
        EXPECT_EQ(ExchangeText(state.caller_word, state.decimal_separator, measurement), written + L"6320=0\n");
        ++rows;
    }
    EXPECT_GT(rows, 4);
}

}  // namespace
}  // namespace nelto
