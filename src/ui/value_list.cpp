#include "ui/value_list.h"

#include <commctrl.h>

#include <array>
#include <cstdint>

#include "ui/list_cells.h"
#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr std::array<std::uint32_t, kColumnCount> kColumnTexts = {
    IDS_CHANNEL_COLUMN,
    IDS_VALUE_COLUMN,
    IDS_UNIT_COLUMN,
};

constexpr int kColumnMargin = 8;  // pixels at 96 dpi: the frame and a scroll bar, shared out over the columns

int ColumnWidth(HWND list) {
    RECT place{};
    GetWindowRect(list, &place);
    const int margin = MulDiv(kColumnMargin, static_cast<int>(DialogDpi(list)), USER_DEFAULT_SCREEN_DPI);
    return (place.right - place.left) / static_cast<int>(kColumnCount) - margin;
}

void CorrectRows(HWND list, std::span<const ListRow> rows) {
    for (std::size_t row = 0; row < rows.size(); ++row) CorrectRow(list, row, rows[row]);
}

void Rebuild(HWND list, std::span<const ListRow> rows) {
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    EmptyValueList(list);
    for (std::size_t row = 0; row < rows.size(); ++row) AppendEmptyRow(list);
    CorrectRows(list, rows);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
}

}  // namespace

void PrepareValueList(HWND list) {
    constexpr DWORD kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT;
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, kStyles, kStyles);
    for (std::size_t index = 0; index < kColumnTexts.size(); ++index) {
        InsertColumn(list, index, kColumnTexts[index], ColumnWidth(list));
    }
}

void FitValueColumns(HWND list) {
    for (std::size_t index = 0; index < kColumnTexts.size(); ++index) {
        SendMessageW(list, LVM_SETCOLUMNWIDTH, index, ColumnWidth(list));
    }
}

void EmptyValueList(HWND list) {
    if (RowCount(list) != 0) SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
}

void ShowValueRows(HWND list, std::span<const ListRow> rows) {
    if (RowCount(list) != rows.size()) {
        Rebuild(list, rows);
        return;
    }
    CorrectRows(list, rows);
}

}  // namespace nelto::ui
