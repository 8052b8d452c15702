#include "ui/value_menu.h"

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <string>

#include "ui/resource.h"
#include "ui/value_list.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr LPARAM kFromKeyboard = -1;

void AppendEntry(HMENU menu, UINT command, std::uint32_t text_id, const wchar_t* key, bool is_enabled) {
    std::wstring text = LoadText(text_id);
    if (key != nullptr) text.append(L"\t").append(LoadText(IDS_CONTROL_KEY)).append(L"+").append(key);
    AppendMenuW(menu, is_enabled ? MF_STRING : MF_STRING | MF_GRAYED, command, text.c_str());
}

POINT PlaceOfMenu(HWND list, LPARAM position) {
    if (position != kFromKeyboard) return {GET_X_LPARAM(position), GET_Y_LPARAM(position)};
    RECT row           = {LVIR_LABEL, 0, 0, 0};
    const int selected = SelectedRow(list);
    if (selected < 0 ||
        SendMessageW(list, LVM_GETITEMRECT, static_cast<WPARAM>(selected), reinterpret_cast<LPARAM>(&row)) == FALSE) {
        row = {};
    }
    RECT area{};
    GetClientRect(list, &area);
    POINT at = {row.left, std::clamp(row.bottom, area.top, area.bottom)};  // the row may be scrolled out of sight
    ClientToScreen(list, &at);
    return at;
}

}  // namespace

void ShowValueMenu(HWND dialog, HWND list, LPARAM position, bool can_save) {
    const HMENU menu = CreatePopupMenu();
    AppendEntry(menu, IDM_COPY, IDS_COPY, L"C", RowCount(list) != 0);
    AppendEntry(menu, IDM_COURSE, IDS_OPEN_COURSE, L"T", true);
    AppendEntry(menu, IDM_SAVE_COURSE, IDS_SAVE_COURSE, nullptr, can_save);
    const POINT at = PlaceOfMenu(list, position);
    TrackPopupMenu(menu, TPM_RIGHTBUTTON, at.x, at.y, 0, dialog, nullptr);
    DestroyMenu(menu);
}

}  // namespace nelto::ui
