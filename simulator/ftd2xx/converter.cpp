#include "converter.h"

#include <algorithm>

namespace simulator {

void Converter::Reset() {
    session_->Reset();
    coming_.clear();
    queue_.clear();
    next_due_ms_ = 0;
    trickle_ms_  = 0;
}

void Converter::Write(Bytes bytes, const CallFault* fault, std::uint64_t now_ms) {
    const auto has = [fault](CallFaultKind kind) { return fault != nullptr && fault->kind == kind; };
    trickle_ms_    = has(CallFaultKind::kTrickle) ? fault->status : 0;
    if (has(CallFaultKind::kEarlySignal)) {
        coming_.push_back({now_ms, {}});  // nothing to read yet
        next_due_ms_ = now_ms + fault->status;
    }
    session_->Receive(bytes, now_ms);
    TakeFromAnalyser(now_ms);
}

bool Converter::Deliver(std::uint64_t now_ms) {
    TakeFromAnalyser(now_ms);
    bool has_come = false;
    while (!coming_.empty() && coming_.front().due_ms <= now_ms) {
        // One piece at a time: the next is signalled once this one is read.
        if (driver_.piece != 0 && !queue_.empty()) break;
        queue_.insert(queue_.end(), coming_.front().bytes.begin(), coming_.front().bytes.end());
        coming_.pop_front();
        has_come = true;
    }
    return has_come;
}

bool Converter::IsExpecting() const { return !coming_.empty() || session_->HasOutput(); }

std::size_t Converter::Read(std::span<std::uint8_t> bytes) {
    const std::size_t count = std::min(bytes.size(), queue_.size());
    const auto end          = queue_.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(queue_.begin(), end, bytes.begin());
    queue_.erase(queue_.begin(), end);
    return count;
}

void Converter::TakeFromAnalyser(std::uint64_t now_ms) {
    while (const std::optional<Message> packet = session_->TakeOutput(now_ms)) {
        const std::size_t whole = driver_.piece == 0 ? std::max<std::size_t>(packet->size(), 1) : driver_.piece;
        const std::size_t piece = trickle_ms_ != 0 ? 1 : whole;
        next_due_ms_            = std::max(next_due_ms_, now_ms + driver_.latency_ms);
        for (std::size_t at = 0; at < packet->size(); at += piece) {
            const auto begin = packet->begin() + static_cast<std::ptrdiff_t>(at);
            const auto count = static_cast<std::ptrdiff_t>(std::min(piece, packet->size() - at));
            next_due_ms_ += trickle_ms_;
            coming_.push_back({next_due_ms_, Message(begin, begin + count)});
        }
    }
}

}  // namespace simulator
