// Configuration, heating check and values of generation 2004: the fuzzer writes the answers' payloads, the harness frames
// them, so that mutated messages pass the checksum and reach the parsers. The input is a run of payloads, each with a
// two-byte length; the first byte chooses what the program asks.
#include "fuzz.h"
#include "instrument/dispatch.h"
#include "instrument/generation2004/heating_check.h"
#include "instrument/instrument_connection.h"
#include "support.h"

namespace {

using nelto::ChannelTable;
using nelto::platform::memory::TheWorld;
using nelto::test::Bytes;
using nelto::test::Input;
using nelto::test::Require;

/// Answers each request with a good header and the next payload of the input.
class PayloadPeer final : public nelto::test::MessagePeer {
public:
    explicit PayloadPeer(Input& input) : input_(input) {}

protected:
    Bytes AnswerTo(const Bytes& request) override {
        if (input_.IsEmpty()) return {};
        Bytes answer             = {0, request.front(), 0, 0};
        const std::uint16_t size = input_.Take<std::uint16_t>() & 0x0FFF;
        const Bytes payload      = input_.Take(size);
        answer.insert(answer.end(), payload.begin(), payload.end());
        return answer;
    }

private:
    Input& input_;
};

void CheckTable(const ChannelTable& table) {
    for (const nelto::ChannelRecord& record : table) {
        const bool label_ends = std::ranges::find(record.label, L'\0') != record.label.end();
        const bool text_ends  = std::ranges::find(record.text, L'\0') != record.text.end();
        Require(label_ends && text_ends && record.value_type <= nelto::kText);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace nelto;
    if (size == 0) return 0;
    platform::memory::ResetWorld();
    Input input(data + 1, size - 1);
    PayloadPeer peer(input);
    TheWorld().serial_ports[L"COM5"].device = &peer;

    InstrumentConnection connection;
    connection.communication    = 5;
    connection.link.transport   = Transport::kSerial;
    std::uint32_t error         = 0;
    connection.link.serial_port = platform::OpenSerialPort(L"COM5", error);

    ChannelTable table{};
    if ((data[0] & 1) != 0) Require(GetOnlineConfiguration(connection, table) <= kBadAnswer);
    if ((data[0] & 2) != 0) Require(ReadHeatingCheck2004(connection, table) <= kBadAnswer);
    if ((data[0] & 4) != 0) Require(GetOnlineValues(connection, table) <= kNoValuesZeroing);
    CheckTable(table);
    return 0;
}
