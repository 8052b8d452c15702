// One value read of an analyser with 40 channels over a serial line of 19200 baud: how much longer it takes than the wire and
// the waits between two looks at the port, and what it costs beside a Modbus client that polls as many bytes. The trace logs are written as
// in the shipped program. Only the system's services differ: POSIX in place of Windows.
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <string>
#include <vector>

#include "analyser_thread.h"
#include "figures.h"
#include "instrument/generation2004/analyser_2004.h"
#include "modbus_line.h"
#include "paced_link.h"
#include "posix_platform.h"
#include "transport/serial_link.h"

namespace {

using namespace nelto;
using namespace nelto::bench;

constexpr std::uint32_t kBaudRate   = 19200;
constexpr std::uint32_t kPortNumber = 5;
constexpr std::size_t kChannels     = 40;
constexpr int kCycles               = 25;
constexpr double kByteTime          = 1000.0 * kBitsPerByte / kBaudRate;  // milliseconds
constexpr double kWaitTime          = 10;                                 // milliseconds, before each look at the port

/// Register reads shaped like the answers of one value read: as many of them, and as many bytes less one.
constexpr std::array kModbusReads  = {4, 5, 61, 60, 60, 60, 57, 2};
constexpr std::size_t kModbusBytes = std::accumulate(
    kModbusReads.begin(), kModbusReads.end(), std::size_t{0},
    [](std::size_t sum, int registers) { return sum + ModbusPollBytes(static_cast<std::size_t>(registers)); });

double ElapsedMs(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double ThreadCpuMicro() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

/// What one cycle of either client took.
struct Cycle {
    double elapsed_ms = 0;
    double cpu_micro  = 0;
};

struct ValueRead {
    Cycle cycle;
    std::size_t bytes     = 0;
    std::size_t exchanges = 0;
    std::size_t waits     = 0;
    double wire_ms        = 0;
    double least_ms       = 0;  // the wire, and what is left of the wait in which the last byte comes
};

void CountExchanges(ValueRead& read) {
    for (const auto& exchange : platform::posix::SerialExchanges()) {
        const std::size_t bytes = exchange.bytes_written + exchange.bytes_read;
        const double wire_ms    = static_cast<double>(bytes) * kByteTime;
        read.bytes += bytes;
        read.exchanges += 1;
        read.waits += exchange.waits;
        read.wire_ms += wire_ms;
        read.least_ms += kWaitTime * std::ceil(wire_ms / kWaitTime);
    }
}

bool ReadValues(Analyser2004& analyser, ChannelTable& channels, ValueRead& read) {
    platform::posix::SerialExchanges().clear();
    const auto start           = std::chrono::steady_clock::now();
    const double cpu_start     = ThreadCpuMicro();
    const std::uint32_t result = analyser.ReadValues(channels);
    read.cycle                 = {.elapsed_ms = ElapsedMs(start), .cpu_micro = ThreadCpuMicro() - cpu_start};
    CountExchanges(read);
    return result == kDone && channels[kChannels - 1].value_type == kNumber &&
           channels[kChannels].value_type == kNoValue;
}

bool PollModbus(modbus_t* client, Cycle& cycle) {
    std::array<std::uint16_t, MODBUS_MAX_READ_REGISTERS> registers;
    const auto start       = std::chrono::steady_clock::now();
    const double cpu_start = ThreadCpuMicro();
    for (const int count : kModbusReads) {
        if (modbus_read_registers(client, 0, count, registers.data()) != count) return false;
    }
    cycle = {.elapsed_ms = ElapsedMs(start), .cpu_micro = ThreadCpuMicro() - cpu_start};
    return registers[1] == 257;
}

template <typename Record, typename Value>
double MedianOf(const std::vector<Record>& records, Value value) {
    std::vector<double> values;
    for (const Record& record : records) values.push_back(value(record));
    return Median(values);
}

struct Results {
    std::vector<ValueRead> reads;
    std::vector<Cycle> polls;
};

/// Both clients in turn, each over a line of its own; empty when one of them failed.
Results Measure(const simulator::Scenario& scenario, std::size_t piece) {
    PacedLink analyser_link(kBaudRate, piece);
    PacedLink modbus_link(kBaudRate, piece);
    if (!analyser_link.IsOpen() || !modbus_link.IsOpen()) return {};
    const AnalyserThread analyser(scenario, analyser_link.far_path());
    const ModbusServer server(modbus_link.far_path());
    const ModbusLine client(modbus_link.near_path());
    if (!analyser.IsOpen() || !server.IsOpen() || !client.IsOpen()) return {};

    Session session(Transport::kSerial, nullptr);
    session.log.Start();
    platform::posix::ConnectPort(kPortNumber, analyser_link.near_path());
    session.link = SerialLink::Open(kPortNumber, nullptr);
    if (session.link == nullptr) return {};
    Analyser2004 opened(std::move(session));

    Results results;
    ChannelTable channels{};
    for (int round = 0; round <= kCycles; ++round) {
        ValueRead read;
        Cycle poll;
        const std::size_t carried = analyser_link.bytes_carried();
        if (!ReadValues(opened, channels, read) || !PollModbus(client.context(), poll)) return {};
        if (analyser_link.bytes_carried() - carried != read.bytes) return {};
        if (round == 0) continue;  // files made, code loaded
        results.reads.push_back(read);
        results.polls.push_back(poll);
    }
    return results;
}

void Describe(const ValueRead& read) {
    std::printf("one value read: %zu bytes in %zu exchanges, %.1f ms on the wire, %zu waits of %.0f ms\n", read.bytes,
                read.exchanges, read.wire_ms, read.waits, kWaitTime);
    std::printf("one Modbus round: %zu bytes in %zu exchanges\n", kModbusBytes, kModbusReads.size());
}

void TellTime(const Results& results) {
    const double ratio =
        MedianOf(results.reads, [](const ValueRead& read) { return read.cycle.elapsed_ms / read.least_ms; });
    const double plain =
        MedianOf(results.reads, [](const ValueRead& read) { return read.cycle.elapsed_ms / read.wire_ms; });
    TellFigure("value read, 40 channels, 19200 baud: time against wire and waits", "<=", 1.05, ratio, "times");
    TellForComparison("  the same against the wire alone", plain, "times");
}

double TellCpu(const Results& results, const char* own, const char* other) {
    const double read = MedianOf(results.reads, [](const ValueRead& one) { return one.cycle.cpu_micro; }) /
                        static_cast<double>(results.reads.front().exchanges);
    const double poll = MedianOf(results.polls, [](const Cycle& one) { return one.cpu_micro; }) /
                        static_cast<double>(kModbusReads.size());
    TellForComparison(own, read, "us");
    TellForComparison(other, poll, "us");
    return read / poll;
}

}  // namespace

int main() {
    std::string error;
    const auto scenario = LoadFortyChannels(error);
    if (!scenario) return CannotMeasure(error.c_str());
    const platform::posix::TemporaryDirectory logs;
    if (logs.path().empty()) return CannotMeasure("no temporary directory");

    const Results by_byte  = Measure(*scenario, 1);
    const Results by_eight = Measure(*scenario, 8);
    if (by_byte.reads.empty() || by_eight.reads.empty()) return CannotMeasure("an exchange failed");
    Describe(by_byte.reads.front());

    TellTime(by_byte);
    const double byte_ratio =
        TellCpu(by_byte, "  CPU an exchange, trace written, line by bytes", "  CPU an exchange, Modbus, line by bytes");
    TellFigure("CPU of an exchange against Modbus, line that reports each byte", "<", 1, byte_ratio, "times");
    const double eight_ratio = TellCpu(by_eight, "  CPU an exchange, trace written, line by eights",
                                       "  CPU an exchange, Modbus, line by eights");
    TellFigure("CPU of an exchange against Modbus, line that gathers 8 bytes", "<", 1, eight_ratio, "times");
    return 0;
}
