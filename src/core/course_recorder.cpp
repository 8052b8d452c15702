#include "core/course_recorder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace nelto {
namespace {

/// Blocks that one measurement can begin: each channel one for itself and one for the seconds before it.
constexpr std::size_t kBlocksPerMeasurement = 2 * kChannelCapacity;

bool IsCourseValue(const ChannelRecord& record) { return record.value_type == kNumber && std::isfinite(record.value); }

}  // namespace

void CourseRecorder::Advance(std::uint32_t tick, const platform::CalendarTime& time) {
    if (!clocks_.empty()) elapsed_ += tick - tick_;  // also when the count wraps
    tick_ = tick;
    now_  = static_cast<std::uint32_t>(elapsed_ / 1000);
    // Two clocks that tick apart are up to a second off; more means that one of them was set.
    const LocalSecond ahead = ToLocalSecond(time) - now_;
    if (clocks_.empty() || std::llabs(ahead - clocks_.back().ahead) > 1) clocks_.push_back({now_, ahead});
    if (now_ > kKeptSeconds) DropBefore((now_ - kKeptSeconds) / kBlockSeconds);
}

void CourseRecorder::Record(const Measurement& measurement) {
    if (measurement.version == version_) return;
    const AnalyserIdentity identity = IdentityOf(measurement);
    if (identity != analyser_) Interrupt();
    // After an interruption one second at least stays empty; the measurement is still there in the next.
    if (!is_joined_ && version_ != 0 && now_ <= last_ + 1) return;
    MakeRoom();
    HoldLastValues();
    for (const ChannelRecord& record : UsedRecords(measurement.channels)) {
        if (IsCourseValue(record) && IsHandedOn(record, measurement)) RecordValue(record);
    }
    analyser_ = identity;
    if (version_ == 0) begin_ = now_;
    version_   = measurement.version;
    last_      = now_;
    is_joined_ = true;
}

void CourseRecorder::HoldLastValues() {
    if (!is_joined_ || now_ - last_ > kLongestHold) return;
    for (CourseSeries& series : series_) {
        const float value = series.At(last_);
        if (std::isnan(value)) continue;
        for (std::uint32_t second = last_ + 1; second < now_; ++second) Set(series, second, value);
    }
}

void CourseRecorder::RecordValue(const ChannelRecord& record) {
    const CourseKey key{.view_ident = record.view_ident, .unit = record.unit};
    auto series = std::ranges::find(series_, key, &CourseSeries::Key);
    if (series == series_.end()) {
        if (block_count_ == kMostBlocks) return;
        series = series_.insert(series_.end(), CourseSeries(key));
    }
    series->Rename(record);
    Set(*series, now_, record.value);
}

/// A value that finds all memory taken by its own moment is not kept.
void CourseRecorder::Set(CourseSeries& series, std::uint32_t second, float value) {
    if (!series.HasRoom(second)) {
        if (block_count_ == kMostBlocks) return;
        ++block_count_;
    }
    series.Set(second, value);
}

void CourseRecorder::MakeRoom() {
    while (block_count_ + kBlocksPerMeasurement > kMostBlocks) {
        const std::uint32_t oldest = FirstBlock();
        if (oldest == now_ / kBlockSeconds) return;
        DropBefore(oldest + 1);
    }
}

void CourseRecorder::DropBefore(std::uint32_t block) {
    for (CourseSeries& series : series_) block_count_ -= series.DropBefore(block);
    std::erase_if(series_, [](const CourseSeries& series) { return series.IsEmpty(); });
    while (clocks_.size() > 1 && clocks_[1].second <= block * kBlockSeconds) clocks_.erase(clocks_.begin());
}

std::uint32_t CourseRecorder::FirstBlock() const {
    std::uint32_t block = last_ / kBlockSeconds;
    for (const CourseSeries& series : series_) block = std::min(block, series.FirstBlock());
    return block;
}

void CourseRecorder::CopyLatest(const CourseSeries& series, std::span<float> values) const {
    const std::size_t known = std::min<std::size_t>(values.size(), now_ + 1U);
    std::ranges::fill(values.first(values.size() - known), kGap);
    series.Copy(now_ + 1 - static_cast<std::uint32_t>(known), values.last(known));
}

LocalSecond CourseRecorder::LocalTimeOf(std::uint32_t second) const {
    const auto later = std::ranges::upper_bound(clocks_, second, {}, &Clock::second);
    const auto clock = later == clocks_.begin() ? later : later - 1;
    return clock == clocks_.end() ? second : clock->ahead + second;
}

std::size_t CourseRecorder::Bytes() const {
    std::size_t bytes = sizeof *this + clocks_.capacity() * sizeof(Clock) +
                        (series_.capacity() - series_.size()) * sizeof(CourseSeries);
    for (const CourseSeries& series : series_) bytes += series.Bytes();
    return bytes;
}

}  // namespace nelto
