// The list of measured values, and the rows and cells that it has in common with other list views.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "core/value_text.h"

namespace nelto::ui {

/// Gives the list its columns and styles.
void PrepareValueList(HWND list);

/// Fits the columns to the list's width; called again when the dialog comes to a screen of another scaling.
void FitValueColumns(HWND list);

void EmptyValueList(HWND list);

/// Shows the rows. The list is rebuilt when their number has changed, otherwise only the cells that differ are written.
void ShowValueRows(HWND list, std::span<const ListRow> rows);

[[nodiscard]] std::size_t RowCount(HWND list);

void AppendEmptyRow(HWND list);

/// Writes the cells of the row that show another text.
void CorrectRow(HWND list, std::size_t row, std::span<const std::wstring> texts);

void InsertColumn(HWND list, std::size_t column, std::uint32_t text_id, int width);

/// The first selected row; -1 when none is.
[[nodiscard]] int SelectedRow(HWND list);

/// True for the key pressed together with Ctrl, in the LVN_KEYDOWN of a list.
[[nodiscard]] bool IsControlKey(const NMHDR& header, WORD key);

/// Puts the selected rows, or all when none is, on the clipboard: their cells with tabs between them, CR LF after each row.
void CopyRows(HWND list);

}  // namespace nelto::ui
