// The simulated analysers and their scenario files.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "block_session.h"
#include "options.h"
#include "scenario.h"
#include "scenario_2010.h"

namespace simulator {
namespace {

TEST(BlockSession, LaterBlocksOfALateReplyComeByThemselvesAndBeforeTheNextAnswer) {
    const std::vector<Fault> faults = {{.kind = FaultKind::kDelay, .amount = 3000, .request = 1},
                                       {.kind = FaultKind::kUnasked, .amount = 200, .request = 1},
                                       {.kind = FaultKind::kSilence, .from = 3}};
    BlockSession session(std::make_shared<ScriptedAnalyser>(AnalyserData{}, faults), 4, [](const std::string&) {});
    std::vector<std::string> sent;  // time of each block, and command of the first one of a reply
    const auto ask = [&](std::uint8_t command, std::uint64_t now_ms) {
        std::array<std::uint8_t, nelto::kMaxBlockSize> room;
        const std::uint8_t request[] = {command};
        const std::size_t size       = nelto::BuildBlock(room, nelto::kProgramStart, 0, 1, request);
        session.Receive(Bytes(room).first(size), now_ms);
    };
    for (std::uint64_t now_ms = 0; now_ms <= 5000; now_ms += 100) {
        if (now_ms == 0 || now_ms == 4000) ask(0x42, now_ms);
        if (now_ms == 3100) ask(0x53, now_ms);
        while (const auto block = session.TakeOutput(now_ms)) {
            const bool begins = (*block)[2] == 0;
            sent.push_back(std::to_string(now_ms) + (begins ? " begins " + std::to_string((*block)[7]) : ""));
        }
    }
    EXPECT_EQ(sent, (std::vector<std::string>{"3000 begins 66", "3200", "3400", "3400 begins 83"}));
}

// The analyser of generation 2010.

TEST(Analyser2010Test, WhatIsNotUnderstoodIsToldWithItsLine) {
    const auto fault = [](const std::string& scenario) {
        std::string error;
        EXPECT_FALSE(ParseScenario2010("seed 1\n" + scenario, error)) << scenario;
        return error;
    };
    for (const char* scenario :
         {"kind 780", "colour 3", "error NELTO760SPI_Missing 3", "error NELTO760SPI_Close 0", "cached 0x101 value 3",
          "value 0x101 value", "firmware 2 256", "unplugged 5 5", "serial_number 1 2"}) {
        EXPECT_TRUE(fault(scenario).starts_with("line 2: ")) << scenario;
    }
    EXPECT_EQ(fault("fuel 100 \"Oil\"\nfuel 100 \"Gas\""), "line 3: fuel 100 stands twice");
    EXPECT_EQ(fault("fuel 100 \"Oil\"\nactive_fuel 104"), "at the end: the active fuel is not among the fuels");
    std::string error;
    EXPECT_TRUE(ParseScenario2010("\xEF\xBB\xBF#\nfuel 100 \"Oil\"", error)) << error;  // with a byte-order mark
}

// The command line.

TEST(Options, IdentAndSeedMakeAnotherAnalyser) {
    const auto noise = [](const std::string& seed) {
        std::array<std::string, 7> words = {"nelto-simulator", "--port", "COM6", "--ident", "790", "--seed", seed};
        std::array<char*, words.size()> pointers{};
        std::ranges::transform(words, pointers.begin(), [](std::string& word) { return word.data(); });
        AnalyserData analyser;
        ApplyOptions(ReadOptions(pointers).value_or(Options{}), analyser);
        EXPECT_EQ(analyser.model, 790U);
        return ValueAt({.steps = {20.0F}, .noise = 1}, analyser.seed, 0, 5000);
    };
    EXPECT_EQ(noise("7"), noise("7"));
    EXPECT_NE(noise("7"), noise("8"));
}

// Scenario files.

TEST(ScenarioFile, EachShippedOneCanBeRead) {
    std::size_t channels = 0;
    for (const auto& file : std::filesystem::directory_iterator(SCENARIOS)) {
        const std::string path = file.path().string();
        std::string error;
        if (file.path().stem() == "generation2010") {
            EXPECT_TRUE(LoadScenario2010(path, error)) << path << ": " << error;
            continue;
        }
        const auto scenario = LoadScenario(path, error);
        ASSERT_TRUE(scenario) << path << ": " << error;
        channels += scenario->analyser.channels.size();
    }
    EXPECT_EQ(channels, 40 + 70 + 9 + 5 * 16 + 9U) << "with what they include";
}

TEST(ScenarioFile, WhatCannotBeIncludedIsToldWithItsFileAndLine) {
    const std::string folder = testing::TempDir();
    const auto write         = [&](const std::string& name, const std::string& text) {
        std::ofstream(folder + name, std::ios::binary) << text;
    };
    write("0.txt", "ident 780\ncolour 3");
    for (int depth = 1; depth <= 8; ++depth)
        write(std::to_string(depth) + ".txt", "include \"" + std::to_string(depth - 1) + ".txt\"");
    write("circle.txt", "include default\ninclude \"circle.txt\"");
    const std::pair<std::string, std::string> cases[] = {
        {"0.txt", "line 2: unknown word \"colour\""},
        {"1.txt", "line 1: " + folder + "0.txt line 2: unknown word \"colour\""},
        {"8.txt", "too many scenarios inside each other"},
        {"circle.txt", "line 2: " + folder + "circle.txt includes itself"},
        {"include \"none.txt\"", "line 1: " + folder + "none.txt cannot be read"},
        {"include nothing", "line 1: no scenario \"nothing\" is built in"}};
    for (const auto& [name, reason] : cases) {
        std::string error;
        EXPECT_FALSE(name.ends_with(".txt") ? LoadScenario(folder + name, error) : ParseScenario(name, error, folder));
        EXPECT_TRUE(error.ends_with(reason)) << error;
    }
}

}  // namespace
}  // namespace simulator
