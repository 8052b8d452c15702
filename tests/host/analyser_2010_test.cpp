#include "analyser_2010.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>

#include "scenario_2010.h"

namespace simulator {
namespace {

Analyser2010 Make(std::string_view scenario) {
    std::string error;
    auto data = ParseScenario2010(scenario, error);
    EXPECT_TRUE(data) << error;
    return Analyser2010(std::move(data).value_or(AnalyserData2010{}));
}

TEST(Analyser2010Test, TheBuiltInScenarioNamesAllItsValues) {
    const Analyser2010 analyser = Make(DefaultScenario2010Text());
    EXPECT_EQ(analyser.CurrentValues(0).size(), 12U);
    ASSERT_EQ(analyser.Data().cache.size(), 2U);
    for (const std::uint32_t position : {0U, 1U}) {
        const Analyser2010::Records cached = analyser.CachedValues(position, 0).value();
        for (const auto& record : cached) {
            EXPECT_FALSE(analyser.ViewText(u"en-US", record.ident).empty());
        }
    }
    for (const auto& record : analyser.CurrentValues(0))
        EXPECT_FALSE(analyser.ViewText(u"en-US", record.ident).empty());
    EXPECT_EQ(analyser.ViewText(u"de-DE", 0x0301), u"Zug");
    EXPECT_EQ(analyser.ViewText(u"fr-FR", 0x0301), u"Draft");
    EXPECT_NE(analyser.FindFuel(analyser.ActiveFuel()), nullptr);
    EXPECT_FALSE(analyser.CachedValues(2, 0));
}

TEST(Analyser2010Test, ValuesMoveAndGiveWayToTheirStatusWord) {
    const Analyser2010 analyser =
        Make("value 0x101 unit 1 value steps 10 80 -\nvalue 0x102 status 131 value steps 10 - 20.5");
    const auto first = analyser.CurrentValues(0);
    const auto later = analyser.CurrentValues(10000);
    EXPECT_EQ(std::bit_cast<float>(std::uint32_t{first[0].value}), 80.0F);
    EXPECT_EQ(std::uint32_t{first[1].value}, 131U);
    EXPECT_EQ(std::uint32_t{later[0].value}, 0xFFFFFFFFU);
    EXPECT_EQ(std::bit_cast<float>(std::uint32_t{later[1].value}), 20.5F);
}

TEST(Analyser2010Test, ErrorsComeAtTheirCalls) {
    Analyser2010 analyser =
        Make("error NELTO760SPI_Close 5 from 2 to 3\nerror NELTO760SPI_GetIdent 7\nerror NELTO760SPI_Close 6 from 5");
    constexpr std::array<std::uint32_t, 6> kOfClose = {0, 5, 5, 0, 6, 6};
    for (const std::uint32_t code : kOfClose) {
        EXPECT_EQ(analyser.Begin("NELTO760SPI_Close"), code);
        EXPECT_EQ(analyser.Begin("NELTO760SPI_GetIdent"), 7U);
    }
}

TEST(Analyser2010Test, TheBusHoldsTheKindsProductOrWhatTheScenarioSays) {
    const Analyser2010 analyser = Make("kind 760\ndevices 37 2\nunplugged 5 6");
    EXPECT_EQ(analyser.CountDevices(15, 0), 1U);
    EXPECT_EQ(analyser.CountDevices(37, 0), 2U);
    EXPECT_EQ(analyser.CountDevices(20, 0), 0U);
    EXPECT_EQ(analyser.CountDevices(15, 5500), 0U);
    EXPECT_EQ(Make("kind 781\ndevices 20 0").CountDevices(20, 0), 0U);
}

TEST(Analyser2010Test, WhatIsNotUnderstoodIsToldWithItsLine) {
    constexpr std::array kScenarios = {
        "kind 780",
        "colour 3",
        "error NELTO760SPI_Missing 3",
        "error NELTO760SPI_Close 0",
        "cached 0x101 value 3",
        "value 0x101 value",
        "firmware 2 256",
        "unplugged 5 5",
        "serial_number 1 2",
    };
    for (const char* scenario : kScenarios) {
        std::string error;
        EXPECT_FALSE(ParseScenario2010(std::string("seed 1\n") + scenario, error)) << scenario;
        EXPECT_TRUE(error.starts_with("line 2: ")) << error;
    }
}

}  // namespace
}  // namespace simulator
