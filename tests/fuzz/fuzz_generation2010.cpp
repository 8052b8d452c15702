// Hostile libraries of the maker: every count, record, number and text that they give. The first byte chooses the
// instrument kind and whether there is a text mapper, the second the call that fails (0 none). Then the analyser's
// numbers and texts, its cache and its current values for the configuration; what is left are the values that are read
// afterwards. A text is one length byte and 2 bytes a character; records come behind a byte with their number, each with
// its name behind it.
#include <array>
#include <memory>

#include "fake_maker_libraries.h"
#include "fuzz.h"
#include "instrument/dispatch.h"
#include "instrument/instrument_connection.h"

namespace {

using namespace nelto;
using test::Input;
using test::Maker;
using test::Require;

constexpr std::array<std::uint32_t, 6> kKinds = {781, 745, 760, 752, 711, 746};

std::wstring TakeText(Input& input) {
    std::wstring text(input.Byte(), L'\0');
    for (wchar_t& letter : text) letter = input.Take<std::uint16_t>();
    return text;
}

std::vector<ValueRecord2010> TakeRecords(Input& input) {
    std::vector<ValueRecord2010> records(input.Byte());
    for (ValueRecord2010& record : records) {
        record                    = input.Take<ValueRecord2010>();
        const std::uint32_t ident = record.ident;  // which lies unaligned in its record
        Maker().view_texts[ident] = TakeText(input);
    }
    return records;
}

void TakeAnalyser(Input& input) {
    Maker().device_type              = input.Take<std::uint32_t>();
    Maker().value_count_lie          = input.Take<std::uint32_t>();
    Maker().position_count           = input.Take<std::uint32_t>();
    Maker().firmware                 = input.Take<std::uint32_t>();
    Maker().serial_number            = input.Take<std::uint32_t>();
    Maker().fuel                     = input.Take<std::uint32_t>();
    Maker().maximum_carbon_dioxide   = input.Take<float>();
    Maker().reference_oxygen         = input.Take<float>();
    Maker().device_name              = TakeText(input);
    Maker().smoke_pump               = TakeText(input);
    Maker().fuel_texts[Maker().fuel] = TakeText(input);
    Maker().cache.resize(input.Byte() % 16);
    for (auto& position : Maker().cache) position = TakeRecords(input);
    Maker().values = TakeRecords(input);
}

void CheckTable(const ChannelTable& channels) {
    const auto used = UsedRecords(channels);
    Require(used.size() <= 63);
    for (const ChannelRecord& channel : channels) {
        Require(channel.label.back() == L'\0' && channel.text.back() == L'\0');
        Require(channel.value_type <= kText);
    }
    for (const ChannelRecord& channel : std::span(channels).subspan(used.size())) {
        Require(channel.view_ident == kFreeRecord && channel.label.front() == L'\0');
    }
}

/// Without the opening, and without a log file: its lines are made all the same.
void TryAnalyser(std::uint32_t kind, Input& input) {
    InstrumentConnection connection;
    connection.kind           = kind;
    connection.open           = true;
    connection.library_handle = test::FakeMaker::kUsbHandle;
    connection.generation2010 = std::make_unique<CNelto780Base2010>(connection);
    static_cast<void>(SynchronizeClock(connection));
    static_cast<void>(GetSubType(connection));
    SetActiveFuel(connection, 1);

    ChannelTable channels{};
    if (GetOnlineConfiguration(connection, channels) == kDone) {
        CheckTable(channels);
        const std::size_t used = UsedRecords(channels).size();
        Maker().values         = TakeRecords(input);
        static_cast<void>(GetOnlineValues(connection, channels));
        Require(UsedRecords(channels).size() == used);
    }
    CheckTable(channels);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    platform::memory::ResetLibraries();
    test::InstallFakeMaker();
    const std::uint8_t choice = input.Byte();
    Maker().failing_call      = input.Byte();
    if (choice / kKinds.size() % 2 != 0) {
        for (const wchar_t* mapper : {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"})
            platform::memory::RemoveLibrary(mapper);
    }
    TakeAnalyser(input);
    TryAnalyser(kKinds[choice % kKinds.size()], input);
    return 0;
}
