// What one simulated analyser knows: filled by a scenario, read by the model.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "value_course.h"

namespace simulator {

/// From `from_ms` to before `to_ms`, counted from the start of the simulator.
struct TimeWindow {
    std::uint64_t from_ms = 0;
    std::uint64_t to_ms   = 0;

    [[nodiscard]] bool Contains(std::uint64_t now_ms) const { return from_ms <= now_ms && now_ms < to_ms; }
};

/// One value record of the analyser: a measured channel or an additional one.
struct Channel {
    std::uint32_t ident = 0;
    std::uint8_t unit   = 255;
    std::uint8_t format = 255;  // 0 whole number, 255 one decimal, 254 two, 253 three, 252 four
    ValueCourse value;
};

/// One entry of the list of visible view idents; `key` names its text.
struct VisibleIdent {
    std::uint32_t ident = 0;
    std::uint16_t key   = 0;
};

struct ViewText {
    std::uint16_t key = 0;
    std::u16string text;
};

struct Fuel {
    std::uint8_t number = 0;
    std::uint16_t key   = 0;
    float co2_max       = 0;  // percent
    float o2_reference  = 0;  // percent
};

struct CheckEntry {
    std::uint32_t ident = 0;
    std::uint16_t unit  = 255;
    std::uint8_t format = 255;
    std::vector<std::optional<float>> values;  // one a record
};

/// One stored list of the heating check; it has as many records as its longest entry has values.
struct CheckList {
    std::vector<CheckEntry> entries;

    [[nodiscard]] std::size_t RecordCount() const {
        std::size_t count = 0;
        for (const CheckEntry& entry : entries) count = entry.values.size() > count ? entry.values.size() : count;
        return count;
    }
};

constexpr std::uint16_t kCheckBlockType  = 21;
constexpr std::size_t kListsPerBlock     = 3;
constexpr std::uint16_t kCheckBlockBytes = 8 + 6 * kListsPerBlock;

/// One block of the heating check's view list; type 21 holds results.
struct CheckBlock {
    std::uint16_t type   = kCheckBlockType;
    std::uint16_t length = kCheckBlockBytes;  // as told on the wire; always kCheckBlockBytes are sent
    std::vector<CheckList> lists;             // at most kListsPerBlock
};

struct AnalyserData {
    unsigned model                       = 780;
    std::uint64_t seed                   = 1;
    std::uint8_t device_type             = 0;
    std::uint8_t firmware_major          = 1;
    std::uint8_t firmware_minor          = 0;  // shown in hexadecimal: version 1.23 has the minor 0x23
    std::uint32_t serial_number          = 0;
    std::uint8_t measuring_configuration = 4;
    std::uint8_t slave_mode              = 0;
    std::uint8_t active_fuel             = 0;
    std::u16string smoke_pump;
    std::vector<TimeWindow> zeroing;
    std::vector<Channel> channels;
    std::vector<Channel> additional;
    std::vector<VisibleIdent> visible;
    std::vector<ViewText> texts;
    std::vector<Fuel> fuels;
    std::vector<CheckBlock> check_blocks;
};

}  // namespace simulator
