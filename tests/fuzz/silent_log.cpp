// Trace logs that go nowhere, for the fuzzers whose log lines hold numbers and hex only: writing them would be most of a run.
#include "diag/trace_log.h"

namespace nelto {

std::uint32_t WriteTraceLine(const wchar_t*, const wchar_t*) { return 0; }
bool StartProtocolFile() { return true; }
void ZivLog(const wchar_t*) {}
void ZivLogBytes(const wchar_t*, std::span<const std::uint8_t>) {}
void BaseLog::Start() { path_ = {}; }
void BaseLog::Write(const wchar_t*) const {}

}  // namespace nelto
