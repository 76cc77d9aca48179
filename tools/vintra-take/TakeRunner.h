#pragma once

#include "Vintra/platform/Task.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tools/vintra-take/MachineList.h"
#include "tools/vintra-take/Options.h"
#include "tools/vintra-take/TakeSummary.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace vintra {

/// Carries out one command line with a controller of its own: chooses the devices, starts the take, waits for
/// its end and stops it. Main thread.
class TakeRunner {
public:
    struct Outlets {
        std::function<void(const std::string&)> note;   ///< something to know, a sentence
        std::function<void(const std::string&)> status; ///< the status line; empty where nobody watches
    };

    /// Whether another process has the say over where the machine's sound goes.
    enum class Routing { free, heldByAnother };

    TakeRunner(LinuxPlatform& machine, Options options, Outlets outlets, Routing routing = Routing::free);
    /// Puts the user's own output back, whatever has happened, and ends the previews.
    ~TakeRunner();

    /// Waits until the start-up is over, and says what it had to mend.
    void awaitStartUp();
    /// What can be recorded.
    MachineList list();
    /// The take from beginning to end, or why the command line asks for what can't be.
    std::variant<TakeSummary, UsageError> run();
    /// Ends the take as soon as it can be: at once if it runs, right after its start if it starts, and
    /// without the user's answer if that is what the start waits for. Only from the main thread's own work.
    void interrupt();

private:
    void await(Task<> task);
    std::vector<KnownDisplay> knownDisplays() const;
    std::vector<KnownInput> knownInputs() const;
    std::vector<KnownOutput> knownOutputs() const;
    double rateOf(const std::string& deviceUID) const;
    std::optional<std::string> computerAudioProblem() const;
    std::optional<InputProblem> choose();
    std::optional<InputProblem> chooseDisplay();
    std::optional<InputProblem> chooseRegion();
    std::optional<InputProblem> chooseWindow();
    std::optional<InputProblem> chooseMicrophone();
    std::optional<InputProblem> chooseInputs();
    std::optional<InputProblem> chooseComputerAudio();
    std::optional<InputProblem> chooseVirtualInput();
    InputProblem withSoundProblem(InputProblem problem) const;
    void configurePreviews();
    bool previewsRun() const;
    URL movieURL(const URL& folder);
    void recordUntilTheEnd();
    void putOutputBack();
    void showStatus();
    TakeSummary failed(const std::string& sentence);
    TakeSummary summary();
    TakeFile fileOf(const URL& url, FileKind kind) const;
    std::optional<std::string> screenProblem();
    std::optional<std::string> windowProblem() const;

    LinuxPlatform& machine;
    const Options options;
    const Outlets outlets;
    const Routing routing;
    const std::shared_ptr<ScreenRecorderManager> manager;
    bool interrupted = false;
    std::string folder;
    std::string screenLabel;
    TaskScope tasks;
};

} // namespace vintra
