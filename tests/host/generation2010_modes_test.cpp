#include <tuple>

#include "generation2010_fixture.h"
#include "instrument/generation2010/translation.h"

namespace nelto::test {
namespace {

using platform::memory::RemoveLibrary;

// Errors.

using Operation = std::uint32_t (*)(Analyser2010& opened, ChannelTable& channels);

// clang-format off
constexpr Operation kSubTypeRead   = [](auto& opened, auto&) { return opened.GetSubType(); };
constexpr Operation kSlaveModeOff  = [](auto& opened, auto&) { return opened.SetSlaveMode(false); };
constexpr Operation kClock         = [](auto& opened, auto&) { return opened.SynchronizeClock(); };
constexpr Operation kWakeUp        = [](auto& opened, auto&) { return opened.WakeUp(); };
constexpr Operation kFuelChoice    = [](auto& opened, auto&) { return opened.SetActiveFuel(2); };
constexpr Operation kConfiguration = [](auto& opened, auto& channels) { return opened.ReadConfiguration(channels); };
constexpr Operation kValues        = [](auto& opened, auto& channels) { return opened.ReadValues(channels); };
// clang-format on

constexpr std::tuple<Operation, const char*, const char*> kFailures[] = {
    {kSubTypeRead, "GetDeviceType", "NELTO760SPI_GetDeviceType: Error code -2"},
    {kSubTypeRead, "GetDeviceName", "NELTO760SPI_GetDeviceName: Error code -2"},
    {kSlaveModeOff, "SetDeviceMode", "NELTO760SPI_SetDeviceMode: Error code -2"},
    {kClock, "SetDateTime", "NELTO760SPI_SetDateTime: Error code -2"},
    {kWakeUp, "SetShutdown", "NELTO760SPI_Shutdown: Error code -2"},
    {kFuelChoice, "SetActiveFuelID", "SetActualFuel. FuelID = 2"},
    {kConfiguration, "GetMeasCacheCounter", "Invalid response GetMeasCacheCounter"},
    {kConfiguration, "GetMeasCacheNumberOfValues", "Invalid response GetMeasCacheNumberOfValues"},
    {kConfiguration, "GetMeasCacheValues", "Invalid response GetMeasCacheValues"},
    {kConfiguration, "GetNumberOfCurrentViewValues", "NELTO760SPI_GetNumberOfCurrentViewValues: Error code -2"},
    {kConfiguration, "GetCurrentViewValues", "NELTO760SPI_GetCurrentViewValues: Error code -2"},
    {kConfiguration, "GetCurrentMeasurement", "NELTO760SPI_GetCurrentMeasurement failed"},
    {kConfiguration, "SetCurrentMeasurement", "NELTO760SPI_SetCurrentMeasurement failed"},
    {kConfiguration, "GetActiveFuelID", "NELTO760SPI_GetActiveFuelID failed"},
    {kConfiguration, "GetDeviceType", "NELTO760SPI_GetDeviceType failed"},
    {kConfiguration, "GetFirmwareVersion", "NELTO760SPI_GetFirmwareVersion failed"},
    {kConfiguration, "GetSerialNumberBox", "NELTO760SPI_GetSerialNumberBox failed"},
    {kConfiguration, "GetSmokePumpNumber", "NELTO760SPI_GetSmokePumpNumber failed"},
    {kValues, "GetNumberOfCurrentViewValues", ""},
    {kValues, "GetCurrentViewValues", ""}};

TEST_F(Generation2010Test, EachErrorOfALibraryIsABadAnswerWithItsLine) {
    for (const auto& [operation, function, line] : kFailures) {
        SCOPED_TRACE(function);
        InstallFakeMaker();
        Maker().Data().device_type = 9;
        Maker().Data().cache       = {{Record(0x0101, 80.0F)}};
        Maker().Data().values      = {Record(0x0102, 1.0F)};
        Maker().results[function]  = 0xFFFFFFFE;
        Connect(kKind781);
        EXPECT_EQ(operation(*analyser_, channels_), kBadAnswer);
        EXPECT_EQ(Maker().CallsOf(function), 1U);
        EXPECT_TRUE(LogLines(kLog).back().ends_with(line)) << LogLines(kLog).back();
    }
}

TEST_F(Generation2010Test, FunctionsMayLieInEitherLibrary) {
    for (const auto& [name, function] : InstrumentFunctions()) {
        for (const bool alone : {true, false}) {
            SCOPED_TRACE(name);
            InstallFakeMaker();
            DivideInstrumentFunctions(name, alone);
            Connect();
            EXPECT_EQ(analyser_->SynchronizeClock() + analyser_->GetSubType() + Configure(), kDone);
            EXPECT_EQ(ReadValues() + analyser_->SetSlaveMode(true) + analyser_->WakeUp(), kDone);
            EXPECT_EQ(analyser_->SetActiveFuel(1), kDone);
        }
    }
}

TEST_F(Generation2010Test, AMissingLibraryOrFunctionIsAnErrorWithItsCode) {
    platform::memory::InstallLibrary(L"nelto7XXE.dll", {});
    Connect();
    EXPECT_EQ(analyser_->SynchronizeClock(), kBadAnswer);
    EXPECT_TRUE(Logged("NELTO760SPI_SetDateTime: Error code 127"));

    analyser_.reset();
    platform::memory::ResetLibraries();
    Connect();
    EXPECT_EQ(analyser_->SynchronizeClock(), kBadAnswer);
    EXPECT_TRUE(Logged("NELTO760SPI_SetDateTime: Error code 126"));
    EXPECT_EQ(Configure(), kBadAnswer);
    EXPECT_EQ(ReadValues(), kBadAnswer);
}

// Modes.

TEST_F(Generation2010Test, SubTypes) {
    constexpr std::tuple<std::uint32_t, const char16_t*, std::uint32_t> kCases[] = {
        {0, u"NELTO 780-1HD F", 20}, {1, u"NELTO 745", 1},       {2, u"NELTO 745", 2},
        {3, u"NELTO 745", 20},       {5, u"NELTO 780-1HD F", 3}, {0x100, u"NELTO 780-2HD F", 4},
        {3, u"NELTO 780-1HD", 0},    {3, u"nelto 745", 0},       {0xFFFFFFFF, u"", 0}};
    for (const auto& [device_type, name, sub_type] : kCases) {
        SCOPED_TRACE(device_type);
        InstallFakeMaker();
        Maker().Data().device_type = device_type;
        Maker().Data().device_name = name;
        Connect();
        ASSERT_EQ(analyser_->GetSubType(), kDone);
        EXPECT_EQ(analyser_->SubType(), sub_type);
        EXPECT_EQ(Maker().CallsOf("GetDeviceName"), device_type < 3 ? 0U : 1U);
    }
    EXPECT_TRUE(Logged("NELTO760SPI_GetDeviceType: -1"));

    Maker().Data().device_type = 2;
    EXPECT_EQ(analyser_->GetSubType(), kDone);
    Maker().Data().device_type       = 5;
    Maker().results["GetDeviceName"] = 1;
    EXPECT_EQ(analyser_->GetSubType(), kBadAnswer);
    EXPECT_EQ(analyser_->SubType(), 0U);
}

TEST_F(Generation2010Test, ANameThatFillsItsBufferIsEnded) {
    Maker().Data().device_type = 3;
    Maker().Data().device_name = std::u16string(500, u'n');
    Connect();
    ASSERT_EQ(analyser_->GetSubType(), kDone);
    EXPECT_TRUE(Logged("NELTO760SPI_GetDeviceName: " + std::string(128, 'n')));
}

TEST_F(Generation2010Test, TheClockIsSetToLocalTimeSlaveModeIsModeTwoAndWakingUpThree) {
    Connect();
    EXPECT_EQ(analyser_->SynchronizeClock(), kDone);
    EXPECT_EQ(analyser_->SetSlaveMode(true), kDone);
    EXPECT_EQ(analyser_->SetSlaveMode(false), kDone);
    EXPECT_EQ(analyser_->WakeUp(), kDone);
    EXPECT_EQ(Maker().calls,
              (Lines{"SetDateTime 7 3 2011 14 5 9", "SetDeviceMode 2", "SetDeviceMode 0", "SetShutdown 3"}));
    for (const char* line : {"SynchronizeClock2010", "CNelto780Base2010::SetSlaveMode", "SetSlaveMode2010 OK"}) {
        EXPECT_TRUE(Logged(line)) << line;
    }
}

// Fuels.

TEST_F(Generation2010Test, FuelNumbersAndLibraryFuels) {
    constexpr std::uint32_t kLibraryFuels[] = {0, 0, 100, 104, 114, 113, 107, 108, 103, 111, 112, 0, 121, 0, 0};
    Connect();
    std::int32_t number = -2;
    for (const std::uint32_t expected : kLibraryFuels) {
        SCOPED_TRACE(++number);
        Maker().calls.clear();
        EXPECT_EQ(analyser_->SetActiveFuel(number), kDone);
        EXPECT_TRUE(Logged("SetActualFuel. FuelID = " + std::to_string(number)));
        EXPECT_EQ(Maker().calls, expected == 0 ? Lines{} : Lines{"SetActiveFuelID " + std::to_string(expected)});
        if (expected != 0) EXPECT_EQ(FuelNumberOf(expected), number);
    }
}

}  // namespace
}  // namespace nelto::test
