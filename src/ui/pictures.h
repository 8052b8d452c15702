// The pictures of the main dialog.
#pragma once

#include <windows.h>

#include <cstdint>

namespace nelto::ui {

/// Draws picture `picture`, in the set for the dialog's scaling, centred in the control's place; its magenta is transparent.
/// A missing picture draws nothing.
void DrawPicture(HWND dialog, HDC screen, int control_id, std::uint32_t picture);

}  // namespace nelto::ui
