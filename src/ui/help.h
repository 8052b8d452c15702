// The help file beside the program.
#pragma once

#include <windows.h>

namespace nelto::ui {

/// Opens the help file of the user's language; says so when it cannot be opened.
void OpenHelp(HWND dialog);

}  // namespace nelto::ui
