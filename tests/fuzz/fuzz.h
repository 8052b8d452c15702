// What the fuzzers share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

namespace nelto::test {

inline void Require(bool condition) {
    if (!condition) std::abort();
}

/// The input of one run, taken from its front; where nothing is left there are zeros.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

    [[nodiscard]] bool IsEmpty() const { return bytes_.empty(); }

    /// At most `count` bytes.
    std::vector<std::uint8_t> Take(std::size_t count) {
        const auto taken = bytes_.first(std::min(count, bytes_.size()));
        bytes_           = bytes_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }
    /// A number or record as it lies in memory.
    template <typename Type>
    Type Take() {
        Type value{};
        const auto bytes = Take(sizeof(value));
        std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(&value));
        return value;
    }
    std::uint8_t Byte() { return Take<std::uint8_t>(); }

private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace nelto::test
