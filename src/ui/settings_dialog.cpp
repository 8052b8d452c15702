#include "ui/settings_dialog.h"

#include <array>
#include <cstdint>

#include "core/settings.h"
#include "ui/resource.h"
#include "ui/up_down.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr int kLowestPort = 1, kHighestPort = 255;

constexpr std::array kTexts = {
    ControlTextRow{IDC_COMMUNICATION_GROUP, IDS_COMMUNICATION},
    ControlTextRow{IDC_PROBE_GROUP, IDS_PROBE},
    ControlTextRow{IDC_SERIAL_OUTPUT_GROUP, IDS_SERIAL_OUTPUT_GROUP},
    ControlTextRow{IDC_USB, IDS_USB},
    ControlTextRow{IDC_IRDA, IDS_IRDA},
    ControlTextRow{IDC_BLUETOOTH, IDS_BLUETOOTH},
    ControlTextRow{IDC_BLUETOOTH_LABEL, IDS_BLUETOOTH_PORT},
    ControlTextRow{IDC_BLUETOOTH_COM, IDS_COM},
    ControlTextRow{IDC_HEATING_CHECK, IDS_READ_HEATING_CHECK},
    ControlTextRow{IDC_SERIAL_OUTPUT, IDS_SERIAL_OUTPUT},
    ControlTextRow{IDC_SERIAL_OUTPUT_COM, IDS_COM},
    ControlTextRow{IDC_OK, IDS_OK},
    ControlTextRow{IDC_CANCEL, IDS_CANCEL},
};

class SettingsDialog {
public:
    explicit SettingsDialog(ProgramState& state) : state_(state) {}

    INT_PTR Initialise(HWND dialog);
    INT_PTR Handle(UINT message, WPARAM w_param, LPARAM /*l_param*/) {
        return message == WM_COMMAND && HandleCommand(LOWORD(w_param)) ? TRUE : FALSE;
    }

private:
    bool HandleCommand(int command);
    void ShowCommunication();
    void ShowSerialOutput();
    void AttachPort(int field_id);
    void SwitchSerialOutput();
    [[nodiscard]] std::uint32_t ChosenCommunication() const;
    [[nodiscard]] bool IsChecked(int control_id) const;
    [[nodiscard]] std::uint32_t Number(int field_id) const;
    void Apply();

    HWND dialog_ = nullptr;
    ProgramState& state_;
};

INT_PTR SettingsDialog::Initialise(HWND dialog) {
    dialog_ = dialog;
    SetControlTexts(dialog_, kTexts);
    ShowCommunication();
    CheckDlgButton(dialog_, IDC_HEATING_CHECK, state_.heating_check != 0 ? BST_CHECKED : BST_UNCHECKED);
    ShowSerialOutput();
    // The focus already lies on the chosen radio button: on another one it would count as a click there.
    return FALSE;
}

void SettingsDialog::ShowCommunication() {
    SetDlgItemInt(dialog_, IDC_BLUETOOTH_PORT, kLowestPort, TRUE);
    AttachPort(IDC_BLUETOOTH_PORT);
    const std::uint32_t communication = state_.communication;
    const bool bluetooth              = communication != kUsb && communication != kIrda;
    int chosen                        = communication == kUsb ? IDC_USB : IDC_IRDA;
    if (bluetooth) {
        chosen = IDC_BLUETOOTH;
        SetDlgItemInt(dialog_, IDC_BLUETOOTH_PORT, communication, TRUE);
    }
    CheckRadioButton(dialog_, IDC_USB, IDC_BLUETOOTH, chosen);
    EnableUpDown(dialog_, IDC_BLUETOOTH_PORT, bluetooth);
    FocusControl(dialog_, chosen);
}

void SettingsDialog::ShowSerialOutput() {
    const bool enabled = state_.serial_output != 0;
    CheckDlgButton(dialog_, IDC_SERIAL_OUTPUT, enabled ? BST_CHECKED : BST_UNCHECKED);
    AttachPort(IDC_SERIAL_OUTPUT_PORT);
    EnableUpDown(dialog_, IDC_SERIAL_OUTPUT_PORT, enabled);
    SetDlgItemInt(dialog_, IDC_SERIAL_OUTPUT_PORT, state_.serial_output_port, TRUE);
}

void SettingsDialog::AttachPort(int field_id) { AttachUpDown(dialog_, field_id, kLowestPort, kHighestPort); }

bool SettingsDialog::HandleCommand(int command) {
    switch (command) {
        case IDC_USB:
        case IDC_IRDA: EnableUpDown(dialog_, IDC_BLUETOOTH_PORT, false); return true;
        case IDC_BLUETOOTH: EnableUpDown(dialog_, IDC_BLUETOOTH_PORT, true); return true;
        case IDC_SERIAL_OUTPUT: SwitchSerialOutput(); return true;
        case IDC_OK:
        case IDOK: Apply(); [[fallthrough]];
        case IDC_CANCEL:
        case IDCANCEL: EndDialog(dialog_, 0); return true;
        default: return false;
    }
}

/// Deliberate: this one setting is kept from the moment of the click, even if the dialog is cancelled.
void SettingsDialog::SwitchSerialOutput() {
    const bool enabled = IsChecked(IDC_SERIAL_OUTPUT);
    ChangeSetting(state_.serial_output, kSerialOutputSetting, enabled ? 1 : 0);
    EnableUpDown(dialog_, IDC_SERIAL_OUTPUT_PORT, enabled);
}

bool SettingsDialog::IsChecked(int control_id) const { return IsDlgButtonChecked(dialog_, control_id) == BST_CHECKED; }

/// The field's number as it was typed, out of range or not; a text that is no number counts as 0.
std::uint32_t SettingsDialog::Number(int field_id) const { return GetDlgItemInt(dialog_, field_id, nullptr, TRUE); }

std::uint32_t SettingsDialog::ChosenCommunication() const {
    if (IsChecked(IDC_USB)) return kUsb;
    if (IsChecked(IDC_IRDA)) return kIrda;
    return Number(IDC_BLUETOOTH_PORT);
}

void SettingsDialog::Apply() {
    ChangeSetting(state_.communication, kCommunicationSetting, ChosenCommunication());
    ChangeSetting(state_.heating_check, kHeatingCheckSetting, IsChecked(IDC_HEATING_CHECK) ? 1 : 0);
    ChangeSetting(state_.serial_output, kSerialOutputSetting, IsChecked(IDC_SERIAL_OUTPUT) ? 1 : 0);
    ChangeSetting(state_.serial_output_port, kSerialOutputPortSetting, Number(IDC_SERIAL_OUTPUT_PORT));
}

}  // namespace

void RunSettingsDialog(HINSTANCE instance, HWND owner, ProgramState& state) {
    SettingsDialog settings(state);
    DialogBoxParamW(instance, MAKEINTRESOURCEW(IDD_SETTINGS), owner, DialogProcedure<SettingsDialog>,
                    reinterpret_cast<LPARAM>(&settings));
}

}  // namespace nelto::ui
