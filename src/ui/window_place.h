// Where a window that can be moved and resized stands.
#pragma once

#include <windows.h>

#include "core/course_choice.h"

namespace nelto::ui {

/// Where the window stands, or would stand if it were neither maximised nor minimised.
[[nodiscard]] WindowPlace PlaceOf(HWND window);

/// Puts the window there, but wholly onto the nearest screen, beside its task bar.
void PutOnScreen(HWND window, const WindowPlace& place);

/// In the middle of another window, by this factor larger than it is.
[[nodiscard]] WindowPlace MiddleOf(HWND owner, HWND window, int percent);

}  // namespace nelto::ui
