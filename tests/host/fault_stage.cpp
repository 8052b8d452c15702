#include "fault_stage.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <utility>

#include "instrument/opening.h"
#include "platform/wide_text.h"
#include "watched_instrument.h"

namespace nelto::test {
namespace {

Stage* the_stage = nullptr;

/// Values that no two channels and no two moments share.
simulator::ValueCourse Rising(float from) {
    return {.shape = simulator::ValueCourse::Shape::kRamp, .start = from, .end = from + 900, .seconds = 3600};
}

simulator::ValueCourse Steady(float value) { return {.steps = {value}}; }

simulator::CheckEntry Result(std::uint32_t ident, std::vector<std::optional<float>> values) {
    return {.ident = ident, .unit = 1, .format = 255, .values = std::move(values)};
}

simulator::AnalyserData Data() {
    simulator::AnalyserData data{.device_type = 2, .serial_number = 4711, .slave_mode = 1, .smoke_pump = u"SP"};
    data.channels   = {{.ident = 0x0901, .unit = 130, .value = Rising(1000)},
                       {.ident = 0x0902, .unit = 131, .value = Rising(2000)},
                       {.ident = 0x0101, .unit = 1, .value = Rising(3000)}};
    data.visible    = {{.ident = 0x0901, .key = 0x11}, {.ident = 0x0902, .key = 0x12}, {.ident = 0x0101, .key = 0x13}};
    data.texts      = {{0x11, u"O2"}, {0x12, u"CO"}, {0x13, u"FT"}, {0x40, u"Oil"}};
    data.fuels      = {{.number = 0, .key = 0x40, .co2_max = 15.4F, .o2_reference = 3}};
    data.additional = {{.ident = 0xFF01, .unit = 1, .value = Steady(62)}, {.ident = 0xFF02, .value = Steady(0.5F)}};
    data.check_blocks.resize(1);
    data.check_blocks[0].lists = {{{Result(0xFF2E, {4.5F}), Result(0xFF2F, {2.0F})}},
                                  {{Result(0xFF3F, {31.5F, 32.5F}), Result(0xFF40, {36.0F, 37.0F})}},
                                  {{Result(0xFF45, {41.0F})}}};
    return data;
}

constexpr std::array kHeatingCheck = {4.5F, 2.0F, 31.5F, 36.0F, 32.5F, 37.0F, 41.0F};

struct ExpectedRow {
    std::uint32_t ident;
    const wchar_t* text;  // label of a measured channel, else the text value
    float value;
};

constexpr ExpectedRow kRows[] = {{0x0901, L"O2", 0},
                                 {0x0902, L"CO", 0},
                                 {0x0101, L"FT", 0},
                                 {0xFF01, L"", 62},
                                 {0xFF02, L"", 0.5F},
                                 {kFuel, L"Oil", 1},
                                 {0x0910, L"", 15.4F},
                                 {0x090F, L"", 3},
                                 {kDevice, L"nelto 780-2", 0},
                                 {kVersion, L"1.00", 0},
                                 {kSerialNumber, L"00004711", 0},
                                 {kSmokePump, L"SP", 0}};

std::unique_ptr<Instrument> OpenObserved(std::uint32_t communication, const std::atomic<std::uint32_t>& stop_request,
                                         OpenFailure& failure) {
    std::unique_ptr<Instrument> inner = nelto::Nelto780Open(communication, stop_request, failure);
    the_stage->Note(inner == nullptr ? 'O' : 'o');
    the_stage->Expect((inner == nullptr) == (*failure.text != '\0') || stop_request != 0, "last error text");
    if (inner == nullptr) return nullptr;
    return std::make_unique<WatchedInstrument>(std::move(inner), [](char step, std::uint32_t result, const auto&) {
        if (step == 'v' && result == 0) the_stage->NoteValuesRead();
        const std::uint32_t failure = step == 'z' ? 0 : step == 'h' ? 1 : 2;
        the_stage->Expect(result == 0 || result == failure, "result " + std::to_string(result));
        the_stage->Note(result == 0 ? step : static_cast<char>(std::toupper(step)));
    });
}

}  // namespace

bool BeginsWith(const Bytes& request, const Bytes& beginning) {
    return !beginning.empty() && request.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), request.begin());
}

Stage::Stage(Transport transport, std::size_t block_limit, const std::wstring& driver_version)
    : analyser_(Data()), block_limit_(block_limit), sent_(kMeasured) {
    platform::memory::ResetWorld();
    the_stage       = this;
    const auto sink = [this](const std::string& line) { Expect(!line.ends_with("no answer"), line); };
    link = std::make_unique<AnalyserOnLink>(transport, std::shared_ptr<Responder>(std::shared_ptr<void>(), this),
                                            block_limit, sink, driver_version);
    state.heating_check = 1;
    state.communication = link->Communication();
    World().on_wait     = [this, deliver = World().on_wait] {
        if (deliver) deliver();
        Tick();
    };
}

Stage::~Stage() {
    link.reset();
    World().on_wait = nullptr;
    the_stage       = nullptr;
}

void Stage::SpoilReply(const Bytes& request, std::size_t count, Spoil spoil) {
    struck_request_ = request;
    struck_count_   = count;
    spoil_          = std::move(spoil);
}

std::string Stage::RunWorker(std::uint32_t limit_ms) {
    started_  = World().now;
    limit_ms_ = limit_ms;
    Expect(AcquisitionWorker(state, &OpenObserved) == 0, "worker result");
    Check();
    const std::size_t left = link->Held();
    Expect((left != 0) == leaks_by_design, std::to_string(left) + " things left open");
    return trace_;
}

void Stage::Expect(bool condition, const std::string& what) {
    if (!condition && wrong_.size() < 200) wrong_ += what + "; ";
}

void Stage::Note(char step) {
    trace_ += step;
    statuses.push_back(state.status);
}

StrikeList Stage::Strikes(simulator::Bytes beginning, std::uint64_t now_ms) {
    Check();
    const Bytes request(beginning.begin(), beginning.end());
    requests.push_back(request);
    Reply reply{.message = analyser_.Answer(request, now_ms).value()};
    const std::size_t size = reply.message.size();
    if (link->transport == Transport::kIrda) reply.frames = {size};
    for (std::size_t from = 0; from < size && reply.frames.size() * block_limit_ == from; from += block_limit_)
        reply.frames.push_back(std::min(block_limit_, size - from) + kBlockOverhead);
    replies.push_back(reply);

    StrikeList strikes = usual ? usual(request) : StrikeList();
    for (std::uint32_t block = 0; block_ms != 0 && block < reply.frames.size(); ++block)
        strikes.push_back({.kind = FaultKind::kDelay, .amount = block_ms, .block = block});
    const bool counts = struck_request_.empty() || BeginsWith(request, struck_request_);
    if (counts && struck_count_ != 0 && --struck_count_ == 0) {
        struck    = true;
        struck_at = World().now;
        if (stops_at_strike) state.stop_request = 1;
        strikes = spoil_(*this, reply);
    }
    NoteSent(strikes);
    return strikes;
}

void Stage::Tick() {
    const std::uint32_t now = World().now;
    if (now - checked_at_ >= 100) {
        checked_at_ = now;
        Check();
    }
    const bool done = trace_.ends_with("vv") && (struck || !waits_for_strike);
    if (limit_ms_ != 0 && (done || now - started_ > limit_ms_)) state.stop_request = 1;
    if (stopped_at == 0 && stops_when && stops_when()) stopped_at = now;
    if (stopped_at != 0) state.stop_request = 1;
    if (noise_at == 0 || now < noise_at) return;
    link->wire.AddNoise({0x55});
    noise_at = 0;
}

void Stage::NoteSent(const StrikeList& strikes) {
    if (requests.back()[0] != 0xC2 && requests.back()[0] != 0x9C) return;
    Bytes message = replies.back().message;
    for (const simulator::Strike& strike : strikes) {
        simulator::StrikeMessage(strike, message);
        // Elsewhere a checksum keeps such an answer away.
        if (link->transport == Transport::kIrda && strike.kind == FaultKind::kFlipBit)
            simulator::StrikeFrame(strike, message);
    }
    for (std::size_t i = 0; i < sent_.size() && 4 + 15 * (i + 1) <= message.size(); ++i) {
        sent_[i] = 0;
        for (std::size_t byte = 4; byte-- > 0;) sent_[i] = (sent_[i] << 8) | message[4 + 15 * i + 4 + byte];
    }
}

void Stage::Check() {
    const Measurement shown = state.measurement.Copy();
    if (shown.version == checked_version_) return;
    checked_version_ = shown.version;
    CheckChannels(shown);
    std::size_t place = 0;  // the results shown are some of those there are, in their order
    for (const ChannelRecord& record : UsedRecords(shown.heating_check)) {
        while (place < kHeatingCheck.size() && kHeatingCheck[place] != record.value) ++place;
        constexpr std::uint32_t kIdents[] = {0xFF2E, 0xFF2F, 0xFF3F, 0xFF40, 0xFF3F, 0xFF40, 0xFF45};
        const bool known                  = place < kHeatingCheck.size() && kIdents[place++] == record.view_ident;
        Expect(known, "heating check shows " + std::to_string(record.value));
    }
}

/// Nothing before the first values, and then always the whole of the last ones.
void Stage::CheckChannels(const Measurement& shown) {
    const auto records = UsedRecords(shown.channels);
    Expect(records.size() == (shown_.empty() ? 0 : std::size(kRows)), "channel count");
    for (std::size_t i = 0; i < std::min(records.size(), std::size(kRows)); ++i) {
        const ChannelRecord& record = records[i];
        const std::string name      = "channel " + std::to_string(i);
        Expect(record.view_ident == kRows[i].ident, name + " has ident " + std::to_string(record.view_ident));
        if (i >= kMeasured) {
            Expect(record.value == kRows[i].value, name + " has value " + std::to_string(record.value));
            Expect(platform::TextIn(record.text) == kRows[i].text, name + " has another text");
            continue;
        }
        Expect(platform::TextIn(record.label) == kRows[i].text, name + " has another label");
        Expect(record.value_type == kNumber, name + " has no value");
        if (i < shown_.size())
            Expect(std::bit_cast<std::uint32_t>(record.value) == shown_[i], name + " has a false value");
    }
}

std::vector<float> Stage::HeatingCheckValues() const {
    std::vector<float> values;
    const Measurement measurement = state.measurement.Copy();
    for (const ChannelRecord& record : UsedRecords(measurement.heating_check)) values.push_back(record.value);
    return values;
}

}  // namespace nelto::test
