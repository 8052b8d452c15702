#include "ui/course_window.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <string>

#include "platform/wide_text.h"
#include "ui/course_list.h"
#include "ui/course_plot.h"
#include "ui/dialog_icons.h"
#include "ui/modeless_keys.h"
#include "ui/resource.h"
#include "ui/value_list.h"
#include "ui/window_place.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr UINT kScalingChanged = WM_APP;
constexpr int kFirstSize       = 150;  // percent of the smallest size
constexpr int kListShare       = 40;   // percent of what plot and list share

constexpr std::array kTexts = {
    ControlTextRow{IDC_COURSE_SPAN_LABEL, IDS_COURSE_SPAN},
    ControlTextRow{IDC_COURSE_HINT, IDS_COURSE_HINT},
    ControlTextRow{IDC_COURSE_SAVE, IDS_COURSE_SAVE},
    ControlTextRow{IDC_COURSE_CLOSE, IDS_COURSE_CLOSE},
};

}  // namespace

/// The open window: one object from WM_INITDIALOG to WM_DESTROY.
class OpenCourseWindow {
public:
    OpenCourseWindow(const CourseRecorder& recorder, wchar_t decimal_separator,
                     const std::optional<CourseKey>& selected)
        : recorder_(recorder),
          settings_(ReadCourseSettings()),
          plot_(recorder, settings_, decimal_separator),
          list_(recorder, settings_, decimal_separator) {
        if (selected) settings_.choice.Add(*selected, recorder_.Series());
    }

    INT_PTR Initialise(HWND window);
    INT_PTR Handle(UINT message, WPARAM w_param, LPARAM l_param);
    void Refresh();
    [[nodiscard]] HWND Window() const { return window_; }

private:
    void FillSpans() const;
    void PutInPlace() const;
    void Layout() const;
    void Move(int control_id, int left, int top, int width, int height) const;
    void LimitSize(MINMAXINFO& limits) const;
    void FitScaling();
    bool HandleCommand(int command, int notification);
    void ChooseSpan();
    INT_PTR HandleNotification(const NMHDR& header);
    INT_PTR HandleMark(const NMLISTVIEW& change);
    void Destroyed();

    const CourseRecorder& recorder_;
    CourseSettings settings_;
    CoursePlot plot_;
    CourseList list_;
    DialogIcons icons_;
    std::optional<ModelessKeys> keys_;
    HWND window_      = nullptr;
    SIZE smallest_    = {};  // at `smallest_dpi_`
    int smallest_dpi_ = USER_DEFAULT_SCREEN_DPI;
};

INT_PTR OpenCourseWindow::Initialise(HWND window) {
    window_ = window;
    keys_.emplace(window);
    icons_.Show(window);
    SetWindowTextW(window, LoadText(IDS_COURSE).c_str());
    SetControlTexts(window, kTexts);
    FillSpans();
    const WindowPlace made = PlaceOf(window);
    smallest_              = {made.width, made.height};
    smallest_dpi_          = static_cast<int>(DialogDpi(window));
    list_.Attach(GetDlgItem(window, IDC_COURSE_LIST));
    PutInPlace();
    list_.Refresh();
    plot_.Attach(GetDlgItem(window, IDC_COURSE_PLOT));
    Refresh();
    return TRUE;
}

void OpenCourseWindow::FillSpans() const {
    const HWND box = GetDlgItem(window_, IDC_COURSE_SPAN);
    for (std::size_t index = 0; index < kCourseSpans.size(); ++index) {
        const std::wstring text = platform::Formatted(L"%u min", kCourseSpans[index]);
        SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
        if (kCourseSpans[index] == settings_.span_minutes) SendMessageW(box, CB_SETCURSEL, index, 0);
    }
}

void OpenCourseWindow::PutInPlace() const {
    const bool is_known = settings_.place.width > 0 && settings_.place.height > 0;
    PutOnScreen(window_, is_known ? settings_.place : MiddleOf(GetWindow(window_, GW_OWNER), window_, kFirstSize));
    Layout();
}

void OpenCourseWindow::Move(int control_id, int left, int top, int width, int height) const {
    SetWindowPos(GetDlgItem(window_, control_id), nullptr, left, top, std::max(0, width), std::max(0, height),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

/// The controls keep the heights that the dialog gave them; plot and list share what is left.
void OpenCourseWindow::Layout() const {
    RECT area{};
    GetClientRect(window_, &area);
    const RECT span        = ControlPlace(window_, IDC_COURSE_SPAN);
    const RECT hint        = ControlPlace(window_, IDC_COURSE_HINT);
    const RECT button      = ControlPlace(window_, IDC_COURSE_CLOSE);
    const int margin       = ControlPlace(window_, IDC_COURSE_PLOT).left;
    const int gap          = margin / 2;
    const int width        = area.right - 2 * margin;
    const int hint_height  = hint.bottom - hint.top;
    const int button_width = button.right - button.left, button_height = button.bottom - button.top;
    const int top         = span.bottom + margin;
    const int button_top  = area.bottom - margin - button_height;
    const int shared      = button_top - top - 3 * gap - hint_height - margin / 2;
    const int list_height = shared * kListShare / 100;
    const int list_top    = button_top - gap - list_height;
    const int hint_top    = list_top - gap - hint_height;
    Move(IDC_COURSE_PLOT, margin, top, width, hint_top - gap - top);
    Move(IDC_COURSE_HINT, margin, hint_top, width, hint_height);
    Move(IDC_COURSE_LIST, margin, list_top, width, list_height);
    Move(IDC_COURSE_CLOSE, area.right - margin - button_width, button_top, button_width, button_height);
    Move(IDC_COURSE_SAVE, area.right - margin - gap - 2 * button_width, button_top, button_width, button_height);
    list_.FitColumns();
    InvalidateRect(window_, nullptr, TRUE);
}

void OpenCourseWindow::LimitSize(MINMAXINFO& limits) const {
    const int dpi         = static_cast<int>(DialogDpi(window_));
    limits.ptMinTrackSize = {MulDiv(smallest_.cx, dpi, smallest_dpi_), MulDiv(smallest_.cy, dpi, smallest_dpi_)};
}

void OpenCourseWindow::FitScaling() {
    icons_.Show(window_);
    Layout();
    plot_.Refresh();
}

void OpenCourseWindow::Refresh() {
    EnableControl(window_, IDC_COURSE_SAVE, !recorder_.Series().empty());
    list_.Refresh();
    plot_.Refresh();
}

bool OpenCourseWindow::HandleCommand(int command, int notification) {
    switch (command) {
        case IDC_COURSE_SPAN:
            if (notification == CBN_SELCHANGE) ChooseSpan();
            return true;
        case IDC_COURSE_SAVE: PostMessageW(GetWindow(window_, GW_OWNER), WM_COMMAND, IDM_SAVE_COURSE, 0); return true;
        case IDC_COURSE_CLOSE:
        case IDCANCEL: DestroyWindow(window_); return true;
        default: return false;
    }
}

void OpenCourseWindow::ChooseSpan() {
    const auto chosen = static_cast<std::size_t>(SendDlgItemMessageW(window_, IDC_COURSE_SPAN, CB_GETCURSEL, 0, 0));
    if (chosen >= kCourseSpans.size()) return;
    settings_.span_minutes = kCourseSpans[chosen];
    Refresh();
}

INT_PTR OpenCourseWindow::HandleNotification(const NMHDR& header) {
    if (header.idFrom != IDC_COURSE_LIST) return FALSE;
    if (header.code == LVN_ITEMCHANGING || header.code == LVN_ITEMCHANGED) {
        return HandleMark(reinterpret_cast<const NMLISTVIEW&>(header));
    }
    if (header.code == LVN_KEYDOWN && IsControlKey(header, 'C')) CopyRows(header.hwndFrom);
    return FALSE;
}

INT_PTR OpenCourseWindow::HandleMark(const NMLISTVIEW& change) {
    const CourseList::Change result = list_.HandleChange(change);
    if (result == CourseList::Change::kNone) return FALSE;
    const bool is_refused = result == CourseList::Change::kRefused;
    SetControlText(window_, IDC_COURSE_HINT, LoadText(is_refused ? IDS_COURSE_FULL : IDS_COURSE_HINT));
    if (is_refused) MessageBeep(MB_OK);
    if (!is_refused) plot_.Refresh();
    SetWindowLongPtrW(window_, DWLP_MSGRESULT, is_refused ? TRUE : FALSE);
    return TRUE;
}

void OpenCourseWindow::Destroyed() {
    settings_.place = PlaceOf(window_);
    WriteCourseSettings(settings_);
    keys_.reset();
    window_ = nullptr;
}

INT_PTR OpenCourseWindow::Handle(UINT message, WPARAM w_param, LPARAM l_param) {
    if (window_ == nullptr) return FALSE;  // destroyed
    switch (message) {
        case WM_SIZE: Layout(); return TRUE;
        case WM_GETMINMAXINFO: LimitSize(*reinterpret_cast<MINMAXINFO*>(l_param)); return TRUE;
        case WM_COMMAND: return HandleCommand(LOWORD(w_param), HIWORD(w_param)) ? TRUE : FALSE;
        case WM_NOTIFY: return HandleNotification(*reinterpret_cast<const NMHDR*>(l_param));
        // Posted, so that it comes after the dialog manager has given the controls their new sizes.
        case WM_DPICHANGED: PostMessageW(window_, kScalingChanged, 0, 0); return FALSE;
        case kScalingChanged: FitScaling(); return TRUE;
        case WM_SYSCOLORCHANGE:
            SendDlgItemMessageW(window_, IDC_COURSE_LIST, message, w_param, l_param);
            plot_.Refresh();
            return TRUE;
        case WM_DESTROY: Destroyed(); return TRUE;
        default: return FALSE;
    }
}

CourseWindow::CourseWindow(const CourseRecorder& recorder, wchar_t decimal_separator)
    : recorder_(recorder), decimal_separator_(decimal_separator) {}

CourseWindow::~CourseWindow() = default;

HWND CourseWindow::Handle() const { return window_ == nullptr ? nullptr : window_->Window(); }

void CourseWindow::Open(HINSTANCE instance, HWND owner, const std::optional<CourseKey>& selected) {
    if (Handle() != nullptr) {
        SetForegroundWindow(Handle());
        return;
    }
    CoursePlot::RegisterKind(instance);
    window_ = std::make_unique<OpenCourseWindow>(recorder_, decimal_separator_, selected);
    CreateDialogParamW(instance, MAKEINTRESOURCEW(IDD_COURSE), owner, DialogProcedure<OpenCourseWindow>,
                       reinterpret_cast<LPARAM>(window_.get()));
    ShowWindow(Handle(), SW_SHOW);
}

void CourseWindow::Refresh() {
    if (Handle() != nullptr) window_->Refresh();
}

void CourseWindow::Close() {
    if (Handle() != nullptr) DestroyWindow(Handle());
}

}  // namespace nelto::ui
