#include "Vintra/platform/simulated/SimulatedScreenCapture.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace vintra {

SimulatedScreenCapture::SimulatedScreenCapture(SimulatedScreenStream::Services services,
                                               int32_t processIdentifier)
    : content{{{1, 1440, 900}}, {}, {{processIdentifier, "Vintra"}}}
    , services(std::move(services)) {}

void SimulatedScreenCapture::getShareableContent(bool, bool, std::function<void(Content)> completion) {
    ++windowQueries;
    answerQuery(true, std::move(completion));
}

void SimulatedScreenCapture::getShareableDisplays(std::function<void(Content)> completion) {
    answerQuery(false, std::move(completion));
}

void SimulatedScreenCapture::answerQuery(bool withWindows, std::function<void(Content)> completion) {
    ++contentQueries;
    services.journal->note("screen content: query");
    services.time->afterSeconds(contentSeconds, [this, withWindows, completion = std::move(completion)] {
        if (contentError) {
            completion({{}, contentError});
            return;
        }
        Content answer{content, std::nullopt};
        if (!withWindows) answer.content.windows.clear();
        completion(std::move(answer));
    });
}

std::shared_ptr<SCStream> SimulatedScreenCapture::makeStream(const SCContentFilter& filter,
                                                             const SCStreamConfiguration& configuration,
                                                             std::weak_ptr<SCStreamDelegate> delegate) {
    if (makeStreamError) throw *makeStreamError;
    if (!isThere(filter)) throw SystemError("simulated", 23, "What was chosen can't be captured.");
    auto made =
        std::make_shared<SimulatedScreenStream>(services, filter, configuration, std::move(delegate), script);
    lastStream = made;
    lastFilter = filter;
    lastConfiguration = configuration;
    ++streamsMade;
    return made;
}

void SimulatedScreenCapture::changePicture() {
    if (const auto living = lastStream.lock()) living->changePicture();
}

bool SimulatedScreenCapture::isThere(const SCContentFilter& filter) const {
    if (const auto* display = std::get_if<SCContentFilter::Display>(&filter.content)) {
        return std::ranges::any_of(content.displays, [&](const SCDisplay& each) {
            return each.displayID == display->display.displayID;
        });
    }
    const auto& window = std::get<SCContentFilter::DesktopIndependentWindow>(filter.content).window;
    return window.windowID == 0 || // which the user chose in the desktop's question
           std::ranges::any_of(content.windows,
                               [&](const SCWindow& each) { return each.windowID == window.windowID; });
}

} // namespace vintra
