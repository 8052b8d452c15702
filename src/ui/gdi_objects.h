// Drawing objects that are given back at the end of their scope.
#pragma once

#include <windows.h>

namespace nelto::ui {

/// A pen, brush or bitmap of our own.
template <typename Handle>
class GdiObject {
public:
    explicit GdiObject(Handle handle) : handle_(handle) {}
    ~GdiObject() {
        if (handle_ != nullptr) DeleteObject(handle_);
    }
    GdiObject(const GdiObject&)            = delete;
    GdiObject& operator=(const GdiObject&) = delete;

    [[nodiscard]] Handle Get() const { return handle_; }

private:
    Handle handle_;
};

/// Selected into a device context for a while.
class Selection {
public:
    Selection(HDC canvas, HGDIOBJ object) : canvas_(canvas), previous_(SelectObject(canvas, object)) {}
    ~Selection() { SelectObject(canvas_, previous_); }
    Selection(const Selection&)            = delete;
    Selection& operator=(const Selection&) = delete;

private:
    HDC canvas_;
    HGDIOBJ previous_;
};

/// A bitmap of our own and a device context to draw on it, or from it.
class BitmapCanvas {
public:
    BitmapCanvas(HDC screen, HBITMAP bitmap)
        : bitmap_(bitmap), context_(CreateCompatibleDC(screen)), previous_(SelectObject(context_, bitmap)) {}
    ~BitmapCanvas() {
        SelectObject(context_, previous_);
        DeleteDC(context_);
    }
    BitmapCanvas(const BitmapCanvas&)            = delete;
    BitmapCanvas& operator=(const BitmapCanvas&) = delete;

    [[nodiscard]] HDC Context() const { return context_; }

private:
    GdiObject<HBITMAP> bitmap_;
    HDC context_;
    HGDIOBJ previous_;
};

}  // namespace nelto::ui
