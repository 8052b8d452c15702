// The arrow pairs that count the number in an edit field up and down.
#pragma once

#include <windows.h>

#include <string>

namespace nelto::ui {

/// Puts an up-down control into the right end of the field, whose text stays as it is. The dialog owns it.
void AttachUpDown(HWND dialog, int field_id, int lowest, int highest);

/// Sets the field's text; the arrows go on counting from `number`.
void SetUpDownText(HWND dialog, int field_id, const std::wstring& text, int number);

/// Enables or disables the field together with its arrows.
void EnableUpDown(HWND dialog, int field_id, bool enabled);

}  // namespace nelto::ui
