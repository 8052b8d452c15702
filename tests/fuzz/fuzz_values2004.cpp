// The byte reader, live values and modes of generation 2004. Input: see Conversation, then the analyser's messages.
#include "conversation.h"
#include "instrument/generation2004/analyser_2004.h"
#include "instrument/generation2004/analyser_710.h"
#include "instrument/generation2004/answer.h"

namespace {

using namespace nelto;
using test::Require;

constexpr std::uint32_t kUntouched = 7;

/// Numbers and texts at the end of the input, which lies in a piece of memory of just its size.
void TryByteView(test::ByteSpan bytes) {
    const ByteView view(bytes);
    for (std::size_t offset = bytes.size() - std::min<std::size_t>(bytes.size(), 4); offset < bytes.size() + 2;
         ++offset) {
        std::uint32_t number = 0;
        for (std::size_t i = 4; i-- > 0;) number = number << 8 | (offset + i < bytes.size() ? bytes[offset + i] : 0u);
        Require(view.Long(offset) == number && view.Word(offset) == (number & 0xFFFF));
        Require(view.Byte(offset) == (number & 0xFF) && view.Covers(offset, 4) == (offset + 4 <= bytes.size()));
        Require(!view.Covers(offset, SIZE_MAX) && view.Part(offset, 3).Size() <= 3);
        const std::wstring text = Utf16Text(view.Part(offset));
        Require(text.size() <= 2 && text.find(L'\0') == std::wstring::npos);
    }
}

/// A table whose every field can be told from what a value read leaves.
ChannelTable MakeTable() {
    ChannelTable table{};
    for (std::size_t index = 0; index < table.size(); ++index) {
        table[index] = {.view_ident = static_cast<std::uint32_t>(index + 1), .unit = 130, .value_type = kUntouched};
        platform::CopyText(table[index].label, L"label");
        platform::CopyText(table[index].text, L"text");
    }
    return table;
}

/// Ident, unit and texts stay; what was not read stays as a whole, and stands behind all that was.
void CheckValues(ChannelTable& table, const ChannelTable& before) {
    bool is_behind = false;
    for (ChannelRecord& record : table) {
        is_behind = is_behind || record.value_type == kUntouched;
        Require(is_behind == (record.value_type == kUntouched) && (is_behind || record.value_type <= kNumber));
        Require(record.resolution <= 0xFF && (record.value_type == kNumber || record.value == 0.0F));
        record.value_type = kUntouched;
        record.value      = 0.0F;
        record.resolution = 0;
    }
    Require(std::memcmp(&table, &before, sizeof(table)) == 0);
}

void TryAnalyser2004(test::Input& input) {
    static const ChannelTable before = MakeTable();
    static ChannelTable table;
    test::Conversation conversation(input);
    Analyser2004 analyser(std::move(conversation.Session()));
    table                      = before;
    const std::uint32_t values = analyser.ReadValues(table);
    Require(values == kDone || values == kBadAnswer || values == kNoValuesZeroing);
    if (conversation.Stopped()) Require(values == kBadAnswer && conversation.Requests() == 0);
    if (values != kDone) Require(table.front().value_type == kUntouched);
    CheckValues(table, before);

    const std::uint32_t typed = analyser.GetSubType();
    Require(typed <= kTransportFailure && analyser.SubType() <= 0xFF && (typed == kDone || analyser.SubType() == 0));
    Require(analyser.SetSlaveMode(input.Byte() % 2 != 0) <= kModeChangeFailed);
    Require(analyser.SynchronizeClock() <= kTransportFailure);
    Require(analyser.Close() == kDone);
}

void TryAnalyser710(test::Input& input) {
    test::Conversation conversation(input);
    Analyser710 analyser(std::move(conversation.Session()));
    const std::uint32_t set = analyser.SynchronizeClock();
    Require(set == kDone || set == kBadAnswer);
    Require(analyser.Close() == kDone);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TryByteView({data, size});
    test::Input input(data, size);
    TryAnalyser2004(input);
    TryAnalyser710(input);
    return 0;
}
