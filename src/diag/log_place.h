// Where the trace logs are kept: where the support looks for them, in a folder that was chosen, or nowhere. Chosen at the start of a
// program, before there is a second thread.
#pragma once

#include <string>
#include <string_view>

namespace nelto {

void KeepNoLogs();
/// An empty folder stands for where the support looks for them.
void KeepLogsIn(std::wstring_view folder);
[[nodiscard]] bool AreLogsKept();

/// Path of a log in the temporary directory, or in the chosen folder; empty when none are kept.
[[nodiscard]] std::wstring LogPathOf(const wchar_t* name);
/// The same for a log that has a path of its own and goes by its name in a chosen folder only.
[[nodiscard]] std::wstring LogPathOf(const wchar_t* own_path, const wchar_t* name);

}  // namespace nelto
