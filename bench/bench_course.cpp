// What the recorder of the courses costs: a second of it, and an hour.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

#include "core/course_recorder.h"
#include "core/course_view.h"
#include "figures.h"

namespace {

using namespace nelto;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kChannels = 20;
constexpr std::uint32_t kHour     = 3600;

double MicroSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

/// The next second's measurement: every value moves.
void Move(Measurement& measurement) {
    ++measurement.version;
    for (std::uint32_t index = 0; index < kChannels; ++index) {
        ChannelRecord& record = measurement.channels[index];
        record       = {.view_ident = index + 1, .unit = kPercent, .resolution = kOneDecimal, .value_type = kNumber};
        record.value = static_cast<float>(measurement.version * (index + 7) % 1000);
    }
}

}  // namespace

int main() {
    CourseRecorder recorder;
    Measurement measurement;
    std::vector<double> seconds;
    for (std::uint32_t second = 0; second < kHour; ++second) {
        Move(measurement);
        const platform::CalendarTime time = ToCalendarTime(1'700'000'000 + second);
        const auto start                  = Clock::now();
        recorder.Advance(second * 1000, time);
        recorder.Record(measurement);
        seconds.push_back(MicroSince(start));
    }
    std::vector<float> values(std::size_t{2} * kHour);
    const auto start = Clock::now();
    recorder.CopyLatest(recorder.Series().front(), values);
    const CourseStatistics statistics = Summarise(values);
    const double summary              = MicroSince(start);
    if (!statistics.mean || recorder.Series().size() != kChannels) return bench::CannotMeasure("nothing was recorded");
    bench::TellFigure("recorder, a second of 20 channels", "<=", 20, bench::Median(seconds), "us");
    bench::TellFigure("recorder, memory of an hour of 20 channels", "<=", 1,
                      static_cast<double>(recorder.Bytes()) / (1024 * 1024), "MiB");
    bench::TellForComparison("  statistics of two hours of one channel", summary, "us");
    return 0;
}
