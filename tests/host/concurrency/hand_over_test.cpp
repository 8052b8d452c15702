// The worker, the dialog's side of the program state and the writer of the serial output, each on a thread of its own, for the
// thread sanitizer. The worker owns the in-memory world, whose clock is its own; the dialog's side touches the program state and
// the string table, which stands still, and the writer the port of the serial output, which nobody else opens: the same division
// as in the program.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string_view>
#include <thread>
#include <utility>

#include "analyser_on_link.h"
#include "core/acquisition_worker.h"
#include "core/dialog_view.h"
#include "core/manual_values.h"
#include "core/serial_output.h"
#include "core/value_text.h"
#include "instrument/opening.h"
#include "serial_peers.h"

namespace nelto::test {
namespace {

using namespace doubles;

constexpr std::size_t kChannels          = 30;
constexpr std::uint32_t kFirstIdent      = 0x0A01;  // from here on the program has no labels of its own
constexpr std::uint32_t kRounds          = 8;       // starts and stops
constexpr std::uint32_t kReadsOfARound   = 300;     // value reads
constexpr std::uint32_t kReadsOfAConnect = 25;      // then the analyser falls silent for a moment

/// Thirty channels that all show this number; an oil derivative, so that the dialog has something to edit.
simulator::AnalyserData Showing(std::uint32_t number) {
    simulator::AnalyserData data{.device_type = 2, .slave_mode = 1};
    for (std::uint32_t index = 0; index < kChannels; ++index) {
        data.channels.push_back(
            {.ident = kFirstIdent + index, .unit = 130, .value = {.steps = {static_cast<float>(number)}}});
        data.visible.push_back({.ident = kFirstIdent + index, .key = 5});
    }
    data.texts      = {{5, u"O"}, {0x40, u"Oil"}};
    data.fuels      = {{.number = 0, .key = 0x40}};
    data.additional = {{.ident = 0xFF06, .value = {.steps = {1.0F}}}};
    return data;
}

/// Shows the number of the value read; after so many reads it leaves one request unanswered. Used by the worker's thread but for
/// the two counts.
class CountingAnalyser final : public simulator::Responder {
public:
    std::optional<simulator::Message> Answer(simulator::Bytes request, std::uint64_t now_ms) override {
        const std::uint8_t command = request.front();
        if (command == 0xAA && ++since_silence_ % kReadsOfAConnect == 0) return ++silences, std::nullopt;
        if (command == 0x9C || command == 0xC2) ++reads;
        return simulator::Analyser2004(Showing(reads)).Answer(request, now_ms);
    }

    std::atomic<std::uint32_t> reads{0};
    std::atomic<std::uint32_t> silences{0};

private:
    std::uint32_t since_silence_ = 0;
};

/// What the dialog does with the state, on the thread of the test.
class Dialog {
public:
    explicit Dialog(ProgramState& state) : state_(state) {}

    void Refresh() {
        const std::uint32_t status = state_.status;
        const StatusView view      = ViewStatus(status, std::exchange(shown_status_, status), false);
        EXPECT_EQ(LargePicture(status, state_.instrument_kind), status == kSearching ? 201U : 200U);
        EXPECT_EQ(ConnectionText(state_.communication), L"Bluetooth COM5");
        if (!view.lists_values) return;
        const bool busy         = state_.measurement.Busy();
        Measurement measurement = state_.measurement.Copy();
        ++copies;
        CheckWhole(measurement);
        if (busy) return;
        EXPECT_EQ(ListRows(measurement, L',').size(),
                  UsedRecords(measurement.channels).size() + UsedRecords(measurement.heating_check).size());
        Send(measurement);
        // As when the typed fields are filled: takes its effect only on what was seen.
        SetOilDerivativeText(measurement.channels, L"NO");
        if (state_.measurement.Edit(measurement)) ++edits;
    }

    /// What OK does.
    void Accept() {
        Measurement measurement = state_.measurement.Copy();
        CheckWhole(measurement);
        StoreManualValues({.smoke_numbers = {L"1", L"2", L"3"}, .heat_carrier_temperature = L"60"},
                          measurement.channels);
        if (writer_.joinable()) writer_.join();
    }

    std::uint32_t copies = 0;
    std::uint32_t edits  = 0;
    std::uint32_t sent   = 0;
    float last_read      = 0;

private:
    /// The block goes to a thread of its own, and none while one is under way.
    void Send(const Measurement& measurement) {
        if (!output_.Begin(state_, measurement)) return;
        if (writer_.joinable()) writer_.join();
        writer_ = std::thread([this] { output_.Write(); });
        ++sent;
    }

    /// All values are of one read, and of no earlier one than those that were seen before.
    void CheckWhole(const Measurement& measurement) {
        const auto records = UsedRecords(measurement.channels);
        EXPECT_EQ(records.empty(), measurement.device_name[0] == L'\0');
        if (records.empty()) return;
        EXPECT_EQ(std::wstring(measurement.device_name.data()), L"nelto 780-2");
        ASSERT_GT(records.size(), kChannels);
        for (const ChannelRecord& record : records.first(kChannels)) {
            ASSERT_EQ(record.value, records.front().value);
            ASSERT_EQ(record.value_type, kNumber);
            ASSERT_EQ(std::wstring(record.label.data()), L"O");
        }
        EXPECT_GE(records.front().value, last_read);
        last_read = records.front().value;
    }

    ProgramState& state_;
    std::uint32_t shown_status_ = kNeverShown;
    SerialOutput output_;
    std::thread writer_;
};

TEST(HandOver, GivesTheDialogWholeMeasurementsAndTakesItsEdits) {
    platform::memory::ResetWorld();
    World().keeps_texts = false;
    World().texts       = {{608, L"Bluetooth"}};
    const auto analyser = std::make_shared<CountingAnalyser>();
    const AnalyserOnLink link(Transport::kSerial, analyser);
    ScriptedPeer receiver;  // of the serial output
    World().serial_ports[L"COM7"].device = &receiver;

    ProgramState state;
    state.communication      = link.Communication();
    state.heating_check      = 1;
    state.serial_output      = 1;
    state.serial_output_port = 7;
    // No time passes in the pauses of the worker: it rests a little, so that the dialog finds it between two reads. What it has
    // handed over is still there then, whatever the dialog has edited.
    World().on_wait = [&state, &analyser = *analyser, waits = 0]() mutable {
        if (state.measurement.Busy() || ++waits % 4 != 0) return;
        std::this_thread::sleep_for(std::chrono::microseconds(20));
        if (state.status != kValuesAvailable) return;
        EXPECT_EQ(state.measurement.Copy().channels[0].value, static_cast<float>(analyser.reads));
    };
    Dialog dialog(state);
    for (std::uint32_t round = 1; round <= kRounds && !testing::Test::HasFailure(); ++round) {
        state.stop_request = 0;
        state.status       = kSearching;
        std::thread worker([&state] { AcquisitionWorker(state, Nelto780Open); });
        while (analyser->reads < round * kReadsOfARound && !testing::Test::HasFailure()) {
            dialog.Refresh();
            // The user in the settings dialog.
            state.heating_check = 1 - state.heating_check;
            std::this_thread::yield();
        }
        state.stop_request = 1;
        worker.join();
        dialog.Accept();
    }
    EXPECT_GE(analyser->silences, kRounds * kReadsOfARound / kReadsOfAConnect - kRounds);
    EXPECT_GT(dialog.copies, kRounds * 10);
    EXPECT_GT(dialog.edits, kRounds);
    const std::string_view begin = "NELTO\n\r";
    EXPECT_GT(std::ranges::count(receiver.written, Bytes(begin.begin(), begin.end())), kRounds);
    std::printf("%u value reads, %u reconnects, %u copies taken, %u edits\n", analyser->reads.load(),
                analyser->silences.load(), dialog.copies, dialog.edits);
    platform::memory::ResetWorld();
}

}  // namespace
}  // namespace nelto::test
