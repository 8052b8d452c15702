// Every fault at every step of a conversation, on every link: what the failing layer returns, what the worker makes of it, that
// nothing is shown which the analyser has not sent, that values come back, that a stop is honoured, and that nothing stays open.
#include <cstdio>

#include "fault_stage.h"
#include "instrument/opening.h"
#include "transport/irda_link.h"
#include "transport/serial_link.h"
#include "transport/usb_link.h"

namespace nelto::test {
namespace {

constexpr std::array kLinks           = {Transport::kSerial, Transport::kUsb, Transport::kIrda};
constexpr std::array kLinkNames       = {"serial", "USB", "infrared"};
constexpr std::uint32_t kCloseTimeout = 200;
constexpr std::uint32_t kStopStep     = 100;
constexpr std::uint32_t kGoneFor      = 8000;
constexpr std::uint32_t kRecoversIn   = 30000;

struct Command {
    const char* name;
    const char* request;
    std::size_t matched;  // bytes of the request that tell it from others
    std::size_t count;    // place among those of the first conversation that are the same
    std::uint32_t timeout;
    std::size_t capacity;
    const char* trace;             // the worker's, up to the first failure
    bool serial, usb, irda;        // asked for over these links
    bool framed           = true;  // the header of its answer is checked
    std::size_t irda_room = 4096;

    [[nodiscard]] std::size_t Room(Transport transport) const {
        return transport == Transport::kIrda ? irda_room : capacity;
    }
};

// clang-format off
const Command kCommands[] = {
    {"identify",            "42",                                  1, 1, 3000,  256, "O",     true,  true,  false, false},
    {"clock",               "33 0E 05 09 00 DB 07 03 07",          1, 1, 3000,  256, "O",     false, true,  false, false},
    {"sub type",            "85 00 00 00 00 00 00 00 00",          1, 1, 3000,  256, "O",     true,  true,  false, false},
    {"visible views",       "A7 02 00 00 00",                      1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"configuration",       "53",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"channels",            "9C",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"view text",           "B1 12 00",                            3, 1, 3000,  128, "oCz",   true,  true,  true,  true, 128},
    {"additional channels", "A2",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"fuel",                "B8",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"fuel entry",          "B0 00",                               1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"fuel name",           "B1 40 00",                            3, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"fuel parameters",     "B9 00",                               1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"device type",         "85",                                  1, 2, 3000, 4096, "oCz",   true,  true,  true},
    {"firmware",            "40",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"serial number",       "7F",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"smoke pump",          "B7",                                  1, 1, 3000, 4096, "oCz",   true,  true,  true},
    {"open heating check",  "49 00 00 F0 01 00 00 06 00 00 00",    1, 1,  200, 4096, "ocH",   true,  true,  true},
    {"view list",           "A5 10 00 00 F0 01 00 06 00",          2, 1,  200, 4096, "ocH",   true,  true,  true},
    {"list header",         "A5 08 00 01 00 00 F0 06 00",          2, 1, 3000, 4096, "och",   true,  true,  true},
    {"list entries",        "A5 0A 00 01 00 00 F0 06 00",          2, 1, 3000, 4096, "och",   true,  true,  true},
    {"list records",        "A5 09 00 01 00 00 F0 06 00 00 00 01 00", 2, 1, 3000, 4096, "och", true, true,  true},
    {"zero flag",           "AA",                                  1, 1, 3000, 4096, "ochVz", true,  true,  true},
    {"configuration again", "53",                                  1, 2, 3000, 4096, "ochVz", true,  true,  true},
    {"values",              "9C",                                  1, 2, 3000, 4096, "ochVz", true,  true,  true},
    {"slave mode",          "90",                                  1, 1,  200,  256, "",      true,  true,  true,  false, 12},
    {"slave mode off",      "20 00",                               1, 1,  200,  256, "",      true,  true,  true,  false, 4},
};
// clang-format on

/// Where a fault strikes.
struct Struck {
    Stage& stage;
    const Reply& reply;
    const Command& command;
    const bool infrared = stage.link->transport == Transport::kIrda;

    /// Behind the header of the last block, where that is long enough.
    [[nodiscard]] std::uint32_t Middle() const {
        const std::size_t last = reply.frames.back();
        return static_cast<std::uint32_t>(std::max(last / 2, std::min(kBlockHeaderSize, last - 1)));
    }
    [[nodiscard]] std::uint32_t Looks() const {
        return static_cast<std::uint32_t>(1 + (reply.frames.back() - 1) / stage.link->wire.most_read);
    }
};

struct FaultRow {
    const char* name;
    FaultKind kind;
    std::uint32_t (*amount)(const Struck& at);
    std::array<LinkStatus, 3> results;  // of the link, in the order of kLinks; kNotOpen where it cannot be
    std::uint32_t block = kLastBlock;
};

using enum LinkStatus;
using At = const Struck&;

// clang-format off
const FaultRow kFaults[] = {
    {"lost byte", FaultKind::kLostByte, [](At at) { return at.Middle(); }, {kTimeOut, kTimeOut, kNotOpen}},
    {"extra byte", FaultKind::kExtraByte, [](At at) { return at.infrared ? 4 : at.Middle(); },
     {kTimeOut, kTimeOut, kProtocolFault}},
    {"flipped bit", FaultKind::kFlipBit, [](At at) { return 8 * (at.infrared ? 1 : at.Middle()); },
     {kProtocolFault, kProtocolFault, kOk}},
    {"truncated block", FaultKind::kCutBlock, [](At at) { return static_cast<std::uint32_t>((at.reply.frames.back() + 1) / 2); },
     {kTimeOut, kTimeOut, kNotOpen}},
    {"duplicate block", FaultKind::kDuplicateBlock, [](At) { return 1U; }, {kTimeOut, kTimeOut, kNotOpen}, 0},
    {"wrong acknowledgement", FaultKind::kWrongAck, [](At) { return 0U; }, {kTimeOut, kProtocolFault, kNotOpen}},
    {"wrong length", FaultKind::kWrongLength, [](At at) { return at.infrared ? 0xFFFFU : 1; },  // one too few
     {kTimeOut, kTimeOut, kProtocolFault}},
    {"index beyond count", FaultKind::kBadIndex, [](At) { return 0U; }, {kProtocolFault, kProtocolFault, kNotOpen}},
    {"oversize reply", FaultKind::kLongAnswer,
     [](At at) { return static_cast<std::uint32_t>(at.command.Room(at.stage.link->transport) + 1 - at.reply.message.size()); },
     {kReplyTooLong, kReplyTooLong, kProtocolFault}},
    {"just in time", FaultKind::kDelay, [](At at) { return at.command.timeout - 10 * at.Looks(); }, {kOk, kOk, kOk}},
    {"just too late", FaultKind::kDelay, [](At at) { return at.command.timeout + 10; }, {kTimeOut, kTimeOut, kOk}},
    // It comes when the link is open again.
    {"too late for its link", FaultKind::kDelay, [](At at) { return at.command.timeout + 2450; },
     {kTimeOut, kTimeOut, kNotOpen}},
    {"silence", FaultKind::kSilence, [](At) { return 0U; }, {kTimeOut, kTimeOut, kNotOpen}},
    {"link error", FaultKind::kDelay, [](At at) { return at.stage.link->Break(), 0U; }, {kTimeOut, kDriverFailed, kDriverFailed}},
    {"link gone", FaultKind::kLinkGone, [](At) { return kGoneFor; }, {kTimeOut, kTimeOut, kDriverFailed}, 0},
};
// clang-format on

struct Tally {
    int tried = 0, passed = 0, left_out = 0;
};

/// How replies come.
struct Shape {
    const char* name;
    std::size_t block;  // payload bytes
    std::size_t look;   // bytes that one look at a serial port finds
    std::size_t links;  // the first so many of kLinks
};

constexpr Shape kShapes[] = {{"", 40, SIZE_MAX, 3}, {", in blocks of 7", 7, SIZE_MAX, 2}, {", 19 a look", 40, 19, 1}};

struct Cell {
    const FaultRow& fault;
    const Command& command;
    Transport transport;
    const Shape& shape;

    [[nodiscard]] std::size_t Link() const {
        return static_cast<std::size_t>(std::ranges::find(kLinks, transport) - kLinks.begin());
    }
    [[nodiscard]] std::uint32_t Timeout() const {
        const bool ident_over_usb = transport == Transport::kUsb && command.request == std::string_view("42");
        return ident_over_usb ? 200 : command.timeout;
    }
    /// An infrared reply that is not whole is waited for without limit, and infrared has neither blocks nor time-outs.
    [[nodiscard]] bool CanBe() const {
        const bool asked[] = {command.serial, command.usb, command.irda};
        return asked[Link()] && fault.results[Link()] != kNotOpen;
    }
    void Arrange(Stage& stage, std::size_t count) const {
        stage.link->wire.most_read = shape.look;
        Command adapted            = command;
        adapted.timeout            = Timeout();
        Bytes beginning            = Hex(command.request);
        beginning.resize(command.matched);
        stage.SpoilReply(beginning, count, [=, &row = fault](Stage& struck, const Reply& reply) {
            return StrikeList{{row.kind, row.amount({struck, reply, adapted}), row.block}};
        });
    }
    /// The same in the worker's first conversation.
    void ArrangeFirst(Stage& stage) const {
        const bool only = transport == Transport::kIrda && command.request == std::string_view("85");
        Arrange(stage, only ? 1 : command.count);
        stage.waits_for_strike = command.trace[0] != '\0';
    }
};

std::unique_ptr<Link> OpenLink(Transport transport) {
    IrdaOpenResult result = kIrdaOpenOk;
    if (transport == Transport::kSerial) return SerialLink::Open(AnalyserOnLink::kPort, nullptr);
    if (transport == Transport::kUsb) return UsbLink::Open(2, nullptr);
    return IrdaLink::Open(nullptr, result);
}

/// What the link returns for the struck exchange alone; `expected` is then the status that the table gives it.
LinkStatus LinkResult(const Cell& cell, LinkStatus& expected) {
    Stage stage(cell.transport, cell.shape.block);
    const auto link = OpenLink(cell.transport);
    if (link == nullptr) return kNotOpen;
    cell.Arrange(stage, 1);
    Bytes answer(cell.command.Room(cell.transport));
    std::size_t received    = 0;
    const LinkStatus result = link->Transceive(Hex(cell.command.request), answer, received, cell.Timeout());
    expected                = cell.fault.results[cell.Link()];
    // A repetition is recognised where there are other blocks; an extra byte is not seen where the room is full without it.
    const bool several = stage.replies.back().frames.size() > 1;
    if (cell.fault.name == std::string_view("duplicate block") && several) expected = kOk;
    const bool full = cell.transport == Transport::kIrda && answer.size() <= 12;
    if (cell.fault.name == std::string_view("extra byte") && full) expected = kOk;
    EXPECT_EQ(received == 0, result != kOk);
    return result;
}

/// The worker with the fault in its first conversation.
std::string WorkerWrong(const Cell& cell, bool fails) {
    Stage stage(cell.transport, cell.shape.block);
    cell.ArrangeFirst(stage);
    const std::string expected = cell.command.trace;
    const std::string trace    = stage.RunWorker();
    stage.Expect(stage.struck && !stage.link->blocked, "the fault did not strike, or for ever");
    const std::string start = fails && !expected.empty() ? expected : "ochvv";
    stage.Expect(trace.starts_with(start) && trace.find("vvz") != std::string::npos, "trace " + trace);
    stage.Expect(stage.state.status == kValuesAvailable, "status at the end");
    stage.Expect(World().now - stage.struck_at <= kRecoversIn, "values came back late");
    constexpr std::array kStatusAt = {kSearching, kReading, kReading, kReading, kBroken};
    if (fails && !expected.empty()) {
        stage.Expect(stage.statuses[start.size() - 1] == kStatusAt[start.size() - 1], "status after the failure");
    }
    std::size_t results = Stage::kListResults;
    // One list is lost; without the list of lists, or behind a failed driver, all of them are.
    const bool is_one = cell.command.timeout == 3000 && cell.fault.results[cell.Link()] != kDriverFailed &&
                        cell.fault.name != std::string_view("link error");
    if (fails && (trace == "ocHvvz" || (expected == "och" && trace == "ochvvz"))) results -= is_one ? 2 : results;
    const bool lost_more = cell.fault.name == std::string_view("link gone");
    stage.Expect(stage.HeatingCheckValues().size() == results || lost_more, "heating check");
    return stage.Wrong();
}

/// The user ends while the fault is there.
std::string StopWrong(const Cell& cell) {
    Stage stage(cell.transport, cell.shape.block);
    cell.ArrangeFirst(stage);
    stage.stops_at_strike   = true;
    const std::string trace = stage.RunWorker();
    stage.Expect(World().now - stage.struck_at <= kBlockStopPatience + 2 * kCloseTimeout + kStopStep,
                 "ended " + std::to_string(World().now - stage.struck_at) + " ms after the stop, " + trace);
    return stage.Wrong();
}

bool Passes(const Cell& cell) {
    LinkStatus expected     = kOk;
    const LinkStatus result = LinkResult(cell, expected);
    const bool header       = cell.fault.name == std::string_view("flipped bit") && cell.command.framed;
    std::string wrong       = WorkerWrong(cell, result != kOk || (cell.transport == Transport::kIrda && header));
    if (result != expected) wrong += "link result " + std::to_string(static_cast<int>(result));
    wrong += StopWrong(cell);
    EXPECT_EQ(wrong, "") << cell.fault.name << ", " << cell.command.name << ", " << kLinkNames[cell.Link()]
                         << cell.shape.name;
    return wrong.empty();
}

TEST(FaultMatrix, EveryFaultAtEveryCommandOnEveryLink) {
    for (const FaultRow& fault : kFaults) {
        std::array<Tally, kLinks.size()> tallies;
        for (const Transport transport : kLinks) {
            for (const Command& command : kCommands) {
                const Cell usual{fault, command, transport, kShapes[0]};
                Tally& tally = tallies[usual.Link()];
                tally.left_out += usual.CanBe() ? 0 : 1;
                for (const Shape& shape : kShapes) {
                    if (!usual.CanBe() || usual.Link() >= shape.links) continue;
                    ++tally.tried;
                    tally.passed += Passes({fault, command, transport, shape}) ? 1 : 0;
                }
            }
        }
        std::printf("%-22s", fault.name);
        for (std::size_t i = 0; i < tallies.size(); ++i)
            std::printf(" %s %d of %d, %d left out", kLinkNames[i], tallies[i].passed, tallies[i].tried,
                        tallies[i].left_out);
        std::printf("\n");
    }
}

/// Where there is a checksum, nothing damaged is ever taken for a reply; and the next reply is taken again.
TEST(FaultMatrix, NoBitAndNoCutOfAnyReplyPasses) {
    for (const Transport transport : {Transport::kSerial, Transport::kUsb}) {
        for (const std::size_t block_limit : {40U, 7U}) {
            Stage stage(transport, block_limit);
            const auto link      = OpenLink(transport);
            const auto status_of = [&](const Command& command, const StrikeList& strikes) {
                Bytes answer(command.capacity);
                std::size_t received = 0;
                stage.SpoilReply({}, 1, [&](const Stage&, const Reply&) { return strikes; });
                return link->Transceive(Hex(command.request), answer, received, 200);
            };
            int tried = 0;
            for (const Command& command : kCommands) {
                ASSERT_EQ(status_of(command, {}), kOk);
                const std::vector<std::size_t> frames = stage.replies.back().frames;
                for (std::uint32_t block = 0; block < frames.size(); ++block) {
                    for (std::uint32_t bit = 0; bit < 8 * frames[block]; ++bit, ++tried)
                        ASSERT_NE(status_of(command, {{FaultKind::kFlipBit, bit, block}}), kOk) << command.name << bit;
                    for (std::uint32_t missing = 1; missing <= frames[block]; ++missing, ++tried)
                        ASSERT_EQ(status_of(command, {{FaultKind::kCutBlock, missing, block}}), kTimeOut) << missing;
                }
                ASSERT_EQ(status_of(command, {}), kOk) << command.name;
            }
            std::printf("%s, blocks of %zu: none of %d passed\n", kLinkNames[transport == Transport::kUsb ? 1 : 0],
                        block_limit, tried);
        }
    }
}

/// The trace of a worker's life that begins at this tick count, and how long it takes; one reply is lost where
/// none is waited for without limit.
std::string LifeFrom(std::uint32_t start, Transport transport) {
    Stage stage(transport);
    World().now = start;
    stage.usual = [](const Bytes&) { return StrikeList{{FaultKind::kDelay, 150, kLastBlock}}; };
    stage.SpoilReply(Hex("A5 0A"), 1, [](const Stage& struck, const Reply&) {
        return struck.link->transport == Transport::kIrda ? StrikeList{} : StrikeList{{FaultKind::kSilence}};
    });
    const std::string trace = stage.RunWorker();
    return trace + ", " + std::to_string(World().now - start) + " ms" + stage.Wrong();
}

TEST(FaultMatrix, TheTickCountMayBeginAnewAtAnyMoment) {
    for (const Transport transport : kLinks) {
        const std::string usual = LifeFrom(1000, transport);
        ASSERT_TRUE(usual.starts_with("ochvvz")) << usual;
        for (std::uint32_t before = 70; before < 16000; before += 370) {
            ASSERT_EQ(LifeFrom(0U - before, transport), usual) << before;
        }
    }
}

/// Every block takes nearly as long as the shortest time-out, and there are many of them.
TEST(FaultMatrix, AStopAtAnyMomentIsHonoured) {
    constexpr std::uint32_t kBlock = 180;
    // The reply under way, then the replies to 90 and 20 in three blocks.
    constexpr std::uint32_t kBound = kStopStep + kBlockStopPatience + 4 * (kBlock + 10);
    int tried                      = 0;
    std::uint32_t longest          = 0;
    for (const Transport transport : {Transport::kSerial, Transport::kUsb}) {
        bool cut_short = true;
        for (std::uint32_t at = 0; cut_short; at += 190) {
            Stage stage(transport, 8);
            stage.waits_for_strike    = false;
            stage.block_ms            = kBlock;
            const std::uint32_t start = World().now;
            stage.stops_when          = [=] { return World().now - start >= at; };
            const std::string trace   = stage.RunWorker();
            cut_short                 = !trace.ends_with("vvz");
            ASSERT_EQ(stage.Wrong(), "") << at;
            // The analyser is left out of slave mode, and no line reads like a fault of it.
            if (!stage.requests.empty()) ASSERT_EQ(stage.requests.back(), Hex("20 00")) << at << " " << trace;
            for (const wchar_t* log : {L"Nelto780Base.txt", L"ZIVNelto780.txt"}) {
                for (const std::string& line : LogLines(log)) {
                    ASSERT_EQ(line.find("rror"), std::string::npos) << line << " " << at;
                    ASSERT_EQ(line.find("failed"), std::string::npos) << line << " " << at;
                }
            }
            if (cut_short) longest = std::max(longest, World().now - stage.stopped_at);
            ++tried;
        }
    }
    std::printf("stopped at %d moments, ended within %u ms\n", tried, longest);
    EXPECT_GT(tried, 100);
    EXPECT_LE(longest, kBound);
}

}  // namespace
}  // namespace nelto::test
