#include "library_call.h"

#include <algorithm>
#include <memory>

#include "scenario_2010.h"

namespace simulator {
namespace {

const void* Inside() { return reinterpret_cast<const void*>(&TheAnalyser2010); }

std::unique_ptr<Analyser2010> MakeAnalyser() {
    const std::string path = DropInFile(Inside(), "NELTO_SIMULATOR_2010", "scenario2010.txt");
    std::string error;
    std::optional<AnalyserData2010> data =
        path.empty() ? ParseScenario2010(DefaultScenario2010Text(), error) : LoadScenario2010(path, error);
    if (!data) {
        DropInTell("scenario " + path + ": " + error);
        return nullptr;
    }
    return std::make_unique<Analyser2010>(std::move(*data));
}

}  // namespace

Analyser2010* TheAnalyser2010() {
    static const std::unique_ptr<Analyser2010> analyser = MakeAnalyser();
    return analyser.get();
}

bool IsPlugged(const Analyser2010& analyser) {
    return analyser.IsThere(DropInNowMs()) &&
           DropInFile(Inside(), "NELTO_SIMULATOR_UNPLUGGED_2010", "unplugged2010.txt").empty();
}

void GiveText(std::u16string_view text, wchar_t* out, std::uint32_t capacity) {
    if (capacity == 0) return;
    const std::size_t length = std::min<std::size_t>(text.size(), capacity - 1);
    std::copy_n(text.begin(), length, out);
    out[length] = L'\0';
}

void TellNumber(std::string& told, std::uint64_t number) { told += ' ' + std::to_string(number); }

}  // namespace simulator
