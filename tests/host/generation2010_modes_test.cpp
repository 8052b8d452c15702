#include <array>
#include <set>

#include "generation2010_fixture.h"
#include "instrument/generation2010/fuel.h"

namespace nelto::test {
namespace {

using platform::memory::RemoveLibrary;

// Errors.

using Operation = std::uint32_t (*)(Analyser2010& opened, ChannelTable& channels);

struct FailureCase {
    Operation operation;
    const char* function;
    const char* line;
};

// clang-format off
constexpr Operation kSubTypeRead   = [](auto& opened, auto&) { return opened.GetSubType(); };
constexpr Operation kSlaveModeOff  = [](auto& opened, auto&) { return opened.SetSlaveMode(false); };
constexpr Operation kClock         = [](auto& opened, auto&) { return opened.SynchronizeClock(); };
constexpr Operation kWakeUp        = [](auto& opened, auto&) { return opened.WakeUp(); };
constexpr Operation kFuelChoice    = [](auto& opened, auto&) { return opened.SetActiveFuel(2); };
constexpr Operation kConfiguration = [](auto& opened, auto& channels) { return opened.ReadConfiguration(channels); };
constexpr Operation kValues        = [](auto& opened, auto& channels) { return opened.ReadValues(channels); };
// clang-format on

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
    {kConfiguration, "GetNumberOfCurrentViewValues", "NELTO760SPI_GetNumberOfCurrentViewValues: Error code -2"},
    {kConfiguration, "GetCurrentViewValues", "NELTO760SPI_GetCurrentViewValues: Error code -2"},
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
        Maker().Data().device_type    = 9;
        Maker().Data().cache          = {{Record(0x0101, 80.0F)}};
        Maker().Data().values         = {Record(0x0102, 1.0F)};
        Maker().results[row.function] = 0xFFFFFFFE;
        Connect(kKind781);
        EXPECT_EQ(row.operation(*analyser_, channels_), kBadAnswer);
        EXPECT_EQ(Maker().CallsOf(row.function), 1U);
        if (row.line != nullptr) EXPECT_TRUE(LogLines(kLog).back().ends_with(row.line)) << LogLines(kLog).back();
    }
}

TEST_F(Generation2010Test, FunctionsMayLieInEitherLibrary) {
    for (const auto& [name, function] : InstrumentFunctions()) {
        for (const bool alone : {true, false}) {
            std::set<std::string> first;
            for (const auto& other : InstrumentFunctions()) {
                if ((other.first == name) == alone) first.insert(other.first);
            }
            InstallFakeMaker();
            DivideInstrumentFunctions(first);
            Connect();
            EXPECT_EQ(analyser_->SynchronizeClock(), kDone) << name;
            EXPECT_EQ(analyser_->GetSubType(), kDone) << name;
            EXPECT_EQ(Configure(), kDone) << name;
            EXPECT_EQ(ReadValues(), kDone) << name;
            EXPECT_EQ(analyser_->SetSlaveMode(true) + analyser_->WakeUp() + analyser_->SetActiveFuel(1), kDone) << name;
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
    struct SubTypeCase {
        std::uint32_t device_type;
        const char16_t* name;
        std::uint32_t sub_type;
    };
    constexpr std::array kCases = std::to_array<SubTypeCase>({
        {0, u"NELTO 780-1HD F", 20},
        {1, u"NELTO 745", 1},
        {2, u"NELTO 745", 2},
        {3, u"NELTO 745", 20},
        {5, u"NELTO 780-1HD F", 3},
        {0x100, u"NELTO 780-2HD F", 4},
        {3, u"NELTO 780-1HD", 0},
        {3, u"nelto 745", 0},
        {0xFFFFFFFF, u"", 0},
    });
    for (const SubTypeCase& row : kCases) {
        SCOPED_TRACE(row.device_type);
        InstallFakeMaker();
        Maker().Data().device_type = row.device_type;
        Maker().Data().device_name = row.name;
        Connect();
        ASSERT_EQ(analyser_->GetSubType(), kDone);
        EXPECT_EQ(analyser_->SubType(), row.sub_type);
        EXPECT_EQ(Maker().CallsOf("GetDeviceName"), row.device_type < 3 ? 0U : 1U);
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

TEST_F(Generation2010Test, TheClockIsSetToLocalTime) {
    Connect();
    ASSERT_EQ(analyser_->SynchronizeClock(), kDone);
    EXPECT_EQ(Maker().calls, Lines{"SetDateTime 7 3 2011 14 5 9"});
    EXPECT_TRUE(Logged("SynchronizeClock2010"));
}

TEST_F(Generation2010Test, SlaveModeIsModeTwoAndWakingUpThree) {
    Connect();
    EXPECT_EQ(analyser_->SetSlaveMode(true), kDone);
    EXPECT_EQ(analyser_->SetSlaveMode(false), kDone);
    EXPECT_EQ(analyser_->WakeUp(), kDone);
    EXPECT_EQ(Maker().calls, (Lines{"SetDeviceMode 2", "SetDeviceMode 0", "SetShutdown 3"}));
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
        EXPECT_EQ(analyser_->SetActiveFuel(number), kDone);
        EXPECT_TRUE(Logged("SetActualFuel. FuelID = " + std::to_string(number)));
        if (expected == 0) {
            EXPECT_TRUE(Maker().calls.empty());
        } else {
            EXPECT_EQ(Maker().calls, Lines{"SetActiveFuelID " + std::to_string(expected)});
            EXPECT_EQ(FuelNumberOf(expected), number);
        }
    }
}

}  // namespace
}  // namespace nelto::test
