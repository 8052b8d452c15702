// Texts and states of a dialog's controls.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>

#include "platform/text_service.h"

namespace nelto::ui {

using platform::LoadText;

[[nodiscard]] std::wstring ControlText(HWND dialog, int control_id);

/// Sets the text only where it differs, so that a control that shows it already does not flicker.
void SetControlText(HWND dialog, int control_id, const std::wstring& text);

struct ControlTextRow {
    int control_id;
    std::uint32_t text_id;
};

void SetControlTexts(HWND dialog, std::span<const ControlTextRow> rows);

/// The control's rectangle in pixels of the dialog.
[[nodiscard]] RECT ControlPlace(HWND dialog, int control_id);

/// A control that is disabled hands the focus on to the next: keys that go to a disabled one are lost.
void EnableControl(HWND dialog, int control_id, bool enabled);
[[nodiscard]] bool IsControlEnabled(HWND dialog, int control_id);

/// Moves the focus as the dialog manager does, which also moves the frame of the default button.
void FocusControl(HWND dialog, int control_id);

/// Scaling of the dialog's screen in dots per inch; 96 is 100 %.
[[nodiscard]] std::uint32_t DialogDpi(HWND dialog);

/// A system metric (SM_...) in pixels of the dialog's screen.
[[nodiscard]] int DialogMetric(HWND dialog, int metric);

/// Procedure of a dialog that is created with its object as parameter: the object gets WM_INITDIALOG by Initialise, all later
/// messages by Handle.
template <typename Dialog>
INT_PTR CALLBACK DialogProcedure(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, l_param);
        return reinterpret_cast<Dialog*>(l_param)->Initialise(dialog);
    }
    auto* object = reinterpret_cast<Dialog*>(GetWindowLongPtrW(dialog, DWLP_USER));
    return object == nullptr ? FALSE : object->Handle(message, w_param, l_param);
}

}  // namespace nelto::ui
