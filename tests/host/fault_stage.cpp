#include "fault_stage.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "instrument/opening.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_irda_socket.h"
#include "platform/wide_text.h"

namespace nelto::test {

using platform::memory::TheIrdaWorld;

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

/// Passes the worker's calls on and tells the stage of them.
class ObservedInstrument final : public Instrument {
public:
    explicit ObservedInstrument(std::unique_ptr<Instrument> inner) : inner_(std::move(inner)) {}

    std::uint32_t Kind() const override { return inner_->Kind(); }
    std::uint32_t SubType() const override { return inner_->SubType(); }
    std::uint32_t SetActiveFuel(std::int32_t number) override { return inner_->SetActiveFuel(number); }
    std::uint32_t ReadConfiguration(ChannelTable& channels) override {
        return Told(inner_->ReadConfiguration(channels), "cC", 2);
    }
    std::uint32_t ReadHeatingCheck(ChannelTable& table) override {
        return Told(inner_->ReadHeatingCheck(table), "hH", 1);
    }
    std::uint32_t ReadValues(ChannelTable& channels) override {
        const std::uint32_t result = inner_->ReadValues(channels);
        if (result == 0) the_stage->NoteValuesRead();
        return Told(result, "vV", 2);
    }
    std::uint32_t Close() override { return Told(inner_->Close(), "zZ", 0); }

private:
    static std::uint32_t Told(std::uint32_t result, const char* letters, std::uint32_t failure) {
        the_stage->Expect(result == 0 || result == failure, "result " + std::to_string(result));
        the_stage->Note(letters[result == 0 ? 0 : 1]);
        return result;
    }

    std::unique_ptr<Instrument> inner_;
};

std::unique_ptr<Instrument> OpenObserved(std::uint32_t communication, const std::atomic<std::uint32_t>& stop_request,
                                         OpenFailure& failure) {
    std::unique_ptr<Instrument> inner = nelto::Nelto780Open(communication, stop_request, failure);
    the_stage->Note(inner == nullptr ? 'O' : 'o');
    the_stage->Expect((inner == nullptr) == (*failure.text != '\0') || stop_request != 0, "last error text");
    return inner == nullptr ? nullptr : std::make_unique<ObservedInstrument>(std::move(inner));
}

}  // namespace

bool BeginsWith(const Bytes& request, const Bytes& beginning) {
    return !beginning.empty() && request.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), request.begin());
}

Stage::Stage(Transport link, std::size_t block_limit, const std::wstring& driver_version)
    : transport(link), analyser_(Data()), block_limit_(block_limit) {
    platform::memory::ResetWorld();
    platform::memory::ResetIrdaWorld();
    the_stage           = this;
    state.heating_check = 1;
    state.communication = link == Transport::kSerial ? kPort : link == Transport::kUsb ? kUsb : kIrda;
    sent_.resize(kMeasured);
    std::function<void()> deliver = [] {};
    if (link == Transport::kSerial) World().serial_ports[L"COM5"].device = this;
    if (link == Transport::kUsb) {
        library = std::make_unique<FakeD2xx>(driver_version);
        library->Attach(2, "1", this);
        deliver = World().on_wait;
    }
    TheIrdaWorld().device_list = platform::memory::MakeIrdaDeviceList({"NELTO T780"});
    TheIrdaWorld().on_request  = [this](const Bytes& request) { Take(request); };
    TheIrdaWorld().on_idle     = [this] { GiveInfrared(); };
    World().on_wait            = [this, deliver] {
        deliver();
        Tick();
    };
}

Stage::~Stage() {
    World().on_wait = nullptr;
    the_stage       = nullptr;
}

void Stage::Strike(const Bytes& request, std::size_t count, Spoil spoil) {
    struck_request_ = request;
    struck_count_   = count;
    spoil_          = std::move(spoil);
}

void Stage::Resize(Reply& reply, std::size_t size) const {
    reply.message.resize(size);
    if (transport == Transport::kIrda && size >= 4) {
        reply.message[2] = static_cast<std::uint8_t>(size);
        reply.message[3] = static_cast<std::uint8_t>(size >> 8);
    }
    reply.blocks =
        transport == Transport::kIrda ? std::vector<Bytes>{reply.message} : ReplyBlocks(reply.message, block_limit_);
}

void Stage::BreakLink() {
    if (library != nullptr) {
        library->Fail("FT_GetQueueStatus", FakeD2xx::kIoError, library->driver.CallsOf("FT_GetQueueStatus") + 1, 1);
    } else {
        broken_ = true;
    }
}

std::string Stage::RunWorker(std::uint32_t limit_ms) {
    started_  = World().now;
    limit_ms_ = limit_ms;
    Expect(AcquisitionWorker(state, &OpenObserved) == 0, "worker result");
    Check();
    CheckNothingLeft();
    return trace_;
}

void Stage::Expect(bool condition, const std::string& what) {
    if (!condition && wrong_.size() < 200) wrong_ += what + "; ";
}

void Stage::Note(char step) {
    trace_ += step;
    statuses.push_back(state.status);
}

void Stage::NoteValuesRead() { shown_ = sent_; }

std::size_t Stage::Write(std::span<const std::uint8_t> bytes) {
    if (broken_) return 0;
    if (IsGone()) return bytes.size();
    Block block;
    if (std::ranges::equal(bytes, kProgramAck)) {
        SendNextBlock();
    } else if (ParseBlock(bytes, block) == BlockFault::kNone && block.count == 1) {
        Take({block.payload.begin(), block.payload.end()});
    } else {
        Expect(false, "request out of frame");
    }
    return bytes.size();
}

void Stage::Take(const Bytes& request) {
    Check();
    requests.push_back(request);
    Reply reply{.message    = analyser_.Answer(request, Now()).value(),
                .delay_ms   = delays ? delays(request) : 0,
                .unasked_ms = pauses ? std::optional(pauses(request)) : std::nullopt};
    Resize(reply, reply.message.size());
    replies.push_back(reply);
    const bool counts = struck_request_.empty() || BeginsWith(request, struck_request_);
    if (counts && struck_count_ != 0 && --struck_count_ == 0) {
        struck    = true;
        struck_at = World().now;
        if (stops_at_strike) state.stop_request = 1;
        spoil_(*this, reply);
    }
    if (transport == Transport::kIrda) output_.clear();  // a reply that could not be received went with its connection
    NoteSent(reply);
    if (IsGone()) return;
    blocks_.assign(reply.blocks.begin(), reply.blocks.end());
    delay_ms_ = reply.delay_ms;
    if (reply.repeats_block && blocks_.size() > 1) blocks_.push_front(blocks_.front());
    if (reply.unasked_ms) return SendUnasked(*reply.unasked_ms);
    SendNextBlock(reply.repeats_block && blocks_.size() == 1 ? 2 : 1);
}

void Stage::SendUnasked(std::uint32_t pause_ms) {
    busy_until_ = std::max(Now(), busy_until_) + std::exchange(delay_ms_, 0);
    while (!blocks_.empty()) {
        SendNextBlock();
        if (!blocks_.empty()) busy_until_ += pause_ms;
    }
}

void Stage::SendNextBlock(std::uint32_t times) {
    if (blocks_.empty()) return;
    const Bytes block = blocks_.front();
    blocks_.pop_front();
    busy_until_ = std::max(Now(), busy_until_) + block_ms + (blocks_.empty() ? delay_ms_ : 0);
    for (std::uint32_t i = 0; i < times; ++i) output_.push_back({busy_until_, block});
}

std::size_t Stage::Read(std::span<std::uint8_t> bytes) {
    bytes            = bytes.first(std::min(bytes.size(), most_a_look));
    std::size_t size = 0;
    while (!IsGone() && !output_.empty() && output_.front().due <= Now()) {
        Bytes& front           = output_.front().bytes;
        const std::size_t part = std::min(front.size(), bytes.size() - size);
        std::copy_n(front.begin(), part, bytes.begin() + static_cast<std::ptrdiff_t>(size));
        front.erase(front.begin(), front.begin() + static_cast<std::ptrdiff_t>(part));
        size += part;
        if (!front.empty()) break;
        output_.pop_front();
        if (reads_one_block) break;
    }
    return size;
}

/// What was sent to a closed port is lost; what is sent later arrives.
void Stage::Opened() {
    broken_ = false;
    while (!output_.empty() && output_.front().due <= Now()) output_.pop_front();
}

void Stage::GiveInfrared() {
    while (!IsGone() && !output_.empty() && output_.front().due > Now()) platform::SleepMilliseconds(1);
    if (IsGone() || output_.empty()) {
        // Broken: the call fails; gone: the other side has closed; else it would wait for ever.
        if (!broken_ && IsGone()) TheIrdaWorld().pieces.emplace_back(Bytes{});
        if (!IsGone()) blocked = true;
        broken_ = false;
        output_.clear();
        return;
    }
    TheIrdaWorld().pieces.emplace_back(output_.front().bytes);
    output_.pop_front();
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
}

void Stage::NoteSent(const Reply& reply) {
    const bool infrared   = transport == Transport::kIrda;
    const Bytes& message  = infrared && !reply.blocks.empty() ? reply.blocks[0] : reply.message;
    const std::uint8_t by = requests.back()[0];
    if (by != 0xC2 && by != 0x9C) return;
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

void Stage::CheckNothingLeft() {
    const std::size_t left = World().serial_ports[L"COM5"].open_handles + World().open_files +
                             TheIrdaWorld().open_sockets + TheIrdaWorld().references +
                             (library == nullptr || library->AllReleased() ? 0 : 1);
    Expect((left != 0) == leaks_by_design, std::to_string(left) + " things left open");
}

}  // namespace nelto::test
