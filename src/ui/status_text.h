// The line beside the small picture that says how the measurement stands.
#pragma once

#include <windows.h>

#include <string>

namespace nelto::ui {

/// Shows the text, and on two lines one that is too wide for its place.
void ShowStatusText(HWND dialog, const std::wstring& text);

/// Places the standing text anew; called when the dialog comes to a screen of another scaling.
void PlaceStatusText(HWND dialog);

}  // namespace nelto::ui
