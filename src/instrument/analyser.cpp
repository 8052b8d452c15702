#include "instrument/analyser.h"

namespace nelto {

bool Analyser::Prepare(const char*& error) {
    session_.log.Write(L"synchronize clock");
    if (session_.StopRequested()) return false;
    if (SynchronizeClock() != kDone) {
        session_.Failed(L"Nelto 780 Open: Error synchronizing clock");
        error = "Nelto 780 Open: Error synchronizing clock";
        return false;
    }
    session_.log.Write(L"get SubType");
    if (session_.StopRequested()) return false;
    if (GetSubType() != kDone) {
        session_.Failed(L"Nelto 780 Open: GetSubType");
        error = "Nelto 780 Open: GetSubType failed";
        return false;
    }
    StartUp();
    session_.log.Write(L"Nelto 780 Open OK");
    return true;
}

std::uint32_t Analyser::Close() {
    if (!std::exchange(is_open_, false)) return kDone;
    session_.log.Write(L"Nelto780Base::Nelto780Close");
    session_.log.Write(L"SetSlaveMode");
    SetSlaveMode(false);
    Release();
    return kDone;
}

}  // namespace nelto
