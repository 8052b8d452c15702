// The menu of the list of values.
#pragma once

#include <windows.h>

namespace nelto::ui {

/// Shows the menu where WM_CONTEXTMENU says, or at the selected row when it came from the keyboard. What is chosen reaches the
/// dialog as a command.
void ShowValueMenu(HWND dialog, HWND list, LPARAM position, bool can_save);

}  // namespace nelto::ui
