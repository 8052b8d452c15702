#include "reader/formats.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <vector>

#include "core/dialog_view.h"
#include "core/exchange_file.h"
#include "core/manual_values.h"
#include "core/value_text.h"
#include "platform/byte_text.h"
#include "platform/wide_text.h"

namespace nelto::reader {
namespace {

using platform::TextIn;
using platform::ToUtf8;

constexpr const char* kNull = "null";

/// By AcquisitionStatus.
constexpr std::array<const char*, 5> kStatusNames = {"searching", "reading", "values", "broken", "no_values"};

/// The value as it is shown, with a point; empty where there is none.
std::string ShownValue(const ChannelRecord& record) {
    const bool is_missing =
        record.value_type == kNoValue || (record.value_type == kNumber && !std::isfinite(record.value));
    return is_missing ? std::string() : ToUtf8(OnOneLine(RecordValueText(record, L'.')));
}

void AppendPadded(std::wstring& line, const std::wstring& text, std::size_t width, bool to_the_right) {
    const std::wstring blanks(width - std::min(width, text.size()), L' ');
    line += to_the_right ? blanks + text : text + blanks;
}

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string field = "\"";
    for (const char character : text) field += character == '"' ? std::string("\"\"") : std::string(1, character);
    return field + '"';
}

std::string Quoted(std::string_view text) {
    std::string json = "\"";
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(code));
            json += escape.data();
            continue;
        }
        if (character == '"' || character == '\\') json += '\\';
        json += character;
    }
    return json + '"';
}

std::string QuotedOrNull(const std::string& text) { return text.empty() ? kNull : Quoted(text); }

/// The fuel is listed by its name and has its number all the same.
std::string NumberOf(const ChannelRecord& record) {
    if (record.value_type != kNumber && record.view_ident != kFuel) return kNull;
    if (!std::isfinite(record.value)) return kNull;
    std::array<char, 32> digits{};
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), record.value).ptr};
}

std::string JsonValue(const KeyedRecord& row) {
    const ChannelRecord& record = row.record;
    return "{\"ident\":" + std::to_string(record.view_ident) +
           ",\"key\":" + (row.key == 0 ? kNull : std::to_string(row.key)) +
           ",\"name\":" + QuotedOrNull(ToUtf8(TextIn(record.label))) + ",\"value\":" + NumberOf(record) +
           ",\"text\":" + QuotedOrNull(ShownValue(record)) +
           ",\"unit\":" + QuotedOrNull(ToUtf8(UnitText(record.unit))) +
           ",\"unit_code\":" + std::to_string(record.unit) + "}";
}

/// The text of the first channel with this ident.
std::string TextOf(const Measurement& measurement, std::uint32_t view_ident) {
    const auto records = UsedRecords(measurement.channels);
    const auto record  = std::ranges::find(records, view_ident, &ChannelRecord::view_ident);
    return record == records.end() ? std::string() : ToUtf8(TextIn(record->text));
}

std::string JsonDevice(const Measurement& measurement) {
    return "{\"name\":" + QuotedOrNull(ToUtf8(TextIn(measurement.device_name))) +
           ",\"version\":" + QuotedOrNull(TextOf(measurement, kVersion)) +
           ",\"serial_number\":" + QuotedOrNull(TextOf(measurement, kSerialNumber)) + "}";
}

/// The dialog's fields with what the analyser has, and nothing typed. They are locked while the fuel is not oil.
ManualValues UntouchedFields(const Measurement& measurement, wchar_t decimal_separator) {
    const TypedFields fields = ViewTypedFields(measurement.channels, decimal_separator);
    ManualValues untouched;
    for (std::size_t index = 0; index < fields.smoke_numbers.size(); ++index) {
        untouched.smoke_numbers[index] = fields.smoke_numbers[index].value_or(L"");
    }
    untouched.heat_carrier_temperature = fields.heat_carrier_temperature.value_or(L"");
    untouched.oil_derivative           = fields.oil_derivative.value_or(kOilUnanswered);
    untouched.smoke_entered            = measurement.oil_fuel;
    return untouched;
}

}  // namespace

std::string TimeText(const Moment& moment) {
    const platform::CalendarTime& time = moment.time;
    const std::int32_t minutes         = std::abs(moment.minutes_ahead);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02u%c%02d:%02d", time.year, time.month, time.day,
                  time.hour, time.minute, time.second, moment.minutes_ahead < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return text.data();
}

std::string TableText(const Measurement& measurement, wchar_t decimal_separator) {
    const std::vector<ListRow> rows = ListRows(measurement, decimal_separator);
    std::array<std::size_t, kColumnCount> widths{};
    for (const ListRow& row : rows) {
        for (std::size_t column = 0; column < kColumnCount; ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    std::string table;
    for (const ListRow& row : rows) {
        std::wstring line;
        AppendPadded(line, row[kChannelColumn], widths[kChannelColumn] + 2, false);
        AppendPadded(line, row[kValueColumn], widths[kValueColumn], true);
        if (!row[kUnitColumn].empty()) line += L"  " + row[kUnitColumn];
        table += ToUtf8(OnOneLine(line)) + '\n';
    }
    return table;
}

std::string ExchangeLines(const Measurement& measurement, wchar_t decimal_separator) {
    Measurement accepted = measurement;
    StoreManualValues(UntouchedFields(measurement, decimal_separator), accepted.channels);
    return ToUtf8(ExchangeText({}, decimal_separator, accepted));
}

std::string CsvHeader(const Measurement& measurement) {
    std::string header = "time";
    for (const KeyedRecord& row : KeyedRecords(measurement)) {
        const std::wstring unit = UnitText(row.record.unit);
        const std::wstring name = std::wstring(TextIn(row.record.label)) + (unit.empty() ? L"" : L" [" + unit + L"]");
        header += ',' + CsvField(ToUtf8(OnOneLine(name)));
    }
    return header + '\n';
}

std::string CsvRow(const Moment& moment, const Measurement& measurement) {
    std::string line = TimeText(moment);
    for (const KeyedRecord& row : KeyedRecords(measurement)) line += ',' + CsvField(ShownValue(row.record));
    return line + '\n';
}

std::string JsonLine(const Moment& moment, std::uint32_t status, const Measurement& measurement) {
    std::string values;
    if (status == kValuesAvailable) {
        for (const KeyedRecord& row : KeyedRecords(measurement)) values += (values.empty() ? "" : ",") + JsonValue(row);
    }
    return R"({"time":")" + TimeText(moment) + R"(","status":")" +
           kStatusNames[std::min<std::size_t>(status, kNoValidValues)] + R"(","device":)" + JsonDevice(measurement) +
           R"(,"values":[)" + values + "]}\n";
}

}  // namespace nelto::reader
