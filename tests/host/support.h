// What the host tests share: a fresh world for each test, and a look at the logs in it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/program_state.h"
#include "instrument/opening.h"
#include "platform/memory/memory_calls.h"
#include "serial_peers.h"

namespace nelto::test {

using namespace doubles;
using platform::memory::AlwaysFail;
using platform::memory::Call;

class HostTest : public testing::Test {
protected:
    HostTest() { platform::memory::ResetWorld(); }
};

/// Opens as the worker does: by the state's settings, the reason of a failure into `last_error`.
std::unique_ptr<Instrument> Nelto780Open(ProgramState& state);

/// Lines of a log in the temporary directory, without its line ends.
std::vector<std::string> LogLines(const std::wstring& file_name);
/// The same lines without the `prefix` that each one must have, every one ended by "|".
std::string LogText(const std::wstring& file_name, const std::string& prefix = {});
/// True when one of the lines ends with `text`.
bool LogHas(const std::wstring& file_name, const std::string& text);

/// The records in use, low bytes of their view idents in hex and whole values: "2E:1 2F:1".
std::string ResultsOf(const ChannelTable& table);

}  // namespace nelto::test
