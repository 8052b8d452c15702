#include "ui/status_text.h"

#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr int kLineHeight = 8;  // dialog units

int InPixels(HWND dialog, int dialog_units) {
    RECT rectangle = {0, 0, 0, dialog_units};
    MapDialogRect(dialog, &rectangle);
    return rectangle.bottom;
}

/// Height of the text in pixels when it is wrapped at `width`, or at nothing for a width of 0.
int TextHeight(HWND control, const std::wstring& text, int width) {
    const HDC screen       = GetDC(control);
    const HGDIOBJ previous = SelectObject(screen, reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)));
    RECT rectangle         = {0, 0, width, 0};
    const UINT wrapping    = width != 0 ? DT_WORDBREAK : DT_SINGLELINE;
    DrawTextW(screen, text.c_str(), -1, &rectangle, DT_CALCRECT | DT_NOPREFIX | wrapping);
    SelectObject(screen, previous);
    ReleaseDC(control, screen);
    return rectangle.bottom;
}

int NeededHeight(HWND dialog, HWND control, int width) {
    const std::wstring text = ControlText(dialog, IDC_STATUS);
    const int wrapped       = TextHeight(control, text, width);
    const bool fits         = wrapped <= TextHeight(control, text, 0);
    return fits ? InPixels(dialog, kLineHeight) : wrapped;
}

}  // namespace

void ShowStatusText(HWND dialog, const std::wstring& text) {
    if (ControlText(dialog, IDC_STATUS) == text) return;
    SetControlText(dialog, IDC_STATUS, text);
    PlaceStatusText(dialog);
}

void PlaceStatusText(HWND dialog) {
    const HWND control = GetDlgItem(dialog, IDC_STATUS);
    const RECT place   = ControlPlace(dialog, IDC_STATUS);
    const RECT picture = ControlPlace(dialog, IDC_SMALL_PICTURE);
    const int width    = place.right - place.left;
    const int height   = NeededHeight(dialog, control, width);
    const int top      = (picture.top + picture.bottom - height) / 2;
    if (top == place.top && height == place.bottom - place.top) return;
    SetWindowPos(control, nullptr, place.left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace nelto::ui
