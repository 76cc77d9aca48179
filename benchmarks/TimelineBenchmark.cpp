// What writing each editor's document costs, by the number of files and of markers. A take of 100 files and
// 10,000 markers is to stay under 50 ms a document, and the cost is to grow in a straight line with either:
// the complexity lines at the end say whether it does.

#include "Vintra/timeline/TimelineFile.h"

#include <benchmark/benchmark.h>
#include <utility>

namespace vintra {
namespace {

using TimelineFile::Media;

Media media(const URL& url, bool hasPicture) {
    Media result;
    result.url = url;
    result.duration = CMTimeMake(3600LL * 30'000, 30'000);
    result.soundTracks = {hasPicture ? 1 : 2};
    if (hasPicture) {
        result.pictureDuration = result.duration;
        result.width = 1920;
        result.height = 1080;
        result.rate = TimelineFile::kRates[3];
    }
    return result;
}

/// A screen, a tenth of the files cameras, the rest stereo sounds.
TimelineFile::Take makeTakeOf(int64_t files, int64_t markers) {
    TakeFiles take;
    take.take = "session_2026-11-21_054718";
    take.folder = URL::fileURL("/home/user/Videos/Vintra");
    std::map<URL, Media> found;
    for (int64_t number = 0; number < files; ++number) {
        const bool hasPicture = number <= files / 10;
        const URL url = take.folder.appendingPathComponent(take.take + "_track-" + std::to_string(number) +
                                                           (hasPicture ? ".mov" : ".wav"));
        found[url] = media(url, hasPicture);
        if (number == 0) {
            take.screen = url;
        } else {
            (hasPicture ? take.cameras : take.sounds).push_back(url);
        }
    }
    for (int64_t number = 0; number < markers; ++number)
        take.markers.push_back(0.36 * static_cast<double>(number));
    return TimelineFile::makeTake(take, std::move(found));
}

void writeDocuments(benchmark::State& state, TimelineEditor editor) {
    const TimelineFile::Take take = makeTakeOf(state.range(0), state.range(1));
    size_t bytes = 0;
    for (auto _ : state) {
        const std::string text = TimelineFile::document(take, editor);
        benchmark::DoNotOptimize(text.data());
        bytes = text.size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
    state.SetComplexityN(state.range(0) + state.range(1));
}

void addBenchmarks(const std::string& name, TimelineEditor editor) {
    const auto add = [&](const std::string& kind) {
        return benchmark::RegisterBenchmark((name + "/" + kind).c_str(), writeDocuments, editor)
            ->Unit(benchmark::kMillisecond);
    };
    add("whole")->Args({100, 10'000});
    auto* byFiles = add("files");
    for (const int64_t files : {100, 200, 400, 800, 1600})
        byFiles->Args({files, 0});
    byFiles->Complexity();
    auto* byMarkers = add("markers");
    for (const int64_t markers : {10'000, 20'000, 40'000, 80'000, 160'000})
        byMarkers->Args({1, markers});
    byMarkers->Complexity();
}

} // namespace
} // namespace vintra

int main(int argumentCount, char** arguments) {
    benchmark::Initialize(&argumentCount, arguments);
    vintra::addBenchmarks("finalCut", vintra::TimelineEditor::finalCut);
    vintra::addBenchmarks("resolve", vintra::TimelineEditor::resolve);
    vintra::addBenchmarks("premiere", vintra::TimelineEditor::premiere);
    benchmark::RunSpecifiedBenchmarks();
}
