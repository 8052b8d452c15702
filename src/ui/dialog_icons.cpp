#include "ui/dialog_icons.h"

#include <utility>

#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

struct IconSize {
    int width_metric;
    int height_metric;
};

/// By ICON_SMALL and ICON_BIG.
constexpr std::array kSizes = {
    IconSize{SM_CXSMICON, SM_CYSMICON},
    IconSize{SM_CXICON, SM_CYICON},
};

/// Not shared: a shared icon would come in the size in which it was first loaded.
HICON LoadProgramIcon(HWND dialog, const IconSize& size) {
    return static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_PROGRAM), IMAGE_ICON,
                                         DialogMetric(dialog, size.width_metric),
                                         DialogMetric(dialog, size.height_metric), LR_DEFAULTCOLOR));
}

void Destroy(HICON icon) {
    if (icon != nullptr) DestroyIcon(icon);
}

}  // namespace

DialogIcons::~DialogIcons() {
    for (const HICON icon : icons_) Destroy(icon);
}

void DialogIcons::Show(HWND dialog) {
    for (std::size_t kind = 0; kind < icons_.size(); ++kind) {
        const HICON icon = LoadProgramIcon(dialog, kSizes[kind]);
        if (icon == nullptr) continue;
        SendMessageW(dialog, WM_SETICON, kind, reinterpret_cast<LPARAM>(icon));
        Destroy(std::exchange(icons_[kind], icon));
    }
}

}  // namespace nelto::ui
