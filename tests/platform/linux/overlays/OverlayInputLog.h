#pragma once

#include "Vintra/platform/OverlayWindows.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace vintra {

/// What a user did in an overlay.
class OverlayInputLog final : public OverlayInput {
public:
    void mouseDown(CGPoint at) override { note("down", at); }
    void mouseDragged(CGPoint to) override { note("drag", to); }
    void mouseUp() override { calls.emplace_back("up"); }
    void mouseMoved(CGPoint to) override { note("move", to); }
    bool keyDown(KeyCode key) override {
        calls.push_back("key " + std::to_string(key));
        if (onKey) onKey();
        return true;
    }
    void cancelOperation() override { calls.emplace_back("cancel"); }
    bool has(const std::string& call) const { return std::ranges::find(calls, call) != calls.end(); }

    std::vector<std::string> calls;
    std::function<void()> onKey;

private:
    static std::string number(double value) {
        std::string text = std::to_string(value);
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
        return text;
    }
    void note(const char* what, CGPoint at) {
        calls.push_back(std::string(what) + " " + number(at.x) + " " + number(at.y));
    }
};

} // namespace vintra
