// A run of nelto-read: looks at what the acquisition worker has published, and says what is to be printed and when to end.
#pragma once

#include <cstdint>
#include <string>

#include "core/program_state.h"
#include "reader/formats.h"
#include "reader/options.h"

namespace nelto::reader {

/// Exit codes of the program.
enum ExitCode : int {
    kPrinted        = 0,
    kNothingPrinted = 1,
    kWrongOptions   = 2,
    kLostEarly      = 3,
};

/// What one look has brought.
struct News {
    std::string output;
    std::string progress;
};

/// Used beside the worker; looks at the state and changes nothing in it.
class Reading {
public:
    Reading(const Options& options, const ProgramState& state);

    /// To be called several times a second, until the reading is over.
    [[nodiscard]] News Look(const Moment& now);
    [[nodiscard]] bool IsOver() const { return is_over_; }
    /// Ends it: by the user, or because nobody takes the output.
    void End() { is_over_ = true; }
    /// Ends it because what the last look has brought could not be written.
    void EndUnwritten() { is_over_ = is_unwritten_ = true; }
    [[nodiscard]] ExitCode Result() const;

private:
    void TakeMeasurement(const Moment& now, const Measurement& measurement, News& news);
    void TakeStatus(const Moment& now, std::uint32_t status, const Measurement& measurement, News& news);
    void TakeObstacle(News& news);
    void LookAtEnd(News& news);
    [[nodiscard]] std::string Printed(const Moment& now, const Measurement& measurement);
    [[nodiscard]] std::string ObstacleText() const;
    [[nodiscard]] bool IsComplete() const { return !options_.watch && printed_ == options_.count; }

    const Options& options_;
    const ProgramState& state_;
    std::string link_;                        // as texts name it
    std::uint32_t printed_ = 0;               // measurements
    std::uint32_t seen_version_;              // of the measurement
    std::uint32_t seen_status_ = UINT32_MAX;  // none yet
    Obstacle seen_obstacle_    = Obstacle::kNone;
    std::uint32_t waiting_since_;  // ticks: the start, or the last measurement
    std::string csv_header_;
    bool is_over_      = false;
    bool is_unwritten_ = false;
};

}  // namespace nelto::reader
