// Keys for a modeless dialog while a modal one runs the message loop.
#pragma once

#include <windows.h>

namespace nelto::ui {

/// While this object lives, the dialog gets the treatment that the modal dialog's loop gives only to that dialog: Tab, Esc,
/// Enter and arrow keys. One at a time, on the thread of the dialogs.
class ModelessKeys {
public:
    explicit ModelessKeys(HWND dialog);
    ~ModelessKeys();
    ModelessKeys(const ModelessKeys&)            = delete;
    ModelessKeys& operator=(const ModelessKeys&) = delete;

private:
    HHOOK hook_;
};

}  // namespace nelto::ui
