// The course of the values: recorder, statistics, reduction to points, scales, file and settings.
#include <cmath>
#include <numeric>
#include <random>

#include "core/course_choice.h"
#include "core/course_csv.h"
#include "core/course_recorder.h"
#include "core/course_strip.h"
#include "core/course_view.h"
#include "core/value_text.h"
#include "platform/wide_text.h"
#include "support.h"

namespace nelto {
namespace {

using platform::memory::TheWorld;
using platform::memory::World;

constexpr CourseKey kOxygen{.view_ident = 0x0901, .unit = kPercent};

ChannelRecord Number(const CourseKey& key, float value, const wchar_t* label = L"O2") {
    ChannelRecord record{key.view_ident, key.unit, kOneDecimal, kNumber, value};
    platform::CopyText(record.label, label);
    return record;
}

class CourseTest : public test::HostTest {
protected:
    void Wait(std::uint32_t seconds) { recorder_.Advance(tick_ += 1000 * seconds, ToCalendarTime(clock_ += seconds)); }
    /// A measurement of these records, `seconds` after the one before.
    void Measure(std::uint32_t seconds, const std::vector<ChannelRecord>& records) {
        measurement_.channels = {};
        std::ranges::copy(records, measurement_.channels.begin());
        MeasureAgain(seconds);
    }
    void MeasureAgain(std::uint32_t seconds) {
        Wait(seconds);
        ++measurement_.version;
        recorder_.Record(measurement_);
    }
    void Measure(std::uint32_t seconds, float value) { Measure(seconds, {Number(kOxygen, value)}); }
    /// Each second a measurement of so many records, all 1.
    void MeasureMany(std::uint32_t first_ident, std::size_t count, std::size_t seconds) {
        measurement_.channels = {};
        for (auto& record : std::span(measurement_.channels).first(count)) {
            record = Number({.view_ident = first_ident++}, 1);
        }
        for (; seconds > 0; --seconds) MeasureAgain(1);
    }
    /// The course so far, a gap as -1.
    std::vector<float> Course(std::size_t series = 0) {
        std::vector<float> values(recorder_.Now() - recorder_.First() + 1);
        recorder_.Series()[series].Copy(recorder_.First(), values);
        for (float& value : values) value = std::isnan(value) ? -1.0F : value;
        return values;
    }

    std::uint32_t tick_ = 0xFFFFF000;  // wraps soon
    LocalSecond clock_  = ToLocalSecond({.year = 2026, .month = 11, .day = 21, .hour = 19, .minute = 53, .second = 1});
    Measurement measurement_{.kind = kKind780};
    CourseRecorder recorder_;
};

TEST_F(CourseTest, AValueStandsUntilTheNextOneComesSoonAndEverythingElseIsAGap) {
    Measure(7, 1);
    Measure(3, 2);
    Wait(1);
    recorder_.Record(measurement_);  // the same one again
    Measure(5, 3);                   // too late
    Measure(1, {Number(kOxygen, std::nanf("")), Number({.view_ident = kSmokeNumber1}, 1)});
    Measure(1, 4);
    recorder_.Interrupt();
    Measure(1, 5);  // one second stays empty
    Wait(1);
    recorder_.Record(measurement_);
    platform::CopyText(measurement_.device_name, L"another");
    Measure(3, 6);
    EXPECT_EQ(Course(), (std::vector<float>{1, 1, 1, 2, -1, -1, -1, -1, -1, 3, -1, 4, -1, 5, -1, -1, 6}));
    EXPECT_EQ(recorder_.Series().size(), 1U);
}

TEST_F(CourseTest, AnotherUnitAndAnotherChannelHaveCoursesOfTheirOwn) {
    constexpr CourseKey kPascal{.view_ident = 0x0301, .unit = 137};
    constexpr CourseKey kHectopascal{.view_ident = 0x0301, .unit = 24};
    Measure(1, {Number(kPascal, 12), Number(kOxygen, 3)});
    Measure(1, {Number(kHectopascal, 13)});
    Measure(1, {Number(kPascal, 14)});
    ASSERT_EQ(recorder_.Series().size(), 3U);
    EXPECT_EQ(Course(0), (std::vector<float>{12, -1, 14}));
    EXPECT_EQ(Course(1), (std::vector<float>{3, -1, -1}));
    EXPECT_EQ(Course(2), (std::vector<float>{-1, 13, -1}));
    EXPECT_EQ(recorder_.Series()[2].Key(), kHectopascal);
}

TEST_F(CourseTest, LocalTimeFollowsAClockThatIsSet) {
    const LocalSecond begin = clock_ + 1;
    Measure(1, 1);
    Measure(1, 2);
    clock_ += 3600;
    Measure(1, 3);
    EXPECT_EQ(recorder_.LocalTimeOf(recorder_.First()), begin);
    EXPECT_EQ(recorder_.LocalTimeOf(recorder_.First() + 1), begin + 1);
    EXPECT_EQ(recorder_.LocalTimeOf(recorder_.Last()), begin + 3602);
    EXPECT_EQ(ClockText(begin + 3602, true) + ClockText(begin, false), L"20:53:0419:53");
}

TEST_F(CourseTest, ADayStaysWithinItsBound) {
    constexpr std::size_t kHour = 3600;
    constexpr std::size_t kMega = std::size_t{1024} * 1024;
    MeasureMany(1, 20, kHour);
    EXPECT_LT(recorder_.Bytes(), kMega);
    MeasureMany(1, 20, 24 * kHour);
    EXPECT_LT(recorder_.Bytes(), 8 * kMega);
    EXPECT_NEAR(recorder_.Now() - recorder_.First(), kKeptSeconds, 2 * kBlockSeconds);
    MeasureMany(1, kChannelCapacity, 12 * kHour);
    EXPECT_LE(recorder_.Bytes(), 9 * kMega);
    std::vector<float> values(2 * kHour);
    recorder_.Series().back().Copy(recorder_.Now() - 2 * kHour + 1, values);
    EXPECT_EQ(std::ranges::count(values, 1.0F), std::ssize(values));
}

TEST_F(CourseTest, MemoryIsBoundedWhateverTheAnalyserCallsItsChannels) {
    for (std::uint32_t second = 1; second < 1000; ++second) {
        MeasureMany(second * 64, kChannelCapacity, 1);
        ASSERT_LE(recorder_.Bytes(), 12U * 1024 * 1024);
    }
    Measure(kBlockSeconds, 5);
    EXPECT_EQ(recorder_.Series().back().At(recorder_.Last()), 5);
}

/// Courses with gaps, jumps and standing values.
class RandomCourses {
public:
    std::vector<float> Next() {
        std::vector<float> values(Below(400) + 1);
        const std::uint32_t gaps = Below(4);
        for (float& value : values) {
            if (Below(3) == 0) value_ = static_cast<float>(Below(2000)) / 8.0F - 100.0F;
            value = Below(20) < gaps * gaps ? kGap : value_;
        }
        return values;
    }
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

private:
    std::mt19937 random_{20261121};
    float value_ = 0;
};

TEST_F(CourseTest, StatisticsAreThoseOfTheObviousComputation) {
    RandomCourses random;
    for (int round = 0; round < 2000; ++round) {
        const std::vector<float> values = random.Next();
        const auto latest               = [&](std::size_t seconds) {
            std::vector<float> there(values.end() - std::min(std::ssize(values), std::ptrdiff_t(seconds)),
                                                   values.end());
            std::erase_if(there, [](float value) { return std::isnan(value); });
            return there;
        };
        const auto mean = [](const std::vector<float>& of) {
            return std::accumulate(of.begin(), of.end(), 0.0) / static_cast<double>(of.size());
        };
        const std::vector<float> all = latest(400), late = latest(30), last = latest(6);
        const CourseStatistics statistics = Summarise(values);
        EXPECT_EQ(statistics.now, last.empty() ? std::nullopt : std::optional(last.back()));
        EXPECT_EQ(statistics.mean_30.has_value(), late.size() >= 25);
        EXPECT_EQ(statistics.mean.has_value(), !all.empty());
        if (statistics.mean_30) EXPECT_NEAR(*statistics.mean_30, mean(late), 1e-3);
        if (all.empty()) continue;
        EXPECT_EQ(statistics.minimum, std::ranges::min(all));
        EXPECT_EQ(statistics.maximum, std::ranges::max(all));
        EXPECT_NEAR(*statistics.mean, mean(all), 1e-3);
    }
}

/// The rows that a line covers in each column: between two seconds of one column all from value to value, between two columns only
/// that they are joined.
struct Drawing {
    std::map<int, std::vector<std::pair<float, float>>> bars;  // by column: lowest and highest of each piece
    std::vector<std::pair<CoursePoint, CoursePoint>> joins;

    explicit Drawing(std::span<const CoursePoint> line) {
        for (std::size_t index = 0; index < line.size(); ++index) {
            const CoursePoint& point = line[index];
            auto& pieces             = bars[point.column];
            const bool goes_on       = !point.begins && line[index - 1].column == point.column;
            if (!goes_on) pieces.emplace_back(point.value, point.value);
            pieces.back() = {std::min(pieces.back().first, point.value), std::max(pieces.back().second, point.value)};
            if (!goes_on && !point.begins) joins.emplace_back(line[index - 1], point);
        }
        for (auto& [from, to] : joins) from.begins = to.begins = false;
    }
    bool operator==(const Drawing& other) const = default;
};

TEST_F(CourseTest, FewPointsCoverWhatAllOfThemCover) {
    RandomCourses random;
    std::vector<CoursePoint> points;
    for (int round = 0; round < 2000; ++round) {
        const std::vector<float> values = random.Next();
        const int columns               = static_cast<int>(random.Below(300)) + 1;
        std::vector<CoursePoint> all;
        for (std::size_t index = 0; index < values.size(); ++index) {
            if (std::isnan(values[index])) continue;
            const bool begins = index == 0 || std::isnan(values[index - 1]);
            all.push_back({ColumnOf(index, values.size(), columns), values[index], begins});
        }
        ReducePoints(values, columns, points);
        EXPECT_EQ(Drawing(points), Drawing(all));
        const auto pieces = static_cast<std::size_t>(std::ranges::count(points, true, &CoursePoint::begins));
        EXPECT_LE(points.size(), 4 * (static_cast<std::size_t>(columns) + pieces));
    }
}

TEST_F(CourseTest, ScalesAreRoundAndHoldTheirValues) {
    RandomCourses random;
    for (int round = 0; round < 5000; ++round) {
        const float size               = std::pow(10.0F, static_cast<float>(random.Below(60)) - 25.0F);
        const float low                = (static_cast<float>(random.Below(2000)) - 1000.0F) * size;
        const float high               = low + static_cast<float>(random.Below(3) * random.Below(1000)) * size;
        const int most                 = static_cast<int>(random.Below(8)) + 2;
        const std::uint32_t resolution = random.Below(2) == 0 ? kWholeNumber : kFourDecimals + random.Below(4);
        const CourseScale scale        = ChooseScale(low, high, resolution, most);
        SCOPED_TRACE(testing::Message() << low << " to " << high << ": " << scale.low << " to " << scale.high << " by "
                                        << scale.step);
        EXPECT_LE(scale.low, low + scale.step / 1e6);
        EXPECT_GE(scale.high, high - scale.step / 1e6);
        EXPECT_GT(scale.high, scale.low);
        EXPECT_EQ(std::clamp(scale.Steps(), 2, most), scale.Steps());
        const double factor = scale.step / std::pow(10.0, std::floor(std::log10(scale.step) + 1e-9));
        EXPECT_LT(std::abs((factor - 1) * (factor - 2) * (factor - 5)), 1e-6) << factor;
    }
    const CourseScale still = ChooseScale(20.9F, 20.9F, kOneDecimal, 5);
    EXPECT_EQ(NumberText(static_cast<float>(still.low), still.resolution, L','), L"20,8");
    EXPECT_EQ(NumberText(static_cast<float>(still.high), still.resolution, L','), L"21,0");
    EXPECT_EQ(TimeStep(2), 30U);
    EXPECT_EQ(TimeStep(120), 1800U);
}

TEST_F(CourseTest, TheFileHoldsARowForEachSecond) {
    constexpr CourseKey kOther{.view_ident = 0x0902, .unit = kNoUnit};
    constexpr auto kName = L"=a\"\n\xD83D\xDE00;\xDC00";
    Measure(1, {Number(kOxygen, 20.94F, L"O\x2082"), Number(kOther, 1, kName)});
    recorder_.Interrupt();
    Measure(2, {Number(kOther, 2, kName), Number(kOxygen, -0.05F, L"O\x2082")});
    const std::wstring path             = L"C:\\course.csv";
    const decltype(World::files) before = {{path, "old"}};
    TheWorld().files                    = before;
    for (const bool is_full : {true, false}) {
        TheWorld().disk_space = is_full ? 20 : 1000;
        if (!is_full) TheWorld().unwritable_files.insert(path);
        EXPECT_NE(SaveCourse(recorder_, {}, path), 0U);
        EXPECT_EQ(TheWorld().files, before);
    }
    TheWorld().unwritable_files.clear();
    EXPECT_EQ(SaveCourse(recorder_, {.list = L';', .decimal = L','}, path), 0U);
    const std::string german =
        "\xEF\xBB\xBFtime;\"O\xE2\x82\x82 [%]\";\"'=a\"\" \xF0\x9F\x98\x80;\xEF\xBF\xBD\"\r\n"
        "2026-11-21 19:53:02;20,9;1,0\r\n2026-11-21 19:53:03;;\r\n2026-11-21 19:53:04;-0,1;2,0\r\n";
    EXPECT_EQ(TheWorld().files, (decltype(TheWorld().files){{path, german}}));
    EXPECT_EQ(SaveCourse(recorder_, {.list = L',', .decimal = L','}, path), 0U);
    EXPECT_EQ(TheWorld().files[path], german) << "two equal separators";
    EXPECT_EQ(CourseFileName(recorder_, L"nelto 780/2: HD?"), L"nelto 780-2- HD- 2026-11-21 19-53-04");
}

TEST_F(CourseTest, ALongRunIsKeptAndWrittenWhole) {
    for (int second = 0; second < 20000; ++second) Measure(1, static_cast<float>(second));
    EXPECT_TRUE(std::ranges::is_sorted(Course()));
    EXPECT_EQ(Course().back(), 19999.0F);
    EXPECT_EQ(SaveCourse(recorder_, {}, L"long.csv"), 0U);
    const std::string& file = TheWorld().files[L"long.csv"];
    EXPECT_EQ(std::ranges::count(file, '\n'), 20001);
    EXPECT_TRUE(file.ends_with(",19999.0\r\n"));
}

std::vector<CourseKey> KeysOf(const CourseSettings& settings) {
    return {settings.choice.Keys().begin(), settings.choice.Keys().end()};
}

TEST_F(CourseTest, TheChoiceHoldsSixAndIsFoundAgain) {
    CourseSettings settings = ReadCourseSettings();
    EXPECT_EQ(settings.place.width, 0);
    settings.choice.ChooseUsual(recorder_.Series());
    EXPECT_TRUE(settings.choice.Keys().empty());
    Measure(1, {Number({.view_ident = 7}, 1), Number({.view_ident = 0x0902, .unit = 131}, 1), Number(kOxygen, 1)});
    Measure(1, {Number({.view_ident = 0x0902, .unit = 136}, 1)});
    settings.choice.Add({.view_ident = 8}, recorder_.Series());  // not there any more
    settings.choice.ChooseUsual(recorder_.Series());
    constexpr CourseKey kCarbonMonoxide{.view_ident = 0x0902, .unit = 136};
    EXPECT_EQ(KeysOf(settings), (std::vector{kOxygen, kCarbonMonoxide}));
    settings.choice.Remove(kOxygen);
    const auto add = [&](std::uint32_t ident) { settings.choice.Add({ident, ident + 1}, recorder_.Series()); };
    for (std::uint32_t ident = 1; ident < 9; ++ident)
        add(ident);  // none of them is there: each new one drives out an old one
    EXPECT_FALSE(settings.choice.IsFull(recorder_.Series()));
    Measure(1, {Number({4, 5}, 1), Number({5, 6}, 1), Number({6, 7}, 1), Number({7, 8}, 1), Number({8, 9}, 1)});
    EXPECT_TRUE(settings.choice.IsFull(recorder_.Series()));
    add(9);
    settings.choice.ChooseUsual(recorder_.Series());
    settings.place        = {.left = -1500, .top = 20, .width = 640, .height = 480};
    settings.span_minutes = 30;
    WriteCourseSettings(settings);
    TheWorld().registry[L"CourseChannel3"] = 0;
    const CourseSettings found             = ReadCourseSettings();
    EXPECT_FALSE(found.choice.IsFull(recorder_.Series()));
    EXPECT_EQ(KeysOf(found), (std::vector<CourseKey>{kCarbonMonoxide, {4, 5}, {6, 7}, {7, 8}, {8, 9}}));
    EXPECT_EQ(std::pair(found.place.left, found.place.height), std::pair(-1500, 480));
    EXPECT_EQ(found.span_minutes, 30U);
    TheWorld().registry[L"CourseSpan"] = 31;
    EXPECT_EQ(ReadCourseSettings().span_minutes, 10U);
}

}  // namespace
}  // namespace nelto
