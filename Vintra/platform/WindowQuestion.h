#pragma once

#include "Vintra/platform/Observation.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/SystemError.h"

#include <functional>
#include <optional>

namespace vintra {

/// The desktop's own question in which the user chooses a window to capture, where no program can see or name those of
/// others. Main thread.
class WindowQuestion {
public:
    enum class Offer {
        needless, ///< programs see the windows, so the user points at one
        asked,    ///< only the desktop knows them, and asks the user
        refused   ///< the desktop lets no single window be captured
    };
    enum class Wish {
        another, ///< the user is asked, whatever was chosen before
        same     ///< the one that was chosen last, without a question where the desktop remembers it
    };
    struct Answer {
        std::optional<SCWindow> window;   ///< nothing if the user wants none
        std::optional<SystemError> error; ///< why there is no answer
    };

    virtual ~WindowQuestion() = default;
    virtual Offer offer() const = 0;
    /// Calls the block each time that the offer has changed, for as long as the result is kept.
    virtual Observation observeOffer(std::function<void()> block) = 0;
    /// Answers on any thread, once. The window has the number 0 and the size that its picture has now. A capture of it
    /// that is made next takes up what was granted here; another question ends that, and one that is still open.
    virtual void ask(Wish wish, std::function<void(Answer)> completion) = 0;
    /// Answers a question that is open with that nobody waits for it any more.
    virtual void cancel() = 0;
};

/// Of a desktop that tells programs of each other's windows.
class NoWindowQuestion final : public WindowQuestion {
public:
    Offer offer() const override { return Offer::needless; }
    Observation observeOffer(std::function<void()>) override { return nullptr; }
    void ask(Wish, std::function<void(Answer)> completion) override { completion({}); }
    void cancel() override {}
};

} // namespace vintra
