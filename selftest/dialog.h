// The dialogs of the program, driven by control id, and pictures of them.
#pragma once

#include <windows.h>

#include <string>

namespace selftest {

/// Control ids of the two dialogs.
enum Control : int { kSettings = 503, kOk = 504, kCancel = 505, kHelp = 508, kBluetooth = 562, kValues = 595 };

/// The visible window of this process whose caption begins so, after a wait of `limit_ms` at most; null when there is none.
[[nodiscard]] HWND WindowOf(DWORD process_id, const std::wstring& caption, DWORD limit_ms);

/// The visible window of this class that was not there before, likewise.
[[nodiscard]] HWND WindowOfClass(const std::wstring& class_name, DWORD limit_ms);

/// True once the control is there and can be used.
[[nodiscard]] bool WaitEnabled(HWND dialog, int control, DWORD limit_ms);
/// Rows of the list of values.
[[nodiscard]] LRESULT RowCount(HWND dialog);
/// Presses a button and goes on.
void Press(HWND dialog, int control);

/// What stands on the screen where the window is, as the bytes of a BMP file.
[[nodiscard]] std::string PictureOf(HWND window);

}  // namespace selftest
