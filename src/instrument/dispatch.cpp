#include "instrument/dispatch.h"

#include "diag/trace_log.h"
#include "instrument/generation2004/configuration.h"
#include "instrument/generation2004/modes.h"
#include "instrument/generation2004/values.h"

namespace nelto {
namespace {

constexpr std::uint32_t kNoOperation = 1;  // configuration, values and fuel of an unknown kind

/// The 710 has no online channels. Its line goes through both writers, so it stands in the log twice.
std::uint32_t Log710Twice(const wchar_t* text) {
    ZivLog(text);
    ZivLogF(L"%ls", text);
    return kDone;
}

/// The analyser behind the maker's libraries; null for the other kinds, and after close.
CNelto780Base2010* Analyser2010(const InstrumentConnection& connection) {
    return IsGeneration2010(connection.kind) ? connection.generation2010.get() : nullptr;
}

}  // namespace

bool IsGeneration2010(std::uint32_t kind) {
    switch (kind) {
        case kKind711:
        case kKind745:
        case kKind746:
        case kKind752:
        case kKind760:
        case kKind781: return true;
        default: return false;
    }
}

std::uint32_t SetSlaveMode(InstrumentConnection& connection, bool on) {
    connection.log.Write(L"SetSlaveMode");
    if (CNelto780Base2010* const analyser = Analyser2010(connection)) return analyser->SetSlaveMode(on);
    switch (connection.kind) {
        case kKind710: ZivLog(L"nelto 710 SetSlaveMode"); return kDone;
        case kKind780: return SetSlaveMode2004(connection, on);
        default: return kUnknownInstrument;
    }
}

std::uint32_t GetSubType(InstrumentConnection& connection) {
    if (CNelto780Base2010* const analyser = Analyser2010(connection)) return analyser->GetSubType();
    switch (connection.kind) {
        case kKind710: return kDone;
        case kKind780: return GetSubType2004(connection, connection.sub_type);
        default: return kUnknownInstrument;
    }
}

std::uint32_t SynchronizeClock(InstrumentConnection& connection) {
    if (CNelto780Base2010* const analyser = Analyser2010(connection)) return analyser->SynchronizeClock();
    switch (connection.kind) {
        case kKind710: return SynchronizeClock710(connection);
        case kKind780: return SynchronizeClock2004(connection);
        default: return kUnknownInstrument;
    }
}

std::uint32_t SetActiveFuel(InstrumentConnection& connection, std::int32_t fuel_number) {
    if (CNelto780Base2010* const analyser = Analyser2010(connection)) return analyser->SetActualFuel(fuel_number);
    return connection.kind == kKind780 ? kDone : kNoOperation;
}

std::uint32_t GetOnlineConfiguration(InstrumentConnection& connection, ChannelTable& channels) {
    if (CNelto780Base2010* const analyser = Analyser2010(connection)) {
        return analyser->GetOnlineConfiguration(channels, connection.kind);
    }
    switch (connection.kind) {
        case kKind710: return Log710Twice(L"nelto 710 GetOnlineConfiguration");
        case kKind780: return Nelto780GetOnlineConfiguration2004(connection, channels);
        default: return kNoOperation;
    }
}

std::uint32_t GetOnlineValues(InstrumentConnection& connection, ChannelTable& channels) {
    if (CNelto780Base2010* const analyser = Analyser2010(connection)) return analyser->GetOnlineValues(channels);
    switch (connection.kind) {
        case kKind710: return Log710Twice(L"nelto 710 GetOnlineValues");
        case kKind780: return Nelto780GetOnlineValues2004(connection, channels);
        default: return kNoOperation;
    }
}

}  // namespace nelto
