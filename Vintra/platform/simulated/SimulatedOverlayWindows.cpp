#include "Vintra/platform/simulated/SimulatedOverlayWindows.h"

namespace vintra {

SimulatedOverlayWindow::SimulatedOverlayWindow(const OverlayRecipe& recipe, OverlayInput& input,
                                               uint32_t number) {
    state->recipe = recipe;
    state->input = &input;
    state->number = number;
    state->frame = recipe.frame;
    state->ignoresMouseEvents = recipe.ignoresMouseEvents;
}

SimulatedOverlayWindow::~SimulatedOverlayWindow() {
    state->input = nullptr;
    state->isOnScreen = false;
}

void SimulatedOverlayWindow::present(const DrawList& list) {
    state->list = list;
    ++state->presentations;
}

void SimulatedOverlayWindow::orderFront() {
    state->isOnScreen = true;
    ++state->timesInFront;
}

CGSize SimulatedOverlayWindows::Measure::textSize(const std::string& text, const NSFont&) const {
    int characters = 0;
    for (const char byte : text)
        characters += (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
    return {5.0 * characters, 10};
}

std::unique_ptr<OverlayWindow> SimulatedOverlayWindows::makeWindow(const OverlayRecipe& recipe,
                                                                   OverlayInput& input) {
    if (makesNone || (recipe.ignoresMouseEvents && !letsClicksThrough)) return nullptr;
    constexpr uint32_t firstNumber = 900;
    auto window = std::make_unique<SimulatedOverlayWindow>(recipe, input,
                                                           firstNumber + static_cast<uint32_t>(made.size()));
    made.push_back(window->state);
    return window;
}

} // namespace vintra
