#include "ui/manual_fields.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>

#include "core/value_text.h"
#include "platform/wide_text.h"
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

void AddEntry(HWND dialog, int field_id, const wchar_t* text) {
    SendDlgItemMessageW(dialog, field_id, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
}

void Select(HWND dialog, int field_id, std::uint32_t entry) {
    SendDlgItemMessageW(dialog, field_id, CB_SETCURSEL, entry, 0);
}

void FillSmokeField(HWND dialog, int field_id) {
    std::array<wchar_t, 8> digit{};
    for (unsigned number = 0; number <= 9; ++number) {
        platform::FormatText(digit, L"%u", number);
        AddEntry(dialog, field_id, digit.data());
    }
    SetControlText(dialog, field_id, L"0");
}

void FillOilField(HWND dialog) {
    for (const std::uint32_t text_id : kOilAnswers) AddEntry(dialog, IDC_OIL_DERIVATIVE, StringText(text_id).c_str());
    Select(dialog, IDC_OIL_DERIVATIVE, kOilUnanswered);
}

void PrepareTemperature(HWND dialog, wchar_t decimal_separator) {
    std::array<wchar_t, kValueTextSize> text{};
    FormatValue(kStartTemperature, kOneDecimal, text);
    UseDecimalSeparator(text, decimal_separator);
    AttachUpDown(dialog, IDC_HEAT_TEMPERATURE, kLowestTemperature, kHighestTemperature);
    SetUpDownText(dialog, IDC_HEAT_TEMPERATURE, text.data(), kStartTemperature);
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
        SetUpDownText(dialog, IDC_HEAT_TEMPERATURE, text->c_str(), static_cast<int>(whole));
    }
}

std::wstring OilAnswerText(OilDerivativeEntry answer) { return StringText(kOilAnswers[answer]); }

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
