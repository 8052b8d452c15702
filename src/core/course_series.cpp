#include "core/course_series.h"

#include <algorithm>

namespace nelto {

void CourseSeries::Rename(const ChannelRecord& record) {
    name_ = {.resolution = record.resolution, .label = record.label};
}

const CourseSeries::Values* CourseSeries::Find(std::uint32_t block) const {
    const auto found = std::ranges::lower_bound(blocks_, block, {}, &Block::number);
    return found == blocks_.end() || found->number != block ? nullptr : found->values.get();
}

float CourseSeries::At(std::uint32_t second) const {
    const Values* values = Find(second / kBlockSeconds);
    return values == nullptr ? kGap : (*values)[second % kBlockSeconds];
}

void CourseSeries::Copy(std::uint32_t begin, std::span<float> values) const {
    while (!values.empty()) {
        const std::uint32_t first = begin % kBlockSeconds;
        const std::size_t count   = std::min<std::size_t>(values.size(), kBlockSeconds - first);
        const Values* block       = Find(begin / kBlockSeconds);
        if (block != nullptr) std::copy_n(block->begin() + first, count, values.begin());
        if (block == nullptr) std::ranges::fill(values.first(count), kGap);
        values = values.subspan(count);
        begin += static_cast<std::uint32_t>(count);
    }
}

bool CourseSeries::HasRoom(std::uint32_t second) const { return Find(second / kBlockSeconds) != nullptr; }

void CourseSeries::Set(std::uint32_t second, float value) {
    if (!HasRoom(second)) {
        blocks_.push_back({.number = second / kBlockSeconds, .values = std::make_unique<Values>()});
        blocks_.back().values->fill(kGap);
    }
    (*blocks_.back().values)[second % kBlockSeconds] = value;
}

std::size_t CourseSeries::DropBefore(std::uint32_t block) {
    return std::erase_if(blocks_, [block](const Block& candidate) { return candidate.number < block; });
}

std::size_t CourseSeries::Bytes() const {
    return sizeof *this + blocks_.capacity() * sizeof(Block) + blocks_.size() * sizeof(Values);
}

}  // namespace nelto
