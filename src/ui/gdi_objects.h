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

/// A picture in memory that a window is painted from at once.
class Buffer {
public:
    Buffer(HDC screen, SIZE size)
        : canvas_(CreateCompatibleDC(screen)),
          bitmap_(CreateCompatibleBitmap(screen, size.cx, size.cy)),
          previous_(SelectObject(canvas_, bitmap_.Get())) {}
    ~Buffer() {
        SelectObject(canvas_, previous_);
        DeleteDC(canvas_);
    }
    Buffer(const Buffer&)            = delete;
    Buffer& operator=(const Buffer&) = delete;

    [[nodiscard]] HDC Canvas() const { return canvas_; }

private:
    HDC canvas_;
    GdiObject<HBITMAP> bitmap_;
    HGDIOBJ previous_;
};

}  // namespace nelto::ui
