#include "ui/pictures.h"

#include <array>

#include "ui/gdi_objects.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr COLORREF kTransparent = RGB(255, 0, 255);

/// One set of pictures is drawn for each of these scalings; its resources are shifted by the offset.
struct PictureSet {
    std::uint32_t dpi;
    std::uint32_t offset;
};

constexpr std::array kPictureSets = {
    PictureSet{192, 3000},
    PictureSet{144, 2000},
    PictureSet{120, 1000},
};

/// The largest set that fits; the smallest is for 96 dpi and below.
std::uint32_t SetOffset(std::uint32_t dpi) {
    for (const PictureSet& set : kPictureSets) {
        if (dpi >= set.dpi) return set.offset;
    }
    return 0;
}

SIZE BitmapSize(HBITMAP bitmap) {
    BITMAP description{};
    GetObjectW(bitmap, sizeof description, &description);
    return {description.bmWidth, description.bmHeight};
}

POINT CentredIn(HWND dialog, int control_id, SIZE size) {
    const RECT place = ControlPlace(dialog, control_id);
    return {place.left + (place.right - place.left - size.cx) / 2,
            place.top + (place.bottom - place.top - size.cy) / 2};
}

}  // namespace

void DrawPicture(HWND dialog, HDC screen, int control_id, std::uint32_t picture) {
    const WORD resource  = static_cast<WORD>(picture + SetOffset(DialogDpi(dialog)));
    const HBITMAP bitmap = LoadBitmapW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resource));
    if (bitmap == nullptr) return;
    const SIZE size = BitmapSize(bitmap);
    const POINT at  = CentredIn(dialog, control_id, size);
    const BitmapCanvas source(screen, bitmap);
    // The body of TransparentBlt, which needs no library more.
    GdiTransparentBlt(screen, at.x, at.y, size.cx, size.cy, source.Context(), 0, 0, size.cx, size.cy, kTransparent);
}

}  // namespace nelto::ui
