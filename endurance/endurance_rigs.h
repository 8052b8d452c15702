// What the endurance runs stand on: each link with a well-behaved analyser at its far end, and everything that can go wrong
// with the two.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "faults.h"
#include "serial_peers.h"

namespace nelto::endurance {

using namespace doubles;
using platform::memory::RunningMilliseconds;

/// A fault of the driver or of the system that lasts until the rig is repaired.
struct Trouble {
    std::string name;
    std::function<void()> begin;
};

class Rig {
public:
    Rig()                      = default;
    virtual ~Rig()             = default;
    Rig(const Rig&)            = delete;
    Rig& operator=(const Rig&) = delete;

    /// Comes with each wait and before each opening; forgets what the doubles have written down.
    virtual void Tick() {}
    /// Ends every trouble.
    virtual void Repair() = 0;
    /// What the program still holds: handles, sockets, events, libraries. 0 whenever no connection is open.
    [[nodiscard]] virtual std::size_t Held() const = 0;
    /// The only right value of a measured channel; not a number where there is none.
    [[nodiscard]] virtual float ValueOf(std::uint32_t view_ident) const;

    std::uint32_t communication = 0;
    std::vector<Trouble> troubles;
    std::map<std::string, std::uint32_t> struck;  // faults of the analyser that came to pass, by name
    /// Misbehaves on demand; none behind a link whose analyser does not.
    std::shared_ptr<simulator::ScriptedAnalyser> analyser;
};

struct Link {
    const char* name;
    std::unique_ptr<Rig> (*make_rig)();
};

extern const std::array<Link, 4> kLinks;

/// Puts a fresh world in place that keeps no texts and whose tick count wraps after ten minutes.
void BeginLongWorld();

}  // namespace nelto::endurance
