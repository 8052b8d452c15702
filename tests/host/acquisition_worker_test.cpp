#include "core/acquisition_worker.h"

#include "support.h"

namespace nelto::test {
namespace {

/// The analyser of one connection: gives scripted results and writes down what the worker asks for.
struct Script {
    std::deque<bool> opens;                    // one an open; none left: nothing found
    std::deque<std::uint32_t> configurations;  // results, 0 once used up
    std::deque<std::uint32_t> values;          // results; used up: the stop is requested
    std::deque<std::uint32_t> heating_checks;  // results, 0 once used up
    std::uint32_t kind = kKind780;
    std::string calls;  // o open, x not found, f fuel, c configuration, h heating check, v values, z close
    std::vector<std::uint32_t> statuses;  // at each call of configuration and values
    std::uint32_t stop_at   = 0;          // time at which the user ends
    std::int32_t fuel       = 0;
    bool busy_outside_reads = false;
    bool cut_short          = false;  // the configuration leaves an empty table
    bool stops              = true;   // and the stop comes during it
    ProgramState* state     = nullptr;
};

Script* script = nullptr;

std::uint32_t Take(std::deque<std::uint32_t>& results) {
    if (results.empty()) return 0;
    const std::uint32_t result = results.front();
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
        channels = {};
        if (script->cut_short) {
            if (script->stops) script->state->stop_request = 1;
            return Take(script->configurations);
        }
        channels[0].view_ident = kFuel;
        channels[0].value      = 1.0F;
        channels[1].view_ident = kDevice;
        channels[1].text       = {L'T', L'7'};
        return Take(script->configurations);
    }
    bool ReadHeatingCheck(ChannelTable& heating_check) override {
        script->calls += 'h';
        EXPECT_TRUE(UsedRecords(heating_check).empty());
        FirstFreeRecord(heating_check)->view_ident = 0xFF2E;
        return Take(script->heating_checks) == 0;
    }
    std::uint32_t ReadValues(ChannelTable& channels) override {
        script->calls += 'v';
        script->statuses.push_back(script->state->status);
        channels[0].value_type = kText;
        if (script->values.empty()) script->state->stop_request = 1;
        return Take(script->values);
    }
    std::uint32_t Close() override {
        script->calls += 'z';
        script->busy_outside_reads |= script->state->measurement.Busy();
        return 0;
    }
};

std::unique_ptr<Instrument> FakeOpen(std::uint32_t, const std::atomic<std::uint32_t>&, const char*&) {
    const bool found = !script->opens.empty() && script->opens.front();
    if (!script->opens.empty()) script->opens.pop_front();
    script->calls += found ? 'o' : 'x';
    return found ? std::make_unique<FakeInstrument>() : nullptr;
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

    ProgramState state_;
    Script script_;
};

TEST_F(WorkerTest, OpensNothingWhenTheStopCameFirst) {
    state_.stop_request = 1;
    Run();
    EXPECT_EQ(script_.calls, "");
}

TEST_F(WorkerTest, SearchesOnceASecondUntilTheStop) {
    script_.stop_at = World().now + 2500;
    Run();
    EXPECT_EQ(script_.calls, "xxx");
    EXPECT_EQ(World().now, script_.stop_at);
    EXPECT_EQ(state_.status, kSearching);
}

TEST_F(WorkerTest, ReadsValuesOnceASecondAndHandsThemOver) {
    script_.opens             = {true};
    script_.values            = {0, 0};
    state_.fuel_choice        = 3;
    const std::uint32_t start = World().now;
    Run();
    EXPECT_EQ(script_.calls, "ofcvvvz");
    EXPECT_EQ(script_.fuel, 3);
    EXPECT_EQ(World().now - start, 2000U);
    EXPECT_EQ(script_.statuses, (std::vector<std::uint32_t>{1, 1, 2, 2}));
    EXPECT_EQ(state_.instrument_kind, kKind780);
    EXPECT_EQ(state_.sub_type, 7U);
    EXPECT_EQ(state_.oil_fuel, 1U);
    EXPECT_EQ(std::wstring(state_.measurement.DeviceName().data()), L"T7");
    Measurement measurement;
    ASSERT_TRUE(state_.measurement.Read(measurement));
    EXPECT_EQ(std::wstring(measurement.tables.channels[0].label.data()), L"Fuel");
    EXPECT_EQ(measurement.tables.channels[0].value_type, kText);
    EXPECT_FALSE(script_.busy_outside_reads);
}

TEST_F(WorkerTest, SearchesAgainAfterEveryFailureAndKeepsItsStatus) {
    struct Case {
        const char* name;
        std::deque<std::uint32_t> configurations, values;
        const char* calls;
        std::vector<std::uint32_t> statuses;
        std::uint32_t last_status;
    };
    const Case cases[] = {
        {"configuration", {2}, {}, "ofczofcvz", {1, 1, 1}, 2},
        {"values", {}, {0, 2, 0}, "ofcvvzofcvvz", {1, 1, 2, 3, 3, 2}, 2},
        {"zeroing", {}, {0, 6, 0}, "ofcvvzofcvvz", {1, 1, 2, 4, 4, 2}, 2},
        {"unknown result", {}, {1, 6}, "ofcvzofcvzofcvz", {1, 1, 3, 3, 4, 4}, 2},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        state_.stop_request    = 0;
        script_.calls          = {};
        script_.statuses       = {};
        script_.opens          = {true, true, true};
        script_.configurations = row.configurations;
        script_.values         = row.values;
        Run();
        EXPECT_EQ(script_.calls, row.calls);
        EXPECT_EQ(script_.statuses, row.statuses);
        EXPECT_EQ(state_.status, row.last_status);
    }
}

TEST_F(WorkerTest, ClosesTwiceWhenTheStopComesWhileItWaitsAfterAFailure) {
    for (const bool in_configuration : {true, false}) {
        state_.stop_request    = 0;
        script_.calls          = {};
        script_.opens          = {true};
        script_.configurations = {in_configuration ? 2U : 0U};
        script_.values         = {2};
        script_.stop_at        = World().now + 300;
        Run();
        EXPECT_EQ(script_.calls, in_configuration ? "ofczz" : "ofcvzz");
        EXPECT_EQ(World().now, script_.stop_at);
    }
}

TEST_F(WorkerTest, ReplacesTheHeatingCheckWithEachReadThatWorkedAndLabelsIt) {
    state_.heating_check   = 1;
    script_.opens          = {true, true, true};
    script_.values         = {2, 2};
    script_.heating_checks = {0, 0, 1};
    Run();
    EXPECT_EQ(script_.calls, "ofchvzofchvzofchvz");
    const Measurement measurement = state_.measurement.Copy();
    ASSERT_EQ(UsedRecords(measurement.tables.heating_check).size(), 1U);
    EXPECT_EQ(std::wstring(measurement.tables.heating_check[0].label.data()), L"PointsFluegasLo");
}

TEST_F(WorkerTest, KeepsTheLastWholeMeasurementWhenAStopCutsAReadShortAndTheRestOfAFailedOne) {
    script_.opens  = {true};
    script_.values = {0};
    Run();
    script_.cut_short = true;
    for (const bool stop : {true, false}) {
        state_.stop_request    = 0;
        script_.opens          = {true};
        script_.configurations = {2};
        script_.stops          = stop;
        script_.stop_at        = World().now + 300;
        Run();
        Measurement measurement;
        ASSERT_TRUE(state_.measurement.Read(measurement));
        EXPECT_EQ(UsedRecords(measurement.tables.channels).size(), stop ? 2U : 0U);
    }
}

TEST_F(WorkerTest, LetsTheDialogEditOnlyWhatItHasSeen) {
    Measurement seen;
    ASSERT_TRUE(state_.measurement.Read(seen));
    seen.tables.channels[0].view_ident = 5;
    Measurement update                 = state_.measurement.BeginUpdate();
    Measurement other;
    EXPECT_FALSE(state_.measurement.Read(other));
    EXPECT_FALSE(state_.measurement.Edit(seen));
    state_.measurement.EndUpdate(update);
    EXPECT_FALSE(state_.measurement.Edit(seen));
    ASSERT_TRUE(state_.measurement.Read(other));
    EXPECT_TRUE(state_.measurement.Edit(other));
}

}  // namespace
}  // namespace nelto::test
