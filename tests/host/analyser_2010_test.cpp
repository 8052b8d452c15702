#include "analyser_2010.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <utility>

#include "scenario_2010.h"

namespace simulator {
namespace {

Analyser2010 Make(std::string_view scenario) {
    std::string error;
    auto data = ParseScenario2010(scenario, error);
    EXPECT_TRUE(data) << error;
    return Analyser2010(std::move(data).value_or(AnalyserData2010{}));
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

TEST(Analyser2010Test, FuelsAreRefusedTwiceOrWithoutTheActiveOne) {
    constexpr std::array kScenarios = {
        std::pair{"fuel 100 \"Oil\"\nfuel 100 \"Gas\"", "line 2: fuel 100 stands twice"},
        std::pair{"fuel 100 \"Oil\"\nactive_fuel 104", "at the end: the active fuel is not among the fuels"},
    };
    for (const auto& [scenario, reason] : kScenarios) {
        std::string error;
        EXPECT_FALSE(ParseScenario2010(scenario, error));
        EXPECT_EQ(error, reason);
    }
    Make(
        "\xEF\xBB\xBF"
        "fuel 100 \"Oil\"");  // with a byte-order mark
}

}  // namespace
}  // namespace simulator
