// The course of one quantity: a number or a gap for each second, kept in blocks that exist only where something was recorded.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "core/channel_table.h"

namespace nelto {

/// What stands at a second without value. Recorded values are finite.
constexpr float kGap = std::numeric_limits<float>::quiet_NaN();

constexpr std::uint32_t kBlockSeconds = 256;

/// What tells the courses apart: a quantity in another unit has a course of its own.
struct CourseKey {
    std::uint32_t view_ident                      = kFreeRecord;
    std::uint32_t unit                            = 0;
    bool operator==(const CourseKey& other) const = default;
};

/// How a course is called and written; as the latest record had it.
struct CourseName {
    std::uint32_t resolution = 0;
    std::array<wchar_t, kChannelTextSize> label{};
};

class CourseSeries {
public:
    explicit CourseSeries(const CourseKey& key) : key_(key) {}

    [[nodiscard]] const CourseKey& Key() const { return key_; }
    [[nodiscard]] const CourseName& Name() const { return name_; }
    void Rename(const ChannelRecord& record);

    /// The value at the second, or a gap.
    [[nodiscard]] float At(std::uint32_t second) const;
    /// The values from `begin` on.
    void Copy(std::uint32_t begin, std::span<float> values) const;

    /// True when the block of the second exists.
    [[nodiscard]] bool HasRoom(std::uint32_t second) const;
    /// Sets the value; makes the block where there is none. Seconds come in rising order of blocks.
    void Set(std::uint32_t second, float value);

    /// Forgets the blocks before this one; returns how many there were.
    std::size_t DropBefore(std::uint32_t block);
    [[nodiscard]] bool IsEmpty() const { return blocks_.empty(); }
    /// The number of the earliest block; the series is not empty.
    [[nodiscard]] std::uint32_t FirstBlock() const { return blocks_.front().number; }
    [[nodiscard]] std::size_t Bytes() const;

private:
    using Values = std::array<float, kBlockSeconds>;
    struct Block {
        std::uint32_t number = 0;  // its first second, divided by kBlockSeconds
        std::unique_ptr<Values> values;
    };

    [[nodiscard]] const Values* Find(std::uint32_t block) const;

    CourseKey key_;
    CourseName name_;
    std::vector<Block> blocks_;  // by rising number
};

}  // namespace nelto
