#pragma once

#include "Vintra/platform/Published.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tools/vintra-take/CameraChoice.h"
#include "tools/vintra-take/MachineList.h"
#include "tools/vintra-take/Options.h"
#include "tools/vintra-take/StateWatch.h"
#include "tools/vintra-take/TakeEvent.h"
#include "tools/vintra-take/TakeSummary.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// Carries out one command line with a controller of its own: chooses the devices, starts the take, waits for
/// its end and stops it. Its tasks are run one after another, `end` last. Main thread.
class TakeRunner {
public:
    struct Outlets {
        std::function<void(const std::string&)> note;   ///< something to know, a sentence
        std::function<void(const std::string&)> status; ///< the status line; empty where nobody watches
        std::function<void(const TakeEvent&)> event;    ///< what the running take warns of, when it does
    };

    TakeRunner(LinuxPlatform& machine, Options options, Outlets outlets);
    /// Puts the user's own output back, whatever has happened.
    ~TakeRunner();

    /// Waits until the start-up is over, and says what it had to mend.
    Task<> awaitStartUp();
    /// What can be recorded.
    Task<MachineList> list();
    /// All of the setup as text.
    Task<std::string> report();
    /// The take from beginning to end, or why the command line asks for what can't be.
    Task<std::variant<TakeSummary, UsageError>> run();
    /// Puts the user's own output back and ends the previews.
    Task<> end();
    /// Ends the take as soon as it can be: at once if it runs, right after its start if it starts, and
    /// without the user's answer if that is what the start waits for. Only from the main thread's own work.
    void interrupt();

private:
    using Problem = std::optional<InputProblem>;

    std::vector<KnownDisplay> knownDisplays() const;
    std::vector<KnownInput> knownInputs() const;
    std::vector<KnownOutput> knownOutputs() const;
    std::vector<KnownCamera> knownCameras() const;
    double rateOf(const std::string& deviceUID) const;
    std::optional<std::string> computerAudioProblem() const;
    Task<Problem> choose();
    Task<Problem> chooseDisplay();
    Task<Problem> chooseRegion();
    Task<Problem> chooseWindow();
    Problem chooseMicrophone();
    Problem chooseInputs();
    Problem chooseCameras();
    /// Of the take's camera files the name of the camera; they stand in the order of the command line.
    std::string cameraName(size_t index) const;
    Problem chooseComputerAudio();
    Problem chooseVirtualInput();
    InputProblem withSoundProblem(InputProblem problem) const;
    Task<> configurePreviews();
    URL movieURL(const URL& folder);
    bool wasNameTaken() const;
    Task<> recordUntilTheEnd();
    void putOutputBack();
    void showStatus();
    void tellOfError(const std::optional<std::string>& error);
    TakeSummary failed(const std::string& sentence);
    TakeSummary interrupted();
    TakeSummary summary();
    TakeFile fileOf(const URL& url, FileKind kind) const;
    Task<std::optional<std::string>> screenProblem();
    std::optional<std::string> windowProblem() const;

    LinuxPlatform& machine;
    const Options options;
    const Outlets outlets;
    const std::shared_ptr<ScreenRecorderManager> manager;
    Published<bool> isInterrupted{false};
    StateWatch state;
    Observation recoveryObservation;
    Observation errorObservation;
    std::string toldInTake;        ///< the error that was told last while this take runs
    std::vector<TakeEvent> events; ///< of the take
    Observation waitingForDisk;    ///< of what the stop says of it
    std::vector<CameraChoice> chosenCameras;
    std::string folder;
    std::string screenLabel;
};

} // namespace vintra
