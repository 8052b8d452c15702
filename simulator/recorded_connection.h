// What was sent and received over a serial link, as a ZIV log tells it.
#pragma once

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

}  // namespace simulator
