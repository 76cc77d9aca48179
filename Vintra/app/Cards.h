#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/Card.h"
#include "Vintra/app/DiagnosticsSharing.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/platform/Published.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// The cards that stand now, from top to bottom, and what their controls do. The note of the feedback card is
/// `FeedbackAsk::note`. Owned by `ContentView`. Main thread.
class Cards {
public:
    Cards(const AppSurroundings& surroundings, DiagnosticsSharing& diagnostics);

    Published<std::vector<Card>> cards;
    /// Set by the program that has a main window.
    std::function<void()> onHideMainWindow;

    /// The button of that index was pressed. A card that has gone does nothing.
    void press(Card::Kind of, size_t button);
    /// The close mark was pressed.
    void close(Card::Kind card);

private:
    std::vector<Card> currentCards() const;
    Card crashCard() const;
    Card updateCard() const;
    std::optional<Card> feedbackCard() const;
    Card cameraRateCard(int rateBefore) const;
    bool stands(Card::Kind kind) const;
    Card ownWindowCard() const;
    void pressCrash(size_t button);
    void noteToldOfOwnWindow();

    const AppSurroundings surroundings;
    DiagnosticsSharing& diagnostics;
    bool hasToldOfOwnWindow;
    Refresher refresher;
    Observation starts;
};

} // namespace vintra
