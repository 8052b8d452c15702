#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <set>

#include "generation2010_fixture.h"
#include "platform/wide_text.h"

namespace nelto::test {
namespace {

using platform::memory::RemoveLibrary;
using platform::memory::TimesLoaded;

/// Everything about a record: "ident/unit type value/resolution label=text".
std::string Shown(const ChannelRecord& channel) {
    std::array<wchar_t, 256> shown{};
    platform::FormatText(shown, L"%X/%u %u %f/%u %ls=%ls", channel.view_ident, channel.unit, channel.value_type,
                         static_cast<double>(channel.value), channel.resolution, channel.label.data(),
                         channel.text.data());
    return {shown.begin(), std::ranges::find(shown, L'\0')};
}

class Channels2010Test : public Generation2010Test {
protected:
    /// The first records, of a connection that has just been configured.
    Lines Configured(std::size_t count, std::uint32_t kind = kKind745) {
        Connect(kind);
        EXPECT_EQ(Configure(), kDone);
        return First(count);
    }
    [[nodiscard]] Lines First(std::size_t count) const {
        Lines lines;
        for (const ChannelRecord& channel : std::span(channels_).first(count)) lines.push_back(Shown(channel));
        return lines;
    }
    [[nodiscard]] const ChannelRecord* Find(std::uint32_t view_ident) const {
        const auto found = std::ranges::find(channels_, view_ident, &ChannelRecord::view_ident);
        return found == channels_.end() ? nullptr : &*found;
    }
};

// Measurement cache and the rule by which a record becomes a channel.

TEST_F(Channels2010Test, CachedValuesComeBeforeCurrentOnesAndDoublesAreDropped) {
    Maker().Data().cache = {
        {Record(0x0101, 80.0F), Record(0x0101, 81.0F)}, {}, {Record(0x0101, 176.0F, 2), Record(0, 5.0F)}};
    Maker().Data().values = {Record(0x0101, 90.0F), Record(0x00020B01, 7.0F), Record(0x00020B02, 8.0F)};
    channels_.fill({.view_ident = 0x7777, .unit = 9, .value_type = kNumber});  // of an earlier connection
    // The other ident of the same view is a double as well.
    EXPECT_EQ(Configured(4), (Lines{"101/1 1 80.000000/254 V101=", "101/2 1 176.000000/254 V101=",
                                    "B01/1 1 7.000000/254 V20b01=", "FFF0/0 2 2.000000/0 Fuel type=Natural gas"}));
    EXPECT_EQ(Used(), 10U);
    EXPECT_EQ(Maker().CallsOf("GetMeasCacheValues"), 3U);
    EXPECT_TRUE(Logged("MeasCache Counter 3"));
    EXPECT_TRUE(Logged("MeasCache Position 1, number of values 0"));
    EXPECT_TRUE(Logged("ViewIdent 00000101, Ident2010 00000101, Unit 2, Type 1, Value 176.000000 Ident V101"));
    EXPECT_TRUE(Logged("Number of online channels 3"));
}

TEST_F(Channels2010Test, StatusWordsAreNoValues) {
    const std::set words = {128U, 129U, 130U, 131U, 132U, 133U, 138U, 0xFFFFFFFFU};
    for (const std::uint32_t bits : {0U, 127U, 128U, 129U, 130U, 131U, 132U, 133U, 134U, 137U, 138U, 139U, 0x3F800000U,
                                     0xFFFFFFFEU, 0xFFFFFFFFU}) {
        SCOPED_TRACE(bits);
        Maker().Data().values = {BitsRecord(0x0101, bits)};
        Configured(0);
        EXPECT_EQ(channels_[0].value_type, words.contains(bits) ? kNoValue : kNumber);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(channels_[0].value), words.contains(bits) ? 0 : bits);
    }
}

TEST_F(Channels2010Test, LabelsComeFromTheTextMapper) {
    const std::u16string long_name(200, u'\x03BB');
    Maker().Data().texts = {
        {0x0101, u"\x03BB", u"German"}, {0x0102, u"CO\x2082", {}}, {0x0103, {}, {}}, {0x0104, long_name, {}}};
    Maker().Data().values = {Record(0x0101, 1.0F), Record(0x0102, 1.0F), Record(0x0103, 1.0F), Record(0x0104, 1.0F)};
    World().locale_tag    = L"en-GB";
    EXPECT_EQ(Configured(3), (Lines{"101/1 1 1.000000/254 lambda=", "102/1 1 1.000000/254 CO2=",
                                    "104/1 1 1.000000/254 lambdalambdalambdalambdalambdal="}));
    EXPECT_EQ(channels_[3].view_ident, kFuel);
}

TEST_F(Channels2010Test, WithoutATextMapperIdentsAreTheLabels) {
    for (const bool has_library : {false, true}) {
        RemoveLibrary(L"IDTEXTMAPPER_T780.DLL");
        if (has_library) platform::memory::InstallLibrary(L"IDTEXTMAPPER_T780.DLL", {});
        Maker().Data().values = {Record(0x80010108, 1.0F)};
        EXPECT_EQ(Configured(2),
                  (Lines{"FF01/1 1 1.000000/254 Id2147549448=", "FFF0/0 2 2.000000/0 Fuel type=Fuel104"}));
        EXPECT_EQ(Logged("IDTEXTMAPPER_T780.DLL not found"), !has_library);
    }
}

TEST_F(Channels2010Test, EachModelHasItsTextMapper) {
    const std::map<std::uint32_t, const wchar_t*> libraries = {
        {kKind711, L"IDTEXTMAPPER_T780.DLL"}, {kKind745, L"IDTEXTMAPPER_T780.DLL"},
        {kKind746, L"IDTEXTMAPPER_T780.DLL"}, {kKind752, L"IDTEXTMAPPER_T752.DLL"},
        {kKind760, L"IDTEXTMAPPER.DLL"},      {kKind781, L"IDTEXTMAPPER_T780.DLL"}};
    for (const auto& [kind, library] : libraries) {
        SCOPED_TRACE(kind);
        InstallFakeMaker();
        Connect(kind);
        EXPECT_EQ(TimesLoaded(library), 1U);
        EXPECT_TRUE(TextMapper(kind, BaseLog()).HasUnitTexts());
        analyser_.reset();
        EXPECT_EQ(TimesLoaded(library), 0U);
        EXPECT_FALSE(Logged("IDTEXTMAPPER_T780.DLL not found"));

        RemoveLibrary(library);
        Connect(kind);
        EXPECT_EQ(Logged("IDTEXTMAPPER_T752.DLL loaded"), kind == kKind752);
        EXPECT_TRUE(Logged("IDTEXTMAPPER_T780.DLL not found"));  // in these words whichever is missing
        EXPECT_TRUE(Logged("de-DE"));
    }
}

// Configuration as a whole.

TEST_F(Channels2010Test, SpecialChannelsNeedRoom) {
    const std::map<std::uint32_t, std::uint32_t> last_by_measured = {
        {0, kSmokePump}, {56, kSmokePump}, {57, kSerialNumber}, {58, kVersion}, {59, kDevice}, {60, kReferenceOxygen},
        {61, kVersion},  {62, kDevice},    {63, 0x503F},        {64, 0x503F},   {200, 0x503F}};
    for (const auto& [measured, last] : last_by_measured) {
        SCOPED_TRACE(measured);
        InstallFakeMaker();
        FillValues(measured);
        Configured(0);
        EXPECT_EQ(Used(), std::min(measured + 7, 63U));
        EXPECT_EQ(channels_[Used() - 1].view_ident, last);
        EXPECT_EQ(Find(kFuel) != nullptr, measured <= 60);
        EXPECT_EQ(Maker().CallsOf("GetActiveFuelID"), measured <= 60 ? 1U : 0U);
        EXPECT_TRUE(Logged("Total Number of online channels " + std::to_string(Used())));
        EXPECT_TRUE(Logged("done reading online configuration"));
    }
}

TEST_F(Channels2010Test, SpecialChannelsCarryTheAnalysersData) {
    Maker().Data().smoke_pump  = std::u16string(300, u'7');
    Maker().Data().active_fuel = 100;
    Maker().Data().measurement = 0x8765;
    Maker().Data().firmware    = 0x1203;
    EXPECT_EQ(Configured(7), (Lines{"FFF0/0 2 1.000000/0 Fuel type=Heating oil EL", "910/130 1 15.400000/255 CO2max=",
                                    "90F/130 1 3.000000/255 O2Ref=", "FFF1/0 2 0.000000/255 Device=nelto 745",
                                    "FFF2/0 2 0.000000/255 Version=12.03", "FFF3/0 2 0.000000/255 SerNo=00012345",
                                    "FFF4/0 2 0.000000/255 =7777777777777777777777777777777"}));
    EXPECT_TRUE(Logged("Active FuelID  100"));
    EXPECT_EQ(Maker().CallsOf("SetCurrentMeasurement 34661"), 1U);
}

TEST_F(Channels2010Test, DeviceTextOfEachModel) {
    constexpr std::tuple<std::uint32_t, std::uint32_t, const wchar_t*> kCases[] = {
        {kKind711, 1, L"nelto 710"},           {kKind745, 1, L"nelto 745"}, {kKind746, 2, L"nelto 780-2"},
        {kKind752, 1, L"nelto 752"},           {kKind760, 1, L"nelto 760"}, {kKind781, 4, L"nelto 780-4"},
        {kKind781, 0xEEEEEE05, L"nelto 780-5"}};
    for (const auto& [kind, device_type, text] : kCases) {
        Maker().Data().device_type = device_type;
        Configured(0, kind);
        ASSERT_NE(Find(kDevice), nullptr);
        EXPECT_EQ(platform::TextIn(Find(kDevice)->text), text);
    }
}

TEST_F(Channels2010Test, SmokePumpAndFuelAreShownAsFarAsTheyAreKnown) {
    Configured(0);
    EXPECT_NE(Find(kSmokePump), nullptr);

    Configured(0, kKind752);
    EXPECT_EQ(Find(kSmokePump), nullptr);
    EXPECT_EQ(Maker().CallsOf("GetSmokePumpNumber"), 1U);

    Maker().Data().smoke_pump         = u"";
    Maker().Data().active_fuel        = 105;  // one without a number
    Maker().results["GetAppFuelData"] = 3;
    EXPECT_EQ(Configured(2),
              (Lines{"FFF0/0 0 0.000000/0 Fuel type=Fuel105", "FFF1/0 2 0.000000/255 Device=nelto 745"}));
    EXPECT_EQ(Find(kSmokePump), nullptr);
}

// Values.

TEST_F(Channels2010Test, ValuesGoToTheChannelOfTheirIdentAndUnit) {
    Maker().Data().values = {Record(0x0101, 90.0F), Record(0x0101, 194.0F, 2), Record(0x00020B01, 7.0F),
                             Record(0x0104, 1.0F)};
    Configured(0);
    channels_[63] = {.view_ident = 0x0999, .unit = 1};  // all 64 records are looked at

    simulator::Value2010 finer = Record(0x0101, 91.5F, 2);
    finer.resolution           = 253;
    Maker().Data().values      = {BitsRecord(0x00020B02, 131), finer,           Record(0x0103, 5.0F),
                                  Record(0x0999, 2.0F),        Record(0, 1.0F), Record(0x0104, 9.0F)};
    ASSERT_EQ(ReadValues(), kDone);
    EXPECT_EQ(First(4),
              (Lines{"101/1 1 90.000000/254 V101=", "101/2 1 91.500000/253 V101=", "B01/1 0 7.000000/254 V20b01=",
                     "104/1 1 1.000000/254 V104="}));  // the last one stands behind the ident 0, which ends the pass
    EXPECT_EQ(channels_[63].value, 2.0F);
    EXPECT_TRUE(Logged("New Online Value: ViewIdent 00020B02, Value 0.000000"));
    EXPECT_TRUE(Logged("New Online Value: ViewIdent 00000101, Value 91.500000"));
    EXPECT_FALSE(Logged("New Online Value: ViewIdent 00000104, Value 9.000000"));
}

TEST_F(Channels2010Test, CountsOfTheLibraryAreNotTrusted) {
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
