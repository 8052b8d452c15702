// A ZIV log (ZIVNelto780.txt) read back: what was sent and received over a serial link, connection by connection.
#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "message.h"

namespace simulator {

/// One write of the program and what it received until it went on; `reply` is empty after a time-out.
struct RecordedExchange {
    Message request;
    Message reply;
    std::uint32_t receive_ms = 0;
    std::size_t line         = 0;  // of the SEND in the log
};

/// One request with its whole reply: a first block, then what belongs to it (further blocks, acknowledgements).
using RecordedMessage = std::vector<RecordedExchange>;

/// What happened from one opening of the port to the next.
struct RecordedConnection {
    std::size_t number     = 0;  // in the log, counted from 1
    std::size_t first_line = 0;
    std::size_t last_line  = 0;
    std::string port;   // as the log names it; empty when the log begins in the middle of a connection
    std::string error;  // the last "Transceive error" line, if any
    bool is_closed         = false;
    std::size_t unanswered = 0;  // exchanges without any reply
    std::vector<RecordedMessage> messages;

    [[nodiscard]] bool HasReplies() const;
    /// "connection 2, lines 40 to 310: COM5, T780, 51 requests, 1 exchange unanswered, closed".
    [[nodiscard]] std::string Summary() const;
};

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
