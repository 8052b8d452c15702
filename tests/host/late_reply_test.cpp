// Replies that come after their time-out.
#include <algorithm>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <utility>

#include "fault_stage.h"
#include "instrument/opening.h"

namespace nelto::test {
namespace {

using Values = std::vector<float>;

/// All results but those of the lists in `without`, counted from 1.
Values Results(const std::set<int>& without) {
    Values values;
    if (!without.contains(1)) values.insert(values.end(), {4.5F, 2.0F});
    if (!without.contains(2)) values.insert(values.end(), {31.5F, 36.0F, 32.5F, 37.0F});
    if (!without.contains(3)) values.insert(values.end(), {41.0F});
    return values;
}

struct LateRow {
    const char* name;
    const char* request;  // the first one that begins like this is answered late ...
    std::uint32_t delay;  // ... by so much, or never
    const char* slow;     // all that begin like this are answered late by `slow_by`
    std::uint32_t slow_by;
    std::set<int> missing;  // result lists
    bool noise   = false;   // while the late reply is waited for
    bool bunched = false;   // answers that wait come at once
    std::optional<std::uint32_t> unasked =
        {};  // so long after one another the blocks behind the late one come by themselves
};

constexpr std::uint32_t kNever = 0;

const LateRow kLateRows[] = {
    {"in time", "A5 08", 2990, nullptr, 0, {}},
    {"a header just late", "A5 08", 3010, nullptr, 0, {1}},
    {"quantities just late", "A5 0A", 3010, nullptr, 0, {1}},
    {"records just late", "A5 09", 3010, nullptr, 0, {1}},
    {"a header lost", "A5 08", kNever, nullptr, 0, {1}},
    {"records lost", "A5 09", kNever, nullptr, 0, {1}},
    {"a header as late as two time-outs", "A5 08", 6010, nullptr, 0, {1}},
    {"quantities as late as two time-outs", "A5 0A", 6500, nullptr, 0, {1}},
    {"records as late as two time-outs", "A5 09", 8900, nullptr, 0, {1}},
    {"a header as late as four time-outs", "A5 08", 12500, nullptr, 0, {1, 2, 3}},
    {"all records late", nullptr, 0, "A5 09", 3010, {1, 2, 3}},
    {"a header lost and records late", "A5 08", kNever, "A5 09", 2900, {1}},
    {"a header as late as two time-outs, noise", "A5 08", 8000, nullptr, 0, {1}, true},
    {"a header as late as two time-outs, bunched", "A5 08", 6010, nullptr, 0, {1}, false, true},
    {"two of three late", nullptr, 0, "A5 0A", 3500, {1, 2, 3}},
    {"a header just late, unasked", "A5 08", 3010, nullptr, 0, {1}, false, false, 20},
    {"quantities just late, unasked", "A5 0A", 3010, nullptr, 0, {1}, false, false, 20},
    {"records just late, unasked", "A5 09", 3010, nullptr, 0, {1}, false, false, 20},
};

/// The last block late, or the first one and those behind it by themselves, so long after one another.
StrikeList Late(std::uint32_t delay, std::optional<std::uint32_t> unasked = {}) {
    if (!unasked) return {{FaultKind::kDelay, delay, kLastBlock}};
    return {{FaultKind::kDelay, delay}, {FaultKind::kUnasked, *unasked}};
}

TEST(LateReply, NeverStandsUnderAnotherIdentInTheHeatingCheck) {
    for (const Transport transport : {Transport::kSerial, Transport::kUsb}) {
        for (const LateRow& row : kLateRows) {
            if (row.bunched && transport == Transport::kUsb) continue;  // its exchange takes the whole queue, and fails
            SCOPED_TRACE(row.name);
            Stage stage(transport, row.unasked ? 7 : 40);
            const auto connection = Nelto780Open(stage.state);
            ASSERT_NE(connection, nullptr);
            stage.link->wire.reads_one_block = row.bunched;
            const Bytes slow                 = row.slow == nullptr ? Bytes{} : Hex(row.slow);
            stage.usual                      = [&](const Bytes& request) {
                return Late(BeginsWith(request, slow) ? row.slow_by : row.bunched ? 0U : 20U);
            };
            stage.SpoilReply(row.request == nullptr ? Bytes{} : Hex(row.request), row.request == nullptr ? 0 : 1,
                             [&](Stage& struck, const Reply&) {
                                 if (row.noise) struck.noise_at = World().now + 4000;
                                 return row.delay == kNever ? StrikeList{{FaultKind::kSilence}}
                                                            : Late(row.delay, row.unasked);
                             });
            ChannelTable table{};
            EXPECT_EQ(connection->ReadHeatingCheck(table), 0U);
            Values values;
            for (const ChannelRecord& record : UsedRecords(table)) values.push_back(record.value);
            EXPECT_EQ(values, Results(row.missing));
            ChannelTable channels{};
            EXPECT_EQ(connection->ReadValues(channels), 0U) << "the next conversation is in step";
            connection->Close();
        }
    }
}

/// How replies to a request come.
using Times = std::function<StrikeList(const Bytes& request)>;

/// View idents and values of the heating check.
std::set<std::pair<std::uint32_t, float>> ReadResults(Transport transport, const Times& times, std::size_t block = 40) {
    Stage stage(transport, block);
    stage.usual           = times;
    const auto connection = Nelto780Open(stage.state);
    ChannelTable table{};
    if (connection == nullptr) return {};
    static_cast<void>(connection->ReadHeatingCheck(table));
    std::set<std::pair<std::uint32_t, float>> results;
    for (const ChannelRecord& record : UsedRecords(table)) results.emplace(record.view_ident, record.value);
    connection->Close();
    return results;
}

struct RandomRow {
    std::size_t block;      // payload bytes
    std::uint32_t every;    // one in so many replies of the heating check is late ...
    std::uint32_t longest;  // ... by less than this
    std::uint32_t pause;    // most between its blocks, which come by themselves then; 0 where they are asked for
    int runs;
};

constexpr RandomRow kRandomRows[] = {
    {40, 2, 6000, 0, 250},  {40, 2, 9000, 0, 250},  {7, 4, 9000, 100, 40},   {7, 4, 9000, 1000, 40},
    {7, 4, 9000, 2900, 40}, {24, 4, 9000, 100, 40}, {24, 4, 9000, 1000, 40}, {24, 4, 9000, 2900, 40},
};

TEST(LateReply, NeverStandsUnderAnotherIdentWhateverTheDelays) {
    std::mt19937 asked(20110307), unasked(20110307);
    for (const Transport transport : {Transport::kSerial, Transport::kUsb}) {
        const auto truth = ReadResults(transport, [](const Bytes&) { return Late(20); });
        ASSERT_EQ(truth.size(), 7U);
        for (const RandomRow& row : kRandomRows) {
            auto& random     = row.pause == 0 ? asked : unasked;
            const auto times = [&](const Bytes& request) {
                const bool late  = request.front() == 0xA5 && random() % row.every == 0;
                const auto below = [&](std::uint32_t end) {
                    return late ? static_cast<std::uint32_t>(random() % end) : 20;
                };
                const std::uint32_t delay = below(row.longest);
                return row.pause == 0 ? Late(delay) : Late(delay, below(row.pause));
            };
            for (int run = 0; run < row.runs; ++run) {
                const auto results = ReadResults(transport, times, row.block);
                ASSERT_TRUE(std::ranges::includes(truth, results))
                    << "run " << run << ", blocks of " << row.block << ", up to " << row.longest << " ms late, "
                    << row.pause << " ms between them";
            }
        }
    }
}

TEST(LateReply, IsWaitedForUntilAStopAndKeepsNoAnalyserInSlaveMode) {
    // The reply that is owed, and how long after its request the user ends.
    const std::pair<StrikeList, std::uint32_t> rows[] = {
        {{{FaultKind::kSilence}}, 4500}, {Late(3050), 3040}, {Late(3100), 3040}};
    for (const Transport transport : {Transport::kSerial, Transport::kUsb}) {
        for (const auto& [strikes, stop_after] : rows) {
            Stage stage(transport);
            const auto connection = Nelto780Open(stage.state);
            ASSERT_NE(connection, nullptr);
            stage.SpoilReply(Hex("A5 0A"), 1, [&strikes = strikes](const Stage&, const Reply&) { return strikes; });
            stage.stops_when = [&, stop_after = stop_after] {
                return stage.struck && World().now - stage.struck_at >= stop_after;
            };
            ChannelTable table{};
            EXPECT_EQ(connection->ReadHeatingCheck(table), 0U);
            EXPECT_NE(stage.stopped_at, 0U);
            EXPECT_LE(World().now - stage.stopped_at, 100U);
            EXPECT_TRUE(UsedRecords(table).empty());
            connection->Close();
            EXPECT_EQ(stage.requests.back(), Hex("20 00")) << stop_after;
        }
    }
}

}  // namespace
}  // namespace nelto::test
