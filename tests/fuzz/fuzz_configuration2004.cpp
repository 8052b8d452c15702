// The framed exchange, identification apart, and the online configuration of generation 2004. Input: see Conversation, then
// the analyser's messages.
#include "conversation.h"
#include "instrument/generation2004/analyser_2004.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace nelto;
    using test::Require;
    static ChannelTable table;
    test::Input input(data, size);
    test::Conversation conversation(input);
    Analyser2004 analyser(std::move(conversation.Session()));
    const std::uint32_t result = analyser.ReadConfiguration(table);
    Require(result == kDone || result == kBadAnswer);
    Require(!conversation.Stopped() || (result == kBadAnswer && conversation.Requests() == 0));
    test::CheckTable(table);
    // An analyser may list a quantity 0; what the program did not fill is as it was reset.
    const ChannelRecord& last = table.back();
    Require(last.view_ident != kFreeRecord || last.value_type == kNoValue);
    if (result == kDone) Require(conversation.Requests() >= 4);
    return 0;
}
