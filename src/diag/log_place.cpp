#include "diag/log_place.h"

#include <array>

#include "platform/files.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constinit bool are_kept = true;
std::wstring chosen_folder;  // with its last separator; empty for none

}  // namespace

void KeepNoLogs() { are_kept = false; }

void KeepLogsIn(std::wstring_view folder) {
    const bool is_separated = folder.ends_with(L'\\') || folder.ends_with(L'/') || folder.ends_with(L':');
    chosen_folder           = folder;
    if (!folder.empty() && !is_separated) chosen_folder += L'\\';
    are_kept = true;
}

bool AreLogsKept() { return are_kept; }

std::wstring LogPathOf(const wchar_t* name) {
    if (!are_kept) return {};
    if (!chosen_folder.empty()) return chosen_folder + name;
    std::array<wchar_t, 512> folder{};
    platform::TempDirectory(folder);
    return std::wstring(platform::TextIn(folder)) + name;
}

std::wstring LogPathOf(const wchar_t* own_path, const wchar_t* name) {
    return are_kept && chosen_folder.empty() ? own_path : LogPathOf(name);
}

}  // namespace nelto
