#include "ui/course_plot.h"

#include <windowsx.h>

#include <algorithm>
#include <string>

#include "platform/wide_text.h"
#include "ui/gdi_objects.h"
#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

SIZE SizeOf(HWND window) {
    RECT area{};
    GetClientRect(window, &area);
    return {area.right, area.bottom};
}

/// That of a text beside the plot, which follows the scaling.
HFONT TextFont(HWND dialog) {
    return reinterpret_cast<HFONT>(SendDlgItemMessageW(dialog, IDC_COURSE_HINT, WM_GETFONT, 0, 0));
}

LRESULT CALLBACK PlotProcedure(HWND window, UINT message, WPARAM w_param, LPARAM l_param) {
    auto* plot = reinterpret_cast<CoursePlot*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return plot == nullptr ? DefWindowProcW(window, message, w_param, l_param)
                           : plot->Handle(message, w_param, l_param);
}

}  // namespace

void CoursePlot::RegisterKind(HINSTANCE instance) {
    WNDCLASSW kind{};
    kind.style         = CS_HREDRAW | CS_VREDRAW;
    kind.lpfnWndProc   = PlotProcedure;
    kind.hInstance     = instance;
    kind.hCursor       = LoadCursorW(nullptr, IDC_ARROW);
    kind.lpszClassName = TEXT(COURSE_PLOT_CLASS);
    RegisterClassW(&kind);  // the second time it is there already
}

void CoursePlot::Attach(HWND plot) {
    plot_ = plot;
    SetWindowLongPtrW(plot, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    Refresh();
}

void CoursePlot::Refresh() {
    if (looked_at_) looked_at_ = std::clamp(*looked_at_, FirstKnown(Picture()), SecondsShown(Picture()) - 1);
    if (!looked_at_) TellText();
    InvalidateRect(plot_, nullptr, FALSE);
}

CoursePicture CoursePlot::Picture() const {
    return {.recorder          = &recorder_,
            .keys              = settings_.choice.Keys(),
            .span_minutes      = settings_.span_minutes,
            .decimal_separator = decimal_separator_,
            .font              = TextFont(GetParent(plot_)),
            .dpi               = static_cast<int>(DialogDpi(plot_)),
            .looked_at         = looked_at_};
}

LRESULT CoursePlot::Handle(UINT message, WPARAM w_param, LPARAM l_param) {
    switch (message) {
        case WM_PAINT: Paint(); return 0;
        case WM_ERASEBKGND: return 1;
        case WM_LBUTTONDOWN: SetFocus(plot_); return 0;
        case WM_KILLFOCUS: LookAt({}); [[fallthrough]];
        case WM_SETFOCUS: InvalidateRect(plot_, nullptr, FALSE); return 0;
        case WM_MOUSEMOVE: LookAtColumn(GET_X_LPARAM(l_param)); return 0;
        case WM_MOUSELEAVE: LookAt({}); return 0;
        case WM_GETDLGCODE: return DLGC_WANTARROWS;
        case WM_KEYDOWN:
            if (LookByKey(w_param)) return 0;
            break;
        default: break;
    }
    return DefWindowProcW(plot_, message, w_param, l_param);
}

void CoursePlot::Paint() {
    PAINTSTRUCT paint{};
    const HDC screen = BeginPaint(plot_, &paint);
    const SIZE size  = SizeOf(plot_);
    if (size.cx > 0 && size.cy > 0) {
        const BitmapCanvas buffer(screen, CreateCompatibleBitmap(screen, size.cx, size.cy));
        charts_          = DrawCourses(buffer.Context(), size, Picture());
        const RECT whole = {0, 0, size.cx, size.cy};
        if (GetFocus() == plot_) DrawFocusRect(buffer.Context(), &whole);
        BitBlt(screen, 0, 0, size.cx, size.cy, buffer.Context(), 0, 0, SRCCOPY);
    }
    EndPaint(plot_, &paint);
}

void CoursePlot::LookAtColumn(int column) {
    TRACKMOUSEEVENT leaving{sizeof leaving, TME_LEAVE, plot_, 0};
    TrackMouseEvent(&leaving);
    if (column < charts_.left || column >= charts_.right) return LookAt({});
    const auto seconds = static_cast<LONG>(SecondsShown(Picture()));
    const auto index = static_cast<std::uint32_t>(MulDiv(column - charts_.left, seconds, charts_.right - charts_.left));
    LookAt(index < FirstKnown(Picture()) ? std::nullopt : std::optional(index));
}

/// By a pixel where one is longer than a second, otherwise by a second.
bool CoursePlot::LookByKey(WPARAM key) {
    const std::uint32_t last = SecondsShown(Picture()) - 1;
    const auto width         = static_cast<std::uint32_t>(std::max<LONG>(1, charts_.right - charts_.left));
    const std::uint32_t step = std::max(1U, last / width);
    const std::uint32_t here = looked_at_.value_or(last);
    switch (key) {
        case VK_LEFT: LookAt(here - std::min(step, here)); return true;
        case VK_RIGHT: LookAt(here + step); return true;
        case VK_HOME: LookAt(0); return true;
        case VK_END: LookAt(last); return true;
        default: return false;
    }
}

void CoursePlot::LookAt(std::optional<std::uint32_t> index) {
    if (index) index = std::clamp(*index, FirstKnown(Picture()), SecondsShown(Picture()) - 1);
    if (index == looked_at_) return;
    looked_at_ = index;
    TellText();
    InvalidateRect(plot_, nullptr, FALSE);
}

/// What is plotted, and the values only when the user looks at them: a text that changed each second would be read out each second.
void CoursePlot::TellText() const {
    std::wstring text           = LoadText(IDS_COURSE);
    const CoursePicture picture = Picture();
    for (const CourseKey& key : picture.keys) {
        const CourseSeries* series = FindSeries(recorder_, key);
        if (series == nullptr) continue;
        text.append(L"; ").append(looked_at_ ? CourseTitle(picture, *series) : platform::TextIn(series->Name().label));
    }
    SetControlText(GetParent(plot_), GetDlgCtrlID(plot_), text);
}

}  // namespace nelto::ui
