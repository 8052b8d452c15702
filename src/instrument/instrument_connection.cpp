#include "instrument/instrument_connection.h"

#include "instrument/dispatch.h"
#include "instrument/generation2004/heating_check.h"
#include "instrument/generation2010/device_call.h"
#include "instrument/opening.h"

namespace nelto {
namespace {

/// What follows identification on every analyser: clock, then sub type, and the start-up of a 760.
bool Prepare(InstrumentConnection& connection, const char*& error) {
    if (IsGeneration2010(connection.kind)) connection.generation2010 = std::make_unique<CNelto780Base2010>(connection);
    connection.log.Write(L"synchronize clock");
    if (connection.StopRequested()) return false;
    if (SynchronizeClock(connection) != kDone) {
        return OpeningFailed(connection, error, L"Nelto 780 Open: Error synchronizing clock",
                             "Nelto 780 Open: Error synchronizing clock");
    }
    connection.log.Write(L"get SubType");
    if (connection.StopRequested()) return false;
    if (GetSubType(connection) != kDone) {
        return OpeningFailed(connection, error, L"Nelto 780 Open: GetSubType", "Nelto 780 Open: GetSubType failed");
    }
    if (connection.kind == kKind760) connection.generation2010->WakeUp();  // whatever comes of it
    connection.log.Write(L"Nelto 780 Open OK");
    return true;
}

/// Gives the analyser back to the maker's libraries.
void CloseGeneration2010(InstrumentConnection& connection) {
    if (connection.link.transport == Transport::kUsb) {
        connection.log.Write(L"Connection closed (USB to nelto 780 2010)");
    }
    CallDevice(connection, library::kClose);
    connection.library_handle = 0;
    connection.generation2010.reset();
}

/// The connection as the worker sees it.
class OpenedInstrument final : public Instrument {
public:
    explicit OpenedInstrument(std::unique_ptr<InstrumentConnection> connection) : connection_(std::move(connection)) {}

    std::uint32_t Kind() const override { return connection_->kind; }
    std::uint32_t SubType() const override { return connection_->sub_type; }
    std::uint32_t SetActiveFuel(std::int32_t fuel_number) override {
        return nelto::SetActiveFuel(*connection_, fuel_number);
    }
    std::uint32_t ReadConfiguration(ChannelTable& channels) override {
        return GetOnlineConfiguration(*connection_, channels);
    }
    bool ReadHeatingCheck(ChannelTable& heating_check) override {
        return ReadHeatingCheck2004(*connection_, heating_check) == kDone;
    }
    std::uint32_t ReadValues(ChannelTable& channels) override { return GetOnlineValues(*connection_, channels); }
    std::uint32_t Close() override { return Nelto780Close(connection_.get()); }

private:
    std::unique_ptr<InstrumentConnection> connection_;
};

}  // namespace

std::unique_ptr<InstrumentConnection> Nelto780Open(std::uint32_t communication,
                                                   const std::atomic<std::uint32_t>& stop_request, const char*& error) {
    error           = "";
    auto connection = std::make_unique<InstrumentConnection>();
    connection->log.Start();
    connection->log.Write(L"Nelto780Open");
    connection->communication     = communication;
    connection->link.stop_request = &stop_request;
    connection->link.transport    = TransportOf(connection->communication);

    const TransportOpening* opening = OpeningFor(connection->link.transport);
    if (opening == nullptr) return nullptr;
    if (!opening->open(*connection, error)) {
        CloseLink(connection->link);
        return nullptr;
    }
    connection->open = true;
    if (!opening->identify(*connection, error) || !Prepare(*connection, error)) {
        Nelto780Close(connection.get());
        return nullptr;
    }
    return connection;
}

std::uint32_t Nelto780Close(InstrumentConnection* connection) {
    if (connection == nullptr) return kTransportFailure;
    if (!connection->open) return kDone;
    connection->open = false;
    connection->log.Write(L"Nelto780Base::Nelto780Close");
    SetSlaveMode(*connection, false);
    if (IsGeneration2010(connection->kind)) {
        CloseGeneration2010(*connection);
    } else if (connection->link.transport == Transport::kUsb) {
        connection->log.Write(L"Connection closed (USB to nelto 780 2004)");
    }
    CloseLink(connection->link);
    return kDone;
}

std::unique_ptr<Instrument> OpenInstrumentConnection(std::uint32_t communication,
                                                     const std::atomic<std::uint32_t>& stop_request,
                                                     const char*& error) {
    std::unique_ptr<InstrumentConnection> connection = Nelto780Open(communication, stop_request, error);
    if (connection == nullptr) return nullptr;
    return std::make_unique<OpenedInstrument>(std::move(connection));
}

}  // namespace nelto
