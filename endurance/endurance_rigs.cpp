#include "endurance_rigs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "analyser_on_link.h"
#include "core/program_state.h"
#include "d2xx_exports.h"
#include "fake_maker_libraries.h"
#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_irda_socket.h"
#include "scenario.h"

namespace nelto::endurance {
namespace {

using platform::memory::AlwaysFail;
using platform::memory::Call;
using platform::memory::TheIrdaWorld;
using simulator::CallFaultKind;

/// The usual 780 with values that stand still, so that each is known; it zeroes its sensors once in the first hour and four times in
/// the day.
std::shared_ptr<simulator::ScriptedAnalyser> AnalyserOfTheRuns() {
    std::string error;
    auto scenario = simulator::ParseScenario(
        "zeroing 1800 1830\nzeroing 20000 20030\nzeroing 40000 40030\nzeroing 60000 60030\ninclude default", error);
    EXPECT_TRUE(scenario) << error;
    float value = 4.2F;
    for (simulator::Channel& channel : scenario->analyser.channels) channel.value = {.steps = {value *= 1.25F}};
    return std::make_shared<simulator::ScriptedAnalyser>(std::move(scenario)->analyser);
}

/// Counts the faults among what a session tells.
simulator::EventSink CountFaults(std::map<std::string, std::uint32_t>& struck) {
    return [&struck](const std::string& line) {
        if (!line.starts_with("fault ")) return;
        const std::string name = line.substr(6, line.find(' ', 6) - 6);
        if (const auto row = struck.find(name); row != struck.end()) ++row->second;
    };
}

/// What fails, and what fails with it, so that the program comes upon it.
struct FailingCall {
    Transport transport;
    const char* name;
    Call call, noticed_by;
};

// clang-format off
constexpr FailingCall kFailingCalls[] = {
    {Transport::kSerial, "port in use",     Call::kOpenSerial,   Call::kWriteSerial},
    {Transport::kSerial, "port dead",       Call::kWriteSerial,  Call::kReadSerial},
    {Transport::kSerial, "port mute",       Call::kReadSerial,   Call::kReadSerial},
    {Transport::kUsb,    "no events",       Call::kCreateEvent,  Call::kCreateEvent},
    {Transport::kUsb,    "no library",      Call::kLoadLibrary,  Call::kCreateEvent},
    {Transport::kIrda,   "no Winsock",      Call::kStartSockets, Call::kSend},
    {Transport::kIrda,   "no infrared",     Call::kOpenSocket,   Call::kSend},
    {Transport::kIrda,   "not blocking",    Call::kSetBlocking,  Call::kSend},
    {Transport::kIrda,   "no listing",      Call::kListDevices,  Call::kSend},
    {Transport::kIrda,   "refused",         Call::kConnect,      Call::kSend},
    {Transport::kIrda,   "sending fails",   Call::kSend,         Call::kSend},
    {Transport::kIrda,   "receiving fails", Call::kReceive,      Call::kReceive},
};
// clang-format on

/// The analyser of the runs on a link.
template <Transport kTransport>
class LinkRig final : public Rig {
public:
    LinkRig() {
        communication = link_.Communication();
        for (const FailingCall& row : kFailingCalls) {
            if (row.transport == kTransport)
                Add(row.name, [&row] { AlwaysFail(row.call), AlwaysFail(row.noticed_by); });
        }
        switch (kTransport) {
            case Transport::kSerial: Add("short writes", [this] { link_.wire.most_written = 4; }); break;
            case Transport::kUsb: AddDriverTroubles(*link_.driver); break;
            case Transport::kIrda: Add("half sent", [] { TheIrdaWorld().sends_half = true; }); return;
        }
        Add("noise", [this] { is_noisy_ = true; });
    }
    void Tick() override {
        if (is_noisy_) link_.wire.AddNoise(simulator::Message(4, nelto::kAnalyserStart));  // each could begin a block
        TheIrdaWorld().requests.clear();
        if (TheIrdaWorld().open_sockets == 0) flips_before_ = Flips();
    }
    void Repair() override {
        platform::memory::TheCalls().always = 0;
        TheIrdaWorld().sends_half = is_noisy_ = false;
        link_.wire.most_written               = SIZE_MAX;
        if (link_.driver == nullptr) return;
        link_.driver->Repair();
        InstallD2xx();
        link_.driver->driver.SetUnplugged({}, RunningMilliseconds());
        link_.driver->driver.Setup().piece = 0;
    }
    std::size_t Held() const override { return link_.Held(); }
    /// There is no checksum over infrared: until the next connection a flipped bit may well be a value.
    float ValueOf(std::uint32_t view_ident) const override {
        const bool may_be_false = kTransport == Transport::kIrda && Flips() != flips_before_;
        return may_be_false ? std::numeric_limits<float>::quiet_NaN() : Rig::ValueOf(view_ident);
    }

private:
    void Add(const char* name, const std::function<void()>& begin) { troubles.push_back({name, begin}); }
    void AddDriverTroubles(FakeD2xx& fake) {
        for (const char* function : {"FT_ListDevices", "FT_OpenEx", "FT_GetDeviceInfo", "FT_SetBaudRate", "FT_Close",
                                     "FT_SetEventNotification", "FT_GetQueueStatus", "FT_Read"}) {
            Add(function, [&fake, function] { fake.Fail("FT_Write"), fake.Fail(function); });
        }
        Add("function missing", [&fake] { fake.Fail("FT_Write"), InstallD2xx("FT_Read"); });
        Add("unplugged", [&fake] { fake.driver.SetUnplugged({""}, RunningMilliseconds()); });
        Add("short writes", [&fake] { fake.Spoil(CallFaultKind::kShortWrite); });
        Add("short reads", [&fake] { fake.Spoil(CallFaultKind::kShortRead); });
        Add("hidden queue", [&fake] { fake.Spoil(CallFaultKind::kEmptyQueue); });
        Add("single bytes", [&fake] { fake.driver.Setup().piece = 1; });
    }
    [[nodiscard]] std::uint32_t Flips() const {
        const auto row = struck.find("flip_bit");
        return row == struck.end() ? 0 : row->second;
    }

    AnalyserOnLink link_{kTransport, analyser = AnalyserOfTheRuns(), 120, CountFaults(struck)};
    bool is_noisy_              = false;
    std::uint32_t flips_before_ = 0;  // when the connection was opened
};

/// A 745 on USB, behind the maker's libraries. Counting the values fails with all but some troubles, so that the program comes
/// upon them.
class Generation2010 final : public Rig {
public:
    Generation2010() {
        Repair();
        const std::string count = "GetNumberOfCurrentViewValues";
        for (const auto& [name, function] : InstrumentFunctions()) {
            const std::string called = name.substr(name.find('_') + 1);
            troubles.push_back({called, [=] { Fail(count), Fail(called); }});
        }
        const auto attached = [=](std::uint32_t devices) {
            return [=] { Fail(count), Maker().Data().devices[37] = devices; };
        };
        troubles.insert(troubles.end(), {{"values fail", [] { Fail("GetCurrentViewValues"); }},
                                         {"unplugged", attached(0)},
                                         {"two analysers", attached(2)},
                                         {"count beyond reason", [] { LieAboutCounts(0xFFFFFFFF); }},
                                         {"count too high", [] { LieAboutCounts(60); }},
                                         {"no text mapper", [=] {
                                              Fail(count);
                                              std::ranges::for_each(kMappers, platform::memory::RemoveLibrary);
                                          }}});
    }
    ~Generation2010() override {
        platform::memory::ResetLibraries();
        Maker() = {};
    }

    void Repair() override {
        InstallFakeMaker();
        Maker().Data().devices[37] = 1;
        for (std::uint32_t index = 1; index <= kChannels; ++index)
            Maker().Data().values.push_back(Record(index, ValueOf(index)));
    }
    void Tick() override { Maker().calls.clear(); }
    /// The text mappers; the instrument libraries stay, each one once.
    std::size_t Held() const override {
        std::size_t held = 0;
        for (const wchar_t* name : kMappers) held += platform::memory::TimesLoaded(name);
        for (const wchar_t* name : {L"nelto7XXE.dll", L"neltoEmUSB.dll"}) {
            held += platform::memory::TimesLoaded(name) > 1 ? 1 : 0;
        }
        return held;
    }
    float ValueOf(std::uint32_t view_ident) const override {
        const bool is_ours = view_ident != 0 && view_ident <= kChannels;
        return is_ours ? static_cast<float>(view_ident) * 1.5F : std::numeric_limits<float>::quiet_NaN();
    }

private:
    static constexpr std::uint32_t kChannels = 12;
    static constexpr std::array kMappers = {L"IDTEXTMAPPER.DLL", L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T780.DLL"};

    static void Fail(const std::string& function) { Maker().results[function] = 5; }
};

template <typename Kind>
std::unique_ptr<Rig> Make() {
    return std::make_unique<Kind>();
}

}  // namespace

const std::array<Link, 4> kLinks = {
    Link{"Serial", Make<LinkRig<Transport::kSerial>>}, Link{"Usb", Make<LinkRig<Transport::kUsb>>},
    Link{"Infrared", Make<LinkRig<Transport::kIrda>>}, Link{"Generation2010", Make<Generation2010>}};

/// The analyser's values stand still in the runs.
float Rig::ValueOf(std::uint32_t view_ident) const {
    const auto& channels = analyser->Data().channels;
    const auto channel   = std::ranges::find(channels, view_ident, &simulator::Channel::ident);
    if (channel == channels.end()) return std::numeric_limits<float>::quiet_NaN();
    return channel->value.steps.front().value_or(0);
}

void BeginLongWorld() {
    platform::memory::ResetWorld();
    World().now = World().looked_at = 0U - 10 * 60 * 1000;
    World().keeps_texts             = false;
}

}  // namespace nelto::endurance
