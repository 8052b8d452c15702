// The list of measured values.
#pragma once

#include <windows.h>

#include <span>

#include "core/value_text.h"

namespace nelto::ui {

/// Gives the list its columns and styles.
void PrepareValueList(HWND list);

/// Fits the columns to the list's width; called again when the dialog comes to a screen of another scaling.
void FitValueColumns(HWND list);

void EmptyValueList(HWND list);

/// Shows the rows. The list is rebuilt when their number has changed, otherwise only the cells that differ are written.
void ShowValueRows(HWND list, std::span<const ListRow> rows);

}  // namespace nelto::ui
