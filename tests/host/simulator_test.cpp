// The simulated analyser's side of the block frame, and the scenario files.
#include "block_session.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "scenario.h"
#include "scenario_2010.h"

namespace simulator {
namespace {

TEST(BlockSession, LaterBlocksOfALateReplyComeByThemselvesAndBeforeTheNextAnswer) {
    Analyser2004 analyser({});
    FaultScript faults({{.kind = FaultKind::kDelay, .amount = 3000, .request = 1},
                        {.kind = FaultKind::kUnasked, .amount = 200, .request = 1},
                        {.kind = FaultKind::kSilence, .from = 3}});
    BlockSession session(analyser, faults, 4, [](const std::string&) {});
    std::vector<std::string> sent;  // time of each block, and command of the first one of a reply
    const auto ask = [&](std::uint8_t command, std::uint64_t now_ms) {
        std::array<std::uint8_t, nelto::kMaxBlockSize> room;
        const std::uint8_t request[] = {command};
        const std::size_t size       = nelto::BuildBlock(room, nelto::kProgramStart, 0, 1, request);
        session.Receive(Bytes(room).first(size), now_ms);
    };
    for (std::uint64_t now_ms = 0; now_ms <= 5000; now_ms += 100) {
        if (now_ms == 0) ask(0x42, now_ms);
        if (now_ms == 3100) ask(0x53, now_ms);
        if (now_ms == 4000) ask(0x42, now_ms);
        while (const auto block = session.TakeOutput(now_ms)) {
            const bool begins = (*block)[2] == 0;
            sent.push_back(std::to_string(now_ms) + (begins ? " begins " + std::to_string((*block)[7]) : ""));
        }
    }
    EXPECT_EQ(sent, (std::vector<std::string>{"3000 begins 66", "3200", "3400", "3400 begins 83"}));
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
    for (int depth = 1; depth <= 8; ++depth) {
        write(std::to_string(depth) + ".txt", "include \"" + std::to_string(depth - 1) + ".txt\"");
    }
    write("circle.txt", "include default\ninclude \"circle.txt\"");
    const std::array<std::pair<std::string, std::string>, 6> cases = {{
        {"0.txt", "line 2: unknown word \"colour\""},
        {"1.txt", "line 1: " + folder + "0.txt line 2: unknown word \"colour\""},
        {"8.txt", "too many scenarios inside each other"},
        {"circle.txt", "line 2: " + folder + "circle.txt includes itself"},
        {"include \"none.txt\"", "line 1: " + folder + "none.txt cannot be read"},
        {"include nothing", "line 1: no scenario \"nothing\" is built in"},
    }};
    for (const auto& [name, reason] : cases) {
        std::string error;
        EXPECT_FALSE(name.ends_with(".txt") ? LoadScenario(folder + name, error) : ParseScenario(name, error, folder));
        EXPECT_TRUE(error.ends_with(reason)) << error;
    }
}

}  // namespace
}  // namespace simulator
