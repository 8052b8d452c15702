#include "ui/pictures.h"

#include <array>

#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr COLORREF kTransparent = RGB(255, 0, 255);
constexpr COLORREF kWhite       = RGB(255, 255, 255);
constexpr COLORREF kBlack       = RGB(0, 0, 0);

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

/// A bitmap selected into a device context of its own; both are released together.
class BitmapCanvas {
public:
    BitmapCanvas(HDC screen, HBITMAP bitmap)
        : bitmap_(bitmap), context_(CreateCompatibleDC(screen)), previous_(SelectObject(context_, bitmap)) {}
    ~BitmapCanvas() {
        SelectObject(context_, previous_);
        DeleteDC(context_);
        DeleteObject(bitmap_);
    }
    BitmapCanvas(const BitmapCanvas&)            = delete;
    BitmapCanvas& operator=(const BitmapCanvas&) = delete;

    [[nodiscard]] HDC Context() const { return context_; }

private:
    HBITMAP bitmap_;
    HDC context_;
    HGDIOBJ previous_;
};

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

/// White where the picture is transparent, black elsewhere.
void MakeMask(const BitmapCanvas& mask, const BitmapCanvas& picture, SIZE size) {
    SetBkColor(picture.Context(), kTransparent);
    SetTextColor(picture.Context(), kBlack);
    BitBlt(mask.Context(), 0, 0, size.cx, size.cy, picture.Context(), 0, 0, SRCCOPY);
}

/// With the colours set above the mask is magenta on black here, so that magenta turns black.
void BlackenTransparency(const BitmapCanvas& picture, const BitmapCanvas& mask, SIZE size) {
    BitBlt(picture.Context(), 0, 0, size.cx, size.cy, mask.Context(), 0, 0, SRCINVERT);
}

void Combine(HDC screen, POINT at, const BitmapCanvas& picture, const BitmapCanvas& mask, SIZE size) {
    SetBkColor(screen, kWhite);
    SetTextColor(screen, kBlack);
    BitBlt(screen, at.x, at.y, size.cx, size.cy, mask.Context(), 0, 0, SRCAND);
    BitBlt(screen, at.x, at.y, size.cx, size.cy, picture.Context(), 0, 0, SRCPAINT);
}

}  // namespace

void DrawPicture(HWND dialog, HDC screen, int control_id, std::uint32_t picture) {
    const WORD resource  = static_cast<WORD>(picture + SetOffset(DialogDpi(dialog)));
    const HBITMAP bitmap = LoadBitmapW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resource));
    if (bitmap == nullptr) return;
    const SIZE size = BitmapSize(bitmap);
    const BitmapCanvas source(screen, bitmap);
    const BitmapCanvas mask(screen, CreateBitmap(size.cx, size.cy, 1, 1, nullptr));
    MakeMask(mask, source, size);
    BlackenTransparency(source, mask, size);
    Combine(screen, CentredIn(dialog, control_id, size), source, mask, size);
}

}  // namespace nelto::ui
