#pragma once

#include "Vintra/platform/Desktop.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// A desktop that notes what is asked of it. Its folder panel stays open until the test answers. Main thread.
class SimulatedDesktop final : public Desktop {
public:
    struct FolderPanel {
        std::string title;
        URL startingAt;
        std::function<void(const URL&)> onChosen;
    };

    std::optional<std::string> pasteboard;
    std::vector<std::string> openedAddresses;
    std::vector<URL> shownItems;
    std::vector<FolderPanel> panels;

    void copyToPasteboard(const std::string& text) override { pasteboard = text; }
    void openAddress(const std::string& address) override { openedAddresses.push_back(address); }
    void showInFileBrowser(const URL& item) override { shownItems.push_back(item); }
    void chooseFolder(const std::string& title, const URL& startingAt,
                      std::function<void(const URL&)> onChosen) override {
        panels.push_back({title, startingAt, std::move(onChosen)});
    }
};

} // namespace vintra
