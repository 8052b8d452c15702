#include "ui/window_place.h"

#include <algorithm>

namespace nelto::ui {
namespace {

WindowPlace ToPlace(const RECT& rectangle) {
    return {rectangle.left, rectangle.top, rectangle.right - rectangle.left, rectangle.bottom - rectangle.top};
}

RECT WorkAreaNear(const WindowPlace& place) {
    const RECT wanted = {place.left, place.top, place.left + place.width, place.top + place.height};
    MONITORINFO screen{};
    screen.cbSize = sizeof screen;
    GetMonitorInfoW(MonitorFromRect(&wanted, MONITOR_DEFAULTTONEAREST), &screen);
    return screen.rcWork;
}

}  // namespace

WindowPlace PlaceOf(HWND window) {
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    RECT rectangle{};
    if (IsZoomed(window) != FALSE && GetWindowPlacement(window, &placement) != FALSE)
        return ToPlace(placement.rcNormalPosition);
    GetWindowRect(window, &rectangle);
    return ToPlace(rectangle);
}

void PutOnScreen(HWND window, const WindowPlace& place) {
    const RECT work  = WorkAreaNear(place);
    const int width  = std::clamp<int>(place.width, 1, work.right - work.left);
    const int height = std::clamp<int>(place.height, 1, work.bottom - work.top);
    const int left   = std::clamp<int>(place.left, work.left, work.right - width);
    const int top    = std::clamp<int>(place.top, work.top, work.bottom - height);
    SetWindowPos(window, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

WindowPlace MiddleOf(HWND owner, HWND window, int percent) {
    const WindowPlace outer = PlaceOf(owner);
    WindowPlace place       = PlaceOf(window);
    place.width             = MulDiv(place.width, percent, 100);
    place.height            = MulDiv(place.height, percent, 100);
    place.left              = outer.left + (outer.width - place.width) / 2;
    place.top               = outer.top + (outer.height - place.height) / 2;
    return place;
}

}  // namespace nelto::ui
