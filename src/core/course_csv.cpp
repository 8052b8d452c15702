#include "core/course_csv.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/course_view.h"
#include "core/value_text.h"
#include "platform/byte_text.h"
#include "platform/files.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::wstring_view kNothingShown = L"-";
constexpr std::size_t kPieceSize          = std::size_t{256} * 1024;

/// Received texts: a spreadsheet would take one that begins like a formula for one.
std::wstring Quoted(std::wstring text) {
    constexpr std::wstring_view kFormulaSigns = L"=+-@";
    text                                      = OnOneLine(std::move(text));
    if (!text.empty() && kFormulaSigns.find(text.front()) != kFormulaSigns.npos) text.insert(0, 1, L'\'');
    std::wstring quoted = L"\"";
    for (const wchar_t character : text) {
        if (character == L'"') quoted += character;
        quoted += character;
    }
    return quoted + L'"';
}

std::wstring NameOf(const CourseSeries& series) {
    const std::wstring unit = UnitText(series.Key().unit);
    std::wstring name(platform::TextIn(series.Name().label));
    if (!unit.empty()) name.append(L" [").append(unit).append(L"]");
    return Quoted(std::move(name));
}

std::wstring TimeText(
    LocalSecond moment,
    platform::TextFormat<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>
        format) {
    const platform::CalendarTime time = ToCalendarTime(moment);
    std::array<wchar_t, 64> text{};
    platform::FormatText(text, format, time.year, time.month, time.day, time.hour, time.minute, time.second);
    return std::wstring(platform::TextIn(text));
}

/// The table, row by row.
class Table {
public:
    Table(const CourseRecorder& recorder, TableSeparators separators)
        : recorder_(recorder), separators_(separators), cells_(recorder.Series().size()) {
        // A number with a decimal comma needs another separator between two of them.
        if (separators_.list == separators_.decimal) separators_.list = L';';
    }

    void AppendNames(std::string& bytes) const {
        std::wstring row = L"time";
        for (const CourseSeries& series : recorder_.Series()) row.append(1, separators_.list).append(NameOf(series));
        bytes += platform::ToUtf8(row + L"\r\n");
    }

    void AppendSecond(std::string& bytes, std::uint32_t second) {
        std::wstring row = TimeText(recorder_.LocalTimeOf(second), L"%04u-%02u-%02u %02u:%02u:%02u");
        for (std::size_t index = 0; index < cells_.size(); ++index) {
            row.append(1, separators_.list).append(CellText(index, second));
        }
        bytes += platform::ToUtf8(row + L"\r\n");
    }

private:
    struct Cell {
        float value = kGap;
        std::wstring text;
    };

    /// Many values stay for a while: then the text does too.
    const std::wstring& CellText(std::size_t index, std::uint32_t second) {
        const CourseSeries& series = recorder_.Series()[index];
        Cell& cell                 = cells_[index];
        const float value          = series.At(second);
        if (value == cell.value) return cell.text;
        cell.value = value;
        cell.text  = NumberText(value, series.Name().resolution, separators_.decimal);
        if (cell.text == kNothingShown) cell.text.clear();
        return cell.text;
    }

    const CourseRecorder& recorder_;
    TableSeparators separators_;
    std::vector<Cell> cells_;
};

std::uint32_t WriteTable(const CourseRecorder& recorder, TableSeparators separators, const wchar_t* path) {
    Table table(recorder, separators);
    std::string piece(kByteOrderMark);
    table.AppendNames(piece);
    for (std::uint32_t second = recorder.First(); second <= recorder.Last(); ++second) {
        table.AppendSecond(piece, second);
        if (piece.size() < kPieceSize) continue;
        if (const std::uint32_t error = platform::AppendToFile(path, piece); error != 0) return error;
        piece.clear();
    }
    return platform::AppendToFile(path, piece);
}

}  // namespace

std::uint32_t SaveCourse(const CourseRecorder& recorder, TableSeparators separators, const std::wstring& path) {
    const std::wstring beside = path + L".part";
    platform::RemoveFile(beside.c_str());
    std::uint32_t error = WriteTable(recorder, separators, beside.c_str());
    if (error == 0) error = platform::MoveFileOver(beside.c_str(), path.c_str());
    if (error != 0) platform::RemoveFile(beside.c_str());
    return error;
}

std::wstring CourseFileName(const CourseRecorder& recorder, std::wstring_view device) {
    constexpr std::wstring_view kForbidden = L"<>:\"/\\|?*";
    std::wstring name                      = OnOneLine(std::wstring(device));
    std::ranges::replace_if(
        name, [&](wchar_t character) { return kForbidden.find(character) != kForbidden.npos; }, L'-');
    return name + TimeText(recorder.LocalTimeOf(recorder.Last()), L" %04u-%02u-%02u %02u-%02u-%02u");
}

}  // namespace nelto
