#include "ui/window_text.h"

namespace nelto::ui {
namespace {

/// Looked up by name: where a Windows does not have these functions, the main screen's scaling is used.
template <typename Function>
Function ScalingFunction(const char* name) {
    const FARPROC function = GetProcAddress(GetModuleHandleW(L"user32.dll"), name);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

}  // namespace

std::wstring ControlText(HWND dialog, int control_id) {
    const HWND control = GetDlgItem(dialog, control_id);
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)), L'\0');
    const int copied = GetWindowTextW(control, text.data(), static_cast<int>(text.size()) + 1);
    text.resize(static_cast<std::size_t>(copied));
    return text;
}

void SetControlText(HWND dialog, int control_id, const std::wstring& text) {
    if (ControlText(dialog, control_id) != text) SetDlgItemTextW(dialog, control_id, text.c_str());
}

void SetControlTexts(HWND dialog, std::span<const ControlTextRow> rows) {
    for (const ControlTextRow& row : rows) SetControlText(dialog, row.control_id, LoadText(row.text_id));
}

RECT ControlPlace(HWND dialog, int control_id) {
    RECT place{};
    GetWindowRect(GetDlgItem(dialog, control_id), &place);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

void EnableControl(HWND dialog, int control_id, bool enabled) {
    const HWND control = GetDlgItem(dialog, control_id);
    const HWND focus   = GetFocus();
    EnableWindow(control, enabled ? TRUE : FALSE);
    if (enabled || (focus != control && !IsChild(control, focus))) return;
    const HWND next = GetNextDlgTabItem(dialog, control, FALSE);
    SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), TRUE);
}

bool IsControlEnabled(HWND dialog, int control_id) { return IsWindowEnabled(GetDlgItem(dialog, control_id)) != FALSE; }

void FocusControl(HWND dialog, int control_id) {
    SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, control_id)), TRUE);
}

std::uint32_t DialogDpi(HWND dialog) {
    using GetDpiForWindowFunction = UINT(WINAPI*)(HWND);
    if (const auto get = ScalingFunction<GetDpiForWindowFunction>("GetDpiForWindow")) return get(dialog);
    const HDC screen = GetDC(nullptr);
    const int dpi    = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return static_cast<std::uint32_t>(dpi);
}

int DialogMetric(HWND dialog, int metric) {
    using GetSystemMetricsForDpiFunction = int(WINAPI*)(int, UINT);
    const auto get                       = ScalingFunction<GetSystemMetricsForDpiFunction>("GetSystemMetricsForDpi");
    return get != nullptr ? get(metric, DialogDpi(dialog)) : GetSystemMetrics(metric);
}

}  // namespace nelto::ui
