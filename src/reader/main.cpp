// nelto-read: prints the values of a flue-gas analyser on the console.
#include <atomic>
#include <span>

#include "core/settings.h"
#include "core/worker_thread.h"
#include "diag/trace_log.h"
#include "instrument/opening.h"
#include "platform/byte_text.h"
#include "platform/clock.h"
#include "platform/console.h"
#include "platform/registry.h"
#include "platform/text_service.h"
#include "reader/options.h"
#include "reader/reading.h"

namespace nelto::reader {
namespace {

constexpr std::uint32_t kLookPeriod = 50;  // milliseconds

std::atomic<std::uint32_t> interrupt{0};

int FaultyOptions(const std::wstring& fault) {
    platform::WriteToErrors("nelto-read: " + platform::ToUtf8(fault) + "\n");
    return kWrongOptions;
}

int Show(const std::string& text) {
    return platform::WriteToOutput(text) == platform::OutputResult::kWritten ? kPrinted : kNothingPrinted;
}

/// False when the folder cannot be written to.
bool ChooseLogs(const Options& options) {
    if (options.logs.empty()) {
        KeepNoLogs();
        return true;
    }
    KeepLogsIn(options.logs);
    return StartProtocolFile();
}

void Prepare(const Options& options, ProgramState& state) {
    const std::uint32_t stored = platform::RegReadDword(kCommunicationSetting, kUsb);
    state.communication        = options.communication.value_or(stored);
    state.heating_check        = options.heating_check ? 1 : 0;
    state.fuel_choice          = options.fuel;
    state.decimal_separator    = platform::DecimalSeparator();
}

Moment Now() { return {platform::LocalTime(), platform::MinutesAheadOfUniversalTime()}; }

/// Ends the reading when nobody takes the output any more.
void Tell(const News& news, Reading& reading) {
    if (!news.progress.empty()) platform::WriteToErrors(news.progress);
    using enum platform::OutputResult;
    const platform::OutputResult result = news.output.empty() ? kWritten : platform::WriteToOutput(news.output);
    if (result != kWritten || platform::IsReaderGone()) reading.End();
    if (result != kFailed || interrupt != 0) return;
    reading.EndUnwritten();
    platform::WriteToErrors("nelto-read: standard output cannot be written\n");
}

/// With the end of the worker the analyser has been left.
int Read(const Options& options) {
    ProgramState state;
    Prepare(options, state);
    platform::CatchInterrupts(interrupt);
    WorkerThread worker(state, Nelto780Open);
    worker.Start();
    Reading reading(options, state);
    while (!reading.IsOver() && interrupt == 0) {
        Tell(reading.Look(Now()), reading);
        platform::SleepMilliseconds(kLookPeriod);
    }
    worker.Stop();
    return reading.Result();
}

int Run(std::span<const wchar_t* const> words) {
    Options options;
    std::wstring fault;
    if (!ReadOptions(words, options, fault)) return FaultyOptions(fault);
    if (options.task == Task::kShowHelp) return Show(HelpText());
    if (options.task == Task::kShowVersion) return Show(VersionText());
    if (!ChooseLogs(options)) return FaultyOptions(L"--logs: '" + options.logs + L"' is no folder to write to");
    return Read(options);
}

}  // namespace
}  // namespace nelto::reader

int wmain(int count, wchar_t** words) {
    return nelto::reader::Run({words + (count > 0 ? 1 : 0), static_cast<std::size_t>(count > 0 ? count - 1 : 0)});
}
