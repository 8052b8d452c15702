// The walk through the heating check's lists. Input: see Conversation, how many records of the table are taken, then the
// analyser's messages.
#include "conversation.h"
#include "instrument/generation2004/heating_check.h"

namespace {

using namespace nelto;
using test::Require;

constexpr std::uint32_t kTaken = 0xABCD;

bool IsLabelled(const ChannelRecord& record) {
    std::array<wchar_t, kChannelTextSize> label{};
    platform::FormatText(label, L"ID_%04X", record.view_ident);
    return platform::TextIn(label) == platform::TextIn(record.label);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ChannelTable table;
    test::Input input(data, size);
    test::Conversation conversation(input);
    const std::size_t taken = input.Byte() % (kChannelCapacity + 1);
    table                   = {};
    for (ChannelRecord& record : std::span(table).first(taken)) record.view_ident = kTaken;

    static const ChannelTable earlier{};
    const std::uint32_t result = ReadHeatingCheck2004(conversation.Session(), earlier, table);
    Require(result <= kBadAnswer);
    Require(!conversation.Stopped() || (result == kTransportFailure && conversation.Requests() == 0));
    test::CheckTable(table);
    const auto used = UsedRecords(table);
    Require(used.size() >= taken && (result == kDone || used.size() == taken));
    for (const ChannelRecord& record : used.first(taken))
        Require(record.view_ident == kTaken && record.value_type == kNoValue);
    for (const ChannelRecord& record : used.subspan(taken)) {
        Require(record.value_type == kNumber && record.unit <= 0xFFFF && record.resolution <= 0xFF);
    }
    if (used.size() > taken) Require(IsLabelled(used.back()));
    for (const ChannelRecord& record : std::span(table).subspan(used.size())) Require(record.label.front() == L'\0');
    return 0;
}
