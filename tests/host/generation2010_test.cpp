#include "instrument/generation2010/base_2010.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "fake_maker_libraries.h"
#include "instrument/dispatch.h"
#include "instrument/generation2010/fuel.h"
#include "instrument/generation2010/ident_translation.h"
#include "instrument/generation2010/library_functions.h"
#include "instrument/instrument_connection.h"
#include "platform/wide_text.h"
#include "support.h"

namespace nelto::test {
namespace {

using platform::memory::LoadsEver;
using platform::memory::RemoveLibrary;
using platform::memory::TimesLoaded;

const std::wstring kLog = L"Nelto780Base.txt";

bool Logged(const std::string& line) { return LogHas(kLog, ' ' + line); }

const ChannelRecord* Find(const ChannelTable& channels, std::uint32_t view_ident, std::uint32_t unit) {
    for (const ChannelRecord& channel : UsedRecords(channels)) {
        if (channel.view_ident == view_ident && channel.unit == unit) return &channel;
    }
    return nullptr;
}

std::wstring Label(const ChannelRecord& channel) { return std::wstring(platform::TextIn(channel.label)); }
std::wstring Text(const ChannelRecord& channel) { return std::wstring(platform::TextIn(channel.text)); }

/// An analyser that is open already, so that a test begins with what it is about.
class Generation2010Test : public HostTest {
protected:
    Generation2010Test() {
        platform::memory::ResetLibraries();
        InstallFakeMaker();
    }

    void Connect(std::uint32_t kind = kKind745) {
        connection_                = {};
        connection_.kind           = kind;
        connection_.library_handle = FakeMaker::kUsbHandle;
        connection_.log.Start();
        connection_.generation2010 = std::make_unique<CNelto780Base2010>(connection_);
    }
    std::uint32_t Configure() { return GetOnlineConfiguration(connection_, channels_); }
    std::uint32_t ReadValues() { return GetOnlineValues(connection_, channels_); }
    [[nodiscard]] std::size_t Used() const { return UsedRecords(channels_).size(); }

    /// That many current values, all different.
    static void FillValues(std::uint32_t count) {
        Maker().values.clear();
        for (std::uint32_t index = 1; index <= count; ++index) Maker().values.push_back(Record(0x5000 + index, 1.0F));
    }

    InstrumentConnection connection_;
    ChannelTable channels_{};
};

/// A search by the "Communication" setting, from its start.
class Search2010Test : public Generation2010Test {
protected:
    std::unique_ptr<InstrumentConnection> Open(std::uint32_t communication) {
        state_.communication = communication;
        return Nelto780Open(state_);
    }

    ProgramState state_;
};

// Idents, in the order of the published table.

TEST(IdentTranslationTest, EveryIdentOfTheTableAndNoOther) {
    struct Row {
        std::uint32_t ident_2010;
        std::uint32_t view_ident;
    };
    constexpr std::array kRows = std::to_array<Row>({
        {0x00000122, 0xFF4B},  {0x00000124, 0x0113}, {0x00000125, 0x0114}, {0x00000904, 0x090D},  {0x0000090A, 0x1090A},
        {0x0000090B, 0x1090B}, {0x0000090C, 0x090F}, {0x0000090D, 0x0910}, {0x0000090E, 0x1090E}, {0x0000090F, 0x0919},
        {0x00000910, 0x091A},  {0x00000913, 0x091D}, {0x0000091B, 0x091F}, {0x00020915, 0x090E},  {0x00020B01, 0x0B01},
        {0x00020B02, 0x0B01},  {0x00020B03, 0x0B07}, {0x00020B05, 0x0B02}, {0x00020B08, 0x0B08},  {0x00021282, 0x090C},
        {0x00021F04, 0xFF2E},  {0x80010108, 0xFF01}, {0x8001011E, 0xFF3F}, {0x80010303, 0x0303},  {0x80011903, 0xFF47},
        {0x80011B01, 0xFF02},  {0x80021F05, 0xFF2F}, {0x80021F06, 0xFF30}, {0x80021F07, 0xFF4C},  {0x80021F08, 0xFF3E},
        {0x80051B02, 0xFF06},  {0x8101011E, 0xFF40}, {0x81011B01, 0xFF03}, {0x8201011E, 0xFF41},  {0x82011B01, 0xFF04},
        {0x8301011E, 0xFF42},  {0x83021B01, 0xFF05}, {0x8401011E, 0xFF43}, {0x8501011E, 0xFF44},  {0x8601011E, 0xFF45},
    });
    for (const Row& row : kRows) EXPECT_EQ(ViewIdentOf(row.ident_2010), row.view_ident) << std::hex << row.ident_2010;
    for (const std::uint32_t other : {0x0U, 0x1U, 0x123U, 0x905U, 0x8601011FU, 0xFFFFFFFFU})
        EXPECT_EQ(ViewIdentOf(other), other);
}

// Measurement cache and the rule by which a record becomes a channel.

TEST_F(Generation2010Test, CachedValuesComeBeforeCurrentOnesAndDoublesAreDropped) {
    Maker().cache  = {{Record(0x0101, 80.0F), Record(0x0101, 81.0F)}, {}, {Record(0x0101, 176.0F, 2), Record(0, 5.0F)}};
    Maker().values = {Record(0x0101, 90.0F), Record(0x0102, 20.0F)};
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(channels_[0].view_ident, 0x0101U);
    EXPECT_EQ(channels_[0].unit, 1U);
    EXPECT_EQ(channels_[0].value, 80.0F);
    EXPECT_EQ(channels_[0].resolution, 254U);
    EXPECT_EQ(channels_[1].unit, 2U);
    EXPECT_EQ(channels_[2].view_ident, 0x0102U);
    EXPECT_EQ(channels_[3].view_ident, kFuel);
    EXPECT_TRUE(Logged("MeasCache Counter 3"));
    EXPECT_TRUE(Logged("MeasCache Position 1, number of values 0"));
    EXPECT_TRUE(Logged("ViewIdent 00000101, Ident2010 00000101, Unit 2, Type 1, Value 176.000000 Ident V101"));
    EXPECT_TRUE(Logged("Number of online channels 2"));
}

TEST_F(Generation2010Test, TheNumberOfCachePositionsIsOneByte) {
    Maker().cache          = {{Record(0x0101, 80.0F)}};
    Maker().position_count = 0xEEEEEE00;
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Maker().CallsOf("GetMeasCacheValues"), 1U);
    EXPECT_TRUE(Logged("MeasCache Counter 1"));
}

TEST_F(Generation2010Test, DifferentIdentsOfOneViewAreOneChannel) {
    Maker().values = {Record(0x00020B01, 7.0F), Record(0x00020B02, 8.0F)};
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(channels_[0].view_ident, 0x0B01U);
    EXPECT_EQ(channels_[0].value, 7.0F);
    EXPECT_EQ(channels_[1].view_ident, kFuel);
}

struct StatusCase {
    std::uint32_t bits;
    std::uint32_t value_type;
};

TEST_F(Generation2010Test, StatusWordsAreNoValues) {
    constexpr std::array kCases = std::to_array<StatusCase>({
        {127, kNumber},
        {128, kNoValue},
        {129, kNoValue},
        {130, kNoValue},
        {131, kNoValue},
        {132, kNoValue},
        {133, kNoValue},
        {134, kNumber},
        {137, kNumber},
        {138, kNoValue},
        {139, kNumber},
        {0, kNumber},
        {0xFFFFFFFF, kNoValue},
        {0xFFFFFFFE, kNumber},
        {0x3F800000, kNumber},
    });
    for (const StatusCase& row : kCases) {
        SCOPED_TRACE(row.bits);
        Maker().values = {BitsRecord(0x0101, row.bits)};
        Connect();
        ASSERT_EQ(Configure(), kDone);
        EXPECT_EQ(channels_[0].value_type, row.value_type);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(channels_[0].value), row.value_type == kNumber ? row.bits : 0);
    }
}

TEST_F(Generation2010Test, LabelsComeFromTheTextMapper) {
    const std::wstring long_name(200, L'\x03BB');
    std::wstring long_label;
    while (long_label.size() < 31) long_label += L"lambda";
    Maker().view_texts = {{0x0101, L"\x03BB"}, {0x0102, L"CO\x2082"}, {0x0103, L""}, {0x0104, long_name}};
    Maker().values     = {Record(0x0101, 1.0F), Record(0x0102, 1.0F), Record(0x0103, 1.0F), Record(0x0104, 1.0F)};
    World().locale_tag = L"en-GB";
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Label(channels_[0]), L"lambda");
    EXPECT_EQ(Label(channels_[1]), L"CO2");
    EXPECT_EQ(Label(channels_[2]), long_label.substr(0, 31));  // the one without a name is left out
    EXPECT_EQ(channels_[3].view_ident, kFuel);
    EXPECT_EQ(Maker().languages.front(), L"en-GB");
}

TEST_F(Generation2010Test, WithoutATextMapperIdentsAreTheLabels) {
    for (const bool has_library : {false, true}) {
        RemoveLibrary(L"IDTEXTMAPPER_T780.DLL");
        if (has_library) platform::memory::InstallLibrary(L"IDTEXTMAPPER_T780.DLL", {});
        Maker().values = {Record(0x80010108, 1.0F)};
        Connect();
        ASSERT_EQ(Configure(), kDone);
        EXPECT_EQ(Label(channels_[0]), L"Id2147549448");
        EXPECT_EQ(channels_[0].view_ident, kHeatCarrierTemperature);
        EXPECT_EQ(Text(channels_[1]), L"Fuel104");
        EXPECT_EQ(Logged("IDTEXTMAPPER_T780.DLL not found"), !has_library);
    }
}

struct MapperCase {
    std::uint32_t kind;
    const wchar_t* library;
    bool loaded_line;
};

TEST_F(Generation2010Test, EachModelHasItsTextMapper) {
    constexpr std::array kCases = std::to_array<MapperCase>({
        {kKind711, L"IDTEXTMAPPER_T780.DLL", false},
        {kKind745, L"IDTEXTMAPPER_T780.DLL", false},
        {kKind746, L"IDTEXTMAPPER_T780.DLL", false},
        {kKind752, L"IDTEXTMAPPER_T752.DLL", true},
        {kKind760, L"IDTEXTMAPPER.DLL", false},
        {kKind781, L"IDTEXTMAPPER_T780.DLL", false},
    });
    for (const MapperCase& row : kCases) {
        SCOPED_TRACE(row.kind);
        InstallFakeMaker();
        Connect(row.kind);
        EXPECT_EQ(TimesLoaded(row.library), 1U);
        connection_.generation2010.reset();
        EXPECT_EQ(TimesLoaded(row.library), 0U);
        EXPECT_FALSE(Logged("IDTEXTMAPPER_T780.DLL not found"));

        RemoveLibrary(row.library);
        Connect(row.kind);
        EXPECT_EQ(Logged("IDTEXTMAPPER_T752.DLL loaded"), row.loaded_line);
        EXPECT_TRUE(Logged("IDTEXTMAPPER_T780.DLL not found"));  // in these words whichever is missing
        EXPECT_TRUE(Logged("de-DE"));
    }
}

// Configuration as a whole.

struct RoomCase {
    std::uint32_t measured;
    std::size_t used;
    std::uint32_t last;
    bool fuel;
};

TEST_F(Generation2010Test, SpecialChannelsNeedRoom) {
    constexpr std::array kCases = std::to_array<RoomCase>({
        {0, 7, kSmokePump, true},
        {56, 63, kSmokePump, true},
        {57, 63, kSerialNumber, true},
        {58, 63, kVersion, true},
        {59, 63, kDevice, true},
        {60, 63, kReferenceOxygen, true},
        {61, 63, kVersion, false},
        {62, 63, kDevice, false},
        {63, 63, 0x503F, false},
        {64, 63, 0x503F, false},
        {200, 63, 0x503F, false},
    });
    for (const RoomCase& row : kCases) {
        SCOPED_TRACE(row.measured);
        InstallFakeMaker();
        FillValues(row.measured);
        Connect();
        ASSERT_EQ(Configure(), kDone);
        EXPECT_EQ(Used(), row.used);
        EXPECT_EQ(channels_[Used() - 1].view_ident, row.last);
        EXPECT_EQ(Find(channels_, kFuel, 0) != nullptr, row.fuel);
        EXPECT_EQ(Maker().CallsOf("GetActiveFuelID"), row.fuel ? 1U : 0U);
        EXPECT_TRUE(Logged("Total Number of online channels " + std::to_string(row.used)));
        EXPECT_TRUE(Logged("done reading online configuration"));
    }
}

TEST_F(Generation2010Test, NothingOfAnEarlierConnectionIsLeft) {
    channels_.fill({.view_ident = 0x7777, .unit = 9, .value_type = kNumber});
    FillValues(1);
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Used(), 8U);
    EXPECT_EQ(Find(channels_, 0x7777, 9), nullptr);
}

TEST_F(Generation2010Test, SpecialChannelsCarryTheAnalysersData) {
    Maker().smoke_pump  = std::wstring(300, L'7');
    Maker().fuel        = 100;
    Maker().fuel_texts  = {{100, L"Heating oil"}};
    Maker().measurement = 0x8765;
    Maker().firmware    = 0x1203;
    Connect();
    ASSERT_EQ(Configure(), kDone);

    EXPECT_EQ(Label(channels_[0]), L"Fuel type");
    EXPECT_EQ(Text(channels_[0]), L"Heating oil");
    EXPECT_EQ(channels_[0].value_type, kText);
    EXPECT_EQ(channels_[0].value, 1.0F);
    EXPECT_EQ(channels_[0].resolution, kWholeNumber);
    EXPECT_TRUE(Logged("Active FuelID  100"));

    const ChannelRecord* carbon_dioxide = Find(channels_, kMaximumCarbonDioxide, kPercent);
    const ChannelRecord* oxygen         = Find(channels_, kReferenceOxygen, kPercent);
    ASSERT_TRUE(carbon_dioxide != nullptr && oxygen != nullptr);
    EXPECT_EQ(carbon_dioxide->value, 11.9F);
    EXPECT_EQ(oxygen->value, 3.0F);
    EXPECT_EQ(oxygen->resolution, kOneDecimal);

    EXPECT_EQ(Text(channels_[3]), L"nelto 745");
    EXPECT_EQ(Text(channels_[4]), L"12.03");
    EXPECT_EQ(Text(channels_[5]), L"00012345");
    EXPECT_EQ(Text(channels_[6]), std::wstring(31, L'7'));
    EXPECT_EQ(channels_[6].value_type, kText);
    EXPECT_EQ(Maker().CallsOf("SetCurrentMeasurement 34661"), 1U);
}

TEST_F(Generation2010Test, AnAnalyserWithoutFuelDataIsShownWithoutThem) {
    Maker().results["GetAppFuelData"] = 3;
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(channels_[1].view_ident, kDevice);
}

struct DeviceCase {
    std::uint32_t kind;
    std::uint32_t device_type;
    const wchar_t* text;
};

TEST_F(Generation2010Test, DeviceTextOfEachModel) {
    constexpr std::array kCases = std::to_array<DeviceCase>({
        {kKind711, 1, L"nelto 710"},
        {kKind745, 1, L"nelto 745"},
        {kKind746, 2, L"nelto 780-2"},
        {kKind752, 1, L"nelto 752"},
        {kKind760, 1, L"nelto 760"},
        {kKind781, 4, L"nelto 780-4"},
        {kKind781, 0xEEEEEE05, L"nelto 780-5"},
    });
    for (const DeviceCase& row : kCases) {
        Maker().device_type = row.device_type;
        Connect(row.kind);
        ASSERT_EQ(Configure(), kDone);
        const ChannelRecord* device = Find(channels_, kDevice, 0);
        ASSERT_NE(device, nullptr);
        EXPECT_EQ(Text(*device), row.text);
    }
}

TEST_F(Generation2010Test, ASmokePumpChannelNeedsAPump) {
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_NE(Find(channels_, kSmokePump, 0), nullptr);

    Connect(kKind752);
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Find(channels_, kSmokePump, 0), nullptr);
    EXPECT_EQ(Maker().CallsOf("GetSmokePumpNumber"), 1U);

    Maker().smoke_pump = L"";
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Find(channels_, kSmokePump, 0), nullptr);
}

// Values.

TEST_F(Generation2010Test, ValuesGoToTheChannelOfTheirIdentAndUnit) {
    Maker().values = {Record(0x0101, 90.0F), Record(0x0101, 194.0F, 2), Record(0x00020B01, 7.0F), Record(0x0104, 1.0F)};
    Connect();
    ASSERT_EQ(Configure(), kDone);
    channels_[63] = {.view_ident = 0x0999, .unit = 1};  // all 64 records are looked at

    ValueRecord2010 finer = Record(0x0101, 91.5F, 2);
    finer.resolution      = 253;
    Maker().values        = {BitsRecord(0x00020B02, 131), finer,           Record(0x0103, 5.0F),
                             Record(0x0999, 2.0F),        Record(0, 1.0F), Record(0x0104, 9.0F)};
    ASSERT_EQ(ReadValues(), kDone);
    EXPECT_EQ(channels_[0].value, 90.0F);
    EXPECT_EQ(channels_[1].value, 91.5F);
    EXPECT_EQ(channels_[1].resolution, 253U);
    EXPECT_EQ(channels_[2].value_type, kNoValue);
    EXPECT_EQ(channels_[2].value, 7.0F);
    EXPECT_EQ(channels_[3].value, 1.0F);  // stands behind the ident 0, which ends the pass
    EXPECT_EQ(channels_[63].value, 2.0F);
    EXPECT_TRUE(Logged("New Online Value: ViewIdent 00020B02, Value 0.000000"));
    EXPECT_TRUE(Logged("New Online Value: ViewIdent 00000101, Value 91.500000"));
    EXPECT_FALSE(Logged("New Online Value: ViewIdent 00000104, Value 9.000000"));
}

TEST_F(Generation2010Test, CountsOfTheLibraryAreNotTrusted) {
    FillValues(2);
    Maker().cache = {{Record(0x0101, 80.0F)}};
    for (const std::uint32_t lie : {4097U, 0x10000000U, 0xFFFFFFFFU}) {
        Connect();
        Maker().value_count_lie = lie;
        EXPECT_EQ(Configure(), kBadAnswer);
        EXPECT_TRUE(Logged("Invalid response GetMeasCacheValues"));
        EXPECT_EQ(ReadValues(), kBadAnswer);
    }
    EXPECT_EQ(Maker().CallsOf("GetCurrentViewValues"), 0U);

    Maker().value_count_lie = 4096;  // far more than there are: the rest is empty
    Connect();
    EXPECT_EQ(Configure(), kDone);
    EXPECT_EQ(Used(), 10U);
}

// Errors.

using Operation = std::uint32_t (*)(InstrumentConnection& connection, ChannelTable& channels);

struct FailureCase {
    Operation operation;
    const char* function;
    const char* line;
};

constexpr Operation kSubTypeRead = [](InstrumentConnection& connection, ChannelTable&) {
    return GetSubType(connection);
};
constexpr Operation kSlaveModeOff = [](InstrumentConnection& connection, ChannelTable&) {
    return SetSlaveMode(connection, false);
};
constexpr Operation kClock = [](InstrumentConnection& connection, ChannelTable&) {
    return SynchronizeClock(connection);
};
constexpr Operation kWakeUp = [](InstrumentConnection& connection, ChannelTable&) {
    return connection.generation2010->WakeUp();
};
constexpr Operation kFuelChoice = [](InstrumentConnection& connection, ChannelTable&) {
    return SetActiveFuel(connection, 2);
};
constexpr Operation kConfiguration = [](InstrumentConnection& connection, ChannelTable& channels) {
    return GetOnlineConfiguration(connection, channels);
};
constexpr Operation kValues = [](InstrumentConnection& connection, ChannelTable& channels) {
    return GetOnlineValues(connection, channels);
};

constexpr std::array kFailures = std::to_array<FailureCase>({
    {kSubTypeRead, "GetDeviceType", "NELTO760SPI_GetDeviceType: Error code -2"},
    {kSubTypeRead, "GetDeviceName", "NELTO760SPI_GetDeviceName: Error code -2"},
    {kSlaveModeOff, "SetDeviceMode", "NELTO760SPI_SetDeviceMode: Error code -2"},
    {kClock, "SetDateTime", "NELTO760SPI_SetDateTime: Error code -2"},
    {kWakeUp, "SetShutdown", "NELTO760SPI_Shutdown: Error code -2"},
    {kFuelChoice, "SetActiveFuelID", "SetActualFuel. FuelID = 2"},
    {kConfiguration, "GetMeasCacheCounter", "Invalid response GetMeasCacheCounter"},
    {kConfiguration, "GetMeasCacheNumberOfValues", "Invalid response GetMeasCacheNumberOfValues"},
    {kConfiguration, "GetMeasCacheValues", "Invalid response GetMeasCacheValues"},
    {kConfiguration, "GetNumberOfCurrentViewValues", "Value 80.000000 Ident V101"},
    {kConfiguration, "GetCurrentViewValues", "Number of online channels 1"},
    {kConfiguration, "GetCurrentMeasurement", "NELTO760SPI_GetCurrentMeasurement failed"},
    {kConfiguration, "SetCurrentMeasurement", "NELTO760SPI_SetCurrentMeasurement failed"},
    {kConfiguration, "GetActiveFuelID", "NELTO760SPI_GetActiveFuelID failed"},
    {kConfiguration, "GetDeviceType", "NELTO760SPI_GetDeviceType failed"},
    {kConfiguration, "GetFirmwareVersion", "NELTO760SPI_GetFirmwareVersion failed"},
    {kConfiguration, "GetSerialNumberBox", "NELTO760SPI_GetSerialNumberBox failed"},
    {kConfiguration, "GetSmokePumpNumber", "NELTO760SPI_GetSmokePumpNumber failed"},
    {kValues, "GetNumberOfCurrentViewValues", nullptr},
    {kValues, "GetCurrentViewValues", nullptr},
});

TEST_F(Generation2010Test, EachErrorOfALibraryIsABadAnswerWithItsLine) {
    for (const FailureCase& row : kFailures) {
        SCOPED_TRACE(row.function);
        InstallFakeMaker();
        Maker().device_type           = 9;
        Maker().cache                 = {{Record(0x0101, 80.0F)}};
        Maker().values                = {Record(0x0102, 1.0F)};
        Maker().results[row.function] = 0xFFFFFFFE;
        Connect(kKind781);
        EXPECT_EQ(row.operation(connection_, channels_), kBadAnswer);
        EXPECT_EQ(Maker().CallsOf(row.function), 1U);
        if (row.line != nullptr) EXPECT_TRUE(LogLines(kLog).back().ends_with(row.line)) << LogLines(kLog).back();
    }
}

TEST_F(Generation2010Test, WhatWasAddedBeforeAnErrorStays) {
    FillValues(2);
    Maker().results["GetFirmwareVersion"] = 1;
    Connect();
    EXPECT_EQ(Configure(), kBadAnswer);
    EXPECT_EQ(Used(), 6U);
}

TEST_F(Generation2010Test, FunctionsMayLieInEitherLibrary) {
    const char* line    = "NELTO760SPI_SetDateTime: Error code 127";
    std::size_t missing = 0;
    for (const auto& [name, function] : InstrumentFunctions()) {
        for (const bool alone : {true, false}) {
            std::set<std::string> first;
            if (alone) {
                first.insert(name);
            } else {
                for (const auto& other : InstrumentFunctions()) first.insert(other.first);
                first.erase(name);
            }
            InstallFakeMaker();
            DivideInstrumentFunctions(first);
            Connect();
            EXPECT_EQ(SynchronizeClock(connection_), kDone) << name;
            EXPECT_EQ(GetSubType(connection_), kDone) << name;
            EXPECT_EQ(Configure(), kDone) << name;
            EXPECT_EQ(ReadValues(), kDone) << name;
            if (Logged(line)) ++missing;
        }
    }
    EXPECT_EQ(missing, 0U);
}

TEST_F(Generation2010Test, TheSecondLibraryAloneWillDo) {
    RemoveLibrary(L"nelto7XXE.dll");
    platform::memory::InstallLibrary(L"nelto7XXT.dll", InstrumentFunctions());
    Connect();
    EXPECT_EQ(SynchronizeClock(connection_), kDone);
}

TEST_F(Generation2010Test, AMissingLibraryOrFunctionIsAnErrorWithItsCode) {
    platform::memory::InstallLibrary(L"nelto7XXE.dll", {});
    Connect();
    EXPECT_EQ(SynchronizeClock(connection_), kBadAnswer);
    EXPECT_TRUE(Logged("NELTO760SPI_SetDateTime: Error code 127"));

    connection_.generation2010.reset();
    platform::memory::ResetLibraries();
    Connect();
    EXPECT_EQ(SynchronizeClock(connection_), kBadAnswer);
    EXPECT_TRUE(Logged("NELTO760SPI_SetDateTime: Error code 126"));
    EXPECT_EQ(Configure(), kBadAnswer);
    EXPECT_EQ(ReadValues(), kBadAnswer);
}

// Modes.

struct SubTypeCase {
    std::uint32_t device_type;
    const wchar_t* name;
    std::uint32_t sub_type;
    std::size_t names_asked;
};

TEST_F(Generation2010Test, SubTypes) {
    constexpr std::array kCases = std::to_array<SubTypeCase>({
        {0, L"NELTO 780-1HD F", 20, 0},
        {1, L"NELTO 745", 1, 0},
        {2, L"NELTO 745", 2, 0},
        {3, L"NELTO 745", 20, 1},
        {5, L"NELTO 780-1HD F", 3, 1},
        {0x100, L"NELTO 780-2HD F", 4, 1},
        {3, L"NELTO 780-1HD", 0, 1},
        {3, L"nelto 745", 0, 1},
        {0xFFFFFFFF, L"", 0, 1},
    });
    for (const SubTypeCase& row : kCases) {
        SCOPED_TRACE(row.device_type);
        InstallFakeMaker();
        Maker().device_type = row.device_type;
        Maker().device_name = row.name;
        Connect();
        connection_.sub_type = 99;
        ASSERT_EQ(GetSubType(connection_), kDone);
        EXPECT_EQ(connection_.sub_type, row.sub_type);
        EXPECT_EQ(Maker().CallsOf("GetDeviceName"), row.names_asked);
    }
    EXPECT_TRUE(Logged("NELTO760SPI_GetDeviceType: -1"));

    connection_.sub_type             = 99;
    Maker().results["GetDeviceName"] = 1;
    EXPECT_EQ(GetSubType(connection_), kBadAnswer);
    EXPECT_EQ(connection_.sub_type, 0U);
}

TEST_F(Generation2010Test, ANameThatFillsItsBufferIsEnded) {
    Maker().device_type = 3;
    Maker().device_name = std::wstring(500, L'n');
    Connect();
    ASSERT_EQ(GetSubType(connection_), kDone);
    EXPECT_TRUE(Logged("NELTO760SPI_GetDeviceName: " + std::string(128, 'n')));
}

TEST_F(Generation2010Test, TheClockIsSetToLocalTime) {
    Connect();
    ASSERT_EQ(SynchronizeClock(connection_), kDone);
    const DateTime2010& set = Maker().date_time;
    EXPECT_EQ((std::array<unsigned, 7>{set.hour, set.minute, set.second, set.zero, set.year, set.month, set.day}),
              (std::array<unsigned, 7>{14, 5, 9, 0, 2011, 3, 7}));
    EXPECT_TRUE(Logged("SynchronizeClock2010"));
}

TEST_F(Generation2010Test, SlaveModeIsModeTwo) {
    Connect();
    EXPECT_EQ(SetSlaveMode(connection_, true), kDone);
    EXPECT_EQ(SetSlaveMode(connection_, false), kDone);
    EXPECT_EQ(Maker().calls, (std::vector<std::string>{"SetDeviceMode 2", "SetDeviceMode 0"}));
    EXPECT_TRUE(Logged("CNelto780Base2010::SetSlaveMode"));
    EXPECT_TRUE(Logged("SetSlaveMode2010 OK"));
}

// Fuels.

TEST_F(Generation2010Test, FuelNumbersAndLibraryFuels) {
    constexpr std::array<std::uint32_t, 14> kLibraryFuels = {0,   100, 104, 114, 113, 107, 108,
                                                             103, 111, 112, 0,   121, 0,   0};
    Connect();
    for (std::int32_t number = -1; number < 14; ++number) {
        SCOPED_TRACE(number);
        const std::uint32_t expected = number < 0 ? 0 : kLibraryFuels[static_cast<std::size_t>(number)];
        Maker().calls.clear();
        EXPECT_EQ(SetActiveFuel(connection_, number), kDone);
        EXPECT_TRUE(Logged("SetActualFuel. FuelID = " + std::to_string(number)));
        if (expected == 0) {
            EXPECT_TRUE(Maker().calls.empty());
        } else {
            EXPECT_EQ(Maker().calls, std::vector<std::string>{"SetActiveFuelID " + std::to_string(expected)});
            EXPECT_EQ(FuelNumberOf(expected), number);
        }
    }
}

TEST_F(Generation2010Test, AnUnknownFuelHasNoNumber) {
    Maker().fuel       = 105;
    Maker().fuel_texts = {{105, L"Straw"}};
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(channels_[0].view_ident, kFuel);
    EXPECT_EQ(channels_[0].value_type, kNoValue);
    EXPECT_EQ(channels_[0].value, 0.0F);
}

// Search over USB.

struct UsbCase {
    std::map<std::uint32_t, std::uint32_t> devices;
    std::uint32_t ident;
    std::uint32_t kind;  // 0: none found
    std::vector<std::string> lines;
    std::vector<std::string> calls;  // the first ones
};

TEST_F(Search2010Test, TheProductOnTheBusTellsTheKind) {
    const std::vector<std::string> none  = {"no nelto fluegas instrument (nelto 745/780) found at USB"};
    const std::vector<std::string> is780 = {"Instrument nelto 780 (2010): Try to open via USB",
                                            "Instrument nelto 780 (2010) opened (via USB)"};
    const std::array cases               = {
                      UsbCase{{{20, 1}},
                0,
                781,
                is780,
                {"GetNumberOfDevices 20", "GetNumberOfDevices 4116", "StartLogging 1", "GetNumberOfDevices 20",
                               "GetSerialNumber 0 256", "OpenBySerialNumber", "SetDateTime"}},
                      UsbCase{{{4116, 1}, {37, 1}},
                0,
                781,
                is780,
                {"GetNumberOfDevices 20", "GetNumberOfDevices 4116", "StartLogging 1", "GetNumberOfDevices 4116",
                               "GetSerialNumber 0 256", "OpenBySerialNumber", "SetDateTime"}},
                      UsbCase{{{20, 1}, {4116, 1}, {37, 1}},
                745,
                745,
                {"nelto 745 found", "nelto 745 or nelto 760 with ident 745 opened via USB"},
                {"GetNumberOfDevices 20", "GetNumberOfDevices 4116", "GetNumberOfDevices 37", "StartLogging 1",
                               "GetSerialNumber 0 256", "OpenBySerialNumber", "GetIdent", "SetDateTime"}},
                      UsbCase{
            {{20, 2}, {37, 2}, {15, 1}},
            760,
            760,
            {"nelto 760 found", "nelto 745 or nelto 760 with ident 760 opened via USB", "CNelto780Base2010::WakeUp"},
            {}},
                      UsbCase{{{20, 2}, {4116, 0xFFFFFFFF}, {36, 1}, {49, 1}},
                1,
                752,
                {"nelto 752 found", "nelto 745 or nelto 760 with ident 1 opened via USB"},
                {}},
                      UsbCase{{{49, 1}}, 711, 711, {"nelto 710 version 2018 found"}, {}},
                      UsbCase{{{37, 1}}, 746, 746, {"nelto 745 found", "nelto 745 or nelto 760 with ident 746 opened via USB"}, {}},
                      UsbCase{{{37, 2}, {15, 0xFFFFFFFF}}, 745, 0, none, {}},
                      UsbCase{{},
                745,
                0,
                none,
                {"GetNumberOfDevices 20", "GetNumberOfDevices 4116", "GetNumberOfDevices 37", "GetNumberOfDevices 15",
                               "GetNumberOfDevices 36", "GetNumberOfDevices 49"}},
    };
    for (const UsbCase& row : cases) {
        SCOPED_TRACE(row.lines.front());
        InstallFakeMaker();
        Maker().usb_devices = row.devices;
        Maker().ident       = row.ident;
        const auto opened   = Open(kUsb);
        ASSERT_EQ(opened != nullptr, row.kind != 0);
        for (const std::string& line : row.lines) EXPECT_TRUE(Logged(line)) << line;
        ASSERT_LE(row.calls.size(), Maker().calls.size());
        EXPECT_TRUE(std::equal(row.calls.begin(), row.calls.end(), Maker().calls.begin()));
        EXPECT_EQ(Maker().CallsOf("SetShutdown 3"), row.kind == kKind760 ? 1U : 0U);
        if (opened == nullptr) {
            EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
            continue;
        }
        EXPECT_EQ(opened->kind, row.kind);
        EXPECT_EQ(Nelto780Close(opened.get()), 0U);
        EXPECT_TRUE(Logged("Connection closed (USB to nelto 780 2010)"));
        EXPECT_EQ(Maker().calls.back(), "Close 7") << "the low 32 bits of the handle";
    }
}

struct UsbFailure {
    std::uint32_t product;
    const char* function;
    const char* last_error;
    const char* last_line;
};

TEST_F(Search2010Test, FailuresOverUsbTellTheirCause) {
    constexpr std::array kCases = std::to_array<UsbFailure>({
        {20, "GetSerialNumber", "get serial number from USB Segger (nelto780) failed",
         "[1] Instrument nelto 780 (2010): GetSerialNumber failed"},
        {20, "OpenBySerialNumber", "open by serial number Segger USB to nelto 780 failed",
         "Instrument nelto 780 (2010): OpenBySerialNumber failed"},
        {37, "GetSerialNumber", "get USB serial number failed (Segger USB)", "nelto 745 found"},
        {37, "OpenBySerialNumber", "open by serial number Segger USB failed", "nelto 745 found"},
        {37, "SetDateTime", "Nelto 780 Open: Error synchronizing clock", "Connection closed (USB to nelto 780 2010)"},
        {37, "GetDeviceType", "Nelto 780 Open: GetSubType failed", "Connection closed (USB to nelto 780 2010)"},
    });
    for (const UsbFailure& row : kCases) {
        SCOPED_TRACE(row.last_error);
        InstallFakeMaker();
        Maker().usb_devices[row.product] = 1;
        Maker().results[row.function]    = 4;
        EXPECT_EQ(Open(kUsb), nullptr);
        EXPECT_STREQ(state_.last_error, row.last_error);
        EXPECT_TRUE(LogLines(kLog).back().ends_with(row.last_line)) << LogLines(kLog).back();
    }
}

TEST_F(Search2010Test, AWakeUpThatFailsDoesNotMatter) {
    Maker().usb_devices[15]        = 1;
    Maker().results["SetShutdown"] = 4;
    EXPECT_NE(Open(kUsb), nullptr);
}

// Search over a COM port.

struct CodeCase {
    const char* answer;
    std::uint32_t kind;
    const char* line;
};

TEST_F(Search2010Test, TheCodeOnTheSerialLinkTellsTheKind) {
    constexpr std::array kCases = std::to_array<CodeCase>({
        {"00 42 00 00 4B 01", kKind781, "nelto 780 2010 found"},
        {"00 42 00 00 3A 01", kKind752, "nelto 752 found"},
        {"00 42 00 00 40 01", kKind745, "nelto 745 found"},
        {"00 42 00 00 2C 01", kKind711, "nelto 710 2018 found"},
        {"00 42 00 00 41 01", kKind746, "nelto 745 basic found"},
    });
    MessagePeer peer;
    World().serial_ports[L"COM5"].device = &peer;
    for (const CodeCase& row : kCases) {
        SCOPED_TRACE(row.line);
        InstallFakeMaker();
        World().serial_ports[L"COM5"].open_handles = 0;
        peer.answers[Hex("42")]                    = Hex(row.answer);
        const auto opened                          = Open(5);
        ASSERT_NE(opened, nullptr) << state_.last_error;
        EXPECT_EQ(opened->kind, row.kind);
        EXPECT_TRUE(Logged(row.line));
        EXPECT_EQ(Maker().calls[0], "StartLogging 1");
        EXPECT_EQ(Maker().calls[1], "OpenBluetoothFromPipe");

        const std::uint32_t handles = World().serial_ports[L"COM5"].open_handles;
        EXPECT_EQ(Nelto780Close(opened.get()), 0U);
        EXPECT_EQ(Maker().calls.back(), "Close 9");
        EXPECT_EQ(World().serial_ports[L"COM5"].open_handles, handles)
            << "the pipe's port is not the program's any more";
        EXPECT_FALSE(Logged("Connection closed (USB to nelto 780 2010)"));
    }
}

TEST_F(Search2010Test, APortThatNoPipeTakesIsClosed) {
    MessagePeer peer;
    peer.answers[Hex("42")]              = Hex("00 42 00 00 40 01");
    World().serial_ports[L"COM5"].device = &peer;
    for (const bool has_library : {true, false}) {
        Maker().gives_pipe = false;
        if (!has_library) RemoveLibrary(L"neltoRS232.dll");
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(Open(5), nullptr);
            EXPECT_STREQ(state_.last_error, "Nelto 780 Open: Error synchronizing clock");
            EXPECT_EQ(World().serial_ports[L"COM5"].open_handles, 0U);
        }
    }
}

TEST_F(Search2010Test, TheHeatingCheckIsNotAskedForOverTheBytesOfALink) {
    MessagePeer peer;
    peer.answers[Hex("42")]              = Hex("00 42 00 00 40 01");
    World().serial_ports[L"COM5"].device = &peer;
    for (const std::uint32_t communication : {std::uint32_t{kUsb}, std::uint32_t{5}}) {
        InstallFakeMaker();
        Maker().usb_devices[37] = 1;
        state_.communication    = communication;
        const auto opened       = OpenInstrumentConnection(state_);
        ASSERT_NE(opened, nullptr) << state_.last_error;
        const std::size_t requests = peer.requests.size();
        const std::size_t calls    = Maker().calls.size();
        ChannelTable heating_check{};
        EXPECT_NE(opened->ReadHeatingCheck(heating_check), 0U);
        EXPECT_EQ(peer.requests.size(), requests);
        EXPECT_EQ(Maker().calls.size(), calls);
        opened->Close();
    }
}

// Hours of searching.

TEST_F(Search2010Test, NothingGrowsWithLibrariesOrWithout) {
    for (int round = 0; round < 200; ++round) {
        Maker().usb_devices = {{37, 1}};
        const auto opened   = Open(kUsb);
        ASSERT_NE(opened, nullptr);
        Nelto780Close(opened.get());
        EXPECT_EQ(Nelto780Close(opened.get()), 0U);  // a second close finds nothing
        Maker().calls.clear();
        Maker().usb_devices.clear();
        EXPECT_EQ(Open(kUsb), nullptr);
        EXPECT_TRUE(Maker().CallsOf("Close") == 0);
    }
    for (const wchar_t* name : {L"nelto7XXE.dll", L"neltoEmUSB.dll"}) EXPECT_EQ(TimesLoaded(name), 1U);
    EXPECT_EQ(TimesLoaded(L"IDTEXTMAPPER_T780.DLL"), 0U);
    EXPECT_EQ(LoadsEver(L"IDTEXTMAPPER_T780.DLL"), 200U);

    platform::memory::ResetLibraries();
    for (int round = 0; round < 200; ++round) EXPECT_EQ(Open(kUsb), nullptr);
    EXPECT_STREQ(state_.last_error, "no supported nelto analyzer found at USB");
    InstallFakeMaker();  // and once they are there, they are found
    Maker().usb_devices = {{37, 1}};
    EXPECT_NE(Open(kUsb), nullptr);
}

}  // namespace
}  // namespace nelto::test
