#include "Vintra/app/Cards.h"

#include "Vintra/app/UpdateNotice.h"
#include "Vintra/app/WindowInPicture.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/FeedbackAsk.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace vintra {
namespace {

constexpr const char* kToldOfOwnWindowKey = "hasToldOfWindowInPicture";

} // namespace

Cards::Cards(const AppSurroundings& surroundings, DiagnosticsSharing& diagnostics)
    : surroundings(surroundings)
    , diagnostics(diagnostics)
    , hasToldOfOwnWindow(boolForKey(*surroundings.platform.userDefaults, kToldOfOwnWindowKey).value_or(false))
    , refresher(*surroundings.platform.mainThread, [this] { publish(cards, currentCards()); }) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    refresher.follow(recorder.pendingCrashReport, recorder.crashReportCopied, recorder.recoveryNote,
                     surroundings.updateNotice.waiting, surroundings.feedbackAsk.state,
                     recorder.multiCameraScreenRateNote, recorder.screenFrameRate,
                     recorder.isOwnWindowInPicture);
    starts = recorder.isBusy.observe([this](bool isBusy) {
        if (isBusy && std::ranges::find(*cards, Card::Kind::ownWindow, &Card::kind) != cards->end())
            noteToldOfOwnWindow();
    });
    cards.set(currentCards());
}

std::vector<Card> Cards::currentCards() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    std::vector<Card> current;
    if (*recorder.pendingCrashReport) current.push_back(crashCard());
    if (*recorder.recoveryNote) {
        current.push_back({.kind = Card::Kind::recovery,
                           .title = "A recording was cut off before it could be saved.",
                           .text = **recorder.recoveryNote,
                           .hasCloseMark = true});
    }
    if (*surroundings.updateNotice.waiting) current.push_back(updateCard());
    if (auto feedback = feedbackCard()) current.push_back(std::move(*feedback));
    if (*recorder.multiCameraScreenRateNote)
        current.push_back(cameraRateCard(**recorder.multiCameraScreenRateNote));
    const bool goesByItself =
        boolForKey(*surroundings.platform.userDefaults, WindowInPicture::kMinimizesKey).value_or(false);
    if (*recorder.isOwnWindowInPicture && !hasToldOfOwnWindow && !goesByItself)
        current.push_back(ownWindowCard());
    return current;
}

Card Cards::crashCard() const {
    const bool isCopied = *surroundings.recorder.crashReportCopied;
    return {.kind = Card::Kind::crash,
            .title = "Vintra crashed last time it ran.",
            .text = isCopied
                        ? "Copied. Paste it into the form with " + surroundings.platform.words.pasteKeys +
                              ", then close this."
                        : "Sending the report helps get it fixed — it copies the details and opens the form "
                          "for you to paste into.",
            .buttons = {{.title = isCopied ? "Copy again" : "Send report", .isFilled = true},
                        {.title = "Dismiss"}}};
}

Card Cards::updateCard() const {
    return {.kind = Card::Kind::update,
            .title = "Vintra " + **surroundings.updateNotice.waiting + " is ready to install.",
            .text = "Install it whenever suits you. Nothing interrupts a recording in the meantime.",
            .buttons = {{.title = "See what's new", .isFilled = true},
                        {.title = "Not now", .help = "Remind me at the next check"}}};
}

std::optional<Card> Cards::feedbackCard() const {
    const FeedbackAsk::State& state = *surroundings.feedbackAsk.state;
    const MachineWords& words = surroundings.platform.words;
    if (std::holds_alternative<FeedbackAsk::Asking>(state)) {
        return Card{.kind = Card::Kind::feedbackAsking,
                    .title = "How did that go?",
                    .text =
                        "Either answer helps. If something was off, the form opens with your setup already "
                        "filled in, so you only write the sentence.",
                    .buttons = {{.title = "Fine", .isFilled = true}, {.title = "Something was off"}},
                    .hasCloseMark = true,
                    .finePrint = "Either button sends your answer with your Vintra build, " +
                                 words.operatingSystem + " version, " + words.computer +
                                 " model and the random number of this copy. Nothing else, and nothing about "
                                 "what you recorded."};
    }
    if (std::holds_alternative<FeedbackAsk::Note>(state)) {
        return Card{.kind = Card::Kind::feedbackNote,
                    .title = "Anything worth saying?",
                    .text = "One line is plenty, and it's the most useful thing anyone sends.",
                    .buttons = {{.title = "Send", .isFilled = true}, {.title = "No thanks"}},
                    .placeholder = "What worked, what didn't"};
    }
    if (const auto* answered = std::get_if<FeedbackAsk::Answered>(&state)) {
        return Card{.kind = Card::Kind::feedbackAnswered,
                    .title = "Thanks.",
                    .text = answered->text,
                    .hasCloseMark = true};
    }
    return std::nullopt;
}

Card Cards::cameraRateCard(int rateBefore) const {
    const std::string before = std::to_string(rateBefore) + " fps";
    return {.kind = Card::Kind::cameraRate,
            .title = "Screen switched to " + std::to_string(*surroundings.recorder.screenFrameRate) +
                     " fps for multiple cameras.",
            .text = "At " + before + " with more than one camera, your " +
                    surroundings.platform.words.computer +
                    " can skip frames of the screen recording. Vintra goes back to " + before +
                    " when you're down to one camera. To keep " + before +
                    " anyway, pick it on the Control bar."};
}

Card Cards::ownWindowCard() const {
    return {
        .kind = Card::Kind::ownWindow,
        .title = "This window would be in the recording.",
        .text =
            "Whatever lies on the recorded part of the screen is in the picture. Hide this window and start "
            "with Vintra's icon beside the clock or with the command vintra --start, or put it where nothing "
            "is recorded.",
        .buttons = {{.title = "Hide this window", .isFilled = true}, {.title = "Leave it there"}}};
}

void Cards::noteToldOfOwnWindow() {
    hasToldOfOwnWindow = true;
    surroundings.platform.userDefaults->set(kToldOfOwnWindowKey, true);
    refresher.note();
}

bool Cards::stands(Card::Kind kind) const {
    const std::vector<Card> current = currentCards();
    return std::ranges::find(current, kind, &Card::kind) != current.end();
}

void Cards::press(Card::Kind of, size_t button) {
    if (!stands(of)) return;
    FeedbackAsk& feedback = surroundings.feedbackAsk;
    switch (of) {
    case Card::Kind::crash:
        pressCrash(button);
        break;
    case Card::Kind::update:
        if (button == 0) {
            surroundings.updateNotice.showUpdate();
        } else {
            surroundings.updateNotice.waiting.set(std::nullopt);
        }
        break;
    case Card::Kind::feedbackAsking:
        if (button == 0) {
            feedback.sayFine();
        } else {
            diagnostics.reportAfterTake();
        }
        break;
    case Card::Kind::feedbackNote:
        if (button == 0) {
            feedback.sendNote();
        } else {
            feedback.skipNote();
        }
        break;
    case Card::Kind::ownWindow:
        noteToldOfOwnWindow();
        if (button == 0 && onHideMainWindow) onHideMainWindow();
        break;
    case Card::Kind::recovery:
    case Card::Kind::feedbackAnswered:
    case Card::Kind::cameraRate:
        break;
    }
}

void Cards::pressCrash(size_t button) {
    if (button == 0) {
        diagnostics.sendCrashReport();
        return;
    }
    surroundings.recorder.pendingCrashReport.set(std::nullopt);
    surroundings.recorder.crashReportCopied.set(false);
}

void Cards::close(Card::Kind card) {
    if (!stands(card)) return;
    if (card == Card::Kind::recovery) {
        surroundings.recorder.recoveryNote.set(std::nullopt);
    } else if (card == Card::Kind::feedbackAsking || card == Card::Kind::feedbackAnswered) {
        surroundings.feedbackAsk.dismiss();
    }
}

} // namespace vintra
