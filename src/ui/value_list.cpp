#include "ui/value_list.h"

#include <commctrl.h>

#include <array>
#include <cstdint>
#include <string>

#include "core/value_text.h"
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

LVITEMW Cell(std::size_t row, std::size_t column, const wchar_t* text) {
    LVITEMW cell{};
    cell.mask     = LVIF_TEXT;
    cell.iItem    = static_cast<int>(row);
    cell.iSubItem = static_cast<int>(column);
    cell.pszText  = const_cast<wchar_t*>(text);  // not written to
    return cell;
}

void InsertEmptyRow(HWND list, std::size_t row) {
    const LVITEMW cell = Cell(row, kChannelColumn, L"");
    SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&cell));
}

bool ShowsText(HWND list, std::size_t row, std::size_t column, const std::wstring& text) {
    std::array<wchar_t, kValueTextSize> shown{};
    LVITEMW cell    = Cell(row, column, nullptr);
    cell.pszText    = shown.data();
    cell.cchTextMax = static_cast<int>(shown.size());
    SendMessageW(list, LVM_GETITEMTEXTW, row, reinterpret_cast<LPARAM>(&cell));
    return text == shown.data();
}

void CorrectRow(HWND list, std::size_t row, const ListRow& texts) {
    for (std::size_t column = 0; column < texts.size(); ++column) {
        if (ShowsText(list, row, column, texts[column])) continue;
        const LVITEMW cell = Cell(row, column, texts[column].c_str());
        SendMessageW(list, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&cell));
    }
}

void CorrectRows(HWND list, std::span<const ListRow> rows) {
    for (std::size_t row = 0; row < rows.size(); ++row) CorrectRow(list, row, rows[row]);
}

std::size_t RowCount(HWND list) { return static_cast<std::size_t>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0)); }

void Rebuild(HWND list, std::span<const ListRow> rows) {
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    EmptyValueList(list);
    for (std::size_t row = 0; row < rows.size(); ++row) InsertEmptyRow(list, row);
    CorrectRows(list, rows);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
}

}  // namespace

void PrepareValueList(HWND list) {
    constexpr DWORD kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT;
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, kStyles, kStyles);
    for (std::size_t index = 0; index < kColumnTexts.size(); ++index) {
        std::wstring text = StringText(kColumnTexts[index]);
        LVCOLUMNW column{};
        column.mask     = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.cx       = ColumnWidth(list);
        column.pszText  = text.data();
        column.iSubItem = static_cast<int>(index);
        SendMessageW(list, LVM_INSERTCOLUMNW, index, reinterpret_cast<LPARAM>(&column));
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
