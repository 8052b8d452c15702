#include "ziv_log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "transport/block_frame.h"

namespace simulator {
namespace {

constexpr std::size_t kLongestLine = 8 + 3 * 1024;  // an exchange receives 1024 bytes at most

constexpr std::string_view kOpening     = "NeltoRS232Open uPort = ";
constexpr std::string_view kOpened      = "Port open OK";
constexpr std::string_view kClosed      = "Serial port closed";
constexpr std::string_view kSend        = "SEND:";
constexpr std::string_view kReceived    = "RECV:";
constexpr std::string_view kShortWrite  = "Bytes written ";
constexpr std::string_view kReceiveTime = "Receive time ";
constexpr std::string_view kTransceive  = "Transceive error ";

/// Lines that say nothing which a replay needs.
constexpr std::array<std::string_view, 3> kPassedOver = {"Timeout ", "nelto 710 ", "LATE: "};
/// How an opening ended that failed; the error's number comes before its sentence.
constexpr std::array<std::string_view, 4> kOpeningFaults = {"Error Number ", "Port open failed",
                                                            "SetCommTimeouts failed", "GetCommState failed"};

template <std::size_t Count>
bool BeginsWithOneOf(std::string_view line, const std::array<std::string_view, Count>& beginnings) {
    return std::ranges::any_of(beginnings, [line](std::string_view text) { return line.starts_with(text); });
}

/// Bytes as pairs of hexadecimal digits parted by blanks; none when there is anything else.
std::optional<Message> HexBytes(std::string_view text) {
    Message bytes;
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        if (text.empty()) return bytes;
        const std::string_view word = text.substr(0, text.find(' '));
        const char* const end       = word.data() + word.size();
        std::uint8_t byte           = 0;
        const auto read             = std::from_chars(word.data(), end, byte, 16);
        if (word.size() != 2 || read.ec != std::errc() || read.ptr != end) return {};
        bytes.push_back(byte);
        text.remove_prefix(word.size());
    }
}

bool IsFirstBlock(Bytes request) {
    nelto::Block block;
    return request[1] != nelto::kAckMark && nelto::ParseBlock(request, block) == nelto::BlockFault::kNone &&
           block.index == 0;
}

/// True for a reply after which the program goes on with the same message.
bool AsksForMore(Bytes reply) {
    nelto::Block block;
    if (std::ranges::equal(reply, nelto::kAnalyserAck)) return true;
    return nelto::ParseBlock(reply, block) == nelto::BlockFault::kNone && block.index + 1 < block.count;
}

/// Takes a log line by line and puts its connections together.
class LogReader {
public:
    explicit LogReader(const ZivLogReceiver& receiver) : receiver_(receiver) {}

    /// `line` without its line end; `is_cut` when it is longer than any line may be, or the log ends within it.
    void TakeLine(std::string_view line, bool is_cut) {
        ++line_number_;
        if (is_cut) return Fault("cut off or too long");
        if (line.empty() || line.starts_with(kShortWrite)) return;
        const bool was_exchange = std::exchange(has_exchange_, false);
        if (line.starts_with(kReceived)) return TakeReceived(line);
        GiveUpRequest();
        if (line.starts_with(kSend)) return TakeSend(line);
        if (line.starts_with(kReceiveTime)) return TakeReceiveTime(line, was_exchange);
        if (line.starts_with(kOpening)) return BeginOpening(line);
        if (line == kOpened) return BeginConnection();
        if (BeginsWithOneOf(line, kOpeningFaults)) return TakeOpeningFault(line);
        if (line == kClosed) return TakeClosed();
        if (line.starts_with(kTransceive)) return TakeTransceiveError(line);
        if (!BeginsWithOneOf(line, kPassedOver)) Fault("not understood");
    }

    void End() {
        GiveUpRequest();
        EndConnection();
        EndOpening();
        EndFailedOpenings();
    }

private:
    void Fault(const std::string& what) { receiver_.on_fault("line " + std::to_string(line_number_) + ": " + what); }

    void BeginOpening(std::string_view line) {
        EndConnection();
        EndOpening();
        const std::size_t comma = line.find(", ");
        port_                   = comma == std::string_view::npos ? "?" : std::string(line.substr(comma + 2));
        is_opening_             = true;
        opening_fault_.clear();
    }

    void TakeOpeningFault(std::string_view line) {
        opening_fault_ += opening_fault_.empty() ? "" : ", ";
        opening_fault_ += line;
    }

    /// An opening that has not led to a connection has failed; one that the port's settings ended says nothing of it.
    void EndOpening() {
        if (!std::exchange(is_opening_, false)) return;
        const std::string failed = port_ + " failed: " + (opening_fault_.empty() ? "SetCommState" : opening_fault_);
        if (failed != failed_openings_text_) EndFailedOpenings();
        failed_openings_text_ = failed;
        ++failed_openings_;
    }

    void EndFailedOpenings() {
        if (failed_openings_ == 0) return;
        receiver_.on_failed_openings(
            (failed_openings_ == 1 ? "1 opening" : std::to_string(failed_openings_) + " openings") + " of " +
            failed_openings_text_);
        failed_openings_ = 0;
    }

    RecordedConnection& Connection() {
        if (!connection_) {
            EndFailedOpenings();
            connection_.emplace().number = ++connections_;
            connection_->first_line      = line_number_;
        }
        connection_->last_line = line_number_;
        return *connection_;
    }

    void BeginConnection() {
        EndConnection();
        is_opening_       = false;
        Connection().port = port_;
    }

    void EndConnection() {
        DropUnfinished();
        if (connection_) receiver_.on_connection(std::move(*connection_));
        connection_.reset();
    }

    void TakeClosed() {
        Connection().is_closed = true;
        EndConnection();
    }

    /// What the program gave up with an error is played as far as it went.
    void TakeTransceiveError(std::string_view line) {
        Connection().error = line;
        is_unfinished_     = false;
    }

    void GiveUpRequest() {
        if (!request_) return;
        request_.reset();
        receiver_.on_fault("line " + std::to_string(request_line_) + ": no RECV follows");
        DropUnfinished();
    }

    /// A message that is not whole would be played wrongly: it is left out.
    void DropUnfinished() {
        if (std::exchange(is_unfinished_, false)) connection_->messages.pop_back();
    }

    void TakeSend(std::string_view line) {
        request_      = HexBytes(line.substr(kSend.size()));
        request_line_ = line_number_;
        if (request_ && request_->size() >= nelto::kProgramAck.size()) return;
        Fault("no bytes that a program sends");
        request_.reset();
        DropUnfinished();
    }

    void TakeReceived(std::string_view line) {
        const std::optional<Message> request = std::exchange(request_, std::nullopt);
        const std::optional<Message> reply   = HexBytes(line.substr(kReceived.size()));
        if (!request || !reply) {
            Fault(reply ? "no SEND before it" : "no bytes that a program received");
            return DropUnfinished();
        }
        RecordedConnection& connection = Connection();
        if (IsFirstBlock(*request)) {
            DropUnfinished();
            connection.messages.emplace_back();
        } else if (!is_unfinished_) {
            return Fault("belongs to no request");
        }
        if (reply->empty()) ++connection.unanswered;
        connection.messages.back().push_back({*request, *reply, 0, request_line_});
        is_unfinished_ = AsksForMore(*reply);
        has_exchange_  = true;
    }

    void TakeReceiveTime(std::string_view line, bool was_exchange) {
        const std::string_view number = line.substr(kReceiveTime.size());
        const char* const end         = number.data() + number.size();
        std::uint32_t milliseconds    = 0;
        const auto read               = std::from_chars(number.data(), end, milliseconds);
        if (read.ec != std::errc() || std::string_view(read.ptr, end) != " msec") return Fault("no time");
        if (was_exchange) connection_->messages.back().back().receive_ms = milliseconds;
    }

    const ZivLogReceiver& receiver_;
    std::size_t line_number_ = 0;
    std::size_t connections_ = 0;

    bool is_opening_ = false;
    std::string port_;
    std::string opening_fault_;
    std::size_t failed_openings_ = 0;  // alike, one after the other
    std::string failed_openings_text_;

    std::optional<RecordedConnection> connection_;
    std::optional<Message> request_;  // sent, its RECV still to come
    std::size_t request_line_ = 0;
    bool is_unfinished_       = false;  // the last message of the connection goes on with the next exchange
    bool has_exchange_        = false;  // the line before was a RECV that has been taken
};

}  // namespace

void ReadZivLog(std::istream& log, const ZivLogReceiver& receiver) {
    LogReader reader(receiver);
    std::array<char, 65536> piece;
    std::string line;
    bool is_too_long = false;
    while (log.read(piece.data(), piece.size()), log.gcount() > 0) {
        std::string_view rest(piece.data(), static_cast<std::size_t>(log.gcount()));
        while (!rest.empty()) {
            const std::size_t end       = rest.find('\n');
            const std::string_view part = rest.substr(0, end);
            is_too_long                 = is_too_long || line.size() + part.size() > kLongestLine;
            if (!is_too_long) line += part;
            if (end == std::string_view::npos) break;
            rest.remove_prefix(end + 1);
            if (line.ends_with('\r')) line.pop_back();
            reader.TakeLine(line, is_too_long);
            line.clear();
            is_too_long = false;
        }
    }
    if (!line.empty() || is_too_long) reader.TakeLine(line, true);
    reader.End();
}

std::optional<RecordedConnection> ChooseConnection(std::istream& log, std::optional<std::size_t> number,
                                                   const std::function<void(const std::string& line)>& on_fault) {
    std::optional<RecordedConnection> chosen;
    const auto take = [&](RecordedConnection connection) {
        const bool is_better = !chosen || !chosen->HasReplies() || connection.HasReplies();
        if (number ? connection.number == *number : is_better) chosen = std::move(connection);
    };
    ReadZivLog(log, {.on_connection = take, .on_failed_openings = [](const std::string&) {}, .on_fault = on_fault});
    return chosen;
}

}  // namespace simulator
