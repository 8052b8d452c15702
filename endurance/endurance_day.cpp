// Long runs in virtual time: the worker, the connection, the tables and what the dialog does with them, over each link, while a
// thousand things go wrong in a day. What the program holds at the end is what it held at the beginning. The tests take an
// hour each; ENDURANCE_CYCLES=86400 makes it a day, ENDURANCE_SEED another one.
#include <malloc.h>
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/allocator_interface.h>
#define HEAP_IN_USE __sanitizer_get_current_allocated_bytes()
#endif
#endif
#ifndef HEAP_IN_USE
#define HEAP_IN_USE mallinfo2().uordblks
#endif

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "core/acquisition_worker.h"
#include "core/dialog_view.h"
#include "core/serial_output.h"
#include "core/value_text.h"
#include "endurance_rigs.h"
#include "instrument/opening.h"
#include "watched_instrument.h"

namespace nelto::endurance {
namespace {

constexpr std::uint32_t kCyclesOfADay     = 86400;
constexpr std::uint32_t kFaultsOfADay     = 1000;
constexpr std::uint32_t kCyclesOfAnHour   = 3600;
constexpr std::uint64_t kLongestTrouble   = 30'000;   // milliseconds
constexpr std::uint64_t kLongestAbsence   = 300'000;  // without values, milliseconds: far beyond any fault
constexpr std::size_t kAllowedDrift       = 4096;     // bytes: buffers of the doubles at their largest
constexpr std::uint64_t kMostRandomAmount = 60;

std::uint64_t FromEnvironment(const char* name, std::uint64_t usual) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : usual;
}

/// One run of the worker over one link.
class Run {
public:
    Run(Rig& rig, std::uint64_t seed, std::uint32_t cycles, std::uint32_t faults)
        : rig_(rig), random_(seed), cycles_(cycles), faults_(faults) {
        for (const Trouble& trouble : rig_.troubles) counts_[trouble.name] = 0;
        state_.communication                         = rig_.communication;
        state_.heating_check                         = 1;
        state_.serial_output                         = 1;
        state_.serial_output_port                    = 12;
        World().serial_ports[L"\\\\.\\COM12"].device = &receiver_;
        World().on_wait                              = [this, before = World().on_wait] {
            if (before) before();
            Tick();
        };
        the_run = this;
    }
    ~Run() {
        World().on_wait = nullptr;
        the_run         = nullptr;
    }

    void Go() {
        EXPECT_EQ(AcquisitionWorker(state_, Open), 0U);
        EXPECT_EQ(rig_.Held(), 0U);
        EXPECT_EQ(state_.status, kValuesAvailable);
        if (is_troubled_) rig_.Repair();
    }

    [[nodiscard]] std::uint32_t Faults() const {
        std::uint32_t sum = 0;
        for (const auto& [name, count] : AllCounts()) sum += count;
        return sum;
    }
    [[nodiscard]] std::map<std::string, std::uint32_t> AllCounts() const {
        auto all = counts_;
        all.insert(rig_.struck.begin(), rig_.struck.end());
        return all;
    }

    std::uint32_t cycles_done = 0;
    std::uint32_t good_reads  = 0;
    std::uint32_t connections = 0;
    std::size_t sent_bytes    = 0;
    std::size_t heap_early    = SIZE_MAX;  // least in the second tenth of the run
    std::size_t heap_late     = SIZE_MAX;  // least in the last tenth

private:
    /// Takes the serial output.
    class Receiver final : public platform::memory::SerialDevice {
    public:
        explicit Receiver(std::size_t& sent) : sent_(sent) {}
        std::size_t Write(std::span<const std::uint8_t> bytes) override {
            sent_ += bytes.size();
            return bytes.size();
        }
        std::size_t Read(std::span<std::uint8_t>) override { return 0; }

    private:
        std::size_t& sent_;
    };

    static std::unique_ptr<Instrument> Open(std::uint32_t communication, const std::atomic<std::uint32_t>& stop_request,
                                            OpenFailure& failure) {
        EXPECT_EQ(the_run->rig_.Held(), 0U) << "left over by an earlier connection";
        the_run->rig_.Tick();
        std::unique_ptr<Instrument> opened = Nelto780Open(communication, stop_request, failure);
        if (opened == nullptr) return nullptr;
        ++the_run->connections;
        return std::make_unique<WatchedInstrument>(
            std::move(opened), [run = the_run](char step, std::uint32_t result, const ChannelTable& channels) {
                if (step == 'v') run->AfterRead(channels, result);
            });
    }

    void PerhapsBeginFault() {
        if (is_troubled_ || cycles_done >= cycles_) return;
        const std::uint32_t done      = Faults();
        const std::uint32_t remaining = faults_ > done ? faults_ - done : 0;
        if (random_() % (cycles_ - cycles_done) < remaining) BeginFault();
    }

    void BeginFault() {
        const std::size_t kinds = rig_.troubles.size() + (rig_.analyser != nullptr ? kStrikes : 0);
        const std::size_t kind  = random_() % kinds;
        if (kind < rig_.troubles.size()) {
            is_troubled_ = true;
            ++counts_[rig_.troubles[kind].name];
            trouble_end_ = RunningMilliseconds() + random_() % kLongestTrouble;
            return rig_.troubles[kind].begin();
        }
        // Every other time a second one strikes while the program finds its way back.
        std::vector<simulator::Fault> faults = {RandomFault(1 + static_cast<std::uint32_t>(random_() % 3))};
        if (random_() % 2 == 0) faults.push_back(RandomFault(4 + static_cast<std::uint32_t>(random_() % 60)));
        for (const simulator::Fault& fault : faults) rig_.struck.try_emplace(std::string(FaultName(fault.kind)), 0);
        rig_.analyser->SetFaults(faults);
    }

    simulator::Fault RandomFault(std::uint32_t request) {
        simulator::Fault fault;
        fault.kind    = static_cast<simulator::FaultKind>(random_() % kStrikes);
        fault.request = request;
        fault.block   = static_cast<std::uint32_t>(random_() % 3);
        fault.amount  = static_cast<std::uint32_t>(random_() % kMostRandomAmount);
        if (fault.kind == simulator::FaultKind::kDelay) *fault.amount *= 100;
        return fault;
    }

    void AfterRead(const ChannelTable& channels, std::uint32_t result) {
        ++cycles_done;
        PerhapsBeginFault();
        if (testing::Test::HasFailure()) state_.stop_request = 1;
        if (result != 0) return;
        if (cycles_done >= cycles_) state_.stop_request = 1;
        ++good_reads;
        last_good_ = RunningMilliseconds();
        CheckValues(channels);
        if (cycles_done >= cycles_ / 10 && cycles_done < cycles_ / 5) heap_early = std::min(heap_early, HEAP_IN_USE);
        if (cycles_done >= cycles_ - cycles_ / 10) heap_late = std::min(heap_late, HEAP_IN_USE);
    }

    void CheckValues(const ChannelTable& channels) const {
        for (const ChannelRecord& record : UsedRecords(channels)) {
            const float value = rig_.ValueOf(record.view_ident);
            if (record.view_ident >= kHeatCarrierTemperature || record.value_type != kNumber || std::isnan(value))
                continue;
            ASSERT_EQ(record.value, value) << record.view_ident;
        }
    }

    void Tick() {
        rig_.Tick();
        const std::uint64_t now = RunningMilliseconds();
        if (is_troubled_ && now >= trouble_end_) {
            rig_.Repair();
            is_troubled_ = false;
            last_good_   = now;
        }
        if (now - last_good_ > kLongestAbsence && state_.stop_request == 0) {
            ADD_FAILURE() << "no values after cycle " << cycles_done;
            state_.stop_request = 1;
        }
        if (now >= next_refresh_) Refresh(now);
    }

    /// What the dialog does once a second, short of the windows.
    void Refresh(std::uint64_t now) {
        next_refresh_         = now + 1000;
        const StatusView view = ViewStatus(state_.status, kNeverShown, false);
        if (!view.lists_values || state_.measurement.Busy()) return;
        Measurement measurement = state_.measurement.Copy();
        EXPECT_EQ(ListRows(measurement, L',').size(),
                  UsedRecords(measurement.channels).size() + UsedRecords(measurement.heating_check).size());
        SetOilDerivativeText(measurement.channels, L"NO");
        EXPECT_TRUE(state_.measurement.Edit(measurement));
        if (output_.Begin(state_, measurement)) output_.Write();
    }

    static constexpr std::size_t kStrikes = 13;  // kinds of simulator::FaultKind but the last
    inline static Run* the_run            = nullptr;

    Rig& rig_;
    std::mt19937_64 random_;
    std::uint32_t cycles_;
    std::uint32_t faults_;
    ProgramState state_;
    SerialOutput output_;
    Receiver receiver_{sent_bytes};
    std::map<std::string, std::uint32_t> counts_;
    bool is_troubled_           = false;
    std::uint64_t trouble_end_  = 0;
    std::uint64_t last_good_    = 0;
    std::uint64_t next_refresh_ = 0;
};

void Tell(const Run& run, double seconds) {
    std::printf("  %u value cycles (%u with values) in %.1f virtual hours, %.1f s; %u faults, %u connections\n",
                run.cycles_done, run.good_reads, static_cast<double>(RunningMilliseconds()) / 3.6e6, seconds,
                run.Faults(), run.connections);
    std::printf("  heap while connected: %zu bytes early, %zu late\n", run.heap_early, run.heap_late);
    for (const auto& [path, bytes] : World().bytes_written) {
        std::printf("  %ls: %.1f MB\n", path.c_str(), static_cast<double>(bytes) / 1e6);
    }
    std::printf("  serial output: %.1f MB\n  faults:", static_cast<double>(run.sent_bytes) / 1e6);
    for (const auto& [name, count] : run.AllCounts()) std::printf(" %s %u,", name.c_str(), count);
    std::printf("\n");
}

/// Heap in use once everything of the run is gone again. A warm-up lets what is made once be made.
std::size_t RunOnce(const Link& link, std::uint64_t seed, std::uint32_t cycles, std::uint32_t faults, bool is_warm_up) {
    {
        BeginLongWorld();
        const std::unique_ptr<Rig> rig = link.make_rig();
        const auto start               = std::chrono::steady_clock::now();
        auto run                       = std::make_unique<Run>(*rig, seed, cycles, faults);
        run->Go();
        if (!is_warm_up) {
            EXPECT_GE(run->cycles_done, cycles);
            EXPECT_GE(run->Faults() + 2, faults);
            EXPECT_GE(run->connections, faults / 4);
            EXPECT_LE(run->heap_late, run->heap_early + kAllowedDrift);
            for (const auto& [name, count] : run->AllCounts()) {
                if (cycles >= kCyclesOfADay) EXPECT_GT(count, 0U) << name;
            }
            Tell(*run, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    }
    platform::memory::ResetWorld();
    return HEAP_IN_USE;
}

class Endurance : public testing::TestWithParam<Link> {};

TEST_P(Endurance, HoldsNothingMoreAtTheEndThanAtTheBeginning) {
    const std::uint64_t seed = FromEnvironment("ENDURANCE_SEED", 20110307);
    const auto cycles        = static_cast<std::uint32_t>(FromEnvironment("ENDURANCE_CYCLES", kCyclesOfAnHour));
    const auto faults        = static_cast<std::uint32_t>(std::uint64_t{cycles} * kFaultsOfADay / kCyclesOfADay);
    std::printf("%s: seed %llu\n", GetParam().name, static_cast<unsigned long long>(seed));
    const std::size_t before = RunOnce(GetParam(), seed + 1, 400, 100, true);
    const std::size_t after  = RunOnce(GetParam(), seed, cycles, faults, false);
    std::printf("  heap before and after: %zu, %zu\n", before, after);
    EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(Links, Endurance, testing::ValuesIn(kLinks),
                         [](const testing::TestParamInfo<Link>& link) { return link.param.name; });

}  // namespace
}  // namespace nelto::endurance
