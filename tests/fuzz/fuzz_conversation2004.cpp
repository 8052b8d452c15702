// Configuration, heating check and values of generation 2004: the fuzzer writes the answers' payloads, the harness frames
// them, so that mutated messages pass the checksum and reach the parsers. The input is a run of payloads, each with a
// two-byte length; the first byte chooses what the program asks.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

#include "instrument/dispatch.h"
#include "instrument/generation2004/heating_check.h"
#include "instrument/instrument_connection.h"
#include "platform/memory/memory_platform.h"
#include "transport/block_frame.h"

namespace {

using nelto::ChannelTable;
using nelto::platform::memory::TheWorld;
using Bytes = std::vector<std::uint8_t>;

/// Answers each request with a good header and the next payload of the input.
class PayloadPeer final : public nelto::platform::memory::SerialDevice {
public:
    explicit PayloadPeer(std::span<const std::uint8_t> input) : input_(input) {}

    std::size_t Write(std::span<const std::uint8_t> bytes) override {
        if (bytes.size() > nelto::kBlockHeaderSize) TakePayload(bytes[nelto::kBlockHeaderSize]);
        NextBlock();
        return bytes.size();
    }
    std::size_t Read(std::span<std::uint8_t> bytes) override {
        const std::size_t size = std::min(bytes.size(), pending_.size());
        std::copy_n(pending_.begin(), size, bytes.begin());
        pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(size));
        return size;
    }

private:
    void TakePayload(std::uint8_t command) {
        message_.clear();
        sent_ = 0;
        if (input_.size() < 2) return;
        const std::size_t size = std::min<std::size_t>(input_[0] + 256U * (input_[1] & 0x0FU), input_.size() - 2);
        message_               = {0, command, 0, 0};
        message_.insert(message_.end(), input_.begin() + 2, input_.begin() + 2 + static_cast<std::ptrdiff_t>(size));
        input_ = input_.subspan(2 + size);
    }
    void NextBlock() {
        if (message_.empty()) return;
        constexpr std::size_t kLimit = 248;
        std::array<std::uint8_t, nelto::kMaxBlockSize> frame{};
        const auto rest        = std::span(message_).subspan(std::min(sent_ * kLimit, message_.size()));
        const auto blocks      = static_cast<std::uint16_t>(nelto::BlockCount(message_.size(), kLimit));
        const std::size_t size = nelto::BuildBlock(
            frame, nelto::kAnalyserStart, static_cast<std::uint16_t>(std::min<std::size_t>(sent_, blocks - 1U)), blocks,
            rest.first(std::min(kLimit, rest.size())));
        pending_.assign(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size));
        ++sent_;
    }

    std::span<const std::uint8_t> input_;
    Bytes message_;
    std::size_t sent_ = 0;
    Bytes pending_;
};

void CheckTable(const ChannelTable& table) {
    for (const nelto::ChannelRecord& record : table) {
        const bool label_ends = std::ranges::find(record.label, L'\0') != record.label.end();
        const bool text_ends  = std::ranges::find(record.text, L'\0') != record.text.end();
        if (!label_ends || !text_ends || record.value_type > nelto::kText) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace nelto;
    if (size == 0) return 0;
    platform::memory::ResetWorld();
    PayloadPeer peer(std::span(data, size).subspan(1));
    TheWorld().serial_ports[L"COM5"].device = &peer;

    InstrumentConnection connection;
    connection.communication    = 5;
    connection.link.transport   = Transport::kSerial;
    std::uint32_t error         = 0;
    connection.link.serial_port = platform::OpenSerialPort(L"COM5", error);

    ChannelTable table{};
    if ((data[0] & 1) != 0 && GetOnlineConfiguration(connection, table) > kBadAnswer) std::abort();
    if ((data[0] & 2) != 0 && ReadHeatingCheck2004(connection, table) > kBadAnswer) std::abort();
    if ((data[0] & 4) != 0 && GetOnlineValues(connection, table) > kNoValuesZeroing) std::abort();
    CheckTable(table);
    return 0;
}
