#include "ui/manual_fields.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>

#include "core/value_text.h"
#include "ui/resource.h"
#include "ui/up_down.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr int kStartTemperature   = 60;
constexpr int kLowestTemperature  = 0;  // of the arrows; anything can be typed
constexpr int kHighestTemperature = 100;

constexpr std::array kSmokeFields = {IDC_SMOKE1, IDC_SMOKE2, IDC_SMOKE3};

/// By OilDerivativeEntry.
constexpr std::array<std::uint32_t, 3> kOilAnswers = {IDS_UNANSWERED, IDS_NO, IDS_YES};

void AddEntry(HWND dialog, int field_id, const std::wstring& text) {
    SendDlgItemMessageW(dialog, field_id, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void Select(HWND dialog, int field_id, std::uint32_t entry) {
    SendDlgItemMessageW(dialog, field_id, CB_SETCURSEL, entry, 0);
}

void FillSmokeField(HWND dialog, int field_id) {
    for (wchar_t digit = L'0'; digit <= L'9'; ++digit) AddEntry(dialog, field_id, std::wstring(1, digit));
    SetControlText(dialog, field_id, L"0");
}

void FillOilField(HWND dialog) {
    for (const std::uint32_t text_id : kOilAnswers) AddEntry(dialog, IDC_OIL_DERIVATIVE, LoadText(text_id));
    Select(dialog, IDC_OIL_DERIVATIVE, kOilUnanswered);
}

void PrepareTemperature(HWND dialog, wchar_t decimal_separator) {
    const std::wstring text = NumberText(kStartTemperature, kOneDecimal, decimal_separator);
    AttachUpDown(dialog, IDC_HEAT_TEMPERATURE, kLowestTemperature, kHighestTemperature);
    SetUpDownText(dialog, IDC_HEAT_TEMPERATURE, text, kStartTemperature);
}

}  // namespace

void PrepareManualFields(HWND dialog, wchar_t decimal_separator) {
    for (const int field_id : kSmokeFields) FillSmokeField(dialog, field_id);
    FillOilField(dialog);
    PrepareTemperature(dialog, decimal_separator);
    EnableSmokeFields(dialog, false);
    EnableUpDown(dialog, IDC_HEAT_TEMPERATURE, false);
}

void EnableSmokeFields(HWND dialog, bool enabled) {
    for (const int field_id : kSmokeFields) EnableControl(dialog, field_id, enabled);
    EnableControl(dialog, IDC_OIL_DERIVATIVE, enabled);
}

void FillManualFields(HWND dialog, const TypedFields& fields) {
    EnableUpDown(dialog, IDC_HEAT_TEMPERATURE, true);
    for (std::size_t index = 0; index < kSmokeFields.size(); ++index) {
        if (const auto& text = fields.smoke_numbers[index]) SetControlText(dialog, kSmokeFields[index], *text);
    }
    if (fields.oil_derivative) Select(dialog, IDC_OIL_DERIVATIVE, *fields.oil_derivative);
    if (const auto& text = fields.heat_carrier_temperature) {
        const long whole = std::wcstol(text->c_str(), nullptr, 10);
        SetUpDownText(dialog, IDC_HEAT_TEMPERATURE, *text, static_cast<int>(whole));
    }
}

std::wstring OilAnswerText(OilDerivativeEntry answer) { return LoadText(kOilAnswers[answer]); }

ManualValues ReadManualFields(HWND dialog) {
    ManualValues typed;
    typed.smoke_entered = IsControlEnabled(dialog, IDC_OIL_DERIVATIVE);
    for (std::size_t index = 0; index < kSmokeFields.size(); ++index) {
        typed.smoke_numbers[index] = ControlText(dialog, kSmokeFields[index]);
    }
    typed.heat_carrier_temperature = ControlText(dialog, IDC_HEAT_TEMPERATURE);
    const LRESULT answer           = SendDlgItemMessageW(dialog, IDC_OIL_DERIVATIVE, CB_GETCURSEL, 0, 0);
    typed.oil_derivative           = static_cast<std::uint32_t>(std::max<LRESULT>(answer, kOilUnanswered));
    return typed;
}

}  // namespace nelto::ui
