// What the simulator says: one line an event, flushed, with the seconds since the start.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace simulator {

class Console {
public:
    /// Milliseconds since this object was made: the simulator's time.
    [[nodiscard]] std::uint64_t NowMs() const;

    void Tell(const std::string& line) const;

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace simulator
