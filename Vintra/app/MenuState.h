#pragma once

#include <string>
#include <vector>

namespace vintra {

/// One choice of a menu.
struct MenuOption {
    std::string id; ///< empty for the choice of nothing
    std::string title;
    bool operator==(const MenuOption&) const = default;
};

/// A menu: what it offers, and what is chosen.
struct MenuState {
    std::vector<MenuOption> options;
    std::string selectedID;
    bool isEnabled = true;

    /// The chosen option's; empty if what is chosen isn't offered.
    std::string title() const {
        for (const MenuOption& option : options) {
            if (option.id == selectedID) return option.title;
        }
        return "";
    }
    bool operator==(const MenuState&) const = default;
};

} // namespace vintra
