#include "console.h"

#include <cstdio>

namespace simulator {

std::uint64_t Console::NowMs() const {
    const auto passed = std::chrono::steady_clock::now() - start_;
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
}

void Console::Tell(const std::string& line) const {
    std::printf("%9.3f %s\n", static_cast<double>(NowMs()) / 1000.0, line.c_str());
    std::fflush(stdout);
}

}  // namespace simulator
