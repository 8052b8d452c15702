// What the tests of generation 2010 share: a connection to the analyser of the fake libraries.
#pragma once

#include <memory>
#include <string>

#include "fake_maker_libraries.h"
#include "instrument/generation2010/analyser_2010.h"
#include "support.h"

namespace nelto::test {

using Lines = std::vector<std::string>;

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
        Session session(Transport::kUsb, nullptr);
        session.library_handle = 0x1122334400000000 | simulator::kUsbDevice;
        session.log.Start();
        analyser_ = std::make_unique<Analyser2010>(std::move(session), kind);
    }
    std::uint32_t Configure() { return analyser_->ReadConfiguration(channels_); }
    std::uint32_t ReadValues() { return analyser_->ReadValues(channels_); }
    [[nodiscard]] std::size_t Used() const { return UsedRecords(channels_).size(); }

    /// That many current values, all different.
    static void FillValues(std::uint32_t count) {
        Maker().Data().values.clear();
        for (std::uint32_t index = 1; index <= count; ++index)
            Maker().Data().values.push_back(Record(0x5000 + index, 1.0F));
    }

    std::unique_ptr<Analyser2010> analyser_;
    ChannelTable channels_{};
};

}  // namespace nelto::test
