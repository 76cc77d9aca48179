#include "Vintra/platform/simulated/SimulatedGlobalHotKeys.h"

#include "tests/platform/GlobalHotKeysConformance.h"

namespace vintra {
namespace {

struct SimulatedKeys {
    SimulatedGlobalHotKeys keys;

    GlobalHotKeys& hotKeys() { return keys; }
    void press(const KeyCombination& pressed) { keys.press(pressed); }
    void takeElsewhere(const KeyCombination&) { keys.areTaken = true; }
    void giveBackElsewhere() { keys.areTaken = false; }
    void settle() {}
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, GlobalHotKeysConformance, SimulatedKeys);

} // namespace
} // namespace vintra
