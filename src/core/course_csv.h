// The recorded courses as a table for spreadsheets.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/course_recorder.h"

namespace nelto {

/// As the user's spreadsheet reads them.
struct TableSeparators {
    wchar_t list    = L',';
    wchar_t decimal = L'.';
};

/// Writes all that is kept into the file at `path`: UTF-8 with byte-order mark, lines end with CR LF; a row of names, then a row for
/// each second with its local time and, where there is a value, the number as it was shown. It is written beside the file and
/// takes its place when it is whole. Returns 0 or the system's error number; then the file is what it was.
[[nodiscard]] std::uint32_t SaveCourse(const CourseRecorder& recorder, TableSeparators separators,
                                       const std::wstring& path);

/// A name for the file: the analyser and the local time of the latest measurement, with nothing that a file name cannot hold.
[[nodiscard]] std::wstring CourseFileName(const CourseRecorder& recorder, std::wstring_view device);

}  // namespace nelto
