// What a run asks of the screen, and the words for what can't be.

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/WindowList.h"
#include "tools/vintra-take/RegionChoice.h"
#include "tools/vintra-take/TakeRunner.h"

#include <algorithm>
#include <functional>
#include <optional>

namespace vintra {

std::vector<KnownDisplay> TakeRunner::knownDisplays() const {
    std::vector<KnownDisplay> displays;
    for (const CaptureDisplay& display : *manager->availableDisplays) {
        const double scale = manager->backingScale(display.id);
        displays.push_back({display, {display.width / scale, display.height / scale}, scale});
    }
    return displays;
}

Task<TakeRunner::Problem> TakeRunner::chooseDisplay() {
    if (!options.display) co_return std::nullopt;
    const auto& displays = *manager->availableDisplays;
    if (std::ranges::find(displays, *options.display, &CaptureDisplay::id) == displays.end()) {
        const auto problem = co_await screenProblem();
        co_return InputProblem{"There is no display " + std::to_string(*options.display) + ". " +
                               problem.value_or("--list shows the ones there are.")};
    }
    manager->selectedDisplayID.set(*options.display);
    co_return std::nullopt;
}

/// Of the chosen display, or the first.
Task<TakeRunner::Problem> TakeRunner::chooseRegion() {
    if (!options.region) co_return std::nullopt;
    const auto display = manager->effectiveDisplay();
    if (!display) {
        const auto problem = co_await screenProblem();
        co_return InputProblem{problem.value_or("There is no display to record a region of.")};
    }
    for (const KnownDisplay& known : knownDisplays()) {
        if (known.display.id != display->id) continue;
        if (const auto problem = regionProblem(*options.region, options.aspect, known))
            co_return InputProblem{*problem};
    }
    manager->selectedDisplayID.set(display->id);
    manager->aspectPreset.set(options.aspect);
    manager->captureRegion.set(CaptureRegion{display->id, *options.region});
    manager->screenCaptureMode.set(CaptureModeChoice::region);
    co_return std::nullopt;
}

Task<TakeRunner::Problem> TakeRunner::chooseWindow() {
    if (!options.window) co_return std::nullopt;
    if (*options.window == 0 && !machine.namesWindows()) { // the start asks for it
        manager->screenCaptureMode.set(CaptureModeChoice::window);
        co_return std::nullopt;
    }
    const auto window = machine.services.windowList->window(*options.window);
    if (!window) {
        std::string advice = "--list shows the ones there are.";
        if (const auto problem = windowProblem()) advice = *problem;
        if (const auto problem = co_await screenProblem()) advice = *problem;
        co_return InputProblem{"There is no window " + std::to_string(*options.window) + ". " + advice};
    }
    manager->selectedWindowID.set(*options.window);
    manager->selectedWindowTitle.set(window->name);
    manager->screenCaptureMode.set(CaptureModeChoice::window);
    co_return std::nullopt;
}

Task<std::optional<std::string>> TakeRunner::screenProblem() {
    using Answer = ScreenCapture::Content;
    auto ask = [capture = machine.services.screenCapture](std::function<void(Answer)> done) {
        capture->getShareableContent(false, true, done);
    };
    const Answer answer = co_await awaitCompletion<Answer>(*machine.services.mainThread, ask);
    if (!answer.error) co_return std::nullopt;
    co_return answer.error->localizedDescription();
}

std::optional<std::string> TakeRunner::windowProblem() const {
    if (machine.namesWindows()) return std::nullopt;
    return "This desktop doesn't tell programs of its windows: record a display, a region of it, or with --window 0 "
           "what you choose in the desktop's own question.";
}

} // namespace vintra
