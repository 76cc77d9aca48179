#include "Vintra/platform/simulated/SimulatedFloatingPreviewWindows.h"

#include <utility>

namespace vintra {

SimulatedFloatingPreviewWindow::SimulatedFloatingPreviewWindow(const FloatingPreviewRecipe& recipe,
                                                               std::shared_ptr<SavedFrames> savedFrames)
    : recipe(recipe)
    , savedFrames(std::move(savedFrames)) {
    const auto saved = this->savedFrames->find(recipe.frameAutosaveName);
    place = saved == this->savedFrames->end() ? recipe.frame : saved->second;
}

void SimulatedFloatingPreviewWindow::setFrame(const CGRect& frame) {
    calls.emplace_back("frame");
    place = frame;
    (*savedFrames)[recipe.frameAutosaveName] = frame;
}

void SimulatedFloatingPreviewWindow::setContent(FloatingPreviewContent newContent) {
    calls.emplace_back("content");
    content = std::move(newContent);
}

void SimulatedFloatingPreviewWindow::orderFront() {
    calls.emplace_back("front");
    isOnScreen = true;
}

void SimulatedFloatingPreviewWindow::orderOut() {
    calls.emplace_back("out");
    isOnScreen = false;
}

void SimulatedFloatingPreviewWindow::close() {
    calls.emplace_back("close");
    isOnScreen = false;
    isClosed = true;
    content = {};
}

std::shared_ptr<FloatingPreviewWindow>
SimulatedFloatingPreviewWindows::makeWindow(const FloatingPreviewRecipe& recipe) {
    windows.push_back(std::make_shared<SimulatedFloatingPreviewWindow>(recipe, savedFrames));
    return windows.back();
}

std::shared_ptr<SimulatedFloatingPreviewWindow>
SimulatedFloatingPreviewWindows::window(const std::string& frameAutosaveName) const {
    for (auto made = windows.rbegin(); made != windows.rend(); ++made) {
        if (!(*made)->isClosed && (*made)->recipe.frameAutosaveName == frameAutosaveName) return *made;
    }
    return nullptr;
}

} // namespace vintra
