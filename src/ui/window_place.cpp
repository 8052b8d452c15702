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

/// To the place, or as near to it as the area lets a window of this size.
void MoveOnto(HWND window, const RECT& area, const WindowPlace& place, LONG width, LONG height) {
    const LONG left = std::max(area.left, std::min<LONG>(place.left, area.right - width));
    const LONG top  = std::max(area.top, std::min<LONG>(place.top, area.bottom - height));
    SetWindowPos(window, nullptr, left, top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

WindowPlace PlaceOf(HWND window) {
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    RECT rectangle{};
    if ((IsZoomed(window) != FALSE || IsIconic(window) != FALSE) && GetWindowPlacement(window, &placement) != FALSE)
        return ToPlace(placement.rcNormalPosition);
    GetWindowRect(window, &rectangle);
    return ToPlace(rectangle);
}

void PutOnScreen(HWND window, const WindowPlace& place) {
    const RECT work   = WorkAreaNear(place);
    const LONG width  = std::min<LONG>(place.width, work.right - work.left);
    const LONG height = std::min<LONG>(place.height, work.bottom - work.top);
    // First the place: where that screen has another scaling, the window is resized on its way.
    MoveOnto(window, work, place, width, height);
    SetWindowPos(window, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    const WindowPlace sized = PlaceOf(window);  // the window may have a smallest size
    MoveOnto(window, work, place, sized.width, sized.height);
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
