// Which quantities a generation-2004 analyser shows.
#include <algorithm>
#include <array>
#include <vector>

#include "instrument/generation2004/analyser_2004.h"
#include "instrument/greek_letters.h"
#include "instrument/table_builder.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

// The table is filled only while it has room for what a step may add.
constexpr std::size_t kRoomForAdditional = 58;
constexpr std::size_t kRoomForFuel       = 61;
constexpr std::size_t kRoomForDevice     = 63;

constexpr std::uint32_t kAlsoNoValue  = 0x4F800000;  // 2^32 as a single: an additional channel that was never entered
constexpr float kLargestOilDerivative = 1.5F;
constexpr std::uint8_t kFirstNoFuel   = 18;

struct FuelClassRow {
    std::uint8_t fuel_number;
    float fuel_class;
};

// clang-format off
constexpr std::array kFuelClasses = {
    FuelClassRow{0,  1.0F},
    FuelClassRow{2,  2.0F},
    FuelClassRow{5,  9.0F},
    FuelClassRow{6,  8.0F},
    FuelClassRow{7,  4.0F},
    FuelClassRow{8,  3.0F},
    FuelClassRow{12, 5.0F},
    FuelClassRow{13, 11.0F},
    FuelClassRow{14, 11.0F},
    FuelClassRow{17, 8.0F},
};
// clang-format on

constexpr std::array kDeviceNames = {
    L"nelto 780", L"nelto 780-1", L"nelto 780-2", L"nelto 780-3", L"nelto 785", L"nelto 780-1 HD", L"nelto 780-2 HD",
};

/// The measured quantity of one view, as the analyser lists them.
struct VisibleView {
    std::uint32_t view_ident;
    std::uint16_t text_key;
};

struct MeasuredChannel {
    std::uint32_t view_ident;
    std::uint8_t unit;
};

/// One configuration read, step by step in the order of the conversation. A step that fails returns false.
class ConfigurationReader {
public:
    ConfigurationReader(Session& session, ChannelTable& channels)
        : session_(session), talk_(session), table_(channels, kChannelCapacity, L"?") {}

    bool Read() {
        return ReadVisibleViews() && ReadMeasuredChannels() && ReadAdditionalChannels() && ReadFuel() &&
               ReadDeviceData();
    }

private:
    bool ReadVisibleViews();
    bool ReadMeasuredChannels();
    bool ReadLabel(ChannelRecord& record);
    bool ReadAdditionalChannels();
    void AddAdditional(const ByteView& value_record);
    bool ReadFuel();
    bool ReadFuelName(std::uint8_t fuel_number);
    bool ReadFuelParameters(std::uint8_t fuel_number);
    bool ReadDeviceData();
    bool AddDeviceType();
    bool AddFirmwareVersion();
    bool AddSerialNumber();
    bool AddSmokePump();

    bool AskAbout(std::uint8_t command, std::uint8_t parameter) {
        return talk_.Ask(std::array<std::uint8_t, 2>{command, parameter});
    }
    bool AskViewText(std::uint16_t text_key, std::size_t capacity) {
        return talk_.Ask(std::array<std::uint8_t, 3>{kReadViewText, static_cast<std::uint8_t>(text_key),
                                                     static_cast<std::uint8_t>(text_key >> 8)},
                         kAnswerTimeout, capacity);
    }

    Session& session_;
    Conversation2004 talk_;
    TableBuilder table_;
    std::vector<VisibleView> views_;
};

bool ConfigurationReader::ReadVisibleViews() {
    session_.log.Write(L"GetOnlineConfiguration: GET_ALLVISIBLEVIEWIDENTS");
    if (!talk_.Ask(kGetAllVisibleIdents)) {
        session_.Failed(L"GetOnlineConfiguration: Error reading ViewIdents");
        return false;
    }
    session_.log.WriteF(L"Returned buffer size: %u", static_cast<unsigned>(talk_.Answer().Size()));
    for (std::size_t index = 0; index < talk_.RecordCount(kViewIdentEntrySize); ++index) {
        const ByteView entry = talk_.Record(index, kViewIdentEntrySize);
        views_.push_back({.view_ident = entry.Long(0), .text_key = entry.Word(8)});
    }
    return true;
}

bool ConfigurationReader::ReadMeasuredChannels() {
    if (!talk_.Ask(kGetMeasConfig) || talk_.Answer().Size() != kMeasConfigAnswer) return false;
    if (!talk_.Ask(talk_.Answer().Byte(4) == kMeasConfig4 ? kReadValuesConfig4 : kReadValues)) return false;

    const std::size_t count = std::min(talk_.RecordCount(kValueRecordSize), kChannelCapacity);
    session_.log.WriteF(L"Number of channels: %u", static_cast<unsigned>(count));
    // The label reads below replace the answer, so its idents and units are taken over first.
    std::vector<MeasuredChannel> measured;
    for (std::size_t index = 0; index < count; ++index) {
        const ByteView value_record = talk_.Record(index, kValueRecordSize);
        measured.push_back({.view_ident = value_record.Long(0), .unit = value_record.Byte(8)});
    }
    for (std::size_t index = 0; index < count; ++index) {
        ChannelRecord* record = table_.Add(measured[index].view_ident, measured[index].unit);
        if (record == nullptr || !ReadLabel(*record)) return false;
        session_.log.WriteF(L"Channel %u", static_cast<unsigned>(index));
    }
    return true;
}

bool ConfigurationReader::ReadLabel(ChannelRecord& record) {
    const auto view = std::ranges::find(views_, record.view_ident, &VisibleView::view_ident);
    if (view == views_.end()) return true;
    if (!AskViewText(view->text_key, kViewTextCapacity)) return false;
    if (talk_.Payload().Size() == 0) return true;
    platform::CopyText(record.label, WithoutGreekLetters(Utf16Text(talk_.Payload())));
    return true;
}

bool ConfigurationReader::ReadAdditionalChannels() {
    if (!talk_.Ask(kReadAdditionalValues)) {
        session_.Failed(L"error reading additional channels");
        return false;
    }
    if (table_.Count() >= kRoomForAdditional) return true;
    for (std::uint32_t ident = kHeatCarrierTemperature; ident <= kOilDerivative; ++ident) {
        for (std::size_t index = 0; index < talk_.RecordCount(kValueRecordSize); ++index) {
            const ByteView value_record = talk_.Record(index, kValueRecordSize);
            if (value_record.Long(0) == ident) AddAdditional(value_record);
        }
    }
    return true;
}

void ConfigurationReader::AddAdditional(const ByteView& value_record) {
    ChannelRecord* record = table_.Add(value_record.Long(0), value_record.Byte(8));
    if (record == nullptr) return;
    record->value            = -1.0F;
    const std::uint32_t bits = value_record.Long(4);
    if (bits == kNoValueMark || bits == kAlsoNoValue) return;
    record->value = value_record.Single(4);
    if (record->view_ident == kOilDerivative && record->value > kLargestOilDerivative) return;
    record->value_type = kNumber;
}

bool ConfigurationReader::ReadFuel() {
    if (table_.Count() >= kRoomForFuel) return true;
    if (!talk_.Ask(kReadFuelSelection) || !talk_.Answer().Covers(4, 1)) return false;
    const std::uint8_t fuel_number = talk_.Answer().Byte(4);
    return ReadFuelName(fuel_number) && ReadFuelParameters(fuel_number);
}

bool ConfigurationReader::ReadFuelName(std::uint8_t fuel_number) {
    if (!AskAbout(kReadFuelEntry, fuel_number) || !talk_.Answer().Covers(4, 2)) return false;
    if (!AskViewText(talk_.Answer().Word(4), kAnswerCapacity)) return false;
    const auto row       = std::ranges::find(kFuelClasses, fuel_number, &FuelClassRow::fuel_number);
    const bool known     = fuel_number < kFirstNoFuel && row != kFuelClasses.end();
    ChannelRecord record = TextRecord(kFuel, kNoUnit, L"Fuel type", Utf16Text(talk_.Payload()));
    record.value         = known ? row->fuel_class : 0.0F;
    record.value_type    = known ? kText : kNoValue;  // a fuel without a class is shown without its name
    table_.Add(record);
    return true;
}

bool ConfigurationReader::ReadFuelParameters(std::uint8_t fuel_number) {
    if (!AskAbout(kReadFuelParameters, fuel_number) || !talk_.Answer().Covers(4, 8)) return false;
    table_.Add(NumberRecord(kMaximumCarbonDioxide, kPercent, L"CO2max", talk_.Answer().Single(4)));
    table_.Add(NumberRecord(kReferenceOxygen, kPercent, L"O2Ref", talk_.Answer().Single(8)));
    return true;
}

bool ConfigurationReader::ReadDeviceData() {
    constexpr std::array kSteps = {&ConfigurationReader::AddDeviceType, &ConfigurationReader::AddFirmwareVersion,
                                   &ConfigurationReader::AddSerialNumber, &ConfigurationReader::AddSmokePump};
    for (const auto step : kSteps) {
        if (table_.Count() >= kRoomForDevice) break;
        if (!(this->*step)()) return false;
    }
    session_.log.Write(L"Nelto780GetOnlineConfiguration2004 finished");
    return true;
}

bool ConfigurationReader::AddDeviceType() {
    session_.log.Write(L"get device type");
    if (!talk_.Ask(kGetDeviceType) || !talk_.Answer().Covers(4, 1)) return false;
    const std::size_t type = talk_.Answer().Byte(4);
    table_.Add(TextRecord(kDevice, kNoUnit, L"Device", kDeviceNames[type < kDeviceNames.size() ? type : 0]));
    return true;
}

bool ConfigurationReader::AddFirmwareVersion() {
    session_.log.Write(L"get firmware version");
    if (!talk_.Ask(kGetFirmwareVersion) || !talk_.Answer().Covers(4, 4)) return false;
    const std::wstring text =
        platform::Formatted(L"%X.%02X", unsigned{talk_.Answer().Byte(7)}, unsigned{talk_.Answer().Byte(6)});
    table_.Add(TextRecord(kVersion, kNoUnit, L"Version", text));
    return true;
}

bool ConfigurationReader::AddSerialNumber() {
    session_.log.Write(L"get serial number");
    if (!talk_.Ask(kGetSerialNumber) || !talk_.Answer().Covers(4, 4)) return false;
    table_.Add(TextRecord(kSerialNumber, kNoUnit, L"SerNo", platform::Formatted(L"%08u", talk_.Answer().Long(4))));
    return true;
}

bool ConfigurationReader::AddSmokePump() {
    session_.log.Write(L"get smoke pump number");
    if (!talk_.Ask(kGetSmokePumpNumber)) return false;
    const std::size_t whole_characters = talk_.Payload().Size() / 2 * 2;
    table_.Add(TextRecord(kSmokePump, kNoUnit, L"SmokeP", Utf16Text(talk_.Payload().Part(0, whole_characters))));
    return true;
}

}  // namespace

std::uint32_t Analyser2004::ReadConfiguration(ChannelTable& channels) {
    return ConfigurationReader(session_, channels).Read() ? kDone : kBadAnswer;
}

}  // namespace nelto
