// What the endurance runs stand on: each link with a well-behaved analyser at its far end, and everything that can go wrong
// with the two.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "faults.h"
#include "serial_peers.h"

namespace nelto::endurance {

using namespace rigs;
using platform::memory::RunningMilliseconds;

/// A fault of the driver or of the system that lasts until it is ended.
struct Trouble {
    std::string name;
    std::function<void()> begin;
    std::function<void()> end;
};

class Rig {
public:
    Rig()                      = default;
    virtual ~Rig()             = default;
    Rig(const Rig&)            = delete;
    Rig& operator=(const Rig&) = delete;

    /// Lets the analyser misbehave at the requests that are chosen, counted from now.
    virtual void Strike(const std::vector<simulator::Fault>&) {}
    /// True for a link whose analyser misbehaves on demand.
    [[nodiscard]] virtual bool CanStrike() const { return true; }
    /// Comes with each wait and before each opening; forgets what the doubles have written down.
    virtual void Tick() {}
    /// What the program still holds: handles, sockets, events, libraries. 0 whenever no connection is open.
    [[nodiscard]] virtual std::size_t Held() const = 0;
    /// The only right value of a measured channel; not a number where there is none.
    [[nodiscard]] virtual float ValueOf(std::uint32_t view_ident) const = 0;

    std::uint32_t communication = 0;
    std::vector<Trouble> troubles;
    std::map<std::string, std::uint32_t> struck;  // faults of the analyser that came to pass, by name
};

using MakeRig = std::unique_ptr<Rig> (*)();

[[nodiscard]] std::unique_ptr<Rig> SerialRig();
[[nodiscard]] std::unique_ptr<Rig> UsbRig();
[[nodiscard]] std::unique_ptr<Rig> InfraredRig();
/// A 745 on USB, behind the maker's libraries.
[[nodiscard]] std::unique_ptr<Rig> Generation2010Rig();

/// Puts a fresh world in place that keeps no texts and whose tick count wraps after ten minutes.
void BeginLongWorld();

}  // namespace nelto::endurance
