#pragma once

#include "Vintra/platform/GlobalHotKey.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

/// For a machine without a desktop. Main thread.
class NoGlobalHotKeys final : public GlobalHotKeys {
public:
    NoGlobalHotKeys() { problem.set(kNone); }
    std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination&, const std::string&,
                                             std::function<void()>) override {
        return nullptr;
    }
};

} // namespace vintra
