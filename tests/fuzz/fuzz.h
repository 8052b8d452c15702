// What the fuzzers share: the input, and what holds for every table.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "core/channel_table.h"
#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_irda_socket.h"
#include "platform/memory/memory_platform.h"

namespace nelto::test {

using namespace platform::memory;
using ByteSpan = std::span<const std::uint8_t>;

/// What holds for every input; ends the run where it does not.
inline void Require(bool condition) {
    if (!condition) std::abort();
}

/// A world of its own for a run, in which nothing is kept that is only written.
inline World& FreshWorld() {
    ResetWorld();
    ResetIrdaWorld();
    TheWorld().keeps_texts = false;
    TheWorld().hurries     = true;
    return TheWorld();
}

/// The calls whose bits are set in `chosen` fail; the n-th bit stands for the n-th row.
template <std::size_t kSize>
void FailCalls(std::uint32_t chosen, const std::array<Call, kSize>& calls) {
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if ((chosen >> i & 1U) != 0) AlwaysFail(calls[i]);
    }
}

/// The input of one run, taken from its front; where nothing is left there are zeros.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

    [[nodiscard]] bool IsEmpty() const { return bytes_.empty(); }

    /// At most `count` bytes.
    ByteSpan Take(std::size_t count) {
        const ByteSpan taken = bytes_.first(std::min(count, bytes_.size()));
        bytes_               = bytes_.subspan(taken.size());
        return taken;
    }
    /// A number or record as it lies in memory.
    template <typename Type>
    Type Take() {
        Type value{};
        const ByteSpan bytes = Take(sizeof(value));
        if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }
    std::uint8_t Byte() { return Take<std::uint8_t>(); }
    /// One length byte, then the characters, two bytes each.
    std::wstring Text() {
        std::wstring text(Byte(), L'\0');
        for (wchar_t& letter : text) letter = Take<std::uint16_t>();
        return text;
    }

private:
    ByteSpan bytes_;
};

/// What holds for the table whatever was read: texts end inside their fields and value types are known.
inline void CheckTable(const ChannelTable& table) {
    for (const ChannelRecord& record : table) {
        Require(record.label.back() == L'\0' && record.text.back() == L'\0' && record.value_type <= kText);
    }
}

}  // namespace nelto::test
