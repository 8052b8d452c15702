#include "ui/main_dialog.h"

#include <commctrl.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "core/course_recorder.h"
#include "core/dialog_view.h"
#include "core/exchange_file.h"
#include "core/manual_values.h"
#include "core/worker_thread.h"
#include "diag/trace_log.h"
#include "platform/clock.h"
#include "ui/course_file.h"
#include "ui/course_window.h"
#include "ui/dialog_icons.h"
#include "ui/help.h"
#include "ui/manual_fields.h"
#include "ui/pictures.h"
#include "ui/resource.h"
#include "ui/settings_dialog.h"
#include "ui/status_text.h"
#include "ui/value_list.h"
#include "ui/value_menu.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT kRefreshPeriod    = 1000;  // milliseconds
constexpr int kBusyLooks         = 5;     // looks at busy tables in one refresh
constexpr DWORD kBusyWait        = 10;    // milliseconds between two of them
constexpr UINT kScalingChanged   = WM_APP;
constexpr UINT kActivated        = WM_APP + 1;

constexpr std::array kTexts = {
    ControlTextRow{IDC_DEVICE_GROUP, IDS_DEVICE},
    ControlTextRow{IDC_COMMUNICATION_GROUP, IDS_COMMUNICATION},
    ControlTextRow{IDC_VALUES_GROUP, IDS_VALUES},
    ControlTextRow{IDC_MANUAL_GROUP, IDS_MANUAL_VALUES},
    ControlTextRow{IDC_SETTINGS, IDS_SETTINGS},
    ControlTextRow{IDC_HELP_FILE, IDS_HELP},
    ControlTextRow{IDC_OK, IDS_OK},
    ControlTextRow{IDC_CANCEL, IDS_CANCEL},
    ControlTextRow{IDC_STATUS, IDS_SEARCHING},
    ControlTextRow{IDC_SMOKE1_LABEL, IDS_SMOKE1},
    ControlTextRow{IDC_SMOKE2_LABEL, IDS_SMOKE2},
    ControlTextRow{IDC_SMOKE3_LABEL, IDS_SMOKE3},
    ControlTextRow{IDC_OIL_LABEL, IDS_OIL_DERIVATIVE},
    ControlTextRow{IDC_HEAT_LABEL, IDS_HEAT_TEMPERATURE},
    ControlTextRow{IDC_HEAT_UNIT, IDS_CELSIUS},
};

class MainDialog {
public:
    MainDialog(HINSTANCE instance, ProgramState& state, OpenInstrument open)
        : instance_(instance), state_(state), worker_(state, open), course_(recorder_, state.decimal_separator) {}

    void Initialise(HWND dialog);
    void Paint() const;
    void Refresh();
    bool HandleCommand(int command);
    void HandleKey(const NMHDR& header);
    [[nodiscard]] bool ShowMenu(HWND clicked, LPARAM position) const;
    void FitScaling();
    void FindFocus();

private:
    void ShowState(std::uint32_t status);
    void ShowStatus(const StatusView& view);
    void ShowOk(OkChange change);
    [[nodiscard]] bool StaysBusy() const;
    void ShowAnalyser(const Measurement& measurement) const;
    void FillTypedFieldsOnce(Measurement& measurement);
    [[nodiscard]] bool TakeOverOilAnswer(Measurement& measurement, OilDerivativeEntry answer) const;
    void OpenCourse();
    void SaveCourse();
    void RunSettings();
    void ShowHelp();
    void ReturnToDialog(bool ok_was_enabled) const;
    void Accept();
    void Close();
    [[nodiscard]] HWND ValueList() const { return GetDlgItem(dialog_, IDC_VALUES); }

    HINSTANCE instance_;
    ProgramState& state_;
    WorkerThread worker_;
    SerialOutputThread serial_output_;
    HWND dialog_ = nullptr;
    DialogIcons icons_;
    CourseRecorder recorder_;
    CourseWindow course_;
    bool ok_waits_for_focus_    = false;
    std::uint32_t shown_status_ = kNeverShown;
    bool typed_fields_filled_   = false;
};

void MainDialog::Initialise(HWND dialog) {
    dialog_ = dialog;
    StartProtocolFile();
    icons_.Show(dialog_);
    SetControlTexts(dialog_, kTexts);
    PrepareManualFields(dialog_, state_.decimal_separator);
    PrepareValueList(ValueList());
    worker_.Start();
    SetTimer(dialog_, kRefreshTimer, kRefreshPeriod, nullptr);
}

void MainDialog::Paint() const {
    PAINTSTRUCT paint{};
    const HDC screen           = BeginPaint(dialog_, &paint);
    const std::uint32_t status = state_.status;
    DrawPicture(dialog_, screen, IDC_LARGE_PICTURE, LargePicture(status, state_.instrument_kind));
    DrawPicture(dialog_, screen, IDC_SMALL_PICTURE, SmallPicture(status));
    EndPaint(dialog_, &paint);
}

void MainDialog::Refresh() {
    const std::uint32_t status = state_.status;
    recorder_.Advance(platform::TickMilliseconds(), platform::LocalTime());
    if (status != kValuesAvailable) recorder_.Interrupt();
    ShowState(status);
    course_.Refresh();
}

void MainDialog::ShowState(std::uint32_t status) {
    const StatusView view = ViewStatus(status, shown_status_, IsControlEnabled(dialog_, IDC_OK));
    shown_status_         = status;
    ShowStatus(view);
    if (!view.lists_values) {
        EmptyValueList(ValueList());
        return;
    }
    const bool busy         = StaysBusy();
    Measurement measurement = state_.measurement.Copy();
    if (view.values_arrive) ShowAnalyser(measurement);
    // What is copied is whole, also while the worker reads on.
    if (view.values_arrive) recorder_.Record(measurement);
    if (busy) return;
    ShowValueRows(ValueList(), ListRows(measurement, state_.decimal_separator));
    if (view.values_arrive) FillTypedFieldsOnce(measurement);
    serial_output_.Send(state_, measurement);
}

/// True when the worker goes on reading: then the next refresh shows the values.
bool MainDialog::StaysBusy() const {
    for (int look = 0; look < kBusyLooks; ++look) {
        if (!state_.measurement.Busy()) return false;
        Sleep(kBusyWait);
    }
    return true;
}

void MainDialog::ShowStatus(const StatusView& view) {
    ShowOk(view.ok);
    if (view.text_id != 0) ShowStatusText(dialog_, LoadText(view.text_id));
    SetControlText(dialog_, IDC_CONNECTION, ConnectionText(state_.communication));
    if (view.repaint) InvalidateRect(dialog_, nullptr, TRUE);
}

void MainDialog::ShowOk(OkChange change) {
    if (change == OkChange::kNone) return;
    EnableControl(dialog_, IDC_OK, change == OkChange::kEnableAndFocus);
    // Someone who looks at the courses keeps the keyboard there until the dialog is chosen.
    ok_waits_for_focus_ = change == OkChange::kEnableAndFocus && course_.IsActive();
    // Below an open settings dialog or message the focus is not ours to move.
    if (change == OkChange::kEnableAndFocus && !ok_waits_for_focus_ && IsWindowEnabled(dialog_))
        FocusControl(dialog_, IDC_OK);
}

/// What follows the analyser in every refresh: its name, and whether there are smoke numbers to enter.
void MainDialog::ShowAnalyser(const Measurement& measurement) const {
    SetControlText(dialog_, IDC_DEVICE_GROUP, DeviceText(measurement));
    if (typed_fields_filled_) EnableSmokeFields(dialog_, measurement.oil_fuel);
}

void MainDialog::FillTypedFieldsOnce(Measurement& measurement) {
    if (typed_fields_filled_) return;
    const TypedFields fields = ViewTypedFields(measurement.channels, state_.decimal_separator);
    if (fields.oil_derivative && !TakeOverOilAnswer(measurement, *fields.oil_derivative)) return;
    EnableSmokeFields(dialog_, measurement.oil_fuel);
    FillManualFields(dialog_, fields);
    typed_fields_filled_ = true;
}

/// False when the worker has begun another read: the next refresh tries again.
bool MainDialog::TakeOverOilAnswer(Measurement& measurement, OilDerivativeEntry answer) const {
    SetOilDerivativeText(measurement.channels, OilAnswerText(answer));
    return state_.measurement.Edit(measurement);
}

/// A field that was locked while another program was in front has lost the focus: the next one takes it, or no key would be heard.
void MainDialog::FindFocus() {
    if (std::exchange(ok_waits_for_focus_, false) && IsWindowEnabled(dialog_)) FocusControl(dialog_, IDC_OK);
    const HWND focus = GetFocus();
    const bool lost  = focus == nullptr || focus == dialog_ || !IsWindowEnabled(focus);
    if (lost && IsWindowEnabled(dialog_)) SendMessageW(dialog_, WM_NEXTDLGCTL, 0, FALSE);
}

void MainDialog::FitScaling() {
    icons_.Show(dialog_);
    FitValueColumns(ValueList());
    PlaceStatusText(dialog_);
    InvalidateRect(dialog_, nullptr, TRUE);
}

bool MainDialog::HandleCommand(int command) {
    switch (command) {
        case IDC_OK:
        case IDOK: Accept(); return true;
        case IDC_CANCEL:
        case IDCANCEL: Close(); return true;
        case IDC_SETTINGS: RunSettings(); return true;
        case IDC_HELP_FILE: ShowHelp(); return true;
        case IDM_COPY: CopyRows(ValueList()); return true;
        case IDM_COURSE: OpenCourse(); return true;
        case IDM_SAVE_COURSE: SaveCourse(); return true;
        default: return false;
    }
}

/// While the list has the focus; in the fields these keys have meanings of their own.
void MainDialog::HandleKey(const NMHDR& header) {
    if (header.idFrom != IDC_VALUES || header.code != LVN_KEYDOWN) return;
    if (IsControlKey(header, 'C')) CopyRows(header.hwndFrom);
    if (IsControlKey(header, 'T')) OpenCourse();
}

bool MainDialog::ShowMenu(HWND clicked, LPARAM position) const {
    if (clicked != ValueList()) return false;
    ShowValueMenu(dialog_, clicked, position, !recorder_.Series().empty());
    return true;
}

void MainDialog::OpenCourse() {
    const Measurement measurement = state_.measurement.Copy();
    const auto records            = ListedRecords(measurement);
    const auto row                = static_cast<std::size_t>(SelectedRow(ValueList()));  // none is beyond all rows
    std::optional<CourseKey> selected;
    if (row < records.size()) selected = {.view_ident = records[row]->view_ident, .unit = records[row]->unit};
    course_.Open(instance_, dialog_, selected);
}

/// Above the window that asked for it; the other one is asleep meanwhile, so that there is one such question at a time.
void MainDialog::SaveCourse() {
    if (recorder_.Series().empty()) return;
    if (IsWindowEnabled(dialog_) == FALSE) {
        MessageBeep(
            MB_OK);  // asked for by the window of the courses, which the settings or a message do not put to sleep
        return;
    }
    const bool ok_was_enabled = IsControlEnabled(dialog_, IDC_OK);
    const bool from_course    = course_.IsActive();
    const HWND owner          = from_course ? course_.Handle() : dialog_;
    const HWND other          = from_course ? dialog_ : course_.Handle();
    EnableWindow(other, FALSE);
    SaveCourseAs(owner, recorder_, DeviceText(state_.measurement.Copy()));
    EnableWindow(other, TRUE);
    if (!from_course) ReturnToDialog(ok_was_enabled);
    if (from_course && !ok_was_enabled) ok_waits_for_focus_ = IsControlEnabled(dialog_, IDC_OK);
}

void MainDialog::RunSettings() {
    const bool ok_was_enabled = IsControlEnabled(dialog_, IDC_OK);
    RunSettingsDialog(instance_, dialog_, state_);
    ReturnToDialog(ok_was_enabled);
}

void MainDialog::ShowHelp() {
    const bool ok_was_enabled = IsControlEnabled(dialog_, IDC_OK);
    OpenHelp(dialog_);
    ReturnToDialog(ok_was_enabled);
}

/// After another window was open above the dialog: the focus that OK could not take meanwhile.
void MainDialog::ReturnToDialog(bool ok_was_enabled) const {
    if (!ok_was_enabled && IsControlEnabled(dialog_, IDC_OK)) FocusControl(dialog_, IDC_OK);
}

/// Hands on the last whole measurement with what was typed.
void MainDialog::Accept() {
    course_.Close();
    worker_.Stop();
    Measurement measurement = state_.measurement.Copy();
    // The first refresh with values may have been kept from filling them.
    if (state_.status == kValuesAvailable) FillTypedFieldsOnce(measurement);
    StoreManualValues(ReadManualFields(dialog_), measurement.channels);
    WriteExchangeFile(state_, measurement);
    Close();
}

void MainDialog::Close() {
    course_.Close();
    KillTimer(dialog_, kRefreshTimer);  // a window above the dialog would let it go on
    worker_.Stop();
    serial_output_.Stop();
    EndDialog(dialog_, 0);
}

/// The one open dialog. The dialog box is created with parameter 0, so its procedure finds the state here.
MainDialog* open_dialog = nullptr;

INT_PTR CALLBACK MainProcedure(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
    switch (message) {
        case WM_INITDIALOG: open_dialog->Initialise(dialog); return TRUE;
        case WM_PAINT: open_dialog->Paint(); return TRUE;
        case WM_TIMER: open_dialog->Refresh(); return TRUE;
        case WM_COMMAND: return open_dialog->HandleCommand(LOWORD(w_param)) ? TRUE : FALSE;
        case WM_NOTIFY: open_dialog->HandleKey(*reinterpret_cast<const NMHDR*>(l_param)); return FALSE;
        case WM_CONTEXTMENU: return open_dialog->ShowMenu(reinterpret_cast<HWND>(w_param), l_param) ? TRUE : FALSE;
        // Told to top-level windows only, and the list must hear it too.
        case WM_SYSCOLORCHANGE: SendDlgItemMessageW(dialog, IDC_VALUES, message, w_param, l_param); return TRUE;
        // Posted, so that it comes after the dialog manager has given the controls their new sizes.
        case WM_DPICHANGED: PostMessageW(dialog, kScalingChanged, 0, 0); return FALSE;
        case WM_ACTIVATE: PostMessageW(dialog, kActivated, w_param, 0); return FALSE;
        case kActivated:
            if (LOWORD(w_param) != WA_INACTIVE) open_dialog->FindFocus();
            return TRUE;
        case kScalingChanged: open_dialog->FitScaling(); return TRUE;
        default: return FALSE;
    }
}

}  // namespace

void RunMainDialog(HINSTANCE instance, ProgramState& state, OpenInstrument open) {
    MainDialog dialog(instance, state, open);
    open_dialog = &dialog;
    DialogBoxParamW(instance, MAKEINTRESOURCEW(IDD_MAIN), nullptr, MainProcedure, 0);
    open_dialog = nullptr;
}

}  // namespace nelto::ui
