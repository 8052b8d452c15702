#include "ui/modeless_keys.h"

namespace nelto::ui {
namespace {

HWND the_dialog = nullptr;
bool is_asking  = false;  // the dialog manager asks the hook again

LRESULT CALLBACK OfferMessage(int code, WPARAM w_param, LPARAM l_param) {
    if (code == MSGF_DIALOGBOX && !is_asking && the_dialog != nullptr) {
        is_asking           = true;
        const bool is_taken = IsDialogMessageW(the_dialog, reinterpret_cast<MSG*>(l_param)) != FALSE;
        is_asking           = false;
        if (is_taken) return TRUE;
    }
    return CallNextHookEx(nullptr, code, w_param, l_param);
}

}  // namespace

ModelessKeys::ModelessKeys(HWND dialog)
    : hook_(SetWindowsHookExW(WH_MSGFILTER, OfferMessage, nullptr, GetCurrentThreadId())) {
    the_dialog = dialog;
}

ModelessKeys::~ModelessKeys() {
    the_dialog = nullptr;
    UnhookWindowsHookEx(hook_);
}

}  // namespace nelto::ui
