#include "core/acquisition_worker.h"

#include <tuple>
#include <utility>

#include "platform/wide_text.h"
#include "support.h"

namespace nelto::test {
namespace {

/// The analysers of a run: give scripted results and write down what the worker asks for.
struct Script {
    std::size_t opens = 0;  // so many times an analyser is found, then nothing
    // Results, 0 once used up; with the values used up the stop is requested.
    std::deque<std::uint32_t> configurations, values, heating_checks;
    std::uint32_t kind           = kKind780;
    const wchar_t* name          = L"T7";
    const wchar_t* serial_number = L"1";
    std::deque<const wchar_t*> serials;  // those of the next configurations, before it
    float fuel_value            = 1;
    bool stops_in_configuration = false, stops_in_heating_check = false;
    std::vector<std::uint32_t> brings = {0xFF2E};  // view idents of the heating check
    float number                      = 0;         // what its results are
    std::string calls;  // o open, x not found, f fuel, c configuration, h heating check, v values, z close
    std::vector<std::uint32_t> statuses;  // at each call of configuration and values
    std::uint32_t stop_at   = 0;          // time at which the user ends
    std::int32_t fuel       = 0;
    bool busy_outside_reads = false;
    ProgramState* state     = nullptr;
};

Script* script = nullptr;

template <typename T>
T Take(std::deque<T>& results, T otherwise = {}) {
    if (results.empty()) return otherwise;
    const T result = results.front();
    results.pop_front();
    return result;
}

class FakeInstrument final : public Instrument {
public:
    std::uint32_t Kind() const override { return script->kind; }
    std::uint32_t SubType() const override { return 7; }
    std::uint32_t SetActiveFuel(std::int32_t fuel_number) override {
        script->calls += 'f';
        script->fuel = fuel_number;
        return 1;
    }
    std::uint32_t ReadConfiguration(ChannelTable& channels) override {
        script->calls += 'c';
        script->statuses.push_back(script->state->status);
        EXPECT_TRUE(script->state->measurement.Busy());
        EXPECT_TRUE(UsedRecords(channels).empty());
        if (script->stops_in_configuration) script->state->stop_request = 1;
        const std::uint32_t result = Take(script->configurations);
        if (script->kind == kKind710) return result;
        script->serial_number = Take(script->serials, script->serial_number);
        channels[0]           = {.view_ident = kFuel, .value = script->fuel_value};
        if (result != 0) return result;  // half-way
        channels[1] = {.view_ident = kDevice};
        platform::CopyText(channels[1].text, script->name);
        channels[2] = {.view_ident = kSerialNumber};
        platform::CopyText(channels[2].text, script->serial_number);
        return result;
    }
    std::uint32_t ReadHeatingCheck(ChannelTable& heating_check) override {
        script->calls += 'h';
        const std::uint32_t result = Take(script->heating_checks);
        if (script->stops_in_heating_check) script->state->stop_request = 1;
        if (result != 0) return result;
        heating_check = {};
        for (const std::uint32_t ident : script->brings)
            AppendRecord(heating_check, {.view_ident = ident, .value = script->number});
        return result;
    }
    std::uint32_t ReadValues(ChannelTable& channels) override {
        script->calls += 'v';
        script->statuses.push_back(script->state->status);
        if (script->kind != kKind710) channels[0].value_type = kText;
        if (script->values.empty()) script->state->stop_request = 1;
        return Take(script->values);
    }
    std::uint32_t Close() override {
        script->calls += 'z';
        script->busy_outside_reads |= script->state->measurement.Busy();
        return 0;
    }
};

std::unique_ptr<Instrument> FakeOpen(std::uint32_t, const std::atomic<std::uint32_t>&, OpenFailure&) {
    script->calls += script->opens > 0 ? 'o' : 'x';
    return script->opens > 0 && script->opens-- > 0 ? std::make_unique<FakeInstrument>() : nullptr;
}

class WorkerTest : public HostTest {
protected:
    WorkerTest() {
        script          = &script_;
        script_.state   = &state_;
        World().on_wait = [this] {
            if (script_.stop_at != 0 && World().now >= script_.stop_at) state_.stop_request = 1;
        };
        World().texts = {{676, L"Fuel"}, {679, L"Device"}, {700, L"PointsFluegasLoss"}};
    }
    ~WorkerTest() override { script = nullptr; }

    void Run() { EXPECT_EQ(AcquisitionWorker(state_, FakeOpen), 0U); }

    /// One connection, or as many as there are results that end one, with the values read once after the last.
    Measurement Connect(std::deque<std::uint32_t> configurations = {}, std::deque<std::uint32_t> values = {}) {
        state_.stop_request    = 0;
        script_.calls          = {};
        script_.statuses       = {};
        script_.opens          = 1 + configurations.size() + values.size();
        script_.configurations = std::move(configurations);
        script_.values         = std::move(values);
        Run();
        return state_.measurement.Copy();
    }

    ProgramState state_;
    Script script_;
};

TEST_F(WorkerTest, SearchesOnceASecondUntilTheStop) {
    script_.stop_at = World().now + 2500;
    for (int run = 0; run < 2; ++run) {  // nothing is opened when the stop came first
        Run();
        EXPECT_EQ(script_.calls, "xxx");
        EXPECT_EQ(World().now, script_.stop_at);
        EXPECT_EQ(state_.status, kSearching);
    }
}

TEST_F(WorkerTest, ReadsValuesOnceASecondAndHandsThemOver) {
    state_.fuel_choice            = 3;
    const std::uint32_t start     = World().now;
    const Measurement measurement = Connect({}, {0, 0});
    EXPECT_EQ(script_.calls, "ofcvvvz");
    EXPECT_EQ(script_.fuel, 3);
    EXPECT_EQ(World().now - start, 2000U);
    EXPECT_EQ(script_.statuses, (std::vector<std::uint32_t>{1, 1, 2, 2}));
    EXPECT_EQ(state_.instrument_kind, kKind780);
    EXPECT_EQ(state_.sub_type, 7U);
    EXPECT_TRUE(measurement.oil_fuel);
    EXPECT_EQ(measurement.kind, kKind780);
    EXPECT_EQ(platform::TextIn(measurement.device_name), L"T7");
    EXPECT_EQ(platform::TextIn(measurement.channels[0].label), L"Fuel");
    EXPECT_EQ(measurement.channels[0].value_type, kText);
    EXPECT_FALSE(script_.busy_outside_reads);
}

TEST_F(WorkerTest, SearchesAgainAfterEveryFailureAndKeepsItsStatus) {
    const std::tuple<std::deque<std::uint32_t>, std::deque<std::uint32_t>, const char*, std::vector<std::uint32_t>>
        cases[] = {
            {{2}, {}, "ofczofcvz", {1, 1, 1}},
            {{}, {0, 2, 0}, "ofcvvzofcvvz", {1, 1, 2, 3, 3, 2}},
            {{}, {0, 6, 0}, "ofcvvzofcvvz", {1, 1, 2, 4, 4, 2}},
            {{}, {1, 6}, "ofcvzofcvzofcvz", {1, 1, 3, 3, 4, 4}},
        };
    for (const auto& [configurations, values, calls, statuses] : cases) {
        Connect(configurations, values);
        EXPECT_EQ(script_.calls, calls);
        EXPECT_EQ(script_.statuses, statuses);
        EXPECT_EQ(state_.status, kValuesAvailable);
    }
}

TEST_F(WorkerTest, ClosesTwiceWhenTheStopComesWhileItWaitsAfterAFailure) {
    for (const bool in_configuration : {true, false}) {
        script_.stop_at = World().now + 300;
        Connect({in_configuration ? 2U : 0U}, {2});
        EXPECT_EQ(script_.calls, in_configuration ? "ofczz" : "ofcvzz");
        EXPECT_EQ(World().now, script_.stop_at);
    }
}

TEST_F(WorkerTest, KeepsTheLastWholeMeasurementUntilAnotherOneIsWhole) {
    const std::uint32_t version = Connect().version;
    script_.serial_number       = L"2";
    script_.stop_at             = World().now + 500;
    EXPECT_EQ(Connect({2}).version, version);  // the configuration fails
    script_.stop_at = World().now + 500;
    EXPECT_EQ(Connect({}, {2}).version, version);  // no values have come yet
    EXPECT_EQ(script_.calls, "ofcvzz");
    EXPECT_EQ(state_.status, kBroken);
    script_.stops_in_configuration = true;
    for (const std::uint32_t result : {0U, 2U}) {  // cut short
        EXPECT_EQ(Connect({result}).version, version);
        EXPECT_EQ(script_.calls, result == 0 ? "ofcz" : "ofczz");
    }
    script_.stops_in_configuration = false;
    script_.stop_at                = 0;
    const Measurement other        = Connect({2}, {6});
    EXPECT_EQ(other.version, version + 1);
    EXPECT_EQ(platform::TextIn(other.channels[2].text), L"2");
}

TEST_F(WorkerTest, LeavesNothingOfAnEarlierAnalyserButTheFuelThatNoneHasTold) {
    state_.heating_check = 1;
    for (const float fuel : {1.0F, 0.9999F, 2.0F}) {
        script_.kind              = kKind780;
        script_.fuel_value        = fuel;
        const Measurement earlier = Connect();
        EXPECT_EQ(earlier.oil_fuel, fuel == 1.0F);
        EXPECT_EQ(ResultsOf(earlier.heating_check), "2E:0");
        script_.kind              = kKind710;
        script_.heating_checks    = {1};
        const Measurement another = Connect();
        EXPECT_EQ(state_.status, kValuesAvailable);
        EXPECT_TRUE(UsedRecords(another.channels).empty() && UsedRecords(another.heating_check).empty());
        EXPECT_EQ(another.device_name[0], L'\0');
        EXPECT_EQ(another.oil_fuel, fuel == 1.0F);
    }
}

TEST_F(WorkerTest, DropsHeatingCheckResultsWithTheirAnalyserAlone) {
    state_.heating_check    = 1;
    const Measurement first = Connect();
    EXPECT_EQ(ResultsOf(first.heating_check), "2E:0");
    EXPECT_EQ(platform::TextIn(first.heating_check[0].label), L"PointsFluegasLo");
    script_.number                 = 1;
    script_.stops_in_heating_check = true;
    EXPECT_EQ(ResultsOf(Connect({}, {2}).heating_check), "2E:0");
    script_.stops_in_heating_check = false;
    script_.brings                 = {0xFF2F};
    script_.serial_number          = L"2";
    script_.heating_checks         = {0, 1};  // the second read fails, when the values come at last
    EXPECT_EQ(ResultsOf(Connect({}, {6}).heating_check), "2F:1");
    state_.heating_check = 0;
    EXPECT_EQ(ResultsOf(Connect({2}).heating_check), "2F:1");
    EXPECT_EQ(script_.calls, "ofczofcvz");
    script_.name = L"T8";
    EXPECT_EQ(ResultsOf(Connect().heating_check), "");
    state_.heating_check = 1;
    EXPECT_EQ(ResultsOf(Connect().heating_check), "2F:1");
    state_.heating_check = 0;
    script_.kind         = kKind781;
    EXPECT_EQ(ResultsOf(Connect().heating_check), "");
}

TEST_F(WorkerTest, KeepsHeatingCheckResultsWhenAnotherAnalyserCameWithoutValues) {
    state_.heating_check   = 1;
    script_.heating_checks = {0, 1, 1};
    EXPECT_EQ(ResultsOf(Connect().heating_check), "2E:0");
    script_.serials = {L"2", L"1"};  // the other one zeroes, then the first one is back
    EXPECT_EQ(ResultsOf(Connect({}, {6}).heating_check), "2E:0");
    script_.serial_number  = L"";  // without one, nobody is known again
    script_.heating_checks = {0};
    EXPECT_EQ(ResultsOf(Connect().heating_check), "2E:0");
    script_.heating_checks = {1};
    EXPECT_EQ(ResultsOf(Connect().heating_check), "");
}

TEST_F(WorkerTest, LetsTheDialogEditOnlyWhatItHasSeen) {
    Measurement seen            = state_.measurement.Copy();
    seen.channels[0].view_ident = 5;
    state_.measurement.SetBusy(true);
    EXPECT_FALSE(state_.measurement.Edit(seen));
    state_.measurement.Publish(state_.measurement.Copy());
    state_.measurement.SetBusy(false);
    EXPECT_FALSE(state_.measurement.Edit(seen));
    EXPECT_EQ(state_.measurement.Copy().channels[0].view_ident, 0U);
    EXPECT_TRUE(state_.measurement.Edit(state_.measurement.Copy()));

    World().on_wait = [this, edited = false]() mutable {
        Measurement shown = state_.measurement.Copy();
        platform::CopyText(shown.channels[1].label, L"edited");
        if (!edited) EXPECT_TRUE(state_.measurement.Edit(shown));
        edited = true;
    };
    EXPECT_EQ(platform::TextIn(Connect({}, {0, 0}).channels[1].label), L"edited");  // later reads have it too
}

}  // namespace
}  // namespace nelto::test
