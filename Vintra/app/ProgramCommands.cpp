#include "Vintra/app/ProgramCommands.h"

#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {
namespace {

constexpr const char* kBusy = "Vintra is starting or saving a recording. Try again in a moment.";

} // namespace

ProgramCommands::ProgramCommands(const AppSurroundings& surroundings, TakeControl& take,
                                 std::function<void()> quit)
    : surroundings(surroundings)
    , take(take)
    , quitProgram(std::move(quit))
    , busyObservation(surroundings.recorder.isBusy.observe([this](bool isBusy) {
        if (isBusy) return;
        // Once all that the end of a start or a stop changes has been changed.
        for (auto& goOn : std::exchange(awaitingIdle, {}))
            this->surroundings.platform.mainThread->post(tasks.guarded(std::move(goOn)));
    }))
    , tasks(*surroundings.platform.mainThread) {}

void ProgramCommands::carryOut(ProgramCommand command, const Answer& answer) {
    switch (command) {
    case ProgramCommand::start:
        return start(answer);
    case ProgramCommand::stop:
        return stop(answer);
    case ProgramCommand::toggle:
        return *surroundings.recorder.isRecording ? stop(answer) : start(answer);
    case ProgramCommand::marker:
        return addMarker(answer);
    case ProgramCommand::quit:
        return quit(answer);
    }
}

void ProgramCommands::start(const Answer& answer) {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (*recorder.isBusy) return answer({false, kBusy});
    if (*recorder.isRecording) return answer({false, "A recording is running already."});
    if (!take.footerButton->isEnabled) {
        return answer(
            {false, "The folder for recordings is missing. Choose another one in Vintra's window."});
    }
    take.toggleRecording();
    whenIdle([this, answer] {
        if (*surroundings.recorder.isRecording) return answer({true, "Recording."});
        answer({false, "The recording couldn't be started: " + why()});
    });
}

void ProgramCommands::stop(const Answer& answer) {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const bool isStopping = *recorder.isBusy && take.footerButton->style == TakeControl::Style::destructive;
    if (*recorder.isBusy && !isStopping) return answer({false, kBusy});
    if (!*recorder.isRecording && !isStopping) return answer({false, "There is no recording to stop."});
    // One that is being stopped already is waited for.
    if (!isStopping) take.toggleRecording();
    whenIdle([this, answer] {
        const std::string& status = *surroundings.recorder.statusMessage;
        const bool isSaved = status != "Save failed";
        const std::string what = why();
        answer({isSaved, status + (what.empty() ? "." : ". " + what)});
    });
}

void ProgramCommands::addMarker(const Answer& answer) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    const int before = *recorder.markerCount;
    recorder.addMarker();
    if (*recorder.markerCount == before) return answer({false, "There is no recording to set a marker in."});
    answer({true, "Marker " + std::to_string(*recorder.markerCount) + " is set."});
}

void ProgramCommands::quit(const Answer& answer) {
    answer({true, "Vintra has ended."});
    quitProgram();
}

/// Now, if nothing is under way.
void ProgramCommands::whenIdle(std::function<void()> goOn) {
    if (!*surroundings.recorder.isBusy) return goOn();
    awaitingIdle.push_back(std::move(goOn));
}

std::string ProgramCommands::why() const {
    return surroundings.recorder.lastError->value_or("");
}

} // namespace vintra
