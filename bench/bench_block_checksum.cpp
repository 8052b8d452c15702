// The block checksum beside the bit-by-bit procedure that defines it.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "figures.h"
#include "transport/block_frame.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kFrameSize    = 128;
constexpr std::size_t kInputs       = 200'000;
constexpr std::size_t kLongestInput = 600;

/// A 16-bit register fed with the data bits from the least significant on, its bits reversed in the end.
std::uint16_t BitByBit(Bytes bytes) {
    std::uint16_t shift = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        for (int bit = 0; bit < 8; ++bit) {
            const bool feedback = ((shift >> 15) ^ ((byte >> bit) & 1)) != 0;
            shift               = static_cast<std::uint16_t>((shift << 1) ^ (feedback ? 0x1021 : 0));
        }
    }
    std::uint16_t reversed = 0;
    for (int bit = 0; bit < 16; ++bit) reversed = static_cast<std::uint16_t>((reversed << 1) | ((shift >> bit) & 1));
    return reversed;
}

template <std::uint16_t (*Checksum)(Bytes)>
void OneFrame(benchmark::State& state) {
    std::array<std::uint8_t, kFrameSize> frame;
    for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<std::uint8_t>(37 * i);
    for (auto _ : state) {
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(Checksum(frame));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kFrameSize));
}

BENCHMARK(OneFrame<nelto::BlockChecksum>)->Name("BlockChecksum");
BENCHMARK(OneFrame<BitByBit>)->Name("bit by bit");

/// Shows the runs and keeps the medians.
class MedianKeeper : public benchmark::ConsoleReporter {
public:
    MedianKeeper() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                medians[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    std::map<std::string, double> medians;
};

bool ResultsAreEqual() {
    std::mt19937 random(20040780);
    std::vector<std::uint8_t> input;
    for (std::size_t round = 0; round < kInputs; ++round) {
        input.resize(random() % (kLongestInput + 1));
        for (std::uint8_t& byte : input) byte = static_cast<std::uint8_t>(random());
        if (nelto::BlockChecksum(input) != BitByBit(input)) return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (!ResultsAreEqual()) return nelto::bench::CannotMeasure("the checksums differ");
    std::printf("%zu random inputs of 0 to %zu bytes: both results are the same\n", kInputs, kLongestInput);

    std::vector<std::string> words = {argv[0], "--benchmark_repetitions=15",
                                      "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.05",
                                      "--benchmark_report_aggregates_only=true"};
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    MedianKeeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);

    const double own = keeper.medians["BlockChecksum"];
    if (keeper.medians.size() != 2 || own <= 0) return nelto::bench::CannotMeasure("no medians of both");
    nelto::bench::TellFigure("BlockChecksum against bit by bit, 128 bytes", ">=", 4, keeper.medians["bit by bit"] / own,
                             "times as fast");
    nelto::bench::TellFigure("BlockChecksum, 128 bytes", ">=", 1, kFrameSize / own, "GB/s");
    return 0;
}
