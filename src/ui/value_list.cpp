#include "ui/value_list.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cstdint>

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

LVITEMW Cell(std::size_t row, std::size_t column, const wchar_t* text) {
    LVITEMW cell{};
    cell.mask     = LVIF_TEXT;
    cell.iItem    = static_cast<int>(row);
    cell.iSubItem = static_cast<int>(column);
    cell.pszText  = const_cast<wchar_t*>(text);  // not written to
    return cell;
}

std::wstring CellText(HWND list, std::size_t row, std::size_t column) {
    std::array<wchar_t, kValueTextSize> shown{};
    LVITEMW cell    = Cell(row, column, nullptr);
    cell.pszText    = shown.data();
    cell.cchTextMax = static_cast<int>(shown.size());
    SendMessageW(list, LVM_GETITEMTEXTW, row, reinterpret_cast<LPARAM>(&cell));
    return shown.data();
}

std::wstring RowText(HWND list, std::size_t row, std::size_t columns) {
    std::wstring text;
    for (std::size_t column = 0; column < columns; ++column) {
        text += OnOneLine(CellText(list, row, column));
        text += column + 1 < columns ? L"\t" : L"\r\n";
    }
    return text;
}

int NextSelected(HWND list, int row) {
    return static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(row), LVNI_SELECTED));
}

/// Another program may have the clipboard for a moment.
bool OpenClipboardSoon(HWND window) {
    constexpr int kTries  = 10;
    constexpr DWORD kWait = 10;  // milliseconds
    for (int tries = 0; tries < kTries; ++tries) {
        if (OpenClipboard(window) != FALSE) return true;
        Sleep(kWait);
    }
    return false;
}

/// The system owns the memory once the clipboard has taken it.
void PutOnClipboard(HWND window, const std::wstring& text) {
    const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
    if (!OpenClipboardSoon(window)) return;
    EmptyClipboard();
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
    if (memory != nullptr) {
        std::copy_n(text.c_str(), text.size() + 1, static_cast<wchar_t*>(GlobalLock(memory)));
        GlobalUnlock(memory);
        if (SetClipboardData(CF_UNICODETEXT, memory) == nullptr) GlobalFree(memory);
    }
    CloseClipboard();
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

std::size_t RowCount(HWND list) { return static_cast<std::size_t>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0)); }

void AppendEmptyRow(HWND list) {
    const LVITEMW cell = Cell(RowCount(list), 0, L"");
    SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&cell));
}

void CorrectRow(HWND list, std::size_t row, std::span<const std::wstring> texts) {
    for (std::size_t column = 0; column < texts.size(); ++column) {
        if (CellText(list, row, column) == texts[column]) continue;
        const LVITEMW cell = Cell(row, column, texts[column].c_str());
        SendMessageW(list, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&cell));
    }
}

void InsertColumn(HWND list, std::size_t column, std::uint32_t text_id, int width) {
    std::wstring text = LoadText(text_id);
    LVCOLUMNW description{};
    description.mask     = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
    description.cx       = width;
    description.pszText  = text.data();
    description.iSubItem = static_cast<int>(column);
    SendMessageW(list, LVM_INSERTCOLUMNW, column, reinterpret_cast<LPARAM>(&description));
}

int SelectedRow(HWND list) { return NextSelected(list, -1); }

bool IsControlKey(const NMHDR& header, WORD key) {
    const bool is_held = GetKeyState(VK_CONTROL) < 0 && GetKeyState(VK_MENU) >= 0;
    return is_held && reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey == key;
}

void CopyRows(HWND list) {
    const auto header         = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    const std::size_t columns = static_cast<std::size_t>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0));
    const bool all            = SelectedRow(list) < 0;
    std::wstring text;
    for (std::size_t row = 0; row < RowCount(list); ++row) {
        const bool is_selected = NextSelected(list, static_cast<int>(row) - 1) == static_cast<int>(row);
        if (all || is_selected) text += RowText(list, row, columns);
    }
    if (!text.empty()) PutOnClipboard(list, text);
}

}  // namespace nelto::ui
