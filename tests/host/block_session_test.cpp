// The simulated analyser's side of the block frame.
#include "block_session.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

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

}  // namespace
}  // namespace simulator
