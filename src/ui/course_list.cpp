#include "ui/course_list.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/course_view.h"
#include "ui/resource.h"
#include "ui/value_list.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr std::array<std::uint32_t, kCourseColumnCount> kColumnTexts = {
    IDS_CHANNEL_COLUMN, IDS_COURSE_NOW,     IDS_COURSE_MEAN_30, IDS_COURSE_MINIMUM,
    IDS_COURSE_MEAN,    IDS_COURSE_MAXIMUM, IDS_UNIT_COLUMN,
};

constexpr int kNumberWidth = 72;  // pixels at 96 dpi
constexpr UINT kUnchecked  = 1;   // state pictures of a list with check marks
constexpr UINT kChecked    = 2;

UINT MarkOf(UINT state) { return (state & LVIS_STATEIMAGEMASK) >> 12; }

void SetMark(HWND list, std::size_t row, bool is_checked) {
    const UINT shown = static_cast<UINT>(SendMessageW(list, LVM_GETITEMSTATE, row, LVIS_STATEIMAGEMASK));
    const UINT mark  = is_checked ? kChecked : kUnchecked;
    if (MarkOf(shown) == mark) return;
    LVITEMW item{};
    item.state     = INDEXTOSTATEIMAGEMASK(mark);
    item.stateMask = LVIS_STATEIMAGEMASK;
    SendMessageW(list, LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
}

}  // namespace

void CourseList::Attach(HWND list) {
    constexpr DWORD kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_CHECKBOXES | LVS_EX_DOUBLEBUFFER;
    list_                   = list;
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, kStyles, kStyles);
    for (std::size_t column = 0; column < kColumnTexts.size(); ++column)
        InsertColumn(list, column, kColumnTexts[column], 0);
    FitColumns();
}

/// The numbers get what they need, the names the rest; where there is much of it, the numbers more.
void CourseList::FitColumns() const {
    const int dpi = static_cast<int>(DialogDpi(list_));
    RECT place{};
    GetWindowRect(list_, &place);
    const int frame   = DialogMetric(list_, SM_CXVSCROLL) + 2 * DialogMetric(list_, SM_CXEDGE);
    const int columns = static_cast<int>(kCourseColumnCount);
    const int width   = place.right - place.left - frame;
    const int number  = std::max(MulDiv(kNumberWidth, dpi, USER_DEFAULT_SCREEN_DPI), width / (columns + 1));
    const int name    = width - (columns - 1) * number;
    for (std::size_t column = 0; column < kColumnTexts.size(); ++column) {
        SendMessageW(list_, LVM_SETCOLUMNWIDTH, column, column == kCourseChannel ? name : number);
    }
}

void CourseList::Refresh() {
    is_filled_ = false;
    if (!is_touched_) settings_.choice.ChooseUsual(recorder_.Series());
    const std::size_t rows = recorder_.Series().size();
    if (RowCount(list_) > rows) SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
    while (RowCount(list_) < rows) AppendEmptyRow(list_);
    for (std::size_t row = 0; row < rows; ++row) ShowRow(row);
    is_filled_ = true;
}

void CourseList::ShowRow(std::size_t row) {
    const CourseSeries& series = recorder_.Series()[row];
    std::vector<float> values(std::size_t{settings_.span_minutes} * 60);
    recorder_.CopyLatest(series, values);
    CorrectRow(list_, row, CourseRowOf(series, Summarise(values), decimal_separator_));
    SetMark(list_, row, settings_.choice.Has(series.Key()));
}

CourseList::Change CourseList::HandleChange(const NMLISTVIEW& change) {
    const UINT mark = MarkOf(change.uNewState);
    const auto row  = static_cast<std::size_t>(change.iItem);
    const bool is_new =
        is_filled_ && (change.uChanged & LVIF_STATE) != 0 && mark != 0 && mark != MarkOf(change.uOldState);
    if (!is_new || row >= recorder_.Series().size()) return Change::kNone;
    const CourseKey& key = recorder_.Series()[row].Key();
    if (change.hdr.code == LVN_ITEMCHANGING) {
        const bool is_refused =
            mark == kChecked && settings_.choice.IsFull(recorder_.Series()) && !settings_.choice.Has(key);
        return is_refused ? Change::kRefused : Change::kNone;
    }
    is_touched_ = true;
    if (mark == kChecked) settings_.choice.Add(key, recorder_.Series());
    if (mark == kUnchecked) settings_.choice.Remove(key);
    return Change::kChosen;
}

}  // namespace nelto::ui
