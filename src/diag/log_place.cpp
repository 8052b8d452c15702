#include "diag/log_place.h"

#include "platform/files.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constinit bool are_kept = true;
constinit LogPath chosen_folder{};  // with its last separator; empty for none

LogPath Joined(std::wstring_view folder, const wchar_t* name) {
    LogPath path{};
    platform::CopyText(path, folder);
    platform::AppendText(path, name);
    return path;
}

}  // namespace

void KeepNoLogs() { are_kept = false; }

void KeepLogsIn(std::wstring_view folder) {
    const bool is_separated = folder.ends_with(L'\\') || folder.ends_with(L'/') || folder.ends_with(L':');
    platform::CopyText(chosen_folder, folder);
    if (!folder.empty() && !is_separated) platform::AppendText(chosen_folder, L"\\");
    are_kept = true;
}

bool AreLogsKept() { return are_kept; }

LogPath LogPathOf(const wchar_t* name) {
    LogPath folder = chosen_folder;
    if (folder.front() == L'\0') platform::TempDirectory(folder);
    return are_kept ? Joined(platform::TextIn(folder), name) : LogPath{};
}

LogPath LogPathOf(const wchar_t* own_path, const wchar_t* name) {
    if (!are_kept) return {};
    return chosen_folder.front() == L'\0' ? Joined(own_path, L"") : LogPathOf(name);
}

}  // namespace nelto
