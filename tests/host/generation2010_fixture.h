// What the tests of generation 2010 share: a connection to the analyser of the fake libraries.
#pragma once

#include <memory>
#include <string>

#include "fake_maker_libraries.h"
#include "instrument/dispatch.h"
#include "instrument/instrument_connection.h"
#include "support.h"

namespace nelto::test {

inline const std::wstring kLog = L"Nelto780Base.txt";

inline bool Logged(const std::string& line) { return LogHas(kLog, ' ' + line); }

/// An analyser that is open already, so that a test begins with what it is about.
class Generation2010Test : public HostTest {
protected:
    Generation2010Test() {
        platform::memory::ResetLibraries();
        InstallFakeMaker();
    }

    void Connect(std::uint32_t kind = kKind745) {
        connection_                = {};
        connection_.kind           = kind;
        connection_.library_handle = FakeMaker::kUsbHandle;
        connection_.log.Start();
        connection_.generation2010 = std::make_unique<CNelto780Base2010>(connection_);
    }
    std::uint32_t Configure() { return GetOnlineConfiguration(connection_, channels_); }
    std::uint32_t ReadValues() { return GetOnlineValues(connection_, channels_); }
    [[nodiscard]] std::size_t Used() const { return UsedRecords(channels_).size(); }

    /// That many current values, all different.
    static void FillValues(std::uint32_t count) {
        Maker().values.clear();
        for (std::uint32_t index = 1; index <= count; ++index) Maker().values.push_back(Record(0x5000 + index, 1.0F));
    }

    InstrumentConnection connection_;
    ChannelTable channels_{};
};

}  // namespace nelto::test
