#include "heating_check.h"

#include <algorithm>
#include <array>

namespace simulator {
namespace {

using Reference = std::array<std::uint8_t, 6>;

constexpr std::array<std::uint8_t, 11> kOpenViewList = {0x49, 0x00, 0x00, 0xF0, 0x01, 0x00,
                                                        0x00, 0x06, 0x00, 0x00, 0x00};
constexpr Reference kViewListReference               = {0x00, 0xF0, 0x01, 0x00, 0x06, 0x00};
constexpr Reference kNoReference                     = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

constexpr std::uint8_t kReadViewList     = 0x10;
constexpr std::uint8_t kReadListHeader   = 0x08;
constexpr std::uint8_t kReadListEntries  = 0x0A;
constexpr std::uint8_t kReadListRecords  = 0x09;
constexpr std::size_t kReferenceOffset   = 3;
constexpr std::size_t kFirstRecordOffset = 9;
constexpr std::size_t kRecordCountOffset = 11;
constexpr std::size_t kListHeaderAnswer  = 40;
constexpr std::size_t kCountInListHeader = 20;
constexpr std::uint8_t kUnreadByte       = 0x11;  // taken for anything else, it shows

/// The lists are numbered from 1 in the order of the view list.
constexpr Reference ListReference(std::size_t number) {
    return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8), 0x00, 0xF0, 0x06, 0x00};
}

void AppendReference(Message& answer, const Reference& reference) {
    answer.insert(answer.end(), reference.begin(), reference.end());
}

const CheckList* FindList(const std::vector<CheckBlock>& blocks, Bytes reference) {
    std::size_t number = 0;
    for (const CheckBlock& block : blocks) {
        for (const CheckList& list : block.lists) {
            if (std::ranges::equal(reference, ListReference(++number))) return &list;
        }
    }
    return nullptr;
}

bool ViewList(const std::vector<CheckBlock>& blocks, Message& answer) {
    Append16(answer, static_cast<unsigned>(blocks.size()));
    std::size_t number = 0;
    for (const CheckBlock& block : blocks) {
        Append16(answer, block.type);
        AppendZeros(answer, 2);
        Append16(answer, block.length);
        AppendZeros(answer, 2);
        for (std::size_t i = 0; i < kListsPerBlock; ++i) {
            AppendReference(answer, i < block.lists.size() ? ListReference(++number) : kNoReference);
        }
    }
    return true;
}

bool ListHeader(const CheckList& list, Message& answer) {
    answer.resize(kCountInListHeader, kUnreadByte);
    Append16(answer, static_cast<unsigned>(list.RecordCount()));
    answer.resize(kListHeaderAnswer, kUnreadByte);
    return true;
}

bool ListEntries(const CheckList& list, Message& answer) {
    for (const CheckEntry& entry : list.entries) {
        Append32(answer, entry.ident);
        Append16(answer, entry.unit);
        Append8(answer, entry.format);
        AppendZeros(answer, 5);
    }
    return true;
}

bool ListRecords(const CheckList& list, Bytes request, Message& answer) {
    const std::size_t first = Read16(request, kFirstRecordOffset);
    const std::size_t end   = first + Read16(request, kRecordCountOffset);
    for (std::size_t record = first; record < std::min(end, list.RecordCount()); ++record) {
        for (const CheckEntry& entry : list.entries) {
            AppendValue(answer, record < entry.values.size() ? entry.values[record] : std::nullopt);
        }
    }
    return true;
}

}  // namespace

bool AnswerHeatingCheck(const std::vector<CheckBlock>& blocks, Bytes request, Message& answer) {
    if (request[0] == kOpenViewList[0]) {
        AppendReference(answer, kViewListReference);
        return std::ranges::equal(request, kOpenViewList);
    }
    const std::uint8_t what = request[1];
    const Bytes reference   = request.subspan(kReferenceOffset, Reference{}.size());
    if (request[2] != 0 || (request.size() == 13) != (what == kReadListRecords)) return false;
    if (what == kReadViewList && std::ranges::equal(reference, kViewListReference)) return ViewList(blocks, answer);

    const CheckList* list = FindList(blocks, reference);
    if (list == nullptr) return false;
    switch (what) {
        case kReadListHeader: return ListHeader(*list, answer);
        case kReadListEntries: return ListEntries(*list, answer);
        case kReadListRecords: return ListRecords(*list, request, answer);
        default: return false;
    }
}

}  // namespace simulator
