// What nelto-read prints of a measurement: UTF-8, each line ended by a line feed.
#pragma once

#include <cstdint>
#include <string>

#include "core/measurement.h"
#include "platform/clock.h"

namespace nelto::reader {

/// A moment as the user's clock shows it.
struct Moment {
    platform::CalendarTime time;
    std::int32_t minutes_ahead = 0;  // of universal time
};

/// "2011-03-07T14:05:09+01:00"
[[nodiscard]] std::string TimeText(const Moment& moment);

/// Name, value and unit in columns, as the dialog lists them.
[[nodiscard]] std::string TableText(const Measurement& measurement, wchar_t decimal_separator);

/// The lines of the exchange file as the dialog would write it when nothing is typed into its fields.
[[nodiscard]] std::string ExchangeLines(const Measurement& measurement, wchar_t decimal_separator);

/// "time" and a column a row of the dialog's list, with its unit in brackets.
[[nodiscard]] std::string CsvHeader(const Measurement& measurement);
/// The values to it, with a point; a field is empty where there is none.
[[nodiscard]] std::string CsvRow(const Moment& moment, const Measurement& measurement);

/// One object. Only with the status kValuesAvailable it holds values.
[[nodiscard]] std::string JsonLine(const Moment& moment, std::uint32_t status, const Measurement& measurement);

}  // namespace nelto::reader
