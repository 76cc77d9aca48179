#include "Vintra/timeline/TimelineFile.h"

#include "Vintra/platform/AssetProbing.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/timeline/Fcpxml.h"
#include "Vintra/timeline/Otio.h"
#include "Vintra/timeline/PremiereXML.h"

#include <cstdio>
#include <functional>
#include <utility>

namespace vintra::TimelineFile {
namespace {

/// How writing went, as it is handed from one thread to another.
struct Outcome {
    std::optional<URL> url;
    std::exception_ptr failure;
};

std::string writtenLine(const URL& url, const Take& take) {
    char counts[80];
    std::snprintf(counts, sizeof counts, ": %ld files at %f fps", static_cast<long>(take.order.size()),
                  take.rate.framesPerSecond());
    return "wrote " + url.lastPathComponent() + counts;
}

} // namespace

Take inventory(const TakeFiles& files, AssetProbing& probing, const FileManager& fileManager) {
    std::map<URL, Media> media;
    for (const URL& url : filesByName(files)) {
        auto found = Media::probe(url, probing);
        if (found && found->duration.isNumeric() && CMTimeGetSeconds(found->duration) > 0)
            media.insert_or_assign(url, std::move(*found));
    }
    Take take = makeTake(files, std::move(media));
    for (const URL& url : take.order) {
        URL resolved = fileManager.resolvingSymlinks(url);
        if (resolved != url) take.resolved.insert_or_assign(url, std::move(resolved));
    }
    return take;
}

std::string document(const Take& take, TimelineEditor forEditor) {
    switch (forEditor) {
    case TimelineEditor::finalCut:
        return fcpxml(take);
    case TimelineEditor::resolve:
        return otio(take);
    case TimelineEditor::premiere:
        return premiereXML(take);
    case TimelineEditor::none:
        break;
    }
    return "";
}

std::string pathExtension(TimelineEditor forEditor) {
    switch (forEditor) {
    case TimelineEditor::finalCut:
        return "fcpxml";
    case TimelineEditor::resolve:
        return "otio";
    case TimelineEditor::premiere:
        return "xml";
    case TimelineEditor::none:
        break;
    }
    return "";
}

URL writeDocument(const Take& take, TimelineEditor forEditor, FileManager& fileManager, Log& log) {
    const URL url =
        take.files.folder.appendingPathComponent(take.files.take + "." + pathExtension(forEditor));
    fileManager.writeAtomically(url, document(take, forEditor));
    log.write("timeline", LogLevel::info, writtenLine(url, take));
    return url;
}

std::optional<URL> writeBlocking(const TakeFiles& files, TimelineEditor forEditor, AssetProbing& probing,
                                 FileManager& fileManager, Log& log) {
    if (forEditor == TimelineEditor::none) return std::nullopt;
    const Take take = inventory(files, probing, fileManager);
    if (take.order.empty()) return std::nullopt;
    return writeDocument(take, forEditor, fileManager, log);
}

Task<std::optional<URL>> write(TakeFiles files, TimelineEditor forEditor, Platform platform) {
    if (forEditor == TimelineEditor::none) co_return std::optional<URL>();
    const auto queue = platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    // What the work on the queue needs is its own: this coroutine may be gone before it ends.
    std::function<Outcome()> writing = [files, forEditor, probing = platform.assetProbing,
                                        fileManager = platform.fileManager, log = platform.log] {
        Outcome outcome;
        try {
            outcome.url = writeBlocking(files, forEditor, *probing, *fileManager, *log);
        } catch (...) {
            outcome.failure = std::current_exception();
        }
        return outcome;
    };
    const auto begin = [queue, writing](auto done) { queue->async([writing, done] { done(writing()); }); };
    Outcome outcome = co_await awaitCompletion<Outcome>(*platform.mainThread, begin);
    if (outcome.failure) std::rethrow_exception(outcome.failure);
    co_return outcome.url;
}

std::string couldNotBeSaved(TimelineEditor forEditor, const SystemError& error) {
    return "The timeline file for " + displayName(forEditor) + " couldn't be saved (" +
           error.localizedDescription() + "). Every track was.";
}

} // namespace vintra::TimelineFile
