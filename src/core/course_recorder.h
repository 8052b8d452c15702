// Keeps the course of all numbers that are measured, second by second, for the window that plots them and the file that they
// are saved to. Dialog thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "core/course_series.h"
#include "core/local_time.h"
#include "core/measurement.h"

namespace nelto {

/// No more is kept: a day, and 8 MiB of values, which are nine hours of 64 channels. What is oldest goes first.
constexpr std::uint32_t kKeptSeconds = 24 * 60 * 60;
constexpr std::size_t kMostBlocks    = 8192;
/// An analyser on a slow line is read less often than once a second: for so many seconds a value stands for the next ones.
constexpr std::uint32_t kLongestHold = 5;

class CourseRecorder {
public:
    /// Once a second or so, before anything is recorded: `tick` is the tick count in milliseconds, `time` the local calendar.
    void Advance(std::uint32_t tick, const platform::CalendarTime& time);
    /// Takes the numbers of a measurement that is not the one taken last. Seconds between it and the one before take the values of
    /// that one, unless there was an interruption, another analyser, or too long a wait: then they are a gap.
    void Record(const Measurement& measurement);
    /// The connection is broken or the analyser has no values.
    void Interrupt() { is_joined_ = false; }

    [[nodiscard]] std::span<const CourseSeries> Series() const { return series_; }
    /// The second that is now, of the axis that all courses share.
    [[nodiscard]] std::uint32_t Now() const { return now_; }
    /// The second of the latest measurement, and the earliest one that may have values; without any measurement both are 0.
    [[nodiscard]] std::uint32_t Last() const { return last_; }
    [[nodiscard]] std::uint32_t First() const { return std::max(begin_, FirstBlock() * kBlockSeconds); }
    /// The values of the latest seconds, now the last; what was before the first second is a gap.
    void CopyLatest(const CourseSeries& series, std::span<float> values) const;
    /// The local time of a second: by the clock as it was then.
    [[nodiscard]] LocalSecond LocalTimeOf(std::uint32_t second) const;
    /// Memory that the courses take.
    [[nodiscard]] std::size_t Bytes() const;

private:
    /// From this second on, local time is so much ahead of the axis.
    struct Clock {
        std::uint32_t second = 0;
        LocalSecond ahead    = 0;
    };

    void HoldLastValues();
    void RecordValue(const ChannelRecord& record);
    void Set(CourseSeries& series, std::uint32_t second, float value);
    /// The earliest block of all courses.
    [[nodiscard]] std::uint32_t FirstBlock() const;
    void DropBefore(std::uint32_t block);
    void MakeRoom();

    std::vector<CourseSeries> series_;
    std::size_t block_count_ = 0;
    std::vector<Clock> clocks_;
    std::uint32_t tick_    = 0;
    std::uint64_t elapsed_ = 0;  // milliseconds since the first advance
    std::uint32_t now_     = 0;
    std::uint32_t begin_   = 0;  // of the first measurement
    std::uint32_t last_    = 0;
    std::uint32_t version_ = 0;  // of the measurement taken last; 0 before the first
    bool is_joined_        = false;
    AnalyserIdentity analyser_;
};

}  // namespace nelto
