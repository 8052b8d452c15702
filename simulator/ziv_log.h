// A ZIV log (ZIVNelto780.txt) read back, connection by connection.
#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <string>

#include "recorded_connection.h"

namespace simulator {

/// What becomes of a log while it is read. Connections come whole, one at a time: no more than one is in memory.
struct ZivLogReceiver {
    std::function<void(RecordedConnection connection)> on_connection;
    /// A run of openings that failed one after the other: the last line of the run, how many, port and error.
    std::function<void(const std::string& line)> on_failed_openings;
    /// A line that cannot be used, with its number.
    std::function<void(const std::string& line)> on_fault;
};

/// Reads the log to its end, line by line. What is not understood, cut off or out of place is told and passed over.
void ReadZivLog(std::istream& log, const ZivLogReceiver& receiver);

/// The connection with this number; without a number the last one in which an analyser answered, else the last one.
/// Faults of the log go to `on_fault`.
[[nodiscard]] std::optional<RecordedConnection> ChooseConnection(
    std::istream& log, std::optional<std::size_t> number, const std::function<void(const std::string& line)>& on_fault);

}  // namespace simulator
