// The smallest dialog program with a list of 40 rows: what Windows itself takes to start and to stay open. Measured beside the
// program.
#include <windows.h>

#include <commctrl.h>

#include <cwchar>

namespace {

constexpr int kDialog  = 1;
constexpr int kList    = 100;
constexpr int kRows    = 40;
constexpr int kColumns = 3;
constexpr int kWidth   = 75;  // pixels of a column

void FillList(HWND list) {
    for (int column = 0; column < kColumns; ++column) {
        wchar_t title[]       = L"Column";
        LVCOLUMNW description = {};
        description.mask      = LVCF_TEXT | LVCF_WIDTH;
        description.cx        = kWidth;
        description.pszText   = title;
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&description));
    }
    for (int cell = 0; cell < kRows * kColumns; ++cell) {
        wchar_t text[16];
        std::swprintf(text, 16, L"Cell %d", cell);
        LVITEMW item       = {};
        item.mask          = LVIF_TEXT;
        item.iItem         = cell / kColumns;
        item.iSubItem      = cell % kColumns;
        item.pszText       = text;
        const UINT message = item.iSubItem == 0 ? LVM_INSERTITEMW : LVM_SETITEMW;
        SendMessageW(list, message, 0, reinterpret_cast<LPARAM>(&item));
    }
}

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM w_param, LPARAM) {
    if (message == WM_INITDIALOG) FillList(GetDlgItem(dialog, kList));
    if (message == WM_COMMAND && LOWORD(w_param) == IDCANCEL) EndDialog(dialog, 0);
    return message == WM_INITDIALOG ? TRUE : FALSE;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t*, int) {
    InitCommonControls();
    DialogBoxParamW(instance, MAKEINTRESOURCEW(kDialog), nullptr, Procedure, 0);
    return 0;
}
