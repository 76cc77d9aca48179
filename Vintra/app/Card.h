#pragma once

#include <string>
#include <vector>

namespace vintra {

/// A note over the tracks that says something and offers what can be done about it.
struct Card {
    enum class Kind {
        crash,
        recovery,
        update,
        feedbackAsking,
        feedbackNote,
        feedbackAnswered,
        cameraRate,
        ownWindow
    };
    struct Button {
        std::string title;
        bool isFilled = false;
        std::string help{};
        bool operator==(const Button&) const = default;
    };

    Kind kind = Kind::crash; ///< also its identity: there is one of a kind at the most
    std::string title;
    std::string text;
    std::vector<Button> buttons{};
    bool hasCloseMark = false;
    std::string finePrint{};   ///< under the buttons
    std::string placeholder{}; ///< of the text field, which there is if this isn't empty
    bool operator==(const Card&) const = default;
};

} // namespace vintra
