#pragma once

#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace vintra {

/// Decides when the user is asked after a take how it went, and holds what the card for it shows. It asks
/// seldom: after the third take at the earliest, never after one that went wrong, at most twice in all and
/// two weeks apart.
///
///     hidden --takeFinished--> asking --sayFine--> note --sendNote--> answered --8 s--> hidden
///                                \--sayOff--> answered
///     asking, note --dismiss, or a take that starts--> hidden
///
/// Owned by the program; the recorder holds it weakly. Main thread.
class FeedbackAsk {
public:
    struct Answered {
        std::string text; ///< the line of thanks
        bool operator==(const Answered&) const = default;
    };
    struct Hidden {
        bool operator==(const Hidden&) const = default;
    };
    struct Asking {
        bool operator==(const Asking&) const = default;
    };
    struct Note {
        bool operator==(const Note&) const = default;
    };
    using State = std::variant<Answered, Hidden, Asking, Note>;
    enum class Answer { fine, off };
    /// Sends an answer to the makers and doesn't wait for what comes of it.
    using Send = std::function<void(Answer answer, const std::string& note)>;

    FeedbackAsk(Platform platform, Send send);
    virtual ~FeedbackAsk();
    FeedbackAsk(const FeedbackAsk&) = delete;
    FeedbackAsk& operator=(const FeedbackAsk&) = delete;

    // What the recorder tells.

    virtual void recordingStarted();
    /// The take's length in seconds, and whether the user was told of anything wrong.
    virtual void takeFinished(double seconds, bool wentWrong);

    // What the card's controls do.

    /// Holds the answer back until the note is decided.
    void sayFine();
    /// Sends the answer at once. The card has brought up the form and put the report on the clipboard.
    void sayOff();
    void sendNote();
    void skipNote() { dismiss(); }
    /// Sends the answer that was held back, if there is one, and hides the card.
    void dismiss();

    Published<State> state{Hidden{}};
    Published<std::string> note;

private:
    bool mayAsk() const;
    void flush();
    void acknowledge(const std::string& text);

    const Platform platform;
    const Send send;
    std::optional<Answer> unsent;
    std::list<std::unique_ptr<MainThreadTimer>> timers; ///< of the lines of thanks
};

} // namespace vintra
