// What the main dialog shows in each state.
#include "core/dialog_view.h"

#include <cmath>
#include <tuple>

#include "core/value_text.h"
#include "platform/wide_text.h"
#include "support.h"

namespace nelto {
namespace {

using DialogViewTest = test::HostTest;

ChannelRecord Record(std::uint32_t view_ident, float value, std::uint32_t type = kNumber, const wchar_t* label = L"") {
    ChannelRecord record{
        .view_ident = view_ident, .unit = kPercent, .resolution = kOneDecimal, .value_type = type, .value = value};
    platform::CopyText(record.label, label);
    return record;
}

TEST_F(DialogViewTest, EachStatusHasItsTextPictureListAndButton) {
    // Status, text, small picture, whether values are listed, the button's change when disabled and when enabled.
    constexpr std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, bool, OkChange, OkChange> kRows[] = {
        {kSearching, 620, 210, false, OkChange::kNone, OkChange::kDisable},
        {kReading, 621, 211, false, OkChange::kNone, OkChange::kNone},
        {kValuesAvailable, 622, 212, true, OkChange::kEnableAndFocus, OkChange::kNone},
        {kBroken, 623, 213, true, OkChange::kNone, OkChange::kNone},
        {kNoValidValues, 624, 214, false, OkChange::kNone, OkChange::kNone},
        {5, 0, 0, false, OkChange::kNone, OkChange::kNone},
    };
    for (const auto& [status, text_id, picture, lists_values, when_disabled, when_enabled] : kRows) {
        SCOPED_TRACE(status);
        const StatusView first = ViewStatus(status, kNeverShown, false), again = ViewStatus(status, status, true);
        EXPECT_EQ(first.text_id, text_id);
        EXPECT_EQ(first.lists_values, lists_values);
        EXPECT_EQ(first.values_arrive, status == kValuesAvailable);
        EXPECT_EQ(first.ok, when_disabled);
        EXPECT_EQ(again.ok, when_enabled);
        EXPECT_TRUE(first.repaint && !again.repaint);
        EXPECT_EQ(SmallPicture(status), picture);
    }
}

TEST_F(DialogViewTest, LargePictureShowsTheInstrumentOnceOneIsFound) {
    constexpr std::uint32_t kRows[][2] = {{710, 200}, {711, 205}, {745, 200}, {746, 200}, {752, 204},
                                          {760, 203}, {780, 200}, {781, 202}, {0, 200}};
    for (const auto& [kind, picture] : kRows) {
        EXPECT_EQ(LargePicture(kSearching, kind), 201U);
        EXPECT_EQ(LargePicture(kReading, kind), picture) << kind;
        EXPECT_EQ(LargePicture(kBroken, kind), picture) << kind;
    }
}

TEST_F(DialogViewTest, AnAnalyserWithoutANameIsADevice) {
    test::World().texts = {{600, L"Device"}};
    Measurement measurement;
    EXPECT_EQ(DeviceText(measurement), L"Device");
    platform::CopyText(measurement.device_name, L"nelto 780-2");
    EXPECT_EQ(DeviceText(measurement), L"nelto 780-2");
}

TEST_F(DialogViewTest, ConnectionTextNamesTheLink) {
    test::World().texts = {{606, L"USB"}, {607, L"IrDA"}, {608, L"Bluetooth"}};
    EXPECT_EQ(ConnectionText(0), L"USB");
    EXPECT_EQ(ConnectionText(1000), L"IrDA");
    EXPECT_EQ(ConnectionText(7), L"Bluetooth COM7");
    EXPECT_EQ(ConnectionText(4294967295U), L"Bluetooth COM4294967295");
}

TEST_F(DialogViewTest, RowsAreTheUsedRecordsAndSmokeChannelsOnlyWithOil) {
    Measurement measurement;
    measurement.channels         = {{Record(0x0901, 20.94F, kNumber, L"O2"),
                                     Record(kSmokeNumber1, 1.0F),
                                     Record(kOilDerivative, 1.0F),
                                     Record(kHeatCarrierTemperature, 0.0F, kNoValue, L"HCT"),
                                     Record(kDevice, 0.0F, kText, L"Device"),
                                     {},
                                     Record(0x0902, 1.0F)}};  // the last one behind a free record
    measurement.channels[4].unit = 777;
    platform::CopyText(measurement.channels[4].text, L"v1.2");
    measurement.heating_check[0] = Record(0xFF2E, 3.0F, kNumber, L"Points");

    const std::vector<ListRow> expected = {
        {L"O2", L"20,9", L"%"}, {L"HCT", L"-", L"%"}, {L"Device", L"v1.2", L"Unit 777"}, {L"Points", L"3,0", L"%"}};
    EXPECT_EQ(ListRows(measurement, L','), expected);
    measurement.oil_fuel = true;
    EXPECT_EQ(ListRows(measurement, L',').size(), 6U);
    measurement.channels.fill(Record(0x0901, 1.0F));
    EXPECT_EQ(ListRows(measurement, L'.').size(), kChannelCapacity + 1);
}

TEST_F(DialogViewTest, TypedFieldsTakeOverOnlyRecordsWithANumber) {
    ChannelTable channels{};
    EXPECT_FALSE(ViewTypedFields(channels, L'.').heat_carrier_temperature);
    channels                 = {{Record(kSmokeNumber1, 2.46F), Record(kSmokeNumber2, -1.0F, kNoValue),
                                 Record(kSmokeNumber3, std::nanf("")), Record(kHeatCarrierTemperature, 65.0F)}};
    channels[3].resolution   = kWholeNumber;  // the field has its own single decimal
    const TypedFields fields = ViewTypedFields(channels, L',');
    EXPECT_EQ(fields.smoke_numbers[0], L"2,5");
    EXPECT_FALSE(fields.smoke_numbers[1] || fields.smoke_numbers[2]);
    EXPECT_EQ(fields.heat_carrier_temperature, L"65,0");
    EXPECT_FALSE(fields.oil_derivative);
}

TEST_F(DialogViewTest, OilAnswerIsReadAndBecomesTheRecordsText) {
    ChannelTable channels{};
    channels[0] = Record(0x0901, 1.0F);
    for (const auto& [value, answer] : {std::pair{0.49F, kOilNo}, {0.5F, kOilYes}, {2.0F, kOilYes}}) {
        channels[1] = Record(kOilDerivative, value);
        EXPECT_EQ(ViewTypedFields(channels, L'.').oil_derivative, answer) << value;
    }
    SetOilDerivativeText(channels, L"NEIN");
    EXPECT_EQ(channels[1].value_type, kText);
    EXPECT_EQ(platform::TextIn(channels[1].text), L"NEIN");
    EXPECT_EQ(channels[0].value_type, kNumber);
}

}  // namespace
}  // namespace nelto
