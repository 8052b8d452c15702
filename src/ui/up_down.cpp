#include "ui/up_down.h"

#include <commctrl.h>

#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr DWORD kUpDownStyle =
    WS_CHILD | WS_VISIBLE | WS_BORDER | UDS_WRAP | UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_NOTHOUSANDS;

/// The up-down control whose buddy the field is; null when it has none.
HWND FindUpDown(HWND dialog, int field_id) {
    const HWND field = GetDlgItem(dialog, field_id);
    HWND up_down     = nullptr;
    do {
        up_down = FindWindowExW(dialog, up_down, UPDOWN_CLASSW, nullptr);
    } while (up_down != nullptr && reinterpret_cast<HWND>(SendMessageW(up_down, UDM_GETBUDDY, 0, 0)) != field);
    return up_down;
}

}  // namespace

void AttachUpDown(HWND dialog, int field_id, int lowest, int highest) {
    const std::wstring text = ControlText(dialog, field_id);
    const HWND up_down      = CreateWindowExW(0, UPDOWN_CLASSW, nullptr, kUpDownStyle, 0, 0, 0, 0, dialog, nullptr,
                                              GetModuleHandleW(nullptr), nullptr);
    SendMessageW(up_down, UDM_SETBUDDY, reinterpret_cast<WPARAM>(GetDlgItem(dialog, field_id)), 0);
    SendMessageW(up_down, UDM_SETRANGE32, static_cast<WPARAM>(lowest), highest);
    SetControlText(dialog, field_id, text);  // the control may have put its own whole number there
}

void SetUpDownText(HWND dialog, int field_id, const std::wstring& text, int number) {
    SendMessageW(FindUpDown(dialog, field_id), UDM_SETPOS32, 0, number);
    SetControlText(dialog, field_id, text);
}

void EnableUpDown(HWND dialog, int field_id, bool enabled) {
    EnableControl(dialog, field_id, enabled);
    EnableWindow(FindUpDown(dialog, field_id), enabled ? TRUE : FALSE);
}

}  // namespace nelto::ui
