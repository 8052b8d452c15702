#include "core/exchange_file.h"

#include <algorithm>
#include <array>

#include "core/value_text.h"
#include "platform/byte_text.h"
#include "platform/files.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::uint32_t kAnyUnit = 0xFFFFFFFF;

struct ExchangeRow {
    std::uint32_t view_ident;
    std::uint32_t unit;
    std::uint32_t key;
};

// clang-format off
constexpr std::array kExchangeRows = {
    ExchangeRow{0x0101,                  1,        1101},
    ExchangeRow{0x0101,                  2,        1102},
    ExchangeRow{0x0102,                  1,        1001},
    ExchangeRow{0x0102,                  2,        1002},
    ExchangeRow{0x0103,                  1,        1201},
    ExchangeRow{0x0103,                  2,        1202},
    ExchangeRow{0x0107,                  1,        1301},
    ExchangeRow{0x0107,                  2,        1302},
    ExchangeRow{0x0113,                  1,        1601},
    ExchangeRow{0x0113,                  2,        1602},
    ExchangeRow{0x0114,                  1,        1501},
    ExchangeRow{0x0114,                  2,        1502},
    ExchangeRow{0x0301,                  23,       4010},
    ExchangeRow{0x0301,                  24,       4010},
    ExchangeRow{0x0301,                  137,      4011},
    ExchangeRow{0x0301,                  25,       4012},
    ExchangeRow{0x0303,                  23,       4210},
    ExchangeRow{0x0303,                  24,       4210},
    ExchangeRow{0x0303,                  137,      4211},
    ExchangeRow{0x0303,                  25,       4212},
    ExchangeRow{0x0901,                  130,      2003},
    ExchangeRow{0x0902,                  130,      2203},
    ExchangeRow{0x0902,                  131,      2204},
    ExchangeRow{0x0902,                  136,      2217},
    ExchangeRow{0x0903,                  130,      2703},
    ExchangeRow{0x0903,                  131,      2704},
    ExchangeRow{0x0903,                  136,      2717},
    ExchangeRow{0x0906,                  130,      2103},
    ExchangeRow{0x0906,                  131,      2104},
    ExchangeRow{0x0907,                  130,      2403},
    ExchangeRow{0x0907,                  131,      2404},
    ExchangeRow{0x0909,                  130,      2603},
    ExchangeRow{0x0909,                  131,      2604},
    ExchangeRow{0x090C,                  kAnyUnit, 5121},
    ExchangeRow{0x090D,                  130,      2303},
    ExchangeRow{0x090D,                  131,      2304},
    ExchangeRow{0x090D,                  136,      2317},
    ExchangeRow{0x090E,                  130,      2503},
    ExchangeRow{0x090E,                  131,      2504},
    ExchangeRow{0x090F,                  130,      2803},
    ExchangeRow{0x0910,                  130,      3703},
    ExchangeRow{0x0916,                  kAnyUnit, 5020},
    ExchangeRow{0x0919,                  130,      3803},
    ExchangeRow{0x0919,                  131,      3804},
    ExchangeRow{0x091A,                  130,      3503},
    ExchangeRow{0x091F,                  130,      2903},
    ExchangeRow{0x0B01,                  kAnyUnit, 5321},
    ExchangeRow{0x0B02,                  kAnyUnit, 5521},
    ExchangeRow{0x0B03,                  kAnyUnit, 5421},
    ExchangeRow{0x0B07,                  kAnyUnit, 5221},
    ExchangeRow{0x0B08,                  kAnyUnit, 5621},
    ExchangeRow{kHeatCarrierTemperature, 1,        1401},
    ExchangeRow{kHeatCarrierTemperature, 2,        1402},
    ExchangeRow{kSmokeNumber1,           kAnyUnit, 6020},
    ExchangeRow{kSmokeNumber2,           kAnyUnit, 6120},
    ExchangeRow{kSmokeNumber3,           kAnyUnit, 6220},
    ExchangeRow{kSmokeNumberMean,        kAnyUnit, 6520},  // mean and oil derivative: keys out of the order of the idents
    ExchangeRow{kOilDerivative,          kAnyUnit, 6320},
    ExchangeRow{kFuel,                   kAnyUnit, 6420},
    ExchangeRow{kDevice,                 kAnyUnit, 9000},
    ExchangeRow{kVersion,                kAnyUnit, 9100},
    ExchangeRow{kSerialNumber,           kAnyUnit, 9200},
    ExchangeRow{kSmokePump,              kAnyUnit, 9300},
};
// clang-format on

struct HeatingCheckRow {
    std::uint32_t view_ident;
    std::uint32_t key;
};

// clang-format off
constexpr std::array kHeatingCheckRows = {
    HeatingCheckRow{0xFF2E, 9050263},
    HeatingCheckRow{0xFF2F, 9050267},
    HeatingCheckRow{0xFF30, 9050265},
    HeatingCheckRow{0xFF35, 9050260},
    HeatingCheckRow{0xFF3E, 9050266},
    HeatingCheckRow{0xFF3F, 9050326},
    HeatingCheckRow{0xFF47, 8340},
    HeatingCheckRow{0xFF4C, 9050264},
    HeatingCheckRow{0x0102, 9050272},
    HeatingCheckRow{0x0B01, 9050262},
    HeatingCheckRow{0xFF40, 9050296},
    HeatingCheckRow{0xFF41, 9050306},
    HeatingCheckRow{0xFF42, 9050316},
    HeatingCheckRow{0xFF43, 9050336},
    HeatingCheckRow{0xFF44, 9050346},
    HeatingCheckRow{0xFF45, 9050356},
    HeatingCheckRow{0xFF4B, 9050287},
    HeatingCheckRow{0x0101, 9050273},
    HeatingCheckRow{0x0901, 9050271},
};
// clang-format on

/// By view ident and unit code.
std::uint32_t ChannelKey(std::uint32_t view_ident, std::uint32_t unit) {
    const auto row          = std::ranges::find_if(kExchangeRows, [=](const ExchangeRow& candidate) {
        return candidate.view_ident == view_ident && (candidate.unit == unit || candidate.unit == kAnyUnit);
    });
    const std::uint32_t key = row == kExchangeRows.end() ? 0 : row->key;
    platform::DebugOutput(platform::Formatted(L"GetIdent %08x, Unit %u, ID %u", view_ident, unit, key).c_str());
    return key;
}

std::uint32_t HeatingCheckKey(std::uint32_t view_ident) {
    const auto row = std::ranges::find(kHeatingCheckRows, view_ident, &HeatingCheckRow::view_ident);
    return row == kHeatingCheckRows.end() ? 0 : row->key;
}

}  // namespace

std::vector<KeyedRecord> KeyedRecords(const Measurement& measurement) {
    std::vector<KeyedRecord> records;
    for (const ChannelRecord& record : UsedRecords(measurement.channels)) {
        if (IsHandedOn(record, measurement)) records.push_back({record, ChannelKey(record.view_ident, record.unit)});
    }
    for (const ChannelRecord& record : UsedRecords(measurement.heating_check)) {
        records.push_back({record, HeatingCheckKey(record.view_ident)});
    }
    return records;
}

std::wstring ExchangeText(const std::wstring& caller_word, wchar_t decimal_separator, const Measurement& measurement) {
    std::wstring lines;
    if (!caller_word.empty()) lines += caller_word + L'\n';
    for (const auto& [record, key] : KeyedRecords(measurement)) {
        if (key == 0) continue;
        lines += platform::Formatted(L"%04u=", key) + OnOneLine(RecordValueText(record, decimal_separator)) + L'\n';
    }
    return lines;
}

void WriteExchangeFile(const ProgramState& state, const Measurement& measurement) {
    const std::wstring lines        = ExchangeText(state.caller_word, state.decimal_separator, measurement);
    const std::string text          = platform::WithCrLf(platform::ToAnsi(lines));
    const platform::FileHandle file = platform::OpenEmptiedFile(state.exchange_file.data());
    if (file == platform::FileHandle::kNone) return;
    const bool is_whole = platform::WriteToFile(file, text);
    platform::CloseFile(file);
    if (!is_whole) platform::RemoveFile(state.exchange_file.data());
}

}  // namespace nelto
