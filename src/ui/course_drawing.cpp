#include "ui/course_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "core/course_strip.h"
#include "core/course_view.h"
#include "core/value_text.h"
#include "platform/wide_text.h"
#include "ui/gdi_objects.h"
#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

constexpr int kMargin        = 4;   // pixels at 96 dpi, around the whole and between texts and lines
constexpr int kTickLength    = 3;   // the same
constexpr int kMostSteps     = 6;   // of a value axis
constexpr int kLeastContrast = 96;  // of 255, between a line and what it is drawn on

int Brightness(COLORREF colour) {
    return (GetRValue(colour) * 30 + GetGValue(colour) * 59 + GetBValue(colour) * 11) / 100;
}

/// The colour of links is the system's for lines that are to be seen; where it is too near to the background, that of texts.
COLORREF CurveColour() {
    const COLORREF link = GetSysColor(COLOR_HOTLIGHT);
    const int contrast  = std::abs(Brightness(link) - Brightness(GetSysColor(COLOR_WINDOW)));
    return contrast >= kLeastContrast ? link : GetSysColor(COLOR_WINDOWTEXT);
}

struct Strip {
    const CourseSeries* series = nullptr;
    std::vector<float> values;
    CourseScale scale;
    RECT chart{};
};

class Drawing {
public:
    Drawing(HDC canvas, SIZE area, const CoursePicture& picture)
        : canvas_(canvas),
          area_(area),
          picture_(picture),
          font_(canvas, picture.font),
          grid_pen_(CreatePen(PS_DOT, 1, GetSysColor(COLOR_GRAYTEXT))),
          frame_pen_(CreatePen(PS_SOLID, 1, GetSysColor(COLOR_GRAYTEXT))),
          look_pen_(CreatePen(PS_SOLID, 1, GetSysColor(COLOR_WINDOWTEXT))),
          curve_pen_(CreatePen(PS_SOLID, std::max(1, picture.dpi / USER_DEFAULT_SCREEN_DPI), CurveColour())) {
        TEXTMETRICW metrics{};
        GetTextMetricsW(canvas, &metrics);
        line_height_ = metrics.tmHeight;
        SetBkMode(canvas, TRANSPARENT);
        SetTextColor(canvas, GetSysColor(COLOR_WINDOWTEXT));
    }

    RECT Draw() {
        const RECT whole = {0, 0, area_.cx, area_.cy};
        FillRect(canvas_, &whole, GetSysColorBrush(COLOR_WINDOW));
        CollectStrips();
        if (strips_.empty()) {
            DrawEmpty(whole);
            return {};
        }
        PlaceStrips();
        for (const Strip& strip : strips_) DrawStrip(strip);
        DrawTimeTexts();
        const RECT& first = strips_.front().chart;
        return {first.left, first.top, first.right, strips_.back().chart.bottom};
    }

private:
    [[nodiscard]] int Scaled(int pixels) const { return MulDiv(pixels, picture_.dpi, USER_DEFAULT_SCREEN_DPI); }
    [[nodiscard]] std::uint32_t Seconds() const { return SecondsShown(picture_); }

    void CollectStrips() {
        for (const CourseKey& key : picture_.keys) {
            const CourseSeries* series = FindSeries(*picture_.recorder, key);
            if (series == nullptr) continue;
            Strip strip;
            strip.series = series;
            strip.values.resize(Seconds());
            picture_.recorder->CopyLatest(*series, strip.values);
            strips_.push_back(std::move(strip));
        }
    }

    void DrawEmpty(RECT whole) const {
        const std::wstring text = LoadText(picture_.recorder->Series().empty() ? IDS_COURSE_EMPTY : IDS_COURSE_HINT);
        DrawTextW(canvas_, text.c_str(), -1, &whole, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
    }

    /// All charts get the width that the longest text of a value axis leaves.
    void PlaceStrips() {
        const int margin = Scaled(kMargin);
        const int shown  = static_cast<int>(strips_.size());
        const int height = std::max(1, (static_cast<int>(area_.cy) - line_height_ - 2 * margin) / shown);
        int text_width   = 0;
        for (Strip& strip : strips_) {
            const int chart_height = height - line_height_ - margin;
            ChooseScaleOf(strip, chart_height);
            for (int tick = 0; tick <= strip.scale.Steps(); ++tick)
                text_width = std::max(text_width, Width(TickText(strip, tick)));
        }
        int top = 0;
        for (Strip& strip : strips_) {
            strip.chart = {2 * margin + text_width, top + line_height_, area_.cx - margin, top + height - margin};
            top += height;
        }
    }

    void ChooseScaleOf(Strip& strip, int chart_height) const {
        const CourseStatistics statistics = Summarise(strip.values);
        const float lowest                = statistics.minimum.value_or(0.0F);
        const int steps                   = std::clamp(chart_height / std::max(1, line_height_ + 2), 2, kMostSteps);
        strip.scale = ChooseScale(lowest, statistics.maximum.value_or(lowest), strip.series->Name().resolution, steps);
    }

    [[nodiscard]] std::wstring TickText(const Strip& strip, int tick) const {
        const double value = strip.scale.low + tick * strip.scale.step;
        return NumberText(static_cast<float>(value), strip.scale.resolution, picture_.decimal_separator);
    }

    [[nodiscard]] int Width(const std::wstring& text) const {
        SIZE size{};
        GetTextExtentPoint32W(canvas_, text.c_str(), static_cast<int>(text.size()), &size);
        return size.cx;
    }

    void DrawStrip(const Strip& strip) const {
        WriteText(strip.chart.left, strip.chart.top - line_height_, CourseTitle(picture_, *strip.series));
        DrawValueAxis(strip);
        DrawTimeLines(strip.chart);
        DrawFrame(strip.chart);
        DrawCurve(strip);
        DrawLook(strip.chart);
    }

    void WriteText(int left, int top, const std::wstring& text) const {
        TextOutW(canvas_, left, top, text.c_str(), static_cast<int>(text.size()));
    }

    void DrawLine(const GdiObject<HPEN>& pen, POINT from, POINT to) const {
        const Selection selection(canvas_, pen.Get());
        const POINT line[] = {from, to};
        Polyline(canvas_, line, 2);
    }

    [[nodiscard]] static int RowOf(const Strip& strip, double value) {
        const double share = (value - strip.scale.low) / (strip.scale.high - strip.scale.low);
        return static_cast<int>(strip.chart.bottom - 1 -
                                std::lround(share * (strip.chart.bottom - 1 - strip.chart.top)));
    }

    /// A low strip has room for the texts of its ends alone: digits leave a quarter of their line free.
    void DrawValueAxis(const Strip& strip) const {
        const int steps = strip.scale.Steps();
        int row_below   = strip.chart.bottom + line_height_;
        for (int tick = 0; tick <= steps; ++tick) {
            const int row = RowOf(strip, strip.scale.low + tick * strip.scale.step);
            DrawLine(grid_pen_, {strip.chart.left, row}, {strip.chart.right, row});
            DrawLine(frame_pen_, {strip.chart.left - Scaled(kTickLength), row}, {strip.chart.left, row});
            const bool is_end = tick == 0 || tick == steps;
            if (row_below - row < (is_end ? line_height_ * 3 / 4 : line_height_)) continue;
            if (!is_end && row - strip.chart.top < line_height_) continue;
            const std::wstring text = TickText(strip, tick);
            WriteText(strip.chart.left - Scaled(kMargin) - Width(text), row - line_height_ / 2, text);
            row_below = row;
        }
    }

    [[nodiscard]] int ColumnIn(const RECT& chart, std::size_t index) const {
        return static_cast<int>(chart.left) + ColumnOf(index, Seconds(), static_cast<int>(chart.right - chart.left));
    }

    /// Calls `draw` with each index of the shown seconds whose local time is round, and that time.
    template <typename Draw>
    void ForRoundTimes(Draw draw) const {
        const std::uint32_t step = TimeStep(picture_.span_minutes);
        for (std::uint32_t index = 0; index < Seconds(); ++index) {
            const LocalSecond time = ShownTime(picture_, index);
            if (time % step == 0) draw(index, time);
        }
    }

    void DrawTimeLines(const RECT& chart) const {
        ForRoundTimes([&](std::uint32_t index, LocalSecond) {
            const int column = ColumnIn(chart, index);
            DrawLine(grid_pen_, {column, chart.top}, {column, chart.bottom});
        });
    }

    void DrawTimeTexts() const {
        const RECT& chart = strips_.back().chart;
        int free          = 0;
        ForRoundTimes([&](std::uint32_t index, LocalSecond time) {
            const std::wstring text = ClockText(time, TimeStep(picture_.span_minutes) < 60);
            const int width         = Width(text);
            const int left          = std::min(ColumnIn(chart, index) - width / 2, static_cast<int>(area_.cx) - width);
            if (left < free) return;
            WriteText(left, chart.bottom + Scaled(kMargin), text);
            free = left + width + Scaled(kMargin);
        });
    }

    void DrawFrame(const RECT& chart) const {
        DrawLine(frame_pen_, {chart.left, chart.top}, {chart.left, chart.bottom});
        DrawLine(frame_pen_, {chart.left, chart.bottom - 1}, {chart.right, chart.bottom - 1});
    }

    void DrawCurve(const Strip& strip) const {
        const Selection selection(canvas_, curve_pen_.Get());
        const auto width = static_cast<int>(strip.chart.right - strip.chart.left);
        if (width <= 0) return;
        std::vector<CoursePoint> points;
        ReducePoints(strip.values, width, points);
        std::vector<POINT> line;
        for (const CoursePoint& point : points) {
            if (point.begins) DrawPiece(line);
            line.push_back({strip.chart.left + point.column, RowOf(strip, static_cast<double>(point.value))});
        }
        DrawPiece(line);
    }

    /// A line is drawn without its last pixel, so a value that stands alone gets one more.
    void DrawPiece(std::vector<POINT>& line) const {
        if (!line.empty()) line.push_back({line.back().x + 1, line.back().y});
        if (!line.empty()) Polyline(canvas_, line.data(), static_cast<int>(line.size()));
        line.clear();
    }

    void DrawLook(const RECT& chart) const {
        if (!picture_.looked_at) return;
        const int column = ColumnIn(chart, *picture_.looked_at);
        DrawLine(look_pen_, {column, chart.top}, {column, chart.bottom});
    }

    HDC canvas_;
    SIZE area_;
    const CoursePicture& picture_;
    Selection font_;
    GdiObject<HPEN> grid_pen_;
    GdiObject<HPEN> frame_pen_;
    GdiObject<HPEN> look_pen_;
    GdiObject<HPEN> curve_pen_;
    int line_height_ = 0;
    std::vector<Strip> strips_;
};

}  // namespace

RECT DrawCourses(HDC canvas, SIZE area, const CoursePicture& picture) { return Drawing(canvas, area, picture).Draw(); }

std::wstring CourseTitle(const CoursePicture& picture, const CourseSeries& series) {
    std::wstring title(platform::TextIn(series.Name().label));
    const auto add = [&](float value) {
        title.append(L"  ").append(NumberText(value, series.Name().resolution, picture.decimal_separator));
        title.append(L" ").append(UnitText(series.Key().unit));
    };
    if (!picture.looked_at) {
        std::vector<float> latest(kLongestHold + 1);
        picture.recorder->CopyLatest(series, latest);
        add(Summarise(latest).now.value_or(kGap));
        return title;
    }
    const std::uint32_t second = AxisSecond(picture, *picture.looked_at);
    add(series.At(second));
    return title.append(L"  (").append(ClockText(picture.recorder->LocalTimeOf(second), true)).append(L")");
}

const CourseSeries* FindSeries(const CourseRecorder& recorder, const CourseKey& key) {
    const auto series = std::ranges::find(recorder.Series(), key, &CourseSeries::Key);
    return series == recorder.Series().end() ? nullptr : &*series;
}

}  // namespace nelto::ui
