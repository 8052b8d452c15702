#include "core/serial_output.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "core/output_text.h"
#include "core/value_text.h"
#include "platform/output_port.h"
#include "platform/serial_port.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::string_view kLineEnd = "\n\r";  // line feed first: receivers in the field rely on it

// How long the port may take for one line: a receiver that halts the port must not halt the dialog. 300 baud is fast enough.
constexpr std::uint32_t kLeastLineTime = 500;  // milliseconds
constexpr std::uint32_t kByteTime      = 40;   // milliseconds

constexpr std::array<std::uint32_t, 7> kNeverSent = {
    kFuel, kDevice, kVersion, kSerialNumber, kSmokePump, kMaximumCarbonDioxide, kReferenceOxygen,
};

bool IsSent(const ChannelRecord& record, bool oil_fuel) {
    if (IsSmokeChannel(record.view_ident)) return oil_fuel;
    return std::ranges::find(kNeverSent, record.view_ident) == kNeverSent.end();
}

/// Each wide character as its low 8 bits, where the low bits of a letter may be a control character too. A longer text than
/// the receivers' field is not sent at all.
std::string LowBytes(std::wstring text) {
    if (text.size() >= kValueTextSize) return {};
    for (wchar_t& character : text) character = static_cast<wchar_t>(character & 0xFF);
    std::string bytes;
    for (const wchar_t character : OnOneLine(std::move(text))) bytes += static_cast<char>(character);
    return bytes;
}

std::string Line(const ChannelRecord& record) {
    std::array<wchar_t, 32> prefix{};
    platform::FormatText(prefix, L"%08X:%03u=", record.view_ident, record.unit);
    std::string line = LowBytes(std::wstring(platform::TextIn(prefix)));
    if (record.value_type != kNoValue) line += LowBytes(RecordValueText(record, L'.'));
    return line.append(kLineEnd);
}

/// Line by line, up to one that the port keeps waiting.
void SendLines(platform::OutputPort port, std::string_view block) {
    while (!block.empty()) {
        const std::size_t size = block.find(kLineEnd) + kLineEnd.size();
        const auto limit       = kLeastLineTime + kByteTime * static_cast<std::uint32_t>(size);
        if (!platform::WriteOutput(port, block.substr(0, size), limit)) return;
        block.remove_prefix(size);
    }
}

}  // namespace

std::string SerialOutputBlock(const ChannelTable& channels, bool oil_fuel) {
    std::string block = std::string("NELTO").append(kLineEnd);
    for (const ChannelRecord& record : UsedRecords(channels)) {
        if (IsSent(record, oil_fuel)) block += Line(record);
    }
    return block.append("END").append(kLineEnd);
}

void SendSerialOutput(const ProgramState& state, const ChannelTable& channels) {
    if (state.serial_output == 0) return;
    std::array<wchar_t, platform::kSerialPathSize> path{};
    platform::SerialPath(state.serial_output_port, path);
    const platform::OutputPort port = platform::OpenOutputPort(path.data());
    if (port == platform::OutputPort::kNone) return;
    SendLines(port, SerialOutputBlock(channels, state.oil_fuel != 0));
    platform::CloseOutputPort(port);
}

}  // namespace nelto
