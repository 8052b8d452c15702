// The walk through the heating check's lists. Input: see Conversation, how many results are known from earlier, then the
// analyser's messages.
#include "conversation.h"
#include "instrument/generation2004/analyser_2004.h"

namespace {

using namespace nelto;
using test::Require;

constexpr std::uint32_t kEarlier = 0xABCD;

bool IsLabelled(const ChannelRecord& record) {
    std::array<wchar_t, kChannelTextSize> label{};
    platform::FormatText(label, L"ID_%04X", record.view_ident);
    return platform::TextIn(label) == platform::TextIn(record.label);
}

bool IsEarlier(const ChannelRecord& record) { return record.view_ident == kEarlier && record.value_type == kNoValue; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ChannelTable table;
    test::Input input(data, size);
    test::Conversation conversation(input);
    const std::size_t earlier = input.Byte() % (kChannelCapacity + 1);
    table                     = {};
    for (ChannelRecord& record : std::span(table).first(earlier)) record.view_ident = kEarlier;

    Analyser2004 analyser(std::move(conversation.Session()));
    const std::uint32_t result = analyser.ReadHeatingCheck(table);
    Require(result <= kBadAnswer);
    Require(!conversation.Stopped() || (result == kTransportFailure && conversation.Requests() == 0));
    test::CheckTable(table);
    const auto used = UsedRecords(table);
    if (result != kDone) Require(used.size() == earlier && std::ranges::all_of(used, IsEarlier));
    for (const ChannelRecord& record : used) {
        if (IsEarlier(record)) continue;
        Require(record.value_type == kNumber && record.unit <= 0xFFFF && record.resolution <= 0xFF &&
                IsLabelled(record));
    }
    for (const ChannelRecord& record : std::span(table).subspan(used.size())) Require(record.label.front() == L'\0');
    return 0;
}
