// The fields for what the analyser does not measure itself: smoke numbers, oil derivative, heat carrier temperature.
#pragma once

#include <windows.h>

#include "core/dialog_view.h"
#include "core/manual_values.h"

namespace nelto::ui {

/// Fills the lists and start values, attaches the arrows and disables all fields.
void PrepareManualFields(HWND dialog, wchar_t decimal_separator);

/// Enables or disables the fields of smoke numbers and oil derivative.
void EnableSmokeFields(HWND dialog, bool enabled);

/// Enables the field of the heat carrier temperature and shows what the fields take over from the analyser.
void FillManualFields(HWND dialog, const TypedFields& fields);

/// The text of an oil derivative answer in the user's language.
[[nodiscard]] std::wstring OilAnswerText(OilDerivativeEntry answer);

/// What stands in the fields now; what stands in a disabled smoke field nobody has entered.
[[nodiscard]] ManualValues ReadManualFields(HWND dialog);

}  // namespace nelto::ui
