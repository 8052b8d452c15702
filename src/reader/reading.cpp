#include "reader/reading.h"

namespace nelto::reader {
namespace {

std::string LinkName(std::uint32_t communication) {
    if (communication == kUsb) return "USB";
    return communication == kIrda ? "infrared" : "COM" + std::to_string(communication);
}

std::string Line(const std::string& text) { return "nelto-read: " + text + "\n"; }

}  // namespace

Reading::Reading(const Options& options, const ProgramState& state)
    : options_(options),
      state_(state),
      link_(LinkName(state.communication)),
      seen_version_(state.measurement.Copy().version),
      waiting_since_(platform::TickMilliseconds()) {}

News Reading::Look(const Moment& now) {
    News news;
    // The status before the measurement: values that follow it are told with the next look.
    const std::uint32_t status    = state_.status;
    const Measurement measurement = state_.measurement.Copy();
    // An analyser is found before its values come, and lost after them.
    const bool is_on_the_way = status == kSearching || status == kReading;
    if (is_on_the_way) TakeStatus(now, status, measurement, news);
    if (measurement.version != seen_version_) TakeMeasurement(now, measurement, news);
    if (!is_on_the_way) TakeStatus(now, status, measurement, news);
    TakeObstacle(news);
    LookAtEnd(news);
    return news;
}

void Reading::TakeMeasurement(const Moment& now, const Measurement& measurement, News& news) {
    seen_version_  = measurement.version;
    waiting_since_ = platform::TickMilliseconds();
    if (IsComplete()) return;
    ++printed_;
    news.output += Printed(now, measurement);
}

std::string Reading::Printed(const Moment& now, const Measurement& measurement) {
    const bool has_others         = options_.watch || options_.count > 1;
    const wchar_t separator       = state_.decimal_separator;
    const std::string empty_line  = has_others && printed_ > 1 ? "\n" : "";
    const std::string time_line   = has_others ? TimeText(now) + "\n" : "";
    const std::string csv_columns = options_.format == Format::kCsv ? CsvHeader(measurement) : "";
    switch (options_.format) {
        case Format::kJson: return JsonLine(now, kValuesAvailable, measurement);
        case Format::kExchange: return empty_line + ExchangeLines(measurement, separator);
        case Format::kCsv: {
            // Another analyser, or another choice of channels, has other columns.
            const bool is_known = csv_columns == csv_header_;
            csv_header_         = csv_columns;
            return (is_known ? "" : csv_columns) + CsvRow(now, measurement);
        }
        default: return empty_line + time_line + TableText(measurement, separator);
    }
}

void Reading::TakeStatus(const Moment& now, std::uint32_t status, const Measurement& measurement, News& news) {
    if (status == seen_status_) return;
    seen_status_ = status;
    switch (seen_status_) {
        case kSearching: news.progress += Line("searching for an analyser on " + link_); break;
        case kReading: news.progress += Line("an analyser answers, its channels are being read"); break;
        case kBroken: news.progress += Line("the connection is broken"); break;
        case kNoValidValues: news.progress += Line("the analyser is zeroing its sensors and has no values"); break;
        default: news.progress += Line("values are there"); break;
    }
    const bool is_told = options_.watch && options_.format == Format::kJson && seen_status_ != kValuesAvailable;
    if (is_told) news.output += JsonLine(now, seen_status_, measurement);
}

void Reading::TakeObstacle(News& news) {
    const Obstacle obstacle = state_.obstacle;
    if (obstacle == seen_obstacle_) return;
    seen_obstacle_ = obstacle;
    if (obstacle != Obstacle::kNone) news.progress += Line(ObstacleText());
}

std::string Reading::ObstacleText() const {
    if (seen_obstacle_ == Obstacle::kNoPort) return "there is no " + link_;
    const std::string held = state_.communication == kUsb ? "the analyser on USB" : link_;
    return seen_obstacle_ == Obstacle::kInUse ? held + " is in use by another program" : "";
}

/// Only the first measurement has a time limit where there is no last one.
void Reading::LookAtEnd(News& news) {
    is_over_ |= IsComplete();
    if (is_over_ || (options_.watch && printed_ > 0)) return;
    const bool is_late =
        options_.timeout_s != 0 && platform::TickMilliseconds() - waiting_since_ >= options_.timeout_s * 1000;
    const bool is_lost = printed_ > 0 && seen_status_ == kBroken;
    if (!is_late && !is_lost) return;
    is_over_ = true;

    const std::string cause  = ObstacleText().empty() ? "" : ": " + ObstacleText();
    const std::string within = " within " + std::to_string(options_.timeout_s) + " s" + cause;
    if (printed_ > 0) {
        news.progress += Line("lost after " + std::to_string(printed_) + " of " + std::to_string(options_.count) +
                              " measurements" + cause);
    } else if (seen_status_ == kSearching) {
        news.progress += Line("no analyser on " + link_ + within);
    } else {
        news.progress += Line("no values on " + link_ + within);
    }
}

ExitCode Reading::Result() const {
    if (is_unwritten_) return printed_ > 1 ? kLostEarly : kNothingPrinted;
    if (printed_ == 0) return kNothingPrinted;
    return options_.watch || IsComplete() ? kPrinted : kLostEarly;
}

}  // namespace nelto::reader
