#include "instrument/opening.h"

#include <utility>

#include "instrument/generation2004/analyser_2004.h"
#include "instrument/generation2004/analyser_710.h"
#include "instrument/generation2010/analyser_2010.h"
#include "instrument/opening_steps.h"
#include "transport/irda_link.h"

namespace nelto {
namespace {

/// Over infrared the analyser is not asked: the kind stays 780 and the sub type 0.
bool OpenOverIrda(Opening& opening) {
    IrdaOpenResult result = kIrdaOpenOk;
    opening.session.link  = IrdaLink::Open(opening.session.stop_request, result);
    if (opening.session.link == nullptr) {
        return opening.Failed(L"Instrument opening via IRDA failed, Error code %u", result,
                              "open analyzer connection via IrDA failed");
    }
    opening.session.log.Write(L"Instrument opened via IrDA");
    return true;
}

/// False on failure, having said why; with a link all the same where it was found and no analyser that is known answers on it.
bool OpenLink(Opening& opening) {
    switch (opening.session.transport) {
        case Transport::kUsb: return OpenOverUsb(opening);
        case Transport::kIrda: return OpenOverIrda(opening);
        default: return OpenOverSerial(opening);
    }
}

std::unique_ptr<Analyser> MakeAnalyser(Session session, std::uint32_t kind) {
    if (kind == kKind780) return std::make_unique<Analyser2004>(std::move(session));
    if (kind == kKind710) return std::make_unique<Analyser710>(std::move(session));
    return std::make_unique<Analyser2010>(std::move(session), kind);
}

}  // namespace

std::unique_ptr<Instrument> Nelto780Open(std::uint32_t communication, const std::atomic<std::uint32_t>& stop_request,
                                         OpenFailure& failure) {
    Opening opening(communication, &stop_request);
    opening.session.log.Start();
    opening.session.log.Write(L"Nelto780Open");

    const bool is_identified = OpenLink(opening);
    failure                  = opening.failure;
    if (!is_identified && opening.session.link == nullptr) return nullptr;
    std::unique_ptr<Analyser> analyser = MakeAnalyser(std::move(opening.session), opening.kind);
    if (is_identified && analyser->Prepare(failure.text)) return analyser;
    analyser->Close();
    return nullptr;
}

}  // namespace nelto
