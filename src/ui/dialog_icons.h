// The program's icon in the caption and in the task bar.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace nelto::ui {

/// The two icons of a dialog, each loaded in the size that the dialog's screen asks for. Must outlive the dialog.
class DialogIcons {
public:
    DialogIcons() = default;
    ~DialogIcons();
    DialogIcons(const DialogIcons&)            = delete;
    DialogIcons& operator=(const DialogIcons&) = delete;

    /// Called again when the dialog comes to a screen of another scaling.
    void Show(HWND dialog);

private:
    std::array<HICON, 2> icons_{};  // by ICON_SMALL and ICON_BIG
};

}  // namespace nelto::ui
