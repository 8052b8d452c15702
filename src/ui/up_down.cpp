#include "ui/up_down.h"

#include <commctrl.h>

#include <algorithm>
#include <string>

#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr DWORD kUpDownStyle =
    WS_CHILD | WS_VISIBLE | WS_BORDER | UDS_WRAP | UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_NOTHOUSANDS;

HWND CreateUpDown(HWND dialog, HWND field, int lowest, int highest) {
    const HWND up_down = CreateWindowExW(0, UPDOWN_CLASSW, nullptr, kUpDownStyle, 0, 0, 0, 0, dialog, nullptr,
                                         GetModuleHandleW(nullptr), nullptr);
    SendMessageW(up_down, UDM_SETBUDDY, reinterpret_cast<WPARAM>(field), 0);
    SendMessageW(up_down, UDM_SETRANGE32, static_cast<WPARAM>(lowest), highest);
    return up_down;
}

}  // namespace

void UpDownTable::Attach(HWND dialog, int field_id, int lowest, int highest) {
    const HWND field = GetDlgItem(dialog, field_id);
    Entry* entry     = EntryFor(field_id);
    if (field == nullptr || entry == nullptr) return;
    const std::wstring text = ControlText(dialog, field_id);
    *entry                  = {field_id, CreateUpDown(dialog, field, lowest, highest)};
    SetControlText(dialog, field_id, text);  // the control may have put its own whole number there
}

void UpDownTable::SetText(HWND dialog, int field_id, const wchar_t* text, int number) const {
    const HWND up_down = Find(field_id);
    if (up_down != nullptr) SendMessageW(up_down, UDM_SETPOS32, 0, number);
    SetControlText(dialog, field_id, text);
}

void UpDownTable::Enable(HWND dialog, int field_id, bool enabled) const {
    EnableControl(dialog, field_id, enabled);
    const HWND up_down = Find(field_id);
    if (up_down != nullptr) EnableWindow(up_down, enabled ? TRUE : FALSE);
}

HWND UpDownTable::Find(int field_id) const {
    const auto* entry = std::ranges::find(entries_, field_id, &Entry::field_id);
    return entry == entries_.end() ? nullptr : entry->up_down;
}

UpDownTable::Entry* UpDownTable::EntryFor(int field_id) {
    auto* entry = std::ranges::find(entries_, field_id, &Entry::field_id);
    if (entry == entries_.end()) entry = std::ranges::find(entries_, 0, &Entry::field_id);
    return entry == entries_.end() ? nullptr : entry;
}

}  // namespace nelto::ui
