#include <array>
#include <bit>

#include "generation2010_fixture.h"
#include "platform/wide_text.h"

namespace nelto::test {
namespace {

using platform::memory::RemoveLibrary;
using platform::memory::TimesLoaded;

const ChannelRecord* Find(const ChannelTable& channels, std::uint32_t view_ident, std::uint32_t unit) {
    for (const ChannelRecord& channel : UsedRecords(channels)) {
        if (channel.view_ident == view_ident && channel.unit == unit) return &channel;
    }
    return nullptr;
}

std::wstring Label(const ChannelRecord& channel) { return std::wstring(platform::TextIn(channel.label)); }
std::wstring Text(const ChannelRecord& channel) { return std::wstring(platform::TextIn(channel.text)); }

// Measurement cache and the rule by which a record becomes a channel.

TEST_F(Generation2010Test, CachedValuesComeBeforeCurrentOnesAndDoublesAreDropped) {
    Maker().Data().cache = {
        {Record(0x0101, 80.0F), Record(0x0101, 81.0F)}, {}, {Record(0x0101, 176.0F, 2), Record(0, 5.0F)}};
    Maker().Data().values = {Record(0x0101, 90.0F), Record(0x00020B01, 7.0F), Record(0x00020B02, 8.0F)};
    channels_.fill({.view_ident = 0x7777, .unit = 9, .value_type = kNumber});  // of an earlier connection
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Used(), 10U);
    EXPECT_EQ(channels_[0].view_ident, 0x0101U);
    EXPECT_EQ(channels_[0].unit, 1U);
    EXPECT_EQ(channels_[0].value, 80.0F);
    EXPECT_EQ(channels_[0].resolution, 254U);
    EXPECT_EQ(channels_[1].unit, 2U);
    EXPECT_EQ(channels_[2].view_ident, 0x0B01U);
    EXPECT_EQ(channels_[2].value, 7.0F);  // the other ident of the same view is a double as well
    EXPECT_EQ(channels_[3].view_ident, kFuel);
    EXPECT_EQ(Maker().CallsOf("GetMeasCacheValues"), 3U);
    EXPECT_TRUE(Logged("MeasCache Counter 3"));
    EXPECT_TRUE(Logged("MeasCache Position 1, number of values 0"));
    EXPECT_TRUE(Logged("ViewIdent 00000101, Ident2010 00000101, Unit 2, Type 1, Value 176.000000 Ident V101"));
    EXPECT_TRUE(Logged("Number of online channels 3"));
}

struct StatusCase {
    std::uint32_t bits;
    std::uint32_t value_type;
};

TEST_F(Generation2010Test, StatusWordsAreNoValues) {
    constexpr StatusCase kCases[] = {
        {127, kNumber},  {128, kNoValue}, {129, kNoValue},        {130, kNoValue},       {131, kNoValue},
        {132, kNoValue}, {133, kNoValue}, {134, kNumber},         {137, kNumber},        {138, kNoValue},
        {139, kNumber},  {0, kNumber},    {0xFFFFFFFF, kNoValue}, {0xFFFFFFFE, kNumber}, {0x3F800000, kNumber}};
    for (const StatusCase& row : kCases) {
        SCOPED_TRACE(row.bits);
        Maker().Data().values = {BitsRecord(0x0101, row.bits)};
        Connect();
        ASSERT_EQ(Configure(), kDone);
        EXPECT_EQ(channels_[0].value_type, row.value_type);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(channels_[0].value), row.value_type == kNumber ? row.bits : 0);
    }
}

TEST_F(Generation2010Test, LabelsComeFromTheTextMapper) {
    const std::u16string long_name(200, u'\x03BB');
    std::wstring long_label;
    while (long_label.size() < 31) long_label += L"lambda";
    Maker().Data().texts = {
        {0x0101, u"\x03BB", u"German"}, {0x0102, u"CO\x2082", {}}, {0x0103, {}, {}}, {0x0104, long_name, {}}};
    Maker().Data().values = {Record(0x0101, 1.0F), Record(0x0102, 1.0F), Record(0x0103, 1.0F), Record(0x0104, 1.0F)};
    World().locale_tag    = L"en-GB";
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Label(channels_[0]), L"lambda");
    EXPECT_EQ(Label(channels_[1]), L"CO2");
    EXPECT_EQ(Label(channels_[2]), long_label.substr(0, 31));  // the one without a name is left out
    EXPECT_EQ(channels_[3].view_ident, kFuel);
}

TEST_F(Generation2010Test, WithoutATextMapperIdentsAreTheLabels) {
    for (const bool has_library : {false, true}) {
        RemoveLibrary(L"IDTEXTMAPPER_T780.DLL");
        if (has_library) platform::memory::InstallLibrary(L"IDTEXTMAPPER_T780.DLL", {});
        Maker().Data().values = {Record(0x80010108, 1.0F)};
        Connect();
        ASSERT_EQ(Configure(), kDone);
        EXPECT_EQ(Label(channels_[0]), L"Id2147549448");
        EXPECT_EQ(channels_[0].view_ident, kHeatCarrierTemperature);
        EXPECT_EQ(Text(channels_[1]), L"Fuel104");
        EXPECT_EQ(Logged("IDTEXTMAPPER_T780.DLL not found"), !has_library);
    }
}

struct MapperCase {
    std::uint32_t kind;
    const wchar_t* library;
    bool loaded_line;
};

TEST_F(Generation2010Test, EachModelHasItsTextMapper) {
    constexpr std::array kCases = std::to_array<MapperCase>({
        {kKind711, L"IDTEXTMAPPER_T780.DLL", false},
        {kKind745, L"IDTEXTMAPPER_T780.DLL", false},
        {kKind746, L"IDTEXTMAPPER_T780.DLL", false},
        {kKind752, L"IDTEXTMAPPER_T752.DLL", true},
        {kKind760, L"IDTEXTMAPPER.DLL", false},
        {kKind781, L"IDTEXTMAPPER_T780.DLL", false},
    });
    for (const MapperCase& row : kCases) {
        SCOPED_TRACE(row.kind);
        InstallFakeMaker();
        Connect(row.kind);
        EXPECT_EQ(TimesLoaded(row.library), 1U);
        EXPECT_TRUE(TextMapper(row.kind, BaseLog()).HasUnitTexts());
        analyser_.reset();
        EXPECT_EQ(TimesLoaded(row.library), 0U);
        EXPECT_FALSE(Logged("IDTEXTMAPPER_T780.DLL not found"));

        RemoveLibrary(row.library);
        Connect(row.kind);
        EXPECT_EQ(Logged("IDTEXTMAPPER_T752.DLL loaded"), row.loaded_line);
        EXPECT_TRUE(Logged("IDTEXTMAPPER_T780.DLL not found"));  // in these words whichever is missing
        EXPECT_TRUE(Logged("de-DE"));
    }
}

// Configuration as a whole.

struct RoomCase {
    std::uint32_t measured;
    std::size_t used;
    std::uint32_t last;
    bool fuel;
};

TEST_F(Generation2010Test, SpecialChannelsNeedRoom) {
    constexpr std::array kCases = std::to_array<RoomCase>({
        {0, 7, kSmokePump, true},
        {56, 63, kSmokePump, true},
        {57, 63, kSerialNumber, true},
        {58, 63, kVersion, true},
        {59, 63, kDevice, true},
        {60, 63, kReferenceOxygen, true},
        {61, 63, kVersion, false},
        {62, 63, kDevice, false},
        {63, 63, 0x503F, false},
        {64, 63, 0x503F, false},
        {200, 63, 0x503F, false},
    });
    for (const RoomCase& row : kCases) {
        SCOPED_TRACE(row.measured);
        InstallFakeMaker();
        FillValues(row.measured);
        Connect();
        ASSERT_EQ(Configure(), kDone);
        EXPECT_EQ(Used(), row.used);
        EXPECT_EQ(channels_[Used() - 1].view_ident, row.last);
        EXPECT_EQ(Find(channels_, kFuel, 0) != nullptr, row.fuel);
        EXPECT_EQ(Maker().CallsOf("GetActiveFuelID"), row.fuel ? 1U : 0U);
        EXPECT_TRUE(Logged("Total Number of online channels " + std::to_string(row.used)));
        EXPECT_TRUE(Logged("done reading online configuration"));
    }
}

TEST_F(Generation2010Test, SpecialChannelsCarryTheAnalysersData) {
    Maker().Data().smoke_pump  = std::u16string(300, u'7');
    Maker().Data().active_fuel = 100;
    Maker().Data().measurement = 0x8765;
    Maker().Data().firmware    = 0x1203;
    Connect();
    ASSERT_EQ(Configure(), kDone);

    EXPECT_EQ(Label(channels_[0]), L"Fuel type");
    EXPECT_EQ(Text(channels_[0]), L"Heating oil EL");
    EXPECT_EQ(channels_[0].value_type, kText);
    EXPECT_EQ(channels_[0].value, 1.0F);
    EXPECT_EQ(channels_[0].resolution, kWholeNumber);
    EXPECT_TRUE(Logged("Active FuelID  100"));

    const ChannelRecord* carbon_dioxide = Find(channels_, kMaximumCarbonDioxide, kPercent);
    const ChannelRecord* oxygen         = Find(channels_, kReferenceOxygen, kPercent);
    ASSERT_TRUE(carbon_dioxide != nullptr && oxygen != nullptr);
    EXPECT_EQ(carbon_dioxide->value, 15.4F);
    EXPECT_EQ(oxygen->value, 3.0F);
    EXPECT_EQ(oxygen->resolution, kOneDecimal);

    EXPECT_EQ(Text(channels_[3]), L"nelto 745");
    EXPECT_EQ(Text(channels_[4]), L"12.03");
    EXPECT_EQ(Text(channels_[5]), L"00012345");
    EXPECT_EQ(Text(channels_[6]), std::wstring(31, L'7'));
    EXPECT_EQ(channels_[6].value_type, kText);
    EXPECT_EQ(Maker().CallsOf("SetCurrentMeasurement 34661"), 1U);
}

struct DeviceCase {
    std::uint32_t kind;
    std::uint32_t device_type;
    const wchar_t* text;
};

TEST_F(Generation2010Test, DeviceTextOfEachModel) {
    constexpr std::array kCases = std::to_array<DeviceCase>({
        {kKind711, 1, L"nelto 710"},
        {kKind745, 1, L"nelto 745"},
        {kKind746, 2, L"nelto 780-2"},
        {kKind752, 1, L"nelto 752"},
        {kKind760, 1, L"nelto 760"},
        {kKind781, 4, L"nelto 780-4"},
        {kKind781, 0xEEEEEE05, L"nelto 780-5"},
    });
    for (const DeviceCase& row : kCases) {
        Maker().Data().device_type = row.device_type;
        Connect(row.kind);
        ASSERT_EQ(Configure(), kDone);
        const ChannelRecord* device = Find(channels_, kDevice, 0);
        ASSERT_NE(device, nullptr);
        EXPECT_EQ(Text(*device), row.text);
    }
}

TEST_F(Generation2010Test, SmokePumpAndFuelAreShownAsFarAsTheyAreKnown) {
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_NE(Find(channels_, kSmokePump, 0), nullptr);

    Connect(kKind752);
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Find(channels_, kSmokePump, 0), nullptr);
    EXPECT_EQ(Maker().CallsOf("GetSmokePumpNumber"), 1U);

    Maker().Data().smoke_pump         = u"";
    Maker().Data().active_fuel        = 105;  // one without a number
    Maker().results["GetAppFuelData"] = 3;
    Connect();
    ASSERT_EQ(Configure(), kDone);
    EXPECT_EQ(Find(channels_, kSmokePump, 0), nullptr);
    EXPECT_EQ(channels_[0].view_ident, kFuel);
    EXPECT_EQ(channels_[0].value_type, kNoValue);
    EXPECT_EQ(channels_[0].value, 0.0F);
    EXPECT_EQ(channels_[1].view_ident, kDevice);
}

// Values.

TEST_F(Generation2010Test, ValuesGoToTheChannelOfTheirIdentAndUnit) {
    Maker().Data().values = {Record(0x0101, 90.0F), Record(0x0101, 194.0F, 2), Record(0x00020B01, 7.0F),
                             Record(0x0104, 1.0F)};
    Connect();
    ASSERT_EQ(Configure(), kDone);
    channels_[63] = {.view_ident = 0x0999, .unit = 1};  // all 64 records are looked at

    simulator::Value2010 finer = Record(0x0101, 91.5F, 2);
    finer.resolution           = 253;
    Maker().Data().values      = {BitsRecord(0x00020B02, 131), finer,           Record(0x0103, 5.0F),
                                  Record(0x0999, 2.0F),        Record(0, 1.0F), Record(0x0104, 9.0F)};
    ASSERT_EQ(ReadValues(), kDone);
    EXPECT_EQ(channels_[0].value, 90.0F);
    EXPECT_EQ(channels_[1].value, 91.5F);
    EXPECT_EQ(channels_[1].resolution, 253U);
    EXPECT_EQ(channels_[2].value_type, kNoValue);
    EXPECT_EQ(channels_[2].value, 7.0F);
    EXPECT_EQ(channels_[3].value, 1.0F);  // stands behind the ident 0, which ends the pass
    EXPECT_EQ(channels_[63].value, 2.0F);
    EXPECT_TRUE(Logged("New Online Value: ViewIdent 00020B02, Value 0.000000"));
    EXPECT_TRUE(Logged("New Online Value: ViewIdent 00000101, Value 91.500000"));
    EXPECT_FALSE(Logged("New Online Value: ViewIdent 00000104, Value 9.000000"));
}

TEST_F(Generation2010Test, CountsOfTheLibraryAreNotTrusted) {
    FillValues(2);
    Maker().Data().cache = {{Record(0x0101, 80.0F)}};
    for (const std::uint32_t lie : {4097U, 0x10000000U, 0xFFFFFFFFU}) {
        Connect();
        LieAboutCounts(lie);
        EXPECT_EQ(Configure(), kBadAnswer);
        EXPECT_TRUE(Logged("Invalid response GetMeasCacheValues"));
        EXPECT_EQ(ReadValues(), kBadAnswer);
    }
    EXPECT_EQ(Maker().CallsOf("GetCurrentViewValues"), 0U);

    LieAboutCounts(4096);                     // far more than there are: the rest is empty
    RemoveLibrary(L"IDTEXTMAPPER_T780.DLL");  // without it every ident has a label
    Connect();
    EXPECT_EQ(Configure(), kDone);
    EXPECT_EQ(Used(), 10U);
}

}  // namespace
}  // namespace nelto::test
